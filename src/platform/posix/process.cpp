// Facts about the running process and thread, from the kernel.
#include "platform/process.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace platform {

DWORD CurrentThreadId() {
    return static_cast<DWORD>(gettid());
}

Text HostModuleName() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    try {
        return program.filename().u16string();
    } catch (const std::exception&) {  // a name that is not text
        return {};
    }
}

bool IsPossiblyNonInteractive() {
    return isatty(STDERR_FILENO) == 0;  // where messages to the user go
}

}  // namespace platform
