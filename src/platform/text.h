// Text as the platform services take and return it; below the library's own string class.
#pragma once

#include <string>

#include "platform/types.h"

namespace platform {

using Text = std::basic_string<WChar>;

/// Whether a code unit is the first half of a character beyond U+FFFF.
constexpr bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

/// Whether it is the second half.
constexpr bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

}  // namespace platform
