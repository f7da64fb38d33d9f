// The operating system's formatter of messages with numbered inserts.
#include "platform/messageformat.h"

#include <windows.h>

namespace platform {

bool ExpandMessage(const WChar* format, va_list arguments, Text& text) {
    constexpr DWORD noWorkDone = 235;  // the system's error number, which its headers may lack
    constexpr DWORD flags = FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER;
    WChar* message = nullptr;
    SetLastError(ERROR_SUCCESS);
    // The system allocates the buffer and stores its address through what is declared as the buffer itself.
    const DWORD length =
        FormatMessageW(flags, format, 0, 0, reinterpret_cast<WChar*>(&message), 0, &arguments);
    // An empty message is no failure, although its length is that of one.
    const DWORD error = GetLastError();
    const bool expanded = length > 0 || error == ERROR_SUCCESS || error == noWorkDone;
    if (expanded) text.assign(message != nullptr ? message : L"", length);
    LocalFree(message);
    return expanded;
}

}  // namespace platform
