// Tests of `nvutil xml`.
#include <gtest/gtest.h>

#include <string>

#include "tools/toolruns.h"
#include "utilities/xmlparser/xmldocuments.h"

namespace {

// Small documents of the kinds that a driver reads, with their trees. Both builds print the same.
constexpr struct {
    const char* xml;
    const char* tree;
} documents[] = {
    {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket job=\"17\">\n  <copies>2</copies>\n  "
     "<duplex/>\n</ticket>\n",
     "<ticket job=\"17\">\n  <copies>\n    \"2\"\n  <duplex>\n"},
    {"<models><model name='Größe 7' ppm=\"35\"><tray n=\"1\"/><tray n=\"2\"/></model><model "
     "name=\"B\"/></models>",
     "<models>\n  <model name=\"Größe 7\" ppm=\"35\">\n    <tray n=\"1\">\n    <tray n=\"2\">\n  <model "
     "name=\"B\">\n"},
    {"<help>Press <key>OK</key>, then <key>Stop</key>.</help>",
     "<help>\n  \"Press \"\n  <key>\n    \"OK\"\n  \", then \"\n  <key>\n    \"Stop\"\n  \".\"\n"},
    {"<script><![CDATA[if (a < b && c) {}]]></script>",
     "<script>\n  #cdata-section \"if (a < b && c) {}\"\n"},
    {"<!-- before --><r><!-- inside --><?driver reset now?></r><!-- behind -->",
     "<r>\n  #comment \" inside \"\n  driver \"reset now\"\n"},
    {"<psf:Caps xmlns:psf=\"urn:psf\" version=\"1\"><psf:Feature name=\"psk:Collate\"/></psf:Caps>",
     "<psf:Caps version=\"1\" xmlns:psf=\"urn:psf\">\n  <psf:Feature name=\"psk:Collate\">\n"},
    {"<!DOCTYPE list [\n  <!ENTITY vendor \"A &amp; B\">\n]>\n<list by=\"&vendor;\">&vendor; Inc.</list>",
     "<list by=\"A & B\">\n  vendor\n  \" Inc.\"\n"},
    {"<poem xml:space=\"preserve\">\n <line>a</line>\n</poem>",
     "<poem xml:space=\"preserve\">\n  \"\\n \"\n  <line>\n    \"a\"\n  \"\\n\"\n"},
    {"<t a=\"&quot;&lt;&#9;&#10;\">&gt;&apos;\"\t</t>", "<t a=\"\\\"<\\t\\n\">\n  \">'\\\"\\t\"\n"},
    {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><preis w\xE4hrung=\"\xA3\">5</preis>",
     "<preis währung=\"£\">\n  \"5\"\n"},
    {"<?xml version=\"1.0\" encoding=\"windows-1252\" standalone=\"yes\"?><preis>5 \x80</preis>",
     "<preis>\n  \"5 €\"\n"},
    {"\xEF\xBB\xBF<\xE5\x8D\xB0\xE5\x88\xB7><\xE9\xA1\xB5 n='1'/></\xE5\x8D\xB0\xE5\x88\xB7>",
     "<印刷>\n  <页 n=\"1\">\n"},
};

TEST(XmlCommands, ShowTrees) {
    for (const auto& row : documents) {
        const ToolResult result = Nvutil({"xml", "show", "-"}, row.xml);
        EXPECT_EQ(result.out, row.tree) << row.xml << result.error;
        EXPECT_EQ(result.status, 0) << row.xml;
    }
}

TEST(XmlCommands, ValidateAgainstTheDtdBesideTheDocument) {
    const xmltest::Folder folder;
    folder.Write("ticket.dtd", "<!ELEMENT ticket (copies)><!ELEMENT copies (#PCDATA)>");
    const std::string doctype = "<!DOCTYPE ticket SYSTEM \"ticket.dtd\">\n";
    const std::string good =
        folder.Write("good.xml", doctype + "<ticket><copies>1</copies></ticket>").string();
    const std::string bad = folder.Write("bad.xml", doctype + "<ticket><pages/></ticket>").string();
    EXPECT_EQ(Nvutil({"xml", "validate", good}).out, "ok       " + good + "\n");
    EXPECT_EQ(Nvutil({"xml", "show", bad}).out, "<ticket>\n  <pages>\n");
    const ToolResult refused = Nvutil({"xml", "validate", bad});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_NE(refused.error.find("ERROR_REPORTED_DURING_PARSE\nMSXML Parse Error in '"), std::string::npos)
        << refused.error;
}

TEST(XmlCommands, RefuseWhatIsNoDocument) {
    EXPECT_EQ(Nvutil({"xml", "show", "no such file.xml"}).status, 1);
    EXPECT_EQ(Nvutil({"xml"}).status, 2);
    const ToolResult empty = Nvutil({"xml", "validate", "-"}, "");
    EXPECT_EQ(empty.status, 1);
    EXPECT_NE(empty.error.find("PARSE_RESULTED_IN_EMPTY_DOM_DOCUMENT"), std::string::npos) << empty.error;
    const ToolResult bad = Nvutil({"xml", "show", "-"}, "<a>\xFF</a>");
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.error.find("line 1 and column 4 (3 from start of file)"), std::string::npos) << bad.error;
}

}  // namespace
