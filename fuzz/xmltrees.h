// What the XML targets share: parsing, walking and writing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "expect.h"
#include "utilities/xmlparser/comerror.h"
#include "utilities/xmlparser/npifparseexception.h"
#include "utilities/xmlparser/platformxmlparser.h"

/// @return whether the document was accepted
inline bool Parse(NorvaXmlParser& parser, const std::string& document) {
    std::string bytes = document;
    try {
        parser.parse(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<DWORD>(bytes.size()));
        return !bytes.empty();
    } catch (const NpifParseException&) {
        const auto holder = parser.getDocument();
        auto& own = static_cast<PlatformDomDocument&>(*holder);
        FUZZ_EXPECT(own.getParseError().errorCode != 0);
        FUZZ_EXPECT(!PlatformDomDocument::formatParseErrorDisplayString(own.getParseError()).IsEmpty());
        FUZZ_EXPECT(!*holder->getDocumentElement());
        return false;
    }
}

inline std::unique_ptr<XmlDomNode> RootOf(NorvaXmlParser& parser) {
    return parser.getDocument()->getDocumentElement()->getAsDomNode();
}

inline bool IsBlank(const CXString& text) {
    CXString trimmed = text;
    for (const WChar blank : {u' ', u'\t', u'\r', u'\n'})
        trimmed.Remove(blank);
    return trimmed.IsEmpty();
}

/// A tree as text: neighbouring texts are one, and those of nothing but white space are none, as when it is
/// written and read again.
inline void Describe(XmlDomNode& node, std::u16string& out) {
    const auto append = [&out](const CXString& text) {
        out.append(static_cast<const WChar*>(text), static_cast<std::size_t>(text.GetLength()));
        out += u'\x1';
    };
    append(node.getNodeName());
    append(node.getNodeValue());
    if (!node.isElementNode()) return;
    const auto attributes = node.getAttributes();
    for (const auto& attribute : static_cast<PlatformDomNamedNodeMap&>(*attributes).getItems()) {
        const CXString name = attribute->getNodeName();
        FUZZ_EXPECT(attributes->getNamedItem(name)->getNodeValue() == attribute->getNodeValue());
        append(name);
        append(attribute->getNodeValue());
    }
    CXString text;
    const auto endText = [&] {
        if (!IsBlank(text)) append(text);
        text.Empty();
    };
    out += u'\x2';
    for (auto child = node.getFirstChild(); *child; child = child->getNextSibling()) {
        if (child->isTextNode()) {
            text += child->getNodeValue();
            continue;
        }
        endText();
        Describe(*child, out);
    }
    endText();
    out += u'\x3';
}

inline std::u16string Describe(NorvaXmlParser& parser) {
    std::u16string out;
    Describe(*RootOf(parser), out);
    return out;
}

/// Keeps what is written.
class Written : public XmlOutputCallback {
public:
    void handleOutput(const BYTE* data, std::uint32_t length) override { text.assign(data, data + length); }
    std::string text;
};

/// Writes a document, which must then read as the same.
inline void ExpectRoundTrip(NorvaXmlParser& parser) {
    Written written;
    parser.convertToXmlStream(written);
    PlatformXmlParser again{CXString(), false};
    FUZZ_EXPECT(Parse(again, written.text));
    FUZZ_EXPECT(Describe(again) == Describe(parser));
}
