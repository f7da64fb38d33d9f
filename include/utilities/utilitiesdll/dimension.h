// Dimension: a length in one of twelve units, converted through thousandths of a millimetre.
#pragma once

#include <cstdint>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/number.h"

/// A length: a number and its unit.
///
/// A conversion always passes through thousandths of a millimetre. `decimals` and `threshold` are those of
/// Number. A unit that is not one of UnitsEnum converts every length to 0.
class NVUTIL_API Dimension {
public:
    enum UnitsEnum : std::int32_t {
        Inches = 0,
        TenthsOfInches = 1,
        HundredthsOfInches = 2,
        ThousandthsOfInches = 3,
        TenThousandthsOfInches = 4,
        Millimetres = 5,
        TenthsOfMillimetres = 6,
        HundredthsOfMillimetres = 7,
        ThousandthsOfMillimetres = 8,
        Points = 9,
        TenthsOfPoints = 10,
        HundredthsOfPoints = 11,
    };

    /// 0 thousandths of a millimetre.
    constexpr Dimension() = default;
    constexpr Dimension(const Number& value, UnitsEnum units) : m_value(value), m_units(units) {}
    constexpr Dimension(double value, UnitsEnum units) : m_value(value), m_units(units) {}
    /// A number as Number::SetStringValue reads it.
    Dimension(const CXString& value, UnitsEnum units) : m_value(value), m_units(units) {}

    /// The number in the dimension's own unit.
    constexpr Number GetValue() const { return m_value; }
    Number GetValue(UnitsEnum units) const { return GetDoubleValue(units); }
    Number GetValue(UnitsEnum units, int decimals, double threshold) const;
    double GetDoubleValue(UnitsEnum units) const;
    double GetDoubleValue(UnitsEnum units, int decimals, double threshold) const;
    /// @param stripTrailingZeros  as in Number::GetStringValue
    CXString GetStringValue(UnitsEnum units, int decimals, double threshold,
                            bool stripTrailingZeros = false) const;
    constexpr UnitsEnum GetUnits() const { return m_units; }

    /// Converts the number, so that the length stays the same.
    void SetUnits(UnitsEnum units);
    /// Replaces the number and keeps the unit.
    void SetValue(const Number& value) { m_value = value; }
    void SetValue(const Number& value, UnitsEnum units);
    void SetDoubleValue(double value) { m_value = value; }
    /// Replaces the number by the one that Number::SetStringValue reads; returns what that does.
    bool SetStringValue(const CXString& value) { return m_value.SetStringValue(value); }
    bool SetStringValue(const CXString& value, UnitsEnum units);
    void ReverseSign() { m_value.ReverseSign(); }

    // Comparisons of whole thousandths of a millimetre: lengths less than half a micrometre apart are equal.
    bool operator==(const Dimension& other) const { return GetComparedValue() == other.GetComparedValue(); }
    bool operator<(const Dimension& other) const { return GetComparedValue() < other.GetComparedValue(); }
    bool operator>(const Dimension& other) const { return GetComparedValue() > other.GetComparedValue(); }
    bool operator<=(const Dimension& other) const { return GetComparedValue() <= other.GetComparedValue(); }
    bool operator>=(const Dimension& other) const { return GetComparedValue() >= other.GetComparedValue(); }

    /// Whether two lengths are the same after conversion and rounding.
    static bool IsEquivalent(const Dimension& a, const Dimension& b, UnitsEnum units, int decimals,
                             double threshold);

    /// The name of a unit, "[10ths of MMs]"; "UNKNOWN!" for any other number.
    static CXString GetDebugDisplayString(UnitsEnum units);
    CXString GetUnitsDebugDisplayString() const { return GetDebugDisplayString(m_units); }
    /// The number with up to four decimals, and the unit: "8.5 [Inches]".
    /// @param ignored  every value gives the same text
    CXString GetDumpDisplayString(bool ignored) const;

private:
    double GetThousandthsOfMillimetres() const;
    std::int32_t GetComparedValue() const;

    Number m_value;
    UnitsEnum m_units = ThousandthsOfMillimetres;
};
