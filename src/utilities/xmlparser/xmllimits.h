// What a document may ask of the engines: bounds that every real document keeps far below.
#pragma once

#include <cstddef>

namespace xmllimits {

constexpr std::size_t documentBytes = 8 << 20;     ///< of a document, and of a DTD
constexpr std::size_t depth = 256;                 ///< open elements, those inside of entities included
constexpr std::size_t attributes = 256;            ///< of one start tag, and declared for one element
constexpr std::size_t namespaces = 256;            ///< declarations in scope
constexpr std::size_t declarations = 8192;         ///< in both parts of a DTD, as often as they are met
constexpr std::size_t declaredAttributes = 32768;  ///< of all elements
constexpr std::size_t contentNames = 1024;         ///< in the content model of one element
constexpr std::size_t contentWork = 65536;         ///< names times repetitions, of all content models
constexpr std::size_t enumeration = 256;           ///< values that an attribute is declared to choose from
constexpr std::size_t entityDepth = 16;            ///< references inside of references
constexpr std::size_t expansion = 1 << 20;         ///< bytes that references to entities stand for, in all
constexpr std::size_t defaults = 16 << 20;         ///< bytes of attributes that the DTD adds, in all
constexpr std::size_t defaultAttribute = 32;       ///< what such an attribute counts beside its value
constexpr std::size_t declarationExpansion = 8 << 20;  ///< bytes that parameter entities stand for, in all

}  // namespace xmllimits
