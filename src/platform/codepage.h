// Conversion between UTF-16 and 8-bit text in a code page of the platform.
#pragma once

#include "platform/types.h"

namespace platform {

/// The code pages that the library converts with, by the platform's numbers.
enum class CodePage : unsigned {
    Ansi = 0,      ///< The system's ANSI code page.
    Utf8 = 65001,  ///< UTF-8.
};

/// Converts UTF-16 to 8-bit text. What an ANSI code page lacks becomes a character that looks like it, as the
/// platform has it ("L" for U+0141, "/" for U+FF0F), and else "?". So such a text never names a file.
///
/// @param text      the code units; need not be terminated
/// @param length    their number; a terminator is converted only when it is counted
/// @param out       receives the bytes; may be null when `capacity` is 0
/// @param capacity  bytes available at `out`; 0 asks for the size needed
/// @return the number of bytes written (or needed), or 0 on failure: too little room, or nothing to convert
int NarrowFromWide(CodePage codePage, const WChar* text, int length, char* out, int capacity);

/// Converts 8-bit text to UTF-16, with the parameters and the result of NarrowFromWide, counted in code
/// units. Bytes that mean nothing in the code page become the platform's replacement character.
int WideFromNarrow(CodePage codePage, const char* text, int length, WChar* out, int capacity);

}  // namespace platform
