// Number: rounding, text and comparison.
#include "utilities/utilitiesdll/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "support/bytes.h"
#include "utilities/utilitiesdll/numbersigns.h"

namespace {

constexpr double halvesUp = 0.499999;
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(NumberTest, RoundsAndNudgesAwayFromZero) {
    const struct {
        double value;
        int decimals;
        double threshold;
        double expected;
    } cases[] = {
        {2.5, 0, halvesUp, 3 + 1e-7},
        {-2.5, 0, halvesUp, -(3 + 1e-7)},
        {2.4999, 0, halvesUp, 2 + 1e-7},
        {2.5, 0, 0.5, 2 + 1e-7},
        {2.000009, 0, 0.0, 2 + 1e-7},
        {2.00002, 0, 0.0, 3 + 1e-7},
        {2.99, 0, 0.999, 2 + 1e-7},
        {1.2345, 2, halvesUp, 1.23 + 1e-7},
        {1.235, 2, halvesUp, 1.24 + 1e-7},
        {0, 0, halvesUp, 1e-7},
        {-0.0, 3, halvesUp, 1e-7},
        // The whole part has the value 16777216 in single precision, which leaves a fraction of a whole unit.
        {16777217.0, 0, halvesUp, 16777218 + 1e-7},
        // Any value beyond 64 bits becomes the largest 32-bit one.
        {1e300, 0, halvesUp, 2147483647 + 1e-7},
        {-infinity, 0, halvesUp, -(2147483647 + 1e-7)},
    };
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(Number::Round(c.value, c.decimals, c.threshold), c.expected)
            << c.value << " at " << c.decimals << " decimals";
    }
}

TEST(NumberTest, IntegersOutOfRangeAreTheSmallest) {
    EXPECT_EQ(Number(2147483647.0).GetIntValue(halvesUp), INT32_MAX);
    EXPECT_EQ(Number(-2147483648.0).GetIntValue(halvesUp), INT32_MIN);
    EXPECT_EQ(Number(2147483648.0).GetIntValue(halvesUp), INT32_MIN);
    EXPECT_EQ(Number(1e300).GetIntValue(halvesUp), INT32_MAX);
    EXPECT_EQ(Number(std::nan("")).GetIntValue(halvesUp), INT32_MIN);
    EXPECT_EQ(Number(-2.5).GetIntValue(halvesUp), -3);
}

TEST(NumberTest, WritesText) {
    const struct {
        double value;
        int decimals;
        bool strip;
        bool group;
        const char* expected;
    } cases[] = {
        {1234567.891, 2, false, true, "1,234,567.89"},
        {1234567.891, 2, false, false, "1234567.89"},
        {123456, 0, false, true, "123,456"},
        {-123, 0, false, true, "-123"},
        {-8.5, 3, false, false, "-8.500"},
        {8.5, 3, true, false, "8.5"},
        {8, 3, true, false, "8"},
        {100, 0, true, false, "100"},
        {1.05, 2, false, false, "1.05"},
        {0.999, 2, false, false, "1.00"},
        {-0.004, 2, false, false, "0.00"},
        {3, 9, false, false, "3.000000000"},
        {2.5, -7, false, false, "3"},
        {1e300, 0, false, false, "2147483647"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Narrow(Number(c.value).GetStringValue(c.decimals, halvesUp, c.strip, c.group)), c.expected);
    }
    EXPECT_EQ(Narrow(Number(1234.5).GetDumpDisplayString(4, halvesUp)), "1234.5");
    EXPECT_EQ(Number(1.0).GetStringValue(1000000000, halvesUp).GetLength(), 17);
}

TEST(NumberTest, ReadsText) {
    const struct {
        const WChar* text;
        bool isNumber;
        double expected;
    } cases[] = {
        {NV_TEXT("8.5"), true, 8.5},
        {NV_TEXT(" \t-12 mm"), true, -12},
        {NV_TEXT("+.25"), true, 0.25},
        {NV_TEXT("7."), true, 7},
        {NV_TEXT("1,234,567.5"), true, 1234567.5},
        {NV_TEXT("1,"), true, 1},
        {NV_TEXT("1e5"), true, 1},
        {NV_TEXT("1.2.3"), true, 1.2},
        {NV_TEXT(""), false, 0},
        {NV_TEXT("."), false, 0},
        {NV_TEXT("-"), false, 0},
        {NV_TEXT("--1"), false, 0},
        {NV_TEXT("inf"), false, 0},
        {NV_TEXT(",5"), true, 5},
        {NV_TEXT("\x0661"), false, 0},
    };
    for (const auto& c : cases) {
        Number number(99);
        EXPECT_EQ(number.SetStringValue(c.text), c.isNumber) << Narrow(c.text);
        EXPECT_EQ(number.GetDoubleValue(), c.expected) << Narrow(c.text);
    }
    EXPECT_FALSE(Number(0).SetStringValue(CXString(NV_TEXT('9'), 400)));
    EXPECT_EQ(Number(CXString(NV_TEXT("2.5"))), Number(2.5));
}

TEST(NumberTest, ReadsAllThatItWritesInAnySigns) {
    const struct {
        const WChar* decimal;
        const WChar* thousands;
        const char* expected;  ///< -1234567.5 with groups and two decimals.
    } cases[] = {
        {NV_TEXT("."), NV_TEXT(","), "-1,234,567.50"},   {NV_TEXT(","), NV_TEXT("."), "-1.234.567,50"},
        {NV_TEXT(","), NV_TEXT(" "), "-1 234 567,50"},   {NV_TEXT("."), NV_TEXT("'~"), "~1'234'567.50"},
        {NV_TEXT(""), NV_TEXT(""), "-1,234,567.50"},     {NV_TEXT(" "), NV_TEXT("--"), "-1-234-567 50"},
        {NV_TEXT(","), NV_TEXT(",."), "-1234567,50"},    {NV_TEXT("1"), NV_TEXT("23"), "-1234567.50"},
        {NV_TEXT(","), NV_TEXT(".\t"), "-1.234.567,50"}, {NV_TEXT("~"), NV_TEXT("_~"), "-1_234_567~50"},
    };
    for (const auto& c : cases) {
        const NumberSigns signs(c.decimal, c.thousands);
        EXPECT_EQ(Narrow(signs.Write(1234567.5, true, 2, false, true)), c.expected);
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
    }
}

TEST(NumberTest, FullStopsSeparateGroupsOnlyWhereAllAreGroups) {
    const NumberSigns signs(NV_TEXT(","), NV_TEXT("."));
    const struct {
        const WChar* text;
        double expected;
    } cases[] = {
        {NV_TEXT("1.234"), 1234},
        {NV_TEXT("12.345.678,9 mm"), 12345678.9},
        {NV_TEXT("1.234."), 1234},
        {NV_TEXT("8.5"), 8.5},
        {NV_TEXT("0.125"), 0.125},
        {NV_TEXT("1.2345"), 1.2345},
        {NV_TEXT("1234.567"), 1234.567},
        {NV_TEXT("1.234.56"), 1.234},
        {NV_TEXT(".5"), 0.5},
    };
    for (const auto& c : cases) {
        double value = 99;
        EXPECT_TRUE(signs.Read(c.text, value)) << Narrow(c.text);
        EXPECT_EQ(value, c.expected) << Narrow(c.text);
    }
}

TEST(NumberTest, WritesHalvesAwayFromZero) {
    const NumberSigns signs(NV_TEXT("."), NV_TEXT(","));
    EXPECT_EQ(Narrow(signs.Write(0.5, false, 0, false, false)), "1");
    EXPECT_EQ(Narrow(signs.Write(9.5, false, 0, false, false)), "10");
    EXPECT_EQ(Narrow(signs.Write(99.96875, false, 4, false, false)), "99.9688");
    EXPECT_EQ(Narrow(signs.Write(0.000030517578125, false, 14, false, false)), "0.00003051757813");
    // Two such numbers are further apart than what is written.
    EXPECT_EQ(Narrow(signs.Write(1125899906842624.25, false, 1, false, false)), "1125899906842624.3");
}

TEST(NumberTest, ReadsHexadecimalText) {
    const struct {
        const WChar* text;
        std::int32_t expected;
    } cases[] = {
        {NV_TEXT("1F"), 0x1F},     {NV_TEXT(" 0xabCD"), 0xABCD},
        {NV_TEXT("FFFFFFFF"), -1}, {NV_TEXT("123456789"), 0x23456789},
        {NV_TEXT("12 34"), 0x12},  {NV_TEXT("0x"), 0},
        {NV_TEXT("g"), 0},         {NV_TEXT(""), 0},
        {NV_TEXT("-1"), 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Number::ConvertHexStringToDecimalInt(c.text), c.expected) << Narrow(c.text);
    }
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

}  // namespace
