// DriverVersion: byte form and texts.
#include "utilities/utilitiesdll/driverversion.h"

#include <gtest/gtest.h>

#include "support/bytes.h"
#include "support/throws.h"

namespace {

const DriverVersion sample(0x0005, 0x0016, 0x0107, 0x0002);

TEST(DriverVersionTest, IsWrittenAsFourWordsAndReadBack) {
    EXPECT_EQ(Hex(sample.GetVersionAsByteBuffer()), "05 00 16 00 07 01 02 00");

    ByteBuffer bytes = Bytes("05 00 16 00 07 01 02 00 FF");
    BYTE* cursor = bytes.getLpbyte();
    unsigned remaining = bytes.getDword();
    EXPECT_EQ(DriverVersion::WalkBufferToGetDriverVersion(cursor, remaining), sample);
    EXPECT_EQ(remaining, 1U);
    EXPECT_EQ(cursor, bytes.getLpbyte() + 8);
}

TEST(DriverVersionTest, SevenBytesAreTooFewAndStay) {
    ByteBuffer bytes = Bytes("05 00 16 00 07 01 02");
    BYTE* cursor = bytes.getLpbyte();
    unsigned remaining = bytes.getDword();
    try {
        DriverVersion::WalkBufferToGetDriverVersion(cursor, remaining);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const ExceptionNotEnoughBytesForDesiredDataType& thrown) {
        EXPECT_EQ(thrown.GetExceptionLocationFunctionName(),
                  NV_TEXT("DriverVersion::WalkBufferToGetDriverVersion"));
    }
    EXPECT_EQ(remaining, 7U);
    EXPECT_EQ(cursor, bytes.getLpbyte());
}

TEST(DriverVersionTest, TwoNumbersHoldTwoPartsEach) {
    EXPECT_EQ(DriverVersion(LONG{0x00050016}, LONG{0x01070002}), sample);
    LONG high = 0;
    LONG low = 0;
    DriverVersion(0xFFFE, 0xFFFD, 0x8000, 1).GetLongComponents(high, low);
    EXPECT_EQ(DriverVersion(high, low), DriverVersion(0xFFFE, 0xFFFD, 0x8000, 1));
    EXPECT_FALSE(sample == DriverVersion(5, 0x16, 0x107, 3));
}

TEST(DriverVersionTest, Texts) {
    const DriverVersion version(5012, 1234, 5678, 9012);
    EXPECT_EQ(version.GetVersionDisplayString(), NV_TEXT("5.12.12.34.56.78.90"));
    EXPECT_EQ(version.GetDumpDisplayString(),
              NV_TEXT("5.12.12.34.56.78.90 [5012, 1234, 5678, 9012 (0x1394, 0x4d2, 0x162e, 0x2334)]"));
}

TEST(DriverVersionTest, CurrentVersionIsWhatWasSetLast) {
    const DriverVersion original = DriverVersion::GetCurrentDriverVersion();
    EXPECT_FALSE(original == DriverVersion());
    DriverVersion::SetCurrentDriverVersion(sample);
    EXPECT_EQ(DriverVersion::GetCurrentDriverVersion(), sample);
    DriverVersion::SetCurrentDriverVersion(original);
}

}  // namespace
