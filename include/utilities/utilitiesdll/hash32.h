// Hash32: the hashes that cached data is named and keyed by.
#pragma once

#include "platform/devicemode.h"
#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A 32-bit hash of bytes, 0 for none and never 0 for any, and its fold into 16 bits.
///
/// No function fails; the bytes handed over must be readable.
class NVUTIL_API Hash32 {
public:
    /// @param bytes  may be null when `length` is 0
    static DWORD GetHash32(const BYTE* bytes, DWORD length);
    static DWORD GetHash32(const ByteBuffer& bytes);
    /// The hash of the code units, two bytes each, without the terminator.
    static DWORD GetHash32(const CXString& text);
    /// The hash of the public and the private part, `dmSize` and `dmDriverExtra` bytes; 0 for null.
    static DWORD GetHash32(const DEVMODEW* deviceMode);
    /// GetHash32, folded.
    static WORD GetHash16(const BYTE* bytes, DWORD length);
    /// The sum of both halves; deliberately, its carry is dropped.
    static WORD Hash16FromHash32(DWORD hash);
};
