// Single UTF-16 code units by the rules of the Windows C library in its initial locale.
#include "platform/widechar.h"

#include <clocale>
#include <cwctype>

#include <algorithm>
#include <array>
#include "platform/fork.h"

namespace platform {

namespace {

constexpr std::array<WChar, 24> spaces = {0x0009, 0x000A, 0x000B, 0x000C, 0x000D, 0x0020, 0x00A0, 0x1680,
                                          0x2000, 0x2001, 0x2002, 0x2003, 0x2004, 0x2005, 0x2006, 0x2007,
                                          0x2008, 0x2009, 0x200A, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000};
static_assert(std::is_sorted(spaces.begin(), spaces.end()));

// The zeros of the scripts that have ten digits in a row.
constexpr std::array<WChar, 37> zeroDigits = {
    0x0030, 0x0660, 0x06F0, 0x07C0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0BE6, 0x0C66, 0x0CE6, 0x0D66,
    0x0DE6, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x1090, 0x17E0, 0x1810, 0x1946, 0x19D0, 0x1A80, 0x1A90, 0x1B50,
    0x1BB0, 0x1C40, 0x1C50, 0xA620, 0xA8D0, 0xA900, 0xA9D0, 0xA9F0, 0xAA50, 0xABF0, 0xFF10};
static_assert(std::is_sorted(zeroDigits.begin(), zeroDigits.end()));

bool IsSuperscriptDigit(WChar character) {
    return character == 0x00B2 || character == 0x00B3 || character == 0x00B9;
}

}  // namespace

WChar ToUpper(WChar character) {
    return character >= u'a' && character <= u'z' ? static_cast<WChar>(character - u'a' + u'A') : character;
}

WChar ToLower(WChar character) {
    return character >= u'A' && character <= u'Z' ? static_cast<WChar>(character - u'A' + u'a') : character;
}

locale_t AllScripts() {
    static const locale_t allScripts = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return allScripts;
}

[[maybe_unused]] static const bool isMadeBeforeForks = MakeBeforeForks([] { AllScripts(); });

WChar FoldCase(WChar character) {
    const locale_t allScripts = AllScripts();
    if (allScripts == nullptr) return ToUpper(character);  // an old system without that locale
    const std::wint_t upper = towupper_l(character, allScripts);
    return upper <= 0xFFFF ? static_cast<WChar>(upper) : character;
}

bool IsSpace(WChar character) {
    return std::binary_search(spaces.begin(), spaces.end(), character);
}

bool IsDigit(WChar character) {
    const auto after = std::upper_bound(zeroDigits.begin(), zeroDigits.end(), character);
    const bool inRow = after != zeroDigits.begin() && character - after[-1] < 10;
    return inRow || IsSuperscriptDigit(character);
}

int CompareNoCase(const WChar* left, const WChar* right) {
    while (*left != 0 && ToLower(*left) == ToLower(*right)) {
        ++left;
        ++right;
    }
    return ToLower(*left) - ToLower(*right);
}

}  // namespace platform
