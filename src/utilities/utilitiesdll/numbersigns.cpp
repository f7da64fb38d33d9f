// NumberSigns: writing and reading of a number's text.
#include "utilities/utilitiesdll/numbersigns.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

#include "platform/fork.h"
#include "platform/widechar.h"
#include "utilities/base/textresources.h"
#include "utilities/utilitiesdll/textresourceloader.h"

namespace {

constexpr WChar fullStop = NV_TEXT('.');
constexpr int groupLength = 3;

bool IsDecimalDigit(WChar character) {
    return character >= NV_TEXT('0') && character <= NV_TEXT('9');
}

/// Whether a number's text can have this sign at all.
bool IsSign(WChar character) {
    return character != 0 && !IsDecimalDigit(character);
}

CXString WideOf(std::string_view digits) {
    CXString text;
    std::copy(digits.begin(), digits.end(), text.GetBufferSetLength(static_cast<int>(digits.size())));
    return text;
}

int CountDigits(const CXString& text, int position) {
    int count = 0;
    while (IsDecimalDigit(text[position + count]))
        ++count;
    return count;
}

/// Whether full stops separate groups here and nothing else: there is at least one, all groups but the first
/// have three digits, and the first begins with none that could be left out.
bool HasGroupsWithFullStops(const CXString& text, int position) {
    int count = CountDigits(text, position);
    if (count == 0 || count > groupLength || text[position] == NV_TEXT('0') ||
        text[position + count] != fullStop) {
        return false;
    }
    do {
        position += count + 1;
        count = CountDigits(text, position);
        if (count != groupLength) return false;
    } while (text[position + count] == fullStop && IsDecimalDigit(text[position + count + 1]));
    return true;
}

std::string ToFixed(double magnitude, int decimals) {
    std::array<char, std::numeric_limits<double>::max_exponent10 + NumberSigns::mostDecimals + 8> buffer;
    return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude,
                                         std::chars_format::fixed, decimals)
                               .ptr};
}

/// Makes a written number larger by one in its last digit.
void Increment(std::string& digits) {
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
        if (*digit == '.') continue;
        if (*digit != '9') {
            ++*digit;
            return;
        }
        *digit = '0';
    }
    digits.insert(digits.begin(), '1');
}

/// The digits with a full stop. Halves go away from zero, while std::to_chars takes them to even digits.
std::string DigitsOf(double magnitude, int decimals) {
    // An odd number of halves of 10^-decimals must be one of halves of 2^-decimals, which can be told
    // exactly.
    const bool isHalfway = std::fmod(std::ldexp(magnitude, decimals + 1), 2) == 1;
    std::string digits = ToFixed(magnitude, isHalfway ? decimals + 1 : decimals);
    if (!isHalfway) return digits;
    digits.pop_back();
    if (decimals == 0) digits.pop_back();
    Increment(digits);
    return digits;
}

/// Appends the digits from a position on, without the separators between them; returns the position behind.
int AppendDigits(const CXString& text, int position, WChar separator, std::string& digits) {
    for (;; ++position) {
        if (IsDecimalDigit(text[position])) {
            digits += static_cast<char>(text[position]);
        } else if (separator == 0 || text[position] != separator || !IsDecimalDigit(text[position + 1])) {
            return position;
        }
    }
}

}  // namespace

NumberSigns::NumberSigns(const CXString& decimalText, const CXString& thousandsText) {
    if (IsSign(decimalText[0])) m_decimal = decimalText[0];
    if (thousandsText[0] != 0) m_thousands = thousandsText[0];
    if (!IsSign(m_thousands) || m_thousands == m_decimal) m_thousands = 0;
    const WChar minus = thousandsText[1];
    if (IsSign(minus) && !platform::IsSpace(minus) && minus != NV_TEXT('+') && minus != m_decimal &&
        minus != fullStop) {
        m_minus = minus;
    }
}

const NumberSigns& NumberSigns::OfResources() {
    static const NumberSigns signs(TextResourceLoader::GetText(textresources::decimalSeparator),
                                   TextResourceLoader::GetText(textresources::thousandsSeparator));
    return signs;
}

[[maybe_unused]] static const bool isMadeBeforeForks =
    platform::MakeBeforeForks([] { NumberSigns::OfResources(); });

CXString NumberSigns::Write(double magnitude, bool isNegative, int decimals, bool stripTrailingZeros,
                            bool groupThousands) const {
    const std::string digits = DigitsOf(magnitude, decimals);
    const bool isZero = digits.find_first_not_of("0.") == std::string::npos;
    CXString integer = WideOf(digits.substr(0, digits.find('.')));
    CXString fraction = WideOf(digits.substr(digits.size() - static_cast<std::size_t>(decimals)));

    if (groupThousands && m_thousands != 0) {
        for (int position = integer.GetLength() - groupLength; position > 0; position -= groupLength)
            integer.Insert(position, m_thousands);
    }
    if (stripTrailingZeros) fraction.TrimRight(NV_TEXT('0'));
    CXString text = fraction.IsEmpty() ? integer : integer + m_decimal + fraction;
    return isNegative && !isZero ? m_minus + text : text;
}

bool NumberSigns::Read(const CXString& text, double& value) const {
    int position = 0;
    while (position < text.GetLength() && platform::IsSpace(text[position]))
        ++position;
    const bool isNegative = text[position] == NV_TEXT('-') || text[position] == m_minus;
    if (isNegative || text[position] == NV_TEXT('+')) ++position;

    const bool hasGroups = m_thousands != fullStop || HasGroupsWithFullStops(text, position);
    std::string digits;
    position = AppendDigits(text, position, hasGroups ? m_thousands : WChar{0}, digits);
    if (text[position] == m_decimal || text[position] == fullStop) {
        digits += '.';
        AppendDigits(text, position + 1, 0, digits);
    }

    double magnitude = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
    const bool isNumber = result.ec == std::errc();
    value = !isNumber ? 0 : isNegative ? -magnitude : magnitude;
    return isNumber;
}
