// ProductData: instructions in AMP notation, each with the bytes that go to the printer.
#include <gtest/gtest.h>

#include <string>

#include "environment/ampreader.h"
#include "environment/productdata.h"
#include "support/bytes.h"
#include "utilities/utilitiesdll/crc32.h"

namespace {

using Words = std::array<LONG, 4>;

std::string Convert(const CXString& instruction, void* context = nullptr) {
    ByteBuffer out{0xEE};
    EXPECT_TRUE(ProductData::ConvertAmpCommands(instruction, out, context));
    EXPECT_EQ(out.front(), 0xEE) << "what was there stays";
    out.erase(out.begin());
    return Hex(out);
}

TEST(AmpConversion, TurnsTextAndEntitiesIntoBytes) {
    struct Case {
        const WChar* instruction;
        const char* bytes;
    };
    const Case cases[] = {
        {NV_TEXT(""), ""},
        {NV_TEXT("abc;#"), "61 62 63 3B 23"},
        {NV_TEXT("A&amp;B"), "41 26 42"},
        {NV_TEXT("&esc;&amp;l26A"), "1B 26 6C 32 36 41"},
        {NV_TEXT("&ubyte;&eA4Paper;&attr_ubyte;&MediaSize;"), "C0 02 F8 25"},
        {NV_TEXT("&cr;&lf;&nul;&quot;&lt;&gt;"), "0D 0A 00 22 3C 3E"},
        {NV_TEXT("\u00E4\u20AC&auml;&yuml;"), "E4 80 E4 FF"},
        // Numbers.
        {NV_TEXT("&amp;#300"), "2C 01"},
        {NV_TEXT("&amp;#0"), "00"},
        {NV_TEXT("&amp;#"), "00"},
        {NV_TEXT("&amp;#x"), "00 78"},
        {NV_TEXT("&amp;#0065536;"), "00 00 01 3B"},
        {NV_TEXT("&amp;#4294967295"), "FF FF FF FF"},
        {NV_TEXT("&amp;#4294967297"), "01"},
        {NV_TEXT("&amp;#7&amp;#8&amp;"), "07 08 26"},
        {NV_TEXT("&amp; #7"), "26 20 23 37"},
        {NV_TEXT("&lt;#7"), "3C 23 37"},
        // Dropped and swallowed.
        {NV_TEXT("&bogus;X"), "58"},
        {NV_TEXT("&ESC;&ccedil;&;&esc ;X"), "58"},
        {NV_TEXT("a&b&esc;c"), "61 63"},
        {NV_TEXT("abc&def"), "61 62 63"},
        {NV_TEXT("&esc;E&amp"), "1B 45"},
        // Departures from the usual names and values.
        {NV_TEXT("&ccdil;&nbsp;&Ccedil;"), "E7 20 C7"},
        {NV_TEXT("&eNrv8x10;&eNrvEnvelope5_5;&eEuroLegal;&eA6Paper;"), "D0 D0 11 11"},
        {NV_TEXT("&eDisc9x11;&eQVPostcard6x9;&eNrvEnvelope9;"), "92 E1 DD"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(Convert(each.instruction), each.bytes) << Narrow(each.instruction);
    EXPECT_EQ(Convert(CXString(NV_TEXT("a\0&esc;\0"), 8)), "61 00 1B 00");
}

TEST(AmpConversion, TakesValuesFromTheContext) {
    Words context = {100, 200, -1, 0x12345};
    EXPECT_EQ(Convert(NV_TEXT("&sint16_xy;&OriginXY;"), &context), "D3 64 00 C8 00");
    EXPECT_EQ(Convert(NV_TEXT("&PhysicalAreaXY;&amp;#5&OriginXY;"), &context), "FF FF 45 23 05 64 00 C8 00");
    EXPECT_EQ(context, (Words{100, 200, -1, 0x12345}));
    EXPECT_EQ(Convert(NV_TEXT("a&OriginXY;&PhysicalAreaXY;b")), "61 62") << "without a context";
}

TEST(AmpConversion, WritesAValueByItsType) {
    const auto write = [](LONG type, LONG value, void* context) {
        const AMPCMD entry{{}, value, 0, type};
        ByteBuffer out;
        ProductData::OutputAMPValue(out, &entry, context);
        return Hex(out);
    };
    Words words = {-2, 0, 7, 8};
    EXPECT_EQ(write(AmpTypeByte, 0x12345678, &words), "78");
    EXPECT_EQ(write(AmpTypeWord, 0x12345678, &words), "78 56");
    EXPECT_EQ(write(AmpTypeLong, -2, &words), "FE FF FF FF");
    EXPECT_EQ(write(AmpTypeNumber, 9, &words), "FE FF FF FF");
    EXPECT_EQ(words[0], 0) << "the number is consumed";
    EXPECT_EQ(write(AmpTypeNumber, 9, &words), "00");
    EXPECT_EQ(write(AmpTypeNumber, 9, nullptr), "");
    EXPECT_EQ(write(6, 9, &words) + write(-1, 9, &words), "");
    ByteBuffer out;
    ProductData::OutputAMPValue(out, nullptr, &words);
    EXPECT_TRUE(out.empty());
}

TEST(AmpCommands, AreThePublishedOnes) {
    Words context = {1, 2, 3, 4};
    std::string lines;
    for (const AMPCMD& command : GetAmpCommands()) {
        const CXString name(command.name.data());
        ByteBuffer out;
        ProductData::OutputAMPValue(out, &command, &context);
        std::string hex = Hex(out);
        std::erase(hex, ' ');
        lines += Narrow(name) + '=' + hex + '\n';
    }
    // Computed from the published list, not by this program.
    const auto* const bytes = reinterpret_cast<const BYTE*>(lines.data());
    EXPECT_EQ(Crc32::GetCrc(bytes, static_cast<DWORD>(lines.size())), 0xD87F7CF6) << lines;
}

TEST(AmpCommands, AreFoundByTheirWholeName) {
    for (const AMPCMD& command : GetAmpCommands()) {
        const CXString name(command.name.data());
        EXPECT_EQ(FindAmpCommand(ViewOf(name)), &command) << Narrow(name);
        EXPECT_EQ(FindAmpCommand(ViewOf(name + NV_TEXT(";"))), nullptr);
        EXPECT_EQ(FindAmpCommand(ViewOf(name.Left(name.GetLength() - 1))), nullptr);
        EXPECT_EQ(command.flag == 1, name == NV_TEXT("&amp;"));
    }
    EXPECT_EQ(FindAmpCommand({}), nullptr);
}

}  // namespace
