// Tests of Crc32, Hash32 and Checksum: values that are stored, and lengths on both sides of every block.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string_view>

#include "support/bytes.h"
#include "utilities/utilitiesdll/checksum.h"
#include "utilities/utilitiesdll/crc32.h"
#include "utilities/utilitiesdll/hash32.h"

namespace {

ByteBuffer Text(std::string_view text) {
    return {text.begin(), text.end()};
}

ByteBuffer RandomBytes(std::size_t size) {
    ByteBuffer bytes;
    std::uint32_t random = 7;
    for (bytes.resize(size); BYTE & byte : bytes)
        byte = static_cast<BYTE>((random = random * 1664525 + 1013904223) >> 24);
    return bytes;
}

// Bit by bit, as the polynomial is written down.
std::uint32_t PlainCrc(const BYTE* bytes, std::size_t length, std::uint32_t value) {
    for (std::size_t i = 0; i < length; ++i) {
        value ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0U);
    }
    return ~value;
}

TEST(Integrity, CrcHasTheStandardValues) {
    EXPECT_EQ(Crc32::GetCrc(Text("123456789").data(), 9), 0xCBF43926u);
    EXPECT_EQ(Crc32::GetCrc(Text("The quick brown fox jumps over the lazy dog").data(), 43), 0x414FA339u);
    EXPECT_EQ(Crc32::GetCrc(nullptr, 0), 0u);
    EXPECT_EQ(Crc32::GetCrc(nullptr, 0, 0x12345678), 0xEDCBA987u);
    // Chained, the value must be inverted in between.
    const DWORD first = Crc32::GetCrc(Text("1234").data(), 4);
    EXPECT_NE(Crc32::GetCrc(Text("56789").data(), 5, first), 0xCBF43926u);
    EXPECT_EQ(Crc32::GetCrc(Text("56789").data(), 5, ~first), 0xCBF43926u);
}

TEST(Integrity, CrcIsTheSameForEveryLengthAlignmentAndSeed) {
    const ByteBuffer bytes = RandomBytes(400);
    for (std::size_t start = 0; start < 9; ++start) {
        for (std::size_t length = 0; start + length <= bytes.size(); ++length) {
            const BYTE* const first = bytes.data() + start;
            const DWORD seed = static_cast<DWORD>(0x9E3779B9U * length);
            ASSERT_EQ(Crc32::GetCrc(first, static_cast<DWORD>(length), seed), PlainCrc(first, length, seed))
                << length << " bytes from " << start;
        }
    }
}

TEST(Integrity, HashOfNothingIsZeroAndOfAnythingElseIsNot) {
    const BYTE zeros[64] = {};
    EXPECT_EQ(Hash32::GetHash32(nullptr, 0), 0u);
    EXPECT_EQ(Hash32::GetHash32(nullptr, 5), 0u);
    EXPECT_EQ(Hash32::GetHash32(zeros, 0), 0u);
    EXPECT_EQ(Hash32::GetHash32(ByteBuffer()), 0u);
    EXPECT_EQ(Hash32::GetHash32(CXString()), 0u);
    EXPECT_EQ(Hash32::GetHash32(static_cast<const DEVMODEW*>(nullptr)), 0u);
    EXPECT_EQ(Hash32::GetHash16(nullptr, 0), 0u);
    // These five bytes have equal halves, a value that is kept for no bytes at all.
    EXPECT_EQ(Hash32::GetHash32(Bytes("C8 F2 10 3F 01")), 1u);
}

TEST(Integrity, HashHasTheStoredValues) {
    EXPECT_EQ(Hash32::GetHash32(Text("a")), 0xE8B7BE43u ^ 0x61u);
    // The hash of the ELF format, 0x0678AEE9 for nine digits, and the CRC.
    EXPECT_EQ(Hash32::GetHash32(Text("123456789")), 0x0678AEE9u ^ 0xCBF43926u);
    EXPECT_EQ(Hash32::GetHash32(CXString(NV_TEXT("12\u20AC"))),
              Hash32::GetHash32(Bytes("31 00 32 00 AC 20")));
    const auto expectFold = [](DWORD hash, WORD fold) {
        EXPECT_EQ(Hash32::Hash16FromHash32(hash), fold) << hash;
    };
    expectFold(0xFFFFFFFF, 0xFFFE);
    expectFold(0, 0);
    expectFold(0x00010001, 2);
    expectFold(0x8000FFFF, 0x7FFF);
    expectFold(0x12345678, 0x68AC);
    EXPECT_EQ(Hash32::GetHash16(Text("a").data(), 1), Hash32::Hash16FromHash32(0xE8B7BE22));
}

TEST(Integrity, HashOfADeviceModeCoversBothOfItsParts) {
    constexpr WORD publicSize = 220;
    constexpr WORD privateSize = 6;
    alignas(DWORD) BYTE bytes[publicSize + privateSize + 1];
    std::memcpy(bytes, RandomBytes(sizeof(bytes)).data(), sizeof(bytes));
    std::memcpy(bytes + 68, &publicSize, sizeof(publicSize));
    std::memcpy(bytes + 70, &privateSize, sizeof(privateSize));
    const auto* const deviceMode = reinterpret_cast<const DEVMODEW*>(bytes);
    const DWORD hash = Hash32::GetHash32(deviceMode);
    EXPECT_EQ(hash, Hash32::GetHash32(bytes, publicSize + privateSize));
    ++bytes[publicSize + privateSize];
    EXPECT_EQ(Hash32::GetHash32(deviceMode), hash);
    ++bytes[publicSize + privateSize - 1];
    EXPECT_NE(Hash32::GetHash32(deviceMode), hash);
}

TEST(Integrity, ChecksumOfOddLengthsCountsTwoBytesBehindTheEnd) {
    // Of the bytes the last two lie behind the end when the length is odd.
    const auto expect = [](const char* bytes, DWORD length, WORD expected) {
        EXPECT_EQ(Checksum::GetChecksum(Bytes(bytes).data(), length), expected) << bytes;
    };
    expect("", 0, 0xFFFF);
    expect("01 02", 2, 0xFDFC);
    expect("FF FF FF FF", 4, 0xFFFB);  // two carries fold back in
    expect("FF FF 02 00", 4, 0xFFF9);
    expect("01 00 00", 1, 0xFFFD);        // 1 + 0 + 0 + the length
    expect("01 02 03", 1, 0xFDFA);        // 0x0201 + 3 + 1
    expect("01 02 03 04 05", 3, 0xF9F3);  // 0x0201 + 0x0403 + 5 + 3
}

}  // namespace
