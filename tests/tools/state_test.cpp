// Tests of `nvutil state`: what each kind is in JSON, in bytes and in the tree, and what is refused.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "nvutil/statebytes.h"
#include "support/bytes.h"
#include "support/growth.h"
#include "tools/tooltest.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/debuggingandexceptions/norvaexception.h"
#include "utilities/utilitiesdll/driverversion.h"

namespace {

// U+FFFF as a document has it. It stands alone, since a digit may follow.
#define NO_CHARACTER "\xEF\xBF\xBF"

const struct {
    const char* id;
    const char* value;   ///< And what stands behind it. Both as they are printed.
    const char* fields;  ///< Their bytes, with a comma between fields.
    const char* tree;    ///< Their display, blanks reduced to one.
} kinds[] = {
    // Identifiers
    {R"({"feature": 258})", R"({"integer": 300})", "02,02 01 00 00,03,00,2C 01 00 00",
     "feature 258 integer 300"},
    {R"({"newFeature": "Gl"})", R"({"integer": -1})", "03,02 00,47 00 6C 00,03,00,FF FF FF FF",
     R"(new feature "Gl" integer -1)"},
    {R"({"value": -2})", R"({"boolean": true})", "04,FE FF FF FF,05,00,01", "value -2 boolean true"},
    {R"({"newValue": "A4"})", R"({"boolean": false})", "05,02 00,41 00 34 00,05,00,00",
     R"(new value "A4" boolean false)"},
    {R"({"item": 2147483647})", R"({"boolean": true}, "unspecified": true)", "06,FF FF FF 7F,05,01,01",
     "item 2147483647 boolean true (unspecified)"},
    {R"({"capability": {"feature": 16, "type": 3}})", R"({"integer": 0})",
     "07,03 00,10 00 00 00,03,00,00 00 00 00", "capability 16, type 3 integer 0"},
    {R"({"newCapability": {"feature": "X", "type": -32768}})", R"({"integer": 0})",
     "08,00 80,01 00,58 00,03,00,00 00 00 00", R"(new capability "X", type -32768 integer 0)"},
    {R"({"namespace": 1})", R"({"integer": -2147483648})", "09,01 00 00 00,03,00,00 00 00 80",
     "namespace 1 integer -2147483648"},
    // Values
    {R"({"item": 0})", R"({"option": {"namespace": 2}})", "06,00 00 00 00,02,00,09,02 00 00 00",
     "item 0 option namespace 2"},
    {R"({"item": 0})", R"({"string": ""}, "unspecified": true)", "06,00 00 00 00,04,01,00 00",
     R"(item 0 string "" (unspecified))"},
    {R"({"item": 0})", R"({"range": [-5, 99]})", "06,00 00 00 00,06,00,FB FF FF FF,63 00 00 00",
     "item 0 range -5 to 99"},
    {R"({"item": 0})", R"({"dimensionRange": [-2147483648, 25400]})",
     "06,00 00 00 00,07,00,00 00 00 80,38 63 00 00",
     "item 0 dimension range -2147483.648 mm (-84546.6003 in) to 25.4 mm (1 in)"},
    {R"({"item": 0})", R"({"dimension": -1})", "06,00 00 00 00,08,00,FF FF FF FF",
     "item 0 dimension -0.001 mm (0 in)"},
    // The library itself would round this length to another one.
    {R"({"item": 0})", R"({"dimension": 16777217})", "06,00 00 00 00,08,00,01 00 00 01",
     "item 0 dimension 16777.217 mm (660.5204 in)"},
    {R"({"item": 0})", R"({"resolution": {"crossFeed": 600, "feed": 1200, "units": 1}})",
     "06,00 00 00 00,09,00,B0 04 00 00,58 02 00 00,01 00",
     "item 0 resolution 600 x 1200 (cross-feed x feed), units 1"},
    {R"({"item": 0})", R"({"blob": ""})", "06,00 00 00 00,0A,00,00 00 00 00", "item 0 data blob 0 bytes"},
    {R"({"item": 0})", R"({"blob": "0AFF"})", "06,00 00 00 00,0A,00,02 00 00 00,0A FF",
     "item 0 data blob 2 bytes: 0A FF"},
    {R"({"item": 0})", R"({"list": {"type": 255, "items": []}}, "unspecified": true)",
     "06,00 00 00 00,0B,01,FF,04 00 00 00,41 42 52 4C", "item 0 list of type 255, 0 items (unspecified)"},
    {R"({"item": 0})", R"({"dateTime": -9223372036854775808})",
     "06,00 00 00 00,0C,00,00 00 00 00 00 00 00 80", "item 0 date-time -292277022657-01-27T08:29:52Z"},
    // Text of any code units
    {R"({"item": 0})", R"({"string": "\ud800"})", "06,00 00 00 00,04,00,01 00,00 D8",
     R"(item 0 string "\ud800")"},
    {R"({"item": 0})", R"({"string": "\udfff\ud801"})", "06,00 00 00 00,04,00,02 00,FF DF 01 D8",
     R"(item 0 string "\udfff\ud801")"},
    {R"({"item": 0})", "{\"string\": \"\U0001F600\"}", "06,00 00 00 00,04,00,02 00,3D D8 00 DE",
     "item 0 string \"\U0001F600\""},
    {R"({"item": 0})", "{\"string\": \"" NO_CHARACTER "D800\"}",
     "06,00 00 00 00,04,00,05 00,FF FF 44 00 38 00 30 00 30 00", "item 0 string \"" NO_CHARACTER "D800\""},
    {R"({"item": 0})", R"({"string": "a\u0000\n\"\\\u001b"})",
     "06,00 00 00 00,04,00,06 00,61 00 00 00 0A 00 22 00 5C 00 1B 00",
     R"(item 0 string "a\u0000\n\"\\\u001b")"},
};

/// Reports the fields of a namespaces' state and checks that each byte belongs to exactly one.
std::vector<StateField> ReportAndCheckCoverage(const ByteBuffer& state) {
    std::vector<StateField> fields;
    std::size_t covered = 0;
    try {
        ReportNameSpacesFields(state, [&](const StateField& field) {
            EXPECT_EQ(field.offset, covered) << field.name;
            EXPECT_GT(field.size, 0u) << field.name;
            EXPECT_NE(field.name, "");
            covered += field.size;
            fields.push_back(field);
        });
    } catch (const NorvaException&) {
        // What cannot be read is a field, too.
    }
    EXPECT_EQ(covered, state.size());
    return fields;
}

/// The fields of the only attribute of a state, which the rows of `kinds` have.
std::string FieldsOfAttribute(const ByteBuffer& state) {
    constexpr std::size_t fieldsBefore = 11;  // marks, version, and the namespace with its list's head
    std::string text;
    const std::vector<StateField> fields = ReportAndCheckCoverage(state);
    for (std::size_t i = fieldsBefore; i < fields.size(); ++i) {
        const BYTE* const begin = state.data() + fields[i].offset;
        text += (text.empty() ? "" : ",") + Hex(ByteBuffer(begin, begin + fields[i].size));
    }
    return text;
}

std::string WithSingleBlanks(const std::string& line) {
    std::string text;
    for (const char c : line) {
        if (c != ' ' || (!text.empty() && text.back() != ' ')) text += c;
    }
    return text;
}

TEST(State, HasBytesJsonAndADisplayOfEachKind) {
    for (const auto& kind : kinds) {
        const std::string json =
            "{\"id\": " + std::string(kind.id) + ", \"value\": " + std::string(kind.value) + '}';
        SCOPED_TRACE(json);
        const std::string state = Build(Document(json));
        EXPECT_EQ(FieldsOfAttribute(Expand(state)), kind.fields);
        const ToolResult shown = RunLine("state show --json -", state);
        EXPECT_EQ(shown.error, "");
        EXPECT_TRUE(Fits(shown.out, "*\n      " + json + "\n")) << shown.out;
        EXPECT_EQ(Build(shown.out), state);
        const std::string tree = RunLine("state show -", state).out;
        EXPECT_EQ(WithSingleBlanks(tree.substr(tree.rfind('\n', tree.size() - 2) + 1)),
                  std::string(kind.tree) + '\n');
    }
}

TEST(State, KeepsOrderDuplicatesNestingAndItsVersion) {
    const DriverVersion before = DriverVersion::GetCurrentDriverVersion();
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
    std::string state = Build(json);
    EXPECT_EQ(RunLine("state show --json -", state).out, json);
    EXPECT_EQ(Hex(BytesOf(state.substr(8, 8))), "FF FF 00 00 01 00 02 00");
    EXPECT_EQ(Hex(Expand(state)).substr(12, 23), "FF FF 00 00 01 00 02 00");
    EXPECT_EQ(DriverVersion::GetCurrentDriverVersion(), before) << "the version holds for one run";

    state = Build(R"({"driverVersion": "1.2.3.4", "namespaces": {}})");
    EXPECT_EQ(RunLine("state show -", state).out, "State             " + std::to_string(state.size()) +
                                                      " bytes, 20 bytes uncompressed\n"
                                                      "Format version    0x20070001\n"
                                                      "Driver version    1.2.3.4\nNamespaces        0\n");
    state[8] = 5;
    EXPECT_TRUE(Fits(RunLine("state show -", state).out, "*5.2.3.4 in the header\n"));
}

TEST(State, IsReadFromOtherWritingsOfTheSame) {
    const std::string plain = R"({"id": {"feature": 1}, "value": {"blob": "0AFF"}})";
    EXPECT_EQ(Build(Document(R"({"unspecified": false, "value": {"blob": "0aff"}, "id": {"feature": 1}})")),
              Build(Document(plain)));
    EXPECT_EQ(Build("\uFEFF" + Document(R"({"id": {"fe\u0061ture": 1}, "value": {"blob": "0aFf"}})")),
              Build(Document(plain)));
    // Bytes that this library would not write.
    ByteBuffer uncompressed = Expand(Build(Document(R"({"id": {"value": 1}, "value": {"boolean": true}})")));
    uncompressed.back() = 2;  // reads as true, too
    ExpectResult(RunLine("state show --json -", Persist(uncompressed)), 0, "*\"boolean\": true",
                 "*has other bytes");
}

// Refusals

std::string NestedLists(int depth) {
    std::string json = IntegerAttribute(1, 1);
    for (int i = 0; i < depth; ++i) {
        json.insert(0, R"({"id": {"feature": 1}, "value": {"list": {"type": 0, "items": [)");
        json += "]}}}";
    }
    return json;
}

std::string DocumentOfValue(const std::string& value) {
    return Document(R"({"id": {"feature": 1}, "value": )" + value + "}");
}

std::string DocumentOfId(const std::string& id) {
    return Document(R"({"id": )" + id + R"(, "value": {"integer": 1}})");
}

const std::string oneKind = "must have exactly one member, which names its kind, and has ";
const std::string wholeLong = "must be a whole number from -2147483648 to 2147483647";
const std::string fourNumbers = "must be four numbers from 0 to 65535, like \"1.2.3.4\"";

const struct {
    std::string json;
    std::string path;
    std::string problem;
} wrongDocuments[] = {
    {"[]", "the document", "must be an object"},
    {"{}", "the document", "\"namespaces\" is missing"},
    {R"({"namespaces": {}, "more": 1})", "more", "is not known here"},
    {R"({"namespaces": {"01": []}})", "namespaces.01", "is not named by a number"},
    {R"({"namespaces": {"2147483648": []}})", "namespaces.2147483648", "is not named by a number"},
    {R"({"namespaces": {"1": {}}})", "namespaces.1", "must be an array"},
    {R"({"namespaces": {"1": [], "2": [], "1": []}})", "namespaces.1", "comes twice"},
    {R"({"driverVersion": 1, "namespaces": {}})", "driverVersion", "must be a string"},
    {R"({"driverVersion": "1.2.3", "namespaces": {}})", "driverVersion", fourNumbers},
    {R"({"driverVersion": "1.2.3.65536", "namespaces": {}})", "driverVersion", fourNumbers},
    {R"({"driverVersion": "1.2.3.4.5", "namespaces": {}})", "driverVersion", fourNumbers},
    {Document("null"), "namespaces.1[0]", "must be an object"},
    {Document(R"({"value": {"integer": 1}})"), "namespaces.1[0]", "\"id\" is missing"},
    {Document(R"({"id": {"feature": 1}})"), "namespaces.1[0]", "\"value\" is missing"},
    {Document(NestedLists(0) + R"(, {"id": {"feature": 1}, "value": {"integer": 1}, "note": ""})"),
     "namespaces.1[1].note", "is not known here"},
    {Document(R"({"id": {"feature": 1}, "value": {"integer": 1}, "unspecified": 1})"),
     "namespaces.1[0].unspecified", "must be true or false"},
    {Document(NestedLists(0) + R"(, {"id": {"feature": 1, "feature": 2}, "value": {"integer": 1}})"),
     "namespaces.1[1].id.feature", "comes twice"},
    {DocumentOfId("{}"), "namespaces.1[0].id", oneKind + "0"},
    {DocumentOfId(R"({"feature": 1, "value": 2})"), "namespaces.1[0].id", oneKind + "2"},
    {DocumentOfId(R"({"features": 1})"), "namespaces.1[0].id.features", "is not known here"},
    {DocumentOfId(R"({"feature": 2147483648})"), "namespaces.1[0].id.feature", wholeLong},
    {DocumentOfId(R"({"feature": "1"})"), "namespaces.1[0].id.feature", wholeLong},
    {DocumentOfId(R"({"capability": {"feature": 1, "type": 32768}})"), "namespaces.1[0].id.capability.type",
     "must be a whole number from -32768 to 32767"},
    {DocumentOfId(R"({"newCapability": {"type": 1}})"), "namespaces.1[0].id.newCapability",
     "\"feature\" is missing"},
    {DocumentOfValue(R"({"integer": 1.0})"), "namespaces.1[0].value.integer", wholeLong},
    {DocumentOfValue(R"({"integer": -2147483649})"), "namespaces.1[0].value.integer", wholeLong},
    {DocumentOfValue(R"({"integer": 18446744073709551616})"), "namespaces.1[0].value.integer", wholeLong},
    {DocumentOfValue(R"({"dateTime": 9223372036854775808})"), "namespaces.1[0].value.dateTime",
     "must be a whole number from -9223372036854775808 to 9223372036854775807"},
    {DocumentOfValue("{\"string\": \"" + std::string(32768, 'x') + "\"}"), "namespaces.1[0].value.string",
     "has 32,768 UTF-16 code units, more than 32,767"},
    {DocumentOfValue(R"({"range": 1})"), "namespaces.1[0].value.range", "must be an array"},
    {DocumentOfValue(R"({"range": [1, 2, 3]})"), "namespaces.1[0].value.range",
     "must have two numbers, the low and the high one"},
    {DocumentOfValue(R"({"dimensionRange": [1, 2.5]})"), "namespaces.1[0].value.dimensionRange[1]",
     wholeLong},
    {DocumentOfValue(R"({"resolution": {"crossFeed": 1, "feed": 1}})"), "namespaces.1[0].value.resolution",
     "\"units\" is missing"},
    {DocumentOfValue(R"({"blob": "ABC"})"), "namespaces.1[0].value.blob",
     "must have an even number of hexadecimal digits"},
    {DocumentOfValue(R"({"blob": "A:"})"), "namespaces.1[0].value.blob", "must have hexadecimal digits only"},
    {DocumentOfValue(R"({"option": {"option": 1}})"), "namespaces.1[0].value.option.option",
     "is not known here"},
    {DocumentOfValue(R"({"list": {"type": 256, "items": []}})"), "namespaces.1[0].value.list.type",
     "must be a whole number from 0 to 255"},
    {DocumentOfValue(R"({"list": {"type": 0, "items": [{"id": {"item": 0}, "value": {}}]}})"),
     "namespaces.1[0].value.list.items[0].value", oneKind + "0"},
};

TEST(State, IsRefusedOfAWrongShapeWithThePathOfTheMember) {
    for (const auto& wrong : wrongDocuments) {
        const ToolResult result = RunLine("state build -", wrong.json);
        ExpectRefused(
            result, " ExceptionInvalidArgument: standard input: " + wrong.path + ": " + wrong.problem + '\n');
        EXPECT_TRUE(result.error.starts_with("nvutil: 073:000:")) << result.error;
    }
}

TEST(State, IsRefusedInOneLineOfWhatIsNotJson) {
    const std::string texts[] = {"",
                                 "{",
                                 Document("") + "x",
                                 Document("1e999"),
                                 "{\"namespaces\": {\"\xFF\": []}}",
                                 R"({"namespaces": {"\ud80": []}})",
                                 R"({"namespaces": {"\)",
                                 "\"" + std::string(100000, '\\'),
                                 std::string(100000, '['),
                                 "{\"namespaces\": \"" + std::string(100000, 'x') + "\n\"}"};
    for (const std::string& text : texts) {
        const ToolResult result = RunLine("state build -", text);
        EXPECT_EQ(result.status, 1) << text.substr(0, 50);
        EXPECT_LT(result.error.size(), 500u);
        EXPECT_EQ(result.error.find('\n'), result.error.size() - 1) << result.error;
    }
}

TEST(State, IsReadFromJsonInLinearTime) {
    EXPECT_TRUE(GrowsLinearly(2000, [](int count) {
        std::string items = IntegerAttribute(0, 1);
        for (int i = 1; i < count; ++i)
            items += ',' + IntegerAttribute(i, 1);
        EXPECT_EQ(RunLine("state build -", Document(items)).status, 0);
    }));
}

TEST(State, HasListsAHundredDeepAndNoDeeper) {
    const std::string deepest = Build(Document(NestedLists(100)));
    EXPECT_EQ(RunLine("state show --bytes -", deepest).status, 0);
    EXPECT_EQ(Build(RunLine("state show --json -", deepest).out), deepest);
    ExpectRefused(RunLine("state build -", Document(NestedLists(101))),
                  ".value.list: lists are nested more than 100 levels deep\n");

    AttributeBytesRawList list;
    for (int i = 0; i < 2000; ++i) {
        AttributeBytesRawList outer;
        outer.AddAttributeBytes(AttributeBytes(AttributeBytesFeatureId(1), AttributeBytesListValue(0, list)));
        list = outer;
    }
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.SetNameSpaceAttributes(AttributeBytesNameSpacesId(1), list);
    const std::string deeper = TextOf(PersistentAttributes(nameSpaces).GetPersistentAttributesState());
    ExpectResult(RunLine("state verify -", deeper), 0, "*, 1 namespace, 2,000 attributes\n", "");
    for (const char* const line : {"state show -", "state show - --json", "state show - --bytes"})
        ExpectResult(RunLine(line, deeper), 1, "*", "*nested more than 100 levels deep");
}

// Damage

/// Reads a state in every way. They must agree on whether it is good, and a good one must survive JSON.
int ReadInEveryWay(const std::string& state) {
    const int status = RunLine("state verify -", state).status;
    for (const char* const line : {"state show -", "state show --json -", "state show --bytes -"})
        ExpectResult(RunLine(line, state), status, "*", status == 1 ? "*nvutil: 0" : "*");
    if (status != 0) return status;
    const std::string json = RunLine("state show --json -", state).out;
    EXPECT_EQ(RunLine("state show --json -", Build(json)).out, json);
    return status;
}

TEST(DamagedState, IsRefusedWhenItIsCut) {
    const std::string state = Build(SmallDocument());
    for (std::size_t length = 0; length < state.size(); ++length)
        EXPECT_EQ(ReadInEveryWay(state.substr(0, length)), 1) << length;
    const ByteBuffer inside = Expand(state);
    for (std::size_t length = 0; length < inside.size(); ++length)
        ReportAndCheckCoverage({inside.begin(), inside.begin() + static_cast<std::ptrdiff_t>(length)});
}

TEST(DamagedState, MayHaveAnyBitWrong) {
    const std::string state = Build(SmallDocument());
    ForEachWrongBit(state, ReadInEveryWay);
    ForEachWrongBit(Expand(state), [](const ByteBuffer& damaged) {
        ReadInEveryWay(Persist(damaged));
        ReportAndCheckCoverage(damaged);
    });
}

TEST(DamagedState, ShowsThePlaceOfTheDamage) {
    ByteBuffer damaged = Expand(Build(Document(IntegerAttribute(9, 5))));
    damaged[0x29] = 0x0D;  // the kind of the value
    ExpectResult(RunLine("state show --bytes -", Persist(damaged)), 1,
                 "*000029  0D                         value kind           UNKNOWN!\n"
                 "00002A  00                         unspecified flag     specified\n"
                 "00002B  05 00 00 00              unread               not readable from here on\n",
                 "*026:000:");
}

TEST(DamagedState, IsRefusedWhateverItClaims) {
    const std::string before =
        "41 42 4E 53 00 00 00 00 00 00 00 00 41 42 49 4C 41 42 52 4C ";  // up to the list
    const std::string nameSpace = "09 01 00 00 00 0B 00 00 ";
    const std::string empty = nameSpace + "04 00 00 00 41 42 52 4C ";
    const std::pair<const char*, std::string> states[] = {
        {"a list of 4 GiB", nameSpace + "FF FF FF FF 41 42 52 4C"},
        {"a list of 2 GiB", nameSpace + "FF FF FF 7F 41 42 52 4C"},
        {"a blob of 4 GiB", nameSpace + "0F 00 00 00 41 42 52 4C 02 00 00 00 00 0A 00 FF FF FF FF"},
        {"a text of a negative length", nameSpace + "0D 00 00 00 41 42 52 4C 02 00 00 00 00 04 00 FF FF"},
        {"a namespace that is a number", "09 01 00 00 00 03 00 01 00 00 00"},
        {"a namespace with the identifier of a feature", "02" + empty.substr(2)},
        {"a namespace that comes twice", empty + empty},
    };
    for (const auto& [what, bytes] : states) {
        SCOPED_TRACE(what);
        EXPECT_EQ(ReadInEveryWay(Persist(Bytes(before + bytes))), 1);
        ReportAndCheckCoverage(Bytes(before + bytes));
    }
    std::string state = Build(SmallDocument());
    state.replace(state.size() - 8, 4, "\x7F\xFF\xFF\xFF");  // the size in the footer
    EXPECT_EQ(ReadInEveryWay(state), 1);
}

// Comparing and checking files

TEST(StateFiles, HaveOneVerdictEach) {
    const ToolFolder folder;
    const std::string state = Build(SmallDocument());
    const std::string good = folder.Write("good", state);
    const std::string bad = folder.Write("bad", state.substr(1));
    const ToolResult result = Nvutil({"state", "verify", good, bad, good});
    EXPECT_EQ(result.status, 1);
    const std::string verdict = "ok       " + good + ": " + std::to_string(state.size()) +
                                " bytes, version 1.2.3.4, 1 namespace, 7 attributes\n";
    EXPECT_TRUE(result.out.starts_with(verdict + "refused  " + bad + ": 031:000:0527 Exception"))
        << result.out;
    EXPECT_TRUE(result.out.ends_with('\n' + verdict)) << result.out;
    ExpectResult(Nvutil({"state", "verify", good, good}), 0, verdict + verdict, "");
}

class StateDiff : public testing::Test {
protected:
    ToolResult Diff(const std::string& before, const std::string& after, const char* option = "") const {
        return RunLine("state diff " + folder.Write("before", before) + ' ' + folder.Write("after", after) +
                       option);
    }

    ToolFolder folder;
};

TEST_F(StateDiff, TellsWhatChanged) {
    const std::string one = R"({"id": {"feature": 1}, "value": )";
    const std::string path = "~ namespace 1 / feature 1: ";
    const struct {
        std::string before;  ///< Attributes.
        std::string after;
        std::string printed;
    } differences[] = {
        {IntegerAttribute(1, 1), IntegerAttribute(1, 1), "no differences\n"},
        {IntegerAttribute(1, 1), one + R"({"string": "1"}})",
         path + "integer 1 -> string \"1\"\n1 difference\n"},
        {one + R"({"boolean": true}})", one + R"({"boolean": true}, "unspecified": true})",
         path + "boolean true -> boolean true (unspecified)\n1 difference\n"},
        {R"({"id": {"value": 1}, "value": {"integer": 1}})", IntegerAttribute(1, 1),
         "- namespace 1 / value 1: integer 1\n+ namespace 1 / feature 1: integer 1\n2 differences\n"},
        {IntegerAttribute(1, 1) + ',' + IntegerAttribute(1, 2),
         IntegerAttribute(1, 1) + ',' + IntegerAttribute(1, 3),
         "~ namespace 1 / feature 1 #2: integer 2 -> integer 3\n1 difference\n"},
        {IntegerAttribute(1, 1) + ',' + IntegerAttribute(2, 2),
         IntegerAttribute(2, 2) + ',' + IntegerAttribute(1, 1),
         "~ namespace 1: the same attributes in another order\n1 difference\n"},
        {one + R"({"list": {"type": 0, "items": [{"id": {"item": 0}, "value": {"range": [1, 2]}}]}}})",
         one + R"({"list": {"type": 0, "items": [{"id": {"item": 0}, "value": {"range": [1, 3]}}]}}})",
         "~ namespace 1 / feature 1 / item 0: range 1 to 2 -> range 1 to 3\n1 difference\n"},
        {one + R"({"list": {"type": 0, "items": []}}})", one + R"({"list": {"type": 1, "items": []}}})",
         path + "list of type 0, 0 items -> list of type 1, 0 items\n1 difference\n"},
        // The library takes these for equal: times with the same low half.
        {one + R"({"dateTime": 0}})", one + R"({"dateTime": 4294967296}})",
         path + "date-time 1970-01-01T00:00:00Z -> date-time 2106-02-07T06:28:16Z\n1 difference\n"},
        {one + R"({"blob": "000102030405060708090A0B0C0D0E0F10"}})",
         one + R"({"blob": "000102030405060708090A0B0C0D0E0F11"}})",
         path + "data blob 17 bytes: 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F ... "
                "(other bytes behind these)\n1 difference\n"},
    };
    for (const auto& [before, after, printed] : differences) {
        ExpectResult(Diff(Build(Document(before)), Build(Document(after))), 0, printed, "");
        ExpectResult(Diff(Build(Document(before)), Build(Document(after)), " --exit-code"),
                     printed == "no differences\n" ? 0 : 3, printed, "");
    }
}

TEST_F(StateDiff, TellsOfVersionsAndNamespaces) {
    const std::string before = Build(R"({"driverVersion": "1.0.0.0", "namespaces": {"1": [], "2": []}})");
    ExpectResult(Diff(before, Build(R"({"driverVersion": "1.0.0.1", "namespaces": {"2": [], "3": []}})")), 0,
                 "~ driver version: 1.0.0.0 -> 1.0.0.1\n- namespace 1: 0 attributes\n"
                 "+ namespace 3: 0 attributes\n3 differences\n",
                 "");
    ExpectRefused(Diff(before, "x"), folder / "after");

    // Not what this library writes: such states are sound, and the difference must not go unseen.
    const std::string head = "41 42 4E 53 09 00 08 00 07 00 06 00 41 42 49 4C 41 42 52 4C 09 04 00 00 00 0B ";
    const std::string usual = Persist(Bytes(head + "00 00 04 00 00 00 41 42 52 4C"));
    const std::string odd = Persist(Bytes(head + "01 07 04 00 00 00 41 42 52 4C"));
    EXPECT_EQ(Diff(usual, odd).out,
              "~ namespace 4: 0 attributes -> 0 attributes, list type 7  (unspecified)\n1 difference\n");
    EXPECT_TRUE(Fits(RunLine("state show -", odd).out, "*list type 7"));
    EXPECT_TRUE(Fits(RunLine("state show --json -", odd).error, "*has other bytes"));
}

}  // namespace
