// What product data is written in: map files, properties and AMP notation.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "environment/ampreader.h"
#include "environment/mappingdata.h"
#include "environment/modeltable.h"
#include "environment/productdata.h"
#include "support/bytes.h"
#include "utilities/utilitiesdll/crc32.h"

namespace {

/// "A{X=1;}B{}": every model of a table with its properties.
std::string Read(const nvutil::ModelTable& table) {
    std::string models;
    for (std::size_t i = 0; i < table.GetCount(); ++i) {
        const platform::Text data = table.GetData(i);
        EXPECT_EQ(data.size(), table.GetDataLength(i));
        models += Narrow(StringOf(table.GetModel(i))) + '{' + Narrow(StringOf(data)) + '}';
    }
    return models;
}

TEST(MapFile, GivesModelsTheirProperties) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"Model:A\nX:1\nY:2\n", "A{X=1;Y=2;}"},
        {"Model:A\r\n\r\n \t\r\nX:1 \r\nY:2", "A{X=1;Y=2;}"},
        {"Model:A\nModel:B\nX:1\nModel:C\nX:2\n", "A{X=1;}B{X=1;}C{X=2;}"},
        {"X:0\nModel:A\nX:1\n", "A{X=1;}"},
        {"Model:A\nX:1\nModel:A\nY:2\n", "A{X=1;Y=2;}"},
        {"Model:A\nX:1\nModel:B\n", "A{X=1;}B{}"},
        {"Model:B\nModel:A\nX:1\n", "B{X=1;}A{X=1;}"},
        // Only keys are trimmed, and the first colon counts.
        {" \tModel :A\n X\t: 1:2;=3\t\n", "A{X= 1:2;=3;}"},
        {"Model: A\nmodel:B\n", " A{model=B;}"},
        // Comments.
        {"comment;Model:Z\nModel:A\ncomment;\nX:1\n", "A{X=1;}"},
        {"Model:A\nX:1\n comment;\nY:2\n", "A{X=1;}"},
        {"Model:A\nX:1\nComment;Z:3\nY:2\n", "A{X=1;Comment;Z=3;Y=2;}"},
        // A line without a key or a value ends the file.
        {"Model:A\nX:1\nY:\nZ:2\n", "A{X=1;}"},
        {"Model:A\nX:1\nY: \t\r\nZ:2\n", "A{X=1;}"},
        {"Model:A\nX:1\n:Y\nModel:B\n", "A{X=1;}"},
        {"Model:A\nX:1\n-- notes\nModel:B\n", "A{X=1;}"},
        {"Model:\nModel:B\n", ""},
        // All models.
        {"Model:A\nModel:B\nX:1\nModel:ALL_MODELS\nY:2\n", "A{X=1;Y=2;}B{X=1;Y=2;}"},
        {"Model:A\nX:1\nModel:ALL_MODELS\nY:2\nModel:B\nZ:3\n", "A{X=1;Y=2;}B{Z=3;}"},
        {"Model:A\nX:1\nModel:A\nModel:B\nModel:ALL_MODELS\nY:2\n", "A{X=1;Y=2;}B{Y=2;}"},
        {"Model:A\nX:1\nModel:ALL_MODELS\nModel:A\nY:2\n", "A{X=1;Y=2;Y=2;}"},
        {"Model:A\nModel:ALL_MODELS\nModel:B\nX:1\n", "A{X=1;X=1;}B{X=1;}"},
        {"Model:A\nModel:A\nX:1\nModel:ALL_MODELS\nModel:ALL_MODELS\nY:2\n", "A{X=1;X=1;Y=2;Y=2;}"},
        {"Model:A\nV:0\nModel:ALL_MODELS\nW:1\nModel:A\nX:2\nModel:ALL_MODELS\nY:3\nModel:A\nZ:4\n",
         "A{V=0;W=1;X=2;Y=3;Z=4;}"},
        {"Model:ALL_MODELS\nX:1\nModel:all_models\nY:2\n", "all_models{Y=2;}"},
    };
    for (const auto& [text, models] : cases)
        EXPECT_EQ(Read(nvutil::ModelTable(ViewOf(CXString(text)))), models) << text;
}

TEST(MapFile, FindsTheFirstModelWithAValue) {
    // The last key of a block may take its value from the next block: the search is one for text.
    const CXString text = NV_TEXT(
        "Model:A\nNOTE:ID\nModel:B\nID:7\nModel:C\nOTHER:1\nModel:ALL_MODELS\nID:9\n"
        "Model:D\nID:7\nModel:E\nMY_ID:8\nID:7\nModel:ALL_MODELS\nID:5\nModel:F\nX:1\n");
    const nvutil::ModelTable table(ViewOf(text));
    std::string found;
    for (const WChar* id : {NV_TEXT("9"), NV_TEXT("7"), NV_TEXT("8"), NV_TEXT("5"), NV_TEXT("")}) {
        const auto byIndex = table.FindByValue(NV_TEXT("ID"), id);
        std::optional<std::size_t> byWalk;
        for (std::size_t i = 0; i < table.GetCount() && !byWalk; ++i) {
            if (MappingData({}, StringOf(table.GetData(i))).GetData(NV_TEXT("ID")) == id) byWalk = i;
        }
        EXPECT_EQ(byIndex, byWalk) << Narrow(id);
        found += byIndex ? Narrow(StringOf(table.GetModel(*byIndex))) : "-";
    }
    EXPECT_EQ(found, "ABE-F");
}

TEST(MapFile, TakesReplacementsForTheModelsOwnProperties) {
    nvutil::ModelTable table(
        NV_TEXT("Model:A\nModel:B\nID:1\nModel:ALL_MODELS\nY:2\nModel:A\nZ:3\nModel:C\nID:7\n"));
    EXPECT_EQ(table.FindByValue(NV_TEXT("ID"), NV_TEXT("7")), 2u);
    const struct {
        std::size_t model;
        TextView data;
        const char* models;
    } replacements[] = {
        {0, NV_TEXT("ID=8;"), "A{ID=8;}B{ID=1;Y=2;}C{ID=7;}"},
        {1, NV_TEXT("ID=9;"), "A{ID=8;}B{ID=9;}C{ID=7;}"},
        {0, NV_TEXT("LONG=1;ID=7;"), "A{LONG=1;ID=7;}B{ID=9;}C{ID=7;}"},
        {1, {}, "A{LONG=1;ID=7;}B{}C{ID=7;}"},
    };
    for (const auto& [model, data, models] : replacements) {
        table.Replace(model, data);
        EXPECT_EQ(Read(table), models);
    }
    EXPECT_EQ(table.FindByValue(NV_TEXT("ID"), NV_TEXT("7")), 0u);
    EXPECT_EQ(table.FindByValue(NV_TEXT("ID"), NV_TEXT("9")), std::nullopt);
}

TEST(MapFile, LeavesAModelWithoutWhatIsTooMuch) {
    platform::Text text = NV_TEXT("Model:A\nKEY:1\n");
    for (int i = 0; i < 1000; ++i)
        text.append(NV_TEXT("Model:ALL_MODELS\nKEY:")).append(10000, NV_TEXT('v')).append(NV_TEXT("\n"));
    text.append(NV_TEXT("Model:B\nKEY:2\n"));
    const nvutil::ModelTable table(text);
    EXPECT_EQ(table.GetDataLength(0), 0u);
    EXPECT_TRUE(table.GetData(0).empty());
    EXPECT_EQ(table.FindByValue(NV_TEXT("KEY"), NV_TEXT("1")), std::nullopt);
    EXPECT_EQ(table.FindByValue(NV_TEXT("KEY"), NV_TEXT("2")), 1u);
}

TEST(MappingData, FindsValuesByTheTextOfTheirKeys) {
    const MappingData mapping(NV_TEXT("A"), NV_TEXT("XPDL=1;PDL=2;EMPTY=;SPACED= 3;NOTE=see LAST;LAST=4"),
                              {NV_TEXT("A2"), NV_TEXT("A3")});
    const std::pair<const char*, const char*> cases[] = {
        {"PDL", "1"}, {"PDL=2;EMPTY", ""}, {"EMPTY", ""}, {"SPACED", " 3"}, {"LAST", "4"},
        {"pdl", ""},  {"NONE", ""},        {"4", ""},     {"see", "4"},
    };
    for (const auto& [key, value] : cases)
        EXPECT_EQ(Narrow(mapping.GetData(CXString(key))), value) << key;
    EXPECT_TRUE(mapping.MatchesModel(NV_TEXT("A")) && mapping.MatchesModel(NV_TEXT("A3")));
    EXPECT_FALSE(mapping.MatchesModel(NV_TEXT("a")) || mapping.MatchesModel(CXString()));
    EXPECT_FALSE(mapping.MatchesSysObjectId(CXString()));
    EXPECT_TRUE(MappingData({}, NV_TEXT("SYS_OBJECT_ID=1.3.6;")).MatchesSysObjectId(NV_TEXT("1.3.6")));
}

// AMP notation

using Words = std::array<LONG, 4>;

std::string Convert(const CXString& instruction, void* context = nullptr) {
    ByteBuffer out{0xEE};
    EXPECT_TRUE(ProductData::ConvertAmpCommands(instruction, out, context));
    EXPECT_EQ(out.front(), 0xEE) << "what was there stays";
    out.erase(out.begin());
    return Hex(out);
}

TEST(AmpConversion, TurnsTextAndEntitiesIntoBytes) {
    const std::pair<const WChar*, const char*> cases[] = {
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
    for (const auto& [instruction, bytes] : cases)
        EXPECT_EQ(Convert(instruction), bytes) << Narrow(instruction);
    EXPECT_EQ(Convert(CXString(NV_TEXT("a\0&esc;\0"), 8)), "61 00 1B 00");

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
    for (const auto& [number, bytes] : {std::pair<LONG, const char*>{0, "00"},
                                        {255, "FF"},
                                        {256, "00 01"},
                                        {65535, "FF FF"},
                                        {65536, "00 00 01"},
                                        {16777216, "00 00 00 01"}}) {
        words[0] = number;
        EXPECT_EQ(write(AmpTypeNumber, 9, &words), bytes) << number;
    }
    EXPECT_EQ(write(AmpTypeNumber, 9, nullptr), "");
    EXPECT_EQ(write(6, 9, &words) + write(-1, 9, &words), "");
    ByteBuffer out;
    ProductData::OutputAMPValue(out, nullptr, &words);
    EXPECT_TRUE(out.empty());
}

TEST(AmpCommands, AreThePublishedOnesAndAreFoundByTheirWholeName) {
    Words context = {1, 2, 3, 4};
    std::string lines;
    for (const AMPCMD& command : GetAmpCommands()) {
        const CXString name(command.name.data());
        ByteBuffer out;
        ProductData::OutputAMPValue(out, &command, &context);
        std::string hex = Hex(out);
        std::erase(hex, ' ');
        lines += Narrow(name) + '=' + hex + '\n';
        EXPECT_EQ(FindAmpCommand(ViewOf(name)), &command) << Narrow(name);
        EXPECT_EQ(FindAmpCommand(ViewOf(name + NV_TEXT(";"))), nullptr);
        EXPECT_EQ(FindAmpCommand(ViewOf(name.Left(name.GetLength() - 1))), nullptr);
        EXPECT_EQ(command.flag == 1, name == NV_TEXT("&amp;"));
    }
    // Computed from the published list, not by this program.
    const auto* const bytes = reinterpret_cast<const BYTE*>(lines.data());
    EXPECT_EQ(Crc32::GetCrc(bytes, static_cast<DWORD>(lines.size())), 0xD87F7CF6) << lines;
    EXPECT_EQ(FindAmpCommand({}), nullptr);
}

}  // namespace
