// Tests of the commands: what they print, what they write and how they end.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "nvutil/progress.h"
#include "support/bytes.h"
#include "support/temporaryfolder.h"
#include "tools/toolruns.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/persistentattributes.h"

namespace {

namespace fs = std::filesystem;

class Commands : public testing::Test {
protected:
    /// The name of a file in the test's folder, in UTF-8.
    std::string In(std::u8string_view name) const { return m_folder.NameOf(name); }
    static fs::path PathOf(const std::string& name) { return {std::u8string(name.begin(), name.end())}; }
    static void WriteFile(const std::string& name, const std::string& content) {
        WriteWholeFile(PathOf(name), content);
    }
    static std::string ReadFile(const std::string& name) { return ReadWholeFile(PathOf(name)); }

    TemporaryFolder m_folder;
};

TEST_F(Commands, FilesHaveNamesOfAnyLanguage) {
    const std::string input = In(u8"Einstellungen für 東京.json");
    const std::string output = In(u8"настройки 😀.state");
    WriteFile(input, SmallDocument());
    EXPECT_EQ(Nvutil({"state", "build", input, "-o", output}).error, "");
    EXPECT_EQ(ReadFile(output), Build(SmallDocument()));
    EXPECT_EQ(Nvutil({"state", "verify", output}).status, 0);
    EXPECT_EQ(m_folder.CountEntries(), 2);  // no temporary file is left
}

TEST_F(Commands, AnOutputIsReplacedWholeOrLeftAlone) {
    const std::string output = In(u8"out");
    WriteFile(output, "what was there before, and longer than what follows");
    EXPECT_EQ(Nvutil({"buffer", "unpack", "-", "-o", output}, "damaged").status, 1);
    EXPECT_EQ(Nvutil({"state", "build", "-", "-o", output}, "{}").status, 1);
    EXPECT_EQ(ReadFile(output), "what was there before, and longer than what follows");
    const std::string packed = Nvutil({"buffer", "pack", "-"}, "data").out;
    EXPECT_EQ(Nvutil({"buffer", "unpack", "-", "-o", output}, packed).status, 0);
    EXPECT_EQ(ReadFile(output), "data");
    EXPECT_EQ(m_folder.CountEntries(), 1);
}

TEST_F(Commands, FilesThatCannotBeUsedAreRefusedByTheirClass) {
    const std::string state = In(u8"a.state");
    WriteFile(state, Build(SmallDocument()));
    const ToolResult missing = Nvutil({"state", "show", In(u8"missing")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.error.find(" ExceptionCreateFileForReading: "), std::string::npos) << missing.error;
    const ToolResult nowhere = Nvutil({"buffer", "pack", state, "-o", In(u8"no/such/folder")});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_NE(nowhere.error.find(" ExceptionCreateFileForWriting: "), std::string::npos) << nowhere.error;
    EXPECT_EQ(Nvutil({"state", "show", In(u8".")}).status, 1);
    EXPECT_EQ(Nvutil({"buffer", "pack", state, "-o", In(u8".")}).status, 1);
}

TEST_F(Commands, OutputThatCannotBePrintedIsAFailure) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"exceptions"}, {"buffer", "pack", "-"}, {"convert", "1", "in", "mm"}}) {
        std::istringstream in;
        std::ostringstream error;
        std::ostream full(nullptr);
        EXPECT_EQ(RunTool(arguments, in, full, error), 1) << arguments[0];
        EXPECT_NE(error.str().find(" ExceptionWriteFile: standard output: "), std::string::npos)
            << error.str();
    }
}

TEST_F(Commands, IntegrityValuesOfEveryFileThatCanBeRead) {
    const std::string digits = In(u8"digits");
    const std::string large = In(u8"large");
    WriteFile(digits, "123456789");
    WriteFile(large, std::string(300000, 'x'));  // more than one piece
    const ToolResult crcs = Nvutil({"crc", digits, In(u8"missing"), large});
    EXPECT_EQ(crcs.status, 1);
    EXPECT_EQ(crcs.out, "CBF43926  " + digits + "\nB3C82ACD  " + large + '\n');
    EXPECT_NE(crcs.error.find(" ExceptionCreateFileForReading: "), std::string::npos) << crcs.error;
    const struct {
        std::vector<std::string> arguments;
        const char* input;
        const char* printed;
    } cases[] = {
        {{"crc", "-"}, "", "00000000  -\n"},           {{"hash", "-"}, "", "00000000  -\n"},
        {{"hash", "-"}, "123456789", "CD8C97CF  -\n"}, {{"hash", "--16", "-"}, "123456789", "655B  -\n"},
        {{"checksum", "-"}, "\x01\x02", "FDFC  -\n"},  {{"checksum", "-"}, "\x01", "FFFD  -\n"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Nvutil(c.arguments, c.input).out, c.printed) << c.arguments[0] << ' ' << c.input;
}

TEST_F(Commands, SealedFilesComeBackWholeOrNotAtAll) {
    const std::string sealed = In(u8"sealed");
    const std::string plain = In(u8"plain");
    const std::string secret("se\0cret\r\n", 9);
    EXPECT_EQ(Nvutil({"seal", "-", "-o", sealed}, secret).error, "");
    EXPECT_EQ(ReadFile(sealed).find("cret"), std::string::npos);
    EXPECT_EQ(Nvutil({"unseal", sealed}).out, secret);
    EXPECT_EQ(Nvutil({"unseal", "-", "--hex"}, ReadFile(sealed)).out, "736500637265740D0A\n");
    WriteFile(plain, "kept");
    const ToolResult cut = Nvutil({"unseal", "-", "-o", plain}, ReadFile(sealed).substr(1));
    EXPECT_EQ(cut.status, 1);
    EXPECT_EQ(cut.error.find("nvutil: 054:000:"), 0u) << cut.error;
    EXPECT_NE(cut.error.find(" ExceptionDataEncrypterFailure: "), std::string::npos) << cut.error;
    EXPECT_EQ(ReadFile(plain), "kept");
}

TEST_F(Commands, ObscuredTextCanBeGivenBack) {
    EXPECT_EQ(Nvutil({"obscure", "Ab"}).out, "\"\u5541\u6640\"\n");
    EXPECT_EQ(Nvutil({"obscure", "--quoted", "\"\\u5541\u6640\""}).out, "\"Ab\"\n");
    for (const std::string text : {"-5", "-.5"}) {
        std::string obscured = Nvutil({"obscure", text}).out;
        obscured.pop_back();
        EXPECT_EQ(Nvutil({"obscure", "--quoted", obscured}).out, '"' + text + "\"\n");
    }
    std::string literal = Nvutil({"obscure", "a text of more than sixteen characters \"1\""}).out;
    literal.pop_back();  // the line's end
    EXPECT_EQ(Nvutil({"obscure", "--quoted", literal}).out,
              "\"a text of more than sixteen characters \\\"1\\\"\"\n");
    for (const char* const noLiteral : {"Ab", "\"Ab", "12", "[\"Ab\"]", ""})
        EXPECT_EQ(Nvutil({"obscure", "--quoted", noLiteral}).status, 1) << noLiteral;
}

TEST_F(Commands, TheBarOfALargeFileFills) {
    EXPECT_EQ(BarText(0, "a"), "[                    ]   0% a");
    EXPECT_EQ(BarText(44, "a"), "[########            ]  44% a");
    EXPECT_EQ(BarText(100, "a"), "[####################] 100% a");
}

TEST_F(Commands, VerifyGivesOneVerdictAFile) {
    const std::string good = In(u8"good");
    const std::string bad = In(u8"bad");
    const std::string state = Build(SmallDocument());
    WriteFile(good, state);
    WriteFile(bad, state.substr(1));
    const ToolResult result = Nvutil({"state", "verify", good, bad, good});
    EXPECT_EQ(result.status, 1);
    const std::string verdict = "ok       " + good + ": " + std::to_string(state.size()) +
                                " bytes, version 1.2.3.4, 1 namespace, 7 attributes\n";
    EXPECT_TRUE(result.out.starts_with(verdict + "refused  " + bad + ": 031:000:0527 Exception"))
        << result.out;
    EXPECT_TRUE(result.out.ends_with('\n' + verdict)) << result.out;
    EXPECT_EQ(Nvutil({"state", "verify", good, good}).status, 0);
}

struct Difference {
    const char* before;  ///< Attributes.
    const char* after;
    const char* printed;
};

constexpr Difference differences[] = {
    {R"({"id": {"feature": 1}, "value": {"integer": 1}})",
     R"({"id": {"feature": 1}, "value": {"integer": 1}})", "no differences\n"},
    {R"({"id": {"feature": 1}, "value": {"integer": 1}})",
     R"({"id": {"feature": 1}, "value": {"string": "1"}})",
     "~ namespace 1 / feature 1: integer 1 -> string \"1\"\n1 difference\n"},
    {R"({"id": {"feature": 1}, "value": {"boolean": true}})",
     R"({"id": {"feature": 1}, "value": {"boolean": true}, "unspecified": true})",
     "~ namespace 1 / feature 1: boolean true -> boolean true (unspecified)\n1 difference\n"},
    {R"({"id": {"value": 1}, "value": {"integer": 1}})", R"({"id": {"feature": 1}, "value": {"integer": 1}})",
     "- namespace 1 / value 1: integer 1\n+ namespace 1 / feature 1: integer 1\n2 differences\n"},
    {R"({"id": {"feature": 1}, "value": {"integer": 1}}, {"id": {"feature": 1}, "value": {"integer": 2}})",
     R"({"id": {"feature": 1}, "value": {"integer": 1}}, {"id": {"feature": 1}, "value": {"integer": 3}})",
     "~ namespace 1 / feature 1 #2: integer 2 -> integer 3\n1 difference\n"},
    {R"({"id": {"feature": 1}, "value": {"integer": 1}}, {"id": {"feature": 2}, "value": {"integer": 2}})",
     R"({"id": {"feature": 2}, "value": {"integer": 2}}, {"id": {"feature": 1}, "value": {"integer": 1}})",
     "~ namespace 1: the same attributes in another order\n1 difference\n"},
    {R"({"id": {"feature": 1}, "value": {"list": {"type": 0, "items": [{"id": {"item": 0}, "value": {"range": [1, 2]}}]}}})",
     R"({"id": {"feature": 1}, "value": {"list": {"type": 0, "items": [{"id": {"item": 0}, "value": {"range": [1, 3]}}]}}})",
     "~ namespace 1 / feature 1 / item 0: range 1 to 2 -> range 1 to 3\n1 difference\n"},
    {R"({"id": {"feature": 1}, "value": {"list": {"type": 0, "items": []}}})",
     R"({"id": {"feature": 1}, "value": {"list": {"type": 1, "items": []}}})",
     "~ namespace 1 / feature 1: list of type 0, 0 items -> list of type 1, 0 items\n1 difference\n"},
    // The library takes these for equal: times with the same low half, lengths of many metres.
    {R"({"id": {"feature": 1}, "value": {"dateTime": 0}})",
     R"({"id": {"feature": 1}, "value": {"dateTime": 4294967296}})",
     "~ namespace 1 / feature 1: date-time 1970-01-01T00:00:00Z -> date-time 2106-02-07T06:28:16Z\n1 "
     "difference\n"},
    {R"({"id": {"feature": 1}, "value": {"blob": "000102030405060708090A0B0C0D0E0F10"}})",
     R"({"id": {"feature": 1}, "value": {"blob": "000102030405060708090A0B0C0D0E0F11"}})",
     "~ namespace 1 / feature 1: data blob 17 bytes: 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F ... "
     "(other "
     "bytes behind these)\n1 difference\n"},
};

TEST_F(Commands, DiffTellsWhatChanged) {
    const std::string before = In(u8"before");
    const std::string after = In(u8"after");
    for (const Difference& difference : differences) {
        WriteFile(before, Build(Document(difference.before)));
        WriteFile(after, Build(Document(difference.after)));
        const ToolResult result = Nvutil({"state", "diff", before, after});
        EXPECT_EQ(result.out, difference.printed);
        EXPECT_EQ(result.status, 0);
        const bool areSame = result.out == "no differences\n";
        EXPECT_EQ(Nvutil({"state", "diff", "--exit-code", before, after}).status, areSame ? 0 : 3);
    }
}

TEST_F(Commands, DiffTellsOfVersionsAndNamespaces) {
    const std::string before = In(u8"before");
    const std::string after = In(u8"after");
    WriteFile(before, Build(R"({"driverVersion": "1.0.0.0", "namespaces": {"1": [], "2": []}})"));
    WriteFile(after, Build(R"({"driverVersion": "1.0.0.1", "namespaces": {"2": [], "3": []}})"));
    EXPECT_EQ(
        Nvutil({"state", "diff", before, after}).out,
        "~ driver version: 1.0.0.0 -> 1.0.0.1\n- namespace 1: 0 attributes\n+ namespace 3: 0 attributes\n"
        "3 differences\n");
    WriteFile(after, "x");
    const ToolResult refused = Nvutil({"state", "diff", before, after});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.error.find(after), std::string::npos) << "the file at fault is named";
}

// Not what this library writes: such states are sound, and the difference must not go unseen.
TEST_F(Commands, ListTypesAndFlagsOfNamespacesAreSeen) {
    const auto stateWith = [](BYTE listType, bool isSpecified) {
        AttributeBytesListValue list(listType, AttributeBytesRawList());
        list.SetIsSpecified(isSpecified);
        AttributeBytesIndexedList entries;
        entries.AddAttributeBytes(AttributeBytes(AttributeBytesNameSpacesId(4), list));
        ByteBuffer bytes = Bytes("41 42 4E 53");  // "ABNS"
        bytes.append(DriverVersion(9, 8, 7, 6).GetVersionAsByteBuffer());
        entries.AppendAttributeBytesIndexedListState(bytes);
        PersistentAttributes::PersistentAttributesHeaderType header;
        PersistentAttributes::InitializeHeaderStructure(header);
        ByteBuffer state;
        PersistentAttributes::CreateStateDataFromComponents(header, bytes, state);
        return std::string(state.begin(), state.end());
    };
    const std::string before = In(u8"before");
    const std::string after = In(u8"after");
    WriteFile(before, stateWith(0, true));
    WriteFile(after, stateWith(7, false));
    EXPECT_EQ(Nvutil({"state", "diff", before, after}).out,
              "~ namespace 4: 0 attributes -> 0 attributes, list type 7  (unspecified)\n1 difference\n");
    EXPECT_NE(Nvutil({"state", "show", after}).out.find("list type 7"), std::string::npos);
    EXPECT_NE(Nvutil({"state", "show", "--json", after}).error.find("has other bytes"), std::string::npos);
}

TEST_F(Commands, ShowTellsOfTwoVersions) {
    std::string state = Build(R"({"driverVersion": "1.2.3.4", "namespaces": {}})");
    EXPECT_EQ(Nvutil({"state", "show", "-"}, state).out, "State             " + std::to_string(state.size()) +
                                                             " bytes, 20 bytes uncompressed\n"
                                                             "Format version    0x20070001\n"
                                                             "Driver version    1.2.3.4\n"
                                                             "Namespaces        0\n");
    state[8] = 5;
    EXPECT_NE(Nvutil({"state", "show", "-"}, state).out.find("5.2.3.4 in the header\n"), std::string::npos);
}

// Buffers

TEST_F(Commands, BuffersKeepTheirBytes) {
    for (const std::string& data :
         {std::string(), std::string("x"), std::string(100000, '\0'), SmallDocument()}) {
        const std::string packed = Nvutil({"buffer", "pack", "-"}, data).out;
        EXPECT_EQ(Nvutil({"buffer", "unpack", "-"}, packed).out, data);
        EXPECT_EQ(Nvutil({"buffer", "info", "-"}, packed).status, 0);
    }
    EXPECT_EQ(Nvutil({"buffer", "pack", "--hex", "-"}, "").out, "02FFFFFFFF00000000434F4D35\n");
}

struct OldBuffer {
    const char* bytes;
    int status;
    const char* printed;   ///< By unpack --hex.
    const char* error;     ///< A part of it.
    const char* infoLine;  ///< A line of info.
};

constexpr OldBuffer oldBuffers[] = {
    {"78 01 01 03 00 FC FF 61 62 63 02 4D 01 27 00 00 00 06 00 00 00 03 43 4F 4D 34", 0, "616263\n", "",
     "Footer            COM4, 12 bytes\nFormat            1 (zlib)\nSetting           6\nOriginal size     3 "
     "bytes\n"},
    {"78 01 01 03 00 FC FF 61 62 63 02 4D 01 27 00 00 00 03 43 4F 4D 50", 1, "", "032:000:",
     "Footer            COMP, 8 bytes\nFormat            not stored\nSetting           not stored\n"},
    {"00 00 00 00 00 00 00 00 43 4F 4D 35", 1, "", "032:000:", "State             12 bytes\n"},
    {"03 FF FF FF FF 00 00 00 00 43 4F 4D 35", 1, "", "032:000:", "Format            3 (unknown)\n"},
    {"02 FF FF FF FF 7F FF FF FF 43 4F 4D 35", 1, "", "034:000:", "Original size     2,147,483,647 bytes\n"},
    {"43 4F 4D 35", 1, "", "033:000:", ""},
};

TEST_F(Commands, OldAndForeignBuffersAreReadOrRefused) {
    for (const OldBuffer& buffer : oldBuffers) {
        const std::string state = TextOf(Bytes(buffer.bytes));
        const ToolResult unpacked = Nvutil({"buffer", "unpack", "--hex", "-"}, state);
        EXPECT_EQ(unpacked.status, buffer.status) << buffer.bytes;
        EXPECT_EQ(unpacked.out, buffer.printed) << buffer.bytes;
        EXPECT_NE(unpacked.error.find(buffer.error), std::string::npos) << unpacked.error;
        const ToolResult info = Nvutil({"buffer", "info", "-"}, state);
        EXPECT_EQ(info.status, buffer.status) << buffer.bytes;
        EXPECT_NE(info.out.find(buffer.infoLine), std::string::npos) << info.out;
    }
}

TEST_F(Commands, InfoOfADamagedBufferTellsWhatItCan) {
    const std::string packed = Nvutil({"buffer", "pack", "-"}, std::string(40000, 'x')).out;
    const ToolResult sound = Nvutil({"buffer", "info", "-"}, packed);
    for (const char* line :
         {"Set               12345, cabinet ", "Folder 0          MSZIP, 2 blocks from offset 82\n",
          "File 0            \"//Uncompressed-Data//\", 40,000 bytes at offset 0 of folder 0",
          ", 32,768 bytes in ", ", 7,232 bytes in "}) {
        EXPECT_NE(sound.out.find(line), std::string::npos) << line << '\n' << sound.out;
    }
    for (const auto& [attributes, name] : {std::pair('\0', "\xB2"), {'\x80', "\xC2\xB2"}}) {
        std::string renamed = packed;
        renamed[58] = attributes;
        renamed.replace(60, 2, name + std::string(attributes == 0 ? "/" : ""));
        EXPECT_NE(Nvutil({"buffer", "info", "-"}, renamed).out.find("\"\xC2\xB2"), std::string::npos);
    }
    // Two folders that name the same two blocks.
    std::string shared = packed;
    shared[26] = 2;
    shared.insert(44, shared.substr(36, 8));
    shared[36] = shared[44] = static_cast<char>(82 + 8);
    shared[16] = static_cast<char>(44 + 8);
    const std::string once = Nvutil({"buffer", "info", "-"}, shared).out;
    EXPECT_NE(once.find("Block 0           at offset 90, which is another folder's\n"), std::string::npos)
        << once;
    for (std::size_t bit = 0; bit < packed.size() * 8; ++bit) {
        std::string damaged = packed;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
        const ToolResult info = Nvutil({"buffer", "info", "-"}, damaged);
        EXPECT_EQ(info.status, Nvutil({"buffer", "unpack", "-"}, damaged).status) << bit << info.error;
    }
}

// The rest

struct Usage {
    std::vector<std::string> arguments;
    int status;
    const char* printed;
};

TEST_F(Commands, LengthsAreConverted) {
    const Usage usages[] = {
        {{"convert", "8.5", "inches", "mm"}, 0, "215.9 mm\n"},
        {{"convert", "1", "in", "1000ths-mm"}, 0, "25400 1000ths-mm\n"},
        {{"convert", "-72", "pt", "inch"}, 0, "-1 in\n"},
        {{"convert", "-.5", "in", "mm"}, 0, "-12.7 mm\n"},
        {{"convert", "1", "pt", "mm"}, 0, "0.352778 mm\n"},
        {{"convert", "1", "pt", "mm", "--decimals", "2"}, 0, "0.35 mm\n"},
        {{"convert", "1", "um", "um"}, 0, "1 1000ths-mm\n"},
        {{"convert", ".5", "10000ths-in", "100ths-pt"}, 0, "0.36 100ths-pt\n"},
        {{"convert", "1e308", "in", "1000ths-mm"}, 2, ""},
        {{"convert", "8,5", "in", "mm"}, 2, ""},
        {{"convert", "nan", "in", "mm"}, 2, ""},
        {{"convert", "1", "ft", "mm"}, 2, ""},
        {{"convert", "1", "in"}, 2, ""},
    };
    for (const Usage& usage : usages) {
        const ToolResult result = Nvutil(usage.arguments);
        EXPECT_EQ(result.status, usage.status) << usage.arguments[1] << result.error;
        EXPECT_EQ(result.out, usage.printed);
    }
}

TEST_F(Commands, WrongUsageHasAStatusOfItsOwn) {
    const std::vector<std::vector<std::string>> wrong = {{},
                                                         {"state"},
                                                         {"status"},
                                                         {"state", "show"},
                                                         {"state", "show", "--json", "--bytes", "x"},
                                                         {"state", "verify"},
                                                         {"state", "diff", "a"},
                                                         {"buffer", "pack", "a", "b"},
                                                         {"exceptions", "x"},
                                                         {"state", "show", "--jsn", "x"},
                                                         {"settings", "list", "--printer", "\xFF"},
                                                         {"settings", "list", "--printer", "\xED\xA0\x80"}};
    for (const auto& arguments : wrong) {
        const ToolResult result = Nvutil(arguments);
        EXPECT_EQ(result.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.error, "");
    }
    for (const std::vector<std::string>& help :
         {std::vector<std::string>{"--help"}, {"state", "build", "-h"}}) {
        EXPECT_EQ(Nvutil(help).status, 0);
        EXPECT_NE(Nvutil(help).out, "");
    }
}

TEST_F(Commands, VerboseDescribesTheException) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--verbose", "state", "show", "-"}, {"state", "show", "-", "--verbose"}}) {
        const std::string error = Nvutil(arguments, "short").error;
        EXPECT_TRUE(error.starts_with(
            "nvutil: 031:000:0527 ExceptionMissingOrBadPersistentAttributesFormat: standard "
            "input: missing or bad persistent attributes format\nObject of class "))
            << error;
    }
}

TEST_F(Commands, ExceptionsAreListedByTheirCodes) {
    const std::string out = Nvutil({"exceptions"}).out;
    EXPECT_TRUE(out.starts_with("001:000  ExceptionRegistryRequest\n")) << out;
    EXPECT_NE(out.find("\n071:000  NorvaComException\n072:000  ExceptionOutOfMemory\n"), std::string::npos)
        << out;
}

}  // namespace
