// Conversion between UTF-16 and 8-bit text by the operating system.
#include "platform/codepage.h"

#include <windows.h>

namespace platform {

static_assert(static_cast<unsigned>(CodePage::Ansi) == CP_ACP &&
              static_cast<unsigned>(CodePage::Utf8) == CP_UTF8);

int NarrowFromWide(CodePage codePage, const WChar* text, int length, char* out, int capacity) {
    if (text == nullptr || length <= 0 || capacity < 0) return 0;
    return WideCharToMultiByte(static_cast<UINT>(codePage), 0, text, length, out, capacity, nullptr, nullptr);
}

int WideFromNarrow(CodePage codePage, const char* text, int length, WChar* out, int capacity) {
    if (text == nullptr || length <= 0 || capacity < 0) return 0;
    return MultiByteToWideChar(static_cast<UINT>(codePage), 0, text, length, out, capacity);
}

}  // namespace platform
