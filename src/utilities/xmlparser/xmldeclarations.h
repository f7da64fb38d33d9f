// What the DTD of a document declares, as far as it tells how large the document becomes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "utilities/xmlparser/xmltext.h"

/// What a piece of content asks of an engine once its references have been followed.
struct XmlMeasure {
    std::size_t expansion = 0;    ///< bytes that the references in it stand for
    std::size_t depth = 0;        ///< elements open inside of each other
    std::size_t namespaces = 0;   ///< namespace declarations in scope at once
    std::size_t entityDepth = 0;  ///< references inside of references
};

struct XmlHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};
template <class Value>
using XmlNameMap = std::unordered_map<std::string, Value, XmlHash, std::equal_to<>>;

/// A general entity of the document's own; external ones are refused where they are declared.
struct XmlEntity {
    enum class State { Unmeasured, BeingMeasured, Measured };

    std::string text;
    State state = State::Unmeasured;
    XmlMeasure measure = {};
};

/// The attributes that a DTD adds to each element of a name.
struct XmlDefaults {
    std::vector<std::string> values;
    std::size_t declared = 0;    ///< attributes declared, with a default or without
    std::size_t namespaces = 0;  ///< defaults that declare a namespace
    std::size_t bytes = 0;       ///< what they add to one element, once measured
};

/// Reads the declarations of both parts of a DTD.
///
/// All functions throw XmlFault for what is malformed or beyond the limits; its offset lies in the text that
/// was given to the function.
class XmlDeclarations {
public:
    /// Reads the internal part, from behind its "[".
    /// @param begin  offset of that place in `text`
    /// @return the offset of the "]" that ends it
    std::size_t ReadInternal(std::string_view text, std::size_t begin);
    /// Reads the whole of a DTD that stands in a file of its own.
    void ReadExternal(std::string_view text);

    XmlNameMap<XmlEntity> entities;
    XmlNameMap<XmlDefaults> defaults;

private:
    class Reader;

    XmlNameMap<std::string> m_parameterEntities;
    std::size_t m_declarations = 0;  ///< Met so far.
    std::size_t m_attributes = 0;    ///< Declared so far, of all elements.
    std::size_t m_contentWork = 0;
    std::size_t m_expansion = 0;  ///< Bytes that parameter entities have stood for so far.
};
