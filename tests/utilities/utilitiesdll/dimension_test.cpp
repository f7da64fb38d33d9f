// Dimension: units and conversions.
#include "utilities/utilitiesdll/dimension.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

#include "support/bytes.h"

namespace {

constexpr double halvesUp = 0.499999;

TEST(DimensionTest, OneInchInEveryUnit) {
    const struct {
        double value;
        const char* name;
    } cases[] = {
        {1, "[Inches]"},
        {10, "[10ths of Inches]"},
        {100, "[100ths of Inches]"},
        {1000, "[1,000ths of Inches]"},
        {10000, "[10,000ths of Inches]"},
        {25.4, "[MMs]"},
        {254, "[10ths of MMs]"},
        {2540, "[100ths of MMs]"},
        {25400, "[1,000ths of MMs]"},
        {72, "[Pts]"},
        {720, "[10ths of Pts]"},
        {7200, "[100ths of Pts]"},
    };
    const Dimension inch(1, Dimension::Inches);
    int number = 0;
    for (const auto& c : cases) {
        const auto units = static_cast<Dimension::UnitsEnum>(number++);
        EXPECT_DOUBLE_EQ(inch.GetDoubleValue(units), c.value) << c.name;
        EXPECT_DOUBLE_EQ(Dimension(c.value, units).GetDoubleValue(Dimension::Inches), 1) << c.name;
        EXPECT_EQ(Narrow(Dimension::GetDebugDisplayString(units)), c.name);
    }
}

TEST(DimensionTest, UnknownUnitConvertsToZero) {
    for (const int number : {12, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        const auto units = static_cast<Dimension::UnitsEnum>(number);
        EXPECT_EQ(Dimension(1, Dimension::Inches).GetDoubleValue(units), 0);
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
    EXPECT_EQ(inch, Dimension(25.4, Dimension::Millimetres));
    EXPECT_EQ(inch, Dimension(25400.4, Dimension::ThousandthsOfMillimetres));
    EXPECT_NE(inch, Dimension(25400.6, Dimension::ThousandthsOfMillimetres));
    EXPECT_LT(inch, Dimension(25401, Dimension::ThousandthsOfMillimetres));
    EXPECT_GE(inch, Dimension(72, Dimension::Points));
    EXPECT_TRUE(
        Dimension::IsEquivalent(inch, Dimension(25, Dimension::Millimetres), Dimension::Inches, 1, halvesUp));
    EXPECT_FALSE(
        Dimension::IsEquivalent(inch, Dimension(25, Dimension::Millimetres), Dimension::Inches, 2, halvesUp));
}

static_assert(std::is_trivially_copyable_v<Dimension>, "lists of lengths are copied as bytes");

}  // namespace
