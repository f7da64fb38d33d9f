// Tests of DataObscurer: values that are stored, and that applying it twice gives every character back.
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "support/bytes.h"
#include "utilities/utilitiesdll/dataobscurer.h"

namespace {

int NarrowObscured(int character, int index) {
    return static_cast<unsigned char>(
        DataObscurer::ObscureUnobscureChar(static_cast<char>(character), index));
}

TEST(DataObscurerTest, SwapsNibblesAndAddsTheMaskOfThePosition) {
    const struct {
        int character;
        int index;
        int expected;
    } cases[] = {
        {0x41, 0, 0x14},  {0x41, 16, 0x14},      {0x41, 1, 0x05}, {0xF1, 15, 0xE0},
        {0x41, -1, 0xEB}, {0x41, INT_MIN, 0x14}, {0x10, 0, 0x01}, {0x11, 1, 0x11},  // would become 0
        {0x13, 1, 0x20},  {0x33, 1, 0x33},                                          // would become a quote
    };
    for (const auto& c : cases)
        EXPECT_EQ(NarrowObscured(c.character, c.index), c.expected) << c.character << " at " << c.index;
    EXPECT_EQ(DataObscurer::ObscureUnobscureWchar(0x1234, 0), 0x2143);
    EXPECT_EQ(DataObscurer::ObscureUnobscureWchar(0x1234, 5), 0x7416);
}

TEST(DataObscurerTest, IsItsOwnInverse) {
    for (int index = -17; index <= 17; ++index) {
        for (int c = 0; c < 256; ++c) {
            const int obscured = NarrowObscured(c, index);
            ASSERT_EQ(NarrowObscured(obscured, index), c) << c << " at " << index;
            ASSERT_EQ(obscured == 0 || obscured == '"', c == 0 || c == '"') << c << " at " << index;
        }
    }
    for (int index = 0; index < 16; ++index) {
        std::vector<bool> isTaken(0x10000);
        for (unsigned c = 0; c < 0x10000; ++c) {
            const WChar obscured = DataObscurer::ObscureUnobscureWchar(static_cast<WChar>(c), index);
            ASSERT_FALSE(isTaken[obscured]) << c << " at " << index;
            isTaken[obscured] = true;
            ASSERT_EQ(DataObscurer::ObscureUnobscureWchar(obscured, index), c) << c << " at " << index;
        }
        EXPECT_EQ(DataObscurer::ObscureUnobscureWchar(0, index), 0);
        EXPECT_EQ(DataObscurer::ObscureUnobscureWchar('"', index), '"');
    }
}

TEST(DataObscurerTest, TheFirstCharacterOfAStringHasThePositionFive) {
    const CXString text(NV_TEXT("Ab\"\0A"), 5);
    const CXString copy = text;
    const CXString obscured = DataObscurer::ObscureUnobscureCXString(text);
    EXPECT_EQ(Hex(ByteBuffer(obscured)), "41 55 40 66 22 00 00 00 8D 99");
    EXPECT_EQ(DataObscurer::ObscureUnobscureCXString(obscured), text);
    EXPECT_EQ(copy, text);
    EXPECT_EQ(DataObscurer::ObscureUnobscureCXString(CXString()), CXString());
}

}  // namespace
