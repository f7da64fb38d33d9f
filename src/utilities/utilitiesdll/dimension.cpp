// Dimension: the units and the conversions between them.
#include "utilities/utilitiesdll/dimension.h"

#include <array>
#include <cstddef>

#include "utilities/base/formattext.h"

namespace {

constexpr double roundHalvesAwayFromZero = 0.499999;

struct Unit {
    const WChar* name;
    double thousandthsOfMillimetres;  // that one of the unit has
};

// In the order of UnitsEnum.
constexpr std::array<Unit, 12> unitTable = {{
    {NV_TEXT("[Inches]"), 25400.0},
    {NV_TEXT("[10ths of Inches]"), 2540.0},
    {NV_TEXT("[100ths of Inches]"), 254.0},
    {NV_TEXT("[1,000ths of Inches]"), 25.4},
    {NV_TEXT("[10,000ths of Inches]"), 2.54},
    {NV_TEXT("[MMs]"), 1000.0},
    {NV_TEXT("[10ths of MMs]"), 100.0},
    {NV_TEXT("[100ths of MMs]"), 10.0},
    {NV_TEXT("[1,000ths of MMs]"), 1.0},
    {NV_TEXT("[Pts]"), 352.77777777777777},
    {NV_TEXT("[10ths of Pts]"), 35.27777777777778},
    {NV_TEXT("[100ths of Pts]"), 3.5277777777777777},
}};
static_assert(Dimension::HundredthsOfPoints + 1 == unitTable.size());

// Null for a number that is not a unit.
const Unit* FindUnit(Dimension::UnitsEnum units) {
    const auto index = static_cast<std::size_t>(units);
    return index < unitTable.size() ? &unitTable[index] : nullptr;
}

}  // namespace

Number Dimension::GetValue(UnitsEnum units, int decimals, double threshold) const {
    return GetDoubleValue(units, decimals, threshold);
}

double Dimension::GetDoubleValue(UnitsEnum units) const {
    const Unit* unit = FindUnit(units);
    return unit != nullptr ? GetThousandthsOfMillimetres() / unit->thousandthsOfMillimetres : 0;
}

double Dimension::GetDoubleValue(UnitsEnum units, int decimals, double threshold) const {
    return Number::Round(GetDoubleValue(units), decimals, threshold);
}

CXString Dimension::GetStringValue(UnitsEnum units, int decimals, double threshold,
                                   bool stripTrailingZeros) const {
    return GetValue(units).GetStringValue(decimals, threshold, stripTrailingZeros);
}

void Dimension::SetUnits(UnitsEnum units) {
    SetValue(GetValue(units), units);
}

void Dimension::SetValue(const Number& value, UnitsEnum units) {
    m_value = value;
    m_units = units;
}

bool Dimension::SetStringValue(const CXString& value, UnitsEnum units) {
    m_units = units;
    return SetStringValue(value);
}

bool Dimension::IsEquivalent(const Dimension& a, const Dimension& b, UnitsEnum units, int decimals,
                             double threshold) {
    return Number::IsEquivalent(a.GetValue(units), b.GetValue(units), decimals, threshold);
}

CXString Dimension::GetDebugDisplayString(UnitsEnum units) {
    const Unit* unit = FindUnit(units);
    return unit != nullptr ? unit->name : NV_TEXT("UNKNOWN!");
}

CXString Dimension::GetDumpDisplayString(bool /*ignored*/) const {
    constexpr int decimals = 4;
    return FormatText(NV_TEXT("%s %s"), m_value.GetDumpDisplayString(decimals, roundHalvesAwayFromZero),
                      GetUnitsDebugDisplayString());
}

double Dimension::GetThousandthsOfMillimetres() const {
    const Unit* unit = FindUnit(m_units);
    return unit != nullptr ? m_value.GetDoubleValue() * unit->thousandthsOfMillimetres : 0;
}

std::int32_t Dimension::GetComparedValue() const {
    return Number(GetThousandthsOfMillimetres()).GetIntValue(roundHalvesAwayFromZero);
}
