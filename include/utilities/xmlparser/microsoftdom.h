// The document-object layer over MSXML. Each wrapper holds one reference to a platform object, or none.
#pragma once

#include <memory>
#include <vector>

#include "utilities/xmlparser/compointer.h"
#include "utilities/xmlparser/xmldom.h"
#include "utilities/xmlparser/xmlparseerror.h"

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

    std::uint32_t getNumChildNodes() const override;
    CXString getNodeName() const override;
    CXString getNodeValue() const override;
    std::unique_ptr<XmlDomNode> getFirstChild() override;
    std::unique_ptr<XmlDomNode> getNextSibling() override;
    std::unique_ptr<XmlDomNamedNodeMap> getAttributes() override;
    bool isElementNode() const override;
    operator bool() const override;
    CXString getDomNodeTypeDebugDisplayString() const override;
    bool isTextNode() const override;
    /// @param child  a node of this implementation, as everywhere
    std::unique_ptr<XmlDomNode> appendChild(XmlDomNode& child) override;
    std::unique_ptr<XmlDomNode> removeChild(XmlDomNode& child) override;

protected:
    std::unique_ptr<XmlDomNode> getNullNode() override;

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

    operator bool() const override;
    std::unique_ptr<XmlDomNode> getAsDomNode() override;
    void setAttribute(const CXString& name, const CXString& value) override;
    void appendChild(XmlDomText& text) override;
    std::unique_ptr<XmlDomElement> appendChild(XmlDomElement& element) override;

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
