// What the tool needs of the process's console: POSIX.
#include "nvutil/platform/console.h"

#include <unistd.h>

namespace console {

std::vector<std::string> GetArguments(int argc, char** argv) {
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

void UseBinaryStreams() {}

bool IsErrorATerminal() {
    return isatty(STDERR_FILENO) != 0;
}

}  // namespace console
