// CXString: what throws, or stands on more than the platform's text services.
#include <cstdarg>

#include "platform/messageformat.h"
#include "platform/windowtext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/textresourceloader.h"

void CXString::FormatMessageW(const WChar* format, ...) {
    platform::Text message;
    va_list arguments;
    va_start(arguments, format);
    const bool expanded =
        platform::ExpandMessage(format != nullptr ? format : NV_TEXT(""), arguments, message);
    va_end(arguments);
    if (!expanded) {
        NV_THROW(ExceptionOperatingSystemFailure, "CXString::FormatMessageW", __LINE__,
                 NV_TEXT("not a valid message text: %s"), format);
    }
    *this = CXString(message.data(), static_cast<int>(message.size()));
}

bool CXString::LoadStringW(unsigned id) {
    return TextResourceLoader::LoadText(id, *this);
}

void CXString::GetWindowTextW(HWND window) {
    const platform::Text text = platform::WindowText(window);
    *this = CXString(text.data(), static_cast<int>(text.size()));
}

void CXString::SetWindowTextW(HWND window) const {
    platform::SetWindowTextTo(window, m_characters);
}

void CXString::ThrowOutOfMemory() {
    NV_THROW(ExceptionOutOfMemory, "CXString::AllocBuffer", __LINE__);
}
