// The operations of nodes that are the same for every engine.
#include "utilities/xmlparser/xmldom.h"

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "platform/widechar.h"
#include "utilities/xmlparser/norvaxmlparser.h"

XmlDomDocument::~XmlDomDocument() = default;
XmlDomNode::~XmlDomNode() = default;
XmlDomElement::~XmlDomElement() = default;
XmlDomText::~XmlDomText() = default;
XmlDomNamedNodeMap::~XmlDomNamedNodeMap() = default;

namespace {

using NodePtr = std::unique_ptr<XmlDomNode>;

bool IsNamed(const XmlDomNode& node, const CXString& name) {
    CXString own = node.getNodeName();
    own.TrimLeft();
    own.TrimRight();
    return own == name;
}

bool Counts(const XmlDomNode& element, const CXString& name) {
    return name.IsEmpty() || IsNamed(element, name);
}

// Walks what lies below a node in document order, without recursion: documents can be built to any depth.
class SubtreeWalk {
public:
    explicit SubtreeWalk(XmlDomNode& top) { m_path.push_back(top.getFirstChild()); }

    /// The node at hand; null at the end.
    XmlDomNode* Get() const { return m_path.empty() ? nullptr : m_path.back().get(); }
    NodePtr Take() { return std::move(m_path.back()); }

    /// Goes to the first node inside of the node at hand if there is one, else to the one behind it.
    void Enter() {
        NodePtr child = Get()->getFirstChild();
        if (*child) {
            m_path.push_back(std::move(child));
        } else {
            Pass();
        }
    }
    /// Goes to the node behind the node at hand and all that is inside of it.
    void Pass() {
        m_path.back() = Get()->getNextSibling();
        Settle();
    }
    /// Ends a level that is used up and goes on with the level above.
    void Settle() {
        while (!m_path.empty() && !*m_path.back()) {
            m_path.pop_back();
            if (!m_path.empty()) m_path.back() = m_path.back()->getNextSibling();
        }
    }

private:
    std::vector<NodePtr> m_path;
};

/// What the C library's conversion of wide text to a number gives.
LONG LongOf(const CXString& text) {
    int position = 0;
    while (platform::IsSpace(text.GetAt(position)))
        ++position;
    const bool isNegative = text.GetAt(position) == '-';
    if (isNegative || text.GetAt(position) == '+') ++position;

    constexpr std::int64_t largest = std::numeric_limits<LONG>::max();
    const std::int64_t limit = isNegative ? largest + 1 : largest;
    std::int64_t number = 0;
    for (; text.GetAt(position) >= '0' && text.GetAt(position) <= '9' && number < limit; ++position)
        number = number * 10 + (text.GetAt(position) - '0');
    if (number > limit) number = limit;
    return static_cast<LONG>(isNegative ? -number : number);
}

}  // namespace

NodePtr XmlDomNode::FindNamedChildElementNode(const CXString& name) {
    NodePtr child = getFirstChild();
    while (*child && !(child->isElementNode() && IsNamed(*child, name)))
        child = child->getNextSibling();
    return child;
}

NodePtr XmlDomNode::FindNamedChildElementNodeRecursive(const CXString& name, unsigned occurrence) {
    return FindNamedElement(name, occurrence);
}

NodePtr XmlDomNode::FindNamedElement(const CXString& name, unsigned& count) {
    SubtreeWalk walk(*this);
    walk.Settle();
    while (walk.Get() != nullptr) {
        if (!walk.Get()->isElementNode()) {
            walk.Pass();
        } else if (!IsNamed(*walk.Get(), name)) {
            walk.Enter();
        } else if (count == 0) {
            return walk.Take();
        } else {
            --count;
            walk.Pass();
        }
    }
    return getNullNode();
}

CXString XmlDomNode::GetTextValue() {
    NodePtr child = getFirstChild();
    while (*child && !child->isTextNode())
        child = child->getNextSibling();
    return *child ? child->getNodeValue() : CXString();
}

LONG XmlDomNode::GetLongValue() {
    return LongOf(GetTextValue());
}

bool XmlDomNode::GetAttribute(const CXString& name, CXString& value) {
    const std::unique_ptr<XmlDomNamedNodeMap> attributes = getAttributes();
    if (!*attributes) return false;
    const NodePtr attribute = attributes->getNamedItem(name);
    if (!*attribute) return false;
    value = attribute->getNodeValue();
    return true;
}

std::uint32_t XmlDomNode::GetNumberOfElementNodes(const CXString& name) {
    std::uint32_t number = 0;
    for (NodePtr child = getFirstChild(); *child; child = child->getNextSibling()) {
        if (child->isElementNode() && Counts(*child, name)) ++number;
    }
    return number;
}

std::uint32_t XmlDomNode::GetNumberOfElementNodesRecursive(const CXString& name) {
    std::uint32_t number = 0;
    SubtreeWalk walk(*this);
    walk.Settle();
    while (walk.Get() != nullptr) {
        if (!walk.Get()->isElementNode()) {
            walk.Pass();
            continue;
        }
        if (Counts(*walk.Get(), name)) ++number;
        walk.Enter();
    }
    return number;
}

void XmlDomNode::insertNodeBetweenThisAndItsChildren(XmlDomNode& newNode) {
    // Counted, so that it ends even when the new node is this one.
    for (std::uint32_t left = getNumChildNodes(); left > 0; --left) {
        const NodePtr child = getFirstChild();
        removeChild(*child);
        newNode.appendChild(*child);
    }
    appendChild(newNode);
}

XmlOutputCallback::~XmlOutputCallback() = default;

NorvaXmlParser::NorvaXmlParser(const CXString& documentPath, bool mustBeValid)
    : systemId(documentPath), validate(mustBeValid) {}

NorvaXmlParser::~NorvaXmlParser() = default;
