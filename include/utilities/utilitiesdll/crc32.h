// Crc32: the 32-bit cyclic redundancy check that stored values are compared and keyed by.
#pragma once

#include "platform/types.h"

/// The CRC-32 of IEEE 802.3: reflected, polynomial 0x04C11DB7, complemented at the end.
///
/// No function fails; the bytes handed over must be readable.
class NVUTIL_API Crc32 {
public:
    /// Starts from a seed, which becomes the register as it stands.
    ///
    /// Passing the previous result chains values, as the stored ones were made. Deliberately such a value is
    /// not the CRC of the joined bytes, since the result is complemented and a seed is not; that one is had
    /// by passing the complement of the previous result.
    static DWORD GetCrc(const BYTE* bytes, DWORD length, DWORD seed);
    /// The standard CRC-32, whose seed is 0xFFFFFFFF; 0 for no bytes.
    static DWORD GetCrc(const BYTE* bytes, DWORD length);
};
