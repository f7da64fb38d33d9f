// Single UTF-16 code units by the Windows C library.
#include "platform/widechar.h"

#include <windows.h>

#include <clocale>
#include <cwchar>
#include <cwctype>

namespace platform {

namespace {

// Whatever locale the process has chosen: names that one program stored must be found by another.
_locale_t InitialLocale() {
    static const _locale_t initial = _create_locale(LC_ALL, "C");
    return initial;
}

}  // namespace

WChar ToUpper(WChar character) {
    return static_cast<WChar>(_towupper_l(character, InitialLocale()));
}

WChar ToLower(WChar character) {
    return static_cast<WChar>(_towlower_l(character, InitialLocale()));
}

WChar FoldCase(WChar character) {
    WChar upper = 0;
    const int length =
        LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, &character, 1, &upper, 1, nullptr, nullptr, 0);
    return length == 1 ? upper : character;
}

bool IsSpace(WChar character) {
    return _iswspace_l(character, InitialLocale()) != 0;
}

bool IsDigit(WChar character) {
    return _iswdigit_l(character, InitialLocale()) != 0;
}

int CompareNoCase(const WChar* left, const WChar* right) {
    return _wcsicmp_l(left, right, InitialLocale());
}

}  // namespace platform
