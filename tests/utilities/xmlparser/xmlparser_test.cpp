// Reading and validating documents; every test gives the same results on both builds.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "utilities/xmlparser/xmldocuments.h"

namespace {

using xmltest::Document;
using xmltest::Folder;
using xmltest::NameOf;
using xmltest::Show;

// --- Reading --------------------------------------------------------------------------------------------

TEST(XmlParsing, GivesTheTree) {
    const struct {
        std::string xml;
        const char* shown;
    } cases[] = {
        {"<?xml version='1.0'?><r encoding='x'/>", "r[]"},
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
        {decl + "windows-1251\"?><r>\xDF\xB9</r>", u"\u042F\u2116"},
        {decl + "KOI8-R\"?><r>\xD1\xA3</r>", u"\u044F\u0451"},
        {decl + "koi8-u\"?><r>\xA4\xAE</r>", u"\u0454\u255D"},
        {decl + "iso8859-7\"?><r>\xA4\xE1</r>", u"\u20AC\u03B1"},
        {decl + "Latin10\"?><r>\xAA</r>", u"\u0218"},
        {decl + "TIS-620\"?><r>\xA1\xFB</r>", u"\u0E01\u0E5B"},
        {decl + "Shift_JIS\"?><r>\x83\x5C\\~\xB1\x81\x60\x87\x40</r>", u"\u30BD\\~\uFF71\uFF5E\u2460"},
        {decl + "EUC-JP\"?><r>\xA5\xBD\x8E\xB1\x8F\xB0\xA1\xA1\xC1</r>", u"\u30BD\uFF71\u4E02\u301C"},
        {decl + "ISO-2022-JP\"?><r>\x1B$B%=\x1B(J\\\x1B(B\\</r>", u"\u30BD\u00A5\\"},
        {decl + "GB2312\"?><r>\xD3\xA1\x81\x40\x80</r>", u"\u5370\u4E02\u20AC"},
        {decl + "GB18030\"?><r>\xA2\xE3\x81\x30\x81\x30\x90\x30\x81\x30\x83\x36\xD0\x30</r>",
         u"\u20AC\u0080\U00010000\uE865"},
        {decl + "Big5\"?><r>\xA6\x4C\xA2\xCC</r>", u"\u5370\u5341"},
        {decl + "EUC-KR\"?><r>\xC0\xCE\x81\x41</r>", u"\uC778\uAC02"},
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
        "<r>\x80</r>",
        "<r>\xC1\x80</r>",
        "<r>\xED\xA0\x80</r>",
        "<?xml version='1.0' encoding='UTF-16'?><r/>",
        "<?xml version='1.0' encoding='EBCDIC'?><r/>",
        "<?xml version='1.0' encoding='US-ASCII'?><r>\xE4</r>",
        "<?xml version='1.0' encoding='windows-1252'?><r>\x81</r>",
        "<?xml version='1.0' encoding='UTF-7'?><r/>",
        "<?xml version='1.0' encoding='windows-1253'?><r>\xD2</r>",
        "<?xml version='1.0' encoding='Shift_JIS'?><r>\x83<</r>",
        "<?xml version='1.0' encoding='Shift_JIS'?><r>\xF0\x40</r>",  // a character of the user's own
        "<?xml version='1.0' encoding='EUC-JP'?><r>\x8F\xB0</r>",
        "<?xml version='1.0' encoding='EUC-KR'?><r>\x80</r>",
        "<?xml version='1.0' encoding='ISO-2022-JP'?><r>\x1B$B%</r>",
        "<?xml version='1.0' encoding='ISO-2022-JP'?><r>\x1B$A%=</r>",
        "<?xml version='1.0' encoding='GB18030'?><r>\xFE\x39\xFE\x39</r>",
        "<?xml version='1.0' encoding='GB18030'?><r>\x81\x30\x81</r>",
        "<?xml version='1.0' x='\x81' encoding='GBK'?><r/>",
        "\xEF\xBB\xBF<?xml version='1.0' encoding='GBK'?><r/>",
        "<?xml version='1.0' encoding='ISO-8859-5'?><r>" + std::string(5 << 20, '\xB0') + "</r>",
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

// Users report these: a fault has the same identifier on both builds, whatever part of them found it.
TEST(XmlParsing, HasOneIdentifierForEachFault) {
    const auto identifier = [](std::string xml, bool validate, bool isBuilt) {
        try {
            PlatformXmlParser parser(CXString(), validate);
            parser.parse(reinterpret_cast<unsigned char*>(xml.data()), static_cast<DWORD>(xml.size()));
            const auto document = parser.getDocument();
            if (isBuilt)
                document->getDocumentElement()->appendChild(*document->createTextNode(NV_TEXT("\x01")));
            xmltest::Write(parser);
        } catch (const NpifParseException& exception) {
            return Narrow(exception.GetExceptionIdentifierForUserDisplay()) + ' ' +
                   Narrow(exception.GetExceptionLocationFileName()) + ' ' +
                   Narrow(exception.GetExceptionLocationFunctionName());
        }
        return std::string();
    };
    const std::string file = " src/utilities/xmlparser/microsoftxmlparser MicrosoftXmlParser::";
    for (const char* xml : {"<r>", "<r></s>", "<r>\xFF</r>", "<?xml version='1.0' encoding='x'?><r/>"})
        EXPECT_EQ(identifier(xml, false, false), "001:002:0165" + file + "parse") << xml;
    EXPECT_EQ(identifier("<!DOCTYPE r [<!ELEMENT r EMPTY>]><r>x</r>", true, false),
              "001:002:0165" + file + "parse");
    EXPECT_EQ(identifier("<r/>", false, true), "001:003:0198" + file + "convertToXmlStream");
}

TEST(XmlParsing, TellsWhereABadByteIs) {
    const std::string latin = "<?xml version='1.0' encoding='windows-1252'?>\n<r>\xE4\x80\x81</r>";
    Document utf8("<r>\r\r\n <a>\xC3\xA4x\xE4</a>\n</r>", false, NV_TEXT("a.xml"));
    EXPECT_EQ(utf8.GetError(),
              "MSXML Parse Error in 'a.xml' on line 3 and column 7 (13 from start of file)\r\n\t <a>?x\r\n"
              "Error Code -2147024883/0x8007000d: Reason=An invalid character was found in text content.");
    Document other(latin, false, NV_TEXT("b.xml"));
    EXPECT_EQ(other.GetError(),
              "MSXML Parse Error in 'b.xml' on line 2 and column 6 (51 from start of file)\r\n\t<r>??\r\n"
              "Error Code -2147024883/0x8007000d: Reason=An invalid character was found in text content.");
    Document wide("<?xml version='1.0' encoding='Shift_JIS'?>\n<r>\x83\x5C\x83\x5C\x82\x20</r>", false,
                  NV_TEXT("c.xml"));
    EXPECT_NE(wide.GetError().find("'c.xml' on line 2 and column 6 (50 from"), std::string::npos)
        << wide.GetError();
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
    EXPECT_FALSE(parser.parse(NameOf(folder / "missing.xml")));
    EXPECT_TRUE(parser.parse(NameOf(folder.Write("empty.xml", ""))));
    EXPECT_FALSE(*parser.getDocument()->getDocumentElement());
    EXPECT_TRUE(parser.parse(NameOf(folder.Write("a.xml", "<r><a/></r>"))));
    EXPECT_EQ(Show(*parser.getDocument()->getDocumentElement()->getAsDomNode()), "r[a[]]");
    EXPECT_THROW(parser.parse(NameOf(folder.Write("b.xml", "<r>"))), NpifParseException);
    EXPECT_FALSE(*parser.getDocument()->getDocumentElement()) << "what was there before is gone";
    EXPECT_THROW(parser.parse(NameOf(folder / ".")), NorvaException);
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
    const CXString systemId = NameOf(folder / "doc.xml");
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
        {"<!DOCTYPE r SYSTEM './t.dtd'><r/>", "r[]", "refused"},
    };
    const auto before = std::filesystem::current_path();
    for (const auto& row : cases) {
        EXPECT_EQ(Show(row.xml, false, systemId), row.unvalidated) << row.xml;
        EXPECT_EQ(Show(row.xml, true, systemId), row.validated) << row.xml;
        EXPECT_EQ(std::filesystem::current_path(), before) << row.xml;
    }
    folder.Write("kana.dtd", "<?xml version='1.0' encoding='Shift_JIS'?><!ELEMENT \x83\x5C EMPTY>");
    EXPECT_EQ(Show("<?xml version='1.0' encoding='EUC-JP'?><!DOCTYPE \xA5\xBD SYSTEM 'kana.dtd'><\xA5\xBD/>",
                   true, systemId),
              "?[]");
    EXPECT_EQ(Show("<!DOCTYPE r SYSTEM 'kana.dtd'><r/>", true, systemId), "refused");
    Document refused("<!DOCTYPE r SYSTEM 'bad.dtd'><r/>", true, systemId);
    EXPECT_NE(refused.GetError().find("bad.dtd' on line 2 and column 12 (29 from start"), std::string::npos)
        << refused.GetError();
}

TEST(XmlValidation, ReadsEveryKindOfDeclaration) {
    const Folder folder;
    const CXString systemId = NameOf(folder / "doc.xml");
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
    const CXString systemId = NameOf(folder / "doc.xml");
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

}  // namespace
