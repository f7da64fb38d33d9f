// The document-object layer over the engine of the build: every test gives the same results on both.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
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

// --- Reading --------------------------------------------------------------------------------------------

TEST(XmlParsing, GivesTheTree) {
    const struct {
        std::string xml;
        const char* shown;
    } cases[] = {
        {"<r/>", "r[]"},
        {"<?xml version='1.0'?>\r\n<r>\r\n<a>x\r\ny\rz</a>\r\n</r>\r\n", "r[a[#text='x\ny\nz']]"},
        {"<r><a> x </a>\n <b>  </b> <!-- c --><?p d?></r>", "r[a[#text=' x '] b[] #comment=' c ' p='d']"},
        {"<r xml:space=\"preserve\"> <d> </d></r>", "r[#text=' ' d[#text=' ']]"},
        {"<r>a <b/> c</r>", "r[#text='a ' b[] #text=' c']"},
        {"<r>a&lt;&amp;&#65;<![CDATA[ <x> ]]></r>", "r[#text='a<&A' #cdata-section=' <x> ']"},
        {"<p:r xmlns:p='urn:p'><p:a/></p:r>", "p:r[p:a[]]"},
        // A reference to an entity stays one.
        {"<!DOCTYPE r [<!ENTITY e 'x'>]><r>a&e;b</r>", "r[#text='a' e #text='b']"},
    };
    for (const auto& row : cases)
        EXPECT_EQ(Show(row.xml), row.shown) << row.xml;
}

TEST(XmlParsing, DecodesTheEncodings) {
    using namespace std::string_literals;
    const std::string decl = "<?xml version=\"1.0\" encoding=\"";
    const auto wide = [](const std::string& ascii, bool isBigEndian) {
        std::string out;
        for (const char c : ascii)
            out += isBigEndian ? "\0"s + c : c + "\0"s;
        return out;
    };
    const std::string wideDecl = decl + "UTF-16\"?><r>z</r>";
    const std::vector<std::pair<std::string, std::u16string>> cases = {
        {"<r>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80</r>", u"\u00E4\u20AC\U0001F600"},
        {"\xEF\xBB\xBF<r>\xC3\xA4</r>", u"\u00E4"},
        {decl + "utf-8\"?><r>\xC3\xA4</r>", u"\u00E4"},
        {decl + "ISO-8859-1\"?><r>\xE4\xFF</r>", u"\u00E4\u00FF"},
        {decl + "windows-1252\"?><r>\xE4\x80</r>", u"\u00E4\u20AC"},
        {decl + "US-ASCII\"?><r>z</r>", u"z"},
        {"\xFF\xFE" + wide("<r>z", false) + "\x3D\xD8\x00\xDE"s + wide("</r>", false), u"z\U0001F600"},
        {"\xFE\xFF" + wide("<r>z</r>", true), u"z"},
        {"\xFF\xFE" + wide(wideDecl, false), u"z"},
        {"\xFE\xFF" + wide(wideDecl, true), u"z"},
        {wide(wideDecl, false), u"z"},
        {wide("<r>z</r>", false), u"z"},
        {wide("<r>z</r>", true), u"z"},
    };
    for (const auto& [xml, text] : cases) {
        Document document(xml);
        ASSERT_FALSE(document.IsRefused()) << xml << document.GetError();
        const CXString value = document.GetRoot()->GetTextValue();
        ASSERT_EQ(value.GetLength(), static_cast<int>(text.size())) << xml;
        for (int i = 0; i < value.GetLength(); ++i)
            EXPECT_EQ(static_cast<char16_t>(value.GetAt(i)), text[static_cast<std::size_t>(i)]) << xml << i;
    }
}

TEST(XmlParsing, RefusesWhatIsNotWellFormed) {
    using namespace std::string_literals;
    const std::string cases[] = {
        " ",
        "<",
        "<r",
        "<r>",
        "<r></s>",
        "<r/><s/>",
        "<r a='1' a='2'/>",
        "<r>&undeclared;</r>",
        "<r>&amp</r>",
        "<r a=x/>",
        "<r><![CDATA[</r>",
        "<r><!--</r>",
        "<!DOCTYPE r [",
        "<!DOCTYPE r [<!ENTITY e>]><r/>",
        "x<r/>",
        "<?xml version='1.0'?>",
        "<r>\x01</r>",
        "<r>\0</r>"s,
        "<r>\xEF\xBF\xBE</r>",
        "<r>\xC3</r>",
        "<r>\xED\xA0\x80</r>",
        "<?xml version='1.0' encoding='UTF-16'?><r/>",
        "<?xml version='1.0' encoding='EBCDIC'?><r/>",
        "<?xml version='1.0' encoding='US-ASCII'?><r>\xE4</r>",
        "<?xml version='1.0' encoding='windows-1252'?><r>\x81</r>",
        "\xFF\xFE<\0r\0/\0>"s,
        "\xFF\xFE<\0r\0>\0\x00\xDC<\0/\0r\0>\0"s,
    };
    for (const std::string& xml : cases) {
        Document document(xml, false, NV_TEXT("x.xml"));
        EXPECT_TRUE(document.IsRefused()) << xml;
        EXPECT_EQ(document.GetError().rfind("MSXML Parse Error in 'x.xml'", 0), 0u)
            << xml << document.GetError();
        EXPECT_FALSE(*document.GetRootElement()) << xml;
    }
}

TEST(XmlParsing, TellsWhereABadByteIs) {
    const std::string latin = "<?xml version='1.0' encoding='windows-1252'?>\n<r>\xE4\x80\x81</r>";
    Document utf8("<r>\r\n <a>\xC3\xA4x\xE4</a>\n</r>", false, NV_TEXT("a.xml"));
    EXPECT_EQ(utf8.GetError(),
              "MSXML Parse Error in 'a.xml' on line 2 and column 7 (12 from start of file)\r\n\t <a>?x\r\n"
              "Error Code -2147024883/0x8007000d: Reason=An invalid character was found in text content.");
    Document other(latin, false, NV_TEXT("b.xml"));
    EXPECT_EQ(other.GetError(),
              "MSXML Parse Error in 'b.xml' on line 2 and column 6 (51 from start of file)\r\n\t<r>??\r\n"
              "Error Code -2147024883/0x8007000d: Reason=An invalid character was found in text content.");
    Document sound("<r/>");
    EXPECT_EQ(sound.GetError(), "No MSXML Parse Error reported (error code = 0)");
}

TEST(XmlParsing, OfNothingDoesNothing) {
    Document document("<r/>");
    unsigned char byte = '<';
    document.GetParser().parse(&byte, 0);
    document.GetParser().parse(nullptr, 5);
    EXPECT_TRUE(*document.GetRootElement());
    PlatformXmlParser fresh(NV_TEXT("x.xml"), true);
    EXPECT_FALSE(*fresh.getDocument()->getDocumentElement());
    EXPECT_EQ(Narrow(fresh.getSystemId()), "x.xml");
}

TEST(XmlParsing, ShowsInADocumentThatWasGotBefore) {
    PlatformXmlParser parser(CXString(), false);
    const auto document = parser.getDocument();
    const auto parse = [&](std::string xml) {
        parser.parse(reinterpret_cast<unsigned char*>(xml.data()), static_cast<DWORD>(xml.size()));
    };
    const auto error = [&] {
        auto& own = static_cast<PlatformDomDocument&>(*document);
        return Narrow(PlatformDomDocument::formatParseErrorDisplayString(own.getParseError()));
    };
    parse("<r/>");
    EXPECT_EQ(Show(*document->getDocumentElement()->getAsDomNode()), "r[]");
    EXPECT_THROW(parse("<r>"), NpifParseException);
    EXPECT_FALSE(*document->getDocumentElement());
    EXPECT_EQ(error().rfind("MSXML Parse Error", 0), 0u) << error();
    parse("<s/>");
    EXPECT_EQ(Show(*document->getDocumentElement()->getAsDomNode()), "s[]");
    EXPECT_EQ(error().rfind("No MSXML Parse Error", 0), 0u) << error();
}

TEST(XmlParsing, OfAFile) {
    const Folder folder;
    PlatformXmlParser parser(CXString(), false);
    EXPECT_FALSE(parser.parse(NameOf(folder.GetPath("missing.xml"))));
    EXPECT_TRUE(parser.parse(NameOf(folder.Write("empty.xml", ""))));
    EXPECT_FALSE(*parser.getDocument()->getDocumentElement());
    EXPECT_TRUE(parser.parse(NameOf(folder.Write("a.xml", "<r><a/></r>"))));
    EXPECT_EQ(Show(*parser.getDocument()->getDocumentElement()->getAsDomNode()), "r[a[]]");
    EXPECT_THROW(parser.parse(NameOf(folder.Write("b.xml", "<r>"))), NpifParseException);
    EXPECT_FALSE(*parser.getDocument()->getDocumentElement()) << "what was there before is gone";
    EXPECT_THROW(parser.parse(NameOf(folder.GetPath("."))), NorvaException);
}

// A little of everything that a document can hold.
const std::string mixture =
    "<?xml version='1.0' encoding='UTF-8'?><!DOCTYPE r [<!ELEMENT r ANY><!ENTITY % p \"<!ENTITY f 'g'>\">%p;"
    "<!ENTITY e '&f;<b>x</b>'><!ATTLIST r k (x|y) 'x' j CDATA #IMPLIED><!-- c --><?i j?>]>"
    "<r k='y' j=\"&#38;&f;\">\xC3\xA4&e;<![CDATA[<]]><!-- c --><?p q?><a/> </r>";

TEST(XmlParsing, RefusesEveryDocumentThatIsCut) {
    ASSERT_EQ(Show(mixture), "r[#text='?' e #cdata-section='<' #comment=' c ' p='q' a[]]");
    for (std::size_t length = 1; length < mixture.size(); ++length)
        EXPECT_EQ(Show(mixture.substr(0, length)), "refused") << length;
}

TEST(XmlParsing, SurvivesEveryDamagedCharacter) {
    for (std::size_t i = 0; i < mixture.size(); ++i) {
        for (const char c :
             {'<', '>', '&', '%', ';', '\'', '"', '[', ']', '!', '?', '/', ' ', 'e', '\0', '\xFF'}) {
            std::string damaged = mixture;
            damaged[i] = c;
            Document document(damaged);
            const bool hasError = document.GetError().rfind("No MSXML Parse Error", 0) != 0;
            EXPECT_EQ(document.IsRefused(), hasError) << damaged;
            EXPECT_NE(document.IsRefused(), static_cast<bool>(*document.GetRootElement())) << damaged;
        }
    }
}

TEST(XmlParsing, OnSeveralThreads) {
    std::vector<std::string> shown(4);
    std::vector<std::thread> threads;
    for (std::string& text : shown) {
        threads.emplace_back([&text] {
            for (int i = 0; i < 50; ++i)
                text = Show("<!DOCTYPE r [<!ENTITY e 'x'>]><r a='&e;'>a&e;<b> </b></r>") + Show("<r>");
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& text : shown)
        EXPECT_EQ(text, "r[#text='a' e b[]]refused");
}

// --- Validation -----------------------------------------------------------------------------------------

constexpr auto dtd = "<!ELEMENT r (a*)><!ELEMENT a (#PCDATA)><!ATTLIST a k CDATA #IMPLIED><!ENTITY e 'x'>";

TEST(XmlValidation, HoldsADocumentToItsDtd) {
    const Folder folder;
    const CXString systemId = NameOf(folder.GetPath("doc.xml"));
    folder.Write("t.dtd", dtd);
    folder.Write("bad.dtd", "<!ELEMENT r (a*)>\n<!ELEMENT a");
    folder.Write("decl.dtd", std::string("<?xml version='1.0' encoding='UTF-8'?>") + dtd);
    folder.Write("sections.dtd",
                 "<!ENTITY % on 'INCLUDE'><!ENTITY % inner '(a*)'><![%on;[<!ELEMENT r %inner;>]]>"
                 "<![IGNORE[<!ELEMENT r EMPTY><![INCLUDE[]]>]]><!ELEMENT a (#PCDATA)>");
    const std::string inner = std::string("<!DOCTYPE r [") + dtd + "]>";
    const struct {
        std::string xml;
        const char* unvalidated;
        const char* validated;
    } cases[] = {
        {"<r><b/></r>", "r[b[]]", "r[b[]]"},
        {inner + "<r> <a k='1'>x</a> </r>", "r[a[#text='x']]", "r[a[#text='x']]"},
        {inner + "<r><b/></r>", "r[b[]]", "refused"},
        {inner + "<r><a j='1'/></r>", "r[a[]]", "refused"},
        {inner + "<a/>", "a[]", "refused"},
        {"<!DOCTYPE r><r/>", "r[]", "refused"},
        {"<!DOCTYPE r SYSTEM 't.dtd'><r><a>x&e;</a></r>", "r[a[#text='x' e]]", "r[a[#text='x' e]]"},
        {"<!DOCTYPE r SYSTEM 't.dtd'><r><b/></r>", "r[b[]]", "refused"},
        {"<!DOCTYPE r PUBLIC '-//x' 'decl.dtd'><r><a/></r>", "r[a[]]", "r[a[]]"},
        {"<!DOCTYPE r SYSTEM 'sections.dtd'><r><a>x</a></r>", "r[a[#text='x']]", "r[a[#text='x']]"},
        {"<!DOCTYPE r SYSTEM 't.dtd' [<!ENTITY e 'first'>]><r/>", "r[]", "r[]"},
        {"<!DOCTYPE r SYSTEM 'bad.dtd'><r/>", "r[]", "refused"},
        {"<!DOCTYPE r SYSTEM 'missing.dtd'><r/>", "r[]", "refused"},
        {"<!DOCTYPE r SYSTEM 'http://example.invalid/t.dtd'><r/>", "r[]", "refused"},
        {"<!DOCTYPE r SYSTEM '../t.dtd'><r/>", "r[]", "refused"},
    };
    const auto before = std::filesystem::current_path();
    for (const auto& row : cases) {
        EXPECT_EQ(Show(row.xml, false, systemId), row.unvalidated) << row.xml;
        EXPECT_EQ(Show(row.xml, true, systemId), row.validated) << row.xml;
        EXPECT_EQ(std::filesystem::current_path(), before) << row.xml;
    }
    Document refused("<!DOCTYPE r SYSTEM 'bad.dtd'><r/>", true, systemId);
    EXPECT_NE(refused.GetError().find("bad.dtd' on line 2 and column 12 (29 from start"), std::string::npos)
        << refused.GetError();
}

TEST(XmlValidation, ReadsEveryKindOfDeclaration) {
    const Folder folder;
    const CXString systemId = NameOf(folder.GetPath("doc.xml"));
    const struct {
        const char* dtd;
        const char* root;
        const char* shown;
    } cases[] = {
        {"<!ELEMENT r EMPTY><!NOTATION gif PUBLIC '-//gif' 'viewer'><!NOTATION png SYSTEM \"v>\">"
         "<!ENTITY pic SYSTEM 'a.gif' NDATA gif><!ATTLIST r src ENTITY #REQUIRED kind NOTATION (gif|png) "
         "'gif'>",
         "<r src='pic'/>", "refused"},  // a notation is not for an empty element
        {"<!ELEMENT r ANY><!ATTLIST r id ID #IMPLIED to IDREFS #IMPLIED n NMTOKENS 'a b'>",
         "<r id='x' to='x x'/>", "r[]"},
        {"<!ELEMENT r ANY><!ATTLIST r id ID #IMPLIED to IDREF #IMPLIED>", "<r to='x'/>", "refused"},
        {"<!ELEMENT r ((a,b?)|(c+,(a|b)*))><!ELEMENT a EMPTY><!ELEMENT b EMPTY><!ELEMENT c EMPTY>",
         "<r><c/><c/><b/><a/></r>", "r[c[] c[] b[] a[]]"},
        {"<!ELEMENT r ((a,b?)|(c+,(a|b)*))><!ELEMENT a EMPTY><!ELEMENT b EMPTY><!ELEMENT c EMPTY>",
         "<r><b/></r>", "refused"},
        {"<!ENTITY % atts 'k CDATA #FIXED \"1\"'><!ENTITY % model '(#PCDATA)'><!ELEMENT r %model;>"
         "<!ATTLIST r %atts;>",
         "<r k='1'>t</r>", "r[#text='t']"},
        {"<!ENTITY % atts 'k CDATA #FIXED \"1\"'><!ELEMENT r EMPTY><!ATTLIST r %atts;>", "<r k='2'/>",
         "refused"},
        {"<!ENTITY % name 'r'><!ENTITY quoted '%name; &#37; &#38;amp;'><!ELEMENT %name; ANY>",
         "<r>&quoted;</r>", "r[quoted]"},
        {"<!ENTITY % on 'INCLUDE'><!ENTITY % off 'IGNORE'><![%off;[<!ELEMENT r EMPTY>]]>"
         "<![ %on; [<![INCLUDE[<!ELEMENT r ANY>]]>]]><?p <!ELEMENT?><!-- ]]> <!ELEMENT -->",
         "<r>t</r>", "r[#text='t']"},
        {"<!ELEMENT r ANY>%undeclared;", "<r/>", "refused"},
        {"<!ELEMENT r ANY><![INCLUDED[]]>", "<r/>", "refused"},
        {"<!ELEMENT r ANY>]]", "<r/>", "refused"},
        {"<!ELEMENT r ANY><!ENTITY e 'x", "<r/>", "refused"},
        {"<!ELEMENT r ANY><!ATTLIST r k>", "<r/>", "refused"},
        {"\xFF", "<r/>", "refused"},
        {"<?xml version='1.0' encoding='UTF-7'?><!ELEMENT r ANY>", "<r/>", "refused"},
    };
    for (const auto& row : cases) {
        folder.Write("t.dtd", row.dtd);
        EXPECT_EQ(Show(std::string("<!DOCTYPE r SYSTEM 't.dtd'>") + row.root, true, systemId), row.shown)
            << row.dtd;
    }
}

TEST(XmlValidation, FetchesNothing) {
    const Folder folder;
    folder.Write("secret.txt", "secret");
    folder.Write("more.dtd", "<!ENTITY e 'secret'>");
    folder.Write("foreign.dtd", "<!ELEMENT r ANY><!ENTITY % more SYSTEM 'more.dtd'> %more;");
    const CXString systemId = NameOf(folder.GetPath("doc.xml"));
    const std::string cases[] = {
        "<!DOCTYPE r [<!ENTITY e SYSTEM 'secret.txt'>]><r>&e;</r>",
        "<!DOCTYPE r [<!ENTITY e PUBLIC '-//x' 'http://example.invalid/'>]><r>&e;</r>",
        "<!DOCTYPE r [<!ENTITY % more SYSTEM 'more.dtd'> %more;]><r/>",
        "<!DOCTYPE r [<!ENTITY % p '&#60;!ENTITY e SYSTEM \"secret.txt\">'> %p;]><r>&e;</r>",
    };
    for (const std::string& xml : cases) {
        EXPECT_EQ(Show(xml, false, systemId), "refused") << xml;
        EXPECT_EQ(Show(xml, true, systemId), "refused") << xml;
    }
    EXPECT_EQ(Show("<!DOCTYPE r SYSTEM 'foreign.dtd'><r/>", true, systemId), "refused");
    EXPECT_EQ(Show("<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ENTITY e SYSTEM 'x.png' NDATA n>]><r/>"), "r[]");
}

// --- Attacks --------------------------------------------------------------------------------------------

std::string Repeat(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

/// Entities of which each refers to the one before.
std::string Chain(int length, const std::string& first, const std::string& format) {
    std::string declarations = "<!ENTITY e0 \"" + first + "\">";
    for (int i = 1; i < length; ++i) {
        const std::string reference = "&e" + std::to_string(i - 1) + ";";
        std::string value = format;
        for (std::size_t at = value.find('@'); at != std::string::npos; at = value.find('@'))
            value.replace(at, 1, reference);
        declarations += "<!ENTITY e" + std::to_string(i) + " \"" + value + "\">";
    }
    return "<!DOCTYPE r [" + declarations + "]><r>&e" + std::to_string(length - 1) + ";</r>";
}

TEST(XmlLimits, RefuseAttacksAtOnce) {
    std::string attributes;
    std::string defaults;
    for (int i = 0; i < 300; ++i) {
        const std::string name = "a" + std::to_string(i);
        attributes += " " + name + "=''";
        defaults += " " + name + " CDATA ''";
    }
    std::string parameters = "<!ENTITY % p0 '" + std::string(1000, ' ') + "'>";
    for (int i = 1; i < 10; ++i) {
        const std::string last = "&#37;p" + std::to_string(i - 1) + ";";
        parameters += "<!ENTITY % p" + std::to_string(i) + " '" + Repeat(last, 10) + "'>";
    }
    const std::string ten = "@@@@@@@@@@";
    const std::pair<const char*, std::string> cases[] = {
        {"depth", Repeat("<a>", 100000) + Repeat("</a>", 100000)},
        {"laughs", Chain(10, "lol", ten)},
        {"laughs in an attribute",
         "<!DOCTYPE r [<!ATTLIST r a CDATA '&e9;'>" + Chain(10, "lol", ten).substr(13)},
        {"quadratic",
         "<!DOCTYPE r [<!ENTITY e '" + std::string(50000, 'x') + "'>]><r>" + Repeat("&e;", 50000) + "</r>"},
        {"elements in entities",
         Chain(13, "<a/>",
               "<a><b><c><d><e><f><g><h><i><j><k><l><m><n><o><p><q><r><s><t><u><v>@</v></u></t></s></r></q></"
               "p></o></n></m></l></k></j></i></h></g></f></e></d></c></b></a>")},
        {"deep references", Chain(17, "x", "@")},
        {"recursion", "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r>&a;</r>"},
        {"parameter laughs", "<!DOCTYPE r [" + parameters + "%p9;]><r/>"},
        {"parameter recursion", "<!DOCTYPE r [<!ENTITY % a '&#37;a;'> %a;]><r/>"},
        {"declarations in a parameter entity",
         "<!DOCTYPE r [<!ENTITY % p '&#60;!ENTITY a \"&#38;#38;a;\">'> %p;]><r>&a;</r>"},
        {"attributes", "<r" + attributes + "/>"},
        {"declared attributes", "<!DOCTYPE r [<!ATTLIST r" + defaults + ">]><r/>"},
        {"default attributes", "<!DOCTYPE r [<!ATTLIST a x CDATA '" + std::string(60000, 'x') + "'>]><r>" +
                                   Repeat("<a/>", 100000) + "</r>"},
        {"namespaces",
         [] {
             std::string xml;
             for (int i = 0; i < 200; ++i)
                 xml += "<a xmlns:p" + std::to_string(i) + "='u' xmlns:q" + std::to_string(i) + "='u'>";
             return xml + Repeat("</a>", 200);
         }()},
        {"content model", "<!DOCTYPE r [<!ELEMENT r (" + Repeat("a|", 2000) + "a)>]><r/>"},
        {"content models", "<!DOCTYPE r [<!ELEMENT r (" + Repeat("a?,", 300) + "a)>]><r/>"},
        {"ampersands", "<!DOCTYPE r [<!ENTITY e '" + std::string(2000000, '&') + "'>]><r>&e;</r>"},
        {"numbers with many zeros",
         "<!DOCTYPE r [<!ENTITY a '&#" + std::string(40, '0') + "38;a;'>]><r>&a;</r>"},
        {"declarations", "<!DOCTYPE r [<!ENTITY % n '" + Repeat("<!NOTATION n SYSTEM \"n\">", 40) + "'>" +
                             Repeat("%n;", 8000) + "]><r/>"},
        {"attributes in declarations",
         [&] {
             std::string xml = "<!DOCTYPE a [";
             for (int i = 0; i < 2000; ++i)
                 xml += "<!ATTLIST a" + std::to_string(i) + defaults.substr(0, defaults.find(" a100 ")) + ">";
             return xml + "]><a/>";
         }()},
        {"enumeration", "<!DOCTYPE r [<!ATTLIST r a (" + Repeat("x|", 300) + "y) 'y'>]><r/>"},
        {"size", "<r>" + std::string(9 << 20, 'x') + "</r>"},
    };
    for (const auto& [name, xml] : cases) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Show(xml), "refused") << name;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << name;
    }
}

TEST(XmlLimits, AllowWhatLiesBelowThem) {
    const std::string deep = Repeat("<a>", 256) + Repeat("</a>", 256);
    Document document(deep);
    ASSERT_FALSE(document.IsRefused()) << document.GetError();
    EXPECT_EQ(document.GetRoot()->GetNumberOfElementNodesRecursive(), 255u);
    EXPECT_EQ(Show(Chain(16, "x", "@")), "r[e15]");
    EXPECT_EQ(Show("<!DOCTYPE r [<!ENTITY a '&b;&b;'><!ENTITY b 'x'>]><r>&a;&a;</r>"), "r[a a]");
    EXPECT_EQ(Show("<r>" + std::string(8000000, 'x') + "</r>").size(), 8000000u + 11);
}

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

// --- Writing --------------------------------------------------------------------------------------------

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
