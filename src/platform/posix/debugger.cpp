// The debugger, when one is attached.
#include "platform/debugger.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "platform/posix/environment.h"
#include "platform/posix/standarderror.h"

namespace platform {

namespace {

bool IsDebuggerAttached() {
    constexpr std::string_view label = "TracerPid:";
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(label)) return std::atoi(line.c_str() + label.size()) != 0;
    }
    return false;
}

}  // namespace

void BreakIntoDebugger() {
    if (IsDebuggerAttached()) std::raise(SIGTRAP);
}

void WriteDebugOutput(const Text& text) {
    if (TrustedVariable("NVUTIL_DEBUG") != nullptr) WriteToStandardError(text);
}

}  // namespace platform
