// Documents in tests: parsed, shown in one line, written, and laid down beside their DTDs.
#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "support/narrow.h"
#include "support/temporaryfolder.h"
#include "utilities/xmlparser/npifparseexception.h"
#include "utilities/xmlparser/platformxmlparser.h"

namespace xmltest {

inline CXString Text(std::string_view ascii) {
    return {ascii.data(), static_cast<int>(ascii.size())};
}

using Folder = TemporaryFolder;

inline CXString NameOf(const std::filesystem::path& path) {
    return Text(path.string());
}

/// A document that has been parsed, or refused.
class Document {
public:
    explicit Document(std::string_view xml, bool validate = false, const CXString& systemId = CXString())
        : m_parser(systemId, validate) {
        std::string bytes(xml);
        try {
            m_parser.parse(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<DWORD>(bytes.size()));
        } catch (const NpifParseException& exception) {
            m_code = exception.GetCode();
        }
    }

    NorvaXmlParser& GetParser() { return m_parser; }
    bool IsRefused() const { return m_code == NpifParseException::ErrorReportedDuringParse; }
    std::unique_ptr<XmlDomElement> GetRootElement() { return m_parser.getDocument()->getDocumentElement(); }
    std::unique_ptr<XmlDomNode> GetRoot() { return GetRootElement()->getAsDomNode(); }
    std::string GetError() {
        auto& document = static_cast<PlatformDomDocument&>(*(m_document = m_parser.getDocument()));
        return Narrow(PlatformDomDocument::formatParseErrorDisplayString(document.getParseError()));
    }

private:
    PlatformXmlParser m_parser;
    std::unique_ptr<XmlDomDocument> m_document;
    short m_code = 0;
};

/// A node and all that is in it: "r[#text='x' a[]]".
inline std::string Show(XmlDomNode& node) {
    std::string shown = Narrow(node.getNodeName());
    const std::string value = Narrow(node.getNodeValue());
    if (!value.empty()) shown += "='" + value + "'";
    if (!node.isElementNode()) return shown;
    shown += '[';
    for (auto child = node.getFirstChild(); *child; child = child->getNextSibling())
        shown += (shown.back() == '[' ? "" : " ") + Show(*child);
    return shown + ']';
}

/// The same for a document; "refused" for one that is.
inline std::string Show(std::string_view xml, bool validate = false, const CXString& systemId = CXString()) {
    Document document(xml, validate, systemId);
    return document.IsRefused() ? "refused" : Show(*document.GetRoot());
}

/// Keeps what is written.
class Output : public XmlOutputCallback {
public:
    void handleOutput(const BYTE* data, std::uint32_t length) override {
        if (length > 0) m_text.assign(reinterpret_cast<const char*>(data), length);
        ++m_calls;
    }
    const std::string& GetText() const { return m_text; }
    int GetCalls() const { return m_calls; }

private:
    std::string m_text;
    int m_calls = 0;
};

inline std::string Write(NorvaXmlParser& parser) {
    Output output;
    parser.convertToXmlStream(output);
    return output.GetText();
}

}  // namespace xmltest
