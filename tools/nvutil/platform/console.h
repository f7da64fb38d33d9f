// What the tool needs of the process's console beyond the standard library.
#pragma once

#include <string>
#include <vector>

namespace console {

/// The arguments behind the program's name, in UTF-8 where they are text.
std::vector<std::string> GetArguments(int argc, char** argv);

/// Keeps standard input and output from translating line ends, and lets terminals show UTF-8.
void UseBinaryStreams();

/// Whether a person reads standard error as it is written.
bool IsErrorATerminal();

}  // namespace console
