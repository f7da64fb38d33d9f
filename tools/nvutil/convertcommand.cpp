// nvutil convert: lengths from one unit to another.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "nvutil/attributenames.h"
#include "nvutil/command.h"
#include "utilities/utilitiesdll/dimension.h"

namespace {

struct UnitName {
    std::string_view name;
    Dimension::UnitsEnum units;
};

// The first name of each unit is the one that is printed.
constexpr UnitName unitNames[] = {
    {"in", Dimension::Inches},
    {"inch", Dimension::Inches},
    {"inches", Dimension::Inches},
    {"10ths-in", Dimension::TenthsOfInches},
    {"100ths-in", Dimension::HundredthsOfInches},
    {"1000ths-in", Dimension::ThousandthsOfInches},
    {"10000ths-in", Dimension::TenThousandthsOfInches},
    {"mm", Dimension::Millimetres},
    {"millimetres", Dimension::Millimetres},
    {"10ths-mm", Dimension::TenthsOfMillimetres},
    {"100ths-mm", Dimension::HundredthsOfMillimetres},
    {"1000ths-mm", Dimension::ThousandthsOfMillimetres},
    {"um", Dimension::ThousandthsOfMillimetres},
    {"pt", Dimension::Points},
    {"points", Dimension::Points},
    {"10ths-pt", Dimension::TenthsOfPoints},
    {"100ths-pt", Dimension::HundredthsOfPoints},
};

const UnitName& FindUnit(const std::string& name) {
    const auto* const found = std::find_if(std::begin(unitNames), std::end(unitNames),
                                           [&name](const UnitName& unit) { return unit.name == name; });
    if (found == std::end(unitNames))
        throw CLI::ValidationError(name, "is no unit; see nvutil convert --help");
    return *found;
}

std::string_view GetPrintedName(Dimension::UnitsEnum units) {
    return std::find_if(std::begin(unitNames), std::end(unitNames),
                        [units](const UnitName& unit) { return unit.units == units; })
        ->name;
}

double ParseLength(const std::string& text) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(number))
        throw CLI::ValidationError(text, "is not a number");
    return number;
}

struct Conversion {
    std::string length;
    std::string from;
    std::string to;
    int decimals = 6;
};

void Convert(ToolRun& run, const Conversion& conversion) {
    const Dimension length(ParseLength(conversion.length), FindUnit(conversion.from).units);
    const Dimension::UnitsEnum to = FindUnit(conversion.to).units;
    const double converted = length.GetDoubleValue(to);
    if (!std::isfinite(converted)) throw CLI::ValidationError(conversion.length, "is too long");
    run.out << DisplayOfNumber(converted, conversion.decimals) << ' ' << GetPrintedName(to) << '\n';
}

std::string DescribeUnits() {
    std::string text;
    for (const UnitName& unit : unitNames)
        text.append(text.empty() ? "Units: " : ", ").append(unit.name);
    return text;
}

}  // namespace

void AddConvertCommand(CLI::App& app, ToolRun& run) {
    CLI::App* const command = app.add_subcommand("convert", "Convert a length: convert 8.5 inches mm");
    const auto conversion = std::make_shared<Conversion>();
    command->add_option("LENGTH", conversion->length, "A number")->required();
    command->add_option("FROM", conversion->from, "Its unit")->required();
    command->add_option("TO", conversion->to, "The unit wanted")->required();
    command->add_option("--decimals", conversion->decimals, "The most decimals to print")
        ->check(CLI::Range(0, 15))
        ->capture_default_str();
    command->footer(DescribeUnits());
    command->callback([&run, conversion] { Convert(run, *conversion); });
}
