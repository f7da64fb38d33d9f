// The document-object layer over libxml2.
#include "utilities/xmlparser/libxmlparser.h"

#include <libxml/tree.h>

#include <string>
#include <string_view>
#include <utility>

#include "utilities/xmlparser/comerror.h"
#include "utilities/xmlparser/posix/libxmltree.h"
#include "utilities/xmlparser/xmltext.h"

namespace {

constexpr std::string_view declarationPrefix = "xmlns";

std::string_view View(const xmlChar* text) {
    return text != nullptr ? reinterpret_cast<const char*>(text) : std::string_view();
}

const xmlChar* Pointer(const std::string& text) {
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

/// The node behind a reference.
/// @throws _com_error (E_POINTER) when there is none
xmlNode* Require(const LibXmlNodeReference& reference) {
    if (reference.node == nullptr) throw _com_error(E_POINTER);
    return reference.node;
}

std::unique_ptr<XmlDomNode> Wrap(const LibXmlNodeReference& neighbour, xmlNode* node) {
    if (node == nullptr) return std::make_unique<LibXmlDomNode>(LibXmlNodeReference{});
    return std::make_unique<LibXmlDomNode>(LibXmlNodeReference{neighbour.tree, node});
}

/// The wrapper of this implementation behind an abstract one.
template <class Wrapper, class Abstract>
Wrapper& Own(Abstract& wrapper) {
    auto* const own = dynamic_cast<Wrapper*>(&wrapper);
    if (own == nullptr) throw _com_error(E_INVALIDARG);
    return *own;
}

void Append(const LibXmlNodeReference& parent, const LibXmlNodeReference& child) {
    xmlNode* const parentNode = Require(parent);
    LibXmlTree::Append(parent.tree, parentNode, child.tree, Require(child));
}

/// What a reference to an entity stands for is no part of the tree.
xmlNode* FirstChildOf(const xmlNode* node) {
    const bool hasChildren = node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE;
    return hasChildren ? node->children : nullptr;
}

CXString QualifiedName(LibXmlTree& tree, const xmlNode* node) {
    if (node->ns == nullptr || node->ns->prefix == nullptr) return tree.WideName(node->name);
    std::string name(View(node->ns->prefix));
    name += ':';
    return WideText(name.append(View(node->name)));
}

/// What libxml2 hands over, released with its own function.
class OwnedText {
public:
    explicit OwnedText(xmlChar* text) : m_text(text) {}
    ~OwnedText() {
        if (m_text != nullptr) xmlFree(m_text);
    }
    OwnedText(const OwnedText&) = delete;
    OwnedText& operator=(const OwnedText&) = delete;

    std::string_view Get() const { return View(m_text); }

private:
    xmlChar* m_text;
};

CXString AttributeValue(const xmlNode* attribute) {
    const xmlNode* const first = attribute->children;
    if (first == nullptr) return {};
    if (first->next == nullptr && first->type == XML_TEXT_NODE) return WideText(View(first->content));
    return WideText(OwnedText(xmlNodeListGetString(attribute->doc, first, 1)).Get());
}

/// The prefix that an attribute of this name declares: "p" for "xmlns:p", empty for "xmlns".
/// @return whether it declares one
bool IsDeclaration(std::string_view name, std::string_view& prefix) {
    if (!name.starts_with(declarationPrefix)) return false;
    prefix = name.substr(declarationPrefix.size());
    if (prefix.empty()) return true;
    if (prefix.front() != ':' || prefix.size() == 1) return false;
    prefix.remove_prefix(1);
    return true;
}

xmlNs* FindDeclaration(const xmlNode* element, std::string_view prefix) {
    xmlNs* declaration = element->nsDef;
    while (declaration != nullptr && View(declaration->prefix) != prefix)
        declaration = declaration->next;
    return declaration;
}

xmlNode* FindAttribute(const LibXmlNodeReference& element, const CXString& name) {
    for (xmlAttr* attribute = element.node->properties; attribute != nullptr; attribute = attribute->next) {
        auto* const node = reinterpret_cast<xmlNode*>(attribute);
        if (QualifiedName(*element.tree, node) == name) return node;
    }
    return nullptr;
}

/// Makes a text the only content of an attribute. What it held stays alive: wrappers may refer to it.
void ReplaceValue(LibXmlTree& tree, xmlNode* attribute, const std::string& value) {
    xmlNode* const text = xmlNewDocText(attribute->doc, Pointer(value));
    if (text == nullptr) throw _com_error(E_OUTOFMEMORY);
    while (attribute->children != nullptr)
        tree.Detach(attribute->children);
    text->parent = attribute;
    attribute->children = text;
    attribute->last = text;
}

// libxml2 keeps declarations apart from attributes, while to callers they are attributes like any other. The
// one made for a declaration is kept with it.
xmlNode* AttributeOf(const LibXmlNodeReference& element, xmlNs* declaration, const std::string& name) {
    if (declaration->_private == nullptr) {
        auto* const attribute =
            reinterpret_cast<xmlNode*>(xmlNewDocProp(element.node->doc, Pointer(name), nullptr));
        element.tree->Adopt(attribute);
        ReplaceValue(*element.tree, attribute, std::string(View(declaration->href)));
        declaration->_private = attribute;
    }
    return static_cast<xmlNode*>(declaration->_private);
}

void Declare(xmlNode* element, std::string_view prefix, const std::string& uri) {
    const std::string prefixText(prefix);
    const bool isInDefault = element->ns != nullptr && element->ns->prefix == nullptr;
    if (prefix.empty() && isInDefault && View(element->ns->href) != uri) throw _com_error(E_FAIL);
    xmlNs* declaration = FindDeclaration(element, prefix);
    if (declaration == nullptr) {
        if (xmlNewNs(element, Pointer(uri), prefix.empty() ? nullptr : Pointer(prefixText)) == nullptr)
            throw _com_error(E_FAIL);
        return;
    }
    xmlChar* const copy = xmlStrdup(Pointer(uri));
    if (copy == nullptr) throw _com_error(E_OUTOFMEMORY);
    xmlFree(const_cast<xmlChar*>(std::exchange(declaration->href, copy)));
    declaration->_private = nullptr;
}

}  // namespace

// --- Nodes ----------------------------------------------------------------------------------------------

LibXmlDomNode::LibXmlDomNode(LibXmlNodeReference node) : m_node(std::move(node)) {}
LibXmlDomNode::~LibXmlDomNode() = default;

std::uint32_t LibXmlDomNode::getNumChildNodes() const {
    std::uint32_t number = 0;
    for (const xmlNode* child = FirstChildOf(Require(m_node)); child != nullptr; child = child->next)
        ++number;
    return number;
}

CXString LibXmlDomNode::getNodeName() const {
    const xmlNode* const node = Require(m_node);
    switch (node->type) {
        case XML_ELEMENT_NODE:
        case XML_ATTRIBUTE_NODE:
            return QualifiedName(*m_node.tree, node);
        case XML_TEXT_NODE:
            return NV_TEXT("#text");
        case XML_CDATA_SECTION_NODE:
            return NV_TEXT("#cdata-section");
        case XML_COMMENT_NODE:
            return NV_TEXT("#comment");
        default:
            return WideText(View(node->name));
    }
}

CXString LibXmlDomNode::getNodeValue() const {
    const xmlNode* const node = Require(m_node);
    switch (node->type) {
        case XML_ATTRIBUTE_NODE:
            return AttributeValue(node);
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE:
        case XML_COMMENT_NODE:
        case XML_PI_NODE:
            return WideText(View(node->content));
        default:
            return {};
    }
}

std::unique_ptr<XmlDomNode> LibXmlDomNode::getFirstChild() {
    return Wrap(m_node, FirstChildOf(Require(m_node)));
}

std::unique_ptr<XmlDomNode> LibXmlDomNode::getNextSibling() {
    const xmlNode* const node = Require(m_node);
    return Wrap(m_node, node->type == XML_ATTRIBUTE_NODE ? nullptr : node->next);
}

std::unique_ptr<XmlDomNamedNodeMap> LibXmlDomNode::getAttributes() {
    const bool isElement = Require(m_node)->type == XML_ELEMENT_NODE;
    return std::make_unique<LibXmlDomNamedNodeMap>(isElement ? m_node : LibXmlNodeReference{});
}

bool LibXmlDomNode::isElementNode() const {
    return Require(m_node)->type == XML_ELEMENT_NODE;
}

LibXmlDomNode::operator bool() const {
    return m_node.node != nullptr;
}

CXString LibXmlDomNode::getDomNodeTypeDebugDisplayString() const {
    return {};
}

bool LibXmlDomNode::isTextNode() const {
    return Require(m_node)->type == XML_TEXT_NODE;
}

std::unique_ptr<XmlDomNode> LibXmlDomNode::appendChild(XmlDomNode& child) {
    const LibXmlNodeReference& own = Own<LibXmlDomNode>(child).m_node;
    Append(m_node, own);
    return Wrap(m_node, own.node);
}

std::unique_ptr<XmlDomNode> LibXmlDomNode::removeChild(XmlDomNode& child) {
    const LibXmlNodeReference& own = Own<LibXmlDomNode>(child).m_node;
    const xmlNode* const parent = Require(m_node);
    if (Require(own)->parent != parent || own.node->type == XML_ATTRIBUTE_NODE)
        throw _com_error(E_INVALIDARG);
    own.tree->Detach(own.node);
    return Wrap(own, own.node);
}

std::unique_ptr<XmlDomNode> LibXmlDomNode::getNullNode() {
    return Wrap(m_node, nullptr);
}

// --- Texts, elements and maps ---------------------------------------------------------------------------

LibXmlDomText::LibXmlDomText(LibXmlNodeReference text) : m_text(std::move(text)) {}
LibXmlDomText::~LibXmlDomText() = default;

LibXmlDomElement::LibXmlDomElement(LibXmlNodeReference element) : m_element(std::move(element)) {}
LibXmlDomElement::~LibXmlDomElement() = default;

LibXmlDomElement::operator bool() const {
    return m_element.node != nullptr;
}

std::unique_ptr<XmlDomNode> LibXmlDomElement::getAsDomNode() {
    return Wrap(m_element, Require(m_element));
}

void LibXmlDomElement::setAttribute(const CXString& name, const CXString& value) {
    xmlNode* const element = Require(m_element);
    if (!IsXmlAttribute(name, value)) throw _com_error(E_FAIL);
    const std::string nameText = Utf8Text(name);
    const std::string valueText = Utf8Text(value);
    std::string_view prefix;
    if (IsDeclaration(nameText, prefix)) {
        Declare(element, prefix, valueText);
    } else if (xmlNode* const attribute = FindAttribute(m_element, name); attribute != nullptr) {
        ReplaceValue(*m_element.tree, attribute, valueText);
    } else if (xmlSetProp(element, Pointer(nameText), Pointer(valueText)) == nullptr) {
        throw _com_error(E_OUTOFMEMORY);
    } else {
        m_element.tree->NoteName(nameText);
    }
}

void LibXmlDomElement::appendChild(XmlDomText& text) {
    Append(m_element, Own<LibXmlDomText>(text).getNativeObject());
}

std::unique_ptr<XmlDomElement> LibXmlDomElement::appendChild(XmlDomElement& element) {
    const LibXmlNodeReference& child = Own<LibXmlDomElement>(element).m_element;
    Append(m_element, child);
    return std::make_unique<LibXmlDomElement>(LibXmlNodeReference{m_element.tree, child.node});
}

LibXmlDomNamedNodeMap::LibXmlDomNamedNodeMap(LibXmlNodeReference element) : m_element(std::move(element)) {}
LibXmlDomNamedNodeMap::~LibXmlDomNamedNodeMap() = default;

std::unique_ptr<XmlDomNode> LibXmlDomNamedNodeMap::getNamedItem(const CXString& name) {
    const xmlNode* const element = Require(m_element);
    const std::string wanted = Utf8Text(name);
    std::string_view prefix;
    if (IsDeclaration(wanted, prefix)) {
        xmlNs* const declaration = FindDeclaration(element, prefix);
        return Wrap(m_element,
                    declaration != nullptr ? AttributeOf(m_element, declaration, wanted) : nullptr);
    }
    return Wrap(m_element, FindAttribute(m_element, name));
}

LibXmlDomNamedNodeMap::operator bool() const {
    return m_element.node != nullptr;
}

std::vector<std::unique_ptr<XmlDomNode>> LibXmlDomNamedNodeMap::getItems() const {
    const xmlNode* const element = Require(m_element);
    std::vector<std::unique_ptr<XmlDomNode>> items;
    for (xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
        items.push_back(Wrap(m_element, reinterpret_cast<xmlNode*>(attribute)));
    for (xmlNs* declaration = element->nsDef; declaration != nullptr; declaration = declaration->next) {
        std::string name(declarationPrefix);
        if (declaration->prefix != nullptr) name.append(":").append(View(declaration->prefix));
        items.push_back(Wrap(m_element, AttributeOf(m_element, declaration, name)));
    }
    return items;
}

// --- The document ---------------------------------------------------------------------------------------

LibXmlDomDocument::LibXmlDomDocument(std::shared_ptr<const LibXmlContent> content)
    : m_content(std::move(content)) {}
LibXmlDomDocument::~LibXmlDomDocument() = default;

std::unique_ptr<XmlDomElement> LibXmlDomDocument::getDocumentElement() {
    xmlNode* const root = xmlDocGetRootElement(m_content->tree->GetDocument());
    return std::make_unique<LibXmlDomElement>(root != nullptr ? LibXmlNodeReference{m_content->tree, root}
                                                              : LibXmlNodeReference{});
}

std::unique_ptr<XmlDomElement> LibXmlDomDocument::createElement(const CXString& name) {
    if (!IsXmlName(name)) throw _com_error(E_FAIL);
    const std::string nameText = Utf8Text(name);
    xmlNode* const element =
        xmlNewDocNode(m_content->tree->GetDocument(), nullptr, Pointer(nameText), nullptr);
    m_content->tree->Adopt(element);
    m_content->tree->NoteName(nameText);
    return std::make_unique<LibXmlDomElement>(LibXmlNodeReference{m_content->tree, element});
}

std::unique_ptr<XmlDomText> LibXmlDomDocument::createTextNode(const CXString& text) {
    const std::string content = Utf8Text(text);
    xmlNode* const node = xmlNewDocText(m_content->tree->GetDocument(), Pointer(content));
    m_content->tree->Adopt(node);
    return std::make_unique<LibXmlDomText>(LibXmlNodeReference{m_content->tree, node});
}

CXString LibXmlDomDocument::formatParseErrorDisplayString(const nvutil::XmlParseError& parseError) {
    return nvutil::FormatParseError(parseError);
}
