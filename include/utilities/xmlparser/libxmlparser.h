// LibXmlParser: the parser over libxml2, and its document-object layer. Each wrapper refers to a node, or
// none, and shares its tree.
#pragma once

#include <memory>
#include <vector>

#include "utilities/utilitiesdll/smallobject.h"
#include "utilities/xmlparser/norvaxmlparser.h"
#include "utilities/xmlparser/xmldom.h"
#include "utilities/xmlparser/xmlparseerror.h"

class LibXmlTree;
struct _xmlNode;

/// What a parser holds at the moment, shared with the wrappers of its document.
struct LibXmlContent {
    std::shared_ptr<LibXmlTree> tree;
    nvutil::XmlParseError error;  ///< Its code is 0 when the last parse had none.
};

/// A node and the tree that keeps it alive.
struct LibXmlNodeReference {
    std::shared_ptr<LibXmlTree> tree = {};
    _xmlNode* node = nullptr;
};

class NVUTIL_API LibXmlDomNode : public XmlDomNode, public nvutil::SmallObject {
public:
    explicit LibXmlDomNode(LibXmlNodeReference node);
    ~LibXmlDomNode() override;

    NV_DOM_NODE_FUNCTIONS

private:
    LibXmlNodeReference m_node;
};

class NVUTIL_API LibXmlDomText : public XmlDomText {
public:
    explicit LibXmlDomText(LibXmlNodeReference text);
    ~LibXmlDomText() override;

    /// The text node, for the element that appends it.
    const LibXmlNodeReference& getNativeObject() const { return m_text; }

private:
    LibXmlNodeReference m_text;
};

class NVUTIL_API LibXmlDomElement : public XmlDomElement {
public:
    explicit LibXmlDomElement(LibXmlNodeReference element);
    ~LibXmlDomElement() override;

    NV_DOM_ELEMENT_FUNCTIONS

private:
    LibXmlNodeReference m_element;
};

class NVUTIL_API LibXmlDomNamedNodeMap : public XmlDomNamedNodeMap {
public:
    /// @param element  the element whose attributes these are
    explicit LibXmlDomNamedNodeMap(LibXmlNodeReference element);
    ~LibXmlDomNamedNodeMap() override;

    std::unique_ptr<XmlDomNode> getNamedItem(const CXString& name) override;
    operator bool() const override;

    /// All attributes, those that declare namespaces behind the others.
    std::vector<std::unique_ptr<XmlDomNode>> getItems() const;

private:
    LibXmlNodeReference m_element;
};

class NVUTIL_API LibXmlDomDocument : public XmlDomDocument {
public:
    explicit LibXmlDomDocument(std::shared_ptr<const LibXmlContent> content);
    ~LibXmlDomDocument() override;

    std::unique_ptr<XmlDomElement> getDocumentElement() override;
    std::unique_ptr<XmlDomElement> createElement(const CXString& name) override;
    std::unique_ptr<XmlDomText> createTextNode(const CXString& text) override;

    /// The error of the parser's last parse; its code is 0 when there was none.
    const nvutil::XmlParseError& getParseError() const { return m_content->error; }

    /// The text that users report of a parse error; docs/xml.md shows it.
    static CXString formatParseErrorDisplayString(const nvutil::XmlParseError& parseError);

private:
    std::shared_ptr<const LibXmlContent> m_content;
};

class NVUTIL_API LibXmlParser : public NorvaXmlParser {
public:
    LibXmlParser(const CXString& systemId, bool validate);
    ~LibXmlParser() override;

    NV_XML_PARSER_FUNCTIONS

private:
    std::shared_ptr<LibXmlContent> m_content;
};
