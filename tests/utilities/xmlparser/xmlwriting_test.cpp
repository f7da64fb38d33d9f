// Writing documents.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

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
            "a=\"\xE4\">\xE4&e;</r>\n",
    };
    for (const std::string& xml : texts)
        EXPECT_EQ(WriteAfter(xml, [](XmlDomDocument&, XmlDomElement&) {}), xml);
    const auto appendName = [](XmlDomDocument& document, XmlDomElement& root) {
        root.appendChild(*document.createElement(NV_TEXT("\u4E00")));
    };
    EXPECT_EQ(WriteAfter(begin + "ISO-8859-1\"?><r/>", appendName), "refused");
    EXPECT_NE(WriteAfter(begin + "UTF-8\"?><r/>", appendName), "refused");
    const std::string ascii = begin + "UTF-16\"?>\n<r>z\"</r>\n";
    std::string wide = "\xFF\xFE";
    for (const char c : ascii)
        wide += c != '"' || wide.size() < 80 ? c + "\0"s : "\x3D\xD8\x00\xDE"s;
    Document document(wide);
    EXPECT_EQ(Write(document.GetParser()), wide);
}

}  // namespace
