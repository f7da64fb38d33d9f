// nvutil buffer: packs, unpacks and describes compressed buffers.
#include <CLI/CLI.hpp>

#include <memory>
#include <string>

#include "nvutil/cabinetinfo.h"
#include "nvutil/command.h"
#include "nvutil/files.h"
#include "utilities/compression/cabcompressedbuffer.h"

namespace {

ByteBuffer Pack(const ByteBuffer& data) {
    CabCompressedBuffer buffer;
    buffer.Store(data);
    return buffer.GetCompressedBufferState();
}

ByteBuffer Unpack(const ByteBuffer& state) {
    ByteBuffer data;
    CabCompressedBuffer::CreateWithBufferState(state)->GetOriginalData(data);
    return data;
}

/// Describes the fields first, so that a damaged buffer shows as much as it can before it is refused.
void ShowInfo(ToolRun& run, const std::string& input) {
    const ByteBuffer state = ReadInput(run, input);
    WriteBufferInfo(state, run.out);
    Unpack(state);
}

/// A command that turns the bytes of one file into those of another.
void AddTransformation(CLI::App& group, ToolRun& run, const std::string& name, const std::string& description,
                       ByteBuffer (*transform)(const ByteBuffer&)) {
    CLI::App* const command = group.add_subcommand(name, description);
    const auto input = std::make_shared<std::string>();
    const auto output = std::make_shared<OutputChoice>();
    command->add_option("IN", *input, "The bytes to start from")->required();
    AddOutputOptions(*command, *output, "the result goes");
    command->callback(
        [&run, input, output, transform] { WriteOutput(run, *output, transform(ReadInput(run, *input))); });
}

}  // namespace

void AddBufferCommands(CLI::App& app, ToolRun& run) {
    CLI::App* const group = app.add_subcommand("buffer", "Compressed buffers");
    group->require_subcommand(1);
    AddTransformation(*group, run, "pack", "Compress a file into a buffer", Pack);
    AddTransformation(*group, run, "unpack", "Expand a buffer into what was packed", Unpack);
    CLI::App* const info = group->add_subcommand("info", "Describe a buffer: footer, cabinet and blocks");
    const auto input = std::make_shared<std::string>();
    info->add_option("IN", *input, "The buffer")->required();
    info->callback([&run, input] { ShowInfo(run, *input); });
}
