// Writes a document in the encoding that it declares.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Brings a well-formed document from UTF-8 into the encoding that it declares. In texts and in the values of
/// attributes, characters that the encoding lacks become numbers; UTF-16 begins with a mark.
/// @param storage  receives the result when it differs from the document
/// @return the result, which is the document itself or lies in `storage`; nothing when the encoding lacks a
///         character elsewhere, or is not known
std::optional<std::string_view> EncodeDocument(std::string_view utf8, std::string& storage);
