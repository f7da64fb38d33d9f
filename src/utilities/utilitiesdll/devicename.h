// IsDeviceName: which names never name a file.
#pragma once

#include <string_view>

#include "platform/internalapi.h"
#include "platform/types.h"

/// Whether a name without separators stands for a device on Windows, whatever folder it is looked for in:
/// CON, PRN, AUX, NUL, CLOCK$, CONIN$, CONOUT$, or COM or LPT with one digit, in any case. What follows its
/// first dot and blanks before that do not count: "nul.txt" is one.
NVUTIL_INTERNAL_API bool IsDeviceName(std::basic_string_view<WChar> name);
