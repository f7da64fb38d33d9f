// The debugger, when one is attached.
#include "platform/debugger.h"

#include <windows.h>

namespace platform {

void BreakIntoDebugger() {
    if (IsDebuggerPresent() != FALSE) DebugBreak();
}

void WriteDebugOutput(const Text& text) {
    OutputDebugStringW(text.c_str());
}

}  // namespace platform
