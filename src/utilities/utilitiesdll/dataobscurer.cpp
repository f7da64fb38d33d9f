// DataObscurer: makes strings unreadable at a glance.
#include "utilities/utilitiesdll/dataobscurer.h"

namespace {

constexpr int firstIndex = 5;  // part of what is stored

/// Swaps nibbles in each byte and adds the mask, a digit for each nibble.
/// @param ones  the number with a 1 in each nibble of the character
constexpr unsigned Transform(unsigned character, int index, unsigned ones) {
    const auto isKept = [](unsigned c) { return c == 0 || c == '"'; };
    if (isKept(character)) return character;
    const unsigned lowNibbles = 0x0F * (ones & 0x0101);
    const unsigned swapped = (character & lowNibbles) << 4 | (character >> 4 & lowNibbles);
    const unsigned digit = static_cast<unsigned>(index) % 16;
    const unsigned result = swapped ^ digit * ones;
    return isKept(result) ? character : result;
}

}  // namespace

DataObscurer::~DataObscurer() = default;

char DataObscurer::ObscureUnobscureChar(char character, int index) {
    return static_cast<char>(Transform(static_cast<unsigned char>(character), index, 0x11));
}

WChar DataObscurer::ObscureUnobscureWchar(WChar character, int index) {
    return static_cast<WChar>(Transform(character, index, 0x1111));
}

CXString DataObscurer::ObscureUnobscureCXString(CXString text) {
    const int length = text.GetLength();
    WChar* const units = text.GetBuffer(length);
    for (int i = 0; i < length; ++i)
        units[i] = ObscureUnobscureWchar(units[i], i + firstIndex);
    text.ReleaseBuffer(length);
    return text;
}
