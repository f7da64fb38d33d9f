// What is refused before an engine sees it.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "utilities/xmlparser/xmldocuments.h"

namespace {

using xmltest::Show;

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
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << name;
    }
}

/// A text for each number, one behind the other; "@" in it stands for the number.
std::string Numbered(const std::string& text, int count, const std::string& separator = "") {
    std::string all;
    for (int i = 0; i < count; ++i) {
        std::string each = (i > 0 ? separator : "") + text;
        for (std::size_t at = each.find('@'); at != std::string::npos; at = each.find('@'))
            each.replace(at, 1, std::to_string(i));
        all += each;
    }
    return all;
}

TEST(XmlLimits, HoldToTheNumber) {
    const auto expect = [](const char* name, int limit, const std::function<std::string(int)>& make) {
        EXPECT_NE(Show(make(limit)), "refused") << name;
        EXPECT_EQ(Show(make(limit + 1)), "refused") << name;
    };
    const auto inDtd = [](const std::string& declarations) {
        return "<!DOCTYPE r [" + declarations + "]><r/>";
    };
    expect("depth", 256, [](int n) { return Repeat("<a>", n) + Repeat("</a>", n); });
    expect("attributes", 256, [](int n) { return "<r" + Numbered(" a@=''", n) + "/>"; });
    expect("declared attributes", 256,
           [&](int n) { return inDtd("<!ATTLIST r" + Numbered(" a@ CDATA #IMPLIED", n) + ">"); });
    expect("declared attributes of all elements", 32768, [&](int n) {
        return inDtd(Numbered("<!ATTLIST e@" + Numbered(" a@ CDATA #IMPLIED", 256) + ">", n / 256) +
                     "<!ATTLIST last" + Numbered(" a@ CDATA #IMPLIED", n % 256) + ">");
    });
    expect("namespaces", 256, [](int n) {
        return "<a" + Numbered(" xmlns:p@='u'", 200) + "><b" + Numbered(" xmlns:q@='u'", n - 200) + "/></a>";
    });
    expect("declarations", 8192, [&](int n) { return inDtd(Numbered("<!ELEMENT e@ EMPTY>", n)); });
    expect("names in a content model", 1024,
           [&](int n) { return inDtd("<!ELEMENT r (" + Numbered("e@", n, "|") + ")>"); });
    expect("names times repetitions", 256,
           [&](int n) { return inDtd("<!ELEMENT r (" + Numbered("e@?", n, ",") + ")>"); });
    expect("enumeration", 256,
           [&](int n) { return inDtd("<!ATTLIST r a (" + Numbered("v@", n, "|") + ") 'v0'>"); });
    expect("references in references", 16, [](int n) { return Chain(n, "x", "@"); });
    expect("bytes", 8 << 20,
           [](int n) { return "<r>" + std::string(static_cast<std::size_t>(n) - 7, 'x') + "</r>"; });
}

TEST(XmlLimits, LeaveOrdinaryEntitiesAlone) {
    EXPECT_EQ(Show("<!DOCTYPE r [<!ENTITY a '&b;&b;'><!ENTITY b 'x'>]><r>&a;&a;</r>"), "r[a a]");
}

}  // namespace
