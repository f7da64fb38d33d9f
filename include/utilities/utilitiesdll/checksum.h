// Checksum: a 16-bit ones' complement checksum.
#pragma once

#include "platform/types.h"

/// A ones' complement sum of little-endian words and of the length, complemented.
class NVUTIL_API Checksum {
public:
    /// Never fails.
    ///
    /// Deliberately, an odd length reads two bytes beyond the end: the first is the upper half of the last
    /// word, the second is added once more. Both must be readable and decide the result; zeros leave it to
    /// the data.
    static WORD GetChecksum(const BYTE* bytes, DWORD length);
};
