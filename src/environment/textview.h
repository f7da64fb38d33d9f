// TextView: text that lies in memory of another, as the readers of product data hand it around.
#pragma once

#include <cstddef>
#include <string_view>

#include "utilities/utilitiesdll/cxstring.h"

/// Code units that belong to another object and are valid as long as it keeps them.
using TextView = std::basic_string_view<WChar>;

/// All code units of a string, zeros included.
inline TextView ViewOf(const CXString& text) {
    return {static_cast<const WChar*>(text), static_cast<std::size_t>(text.GetLength())};
}

/// A string with a buffer of its own, which another thread may use.
inline CXString StringOf(TextView text) {
    return {text.data(), static_cast<int>(text.size())};
}
