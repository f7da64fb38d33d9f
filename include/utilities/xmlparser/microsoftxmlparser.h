// MicrosoftXmlParser: the parser over MSXML 3.0, and its document-object layer. Each wrapper holds one
// reference to a platform object, or none.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/types.h"
#include "utilities/xmlparser/microsoftcomlibrary.h"
#include "utilities/xmlparser/norvaxmlparser.h"
#include "utilities/xmlparser/xmldom.h"
#include "utilities/xmlparser/xmlparseerror.h"

namespace nvutil {

/// Counts a reference to any COM object: each begins with the same three functions.
NVUTIL_API void AddComReference(void* object);
NVUTIL_API void ReleaseComReference(void* object);

/// A counted reference, or none. The interface may be incomplete, so that headers need not include the
/// platform's.
template <class Interface>
class ComPointer {
public:
    ComPointer() = default;
    ComPointer(const ComPointer& other) : m_object(other.m_object) {
        if (m_object != nullptr) AddComReference(m_object);
    }
    ComPointer(ComPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ComPointer& operator=(ComPointer other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~ComPointer() {
        if (m_object != nullptr) ReleaseComReference(m_object);
    }

    Interface* Get() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    Interface* operator->() const { return m_object; }
    /// Where a call puts the reference that it hands over; what was held before is released.
    Interface** Receive() {
        *this = ComPointer();
        return &m_object;
    }

private:
    Interface* m_object = nullptr;
};

}  // namespace nvutil

struct IStream;
struct IXMLDOMDocument2;
struct IXMLDOMElement;
struct IXMLDOMNamedNodeMap;
struct IXMLDOMNode;
struct IXMLDOMParseError;
struct IXMLDOMText;

class NVUTIL_API MicrosoftDomNode : public XmlDomNode {
public:
    explicit MicrosoftDomNode(nvutil::ComPointer<IXMLDOMNode> node);
    ~MicrosoftDomNode() override;
    MicrosoftDomNode(const MicrosoftDomNode&) = delete;
    MicrosoftDomNode& operator=(const MicrosoftDomNode&) = delete;

    NV_DOM_NODE_FUNCTIONS

private:
    int GetNodeType() const;

    nvutil::ComPointer<IXMLDOMNode> m_node;
};

class NVUTIL_API MicrosoftDomText : public XmlDomText {
public:
    explicit MicrosoftDomText(nvutil::ComPointer<IXMLDOMText> text);
    ~MicrosoftDomText() override;
    MicrosoftDomText(const MicrosoftDomText&) = delete;
    MicrosoftDomText& operator=(const MicrosoftDomText&) = delete;

    /// The platform's text node, for the element that appends it; still owned by this object.
    IXMLDOMText* getNativeObject() const { return m_text.Get(); }

private:
    nvutil::ComPointer<IXMLDOMText> m_text;
};

class NVUTIL_API MicrosoftDomElement : public XmlDomElement {
public:
    explicit MicrosoftDomElement(nvutil::ComPointer<IXMLDOMElement> element);
    ~MicrosoftDomElement() override;
    MicrosoftDomElement(const MicrosoftDomElement&) = delete;
    MicrosoftDomElement& operator=(const MicrosoftDomElement&) = delete;

    NV_DOM_ELEMENT_FUNCTIONS

private:
    nvutil::ComPointer<IXMLDOMElement> m_element;
};

class NVUTIL_API MicrosoftDomNamedNodeMap : public XmlDomNamedNodeMap {
public:
    explicit MicrosoftDomNamedNodeMap(nvutil::ComPointer<IXMLDOMNamedNodeMap> map);
    ~MicrosoftDomNamedNodeMap() override;
    MicrosoftDomNamedNodeMap(const MicrosoftDomNamedNodeMap&) = delete;
    MicrosoftDomNamedNodeMap& operator=(const MicrosoftDomNamedNodeMap&) = delete;

    std::unique_ptr<XmlDomNode> getNamedItem(const CXString& name) override;
    operator bool() const override;

    /// All attributes, those that declare namespaces behind the others where the engine keeps them apart.
    std::vector<std::unique_ptr<XmlDomNode>> getItems() const;

private:
    nvutil::ComPointer<IXMLDOMNamedNodeMap> m_map;
};

class NVUTIL_API MicrosoftDomDocument : public XmlDomDocument {
public:
    /// Makes an empty document of MSXML 3.0, the one engine that is tried.
    MicrosoftDomDocument();
    /// Shares the platform's document of another one.
    MicrosoftDomDocument(const MicrosoftDomDocument& other);
    MicrosoftDomDocument& operator=(const MicrosoftDomDocument&) = delete;
    ~MicrosoftDomDocument() override;

    std::unique_ptr<XmlDomElement> getDocumentElement() override;
    std::unique_ptr<XmlDomElement> createElement(const CXString& name) override;
    std::unique_ptr<XmlDomText> createTextNode(const CXString& text) override;

    /// Replaces the document by what a stream holds.
    /// @return the platform's 16-bit boolean: 0 when the document was refused
    short load(IStream* stream);
    /// Writes the document to a stream.
    HRESULT save(IStream* stream);
    /// The error of the last load, whichever wrapper of the document did it; its code is 0 when there was
    /// none.
    nvutil::ComPointer<IXMLDOMParseError> getParseError();
    /// Whether load validates, for which it looks for the DTD.
    void setValidateOnParse(bool mustBeValid);
    /// @param parseError  receives what makes the document invalid
    /// @return whether the document has a DTD and is valid by it
    bool validate(nvutil::ComPointer<IXMLDOMParseError>& parseError);

    /// Empties the document, with this as the error of its load.
    void refuse(nvutil::ComPointer<IXMLDOMParseError> parseError);

    /// What the platform tells of a parse error; what it cannot tell is empty.
    static nvutil::XmlParseError ReadParseError(const nvutil::ComPointer<IXMLDOMParseError>& parseError);
    /// The text that users report of a parse error; docs/xml.md shows it.
    static CXString formatParseErrorDisplayString(const nvutil::ComPointer<IXMLDOMParseError>& parseError);

private:
    nvutil::ComPointer<IXMLDOMDocument2> m_document;
    /// Stands for the engine's own error when there is one; shared like the document.
    std::shared_ptr<nvutil::ComPointer<IXMLDOMParseError>> m_refusal;
};

namespace nvutil {
struct CheckedDocument;
}

/// What the engine itself fails at is thrown as `_com_error`.
class NVUTIL_API MicrosoftXmlParser : public NorvaXmlParser {
public:
    MicrosoftXmlParser(const CXString& systemId, bool validate);
    ~MicrosoftXmlParser() override;

    NV_XML_PARSER_FUNCTIONS

private:
    bool Load(const nvutil::CheckedDocument& document);
    bool IsValid();

    MicrosoftComLibrary m_library;  // before the document, which needs it
    MicrosoftDomDocument m_document;
    std::string m_declaredEncoding;  ///< of the document as it was read, which the engine is not told
};
