// Tests of the JSON form of a state: what each kind is in JSON, in bytes and in the tree, and what is
// refused.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/growth.h"
#include "tools/toolruns.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/utilitiesdll/driverversion.h"

namespace {

// What surrounds one record in a namespaces' state: its size is that of the record and 44 bytes more.
constexpr auto bytesBeforeTheListSize =
    "41 42 4E 53 01 00 02 00 03 00 04 00 41 42 49 4C 41 42 52 4C 09 01 00 00 00 0B 00 00";

struct Kind {
    const char* json;   ///< An attribute, as it is printed.
    const char* bytes;  ///< Its record.
    const char* tree;   ///< Its display, blanks reduced to one.
};

constexpr Kind kinds[] = {
    // Identifiers
    {R"({"id": {"feature": 258}, "value": {"integer": 300}})", "02 02 01 00 00 03 00 2C 01 00 00",
     "feature 258 integer 300"},
    {R"({"id": {"newFeature": "Gloss"}, "value": {"integer": -1}})",
     "03 05 00 47 00 6C 00 6F 00 73 00 73 00 03 00 FF FF FF FF", R"(new feature "Gloss" integer -1)"},
    {R"({"id": {"value": -2}, "value": {"boolean": true}})", "04 FE FF FF FF 05 00 01",
     "value -2 boolean true"},
    {R"({"id": {"newValue": "A4"}, "value": {"boolean": false}})", "05 02 00 41 00 34 00 05 00 00",
     R"(new value "A4" boolean false)"},
    {R"({"id": {"item": 2147483647}, "value": {"boolean": true}, "unspecified": true})",
     "06 FF FF FF 7F 05 01 01", "item 2147483647 boolean true (unspecified)"},
    {R"({"id": {"capability": {"feature": 16, "type": 3}}, "value": {"integer": 0}})",
     "07 03 00 10 00 00 00 03 00 00 00 00 00", "capability 16, type 3 integer 0"},
    {R"({"id": {"newCapability": {"feature": "X", "type": -32768}}, "value": {"integer": 0}})",
     "08 00 80 01 00 58 00 03 00 00 00 00 00", R"(new capability "X", type -32768 integer 0)"},
    {R"({"id": {"namespace": 1}, "value": {"integer": -2147483648}})", "09 01 00 00 00 03 00 00 00 00 80",
     "namespace 1 integer -2147483648"},
    // Values
    {R"({"id": {"feature": 1}, "value": {"option": {"capability": {"feature": 5, "type": 1}}}})",
     "02 01 00 00 00 02 00 07 01 00 05 00 00 00", "feature 1 option capability 5, type 1"},
    {R"({"id": {"feature": 1}, "value": {"option": {"namespace": 2}}})",
     "02 01 00 00 00 02 00 09 02 00 00 00", "feature 1 option namespace 2"},
    {R"({"id": {"feature": 1}, "value": {"string": ""}, "unspecified": true})", "02 01 00 00 00 04 01 00 00",
     R"(feature 1 string "" (unspecified))"},
    {R"({"id": {"feature": 1}, "value": {"range": [-5, 99]}})",
     "02 01 00 00 00 06 00 FB FF FF FF 63 00 00 00", "feature 1 range -5 to 99"},
    {R"({"id": {"feature": 1}, "value": {"dimensionRange": [0, 25400]}})",
     "02 01 00 00 00 07 00 00 00 00 00 38 63 00 00",
     "feature 1 dimension range 0 mm (0 in) to 25.4 mm (1 in)"},
    {R"({"id": {"feature": 1}, "value": {"dimension": 210000}})", "02 01 00 00 00 08 00 50 34 03 00",
     "feature 1 dimension 210 mm (8.2677 in)"},
    {R"({"id": {"feature": 1}, "value": {"dimension": -1}})", "02 01 00 00 00 08 00 FF FF FF FF",
     "feature 1 dimension -0.001 mm (0 in)"},
    // The library itself would round this length to another one.
    {R"({"id": {"feature": 1}, "value": {"dimension": 16777217}})", "02 01 00 00 00 08 00 01 00 00 01",
     "feature 1 dimension 16777.217 mm (660.5204 in)"},
    {R"({"id": {"feature": 1}, "value": {"dimensionRange": [-2147483648, 2147483647]}})",
     "02 01 00 00 00 07 00 00 00 00 80 FF FF FF 7F",
     "feature 1 dimension range -2147483.648 mm (-84546.6003 in) to 2147483.647 mm (84546.6003 in)"},
    {R"({"id": {"feature": 1}, "value": {"resolution": {"crossFeed": 600, "feed": 1200, "units": 1}}})",
     "02 01 00 00 00 09 00 B0 04 00 00 58 02 00 00 01 00",
     "feature 1 resolution 600 x 1200 (cross-feed x feed), units 1"},
    {R"({"id": {"feature": 1}, "value": {"blob": ""}})", "02 01 00 00 00 0A 00 00 00 00 00",
     "feature 1 data blob 0 bytes"},
    {R"({"id": {"feature": 1}, "value": {"blob": "0AFF"}})", "02 01 00 00 00 0A 00 02 00 00 00 0A FF",
     "feature 1 data blob 2 bytes: 0A FF"},
    {R"({"id": {"feature": 1}, "value": {"list": {"type": 255, "items": []}}, "unspecified": true})",
     "02 01 00 00 00 0B 01 FF 04 00 00 00 41 42 52 4C", "feature 1 list of type 255, 0 items (unspecified)"},
    {R"({"id": {"feature": 1}, "value": {"dateTime": 1700000000}})",
     "02 01 00 00 00 0C 00 00 F1 53 65 00 00 00 00", "feature 1 date-time 2023-11-14T22:13:20Z"},
    {R"({"id": {"feature": 1}, "value": {"dateTime": -9223372036854775808}})",
     "02 01 00 00 00 0C 00 00 00 00 00 00 00 00 80", "feature 1 date-time -292277022657-01-27T08:29:52Z"},
    // Text of any code units
    {R"({"id": {"feature": 1}, "value": {"string": "\ud800"}})", "02 01 00 00 00 04 00 01 00 00 D8",
     R"(feature 1 string "\ud800")"},
    {R"({"id": {"feature": 1}, "value": {"string": "\udfff\ud801"}})",
     "02 01 00 00 00 04 00 02 00 FF DF 01 D8", R"(feature 1 string "\udfff\ud801")"},
    {"{\"id\": {\"feature\": 1}, \"value\": {\"string\": \"\xF0\x9F\x98\x80\"}}",
     "02 01 00 00 00 04 00 02 00 3D D8 00 DE", "feature 1 string \"\xF0\x9F\x98\x80\""},
    {"{\"id\": {\"feature\": 1}, \"value\": {\"string\": \"\xEF\xBF\xBF"
     "D800\"}}",
     "02 01 00 00 00 04 00 05 00 FF FF 44 00 38 00 30 00 30 00",
     "feature 1 string \"\xEF\xBF\xBF"
     "D800\""},
    {R"({"id": {"feature": 1}, "value": {"string": "a\u0000b\n\"\\\u001b"}})",
     "02 01 00 00 00 04 00 07 00 61 00 00 00 62 00 0A 00 22 00 5C 00 1B 00",
     R"(feature 1 string "a\u0000b\n\"\\\u001b")"},
};

std::string WithSingleBlanks(const std::string& line) {
    std::string text;
    for (const char c : line) {
        if (c != ' ' || (!text.empty() && text.back() != ' ')) text += c;
    }
    return text;
}

std::string LastLine(const std::string& text) {
    return text.substr(text.rfind('\n', text.size() - 2) + 1);
}

TEST(StateJson, EachKindHasItsBytesAndItsDisplayAndSurvivesTheRoundTrip) {
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.json);
        const std::string state = Build(Document(kind.json));
        ByteBuffer expected = Bytes(bytesBeforeTheListSize);
        const ByteBuffer record = Bytes(kind.bytes);
        expected.appendIntValue(static_cast<int>(record.size()) + 4)
            .append(Bytes("41 42 52 4C"))
            .append(record);
        EXPECT_EQ(Hex(Expand(state)), Hex(expected));

        const ToolResult shown = Nvutil({"state", "show", "--json", "-"}, state);
        EXPECT_EQ(shown.error, "");
        EXPECT_NE(shown.out.find("\n      " + std::string(kind.json) + "\n"), std::string::npos) << shown.out;
        EXPECT_EQ(Build(shown.out), state);
        EXPECT_EQ(WithSingleBlanks(LastLine(Nvutil({"state", "show", "-"}, state).out)),
                  std::string(kind.tree) + '\n');
    }
}

TEST(StateJson, OrderDuplicatesAndNestingSurviveTheRoundTrip) {
    const std::string json = R"({
  "driverVersion": "65535.0.1.2",
  "namespaces": {
    "-1": [],
    "7": [
      {"id": {"feature": 9}, "value": {"integer": 1}},
      {"id": {"feature": 3}, "value": {"integer": 2}},
      {"id": {"feature": 9}, "value": {"list": {"type": 1, "items": [
        {"id": {"item": 1}, "value": {"list": {"type": 0, "items": []}}},
        {"id": {"item": 0}, "value": {"string": "x"}}
      ]}}}
    ]
  }
}
)";
    EXPECT_EQ(Nvutil({"state", "show", "--json", "-"}, Build(json)).out, json);
}

TEST(StateJson, TheVersionHoldsForOneRun) {
    const DriverVersion before = DriverVersion::GetCurrentDriverVersion();
    const std::string state = Build(R"({"driverVersion": "9.8.7.6", "namespaces": {}})");
    EXPECT_EQ(Hex(BytesOf(state.substr(8, 8))), "09 00 08 00 07 00 06 00");
    EXPECT_EQ(Hex(Expand(state)).substr(12, 23), "09 00 08 00 07 00 06 00");
    EXPECT_EQ(DriverVersion::GetCurrentDriverVersion(), before);
}

TEST(StateJson, OtherWritingsOfTheSameAreRead) {
    const std::string plain = Build(Document(R"({"id": {"feature": 1}, "value": {"blob": "0AFF"}})"));
    for (const char* attribute :
         {R"({"unspecified": false, "value": {"blob": "0aff"}, "id": {"feature": 1}})",
          R"({"id": {"fe\u0061ture": 1}, "value": {"blob": "0aFf"}})"}) {
        EXPECT_EQ(Build(Document(attribute)), plain) << attribute;
    }
    EXPECT_EQ(Build("\xEF\xBB\xBF" + Document(R"({"id": {"feature": 1}, "value": {"blob": "0AFF"}})")),
              plain);
}

TEST(StateJson, BytesThatThisLibraryWouldNotWriteAreToldOf) {
    ByteBuffer uncompressed = Expand(Build(Document(R"({"id": {"value": 1}, "value": {"boolean": true}})")));
    uncompressed.back() = 2;  // reads as true, too
    const ToolResult shown = Nvutil({"state", "show", "--json", "-"}, Persist(uncompressed));
    EXPECT_EQ(shown.status, 0);
    EXPECT_NE(shown.error.find("has other bytes"), std::string::npos) << shown.error;
}

// Refusals

struct WrongDocument {
    std::string json;
    const char* message;  ///< Behind "standard input: ".
};

std::string NestedLists(int depth) {
    std::string json = R"({"id": {"feature": 1}, "value": {"integer": 1}})";
    for (int i = 0; i < depth; ++i) {
        json.insert(0, R"({"id": {"feature": 1}, "value": {"list": {"type": 0, "items": [)");
        json += "]}}}";
    }
    return json;
}

std::string Attribute(const std::string& value) {
    return Document(R"({"id": {"feature": 1}, "value": )" + value + "}");
}

std::string AttributeOfId(const std::string& id) {
    return Document(R"({"id": )" + id + R"(, "value": {"integer": 1}})");
}

const std::vector<WrongDocument> wrongDocuments = {
    {"[]", "the document: must be an object"},
    {"{}", "the document: \"namespaces\" is missing"},
    {R"({"namespaces": {}, "more": 1})", "more: is not known here"},
    {R"({"namespaces": []})", "namespaces: must be an object"},
    {R"({"namespaces": {"one": []}})", "namespaces.one: is not named by a number"},
    {R"({"namespaces": {"01": []}})", "namespaces.01: is not named by a number"},
    {R"({"namespaces": {"2147483648": []}})", "namespaces.2147483648: is not named by a number"},
    {R"({"namespaces": {"1": {}}})", "namespaces.1: must be an array"},
    {R"({"namespaces": {"1": [], "2": [], "1": []}})", "namespaces.1: comes twice"},
    {R"({"driverVersion": 1, "namespaces": {}})", "driverVersion: must be a string"},
    {R"({"driverVersion": "1.2.3", "namespaces": {}})",
     "driverVersion: must be four numbers from 0 to 65535, like \"1.2.3.4\""},
    {R"({"driverVersion": "1.2.3.65536", "namespaces": {}})",
     "driverVersion: must be four numbers from 0 to 65535, like \"1.2.3.4\""},
    {R"({"driverVersion": "1.2.3.4.5", "namespaces": {}})",
     "driverVersion: must be four numbers from 0 to 65535, like \"1.2.3.4\""},
    {Document("null"), "namespaces.1[0]: must be an object"},
    {Document(R"({"value": {"integer": 1}})"), "namespaces.1[0]: \"id\" is missing"},
    {Document(R"({"id": {"feature": 1}})"), "namespaces.1[0]: \"value\" is missing"},
    {Document(NestedLists(0) + R"(, {"id": {"feature": 1}, "value": {"integer": 1}, "note": ""})"),
     "namespaces.1[1].note: is not known here"},
    {Document(R"({"id": {"feature": 1}, "value": {"integer": 1}, "unspecified": 1})"),
     "namespaces.1[0].unspecified: must be true or false"},
    {Document(R"({"id": {"feature": 1}, "value": {"integer": 1}, "id": {"feature": 2}})"),
     "namespaces.1[0].id: comes twice"},
    {Document(NestedLists(0) + R"(, {"id": {"feature": 1, "feature": 2}, "value": {"integer": 1}})"),
     "namespaces.1[1].id.feature: comes twice"},
    {AttributeOfId("{}"),
     "namespaces.1[0].id: must have exactly one member, which names its kind, and has 0"},
    {AttributeOfId(R"({"feature": 1, "value": 2})"),
     "namespaces.1[0].id: must have exactly one member, which names its kind, and has 2"},
    {AttributeOfId(R"({"features": 1})"), "namespaces.1[0].id.features: is not known here"},
    {AttributeOfId(R"({"feature": 2147483648})"),
     "namespaces.1[0].id.feature: must be a whole number from -2147483648 to 2147483647"},
    {AttributeOfId(R"({"feature": "1"})"),
     "namespaces.1[0].id.feature: must be a whole number from -2147483648 to 2147483647"},
    {AttributeOfId(R"({"newValue": 1})"), "namespaces.1[0].id.newValue: must be a string"},
    {AttributeOfId(R"({"capability": {"feature": 1, "type": 32768}})"),
     "namespaces.1[0].id.capability.type: must be a whole number from -32768 to 32767"},
    {AttributeOfId(R"({"newCapability": {"type": 1}})"),
     "namespaces.1[0].id.newCapability: \"feature\" is missing"},
    {Attribute(R"({"integer": 1, "string": ""})"),
     "namespaces.1[0].value: must have exactly one member, which names its kind, and has 2"},
    {Attribute(R"({"integer": 1.0})"),
     "namespaces.1[0].value.integer: must be a whole number from -2147483648 to 2147483647"},
    {Attribute(R"({"integer": -2147483649})"),
     "namespaces.1[0].value.integer: must be a whole number from -2147483648 to 2147483647"},
    {Attribute(R"({"integer": 18446744073709551616})"),
     "namespaces.1[0].value.integer: must be a whole number from -2147483648 to 2147483647"},
    {Attribute(R"({"dateTime": 9223372036854775808})"),
     "namespaces.1[0].value.dateTime: must be a whole number from -9223372036854775808 to "
     "9223372036854775807"},
    {Attribute(R"({"boolean": 1})"), "namespaces.1[0].value.boolean: must be true or false"},
    {Attribute(R"({"string": null})"), "namespaces.1[0].value.string: must be a string"},
    {Attribute("{\"string\": \"" + std::string(32768, 'x') + "\"}"),
     "namespaces.1[0].value.string: has 32,768 UTF-16 code units, more than 32,767"},
    {Attribute(R"({"range": 1})"), "namespaces.1[0].value.range: must be an array"},
    {Attribute(R"({"range": [1, 2, 3]})"),
     "namespaces.1[0].value.range: must have two numbers, the low and the high one"},
    {Attribute(R"({"dimensionRange": [1, 2.5]})"),
     "namespaces.1[0].value.dimensionRange[1]: must be a whole number from -2147483648 to 2147483647"},
    {Attribute(R"({"resolution": {"crossFeed": 1, "feed": 1}})"),
     "namespaces.1[0].value.resolution: \"units\" is missing"},
    {Attribute(R"({"blob": "ABC"})"),
     "namespaces.1[0].value.blob: must have an even number of hexadecimal digits"},
    {Attribute(R"({"blob": "A:"})"), "namespaces.1[0].value.blob: must have hexadecimal digits only"},
    {Attribute(R"({"option": {"option": 1}})"), "namespaces.1[0].value.option.option: is not known here"},
    {Attribute(R"({"list": {"type": 256, "items": []}})"),
     "namespaces.1[0].value.list.type: must be a whole number from 0 to 255"},
    {Attribute(R"({"list": {"type": 0}})"), "namespaces.1[0].value.list: \"items\" is missing"},
    {Attribute(R"({"list": {"type": 0, "items": [)" + NestedLists(0) +
               R"(, {"id": {"item": 0}, "value": {}}]}})"),
     "namespaces.1[0].value.list.items[1].value: must have exactly one member, which names its kind, and has "
     "0"},
};

TEST(StateJson, AWrongShapeIsRefusedWithThePathOfTheMember) {
    for (const WrongDocument& wrong : wrongDocuments) {
        const ToolResult result = Nvutil({"state", "build", "-"}, wrong.json);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        const std::size_t message = result.error.find("standard input: ");
        ASSERT_NE(message, std::string::npos) << result.error;
        EXPECT_EQ(result.error.substr(message + 16), std::string(wrong.message) + '\n')
            << wrong.json.substr(0, 200);
        EXPECT_TRUE(result.error.starts_with("nvutil: 073:000:")) << result.error;
        EXPECT_NE(result.error.find(" ExceptionInvalidArgument: "), std::string::npos) << result.error;
    }
}

TEST(StateJson, IsReadInLinearTime) {
    EXPECT_TRUE(GrowsLinearly(2000, [](int count) {
        std::string items;
        for (int i = 0; i < count; ++i)
            items += (i == 0 ? "" : ",") + (R"({"id": {"feature": )" + std::to_string(i)) +
                     R"(}, "value": {"integer": 1}})";
        EXPECT_EQ(Nvutil({"state", "build", "-"}, Document(items)).status, 0);
    }));
}

TEST(StateJson, WhatIsNotJsonIsRefusedInOneLine) {
    const std::string texts[] = {"",
                                 "{",
                                 Document("") + "x",
                                 Document("1e999"),
                                 "{\"namespaces\": {\"\xFF\": []}}",
                                 "{\"namespaces\": {\"\xED\xA0\x80\": []}}",
                                 R"({"namespaces": {"\ud80": []}})",
                                 R"({"namespaces": {"\)",
                                 "\"" + std::string(100000, '\\'),
                                 std::string(100000, '['),
                                 "{\"namespaces\": \"" + std::string(100000, 'x') + "\n\"}"};
    for (const std::string& text : texts) {
        const ToolResult result = Nvutil({"state", "build", "-"}, text);
        EXPECT_EQ(result.status, 1) << text.substr(0, 50);
        EXPECT_LT(result.error.size(), 500u);
        EXPECT_EQ(result.error.find('\n'), result.error.size() - 1) << result.error;
    }
}

TEST(StateJson, ListsAreNestedAHundredDeepAndNoDeeper) {
    const std::string deepest = Build(Document(NestedLists(100)));
    for (const char* form : {"--json", "--bytes"}) {
        EXPECT_EQ(Nvutil({"state", "show", form, "-"}, deepest).status, 0) << form;
    }
    EXPECT_EQ(Build(Nvutil({"state", "show", "--json", "-"}, deepest).out), deepest);

    const ToolResult refused = Nvutil({"state", "build", "-"}, Document(NestedLists(101)));
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.error.ends_with(".value.list: lists are nested more than 100 levels deep\n"))
        << refused.error;
}

TEST(StateJson, ADeeperStateIsVerifiedButNotShown) {
    AttributeBytesRawList list;
    for (int i = 0; i < 2000; ++i) {
        AttributeBytesRawList outer;
        outer.AddAttributeBytes(AttributeBytes(AttributeBytesFeatureId(1), AttributeBytesListValue(0, list)));
        list = outer;
    }
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.SetNameSpaceAttributes(AttributeBytesNameSpacesId(1), list);
    const std::string state = TextOf(PersistentAttributes(nameSpaces).GetPersistentAttributesState());
    const ToolResult verdict = Nvutil({"state", "verify", "-"}, state);
    EXPECT_TRUE(verdict.out.ends_with(", 1 namespace, 2,000 attributes\n")) << verdict.out << verdict.error;
    for (const std::vector<std::string>& form : {std::vector<std::string>{}, {"--json"}, {"--bytes"}}) {
        std::vector<std::string> arguments = {"state", "show", "-"};
        arguments.insert(arguments.end(), form.begin(), form.end());
        const ToolResult result = Nvutil(arguments, state);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.error.find("nested more than 100 levels deep"), std::string::npos) << result.error;
    }
}

}  // namespace
