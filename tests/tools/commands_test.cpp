// Tests of the commands: what they print, what they write and how they end.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "nvutil/attributenames.h"
#include "nvutil/jsontext.h"
#include "nvutil/progress.h"
#include "nvutil/text.h"
#include "support/bytes.h"
#include "tools/tooltest.h"

namespace {

// Lines are parted as in Words, and a "*" stands in front of a part of what is printed.
const struct {
    const char* line;
    std::string input;
    int status;
    const char* out;
    const char* error;
} runs[] = {
    // Usage
    {"", "", 2, "", "*\n"},
    {"state", "", 2, "", "*\n"},
    {"status", "", 2, "", "*\n"},
    {"state show", "", 2, "", "*\n"},
    {"state show --json --bytes x", "", 2, "", "*excludes"},
    {"state show --jsn x", "", 2, "", "*--jsn"},
    {"state verify", "", 2, "", "*required"},
    {"state diff a", "", 2, "", "*required"},
    {"buffer pack a b", "", 2, "", "*not expected"},
    {"exceptions x", "", 2, "", "*not expected"},
    {"settings list --printer \xFF", "", 2, "", "nvutil: argument 4 is not valid UTF-8\n"},
    {"settings list --printer \xED\xA0\x80", "", 2, "", "*not valid UTF-8"},
    {"--help", "", 0, "*Exit status: 0 success", ""},
    {"state build -h", "", 0, "*IN.json", ""},
    // Refusals in full, and the list of their classes
    {"state show - --verbose", "short", 1, "",
     "*nvutil: 031:000:0527 ExceptionMissingOrBadPersistentAttributesFormat: standard input: missing or bad "
     "persistent attributes format\nObject of class "},
    {"--verbose state show -", "short", 1, "", "*\nObject of class "},
    {"exceptions", "", 0, "*001:000  ExceptionRegistryRequest\n", ""},
    {"exceptions", "", 0, "*\n071:000  NorvaComException\n072:000  ExceptionOutOfMemory\n", ""},
    // Lengths
    {"convert 8.5 inches mm", "", 0, "215.9 mm\n", ""},
    {"convert 1 in 1000ths-mm", "", 0, "25400 1000ths-mm\n", ""},
    {"convert -72 pt inch", "", 0, "-1 in\n", ""},
    {"convert -.5 in mm", "", 0, "-12.7 mm\n", ""},
    {"convert 1 pt mm", "", 0, "0.352778 mm\n", ""},
    {"convert 1 pt mm --decimals 2", "", 0, "0.35 mm\n", ""},
    {"convert 1 um um", "", 0, "1 1000ths-mm\n", ""},
    {"convert .5 10000ths-in 100ths-pt", "", 0, "0.36 100ths-pt\n", ""},
    {"convert 1e308 in 1000ths-mm", "", 2, "", "*is too long"},
    {"convert 8,5 in mm", "", 2, "", "*is not a number"},
    {"convert nan in mm", "", 2, "", "*is not a number"},
    {"convert 1 ft mm", "", 2, "", "*is no unit"},
    {"convert 1 in", "", 2, "", "*required"},
    // Integrity values
    {"crc -", "", 0, "00000000  -\n", ""},
    {"hash -", "", 0, "00000000  -\n", ""},
    {"hash -", "123456789", 0, "CD8C97CF  -\n", ""},
    {"hash --16 -", "123456789", 0, "655B  -\n", ""},
    {"checksum -", "\x01\x02", 0, "FDFC  -\n", ""},
    {"checksum -", "\x01", 0, "FFFD  -\n", ""},
    // Obscured text, which comes back by the same command
    {"obscure Ab", "", 0, "\"\u5541\u6640\"\n", ""},
    {"obscure --quoted '\"\\u5541\u6640\"'", "", 0, "\"Ab\"\n", ""},
    {"obscure --quoted Ab", "", 1, "", "*ExceptionInvalidArgument: the text is no JSON string literal"},
    {"obscure --quoted '\"Ab'", "", 1, "", "*is no JSON string literal"},
    {"obscure --quoted 12", "", 1, "", "*is no JSON string literal"},
    {"obscure --quoted '[\"Ab\"]'", "", 1, "", "*is no JSON string literal"},
    {"obscure --quoted ''", "", 1, "", "*is no JSON string literal"},
    // Base64
    {"base64 encode -", {"\0\xFF\r\n\x80", 5}, 0, "AP8NCoA=", ""},
    {"base64 encode - --no-padding", {"\0\xFF\r\n\x80", 5}, 0, "AP8NCoA", ""},
    {"base64 decode - --hex", " AP8N\r\nCoA=\r\n", 0, "00FF0D0A80\n", ""},
    {"base64 decode -", "QWI", 0, "Ab", ""},
    {"base64 encode -", std::string(58, '\0'), 0, "*AAAAAA\r\nAA==", ""},
    {"base64 encode - --no-line-breaks", std::string(58, '\0'), 0, "*AAAAAAAA==", ""},
    {"base64 encode -", "", 0, "", ""},
    {"base64 decode -", "", 0, "", ""},
    // Printer-language commands
    {"amp -1&esc;&OriginXY; --context=7,8,9,10 --hex", "", 0, "2D311B07000800\n", ""},
    {"amp \u00E4\u20AC", "", 0, "\xE4\x80", ""},
    {"amp x --context 1,2,3", "", 2, "", "*is four numbers"},
    {"amp x --context 1,2,3,4,", "", 2, "", "*is four numbers and no more"},
    {"amp x --context 1,2,3,2147483648", "", 2, "", "*is four 32-bit numbers"},
    {"amp x --context 1;2;3;4", "", 2, "", "*is four numbers"},
    // A buffer of nothing
    {"buffer pack --hex -", "", 0, "02FFFFFFFF00000000434F4D35\n", ""},
    // XML
    {"xml", "", 2, "", "*required"},
    {"xml show 'no such file.xml'", "", 1, "", "*ExceptionCreateFileForReading: no such file.xml: "},
    {"xml validate -", "", 1, "", "*PARSE_RESULTED_IN_EMPTY_DOM_DOCUMENT"},
    {"xml show -", "<a>\xFF</a>", 1, "", "*line 1 and column 4 (3 from start of file)"},
    {"xml show -", "<ticket job=\"17\">\n  <copies>2</copies>\n  <duplex/>\n</ticket>\n", 0,
     "<ticket job=\"17\">\n  <copies>\n    \"2\"\n  <duplex>\n", ""},
    {"xml show -", "<help>Press <key>OK</key>, then <key>Stop</key>.</help>", 0,
     "<help>\n  \"Press \"\n  <key>\n    \"OK\"\n  \", then \"\n  <key>\n    \"Stop\"\n  \".\"\n", ""},
    {"xml show -", "<!-- 1 --><r><!-- 2 --><?driver reset now?><![CDATA[a < b]]></r><!-- 3 -->", 0,
     "<r>\n  #comment \" 2 \"\n  driver \"reset now\"\n  #cdata-section \"a < b\"\n", ""},
    {"xml show -",
     "<!DOCTYPE l [\n<!ENTITY v \"A &amp; B\">\n]>\n<l by=\"&v;\" x:y='' xmlns:x='u'>&v; Inc.</l>", 0,
     "<l by=\"A & B\" x:y=\"\" xmlns:x=\"u\">\n  v\n  \" Inc.\"\n", ""},
    {"xml show -", "<t xml:space=\"preserve\" a=\"&quot;&lt;&#9;&#10;\">\n <l>&gt;&apos;\"\t</l>\n</t>", 0,
     "<t xml:space=\"preserve\" a=\"\\\"<\\t\\n\">\n  \"\\n \"\n  <l>\n    \">'\\\"\\t\"\n  \"\\n\"\n", ""},
    {"xml show -", "<?xml version=\"1.0\" encoding=\"windows-1252\"?><preis w\xE4hrung=\"\x80\">5</preis>", 0,
     "<preis währung=\"€\">\n  \"5\"\n", ""},
};

TEST(Commands, PrintAndEndAsTheyShould) {
    for (const auto& run : runs) {
        SCOPED_TRACE(run.line);
        ExpectResult(RunLine(run.line, run.input), run.status, run.out, run.error);
    }
    for (const std::string text : {"-5", "-.5", "a text of more than sixteen characters \"1\""}) {
        std::string literal = Nvutil({"obscure", text}).out;
        literal.pop_back();  // the line's end
        EXPECT_EQ(Nvutil({"obscure", "--quoted", literal}).out, QuotedText(text) + '\n');
    }
}

TEST(Commands, FilesHaveNamesOfAnyLanguage) {
    const ToolFolder folder;
    const std::string input = folder.Write("Einstellungen für 東京.json", SmallDocument());
    EXPECT_EQ(Nvutil({"state", "build", input, "-o", folder / "настройки 😀.state"}).error, "");
    EXPECT_EQ(folder.Read("настройки 😀.state"), Build(SmallDocument()));
    EXPECT_EQ(folder.Count(), 2) << "no temporary file is left";
}

TEST(Commands, AnOutputIsReplacedWholeOrLeftAlone) {
    const ToolFolder folder;
    const std::string former = "what was there before, and longer than what follows";
    const std::string output = folder.Write("out", former);
    EXPECT_EQ(RunLine("buffer unpack - -o " + output, "damaged").status, 1);
    EXPECT_EQ(RunLine("state build - -o " + output, "{}").status, 1);
    EXPECT_EQ(folder.Read("out"), former);
    EXPECT_EQ(RunLine("buffer unpack - -o " + output, RunLine("buffer pack -", "data").out).status, 0);
    EXPECT_EQ(folder.Read("out"), "data");
    EXPECT_EQ(folder.Count(), 1);

    ExpectRefused(RunLine("state show " + folder / "missing"), " ExceptionCreateFileForReading: ");
    ExpectRefused(RunLine("buffer pack - -o " + folder / "no/such/folder"),
                  " ExceptionCreateFileForWriting: ");
    ExpectRefused(RunLine("state show " + folder.GetPath()), "cannot be ");
    ExpectRefused(RunLine("buffer pack - -o " + folder.GetPath()), "cannot be ");
    for (const char* const line : {"exceptions", "buffer pack -", "convert 1 in mm"}) {
        std::istringstream in;
        std::ostringstream error;
        std::ostream full(nullptr);
        EXPECT_EQ(RunTool(Words(line), in, full, error), 1) << line;
        EXPECT_TRUE(Fits(error.str(), "* ExceptionWriteFile: standard output: ")) << error.str();
    }
}

TEST(Commands, FilesAreReadWhileOthersAreMissing) {
    const ToolFolder folder;
    const std::string digits = folder.Write("digits", "123456789");
    const std::string large = folder.Write("large", std::string(300000, 'x'));  // more than one piece
    ExpectResult(Nvutil({"crc", digits, folder / "missing", large}), 1,
                 "CBF43926  " + digits + "\nB3C82ACD  " + large + '\n', "* ExceptionCreateFileForReading: ");
    const std::string doctype = "<!DOCTYPE ticket SYSTEM \"ticket.dtd\">\n";
    folder.Write("ticket.dtd", "<!ELEMENT ticket (copies)><!ELEMENT copies (#PCDATA)>");
    const std::string good = folder.Write("good.xml", doctype + "<ticket><copies>1</copies></ticket>");
    const std::string bad = folder.Write("bad.xml", doctype + "<ticket><pages/></ticket>");
    EXPECT_EQ(RunLine("xml validate " + good).out, "ok       " + good + "\n");
    EXPECT_EQ(RunLine("xml show " + bad).out, "<ticket>\n  <pages>\n");
    ExpectRefused(RunLine("xml validate " + bad), "ERROR_REPORTED_DURING_PARSE\nMSXML Parse Error in '");
}

TEST(Commands, SealedFilesComeBackWholeOrNotAtAll) {
    const ToolFolder folder;
    const std::string secret("se\0cret\r\n", 9);
    EXPECT_EQ(RunLine("seal - -o " + folder / "sealed", secret).error, "");
    const std::string sealed = folder.Read("sealed");
    EXPECT_EQ(sealed.find("cret"), std::string::npos);
    EXPECT_EQ(RunLine("unseal " + folder / "sealed").out, secret);
    EXPECT_EQ(RunLine("unseal - --hex", sealed).out, "736500637265740D0A\n");
    const std::string kept = folder.Write("plain", "kept");
    const ToolResult cut = RunLine("unseal - -o " + kept, sealed.substr(1));
    ExpectRefused(cut, " ExceptionDataEncrypterFailure: ");
    EXPECT_TRUE(cut.error.starts_with("nvutil: 054:000:")) << cut.error;
    EXPECT_EQ(folder.Read("plain"), "kept");
}

// Buffers

TEST(Buffers, KeepTheirBytes) {
    for (const std::string& data :
         {std::string(), std::string("x"), std::string(100000, '\0'), SmallDocument()}) {
        const std::string packed = RunLine("buffer pack -", data).out;
        EXPECT_EQ(RunLine("buffer unpack -", packed).out, data);
        EXPECT_EQ(RunLine("buffer info -", packed).status, 0);
    }
}

TEST(Buffers, OfFormerVersionsAreReadOrRefused) {
    const struct {
        const char* bytes;
        int status;
        const char* printed;  ///< By unpack --hex.
        const char* error;
        const char* info;
    } buffers[] = {
        {"78 01 01 03 00 FC FF 61 62 63 02 4D 01 27 00 00 00 06 00 00 00 03 43 4F 4D 34", 0, "616263\n", "",
         "*Footer            COM4, 12 bytes\nFormat            1 (zlib)\nSetting           6\n"
         "Original size     3 bytes\n"},
        {"78 01 01 03 00 FC FF 61 62 63 02 4D 01 27 00 00 00 03 43 4F 4D 50", 1, "", "*032:000:",
         "*Footer            COMP, 8 bytes\nFormat            not stored\nSetting           not stored\n"},
        {"00 00 00 00 00 00 00 00 43 4F 4D 35", 1, "", "*032:000:", "*State             12 bytes\n"},
        {"03 FF FF FF FF 00 00 00 00 43 4F 4D 35", 1, "", "*032:000:", "*Format            3 (unknown)\n"},
        {"02 FF FF FF FF 7F FF FF FF 43 4F 4D 35", 1, "", "*034:000:", "*size     2,147,483,647 bytes\n"},
        {"43 4F 4D 35", 1, "", "*033:000:", ""},
    };
    for (const auto& buffer : buffers) {
        SCOPED_TRACE(buffer.bytes);
        const std::string state = TextOf(Bytes(buffer.bytes));
        ExpectResult(RunLine("buffer unpack --hex -", state), buffer.status, buffer.printed, buffer.error);
        ExpectResult(RunLine("buffer info -", state), buffer.status, buffer.info, buffer.error);
    }
}

TEST(Buffers, ThatAreDamagedTellWhatTheyCan) {
    const std::string packed = RunLine("buffer pack -", std::string(40000, 'x')).out;
    const std::string sound = RunLine("buffer info -", packed).out;
    for (const char* const part :
         {"*Set               12345, cabinet ", "*Folder 0          MSZIP, 2 blocks from offset 82\n",
          "*File 0            \"//Uncompressed-Data//\", 40,000 bytes at offset 0 of folder 0",
          "*, 32,768 bytes in ", "*, 7,232 bytes in "})
        EXPECT_TRUE(Fits(sound, part)) << part << '\n' << sound;
    for (const auto& [attributes, name] : {std::pair('\0', "\xB2/"), {'\x80', "\xC2\xB2"}}) {
        std::string renamed = packed;
        renamed[58] = attributes;
        renamed.replace(60, 2, name);
        EXPECT_TRUE(Fits(RunLine("buffer info -", renamed).out, "*\"\xC2\xB2")) << attributes;
    }
    std::string shared = packed;  // two folders that name the same two blocks
    shared[26] = 2;
    shared.insert(44, shared.substr(36, 8));
    shared[36] = shared[44] = static_cast<char>(82 + 8);
    shared[16] = static_cast<char>(44 + 8);
    EXPECT_TRUE(Fits(RunLine("buffer info -", shared).out,
                     "*Block 0           at offset 90, which is another folder's\n"));
    ForEachWrongBit(packed, [](const std::string& damaged) {
        EXPECT_EQ(RunLine("buffer info -", damaged).status, RunLine("buffer unpack -", damaged).status);
    });
}

// Text

TEST(Text, IsStrictUtf8AndDisturbsNoTerminal) {
    EXPECT_EQ(Hex(ByteBuffer(FromUtf8("a\xF0\x90\x80\x80\xC0\x80\xE2\x82z"))),
              "61 00 00 D8 00 DC FD FF FD FF FD FF FD FF 7A 00");
    EXPECT_EQ(ToUtf8(FromUtf8("\xF4\x8F\xBF\xBF\xEF\xBF\xBF")), "\xF4\x8F\xBF\xBF\xEF\xBF\xBF");
    EXPECT_EQ(OneLine("a\nb\x1B[2J\xC2\x9B\xFF\u20AC"), "a\\nb\\u001b[2J\\u009b\uFFFD\u20AC");
    EXPECT_EQ(QuotedText(std::string_view("\"\\\0\x7F", 4)), R"("\"\\\u0000\u007f")");
    EXPECT_EQ(Grouped(0) + ' ' + Grouped(999) + ' ' + Grouped(1234567), "0 999 1,234,567");
    EXPECT_EQ(CountText(1, "byte") + ' ' + CountText(1000, "byte"), "1 byte 1,000 bytes");
    EXPECT_EQ(DisplayOfNumber(-0.0000001, 3) + ' ' + DisplayOfNumber(100, 0), "0 100");
    EXPECT_EQ(DisplayOfNumber(1e300, 6).size(), 301u);
    EXPECT_EQ(BarText(0, "a"), "[                    ]   0% a");
    EXPECT_EQ(BarText(44, "a"), "[########            ]  44% a");
    EXPECT_EQ(BarText(100, "a"), "[####################] 100% a");
}

// In what is expected, "#" stands for U+FFFF.
TEST(Text, LoneSurrogatesAreMarkedInStringsOnly) {
    const std::pair<const char*, std::string> cases[] = {
        {R"({"a": "b"})", R"({"a": "b"})"},
        {R"("\ud83d\ude00")", R"("\ud83d\ude00")"},
        {R"("\uD83D\n")", R"("#D83D\n")"},
        {R"("\uD83D\uD83D\uDE00")", R"("#D83D\uD83D\uDE00")"},
        {R"("\uDE00\uD83D")", R"("#DE00#D83D")"},
        {R"("\\ud83d")", R"("\\ud83d")"},
        {R"("\\\ud83d")", R"("\\#D83D")"},
        {R"("\uffff")", R"("#FFFF")"},
        {"\"\uFFFF\"", R"("#FFFF")"},
        {R"(\ud83d "\"\ud83d)", R"(\ud83d "\"#D83D)"},
        {R"("\ud83)", R"("\ud83)"},
        {R"("\)", R"("\)"},
    };
    for (auto [json, expected] : cases) {
        for (std::size_t at = 0; (at = expected.find('#')) != std::string::npos;)
            expected.replace(at, 1, "\uFFFF");
        EXPECT_EQ(EncodeLoneSurrogates(json), expected) << json;
    }
}

}  // namespace
