// Single UTF-16 code units by the Windows C library.
#include "platform/widechar.h"

#include <cwchar>
#include <cwctype>

namespace platform {

WChar ToUpper(WChar character) {
    return static_cast<WChar>(std::towupper(character));
}

WChar ToLower(WChar character) {
    return static_cast<WChar>(std::towlower(character));
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
