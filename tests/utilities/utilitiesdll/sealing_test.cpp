// DataEncrypter and DataObscurer: what is sealed comes back whole or not at all; what is obscured is stored.
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "platform/dataprotection.h"
#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/utilitiesdll/dataencrypter.h"
#include "utilities/utilitiesdll/dataobscurer.h"

namespace {

const ByteBuffer secret = Bytes("53 45 43 52 45 54");

TEST(DataEncrypterTest, UnsealsWhatItSealed) {
    for (const char* const text : {"", "00", "22 00 FF", "4E 56 53 44 01 00 00 00"}) {
        const ByteBuffer sealed = DataEncrypter::EncryptBytes(Bytes(text));
        EXPECT_EQ(Hex(DataEncrypter::DecryptBytes(sealed)), text);
        EXPECT_NE(sealed, DataEncrypter::EncryptBytes(Bytes(text)));
    }
    const ByteBuffer large(std::size_t{3'000'000}, 0x5A);
    EXPECT_EQ(DataEncrypter::DecryptBytes(DataEncrypter::EncryptBytes(large)), large);

    const WChar units[] = {'P', 0x20AC, 0, 0xD83D, 'w'};
    for (const CXString& text : {CXString(units, 5), CXString()}) {
        const ByteBuffer sealed = DataEncrypter::EncryptString(text);
        EXPECT_EQ(DataEncrypter::DecryptString(sealed), text);
        EXPECT_EQ(DataEncrypter::DecryptBytes(sealed), ByteBuffer(text));
    }
}

// A platform may leave bytes unprotected that decide nothing; none may change what comes out.
TEST(DataEncrypterTest, RefusesWhatItDidNotSeal) {
    const ByteBuffer sealed = DataEncrypter::EncryptBytes(secret);
    for (std::size_t i = 0; i < sealed.size(); ++i) {
        const ByteBuffer cut(sealed.data(), static_cast<DWORD>(i));
        EXPECT_THROW(DataEncrypter::DecryptBytes(cut), ExceptionDataEncrypterFailure) << i;
        ByteBuffer changed = sealed;
        changed[i] ^= 0x10;
        try {
            EXPECT_EQ(Hex(DataEncrypter::DecryptBytes(changed)), Hex(secret)) << "byte " << i;
        } catch (const ExceptionDataEncrypterFailure& failure) {
            EXPECT_EQ(Narrow(failure.GetExceptionLocationFunctionName()), "DataEncrypter::DecryptBytes");
        }
    }
    ByteBuffer changed = sealed;
    changed.back() ^= 1;
    EXPECT_THROW(DataEncrypter::DecryptString(changed), ExceptionDataEncrypterFailure);
}

TEST(DataEncrypterTest, OtherEntropyUnsealsNothing) {
    const ByteBuffer entropy = Bytes("01 02 03");
    ByteBuffer sealed;
    ASSERT_TRUE(platform::ProtectData(secret, NV_TEXT("abc"), entropy, sealed).IsSuccess());
    EXPECT_THROW(DataEncrypter::DecryptBytes(sealed), ExceptionDataEncrypterFailure);
    ByteBuffer out = Bytes("AA");
    for (const char* const other : {"", "01 02", "01 02 03 00", "01 02 04"}) {
        EXPECT_FALSE(platform::UnprotectData(sealed, Bytes(other), out).IsSuccess()) << other;
        EXPECT_EQ(Hex(out), "AA") << other;
    }
    EXPECT_TRUE(platform::UnprotectData(sealed, entropy, out).IsSuccess());
    EXPECT_EQ(out, secret);
}

TEST(DataEncrypterTest, SimpleKeyEndsAfterTenCharacters) {
    const auto expect = [](const WChar* text, const char* expected) {
        EXPECT_EQ(Hex(DataEncrypter::EncryptStringWithNorvaSimple1(text)), expected);
        EXPECT_EQ(Hex(DataEncrypter::DecryptStringWithNorvaSimple1(text)), expected);
    };
    expect(NV_TEXT(""), "");
    expect(NV_TEXT("Q7mR2xK9pL"), "00 00 00 00 00 00 00 00 00 00");
    expect(NV_TEXT("\u0151\u20AC"), "00 9B");  // only the low bytes count
    expect(NV_TEXT("aaaaaaaaaaaaa"), "30 56 0C 33 53 19 2A 58 11 2D 61 61 61");
    expect(NV_TEXT("Q7mR2xK9pL\u20AC!"), "00 00 00 00 00 00 00 00 00 00 AC 21");
}

int NarrowObscured(int character, int index) {
    return static_cast<unsigned char>(
        DataObscurer::ObscureUnobscureChar(static_cast<char>(character), index));
}

TEST(DataObscurerTest, SwapsNibblesAndAddsTheMaskOfThePosition) {
    const auto expect = [](int character, int index, int expected) {
        EXPECT_EQ(NarrowObscured(character, index), expected) << character << " at " << index;
    };
    expect(0x41, 0, 0x14);
    expect(0x41, 16, 0x14);
    expect(0x41, 1, 0x05);
    expect(0xF1, 15, 0xE0);
    expect(0x41, -1, 0xEB);
    expect(0x41, INT_MIN, 0x14);
    expect(0x10, 0, 0x01);
    expect(0x11, 1, 0x11);  // would become 0
    expect(0x13, 1, 0x20);
    expect(0x33, 1, 0x33);  // would become a quote
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
        for (unsigned c = 0; c < 0x10000; ++c) {
            const WChar obscured = DataObscurer::ObscureUnobscureWchar(static_cast<WChar>(c), index);
            ASSERT_EQ(DataObscurer::ObscureUnobscureWchar(obscured, index), c) << c << " at " << index;
            ASSERT_EQ(obscured == 0 || obscured == '"', c == 0 || c == '"') << c << " at " << index;
        }
    }
}

TEST(DataObscurerTest, TheFirstCharacterOfAStringHasThePositionFive) {
    const CXString text(NV_TEXT("Ab\"\0A"), 5);
    const CXString obscured = DataObscurer::ObscureUnobscureCXString(text);
    EXPECT_EQ(Hex(ByteBuffer(obscured)), "41 55 40 66 22 00 00 00 8D 99");
    EXPECT_EQ(DataObscurer::ObscureUnobscureCXString(obscured), text);
    EXPECT_EQ(text, CXString(NV_TEXT("Ab\"\0A"), 5));
    EXPECT_EQ(DataObscurer::ObscureUnobscureCXString(CXString()), CXString());
}

}  // namespace
