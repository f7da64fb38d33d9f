// Number: rounding and text.
#include "utilities/utilitiesdll/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "platform/widechar.h"
#include "utilities/utilitiesdll/formattext.h"
#include "utilities/utilitiesdll/textresourceloader.h"
#include "utilities/utilitiesdll/textresources.h"

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

// How numbers are written, from the text resources.
struct NumberSigns {
    WChar decimalSeparator = NV_TEXT('.');
    WChar thousandsSeparator = NV_TEXT(',');
    WChar minus = NV_TEXT('-');
};

const NumberSigns& GetNumberSigns() {
    static const NumberSigns signs = [] {
        NumberSigns loaded;
        const CXString decimal = TextResourceLoader::GetText(textresources::decimalSeparator);
        const CXString thousands = TextResourceLoader::GetText(textresources::thousandsSeparator);
        if (decimal.GetLength() > 0) loaded.decimalSeparator = decimal[0];
        if (thousands.GetLength() > 0) loaded.thousandsSeparator = thousands[0];
        if (thousands.GetLength() > 1) loaded.minus = thousands[1];
        return loaded;
    }();
    return signs;
}

bool IsDecimalDigit(WChar character) {
    return character >= NV_TEXT('0') && character <= NV_TEXT('9');
}

int SkipSpace(const CXString& text) {
    int position = 0;
    while (position < text.GetLength() && platform::IsSpace(text[position]))
        ++position;
    return position;
}

// Appends the digits from a position on, without the separators between them; returns the position behind.
int AppendDigits(const CXString& text, int position, WChar separator, std::string& digits) {
    for (;; ++position) {
        if (IsDecimalDigit(text[position])) {
            digits += static_cast<char>(text[position]);
        } else if (separator == 0 || text[position] != separator || !IsDecimalDigit(text[position + 1])) {
            return position;
        }
    }
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
    constexpr int mostDecimals = 15;
    decimals = std::clamp(decimals, 0, mostDecimals);
    const NumberSigns& signs = GetNumberSigns();

    const double rounded = std::abs(Round(m_value, decimals, threshold)) - nudge;
    const CXString digits = FormatText(NV_TEXT("%.*f"), decimals, rounded < 0 ? 0.0 : rounded);
    CXString integer = digits.SpanExcluding(NV_TEXT("."));
    CXString fraction = digits.Right(decimals);
    const bool isZero = digits.SpanIncluding(NV_TEXT("0.")).GetLength() == digits.GetLength();

    if (groupThousands) {
        for (int position = integer.GetLength() - 3; position > 0; position -= 3) {
            integer.Insert(position, signs.thousandsSeparator);
        }
    }
    if (stripTrailingZeros) fraction.TrimRight(NV_TEXT('0'));
    CXString text = fraction.IsEmpty() ? integer : integer + signs.decimalSeparator + fraction;
    return m_value < 0 && !isZero ? signs.minus + text : text;
}

bool Number::SetStringValue(const CXString& text) {
    const NumberSigns& signs = GetNumberSigns();
    const WChar thousands = signs.thousandsSeparator != NV_TEXT('.') ? signs.thousandsSeparator : WChar{0};
    int position = SkipSpace(text);
    const bool negative = text[position] == NV_TEXT('-') || text[position] == signs.minus;
    if (negative || text[position] == NV_TEXT('+')) ++position;

    std::string digits;
    position = AppendDigits(text, position, thousands, digits);
    if (text[position] == signs.decimalSeparator || text[position] == NV_TEXT('.')) {
        digits += '.';
        AppendDigits(text, position + 1, 0, digits);
    }

    double value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    const bool isNumber = result.ec == std::errc();
    m_value = !isNumber ? 0 : negative ? -value : value;
    return isNumber;
}

std::int32_t Number::ConvertHexStringToDecimalInt(const CXString& text) {
    int position = SkipSpace(text);
    const bool hasPrefix =
        text[position] == NV_TEXT('0') && platform::ToLower(text[position + 1]) == NV_TEXT('x');
    if (hasPrefix) position += 2;
    std::uint32_t value = 0;
    for (int digit = HexDigitValue(text[position]); digit >= 0; digit = HexDigitValue(text[++position])) {
        value = value << 4 | static_cast<std::uint32_t>(digit);
    }
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
