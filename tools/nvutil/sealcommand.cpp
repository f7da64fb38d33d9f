// nvutil seal, unseal and obscure: data for the current user, and text hidden from a glance.
#include <CLI/CLI.hpp>

#include <nlohmann/json.hpp>

#include <memory>
#include <ostream>
#include <string>

#include "nvutil/command.h"
#include "nvutil/files.h"
#include "nvutil/jsontext.h"
#include "nvutil/text.h"
#include "platform/dataprotection.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/dataencrypter.h"
#include "utilities/utilitiesdll/dataobscurer.h"

namespace {

struct SealArguments {
    std::string input;
    OutputChoice output;
};

void Seal(ToolRun& run, const SealArguments& arguments) {
    ByteBuffer plain = ReadInput(run, arguments.input);
    const platform::WipeAtEnd wipe(plain);
    WriteOutput(run, arguments.output, DataEncrypter::EncryptBytes(plain));
}

void Unseal(ToolRun& run, const SealArguments& arguments) {
    ByteBuffer plain = DataEncrypter::DecryptBytes(ReadInput(run, arguments.input));
    const platform::WipeAtEnd wipe(plain);
    OutputChoice output = arguments.output;
    output.isSecret = true;
    WriteOutput(run, output, plain);
}

void AddSealCommand(CLI::App& app, ToolRun& run, const std::string& name, const std::string& description,
                    void (*execute)(ToolRun&, const SealArguments&)) {
    CLI::App* const command = app.add_subcommand(name, description);
    const auto arguments = std::make_shared<SealArguments>();
    command->add_option("IN", arguments->input, "The bytes to start from")->required();
    AddOutputOptions(*command, arguments->output, "the result goes");
    command->callback([&run, arguments, execute] { execute(run, *arguments); });
}

struct ObscureArguments {
    std::string text;
    bool isQuoted = false;
};

/// The text of a JSON string literal.
CXString Unquote(const std::string& literal) {
    constexpr bool throwsOnError = false;
    const auto parsed = nlohmann::json::parse(EncodeLoneSurrogates(literal), nullptr, throwsOnError);
    if (!parsed.is_string()) {
        NV_THROW(ExceptionInvalidArgument, "Unquote", __LINE__,
                 NV_TEXT("the text is no JSON string literal"));
    }
    return DecodeJsonString(parsed.get_ref<const std::string&>());
}

/// Obscured text may hold any code unit, so it is printed as a literal, which can be given back.
void Obscure(ToolRun& run, const ObscureArguments& arguments) {
    const CXString text = arguments.isQuoted ? Unquote(arguments.text) : FromUtf8(arguments.text);
    run.out << QuotedText(DataObscurer::ObscureUnobscureCXString(text)) << '\n';
}

}  // namespace

void AddSealCommands(CLI::App& app, ToolRun& run) {
    AddSealCommand(app, run, "seal", "Seal a file so that only the current user can unseal it", Seal);
    AddSealCommand(app, run, "unseal", "Give back what was sealed", Unseal);
    CLI::App* const obscure = app.add_subcommand(
        "obscure", "Hide a text from a glance, or show a hidden one; prints a JSON string literal");
    const auto arguments = std::make_shared<ObscureArguments>();
    obscure->add_option("TEXT", arguments->text, "The text")->required();
    obscure->add_flag("--quoted", arguments->isQuoted, "Take the text as a JSON string literal too");
    obscure->callback([&run, arguments] { Obscure(run, *arguments); });
}
