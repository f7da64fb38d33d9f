// Error texts from the system's message table.
#include "platform/errortext.h"

#include <windows.h>

#include <array>

namespace platform {

Text ErrorText(HRESULT code) {
    std::array<WChar, 1024> buffer{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        static_cast<DWORD>(code), 0, buffer.data(),
                                        static_cast<DWORD>(buffer.size()), nullptr);
    Text text(buffer.data(), length);
    text.erase(text.find_last_not_of(L"\r\n ") + 1);
    return text;
}

}  // namespace platform
