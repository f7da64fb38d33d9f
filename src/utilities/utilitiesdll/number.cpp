// Number: rounding and text.
#include "utilities/utilitiesdll/number.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/widechar.h"
#include "utilities/utilitiesdll/numbersigns.h"

namespace {

constexpr double nudge = 1e-7;

// Conversions towards zero. What does not fit becomes the smallest integer, as the processor has it; the
// language leaves that open.
template <class Integer>
Integer Truncate(double value) {
    constexpr double limit = -static_cast<double>(std::numeric_limits<Integer>::min());
    return value > -limit - 1 && value < limit ? static_cast<Integer>(value)
                                               : std::numeric_limits<Integer>::min();
}

// A power of ten in single precision, so that both platforms have the same one beyond the exact powers.
float PowerOfTen(int exponent) {
    float power = 1;
    float factor = 10;
    for (unsigned left = exponent < 0 ? 0U - static_cast<unsigned>(exponent)
                                      : static_cast<unsigned>(exponent);
         left != 0; left >>= 1) {
        if (left & 1) power *= factor;
        factor *= factor;
    }
    return exponent < 0 ? 1 / power : power;
}

bool IsDecimalDigit(WChar character) {
    return character >= NV_TEXT('0') && character <= NV_TEXT('9');
}

// The value of a hexadecimal digit, or -1.
int HexDigitValue(WChar character) {
    if (IsDecimalDigit(character)) return character - NV_TEXT('0');
    const WChar lower = platform::ToLower(character);
    return lower >= NV_TEXT('a') && lower <= NV_TEXT('f') ? lower - NV_TEXT('a') + 10 : -1;
}

}  // namespace

std::int32_t Number::GetIntValue(double threshold) const {
    return Truncate<std::int32_t>(Round(m_value, 0, threshold));
}

CXString Number::GetStringValue(int decimals, double threshold, bool stripTrailingZeros,
                                bool groupThousands) const {
    return GetStringValueHelper(decimals, threshold, stripTrailingZeros, groupThousands);
}

CXString Number::GetDumpDisplayString(int decimals, double threshold) const {
    return GetStringValueHelper(decimals, threshold, true, false);
}

CXString Number::GetStringValueHelper(int decimals, double threshold, bool stripTrailingZeros,
                                      bool groupThousands) const {
    decimals = std::clamp(decimals, 0, NumberSigns::mostDecimals);
    const double rounded = std::abs(Round(m_value, decimals, threshold)) - nudge;
    return NumberSigns::OfResources().Write(rounded < 0 ? 0.0 : rounded, m_value < 0, decimals,
                                            stripTrailingZeros, groupThousands);
}

bool Number::SetStringValue(const CXString& text) {
    return NumberSigns::OfResources().Read(text, m_value);
}

std::int32_t Number::ConvertHexStringToDecimalInt(const CXString& text) {
    int position = 0;
    while (position < text.GetLength() && platform::IsSpace(text[position]))
        ++position;
    const bool hasPrefix =
        text[position] == NV_TEXT('0') && platform::ToLower(text[position + 1]) == NV_TEXT('x');
    if (hasPrefix) position += 2;
    std::uint32_t value = 0;
    for (int digit = HexDigitValue(text[position]); digit >= 0; digit = HexDigitValue(text[++position]))
        value = value << 4 | static_cast<std::uint32_t>(digit);
    return static_cast<std::int32_t>(value);
}

bool Number::IsEquivalent(const Number& a, const Number& b, int decimals, double threshold) {
    const double power = PowerOfTen(decimals);
    return Truncate<std::int64_t>(a.GetDoubleValue(decimals, threshold) * power) ==
           Truncate<std::int64_t>(b.GetDoubleValue(decimals, threshold) * power);
}

double Number::Round(double value, int decimals, double threshold) {
    constexpr std::int64_t wholeOfOverflow = 2147483646;
    const double sign = value < 0 ? -1 : 1;
    const double scale = PowerOfTen(decimals);
    const double scaled = std::abs(value) * scale;

    auto whole = Truncate<std::int64_t>(scaled);
    if (scaled > 0 && whole < 0) whole = wholeOfOverflow;

    // The single precision is deliberate: it decides the ties of large values. So is the difference that
    // wraps after an overflow: it makes the whole part the largest 32-bit integer.
    const float wholeInUnits = static_cast<float>(whole) * 100000.0F;
    const auto fraction =
        static_cast<std::int64_t>(static_cast<std::uint64_t>(Truncate<std::int64_t>(scaled * 100000.0)) -
                                  static_cast<std::uint64_t>(Truncate<std::int64_t>(wholeInUnits)));
    if (Truncate<std::int64_t>(threshold * 100000.0) < fraction) ++whole;

    const double result = decimals != 0 ? static_cast<double>(whole) / scale : static_cast<double>(whole);
    return (result + nudge) * sign;
}
