// The document-object layer over MSXML.
#include "utilities/xmlparser/microsoftxmlparser.h"

#include <msxml2.h>

#include <utility>

#include "utilities/xmlparser/windows/comcall.h"
#include "utilities/xmlparser/xmltext.h"

using comcall::Check;
using comcall::Require;

namespace {

// MSXML 3.0's document class.
constexpr CLSID documentClass = {
    0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};

constexpr DWORD classContext =
    CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

std::unique_ptr<XmlDomNode> Wrap(nvutil::ComPointer<IXMLDOMNode> node) {
    return std::make_unique<MicrosoftDomNode>(std::move(node));
}

/// Asks an object for another of its interfaces; none when it does not have it.
template <class Interface>
nvutil::ComPointer<Interface> Query(IUnknown& object, const IID& interfaceId) {
    nvutil::ComPointer<Interface> other;
    const HRESULT result = object.QueryInterface(interfaceId, reinterpret_cast<void**>(other.Receive()));
    if (FAILED(result) && result != E_NOINTERFACE) throw _com_error(result);
    return other;
}

nvutil::ComPointer<IXMLDOMDocument2> CreateDocument() {
    nvutil::ComPointer<IUnknown> object;
    HRESULT result = CoCreateInstance(documentClass, nullptr, classContext, IID_IUnknown,
                                      reinterpret_cast<void**>(object.Receive()));
    if (SUCCEEDED(result)) result = OleRun(object.Get());
    if (result == E_NOINTERFACE) return {};
    if (FAILED(result)) throw _com_error(result);
    return Query<IXMLDOMDocument2>(*object.Get(), comcall::documentInterface);
}

VARIANT_BOOL VariantBool(bool value) {
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

DOMNodeType TypeOf(IXMLDOMNode& node) {
    DOMNodeType type = NODE_INVALID;
    Check(node.get_nodeType(&type), node);
    return type;
}

CXString ValueOf(IXMLDOMNode& node) {
    comcall::Variant value;
    Check(node.get_nodeValue(value.Receive()), node);
    return value.AsText();
}

/// Marks an element by a comment at its end for as long as the object lives. Some engines make a new object
/// each time a node is asked for, so that objects do not tell whether two nodes are the same.
class ElementMark {
public:
    explicit ElementMark(IXMLDOMNode& element) : m_element(element), m_text(UniqueText()) {
        nvutil::ComPointer<IXMLDOMDocument> document;
        Check(element.get_ownerDocument(document.Receive()), element);
        nvutil::ComPointer<IXMLDOMComment> comment;
        const HRESULT result =
            Require(document).createComment(comcall::String(m_text).Get(), comment.Receive());
        if (FAILED(result)) throw _com_error(result);
        Check(element.appendChild(comment.Get(), m_comment.Receive()), element);
    }
    ~ElementMark() {
        nvutil::ComPointer<IXMLDOMNode> removed;
        m_element.removeChild(m_comment.Get(), removed.Receive());
    }
    ElementMark(const ElementMark&) = delete;
    ElementMark& operator=(const ElementMark&) = delete;

    bool IsOn(IXMLDOMNode& element) const {
        nvutil::ComPointer<IXMLDOMNode> last;
        Check(element.get_lastChild(last.Receive()), element);
        return last && TypeOf(*last.Get()) == NODE_COMMENT && ValueOf(*last.Get()) == m_text;
    }

private:
    static CXString UniqueText() {
        constexpr int length = 39;  // with the null
        GUID id;
        wchar_t text[length] = {};
        if (FAILED(CoCreateGuid(&id))) throw _com_error(E_FAIL);
        StringFromGUID2(id, text, length);
        return {text};
    }

    IXMLDOMNode& m_element;
    CXString m_text;
    nvutil::ComPointer<IXMLDOMNode> m_comment;
};

bool HasChildren(IXMLDOMNode& node) {
    VARIANT_BOOL has = VARIANT_FALSE;
    Check(node.hasChildNodes(&has), node);
    return has != VARIANT_FALSE;
}

// Some engines accept a node inside of itself and run into it for ever, or nodes where they cannot stand.
void RequirePlace(IXMLDOMNode& parent, IXMLDOMNode& child) {
    if (TypeOf(parent) != NODE_ELEMENT) throw _com_error(E_FAIL);
    if (TypeOf(child) != NODE_ELEMENT || (!HasChildren(child) && HasChildren(parent))) return;
    const ElementMark mark(child);
    nvutil::ComPointer<IXMLDOMNode> ancestor;
    for (IXMLDOMNode* node = &parent; node != nullptr; node = ancestor.Get()) {
        if (mark.IsOn(*node)) throw _com_error(E_FAIL);
        nvutil::ComPointer<IXMLDOMNode> next;
        Check(node->get_parentNode(next.Receive()), *node);
        ancestor = std::move(next);
    }
}

nvutil::ComPointer<IXMLDOMNode> Append(IXMLDOMNode& parent, IXMLDOMNode& child) {
    RequirePlace(parent, child);
    nvutil::ComPointer<IXMLDOMNode> appended;
    Check(parent.appendChild(&child, appended.Receive()), parent);
    return appended;
}

/// Whether an element without a prefix is in the namespace that a declaration on it would name.
/// @throws _com_error (E_FAIL) when it is in another one, which no declaration can change
bool IsInNamespace(IXMLDOMNode& element, const CXString& uri) {
    comcall::String own;
    comcall::String prefix;
    Check(element.get_prefix(prefix.Receive()), element);
    if (!prefix.AsText().IsEmpty()) return false;
    Check(element.get_namespaceURI(own.Receive()), element);
    if (own.AsText().IsEmpty()) return false;
    if (own.AsText() != uri) throw _com_error(E_FAIL);
    return true;
}

/// The wrapper of this implementation behind an abstract one.
template <class Wrapper, class Abstract>
Wrapper& Own(Abstract& wrapper) {
    auto* const own = dynamic_cast<Wrapper*>(&wrapper);
    if (own == nullptr) throw _com_error(E_INVALIDARG);
    return *own;
}

}  // namespace

// --- Nodes ----------------------------------------------------------------------------------------------

MicrosoftDomNode::MicrosoftDomNode(nvutil::ComPointer<IXMLDOMNode> node) : m_node(std::move(node)) {}
MicrosoftDomNode::~MicrosoftDomNode() = default;

std::uint32_t MicrosoftDomNode::getNumChildNodes() const {
    nvutil::ComPointer<IXMLDOMNodeList> children;
    Check(Require(m_node).get_childNodes(children.Receive()), *m_node.Get());
    if (!children) return 0;
    long length = 0;
    Check(children->get_length(&length), *children.Get());
    return static_cast<std::uint32_t>(length);
}

CXString MicrosoftDomNode::getNodeName() const {
    comcall::String name;
    Check(Require(m_node).get_nodeName(name.Receive()), *m_node.Get());
    return name.AsText();
}

CXString MicrosoftDomNode::getNodeValue() const {
    return ValueOf(Require(m_node));
}

std::unique_ptr<XmlDomNode> MicrosoftDomNode::getFirstChild() {
    nvutil::ComPointer<IXMLDOMNode> child;
    Check(Require(m_node).get_firstChild(child.Receive()), *m_node.Get());
    return Wrap(std::move(child));
}

std::unique_ptr<XmlDomNode> MicrosoftDomNode::getNextSibling() {
    nvutil::ComPointer<IXMLDOMNode> sibling;
    Check(Require(m_node).get_nextSibling(sibling.Receive()), *m_node.Get());
    return Wrap(std::move(sibling));
}

std::unique_ptr<XmlDomNamedNodeMap> MicrosoftDomNode::getAttributes() {
    nvutil::ComPointer<IXMLDOMNamedNodeMap> map;
    Check(Require(m_node).get_attributes(map.Receive()), *m_node.Get());
    return std::make_unique<MicrosoftDomNamedNodeMap>(std::move(map));
}

int MicrosoftDomNode::GetNodeType() const {
    return TypeOf(Require(m_node));
}

bool MicrosoftDomNode::isElementNode() const {
    return GetNodeType() == NODE_ELEMENT;
}

MicrosoftDomNode::operator bool() const {
    return static_cast<bool>(m_node);
}

CXString MicrosoftDomNode::getDomNodeTypeDebugDisplayString() const {
    return {};
}

bool MicrosoftDomNode::isTextNode() const {
    return GetNodeType() == NODE_TEXT;
}

std::unique_ptr<XmlDomNode> MicrosoftDomNode::appendChild(XmlDomNode& child) {
    IXMLDOMNode& native = Require(Own<MicrosoftDomNode>(child).m_node);
    return Wrap(Append(Require(m_node), native));
}

std::unique_ptr<XmlDomNode> MicrosoftDomNode::removeChild(XmlDomNode& child) {
    IXMLDOMNode& native = Require(Own<MicrosoftDomNode>(child).m_node);
    nvutil::ComPointer<IXMLDOMNode> removed;
    Check(Require(m_node).removeChild(&native, removed.Receive()), *m_node.Get());
    return Wrap(std::move(removed));
}

std::unique_ptr<XmlDomNode> MicrosoftDomNode::getNullNode() {
    return Wrap({});
}

// --- Texts, elements and maps ---------------------------------------------------------------------------

MicrosoftDomText::MicrosoftDomText(nvutil::ComPointer<IXMLDOMText> text) : m_text(std::move(text)) {}
MicrosoftDomText::~MicrosoftDomText() = default;

MicrosoftDomElement::MicrosoftDomElement(nvutil::ComPointer<IXMLDOMElement> element)
    : m_element(std::move(element)) {}
MicrosoftDomElement::~MicrosoftDomElement() = default;

MicrosoftDomElement::operator bool() const {
    return static_cast<bool>(m_element);
}

std::unique_ptr<XmlDomNode> MicrosoftDomElement::getAsDomNode() {
    return Wrap(Query<IXMLDOMNode>(Require(m_element), IID_IXMLDOMNode));
}

void MicrosoftDomElement::setAttribute(const CXString& name, const CXString& value) {
    IXMLDOMElement& element = Require(m_element);
    if (!IsXmlAttribute(name, value)) throw _com_error(E_FAIL);
    if (name == NV_TEXT("xmlns") && IsInNamespace(element, value)) return;
    Check(element.setAttribute(comcall::String(name).Get(), comcall::Variant(value).Get()), element);
}

void MicrosoftDomElement::appendChild(XmlDomText& text) {
    IXMLDOMElement& element = Require(m_element);
    IXMLDOMText* const native = Own<MicrosoftDomText>(text).getNativeObject();
    if (native == nullptr) throw _com_error(E_POINTER);
    Append(element, *native);
}

std::unique_ptr<XmlDomElement> MicrosoftDomElement::appendChild(XmlDomElement& child) {
    IXMLDOMElement& element = Require(m_element);
    const nvutil::ComPointer<IXMLDOMNode> appended =
        Append(element, Require(Own<MicrosoftDomElement>(child).m_element));
    return std::make_unique<MicrosoftDomElement>(
        Query<IXMLDOMElement>(Require(appended), IID_IXMLDOMElement));
}

MicrosoftDomNamedNodeMap::MicrosoftDomNamedNodeMap(nvutil::ComPointer<IXMLDOMNamedNodeMap> map)
    : m_map(std::move(map)) {}
MicrosoftDomNamedNodeMap::~MicrosoftDomNamedNodeMap() = default;

std::unique_ptr<XmlDomNode> MicrosoftDomNamedNodeMap::getNamedItem(const CXString& name) {
    IXMLDOMNamedNodeMap& map = Require(m_map);
    if (!IsXmlName(name)) return Wrap({});  // some engines read no further than a null
    nvutil::ComPointer<IXMLDOMNode> item;
    Check(map.getNamedItem(comcall::String(name).Get(), item.Receive()), map);
    constexpr auto declarationPrefix = NV_TEXT("xmlns");
    if (item || name.Left(CXString::SafeStrlen(declarationPrefix)) != declarationPrefix)
        return Wrap(std::move(item));
    // Some engines list declarations of namespaces but do not find them.
    for (std::unique_ptr<XmlDomNode>& listed : getItems()) {
        if (listed->getNodeName() == name) return std::move(listed);
    }
    return Wrap({});
}

MicrosoftDomNamedNodeMap::operator bool() const {
    return static_cast<bool>(m_map);
}

std::vector<std::unique_ptr<XmlDomNode>> MicrosoftDomNamedNodeMap::getItems() const {
    IXMLDOMNamedNodeMap& map = Require(m_map);
    long length = 0;
    Check(map.get_length(&length), map);
    std::vector<std::unique_ptr<XmlDomNode>> items;
    for (long i = 0; i < length; ++i) {
        nvutil::ComPointer<IXMLDOMNode> item;
        // Some engines count declarations of namespaces that they do not hand out.
        if (SUCCEEDED(map.get_item(i, item.Receive())) && item) items.push_back(Wrap(std::move(item)));
    }
    return items;
}

// --- The document ---------------------------------------------------------------------------------------

MicrosoftDomDocument::MicrosoftDomDocument()
    : m_document(CreateDocument()), m_refusal(std::make_shared<nvutil::ComPointer<IXMLDOMParseError>>()) {}
MicrosoftDomDocument::MicrosoftDomDocument(const MicrosoftDomDocument& other) = default;
MicrosoftDomDocument::~MicrosoftDomDocument() = default;

std::unique_ptr<XmlDomElement> MicrosoftDomDocument::getDocumentElement() {
    nvutil::ComPointer<IXMLDOMElement> root;
    Check(Require(m_document).get_documentElement(root.Receive()), *m_document.Get());
    return std::make_unique<MicrosoftDomElement>(std::move(root));
}

std::unique_ptr<XmlDomElement> MicrosoftDomDocument::createElement(const CXString& name) {
    IXMLDOMDocument2& document = Require(m_document);
    if (!IsXmlName(name)) throw _com_error(E_FAIL);  // some engines make what nobody could read back
    nvutil::ComPointer<IXMLDOMElement> element;
    Check(document.createElement(comcall::String(name).Get(), element.Receive()), document);
    return std::make_unique<MicrosoftDomElement>(std::move(element));
}

std::unique_ptr<XmlDomText> MicrosoftDomDocument::createTextNode(const CXString& text) {
    IXMLDOMDocument2& document = Require(m_document);
    nvutil::ComPointer<IXMLDOMText> node;
    Check(document.createTextNode(comcall::String(text).Get(), node.Receive()), document);
    return std::make_unique<MicrosoftDomText>(std::move(node));
}

short MicrosoftDomDocument::load(IStream* stream) {
    IXMLDOMDocument2& document = Require(m_document);
    *m_refusal = {};
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    const HRESULT result = document.load(comcall::Variant(stream).Get(), &isLoaded);
    // Some engines report a document that is not well-formed by a failure of the call itself.
    LONG code = 0;
    if (FAILED(result) && (FAILED(getParseError()->get_errorCode(&code)) || code == 0))
        Check(result, document);
    return isLoaded;
}

HRESULT MicrosoftDomDocument::save(IStream* stream) {
    return Require(m_document).save(comcall::Variant(stream).Get());
}

nvutil::ComPointer<IXMLDOMParseError> MicrosoftDomDocument::getParseError() {
    if (*m_refusal) return *m_refusal;
    nvutil::ComPointer<IXMLDOMParseError> error;
    Check(Require(m_document).get_parseError(error.Receive()), *m_document.Get());
    return error;
}

void MicrosoftDomDocument::setValidateOnParse(bool mustBeValid) {
    IXMLDOMDocument2& document = Require(m_document);
    Check(document.put_async(VARIANT_FALSE), document);
    Check(document.put_resolveExternals(VariantBool(mustBeValid)), document);
    Check(document.put_validateOnParse(VariantBool(mustBeValid)), document);
}

bool MicrosoftDomDocument::validate(nvutil::ComPointer<IXMLDOMParseError>& parseError) {
    IXMLDOMDocument2& document = Require(m_document);
    const HRESULT result = document.validate(parseError.Receive());
    Check(result, document);
    return result == S_OK;
}

void MicrosoftDomDocument::refuse(nvutil::ComPointer<IXMLDOMParseError> parseError) {
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    Require(m_document).loadXML(nullptr, &isLoaded);  // of nothing: its failure is the point
    *m_refusal = std::move(parseError);
}

nvutil::XmlParseError MicrosoftDomDocument::ReadParseError(
    const nvutil::ComPointer<IXMLDOMParseError>& parseError) {
    IXMLDOMParseError& error = Require(parseError);
    comcall::String url;
    comcall::String reason;
    comcall::String sourceText;
    nvutil::XmlParseError fields;
    const HRESULT results[] = {
        error.get_errorCode(&fields.errorCode), error.get_url(url.Receive()),
        error.get_reason(reason.Receive()),     error.get_srcText(sourceText.Receive()),
        error.get_line(&fields.line),           error.get_linepos(&fields.linePosition),
        error.get_filepos(&fields.filePosition)};
    for (const HRESULT result : results) {
        if (result != E_NOTIMPL) Check(result, error);  // what an engine cannot tell is absent
    }
    fields.url = url.AsText();
    fields.reason = reason.AsText();
    fields.sourceText = sourceText.AsText();
    return fields;
}

CXString MicrosoftDomDocument::formatParseErrorDisplayString(
    const nvutil::ComPointer<IXMLDOMParseError>& parseError) {
    return nvutil::FormatParseError(ReadParseError(parseError));
}
