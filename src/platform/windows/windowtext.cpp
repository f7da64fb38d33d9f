// The text of a window.
#include "platform/windowtext.h"

#include <windows.h>

namespace platform {

Text WindowText(HWND window) {
    const int length = GetWindowTextLengthW(window);
    if (length <= 0) return {};
    Text text(static_cast<std::size_t>(length) + 1, L'\0');
    const int copied = GetWindowTextW(window, text.data(), length + 1);
    text.resize(static_cast<std::size_t>(copied));
    return text;
}

void SetWindowTextTo(HWND window, const WChar* text) {
    SetWindowTextW(window, text);
}

}  // namespace platform
