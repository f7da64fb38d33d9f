// Ownership of documents and nodes of libxml2.
#include "utilities/xmlparser/posix/libxmltree.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "utilities/xmlparser/comerror.h"
#include "utilities/xmlparser/xmltext.h"

namespace {

bool CanHold(const xmlNode* parent, const xmlNode* child) {
    const bool isParent = parent->type == XML_ELEMENT_NODE;
    const bool isChild = child->type == XML_ELEMENT_NODE || child->type == XML_TEXT_NODE ||
                         child->type == XML_CDATA_SECTION_NODE || child->type == XML_COMMENT_NODE ||
                         child->type == XML_PI_NODE || child->type == XML_ENTITY_REF_NODE;
    if (!isParent || !isChild) return false;
    for (const xmlNode* node = parent; node != nullptr; node = node->parent) {
        if (node == child) return false;
    }
    return true;
}

// The library's own function would merge neighbouring texts and free what wrappers refer to.
void LinkLast(xmlNode* parent, xmlNode* child) {
    child->parent = parent;
    child->prev = parent->last;
    (parent->last != nullptr ? parent->last->next : parent->children) = child;
    parent->last = child;
}

// With a dictionary, like the documents that were read, names live as long as the document: otherwise a node
// that moves to another one would give up its name, and WideName meet another name at the same address.
xmlDoc* NewDocument() {
    xmlDoc* const document = xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"));
    if (document == nullptr) return nullptr;
    document->dict = xmlDictCreate();
    if (document->dict != nullptr) return document;
    xmlFreeDoc(document);
    return nullptr;
}

bool IsPrefixDeclared(const xmlNode* element, const xmlNs* ns, const xmlChar* name) {
    std::string prefix;
    if (ns != nullptr) {
        prefix = ns->prefix != nullptr ? reinterpret_cast<const char*>(ns->prefix) : "";
    } else {
        const std::string_view whole = reinterpret_cast<const char*>(name);
        prefix = whole.substr(0, whole.find(':') == std::string_view::npos ? 0 : whole.find(':'));
    }
    return prefix.empty() || xmlSearchNs(element->doc, const_cast<xmlNode*>(element),
                                         reinterpret_cast<const xmlChar*>(prefix.c_str())) != nullptr;
}

bool HasDeclaredPrefixes(const xmlNode* element) {
    if (!IsPrefixDeclared(element, element->ns, element->name)) return false;
    for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next) {
        if (!IsPrefixDeclared(element, attribute->ns, attribute->name)) return false;
    }
    return true;
}

/// The node behind another one in the order of the document; none when that was the last.
const xmlNode* NextInDocument(const xmlNode* node) {
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
    while (node != nullptr && node->next == nullptr)
        node = node->parent;
    return node != nullptr ? node->next : nullptr;
}

}  // namespace

LibXmlTree::LibXmlTree(xmlDoc* document) : m_document(document != nullptr ? document : NewDocument()) {
    if (m_document == nullptr) throw _com_error(E_OUTOFMEMORY);
    m_owned.push_back(m_document);
}

LibXmlTree::~LibXmlTree() {
    for (xmlNode* const node : m_detached)
        xmlFreeNode(node);
    for (xmlDoc* const document : m_owned)
        xmlFreeDoc(document);
}

LibXmlTree& LibXmlTree::Owner() {
    LibXmlTree* tree = this;
    while (tree->m_joinedTo != nullptr)
        tree = tree->m_joinedTo.get();
    return *tree;
}

void LibXmlTree::NoteName(std::string_view name) {
    if (name.find(':') != std::string_view::npos) Owner().m_mayLackPrefixes = true;
}

bool LibXmlTree::HasItsPrefixes() {
    if (!Owner().m_mayLackPrefixes) return true;
    for (const xmlNode* node = xmlDocGetRootElement(m_document); node != nullptr;
         node = NextInDocument(node)) {
        if (node->type == XML_ELEMENT_NODE && !HasDeclaredPrefixes(node)) return false;
    }
    return true;
}

const CXString& LibXmlTree::WideName(const xmlChar* name) {
    // Names lie apart by more than the lowest bits of their addresses tell.
    const auto address = reinterpret_cast<std::uintptr_t>(name);
    KeptName& kept = m_names[(address ^ address >> 6) % m_names.size()];
    if (kept.name != name) {
        kept.wide = WideText(reinterpret_cast<const char*>(name));
        kept.name = name;
    }
    return kept.wide;
}

void LibXmlTree::Adopt(xmlNode* node) {
    if (node == nullptr) throw _com_error(E_OUTOFMEMORY);
    Owner().m_detached.insert(node);
}

void LibXmlTree::Detach(xmlNode* node) {
    Owner().m_detached.insert(node);
    xmlUnlinkNode(node);
}

void LibXmlTree::Join(LibXmlTree& from, const std::shared_ptr<LibXmlTree>& into) {
    LibXmlTree& owner = into->Owner();
    owner.m_owned.insert(owner.m_owned.end(), from.m_owned.begin(), from.m_owned.end());
    owner.m_detached.merge(from.m_detached);
    owner.m_mayLackPrefixes |= from.m_mayLackPrefixes;
    from.m_owned.clear();
    from.m_joinedTo = into;
}

void LibXmlTree::Append(const std::shared_ptr<LibXmlTree>& tree, xmlNode* parent,
                        const std::shared_ptr<LibXmlTree>& childTree, xmlNode* child) {
    if (!CanHold(parent, child)) throw _com_error(E_FAIL);
    if (&childTree->Owner() != &tree->Owner()) Join(childTree->Owner(), tree);
    tree->Detach(child);
    if (child->doc != parent->doc &&
        xmlDOMWrapAdoptNode(nullptr, child->doc, child, parent->doc, parent, 0) != 0) {
        throw _com_error(E_OUTOFMEMORY);
    }
    LinkLast(parent, child);
    // What it brings along may have been declared where it comes from.
    if (child->type == XML_ELEMENT_NODE &&
        (child->ns != nullptr || child->children != nullptr || child->properties != nullptr))
        tree->Owner().m_mayLackPrefixes = true;
    tree->Owner().m_detached.erase(child);
}
