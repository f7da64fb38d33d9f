// Map files: which models they give, with which properties, and look-ups in those.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "environment/mappingdata.h"
#include "environment/modeltable.h"
#include "support/bytes.h"

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

std::string Read(const CXString& mapFile) {
    return Read(nvutil::ModelTable(ViewOf(mapFile)));
}

TEST(MapFile, GivesModelsTheirProperties) {
    struct Case {
        const WChar* text;
        const char* models;
    };
    const Case cases[] = {
        {NV_TEXT(""), ""},
        {NV_TEXT("Model:A\nX:1\nY:2\n"), "A{X=1;Y=2;}"},
        {NV_TEXT("Model:A\r\n\r\n \t\r\nX:1 \r\nY:2"), "A{X=1;Y=2;}"},
        {NV_TEXT("Model:A\nModel:B\nX:1\nModel:C\nX:2\n"), "A{X=1;}B{X=1;}C{X=2;}"},
        {NV_TEXT("X:0\nModel:A\nX:1\n"), "A{X=1;}"},
        {NV_TEXT("Model:A\nX:1\nModel:A\nY:2\n"), "A{X=1;Y=2;}"},
        {NV_TEXT("Model:A\nX:1\nModel:B\n"), "A{X=1;}B{}"},
        {NV_TEXT("Model:B\nModel:A\nX:1\n"), "B{X=1;}A{X=1;}"},
        // Only keys are trimmed, and the first colon counts.
        {NV_TEXT(" \tModel :A\n X\t: 1:2;=3\t\n"), "A{X= 1:2;=3;}"},
        {NV_TEXT("Model: A\nmodel:B\n"), " A{model=B;}"},
        // Comments.
        {NV_TEXT("comment;Model:Z\nModel:A\ncomment;\nX:1\n"), "A{X=1;}"},
        {NV_TEXT("Model:A\nX:1\n comment;\nY:2\n"), "A{X=1;}"},
        {NV_TEXT("Model:A\nX:1\nComment;Z:3\nY:2\n"), "A{X=1;Comment;Z=3;Y=2;}"},
        // A line without a key or a value ends the file.
        {NV_TEXT("Model:A\nX:1\nY:\nZ:2\n"), "A{X=1;}"},
        {NV_TEXT("Model:A\nX:1\nY: \t\r\nZ:2\n"), "A{X=1;}"},
        {NV_TEXT("Model:A\nX:1\n:Y\nModel:B\n"), "A{X=1;}"},
        {NV_TEXT("Model:A\nX:1\n-- notes\nModel:B\n"), "A{X=1;}"},
        {NV_TEXT("Model:\nModel:B\n"), ""},
        // All models.
        {NV_TEXT("Model:A\nModel:B\nX:1\nModel:ALL_MODELS\nY:2\n"), "A{X=1;Y=2;}B{X=1;Y=2;}"},
        {NV_TEXT("Model:A\nX:1\nModel:ALL_MODELS\nY:2\nModel:B\nZ:3\n"), "A{X=1;Y=2;}B{Z=3;}"},
        {NV_TEXT("Model:A\nX:1\nModel:A\nModel:B\nModel:ALL_MODELS\nY:2\n"), "A{X=1;Y=2;}B{Y=2;}"},
        {NV_TEXT("Model:A\nX:1\nModel:ALL_MODELS\nModel:A\nY:2\n"), "A{X=1;Y=2;Y=2;}"},
        {NV_TEXT("Model:A\nModel:ALL_MODELS\nModel:B\nX:1\n"), "A{X=1;X=1;}B{X=1;}"},
        {NV_TEXT("Model:A\nModel:A\nX:1\nModel:ALL_MODELS\nModel:ALL_MODELS\nY:2\n"), "A{X=1;X=1;Y=2;Y=2;}"},
        {NV_TEXT("Model:A\nV:0\nModel:ALL_MODELS\nW:1\nModel:A\nX:2\nModel:ALL_MODELS\nY:3\nModel:A\nZ:4\n"),
         "A{V=0;W=1;X=2;Y=3;Z=4;}"},
        {NV_TEXT("Model:ALL_MODELS\nX:1\nModel:all_models\nY:2\n"), "all_models{Y=2;}"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(Read(each.text), each.models) << Narrow(each.text);
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
    const std::pair<const WChar*, const char*> cases[] = {
        {NV_TEXT("PDL"), "1"},     {NV_TEXT("PDL=2;EMPTY"), ""}, {NV_TEXT("EMPTY"), ""},
        {NV_TEXT("SPACED"), " 3"}, {NV_TEXT("LAST"), "4"},       {NV_TEXT("pdl"), ""},
        {NV_TEXT("NONE"), ""},     {NV_TEXT("4"), ""},           {NV_TEXT("see"), "4"},
    };
    for (const auto& [key, value] : cases)
        EXPECT_EQ(Narrow(mapping.GetData(key)), value) << Narrow(key);
    EXPECT_TRUE(mapping.MatchesModel(NV_TEXT("A")) && mapping.MatchesModel(NV_TEXT("A3")));
    EXPECT_FALSE(mapping.MatchesModel(NV_TEXT("a")) || mapping.MatchesModel(CXString()));
    EXPECT_FALSE(mapping.MatchesSysObjectId(CXString()));
    EXPECT_TRUE(MappingData({}, NV_TEXT("SYS_OBJECT_ID=1.3.6;")).MatchesSysObjectId(NV_TEXT("1.3.6")));
}

}  // namespace
