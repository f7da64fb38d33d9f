// The operations of nodes, and their failures.
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "utilities/xmlparser/comerror.h"
#include "utilities/xmlparser/xmldocuments.h"

namespace {

using xmltest::Document;
using xmltest::Show;
using xmltest::Text;
using xmltest::Write;

// --- The operations of nodes ----------------------------------------------------------------------------

TEST(XmlNodes, AreFoundByName) {
    Document document("<r><a n='0'><a n='1'/></a><b><a n='2'/></b>t<A n='3'/><c><d><a n='4'/></d></c></r>");
    const auto root = document.GetRoot();
    const auto number = [](XmlDomNode& node) {
        CXString value;
        return node && node.GetAttribute(NV_TEXT("n"), value) ? Narrow(value) : "none";
    };
    EXPECT_EQ(number(*root->FindNamedChildElementNode(NV_TEXT("a"))), "0");
    EXPECT_EQ(number(*root->FindNamedChildElementNode(NV_TEXT("A"))), "3");
    EXPECT_FALSE(*root->FindNamedChildElementNode(NV_TEXT("d")));
    EXPECT_FALSE(*root->FindNamedChildElementNode(NV_TEXT("#text")));
    const char* const occurrences[] = {"0", "2", "4", "none"};
    for (unsigned i = 0; i < 4; ++i)
        EXPECT_EQ(number(*root->FindNamedChildElementNodeRecursive(NV_TEXT("a"), i)), occurrences[i]) << i;
    EXPECT_FALSE(*root->FindNamedChildElementNodeRecursive(NV_TEXT("r"), 0));
}

TEST(XmlNodes, AreCounted) {
    Document document("<r><a><a/></a><b><a/></b>t<!-- a --></r>");
    const auto root = document.GetRoot();
    EXPECT_EQ(root->getNumChildNodes(), 4u);
    EXPECT_EQ(root->GetNumberOfElementNodes(), 2u);
    EXPECT_EQ(root->GetNumberOfElementNodes(NV_TEXT("a")), 1u);
    EXPECT_EQ(root->GetNumberOfElementNodesRecursive(), 4u);
    EXPECT_EQ(root->GetNumberOfElementNodesRecursive(NV_TEXT("a")), 3u);
    EXPECT_EQ(root->GetNumberOfElementNodesRecursive(NV_TEXT("A")), 0u);
    const auto leaf = root->getFirstChild()->getFirstChild();
    EXPECT_EQ(leaf->getNumChildNodes() + leaf->GetNumberOfElementNodesRecursive(), 0u);
}

// Stands for a node of an engine that leaves the blanks around names, which no document can have.
class BlankNamedNode : public XmlDomNode {
public:
    explicit BlankNamedNode(bool hasChild, bool isNull = false) : m_hasChild(hasChild), m_isNull(isNull) {}
    std::uint32_t getNumChildNodes() const override { return m_hasChild; }
    CXString getNodeName() const override { return NV_TEXT(" \ta\r\n"); }
    CXString getNodeValue() const override { return {}; }
    std::unique_ptr<XmlDomNode> getFirstChild() override {
        return std::make_unique<BlankNamedNode>(false, !m_hasChild);
    }
    std::unique_ptr<XmlDomNode> getNextSibling() override { return getNullNode(); }
    std::unique_ptr<XmlDomNamedNodeMap> getAttributes() override { return nullptr; }
    bool isElementNode() const override { return true; }
    operator bool() const override { return !m_isNull; }
    CXString getDomNodeTypeDebugDisplayString() const override { return {}; }
    bool isTextNode() const override { return false; }
    std::unique_ptr<XmlDomNode> appendChild(XmlDomNode&) override { return getNullNode(); }
    std::unique_ptr<XmlDomNode> removeChild(XmlDomNode&) override { return getNullNode(); }

protected:
    std::unique_ptr<XmlDomNode> getNullNode() override {
        return std::make_unique<BlankNamedNode>(false, true);
    }

private:
    bool m_hasChild;
    bool m_isNull;
};

TEST(XmlNodes, AreFoundByTheirTrimmedNames) {
    BlankNamedNode node(true);
    EXPECT_TRUE(*node.FindNamedChildElementNode(NV_TEXT("a")));
    EXPECT_TRUE(*node.FindNamedChildElementNodeRecursive(NV_TEXT("a")));
    EXPECT_EQ(node.GetNumberOfElementNodesRecursive(NV_TEXT("a")), 1u);
    EXPECT_FALSE(*node.FindNamedChildElementNode(NV_TEXT(" \ta\r\n")));
}

TEST(XmlNodes, HaveTextsAndNumbers) {
    const struct {
        std::string content;
        const char* text;
        LONG number;
    } cases[] = {
        {"12abc", "12abc", 12},
        {"", "", 0},
        {"<a>1</a>2", "2", 2},
        {"<a/><!--1--><![CDATA[2]]>3", "3", 3},
        {"\n -7", "\n -7", -7},
        {"+8", "+8", 8},
        {"- 1", "- 1", 0},
        {"x1", "x1", 0},
        {"2147483648", "2147483648", 2147483647},
        {"-99999999999999999999", "-99999999999999999999", -2147483647 - 1},
    };
    for (const auto& row : cases) {
        Document document("<r>" + row.content + "</r>");
        EXPECT_EQ(Narrow(document.GetRoot()->GetTextValue()), row.text) << row.content;
        EXPECT_EQ(document.GetRoot()->GetLongValue(), row.number) << row.content;
    }
}

TEST(XmlNodes, HaveAttributes) {
    Document document(
        "<!DOCTYPE r [<!ENTITY e 'x'>]><r a='1' b='&e;&lt;&#10;2\n3' c='' p:a='4' xmlns:p='urn:p'>t</r>");
    const auto root = document.GetRoot();
    const std::pair<const char*, const char*> values[] = {
        {"a", "1"}, {"b", "x<\n2 3"}, {"c", ""}, {"p:a", "4"}, {"xmlns:p", "urn:p"}};
    for (const auto& [name, expected] : values) {
        CXString value = NV_TEXT("before");
        EXPECT_TRUE(root->GetAttribute(Text(name), value)) << name;
        EXPECT_EQ(Narrow(value), expected) << name;
    }
    CXString value = NV_TEXT("before");
    EXPECT_FALSE(root->GetAttribute(NV_TEXT("A"), value));
    EXPECT_FALSE(root->getFirstChild()->GetAttribute(NV_TEXT("a"), value));
    EXPECT_EQ(Narrow(value), "before");
    EXPECT_FALSE(*root->getFirstChild()->getAttributes());
    EXPECT_FALSE(*root->getAttributes()->getNamedItem(CXString("a\0b", 3)));
    EXPECT_FALSE(*root->getAttributes()->getNamedItem(NV_TEXT("xmlns:")));

    const auto attribute = root->getAttributes()->getNamedItem(NV_TEXT("a"));
    EXPECT_EQ(Show(*attribute), "a='1'");
    EXPECT_FALSE(attribute->isElementNode() || attribute->isTextNode());
    EXPECT_EQ(Show(*attribute->getFirstChild()), "#text='1'");
    EXPECT_FALSE(*attribute->getNextSibling());
    EXPECT_TRUE(root->getDomNodeTypeDebugDisplayString().IsEmpty());
}

TEST(XmlNodes, AreMovedBetweenANodeAndItsChildren) {
    Document document("<r><a/>t<b>u</b></r>");
    const auto root = document.GetRoot();
    const auto made = document.GetParser().getDocument()->createElement(NV_TEXT("n"))->getAsDomNode();
    root->insertNodeBetweenThisAndItsChildren(*made);
    EXPECT_EQ(Show(*root), "r[n[a[] #text='t' b[#text='u']]]");
    const auto second = document.GetParser().getDocument()->createElement(NV_TEXT("m"))->getAsDomNode();
    const auto leaf = root->FindNamedChildElementNodeRecursive(NV_TEXT("a"));
    leaf->insertNodeBetweenThisAndItsChildren(*second);
    EXPECT_EQ(Show(*leaf), "a[m[]]");
}

TEST(XmlNodes, OutliveTheParser) {
    std::unique_ptr<XmlDomNode> removed;
    std::unique_ptr<XmlDomNode> sibling;
    {
        Document document("<r><a>x</a><b>y</b></r>");
        const auto root = document.GetRoot();
        const auto first = root->getFirstChild();
        sibling = first->getNextSibling();
        removed = root->removeChild(*first);
        EXPECT_EQ(Show(*root), "r[b[#text='y']]");
    }
    EXPECT_EQ(Show(*removed) + Show(*sibling), "a[#text='x']b[#text='y']");
    EXPECT_FALSE(*removed->getNextSibling());
}

TEST(XmlNodes, KeepTheirNamesWhenTheyMove) {
    Document into("<r/>");
    PlatformXmlParser built(CXString(), false);
    const auto holder = built.getDocument();
    for (int i = 0; i < 200; ++i) {
        const std::string name = "name" + std::to_string(i);
        const auto element = holder->createElement(Text(name));
        element->setAttribute(Text("of" + name), CXString());
        EXPECT_EQ(Narrow(element->getAsDomNode()->getNodeName()), name);
        EXPECT_TRUE(*element->getAsDomNode()->getAttributes()->getNamedItem(Text("of" + name))) << name;
        into.GetRootElement()->appendChild(*element);
    }
}

TEST(XmlNodes, MoveBetweenDocuments) {
    Document from("<r xmlns:p='urn:p'><a k='1'><p:b>x</p:b></a><c/></r>");
    auto into = std::make_unique<Document>("<s/>");
    const auto target = into->GetRoot();
    const auto moved = from.GetRoot()->getFirstChild();
    const auto inside = moved->getFirstChild();
    target->appendChild(*moved);
    into.reset();
    EXPECT_EQ(Show(*target), "s[a[p:b[#text='x']]]");
    EXPECT_EQ(Show(*from.GetRoot()), "r[c[]]");
    EXPECT_EQ(Show(*inside), "p:b[#text='x']");
}

// --- Failures -------------------------------------------------------------------------------------------

/// The result that a call fails with; 0 when it does not.
template <class Call>
HRESULT FailureOf(Call call) {
    try {
        call();
    } catch (const _com_error& error) {
        return error.Error();
    }
    return 0;
}

TEST(XmlFailures, OfNullWrappersAreInvalidPointers) {
    Document document("<r/>");
    const auto root = document.GetRoot();
    const auto element = document.GetRootElement();
    PlatformXmlParser empty(CXString(), false);
    const auto nullElement = empty.getDocument()->getDocumentElement();
    const auto null = root->getFirstChild();
    PlatformDomNamedNodeMap nullMap{{}};
    PlatformDomText nullText{{}};
    EXPECT_FALSE(*nullElement || *null || nullMap);
    EXPECT_TRUE(null->getDomNodeTypeDebugDisplayString().IsEmpty());

    const std::function<void()> calls[] = {
        [&] { null->getNumChildNodes(); },
        [&] { null->getNodeName(); },
        [&] { null->getNodeValue(); },
        [&] { null->getFirstChild(); },
        [&] { null->getNextSibling(); },
        [&] { null->getAttributes(); },
        [&] { null->isElementNode(); },
        [&] { null->isTextNode(); },
        [&] { null->appendChild(*root); },
        [&] { null->removeChild(*root); },
        [&] { root->appendChild(*null); },
        [&] { root->removeChild(*null); },
        [&] { nullElement->getAsDomNode(); },
        [&] { nullElement->setAttribute(NV_TEXT("a"), NV_TEXT("b")); },
        [&] { nullElement->appendChild(*element); },
        [&] { element->appendChild(*nullElement); },
        [&] { element->appendChild(nullText); },
        [&] { nullMap.getNamedItem(NV_TEXT("a")); },
        [&] { null->GetTextValue(); },
    };
    for (std::size_t i = 0; i < std::size(calls); ++i)
        EXPECT_EQ(FailureOf(calls[i]), E_POINTER) << i;
}

TEST(XmlFailures, OfWrongNamesAndPlaces) {
    Document document("<r a='1'><b/></r>");
    const auto holder = document.GetParser().getDocument();
    const auto root = document.GetRoot();
    const auto leaf = root->getFirstChild();
    for (const char* name : {"", "1", "a b", "a<", "-", "a\"", ":a", "a:", "a:b:c", "a:1"}) {
        EXPECT_EQ(FailureOf([&] { holder->createElement(Text(name)); }), E_FAIL) << name;
        EXPECT_EQ(FailureOf([&] { holder->getDocumentElement()->setAttribute(Text(name), CXString()); }),
                  E_FAIL)
            << name;
    }
    const std::pair<const char*, const char*> declarations[] = {
        {"xmlns:p", ""},     {"xmlns:xmlns", "urn:x"}, {"xmlns:xml", "urn:x"},
        {"xmlns:", "urn:x"}, {"xmlns:p:q", "u"},       {"xmlns", "http://www.w3.org/2000/xmlns/"}};
    for (const auto& declaration : declarations) {
        const auto declare = [&] {
            document.GetRootElement()->setAttribute(Text(declaration.first), Text(declaration.second));
        };
        EXPECT_EQ(FailureOf(declare), E_FAIL) << declaration.first;
    }
    Document inNamespace("<r xmlns='urn:r'/>");
    EXPECT_EQ(
        FailureOf([&] { inNamespace.GetRootElement()->setAttribute(NV_TEXT("xmlns"), NV_TEXT("urn:s")); }),
        E_FAIL);
    inNamespace.GetRootElement()->setAttribute(NV_TEXT("xmlns"), NV_TEXT("urn:r"));
    EXPECT_EQ(Write(inNamespace.GetParser()), "<r xmlns=\"urn:r\"/>\n");
    EXPECT_EQ(FailureOf([&] { leaf->removeChild(*root); }), E_INVALIDARG);
    EXPECT_EQ(FailureOf([&] { leaf->appendChild(*root); }), E_FAIL);
    EXPECT_EQ(FailureOf([&] { leaf->appendChild(*leaf); }), E_FAIL);
    EXPECT_EQ(FailureOf([&] { root->insertNodeBetweenThisAndItsChildren(*root); }), E_FAIL);
    EXPECT_EQ(FailureOf([&] {
                  const auto element = holder->createElement(NV_TEXT("a"));
                  const auto text = holder->createTextNode(NV_TEXT("t"));
                  element->appendChild(*text);
                  element->getAsDomNode()->getFirstChild()->appendChild(*leaf);
              }),
              E_FAIL);
    const auto attribute = root->getAttributes()->getNamedItem(NV_TEXT("a"));
    EXPECT_EQ(FailureOf([&] { leaf->appendChild(*attribute); }), E_FAIL);
    EXPECT_EQ(FailureOf([&] { attribute->appendChild(*leaf); }), E_FAIL);
    BlankNamedNode foreign(false);
    EXPECT_EQ(FailureOf([&] { root->appendChild(foreign); }), E_INVALIDARG);
    EXPECT_EQ(Show(*root), "r[b[]]");
}

TEST(XmlFailures, HaveADisplayString) {
    const auto shown = [](HRESULT result) {
        return Narrow(PlatformXmlParser::formatCOMExceptionDisplayString(_com_error(result)));
    };
    std::string known = shown(5);
    std::erase(known, '.');  // some systems' messages end with one
    EXPECT_EQ(known, "_com_error - Code=0x5 Message='Access denied' Source='' Description=''");
    EXPECT_EQ(shown(static_cast<HRESULT>(0x8ABCDEF0)),
              "_com_error - Code=0x8abcdef0. Message='Unknown error 0x8ABCDEF0'. Source=''. Description=''");
}

TEST(XmlFailures, HaveCodesAndNames) {
    const std::pair<short, const char*> names[] = {
        {0, "ILLEGAL_NPIFPARSE_EXCEPTION_CODE"},
        {2, "ERROR_REPORTED_DURING_PARSE"},
        {3, "XMLEXCEPTION_RAISED_DURING_XML_GENERATION"},
        {13, "FAILED_ALLOCATION_OF_XML_FILE_BUFFER"},
        {15, "FAILED_CREATFILE_DURING_READ"},
        {17, "FAILED_CREATFILE_DURING_WRITE"},
        {24, "COM_INITIALIZATION_FAILURE"},
        {26, "NO_CATEGORY_FOR_NCAP_ATTRIBUTE"},
        {27, "<Unknown code!!!>"},
        {-1, "<Unknown code!!!>"},
    };
    for (const auto& [code, name] : names) {
        const auto exception = GetNpifParseException(NV_TEXT("m"), NV_TEXT("f"), 7, NV_TEXT("F"), {}, code);
        EXPECT_EQ(Narrow(exception.GetCodeString()), name);
    }
    PlatformXmlParser parser(CXString(), false);
    unsigned char bytes[] = "<r>";
    try {
        parser.parse(bytes, 3);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const NpifParseException& exception) {
        EXPECT_EQ(Narrow(exception.GetExceptionTypeByNumericCode()), "001:002");
        EXPECT_EQ(exception.GetCode(), NpifParseException::ErrorReportedDuringParse);
        EXPECT_TRUE(exception.GetExceptionMesage().IsEmpty());
        EXPECT_EQ(Narrow(exception.GetExceptionLocationFileName()).rfind("src/utilities/xmlparser/", 0), 0u);
    }
}

}  // namespace
