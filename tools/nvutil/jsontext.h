// JSON text whose strings may hold any UTF-16 code unit, in a form that a JSON library accepts.
//
// JSON libraries keep strings in UTF-8, which has no lone surrogates, and refuse their escapes. Before
// parsing, the escape of each lone surrogate therefore becomes U+FFFF and the unit's four hexadecimal digits;
// and U+FFFF itself becomes U+FFFF and "FFFF". So each text still has one form, and DecodeJsonString gives it
// back.
#pragma once

#include <string>
#include <string_view>

#include "utilities/utilitiesdll/cxstring.h"

/// Replaces the lone surrogates in a document's strings. Text that is not JSON passes through for the parser
/// to refuse.
std::string EncodeLoneSurrogates(std::string_view json);

/// The text of a string of a parsed document that went through EncodeLoneSurrogates.
CXString DecodeJsonString(std::string_view parsed);
