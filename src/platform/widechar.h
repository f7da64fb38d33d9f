// Single UTF-16 code units by the C library's rules.
#pragma once

#include "platform/types.h"

namespace platform {

// That is the C library's initial locale, whichever the process has chosen: case means the letters of ASCII,
// while white space and digits are those of all scripts, each as one code unit.

WChar ToUpper(WChar character);
WChar ToLower(WChar character);
/// One upper case for all that differ in case only, in every script as file systems do it: unit by unit, so
/// that no surrogate has any.
WChar FoldCase(WChar character);
bool IsSpace(WChar character);
bool IsDigit(WChar character);

/// Compares two terminated texts after mapping each code unit to lower case.
/// @return below, equal to or above zero
int CompareNoCase(const WChar* left, const WChar* right);

}  // namespace platform
