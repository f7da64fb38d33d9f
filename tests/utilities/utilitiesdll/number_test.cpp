// Number and Dimension: rounding, text, comparison and units.
#include "utilities/utilitiesdll/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include "support/bytes.h"
#include "utilities/utilitiesdll/dimension.h"
#include "utilities/utilitiesdll/numbersigns.h"

namespace {

constexpr double halvesUp = 0.499999;
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(NumberTest, RoundsAndNudgesAwayFromZero) {
    const auto expect = [](double value, int decimals, double threshold, double expected) {
        EXPECT_DOUBLE_EQ(Number::Round(value, decimals, threshold), expected)
            << value << " at " << decimals << " decimals";
    };
    expect(2.5, 0, halvesUp, 3 + 1e-7);
    expect(-2.5, 0, halvesUp, -(3 + 1e-7));
    expect(2.4999, 0, halvesUp, 2 + 1e-7);
    expect(2.5, 0, 0.5, 2 + 1e-7);
    expect(2.000009, 0, 0.0, 2 + 1e-7);
    expect(2.00002, 0, 0.0, 3 + 1e-7);
    expect(2.99, 0, 0.999, 2 + 1e-7);
    expect(1.2345, 2, halvesUp, 1.23 + 1e-7);
    expect(1.235, 2, halvesUp, 1.24 + 1e-7);
    expect(0, 0, halvesUp, 1e-7);
    expect(-0.0, 3, halvesUp, 1e-7);
    // The whole part has the value 16777216 in single precision, which leaves a fraction of a whole unit.
    expect(16777217.0, 0, halvesUp, 16777218 + 1e-7);
    // Any value beyond 64 bits becomes the largest 32-bit one.
    expect(1e300, 0, halvesUp, 2147483647 + 1e-7);
    expect(-infinity, 0, halvesUp, -(2147483647 + 1e-7));
}

TEST(NumberTest, IntegersOutOfRangeAreTheSmallest) {
    const auto expect = [](double value, std::int32_t expected) {
        EXPECT_EQ(Number(value).GetIntValue(halvesUp), expected) << value;
    };
    expect(2147483647.0, INT32_MAX);
    expect(-2147483648.0, INT32_MIN);
    expect(2147483648.0, INT32_MIN);
    expect(1e300, INT32_MAX);
    expect(std::nan(""), INT32_MIN);
    expect(-2.5, -3);
}

TEST(NumberTest, WritesText) {
    constexpr bool strip = true;
    constexpr bool group = true;
    const auto expect = [](double value, int decimals, bool isStripped, bool isGrouped, const char* text) {
        EXPECT_EQ(Narrow(Number(value).GetStringValue(decimals, halvesUp, isStripped, isGrouped)), text);
    };
    expect(1234567.891, 2, !strip, group, "1,234,567.89");
    expect(1234567.891, 2, !strip, !group, "1234567.89");
    expect(123456, 0, !strip, group, "123,456");
    expect(-123, 0, !strip, group, "-123");
    expect(-8.5, 3, !strip, !group, "-8.500");
    expect(8.5, 3, strip, !group, "8.5");
    expect(8, 3, strip, !group, "8");
    expect(100, 0, strip, !group, "100");
    expect(1.05, 2, !strip, !group, "1.05");
    expect(0.999, 2, !strip, !group, "1.00");
    expect(-0.004, 2, !strip, !group, "0.00");
    expect(3, 9, !strip, !group, "3.000000000");
    expect(2.5, -7, !strip, !group, "3");
    expect(1e300, 0, !strip, !group, "2147483647");
    EXPECT_EQ(Narrow(Number(1234.5).GetDumpDisplayString(4, halvesUp)), "1234.5");
    EXPECT_EQ(Number(1.0).GetStringValue(1000000000, halvesUp).GetLength(), 17);
}

TEST(NumberTest, WritesHalvesAwayFromZero) {
    const NumberSigns signs(NV_TEXT("."), NV_TEXT(","));
    const auto expect = [&signs](double value, int decimals, const char* text) {
        EXPECT_EQ(Narrow(signs.Write(value, false, decimals, false, false)), text);
    };
    expect(0.5, 0, "1");
    expect(9.5, 0, "10");
    expect(99.96875, 4, "99.9688");
    expect(0.000030517578125, 14, "0.00003051757813");
    expect(1125899906842624.25, 1, "1125899906842624.3");  // such numbers lie further apart than that
}

TEST(NumberTest, ReadsText) {
    const auto expect = [](const WChar* text, bool isNumber, double expected) {
        Number number(99);
        EXPECT_EQ(number.SetStringValue(text), isNumber) << Narrow(text);
        EXPECT_EQ(number.GetDoubleValue(), expected) << Narrow(text);
    };
    expect(NV_TEXT("8.5"), true, 8.5);
    expect(NV_TEXT(" \t-12 mm"), true, -12);
    expect(NV_TEXT("+.25"), true, 0.25);
    expect(NV_TEXT("7."), true, 7);
    expect(NV_TEXT("1,234,567.5"), true, 1234567.5);
    expect(NV_TEXT("1,"), true, 1);
    expect(NV_TEXT("1e5"), true, 1);
    expect(NV_TEXT("1.2.3"), true, 1.2);
    expect(NV_TEXT(",5"), true, 5);
    for (const WChar* const text :
         {NV_TEXT(""), NV_TEXT("."), NV_TEXT("-"), NV_TEXT("--1"), NV_TEXT("inf"), NV_TEXT("\x0661")})
        expect(text, false, 0);
    EXPECT_FALSE(Number(0).SetStringValue(CXString(NV_TEXT('9'), 400)));
    EXPECT_EQ(Number(CXString(NV_TEXT("2.5"))), Number(2.5));
}

TEST(NumberTest, ReadsAllThatItWritesInAnySigns) {
    // What is expected is -1234567.5 with groups and two decimals.
    const auto expect = [](const WChar* decimal, const WChar* thousands, const char* expected) {
        const NumberSigns signs(decimal, thousands);
        EXPECT_EQ(Narrow(signs.Write(1234567.5, true, 2, false, true)), expected);
        for (const double number :
             {0.0, 0.125, 1.0, -12.3, 123.0, 123.456, 1000.0, -1234.567, 9007199254740992.0}) {
            for (int way = 0; way < 8; ++way) {
                const int decimals = (way & 1) != 0 ? 3 : 0;
                const double shown = decimals != 0 ? number : std::trunc(number);
                const CXString text =
                    signs.Write(std::abs(shown), number < 0, decimals, (way & 2) != 0, (way & 4) != 0);
                double value = 99;
                EXPECT_TRUE(signs.Read(text, value)) << Narrow(text);
                EXPECT_EQ(value, shown) << Narrow(text);
            }
        }
    };
    expect(NV_TEXT("."), NV_TEXT(","), "-1,234,567.50");
    expect(NV_TEXT(","), NV_TEXT("."), "-1.234.567,50");
    expect(NV_TEXT(","), NV_TEXT(" "), "-1 234 567,50");
    expect(NV_TEXT("."), NV_TEXT("'~"), "~1'234'567.50");
    expect(NV_TEXT(""), NV_TEXT(""), "-1,234,567.50");
    expect(NV_TEXT(" "), NV_TEXT("--"), "-1-234-567 50");
    expect(NV_TEXT(","), NV_TEXT(",."), "-1234567,50");
    expect(NV_TEXT("1"), NV_TEXT("23"), "-1234567.50");
    expect(NV_TEXT(","), NV_TEXT(".\t"), "-1.234.567,50");
    expect(NV_TEXT("~"), NV_TEXT("_~"), "-1_234_567~50");
}

TEST(NumberTest, FullStopsSeparateGroupsOnlyWhereAllAreGroups) {
    const NumberSigns signs(NV_TEXT(","), NV_TEXT("."));
    const auto expect = [&signs](const WChar* text, double expected) {
        double value = 99;
        EXPECT_TRUE(signs.Read(text, value)) << Narrow(text);
        EXPECT_EQ(value, expected) << Narrow(text);
    };
    expect(NV_TEXT("1.234"), 1234);
    expect(NV_TEXT("12.345.678,9 mm"), 12345678.9);
    expect(NV_TEXT("1.234."), 1234);
    expect(NV_TEXT("8.5"), 8.5);
    expect(NV_TEXT("0.125"), 0.125);
    expect(NV_TEXT("1.2345"), 1.2345);
    expect(NV_TEXT("1234.567"), 1234.567);
    expect(NV_TEXT("1.234.56"), 1.234);
    expect(NV_TEXT(".5"), 0.5);
}

TEST(NumberTest, ReadsHexadecimalText) {
    const auto expect = [](const WChar* text, std::int32_t expected) {
        EXPECT_EQ(Number::ConvertHexStringToDecimalInt(text), expected) << Narrow(text);
    };
    expect(NV_TEXT("1F"), 0x1F);
    expect(NV_TEXT(" 0xabCD"), 0xABCD);
    expect(NV_TEXT("FFFFFFFF"), -1);
    expect(NV_TEXT("123456789"), 0x23456789);
    expect(NV_TEXT("12 34"), 0x12);
    for (const WChar* const text : {NV_TEXT("0x"), NV_TEXT("g"), NV_TEXT(""), NV_TEXT("-1")})
        expect(text, 0);
}

TEST(NumberTest, ComparesRawAndAtDecimals) {
    EXPECT_FALSE(Number(1.001) == Number(1.002));
    EXPECT_LT(Number(1.001), Number(1.002));
    EXPECT_TRUE(Number::IsEquivalent(1.001, 1.002, 2, halvesUp));
    EXPECT_FALSE(Number::IsEquivalent(1.001, 1.002, 3, halvesUp));
    EXPECT_TRUE(Number::IsEquivalent(2.5, 3.4, 0, halvesUp));
    EXPECT_FALSE(Number::IsEquivalent(2.4, 2.5, 0, halvesUp));
    Number number(2.5);
    number.ReverseSign();
    EXPECT_EQ(number, Number(-2.5));
}

TEST(DimensionTest, OneInchInEveryUnit) {
    const Dimension inch(1, Dimension::Inches);
    int number = 0;
    const auto expectNext = [&](double value, const char* name) {
        const auto units = static_cast<Dimension::UnitsEnum>(number++);
        EXPECT_DOUBLE_EQ(inch.GetDoubleValue(units), value) << name;
        EXPECT_DOUBLE_EQ(Dimension(value, units).GetDoubleValue(Dimension::Inches), 1) << name;
        EXPECT_EQ(Narrow(Dimension::GetDebugDisplayString(units)), name);
    };
    expectNext(1, "[Inches]");
    expectNext(10, "[10ths of Inches]");
    expectNext(100, "[100ths of Inches]");
    expectNext(1000, "[1,000ths of Inches]");
    expectNext(10000, "[10,000ths of Inches]");
    expectNext(25.4, "[MMs]");
    expectNext(254, "[10ths of MMs]");
    expectNext(2540, "[100ths of MMs]");
    expectNext(25400, "[1,000ths of MMs]");
    expectNext(72, "[Pts]");
    expectNext(720, "[10ths of Pts]");
    expectNext(7200, "[100ths of Pts]");
    for (const int unknown : {number, -1, INT_MAX, INT_MIN}) {
        const auto units = static_cast<Dimension::UnitsEnum>(unknown);
        EXPECT_EQ(inch.GetDoubleValue(units), 0);
        EXPECT_EQ(Dimension(1, units).GetDoubleValue(Dimension::Inches), 0);
        EXPECT_EQ(Dimension::GetDebugDisplayString(units), NV_TEXT("UNKNOWN!"));
    }
}

TEST(DimensionTest, SetUnitsKeepsTheLengthAndSetValueKeepsTheUnit) {
    Dimension dimension(1, Dimension::Inches);
    dimension.SetUnits(Dimension::Millimetres);
    EXPECT_EQ(dimension.GetUnits(), Dimension::Millimetres);
    EXPECT_DOUBLE_EQ(dimension.GetValue().GetDoubleValue(), 25.4);
    dimension.SetValue(2.0);
    EXPECT_EQ(dimension, Dimension(2, Dimension::Millimetres));
    dimension.SetStringValue(CXString(NV_TEXT("8.5")), Dimension::Inches);
    EXPECT_EQ(dimension, Dimension(215.9, Dimension::Millimetres));
    dimension.ReverseSign();
    EXPECT_EQ(Narrow(dimension.GetStringValue(Dimension::Millimetres, 2, halvesUp)), "-215.90");
    EXPECT_EQ(Narrow(dimension.GetDumpDisplayString(false)), "-8.5 [Inches]");
    EXPECT_EQ(Narrow(Dimension().GetDumpDisplayString(true)), "0 [1,000ths of MMs]");
    EXPECT_EQ(dimension.GetDoubleValue(Dimension::Millimetres, 0, halvesUp), -(216 + 1e-7));
}

TEST(DimensionTest, ComparesWholeThousandthsOfMillimetres) {
    const Dimension inch(1, Dimension::Inches);
    const Dimension nearly(25, Dimension::Millimetres);
    EXPECT_EQ(inch, Dimension(25.4, Dimension::Millimetres));
    EXPECT_EQ(inch, Dimension(25400.4, Dimension::ThousandthsOfMillimetres));
    EXPECT_NE(inch, Dimension(25400.6, Dimension::ThousandthsOfMillimetres));
    EXPECT_LT(inch, Dimension(25401, Dimension::ThousandthsOfMillimetres));
    EXPECT_GE(inch, Dimension(72, Dimension::Points));
    EXPECT_TRUE(Dimension::IsEquivalent(inch, nearly, Dimension::Inches, 1, halvesUp));
    EXPECT_FALSE(Dimension::IsEquivalent(inch, nearly, Dimension::Inches, 2, halvesUp));
}

static_assert(std::is_trivially_copyable_v<Dimension>, "lists of lengths are copied as bytes");

}  // namespace
