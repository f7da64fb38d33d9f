// Writing documents.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "utilities/utilitiesdll/crc32.h"
#include "utilities/xmlparser/xmldocuments.h"

namespace {

using xmltest::Document;
using xmltest::Show;
using xmltest::Write;

TEST(XmlWriting, GivesBackWhatWasRead) {
    const std::string cases[] = {
        "<r/>\n",
        "<?xml version=\"1.0\"?>\n<!--c-->\n<r a=\"1\"><b/>x</r>\n<?p d?>\n",
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<r>\xC3\xA4\xF0\x9F\x98\x80</r>\n",
        "<r a=\"&quot;'&lt;&gt;&amp;&#10;&#9;&#13;\">&lt;&gt;&amp;\"'&#13;\n\t</r>\n",
        "<!DOCTYPE r [\n<!ENTITY e \"x\">\n]>\n<r>a&e;<![CDATA[<&]]></r>\n",
        "<!DOCTYPE r SYSTEM \"t.dtd\">\n<r/>\n",
        "<r xmlns=\"urn:r\" xmlns:p=\"urn:p\" p:a=\"1\"><p:b/></r>\n",
    };
    for (const std::string& xml : cases) {
        Document document(xml);
        EXPECT_EQ(Write(document.GetParser()), xml);
    }
}

TEST(XmlWriting, OfWhatWasBuilt) {
    Document document("<?xml version='1.0'?><jobs/>");
    const auto holder = document.GetParser().getDocument();
    const auto root = holder->getDocumentElement();
    const auto job = holder->createElement(NV_TEXT("job"));
    const auto appended = root->appendChild(*job);
    appended->setAttribute(NV_TEXT("id"), NV_TEXT("1"));
    appended->setAttribute(NV_TEXT("id"), NV_TEXT("\"<2>&"));
    appended->setAttribute(NV_TEXT("xml:lang"), NV_TEXT("de"));
    const auto text = holder->createTextNode(NV_TEXT("a<b>&c"));
    job->appendChild(*text);
    const auto empty = holder->createElement(NV_TEXT("p:x"));
    empty->setAttribute(NV_TEXT("xmlns:p"), NV_TEXT("urn:p"));
    root->appendChild(*empty);
    xmltest::Output output;
    document.GetParser().convertToXmlStream(output);
    EXPECT_EQ(output.GetText(),
              "<?xml version=\"1.0\"?>\n<jobs><job id=\"&quot;&lt;2&gt;&amp;\" "
              "xml:lang=\"de\">a&lt;b&gt;&amp;c</job>"
              "<p:x xmlns:p=\"urn:p\"/></jobs>\n");
    EXPECT_EQ(output.GetCalls(), 1);
    EXPECT_EQ(Show(output.GetText()), Show(*document.GetRoot()));
}

TEST(XmlWriting, OfAnEmptyDocumentGivesNothing) {
    PlatformXmlParser parser(CXString(), false);
    xmltest::Output output;
    parser.convertToXmlStream(output);
    EXPECT_EQ(output.GetText() + std::to_string(output.GetCalls()), "1");
}

/// What writing a document gives once something has been added to its root; "refused" when it is.
template <class Change>
std::string WriteAfter(std::string_view xml, Change change) {
    Document document(xml);
    const auto holder = document.GetParser().getDocument();
    change(*holder, *holder->getDocumentElement());
    xmltest::Output output;
    try {
        document.GetParser().convertToXmlStream(output);
    } catch (const NpifParseException& exception) {
        EXPECT_EQ(exception.GetCode(), NpifParseException::XmlExceptionRaisedDuringXmlGeneration);
        EXPECT_EQ(output.GetCalls(), 0);
        return "refused";
    }
    return output.GetText();
}

TEST(XmlWriting, RefusesWhatCannotBeRead) {
    const auto appendText = [](const WChar* text) {
        return [text](XmlDomDocument& document, XmlDomElement& root) {
            root.appendChild(*document.createTextNode(text));
        };
    };
    const auto appendDeep = [](int depth) {
        return [depth](XmlDomDocument& document, XmlDomElement& root) {
            auto last = root.appendChild(*document.createElement(NV_TEXT("a")));
            for (int i = 2; i < depth; ++i)
                last = last->appendChild(*document.createElement(NV_TEXT("a")));
        };
    };
    EXPECT_EQ(WriteAfter("<r/>", appendText(NV_TEXT("a\x01"))), "refused");
    EXPECT_EQ(WriteAfter("<r/>", appendDeep(257)), "refused");
    EXPECT_NE(WriteAfter("<r/>", appendDeep(256)), "refused");
}

TEST(XmlWriting, KeepsTheDeclaredEncoding) {
    using namespace std::string_literals;
    const std::string begin = "<?xml version=\"1.0\" encoding=\"";
    const std::string texts[] = {
        begin +
            "ISO-8859-1\"?>\n<!--\xE4-->\n<r\xE4 a=\"'&gt;\xE4&#8364;\"><\xE4/>\xE4&#8364;<?p "
            "\xE4?></r\xE4>\n",
        begin + "windows-1252\"?>\n<r a=\"\xE4\">\xE4\x80&#129;&#128512;</r>\n",
        begin + "US-ASCII\"?>\n<r>&#228;</r>\n",
        begin +
            "ISO-8859-1\"?>\n<!DOCTYPE r [\n<!--'>]\xE4--><!ATTLIST s k CDATA \"&#8364;\">\n<!ENTITY e "
            "\"]>\xE4\">\n]>\n<r "
            "a=\"\xE4\">\xE4&#8364;&e;</r>\n",
    };
    for (const std::string& xml : texts)
        EXPECT_EQ(WriteAfter(xml, [](XmlDomDocument&, XmlDomElement&) {}), xml);
    const auto appendName = [](XmlDomDocument& document, XmlDomElement& root) {
        root.appendChild(*document.createElement(NV_TEXT("\u4E00")));
    };
    EXPECT_EQ(WriteAfter(begin + "ISO-8859-1\"?><r/>", appendName), "refused");
    EXPECT_NE(WriteAfter(begin + "UTF-8\"?><r/>", appendName), "refused");
    // All that an encoding has is written in it and reads as what it was; the numbers are those of glibc's
    // tables.
    CXString all;
    for (char32_t unit = 0xA0; unit < 0xFFFE; ++unit) {
        if (unit < 0xD800 || unit >= 0xE000) all += static_cast<WChar>(unit);
    }
    const struct {
        const char* encoding;
        DWORD checksum;
    } encodings[] = {
        {"us-ascii", 0x16AF36CB},     {"iso-8859-1", 0x8E0BF897},   {"iso-8859-2", 0xEFD76B3C},
        {"iso-8859-3", 0x09CB2C35},   {"iso-8859-4", 0x85B8B3DA},   {"iso-8859-5", 0xFCC2151B},
        {"iso-8859-6", 0xD0EBF541},   {"iso-8859-7", 0x76952F8E},   {"iso-8859-8", 0xD24B950D},
        {"iso-8859-9", 0xA131DE42},   {"iso-8859-10", 0xB4BF7E43},  {"iso-8859-13", 0xF7780931},
        {"iso-8859-14", 0x05164B3D},  {"iso-8859-15", 0x23EA1AED},  {"iso-8859-16", 0x9DDACB52},
        {"windows-874", 0x452B6FA0},  {"windows-1250", 0xE013CA9C}, {"windows-1251", 0xEE181616},
        {"windows-1252", 0x23E8C140}, {"windows-1253", 0x27BC497B}, {"windows-1254", 0x11D9C70F},
        {"windows-1255", 0x08F53DB0}, {"windows-1256", 0x944D9E40}, {"windows-1257", 0x5D5804B0},
        {"windows-1258", 0xF8016285}, {"koi8-r", 0x2DC7002F},       {"koi8-u", 0xF29E9B03},
        {"ibm437", 0xBFF7F0B9},       {"ibm850", 0xD81BA414},       {"ibm852", 0x23C79936},
        {"ibm855", 0xE8D40741},       {"ibm866", 0x13F4518C},       {"shift_jis", 0x30DF8766},
        {"euc-jp", 0x6DE6297E},       {"iso-2022-jp", 0xDE651EC5},  {"gbk", 0x531C48D2},
        {"gb18030", 0xB95EEE45},      {"big5", 0x33370B65},         {"euc-kr", 0xAE13BEBD},
    };
    for (const auto& [encoding, checksum] : encodings) {
        const std::string written =
            WriteAfter(begin + encoding + "\"?><r/>", [&](XmlDomDocument& document, XmlDomElement& root) {
                root.appendChild(*document.createTextNode(all));
            });
        const auto* const bytes = reinterpret_cast<const BYTE*>(written.data());
        EXPECT_EQ(Crc32::GetCrc(bytes, static_cast<DWORD>(written.size())), checksum) << encoding;
        Document again(written);
        ASSERT_FALSE(again.IsRefused()) << encoding << again.GetError();
        EXPECT_TRUE(again.GetRoot()->GetTextValue() == all) << encoding;
        Document control(begin + encoding + "\"?><r>\x85</r>");
        const bool hasControls = std::string_view(encoding).starts_with("iso-8859");
        EXPECT_EQ(!control.IsRefused() && control.GetRoot()->GetTextValue() == CXString(NV_TEXT("\u0085")),
                  hasControls)
            << encoding;
    }
    const std::string ascii = begin + "UTF-16\"?>\n<r>z\"</r>\n";
    std::string wide = "\xFF\xFE";
    for (const char c : ascii)
        wide += c != '"' || wide.size() < 80 ? c + "\0"s : "\x3D\xD8\x00\xDE"s;
    Document document(wide);
    EXPECT_EQ(Write(document.GetParser()), wide);
}

}  // namespace
