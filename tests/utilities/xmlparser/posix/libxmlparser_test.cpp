// Where engines differ: what the layer over libxml2 does, which is what MSXML documents.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "utilities/xmlparser/comerror.h"
#include "utilities/xmlparser/xmldocuments.h"

namespace {

using xmltest::Document;
using xmltest::Folder;
using xmltest::NameOf;
using xmltest::Show;
using xmltest::Text;
using xmltest::Write;

/// The value of an attribute of the root; "none" when there is none.
std::string AttributeOf(Document& document, const char* name) {
    CXString value = NV_TEXT("none");
    document.GetRoot()->GetAttribute(Text(name), value);
    return Narrow(value);
}

TEST(LibXmlParser, AddsTheAttributesOfTheDtd) {
    const Folder folder;
    folder.Write("t.dtd", "<!ELEMENT r EMPTY><!ATTLIST r k CDATA 'outer' j CDATA #FIXED 'j'>");
    const CXString systemId = NameOf(folder / "a.xml");
    const std::string xml = "<!DOCTYPE r SYSTEM 't.dtd' [<!ATTLIST r k CDATA 'inner'>]><r/>";
    Document loose(xml, false, systemId);
    EXPECT_EQ(AttributeOf(loose, "k") + AttributeOf(loose, "j"), "innernone");
    Document strict(xml, true, systemId);
    EXPECT_EQ(AttributeOf(strict, "k") + AttributeOf(strict, "j"), "innerj");
}

TEST(LibXmlParser, ShowsNamespacesAsAttributes) {
    Document document("<r xmlns='urn:r' xmlns:p='urn:p'><a/></r>");
    EXPECT_EQ(AttributeOf(document, "xmlns") + ' ' + AttributeOf(document, "xmlns:p"), "urn:r urn:p");
    EXPECT_EQ(AttributeOf(document, "xmlns:q") + ' ' + AttributeOf(document, "xmlnsp"), "none none");
    document.GetRootElement()->setAttribute(NV_TEXT("xmlns:p"), NV_TEXT("urn:new"));
    document.GetRootElement()->setAttribute(NV_TEXT("p:k"), NV_TEXT("1"));
    EXPECT_EQ(AttributeOf(document, "xmlns:p") + AttributeOf(document, "p:k"), "urn:new1");
    EXPECT_EQ(Write(document.GetParser()), "<r xmlns=\"urn:r\" xmlns:p=\"urn:new\" p:k=\"1\"><a/></r>\n");
    EXPECT_EQ(Show("<p:r/>"), "refused");
}

TEST(LibXmlParser, WritesNoPrefixThatIsNotDeclared) {
    const auto isWritten = [](auto change) {
        Document document("<r><a xmlns:p='urn:p'><p:b/><c p:k='1'/></a></r>");
        const auto root = document.GetRoot();
        change(*document.GetParser().getDocument(), *root, *root->getFirstChild());
        try {
            return !Write(document.GetParser()).empty();
        } catch (const NpifParseException&) {
            return false;
        }
    };
    const auto appendNew = [](const WChar* name) {
        return [name](XmlDomDocument& document, XmlDomNode& root, XmlDomNode&) {
            root.appendChild(*document.createElement(name)->getAsDomNode());
        };
    };
    EXPECT_TRUE(isWritten([](auto&, auto&, auto&) {}));
    EXPECT_TRUE(isWritten(appendNew(NV_TEXT("b"))));
    EXPECT_FALSE(isWritten(appendNew(NV_TEXT("p:b"))));
    EXPECT_FALSE(isWritten([](XmlDomDocument& document, auto&, auto&) {
        document.getDocumentElement()->setAttribute(NV_TEXT("p:k"), NV_TEXT("1"));
    }));
    const auto move = [](int index) {
        return [index](auto&, XmlDomNode& root, XmlDomNode& inner) {
            auto child = inner.getFirstChild();
            if (index == 1) child = child->getNextSibling();
            root.appendChild(*child);
        };
    };
    EXPECT_FALSE(isWritten(move(0)));
    EXPECT_FALSE(isWritten(move(1)));
}

TEST(LibXmlParser, KeepsWhiteSpaceThatIsPartOfAText) {
    const std::pair<const char*, const char*> cases[] = {
        {"<r>&#32;x</r>", "r[#text=' x']"},
        {"<r> &amp; </r>", "r[#text=' & ']"},
        {"<r>&#32;&#10;</r>", "r[]"},
        {"<r> <![CDATA[]]> </r>", "r[#cdata-section]"},
        {"<!DOCTYPE r [<!ENTITY e 'x'>]><r> &e; </r>", "r[e]"},
        {"<r xml:space='preserve'><a xml:space='default'> </a> </r>", "r[a[] #text=' ']"},
    };
    for (const auto& [xml, shown] : cases)
        EXPECT_EQ(Show(xml), shown) << xml;
    EXPECT_EQ(Show("<r>" + std::string(100000, ' ') + "<a/></r>"), "r[a[]]");
}

TEST(LibXmlParser, WritesOnlyPrefixesThatAreDeclared) {
    Document document("<r xmlns:p='urn:p'><a><p:b/></a></r>");
    Document other("<s/>");
    const auto moved = document.GetRoot()->getFirstChild();
    other.GetRoot()->appendChild(*moved);
    EXPECT_EQ(Write(other.GetParser()), "<s><a><p:b xmlns:p=\"urn:p\"/></a></s>\n");
    other.GetRootElement()->setAttribute(NV_TEXT("q:k"), NV_TEXT("1"));
    EXPECT_THROW(Write(other.GetParser()), NpifParseException);
}

TEST(LibXmlParser, TellsWhereTheErrorIs) {
    Document tag("<r>\r\n <a>\xC3\xA4</b>\r\n</r>", false, NV_TEXT("a.xml"));
    EXPECT_EQ(
        tag.GetError(),
        "MSXML Parse Error in 'a.xml' on line 2 and column 10 (15 from start of file)\r\n\t <a>?</b>\r\n"
        "Error Code 76/0x4c: Reason=Opening and ending tag mismatch: a line 2 and b");
    const Folder folder;
    folder.Write("t.dtd", "<?xml version='1.0' encoding='UTF-8'?>\n<!ELEMENT r (a)>\n<!ELEMENT a (>");
    Document dtd("<!DOCTYPE r SYSTEM 't.dtd'><r/>", true, NameOf(folder / "a.xml"));
    EXPECT_NE(dtd.GetError().find("t.dtd' on line 3 and column 14 (69 from"), std::string::npos)
        << dtd.GetError();
    Document closing("<!DOCTYPE r [<!ELEMENT r EMPTY><!ATTLIST r to IDREF #IMPLIED>]><r to='x'/>", true);
    EXPECT_NE(closing.GetError().find("references an unknown ID \"x\""), std::string::npos)
        << closing.GetError();
    Document invalid("<!DOCTYPE r [<!ELEMENT r EMPTY>]>\n<r>\n<a/></r>", true);
    EXPECT_NE(invalid.GetError().find("on line 3 and column 5 "), std::string::npos) << invalid.GetError();
}

TEST(LibXmlParser, FollowsNoLinkToADtd) {
    const Folder folder;
    folder.Write("secret", "root:x:0:0");
    std::filesystem::create_symlink("secret", folder / "t.dtd");
    Document document("<!DOCTYPE r SYSTEM 't.dtd'><r/>", true, NameOf(folder / "a.xml"));
    EXPECT_NE(document.GetError().find("The document's DTD cannot be read."), std::string::npos)
        << document.GetError();
}

TEST(LibXmlNodes, OfTextStayApart) {
    Document document("<r>a</r>");
    const auto holder = document.GetParser().getDocument();
    document.GetRootElement()->appendChild(*holder->createTextNode(NV_TEXT("b")));
    EXPECT_EQ(Show(*document.GetRoot()), "r[#text='a' #text='b']");
    EXPECT_EQ(Narrow(document.GetRoot()->GetTextValue()), "a");
}

TEST(LibXmlNodes, LiveOnWhenAnAttributeChanges) {
    Document document("<r k='old'/>");
    const auto attribute = document.GetRoot()->getAttributes()->getNamedItem(NV_TEXT("k"));
    const auto text = attribute->getFirstChild();
    document.GetRootElement()->setAttribute(NV_TEXT("k"), NV_TEXT("new"));
    EXPECT_EQ(Narrow(text->getNodeValue() + attribute->getNodeValue()), "oldnew");
}

TEST(LibXmlNodes, CanBeNestedToAnyDepth) {
    Document document("<r/>");
    const auto holder = document.GetParser().getDocument();
    auto last = holder->getDocumentElement();
    for (int i = 0; i < 5000; ++i)
        last = last->appendChild(*holder->createElement(NV_TEXT("a")));
    last->appendChild(*holder->createElement(NV_TEXT("leaf")));
    EXPECT_EQ(document.GetRoot()->GetNumberOfElementNodesRecursive(), 5001u);
    EXPECT_TRUE(*document.GetRoot()->FindNamedChildElementNodeRecursive(NV_TEXT("leaf")));
}

}  // namespace
