// Library text as the test framework prints and compares it best.
#pragma once

#include <string>

#include "utilities/utilitiesdll/cxstring.h"

/// The code units as single characters; "?" for one that is not ASCII.
inline std::string Narrow(const CXString& text) {
    std::string narrow;
    for (int i = 0; i < text.GetLength(); ++i)
        narrow += text.GetAt(i) < 0x80 ? static_cast<char>(text.GetAt(i)) : '?';
    return narrow;
}
