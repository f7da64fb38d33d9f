// Profile (INI) files with 8-bit text, by the rules of the platform's profile functions.
#pragma once

#include <cstddef>
#include <string>

#include "platform/internalapi.h"
#include "platform/types.h"

/// Sections and keys are found without regard to the case of ASCII letters; the first of several with one
/// name counts. Names and values in a file lose the blanks around them, and names that are given do where a
/// value is found or set; nothing is listed or removed by a name with blanks around it. Lines end with CR LF,
/// LF or CR. A line whose first character is ";" is a comment.
///
/// Texts are bytes to these functions, whatever they encode; a file that begins with a byte-order mark, of
/// UTF-8 or UTF-16, is never touched. Each file is named by a wide text that is not null. A function that
/// reads takes a file that cannot be read, or has such a mark, for an empty one.
namespace platform::profile {

// Reading. `capacity` is the room that the caller has for the result in bytes, terminators included: a longer
// result is cut as the platform cuts it, to one byte less, or two for a list. A list holds each of its texts
// with a terminator of its own. No argument is null unless it is said what that means.

/// The value of a key, without one pair of quotes around it; else the fallback, treated likewise.
/// Without a key it lists the section's keys, without a section the sections.
/// @param fallback  may be null: the empty text; it also stands for an empty list of keys
NVUTIL_INTERNAL_API std::string ReadText(const WChar* file, const char* section, const char* key,
                                         const char* fallback, std::size_t capacity);

/// Lists the lines of a section as "key=value", with quotes and without comments.
NVUTIL_INTERNAL_API std::string ReadSection(const WChar* file, const char* section, std::size_t capacity);

/// Lists the names of all sections.
NVUTIL_INTERNAL_API std::string ReadSectionNames(const WChar* file, std::size_t capacity);

/// The number that a value begins with, modulo 2^32: an optional sign, then decimal digits, or those behind
/// "0x", "0o" or "0b"; 0 when there is none. The fallback when there is no such key or its value is empty.
NVUTIL_INTERNAL_API DWORD ReadNumber(const WChar* file, const char* section, const char* key, int fallback);

/// Reads what WriteStruct wrote.
/// @return whether there were `size` bytes and then their checksum, whatever follows; else `out` is not to be
///         used
NVUTIL_INTERNAL_API bool ReadStruct(const WChar* file, const char* section, const char* key, void* out,
                                    DWORD size);

// Writing. Everything else in the file stays. A file that is missing is created, its folder is not.
// @return whether the file now says what it should

/// Sets a key, appending it to its section, and the section to the file, when there is none.
/// Without a value it removes the key, without a key the section.
NVUTIL_INTERNAL_API bool WriteText(const WChar* file, const char* section, const char* key,
                                   const char* value);

/// Replaces all lines of a section by the entries of a list that have a "=", or removes it when there is no
/// list.
NVUTIL_INTERNAL_API bool WriteSection(const WChar* file, const char* section, const char* entries);

/// Sets a key to bytes: two hexadecimal digits each, and two of their sum. Without data it removes the key.
NVUTIL_INTERNAL_API bool WriteStruct(const WChar* file, const char* section, const char* key,
                                     const void* data, DWORD size);

}  // namespace platform::profile
