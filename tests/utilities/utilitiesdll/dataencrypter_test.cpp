// Tests of DataEncrypter: what is sealed comes back whole or not at all.
#include <gtest/gtest.h>

#include "platform/dataprotection.h"
#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/utilitiesdll/dataencrypter.h"

namespace {

TEST(DataEncrypterTest, UnsealsWhatItSealed) {
    for (const char* const text : {"", "00", "22 00 FF", "4E 56 53 44 01 00 00 00"}) {
        const ByteBuffer sealed = DataEncrypter::EncryptBytes(Bytes(text));
        EXPECT_EQ(Hex(DataEncrypter::DecryptBytes(sealed)), text);
        EXPECT_NE(sealed, DataEncrypter::EncryptBytes(Bytes(text)));
    }
    ByteBuffer large;
    large.resize(3'000'000, 0x5A);
    EXPECT_EQ(DataEncrypter::DecryptBytes(DataEncrypter::EncryptBytes(large)), large);
}

TEST(DataEncrypterTest, StringsAreTheirCodeUnits) {
    const WChar units[] = {'P', 0x20AC, 0, 0xD83D, 'w'};
    const CXString text(units, 5);
    const ByteBuffer sealed = DataEncrypter::EncryptString(text);
    EXPECT_EQ(DataEncrypter::DecryptString(sealed), text);
    EXPECT_EQ(Hex(DataEncrypter::DecryptBytes(sealed)), "50 00 AC 20 00 00 3D D8 77 00");
    EXPECT_EQ(DataEncrypter::DecryptString(DataEncrypter::EncryptString(CXString())), CXString());
}

// A platform may leave bytes unprotected that decide nothing; none may change what comes out.
TEST(DataEncrypterTest, NoChangedByteChangesWhatComesOut) {
    const ByteBuffer plain = Bytes("53 45 43 52 45 54");
    const ByteBuffer sealed = DataEncrypter::EncryptBytes(plain);
    for (std::size_t i = 0; i < sealed.size(); ++i) {
        ByteBuffer changed = sealed;
        changed[i] ^= 0x10;
        try {
            EXPECT_EQ(Hex(DataEncrypter::DecryptBytes(changed)), Hex(plain)) << "byte " << i;
        } catch (const ExceptionDataEncrypterFailure&) {
        }
    }
}

TEST(DataEncrypterTest, RefusesWhatItDidNotSeal) {
    const ByteBuffer sealed = DataEncrypter::EncryptBytes(Bytes("53 45 43 52 45 54"));
    for (std::size_t length = 0; length < sealed.size(); ++length) {
        const ByteBuffer cut(sealed.data(), static_cast<DWORD>(length));
        EXPECT_THROW(DataEncrypter::DecryptBytes(cut), ExceptionDataEncrypterFailure) << length;
    }
    ByteBuffer changed = sealed;
    changed.back() ^= 1;
    try {
        DataEncrypter::DecryptString(changed);
        ADD_FAILURE() << "a changed string was unsealed";
    } catch (const ExceptionDataEncrypterFailure& failure) {
        EXPECT_EQ(Narrow(failure.GetExceptionLocationFunctionName()), "DataEncrypter::DecryptBytes");
    }
}

TEST(DataEncrypterTest, OtherEntropyUnsealsNothing) {
    const ByteBuffer plain = Bytes("53 45 43 52 45 54");
    const ByteBuffer entropy = Bytes("01 02 03");
    ByteBuffer sealed;
    ASSERT_TRUE(platform::ProtectData(plain, NV_TEXT("abc"), entropy, sealed).IsSuccess());
    EXPECT_THROW(DataEncrypter::DecryptBytes(sealed), ExceptionDataEncrypterFailure);
    for (const char* const other : {"", "01 02", "01 02 03 00", "01 02 04"}) {
        ByteBuffer out = Bytes("AA");
        EXPECT_FALSE(platform::UnprotectData(sealed, Bytes(other), out).IsSuccess()) << other;
        EXPECT_EQ(Hex(out), "AA") << other;
    }
    ByteBuffer out;
    EXPECT_TRUE(platform::UnprotectData(sealed, entropy, out).IsSuccess());
    EXPECT_EQ(out, plain);
}

TEST(DataEncrypterTest, SimpleKeyEndsAfterTenCharacters) {
    const struct {
        const WChar* text;
        const char* expected;
    } cases[] = {
        {NV_TEXT(""), ""},
        {NV_TEXT("Q7mR2xK9pL"), "00 00 00 00 00 00 00 00 00 00"},
        {NV_TEXT("\u0151\u20AC"), "00 9B"},  // only the low bytes count
        {NV_TEXT("aaaaaaaaaaaaa"), "30 56 0C 33 53 19 2A 58 11 2D 61 61 61"},
        {NV_TEXT("Q7mR2xK9pL\u20AC!"), "00 00 00 00 00 00 00 00 00 00 AC 21"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Hex(DataEncrypter::EncryptStringWithNorvaSimple1(c.text)), c.expected);
        EXPECT_EQ(Hex(DataEncrypter::DecryptStringWithNorvaSimple1(c.text)), c.expected);
    }
}

}  // namespace
