// The bounded wide formatter behind CXString::FormatV.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "platform/types.h"

namespace platform {

/// Formats like the Windows C library's bounded wide formatter in that library's initial locale: "%ld" takes
/// 32 bits, "I64" 64, "%s" a wide and "%S" or "%hs" a narrow string, whose bytes become the code units of the
/// same numbers. "%n" stores nothing. Never writes beyond `capacity` code units and always terminates.
///
/// @param out        receives the text and its terminator
/// @param capacity   code units available at `out`, the terminator included; at least 1
/// @param format     terminated format text
/// @param arguments  the arguments; left indeterminate, as after any use of va_arg
/// @return the number of code units before the terminator
std::size_t FormatWide(WChar* out, std::size_t capacity, const WChar* format, va_list arguments);

}  // namespace platform
