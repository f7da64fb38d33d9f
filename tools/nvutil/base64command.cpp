// nvutil base64: encodes bytes as Base64 text and decodes it.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "nvutil/command.h"
#include "nvutil/files.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace {

ByteBuffer Encode(const ByteBuffer& bytes, DWORD flags) {
    const auto size = static_cast<int>(bytes.size());
    int length = NorvaUtilities::Base64EncodeGetRequiredLength(size, flags);
    std::vector<WChar> text(static_cast<std::size_t>(length));
    if (size > 0) NorvaUtilities::Base64Encode(bytes.data(), size, text.data(), &length, flags);
    text.resize(size > 0 ? static_cast<std::size_t>(length) : 0);
    ByteBuffer characters(text.size());
    std::transform(text.begin(), text.end(), characters.begin(),
                   [](WChar c) { return static_cast<BYTE>(c); });
    return characters;
}

ByteBuffer Decode(const ByteBuffer& characters) {
    const std::vector<WChar> text(characters.begin(), characters.end());
    auto length = static_cast<int>(text.size());
    ByteBuffer bytes(text.size());
    if (!text.empty()) NorvaUtilities::Base64Decode(text.data(), length, bytes.data(), &length);
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

struct Arguments {
    std::string input;
    OutputChoice output;
    bool hasNoPadding = false;
    bool hasNoLineBreaks = false;

    DWORD GetFlags() const {
        return (hasNoPadding ? NorvaUtilities::Base64NoPadding : DWORD{0}) |
               (hasNoLineBreaks ? NorvaUtilities::Base64NoLineBreaks : DWORD{0});
    }
};

CLI::App* AddCommand(CLI::App& group, const std::string& name, const std::string& description,
                     Arguments& arguments) {
    CLI::App* const command = group.add_subcommand(name, description);
    command->add_option("IN", arguments.input, "What to start from")->required();
    command->add_option("-o,--output", arguments.output.name,
                        "Where the result goes; standard output if not given");
    return command;
}

void AddEncodeCommand(CLI::App& group, ToolRun& run) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* const command = AddCommand(group, "encode", "Encode bytes, 76 characters a line", *arguments);
    command->add_flag("--no-padding", arguments->hasNoPadding, "Do not fill up the last group with \"=\"");
    command->add_flag("--no-line-breaks", arguments->hasNoLineBreaks, "Write one line without an end");
    command->callback([&run, arguments] {
        WriteOutput(run, arguments->output, Encode(ReadInput(run, arguments->input), arguments->GetFlags()));
    });
}

void AddDecodeCommand(CLI::App& group, ToolRun& run) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* const command =
        AddCommand(group, "decode", "Decode text, skipping what is not of the alphabet", *arguments);
    command->add_flag("--hex", arguments->output.isHex, "Write upper-case hexadecimal text instead of bytes");
    command->callback(
        [&run, arguments] { WriteOutput(run, arguments->output, Decode(ReadInput(run, arguments->input))); });
}

}  // namespace

void AddBase64Commands(CLI::App& app, ToolRun& run) {
    CLI::App* const group = app.add_subcommand("base64", "Base64 text");
    group->require_subcommand(1);
    AddEncodeCommand(*group, run);
    AddDecodeCommand(*group, run);
}
