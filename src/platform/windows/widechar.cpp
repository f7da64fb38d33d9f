// Single UTF-16 code units by the Windows C library.
#include "platform/widechar.h"

#include <windows.h>

#include <cwchar>
#include <cwctype>

namespace platform {

WChar ToUpper(WChar character) {
    return static_cast<WChar>(std::towupper(character));
}

WChar ToLower(WChar character) {
    return static_cast<WChar>(std::towlower(character));
}

WChar FoldCase(WChar character) {
    WChar upper = 0;
    const int length =
        LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, &character, 1, &upper, 1, nullptr, nullptr, 0);
    return length == 1 ? upper : character;
}

bool IsSpace(WChar character) {
    return std::iswspace(character) != 0;
}

bool IsDigit(WChar character) {
    return std::iswdigit(character) != 0;
}

int CompareNoCase(const WChar* left, const WChar* right) {
    return _wcsicmp(left, right);
}

}  // namespace platform
