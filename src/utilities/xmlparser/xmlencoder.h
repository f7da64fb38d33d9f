// Writes a document in the encoding that it declares.
#pragma once

#include <string>
#include <string_view>

/// Brings a well-formed document from UTF-8 into the encoding that it declares. In texts and in the values of
/// attributes, characters that the encoding lacks become numbers; what is declared as "UTF-16" begins with a
/// mark.
/// @param document  the result, too
/// @param storage   receives the result's bytes when they differ
/// @return false when the encoding lacks a character elsewhere, or is not known
bool EncodeDocument(std::string_view& document, std::string& storage);
