// NorvaUtilities: conversions at their edges, Base64 to the character, and names of constants.
#include "utilities/utilitiesdll/norvautilities.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/utilitiesdll/crc32.h"

namespace {

using namespace NorvaUtilities;

TEST(NorvaUtilities, ConvertsBothWaysWithTheTerminator) {
    const auto expect = [](const char* text, const std::string& units) {
        const ByteBuffer wide = UTF8_Decode(text);
        EXPECT_EQ(Hex(wide), units + " 00 00");
        const ByteBuffer utf8 = UTF8_Encode(reinterpret_cast<const WChar*>(wide.data()));
        EXPECT_EQ(std::string(utf8.begin(), utf8.end()), text + std::string(1, '\0'));
    };
    expect("AB", "41 00 42 00");
    expect("\xC2\x80", "80 00");
    expect("\xDF\xBF\xE0\xA0\x80", "FF 07 00 08");
    expect("\xEF\xBF\xBF", "FF FF");
    expect("\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "00 D8 00 DC FF DB FF DF");
    // Long runs of ASCII, with something else in each place behind them.
    expect(
        "01234567\xC3\xA4"
        "0123\xE2\x82\xAC"
        "01",
        "30 00 31 00 32 00 33 00 34 00 35 00 36 00 37 00 E4 00 30 00 31 00 32 00 33 00 AC 20 30 00 31 00");
}

TEST(NorvaUtilities, ReplacesWhatIsMalformed) {
    EXPECT_EQ(Hex(UTF8_Decode("a\xFF"
                              "b")),
              "61 00 FD FF 62 00 00 00");
    for (const char* const tail : {"\xE2\x82", "\xE0", "\xF0", "\xF0\x9F\x98"})
        EXPECT_EQ(Hex(UTF8_Decode((std::string("ab") + tail).c_str())), "61 00 62 00 FD FF 00 00");
    static constexpr WChar lone[] = {0xD800, 'a', 0xDC00, 0};
    EXPECT_EQ(Hex(UTF8_Encode(lone)), "EF BF BD 61 EF BF BD 00");
}

TEST(NorvaUtilities, DecodesNothingFromLessThanTwoBytes) {
    EXPECT_TRUE(UTF8_Decode(nullptr).empty());
    const std::vector<char> terminator(1, '\0');  // on the heap, so that a sanitizer sees a read behind it
    EXPECT_TRUE(UTF8_Decode(terminator.data()).empty());
    EXPECT_TRUE(UTF8_Decode("A").empty());
    EXPECT_TRUE(UTF8_Encode(nullptr).empty());
    EXPECT_EQ(Hex(UTF8_Encode(NV_TEXT(""))), "00");
}

TEST(NorvaUtilities, FillsABufferWithAllOfATextOrNone) {
    char narrow[4] = {'x', 'x', 'x', 'x'};
    EXPECT_TRUE(WideCharStrToMultiByteStr(NV_TEXT("\x20AC\x00E9\x4E00"), narrow, sizeof narrow));
    EXPECT_STREQ(narrow, "\x80\xE9?");
    EXPECT_FALSE(WideCharStrToMultiByteStr(NV_TEXT("four"), narrow, sizeof narrow));
    EXPECT_STREQ(narrow, "");
    EXPECT_FALSE(WideCharStrToMultiByteStr(NV_TEXT(""), narrow, 0));
    EXPECT_FALSE(WideCharStrToMultiByteStr(NV_TEXT(""), nullptr, 4));
    EXPECT_FALSE(WideCharStrToMultiByteStr(nullptr, narrow, sizeof narrow));

    WChar wide[4] = {'x', 'x', 'x', 'x'};
    EXPECT_TRUE(MultiByteStrToWideCharStr("\x80\xE9!", wide, 4));
    EXPECT_EQ(CXString(wide), NV_TEXT("\x20AC\x00E9!"));
    EXPECT_FALSE(MultiByteStrToWideCharStr("four", wide, 4));
    EXPECT_TRUE(CXString(wide).IsEmpty());
    EXPECT_TRUE(MultiByteStrToWideCharStr("", wide, SIZE_MAX));
    EXPECT_FALSE(MultiByteStrToWideCharStr(nullptr, wide, 4));
}

// Base64

struct Encoded {
    int result;
    std::string text;
};

Encoded Encode(const ByteBuffer& bytes, DWORD flags = 0, int room = -1) {
    int length = room >= 0 ? room : Base64EncodeGetRequiredLength(static_cast<int>(bytes.size()), flags);
    std::vector<WChar> text(static_cast<std::size_t>(length) + 1);  // never empty, as null means something
    const BYTE none = 0;
    const int result = Base64Encode(bytes.empty() ? &none : bytes.data(), static_cast<int>(bytes.size()),
                                    text.data(), &length, flags);
    return {result, std::string(text.begin(), text.begin() + (result != 0 ? length : 0))};
}

struct Decoded {
    int result;
    int length;
    std::string bytes;  // as far as they were written
};

Decoded Decode(const std::string& text, int room) {
    const std::vector<WChar> wide(text.begin(), text.end());
    ByteBuffer bytes(static_cast<std::size_t>(room) + 1, 0xEE);
    int length = room;
    const WChar none = 0;
    const int result = Base64Decode(wide.empty() ? &none : wide.data(), static_cast<int>(wide.size()),
                                    bytes.data(), &length);
    EXPECT_EQ(bytes.back(), 0xEE);
    bytes.resize(static_cast<std::size_t>(std::min(room, length)));
    return {result, length, Hex(bytes)};
}

TEST(Base64, EncodesToTheCharacter) {
    EXPECT_EQ(Encode(Bytes("")).text, "");
    EXPECT_EQ(Encode(Bytes("00")).text, "AA==");
    EXPECT_EQ(Encode(Bytes("00"), Base64NoPadding).text, "AA");
    EXPECT_EQ(Encode(Bytes("FB FF")).text, "+/8=");
    EXPECT_EQ(Encode(Bytes("FB FF"), Base64NoPadding).text, "+/8");
    EXPECT_EQ(
        Encode(Bytes("00 10 83 10 51 87 20 92 8B 30 D3 8F 41 14 93 51 55 97 61 96 9B 71 D7 9F 82 18 A3 92 "
                     "59 A7 A2 9A AB B2 DB AF C3 1C B3 D3 5D B7 E3 9E BB F3 DF BF"),
               Base64NoLineBreaks)
            .text,
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
}

TEST(Base64, BreaksAFullLineEvenAtTheEnd) {
    const std::string line(76, 'A');
    const auto expect = [](std::size_t size, const std::string& text, const std::string& withoutBreaks) {
        EXPECT_EQ(Encode(ByteBuffer(size)).text, text) << size;
        EXPECT_EQ(Encode(ByteBuffer(size), Base64NoLineBreaks).text, withoutBreaks) << size;
    };
    expect(56, std::string(75, 'A') + "=", std::string(75, 'A') + "=");
    expect(57, line + "\r\n", line);
    expect(58, line + "\r\nAA==", line + "AA==");
    expect(60, line + "\r\nAAAA", line + "AAAA");
    expect(114, line + "\r\n" + line + "\r\n", line + line);
}

TEST(Base64, AsksForRoomAsDocumented) {
    const auto expect = [](DWORD flags, std::initializer_list<std::pair<int, int>> required) {
        for (const auto& [size, length] : required)
            EXPECT_EQ(Base64EncodeGetRequiredLength(size, flags), length) << size << ", flags " << flags;
    };
    expect(0, {{0, 2}, {1, 6}, {56, 80}, {57, 80}, {58, 84}, {-1, 0}, {INT_MIN, 0}});
    expect(Base64NoPadding, {{1, 6}});
    expect(Base64NoLineBreaks, {{0, 0}, {2, 4}, {3, 4}, {4, 8}, {55, 76}, {56, 76}, {57, 76}, {58, 80}});
    expect(Base64NoPadding | Base64NoLineBreaks, {{1, 4}, {58, 80}});
    EXPECT_EQ(Base64EncodeGetRequiredLength(0x1FFFFFFF, Base64NoLineBreaks), 715827884);
    EXPECT_THROW(Base64EncodeGetRequiredLength(0x20000000, 0), ExceptionInvalidArgument);
    EXPECT_THROW(Base64EncodeGetRequiredLength(INT_MAX, Base64NoLineBreaks), ExceptionInvalidArgument);
    EXPECT_EQ(Base64DecodeGetRequiredLength(57), 57);
}

TEST(Base64, RefusesToEncodeWithoutRoom) {
    const int required = Base64EncodeGetRequiredLength(57, 0);
    EXPECT_EQ(Encode(ByteBuffer(57), 0, required).result, 1);
    EXPECT_EQ(Encode(ByteBuffer(57), 0, required - 1).result, 0);
    EXPECT_EQ(Encode(ByteBuffer(0), 0, 1).result, 0);
    BYTE byte = 0;
    WChar text[8];
    int length = 8;
    EXPECT_EQ(Base64Encode(nullptr, 1, text, &length, 0), 0);
    EXPECT_EQ(Base64Encode(&byte, 1, nullptr, &length, 0), 0);
    EXPECT_EQ(Base64Encode(&byte, 1, text, nullptr, 0), 0);
    EXPECT_EQ(Base64Encode(&byte, -1, text, &length, 0), 0);
    EXPECT_EQ(length, 8);
    EXPECT_THROW(Base64Encode(&byte, 0x20000000, text, &length, 0), ExceptionInvalidArgument);
}

TEST(Base64, DecodesWhatIsOfTheAlphabet) {
    const auto expect = [](const std::string& text, const char* bytes) {
        EXPECT_EQ(Decode(text, 16).bytes, bytes) << text;
    };
    expect("", "");
    expect("A", "");
    expect("+/", "FB");
    expect("+/8", "FB FF");
    expect("+/8=", "FB FF");
    expect(" A\r\nA=E\tC== ", "00 01 02");
    expect("AAEC\r\nAwQF\r\n", "00 01 02 03 04 05");
    expect("A-A_E.C,A@w[Q`F{", "00 01 02 03 04 05");
    expect(std::string("AAEC\0AAEC", 9), "00 01 02");
    expect(std::string("A\0AEC", 5), "");
    const WChar wide[] = {'A', 0x141, 'A', 0xFF21,
                          'E', 0x80,  'C', 0};  // look like the alphabet when cut short
    BYTE bytes[3];
    int length = 3;
    EXPECT_EQ(Base64Decode(wide, INT_MAX, bytes, &length), 1);
    EXPECT_EQ(length, 3);
}

TEST(Base64, CountsOnWhenTheRoomIsUsedUp) {
    const auto expect = [](int room, int result, const char* bytes) {
        const Decoded decoded = Decode("AAEC\nAwQFBgc=", room);
        EXPECT_EQ(decoded.result, result) << room;
        EXPECT_EQ(decoded.length, 8) << room;
        EXPECT_EQ(decoded.bytes, bytes) << room;
    };
    expect(8, 1, "00 01 02 03 04 05 06 07");
    expect(7, 0, "00 01 02 03 04 05 EE");  // what a group gives is written together or not at all
    expect(5, 0, "00 01 02 EE EE");
    expect(0, 0, "");
    int length = 100;
    EXPECT_EQ(Base64Decode(NV_TEXT("AAECAw"), 6, nullptr, &length), 0);
    EXPECT_EQ(length, 4);
    BYTE byte = 0xEE;
    length = -5;
    EXPECT_EQ(Base64Decode(NV_TEXT("AA"), 2, &byte, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(byte, 0xEE);
    length = 1;
    EXPECT_EQ(Base64Decode(NV_TEXT("AA"), -2, &byte, &length), 1);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(Base64Decode(nullptr, 0, &byte, &length), 0);
    EXPECT_EQ(Base64Decode(NV_TEXT("AA"), 2, &byte, nullptr), 0);
}

TEST(Base64, ComesBackForEveryLengthAndFlag) {
    ByteBuffer bytes;
    for (int length = 0; length < 300; ++length) {
        for (DWORD flags = 0; flags < 4; ++flags) {
            const Encoded encoded = Encode(bytes, flags);
            ASSERT_EQ(encoded.result, 1) << length;
            ASSERT_EQ(Decode(encoded.text, length).bytes, Hex(bytes)) << length << ' ' << flags;
        }
        bytes.push_back(static_cast<BYTE>(length * 167 + 13));
    }
}

// Names

TEST(NorvaUtilities, NamesCombinationsAndUnknownConstants) {
    EXPECT_EQ(DeviceCapabilitiesString(36), NV_TEXT("0x00000024"));
    EXPECT_EQ(DocumentEventString(0x10006), NV_TEXT("DOCUMENTEVENT_STARTPAGE | DOCUMENTEVENT_SPOOLED"));
    EXPECT_EQ(DocumentEventString(-1), NV_TEXT("0xFFFEFFFF | DOCUMENTEVENT_SPOOLED"));
    EXPECT_EQ(DevmodeDmFieldString(0), NV_TEXT("0"));
    EXPECT_EQ(DevmodeDmFieldString(0xC0000101), NV_TEXT("DM_ORIENTATION | DM_COPIES | 0xC0000000"));
    EXPECT_EQ(DevmodeModeString(0x1A), NV_TEXT("DM_OUT_BUFFER | DM_IN_BUFFER | 0x00000010"));
    const auto key = [](std::uintptr_t value) { return HkeyString(reinterpret_cast<const HKEY__*>(value)); };
    EXPECT_EQ(key(0xFFFFFFFF80000002), NV_TEXT("HKEY_LOCAL_MACHINE"));
    EXPECT_EQ(key(0x180000002), NV_TEXT("0x0000000180000002"));
    EXPECT_EQ(key(0x1C4), NV_TEXT("0x000001C4"));
}

// On Windows the tables are held against the platform's own headers too, so that this checksum is theirs.
TEST(NorvaUtilities, NamesAllThatThePlatformPublishes) {
    CXString all;
    for (int i = 0; i < 64; ++i) {
        const DWORD bit = DWORD{1} << (i % 32);
        const auto key =
            reinterpret_cast<const HKEY__*>(std::uintptr_t{0x80000000} + static_cast<unsigned>(i));
        for (const CXString& name :
             {DeviceCapabilitiesString(static_cast<WORD>(i)), DocumentEventString(i),
              XpsDocumentEventString(i), DevmodeDmFieldString(bit), DevmodeModeString(bit), HkeyString(key)})
            all += name + NV_TEXT("\n");
    }
    const ByteBuffer text = UTF8_Encode(all);
    EXPECT_EQ(Crc32::GetCrc(text.data(), static_cast<DWORD>(text.size())), 0x83A8E075) << Narrow(all);
}

}  // namespace
