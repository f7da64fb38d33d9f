// nvutil pdl and nvutil amp: printer-language commands, of a model and out of an instruction.
#include <CLI/CLI.hpp>

#include <array>
#include <charconv>
#include <memory>
#include <string>

#include "environment/productdata.h"
#include "nvutil/command.h"
#include "nvutil/files.h"
#include "nvutil/productdataof.h"
#include "nvutil/text.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

/// The page's origin and the physical area of a context.
using ContextWords = std::array<LONG, 4>;

/// What both commands take.
struct Choice {
    std::string context = {};
    OutputChoice output = {};
    std::string text = {};  ///< Of amp.
    std::string folder = {};
    std::string model = {};
    std::string feature = {};
    std::string option = {};
    std::string type = {};
    std::string qualifier = {};
};

/// Reads "OX,OY,AX,AY".
ContextWords ParseContext(const std::string& text) {
    ContextWords words{};
    const char* next = text.data();
    const char* const end = next + text.size();
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0 && (next == end || *next++ != ','))
            throw CLI::ValidationError("--context", "is four numbers");
        const auto result = std::from_chars(next, end, words[i]);
        if (result.ec != std::errc()) throw CLI::ValidationError("--context", "is four 32-bit numbers");
        next = result.ptr;
    }
    if (next != end) throw CLI::ValidationError("--context", "is four numbers and no more");
    return words;
}

/// Calls a function with the context that was given, if any.
template <class Function>
auto WithContext(const std::string& text, Function function) {
    if (text.empty()) return function(nullptr);
    ContextWords words = ParseContext(text);
    return function(words.data());
}

void ConvertInstruction(ToolRun& run, const Choice& choice) {
    ByteBuffer bytes;
    WithContext(choice.context, [&](void* context) {
        return ProductData::ConvertAmpCommands(FromUtf8(choice.text), bytes, context);
    });
    WriteOutput(run, choice.output, bytes);
}

void MakeCommand(ToolRun& run, const Choice& choice) {
    const ProductData::PdlType type = ProductData::GetPDLType(FromUtf8(choice.type));
    ByteBuffer bytes;
    const bool isFound = WithContext(choice.context, [&](void* context) {
        ProductData data;
        ReadModel(run, choice.folder, choice.model, data);
        return data.GetPDLCommand(FromUtf8(choice.feature), FromUtf8(choice.option), type, bytes, context,
                                  FromUtf8(choice.qualifier));
    });
    if (!isFound) {
        NV_THROW(ExceptionFeatureNotFound, "MakeCommand", __LINE__,
                 NV_TEXT("model \"%s\" has no %s command for option \"%s\" of feature \"%s\""),
                 FromUtf8(choice.model), FromUtf8(choice.type), FromUtf8(choice.option),
                 FromUtf8(choice.feature));
    }
    run.subject.clear();
    WriteOutput(run, choice.output, bytes);
}

void AddCommonOptions(CLI::App& command, Choice& choice) {
    command.add_option("--context", choice.context,
                       "OX,OY,AX,AY: the page's origin and the physical area, in device units");
    AddOutputOptions(command, choice.output, "the bytes go");
}

void AddPdlCommand(CLI::App& app, ToolRun& run) {
    CLI::App* const command =
        app.add_subcommand("pdl", "Make the command that chooses an option of a feature");
    const auto choice = std::make_shared<Choice>();
    command->add_option("FOLDER", choice->folder, "The product data folder")->required();
    command->add_option("--model", choice->model, "The model's name")->required();
    command->add_option("--feature", choice->feature, "The feature's description")->required();
    command->add_option("--option", choice->option,
                        "The option's description; the feature's own if not given");
    command->add_option("--type", choice->type, "The language: PCL, PJL, PCL5, PCL6 or PS")->required();
    command->add_option("--qualifier", choice->qualifier, "What chooses among commands with qualifiers");
    AddCommonOptions(*command, *choice);
    command->callback([&run, choice] { MakeCommand(run, *choice); });
}

void AddAmpCommand(CLI::App& app, ToolRun& run) {
    CLI::App* const command = app.add_subcommand("amp", "Turn an instruction in AMP notation into bytes");
    const auto choice = std::make_shared<Choice>();
    command->add_option("TEXT", choice->text, "The instruction: \"&esc;E\"")->required();
    AddCommonOptions(*command, *choice);
    command->callback([&run, choice] { ConvertInstruction(run, *choice); });
}

}  // namespace

void AddPdlCommands(CLI::App& app, ToolRun& run) {
    AddPdlCommand(app, run);
    AddAmpCommand(app, run);
}
