// LibXmlTree: one document of libxml2, and the nodes that belong to it without standing in it.
#pragma once

#include <array>
#include <memory>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "utilities/utilitiesdll/cxstring.h"

struct _xmlDoc;
struct _xmlNode;

/// Owns a document. Wrappers share it, so that it lives as long as the last of them.
class LibXmlTree {
public:
    /// Takes over a document, or makes an empty one.
    /// @throws _com_error (E_OUTOFMEMORY)
    explicit LibXmlTree(_xmlDoc* document = nullptr);
    ~LibXmlTree();
    LibXmlTree(const LibXmlTree&) = delete;
    LibXmlTree& operator=(const LibXmlTree&) = delete;

    _xmlDoc* GetDocument() const { return m_document; }

    /// Whether each prefix in the names of elements and attributes is declared where it stands. The parser
    /// accepts no other document, so that nothing is searched as long as no change could have taken a
    /// declaration out of reach.
    bool HasItsPrefixes();
    /// To be called with each name that is given to an element or an attribute.
    void NoteName(std::string_view name);

    /// The wide form of a node's own name. Names are few and asked for often, so the last ones are kept.
    /// @param name  belongs to the tree, and lives and stays the same as long as that
    const CXString& WideName(const unsigned char* name);

    /// Takes over a node that stands nowhere. It lives as long as the tree, since wrappers may refer to it.
    void Adopt(_xmlNode* node);
    /// Takes a node out of where it stands.
    void Detach(_xmlNode* node);
    /// Puts a node of any tree behind the last child of a node of this one.
    /// @throws _com_error (E_FAIL) when it cannot stand there, (E_OUTOFMEMORY)
    static void Append(const std::shared_ptr<LibXmlTree>& tree, _xmlNode* parent,
                       const std::shared_ptr<LibXmlTree>& childTree, _xmlNode* child);

private:
    /// The tree that owns what this one did: itself, or the one that it was joined to.
    LibXmlTree& Owner();
    static void Join(LibXmlTree& from, const std::shared_ptr<LibXmlTree>& into);

    struct KeptName {
        const unsigned char* name = nullptr;
        CXString wide;
    };

    _xmlDoc* m_document;
    std::array<KeptName, 32> m_names;
    std::vector<_xmlDoc*> m_owned;  ///< This tree's document and those of trees that were joined to it.
    std::unordered_set<_xmlNode*> m_detached;
    std::shared_ptr<LibXmlTree> m_joinedTo;
    bool m_mayLackPrefixes = false;  ///< Of the owner.
};
