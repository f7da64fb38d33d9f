// What a profile (INI) file holds, as text: finds, lists and changes sections and keys.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The rules are those of profile.h. The section without a name is what stands in front of the first header.
///
/// Blanks around the names that are given do not count where a value is found or set, though those at an end
/// are written when they are new. A section or key of such a name is not found where they are listed or
/// removed. Both are the platform's habits.
namespace platform::profiletext {

/// Whether a text begins with the mark of UTF-8 or UTF-16, so that it is not touched.
bool HasByteOrderMark(std::string_view text);

/// The value of a key with its quotes, as a part of the text.
std::optional<std::string_view> FindValue(std::string_view text, std::string_view section,
                                          std::string_view key);

/// The value without the blanks and one pair of quotes around it.
std::string_view Unquoted(std::string_view value);

// Lists; a terminator follows each of their texts.

std::string ListSections(std::string_view text);
/// Keys without a "=" are left out, as comments are.
std::string ListKeys(std::string_view text, std::string_view section);
/// The lines of a section as "key=value", or "key" without a "=".
std::string ListEntries(std::string_view text, std::string_view section);

// Changes. A new line ends as the text's first line does, with CR LF when there is none.

void SetValue(std::string& text, std::string_view section, std::string_view key, std::string_view value);
void RemoveKey(std::string& text, std::string_view section, std::string_view key);
void RemoveSection(std::string& text, std::string_view section);
/// Replaces the lines of a section by the entries of a list that have a "="; each ends with a terminator, and
/// an empty one ends the list. Does nothing when there are neither entries nor a section.
void ReplaceSection(std::string& text, std::string_view section, const char* entries);

}  // namespace platform::profiletext
