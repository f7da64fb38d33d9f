// Files as the commands read and write them; "-" is standard input or output.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <span>
#include <string>

#include "nvutil/command.h"
#include "utilities/utilitiesdll/bytebuffer.h"

/// The most that a buffer of the library can hold.
constexpr std::size_t largestInput = 0x7FFFFFFF;

/// Reads everything from a file, which becomes the subject of the run. No copy of it stays in memory.
/// @param name  in UTF-8
/// @throws ExceptionCreateFileForReading, ExceptionReadFile, and ExceptionInvalidArgument when there are more
///         than `limit` bytes
ByteBuffer ReadInput(ToolRun& run, const std::string& name, std::size_t limit = largestInput);

/// Hands over a file of any size piece by piece; the file becomes the subject of the run.
/// @throws ExceptionCreateFileForReading, ExceptionReadFile
void ReadPieces(ToolRun& run, const std::string& name,
                const std::function<void(std::span<const BYTE>)>& take);

/// The path that a name in UTF-8 stands for.
inline std::filesystem::path PathOf(const std::string& name) {
    return {std::u8string(name.begin(), name.end())};
}

/// Where a command puts its bytes.
struct OutputChoice {
    std::string name = "-";
    bool isHex = false;     ///< Print them as upper-case hexadecimal text instead.
    bool isSecret = false;  ///< A file that is new is for its owner alone.
};

/// Writes a file in one step: it appears complete or not at all, and one of that name is replaced.
/// @throws ExceptionCreateFileForWriting, ExceptionWriteFile
void WriteOutput(ToolRun& run, const OutputChoice& choice, const ByteBuffer& bytes);

/// Adds the options that make such a choice.
/// @param what  "the result goes"
void AddOutputOptions(CLI::App& command, OutputChoice& output, const std::string& what);
