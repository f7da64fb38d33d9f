// NumberSigns: the separators and the minus sign of a number's text, which is written and read with them.
#pragma once

#include "platform/internalapi.h"
#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// The text of numbers in the signs of a language. No locale of the process has a part in it, and all that is
/// written is read back as the same number.
class NVUTIL_INTERNAL_API NumberSigns {
public:
    static constexpr int mostDecimals = 15;

    /// Takes the first code unit of a text as the decimal separator, and of another as the thousands
    /// separator, whose second is the minus sign; ".", "," and "-" where there is none.
    ///
    /// What could not be told apart in a written number is not taken: a digit; a thousands separator that is
    /// the decimal separator, so that there are no groups; a minus sign that is white space, "+" or a decimal
    /// separator.
    NumberSigns(const CXString& decimalText, const CXString& thousandsText);

    /// The signs of the text resources, which are loaded once.
    static const NumberSigns& OfResources();

    /// Writes a number that is not below zero, with a minus sign if asked for and any digit is not zero.
    /// @param decimals  digits behind the separator, from 0 to mostDecimals
    CXString Write(double magnitude, bool isNegative, int decimals, bool stripTrailingZeros,
                   bool groupThousands) const;

    /// Reads a number; see Number::SetStringValue.
    /// @param value  receives it; 0 when there is none
    bool Read(const CXString& text, double& value) const;

private:
    WChar m_decimal = NV_TEXT('.');
    WChar m_thousands = NV_TEXT(',');  ///< 0 when there are no groups.
    WChar m_minus = NV_TEXT('-');
};
