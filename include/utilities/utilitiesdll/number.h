// Number: a double-precision value with the library's own rounding and text form.
#pragma once

#include <cstdint>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A double-precision value that is rounded, compared and printed at a given number of decimals.
///
/// `decimals` counts digits behind the separator, usually 0 to 6. `threshold` is the largest fraction of the
/// last kept digit that is still rounded down: 0.499999 rounds halves away from zero.
class NVUTIL_API Number {
public:
    constexpr Number() = default;
    constexpr Number(double value) : m_value(value) {}
    constexpr Number(int value) : m_value(value) {}
    constexpr Number(long value) : m_value(static_cast<double>(value)) {}
    /// The number that SetStringValue reads.
    explicit Number(const CXString& text) { SetStringValue(text); }

    constexpr double GetDoubleValue() const { return m_value; }
    double GetDoubleValue(int decimals, double threshold) const {
        return Round(m_value, decimals, threshold);
    }
    Number GetValue(int decimals, double threshold) const { return GetDoubleValue(decimals, threshold); }
    /// The value rounded to a whole number; INT32_MIN when that does not fit.
    std::int32_t GetIntValue(double threshold) const;

    /// The rounded value as text, "-1,234.50".
    ///
    /// The separators and the minus sign are text resources; no locale of the process has a part in it. A
    /// value that is rounded to zero has no sign. SetStringValue reads every such text as the number that it
    /// shows.
    /// @param decimals            digits behind the separator, cut to the range from 0 to 15
    /// @param stripTrailingZeros  leaves out closing zeros of the fraction, and the separator with the last
    /// @param groupThousands      separates groups of three digits in front of the decimal separator
    CXString GetStringValue(int decimals, double threshold, bool stripTrailingZeros = false,
                            bool groupThousands = false) const;
    /// The rounded value as text for developers: GetStringValue without closing zeros and groups.
    CXString GetDumpDisplayString(int decimals, double threshold) const;

    /// Reads a number: white space, a sign, digits, a decimal separator, digits. What follows is ignored.
    ///
    /// The decimal separator is that of the text resources or a full stop. The thousands separator of the
    /// resources may stand in front of it; where that is a full stop, full stops separate groups if they make
    /// groups of three digits of all digits in front of the decimal separator ("1.234", "12.345.678,9"), and
    /// otherwise the first is the decimal separator ("8.5", "0.125"). There is no exponent.
    /// @return whether there was a number; the value is 0 otherwise
    bool SetStringValue(const CXString& text);

    /// Reads a hexadecimal number: white space, "0x" or nothing, digits of either case. What follows is
    /// ignored.
    /// @return the low 32 bits of the number; 0 when there are no digits
    static std::int32_t ConvertHexStringToDecimalInt(const CXString& text);

    void ReverseSign() { m_value = -m_value; }

    friend constexpr bool operator==(const Number& left, const Number& right) {
        return left.m_value == right.m_value;
    }
    friend constexpr bool operator<(const Number& left, const Number& right) {
        return left.m_value < right.m_value;
    }
    friend constexpr bool operator>(const Number& left, const Number& right) {
        return left.m_value > right.m_value;
    }
    friend constexpr bool operator<=(const Number& left, const Number& right) {
        return left.m_value <= right.m_value;
    }
    friend constexpr bool operator>=(const Number& left, const Number& right) {
        return left.m_value >= right.m_value;
    }

    /// Whether two numbers are the same after rounding.
    static bool IsEquivalent(const Number& a, const Number& b, int decimals, double threshold);

    /// Rounds away from zero when the fraction is above the threshold, else towards zero, and then adds 1e-7
    /// in the same direction, so that cutting the result does not fall one unit short.
    static double Round(double value, int decimals, double threshold);

private:
    CXString GetStringValueHelper(int decimals, double threshold, bool stripTrailingZeros,
                                  bool groupThousands) const;

    double m_value = 0;
};
