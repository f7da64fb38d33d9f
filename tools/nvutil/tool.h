// The tool's one entry, for its program and for its tests.
#pragma once

#include <iosfwd>
#include <span>
#include <string>

/// What a run of the tool ends with.
namespace exitstatus {
constexpr int success = 0;
constexpr int refused = 1;    ///< The input was refused; a line on the error stream says why.
constexpr int usage = 2;      ///< The arguments make no sense.
constexpr int different = 3;  ///< `state diff --exit-code` found differences.
}  // namespace exitstatus

/// Runs one command.
/// @param arguments  those behind the program's name, in UTF-8
/// @param in, out    what "-" stands for
/// @return the exit status
int RunTool(std::span<const std::string> arguments, std::istream& in, std::ostream& out, std::ostream& error);
