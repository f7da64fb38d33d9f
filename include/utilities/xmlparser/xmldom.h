// The abstract document-object layer: what the library knows of an XML document, whichever engine holds it.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

class XmlDomElement;
class XmlDomNamedNodeMap;
class XmlDomNode;
class XmlDomText;

// An operation that returns a node hands over a wrapper that the caller owns. A wrapper that wraps nothing
// is the null node: its boolean conversion is false, and every other operation on it throws `_com_error` with
// E_POINTER. A wrapper keeps what it wraps alive, beyond its parser's end if need be, but on Windows no
// longer than COM stays initialised on its thread: the last parser there may end that. A parser and
// everything obtained from it are used on the thread that made the parser.
//
// What the engine refuses is thrown as `_com_error` (see comerror.h): a text that cannot be the name of an
// element, a node in a place where it may not stand.

/// A document.
class NVUTIL_API XmlDomDocument {
public:
    virtual ~XmlDomDocument();
    /// The root element; a null element when the document is empty.
    virtual std::unique_ptr<XmlDomElement> getDocumentElement() = 0;
    /// Makes an element that belongs to the document but stands nowhere in it yet.
    virtual std::unique_ptr<XmlDomElement> createElement(const CXString& name) = 0;
    /// Makes a text node that belongs to the document but stands nowhere in it yet.
    virtual std::unique_ptr<XmlDomText> createTextNode(const CXString& text) = 0;
};

/// Any node of a document: an element, a text, an attribute, a comment and so on.
class NVUTIL_API XmlDomNode {
public:
    virtual ~XmlDomNode();
    virtual std::uint32_t getNumChildNodes() const = 0;
    /// The name with its prefix; "#text" and the like for nodes without a name.
    virtual CXString getNodeName() const = 0;
    /// The text of a text, an attribute or a comment; empty for an element.
    virtual CXString getNodeValue() const = 0;
    virtual std::unique_ptr<XmlDomNode> getFirstChild() = 0;
    virtual std::unique_ptr<XmlDomNode> getNextSibling() = 0;
    /// The attributes of an element; a null map for any other node.
    virtual std::unique_ptr<XmlDomNamedNodeMap> getAttributes() = 0;
    virtual bool isElementNode() const = 0;
    /// Whether a node is wrapped.
    virtual operator bool() const = 0;
    /// Always empty.
    virtual CXString getDomNodeTypeDebugDisplayString() const = 0;
    virtual bool isTextNode() const = 0;
    /// Puts a node of the same engine behind the last child, taking it from where it stood before.
    /// @return the node that was appended
    virtual std::unique_ptr<XmlDomNode> appendChild(XmlDomNode& child) = 0;
    /// Takes a child out of this node; it stays usable and can be appended elsewhere.
    /// @return the node that was removed
    virtual std::unique_ptr<XmlDomNode> removeChild(XmlDomNode& child) = 0;

protected:
    virtual std::unique_ptr<XmlDomNode> getNullNode() = 0;

public:
    // Names are compared exactly, with the node's name trimmed of white space at both ends.

    /// The first child that is an element of this name; the null node when there is none.
    std::unique_ptr<XmlDomNode> FindNamedChildElementNode(const CXString& name);

    /// An element of this name below this node, in document order; the null node when there is none.
    ///
    /// Deliberately, what stands inside of an element of this name is not searched.
    /// @param occurrence  how many such elements to pass over
    std::unique_ptr<XmlDomNode> FindNamedChildElementNodeRecursive(const CXString& name,
                                                                   unsigned occurrence = 0);

    /// The value of the first child that is a text node; empty when there is none.
    CXString GetTextValue();
    /// The number that GetTextValue begins with, behind white space and a sign; 0 when it begins with none,
    /// and the nearest LONG when it is too large.
    LONG GetLongValue();
    /// @param value  receives the value of the attribute; kept as it is when there is no such attribute
    /// @return whether there is such an attribute
    bool GetAttribute(const CXString& name, CXString& value);

    /// The number of children that are elements of this name, or with an empty name of all that are elements.
    std::uint32_t GetNumberOfElementNodes(const CXString& name = CXString());
    /// The same for all elements below this node, also for those inside of an element that counts.
    std::uint32_t GetNumberOfElementNodesRecursive(const CXString& name = CXString());

    /// Moves all children into `newNode`, in their order, and makes that the only child.
    void insertNodeBetweenThisAndItsChildren(XmlDomNode& newNode);

private:
    std::unique_ptr<XmlDomNode> FindNamedElement(const CXString& name, unsigned& count);
};

/// An element as it is made and filled; getAsDomNode gives its form for reading.
class NVUTIL_API XmlDomElement {
public:
    virtual ~XmlDomElement();
    /// Whether an element is wrapped.
    virtual operator bool() const = 0;
    /// The same element as a node.
    virtual std::unique_ptr<XmlDomNode> getAsDomNode() = 0;
    /// Sets an attribute, which replaces one of the same name.
    virtual void setAttribute(const CXString& name, const CXString& value) = 0;
    virtual void appendChild(XmlDomText& text) = 0;
    /// @return the element that was appended
    virtual std::unique_ptr<XmlDomElement> appendChild(XmlDomElement& element) = 0;
};

/// A text node, which is only created and appended.
class NVUTIL_API XmlDomText {
public:
    virtual ~XmlDomText();
};

/// The attributes of an element.
class NVUTIL_API XmlDomNamedNodeMap {
public:
    virtual ~XmlDomNamedNodeMap();
    /// The attribute of a name (with its prefix); the null node when there is none.
    virtual std::unique_ptr<XmlDomNode> getNamedItem(const CXString& name) = 0;
    /// Whether a map is wrapped.
    virtual operator bool() const = 0;
};

// What each engine's wrappers override, in the order of the slots.
#define NV_DOM_NODE_FUNCTIONS                                            \
public:                                                                  \
    std::uint32_t getNumChildNodes() const override;                     \
    CXString getNodeName() const override;                               \
    CXString getNodeValue() const override;                              \
    std::unique_ptr<XmlDomNode> getFirstChild() override;                \
    std::unique_ptr<XmlDomNode> getNextSibling() override;               \
    std::unique_ptr<XmlDomNamedNodeMap> getAttributes() override;        \
    bool isElementNode() const override;                                 \
    operator bool() const override;                                      \
    CXString getDomNodeTypeDebugDisplayString() const override;          \
    bool isTextNode() const override;                                    \
    std::unique_ptr<XmlDomNode> appendChild(XmlDomNode& child) override; \
    std::unique_ptr<XmlDomNode> removeChild(XmlDomNode& child) override; \
                                                                         \
protected:                                                               \
    std::unique_ptr<XmlDomNode> getNullNode() override;

#define NV_DOM_ELEMENT_FUNCTIONS                                             \
public:                                                                      \
    operator bool() const override;                                          \
    std::unique_ptr<XmlDomNode> getAsDomNode() override;                     \
    void setAttribute(const CXString& name, const CXString& value) override; \
    void appendChild(XmlDomText& text) override;                             \
    std::unique_ptr<XmlDomElement> appendChild(XmlDomElement& element) override;
