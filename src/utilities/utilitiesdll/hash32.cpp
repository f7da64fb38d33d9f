// Hash32: the hashes that cached data is named and keyed by.
#include "utilities/utilitiesdll/hash32.h"

#include <cstdint>

#include "utilities/utilitiesdll/crc32.h"

namespace {

/// The string hash of the ELF object format: 28 bits.
std::uint32_t ElfHash(const BYTE* bytes, DWORD length) {
    std::uint32_t hash = 0;
    for (const BYTE* const end = bytes + length; bytes != end; ++bytes) {
        hash = (hash << 4) + *bytes;
        hash ^= (hash >> 24) & 0xF0;
    }
    return hash & 0x0FFFFFFF;  // the upper four bits take no part: the next shift drops them
}

}  // namespace

DWORD Hash32::GetHash32(const BYTE* bytes, DWORD length) {
    if (bytes == nullptr || length == 0) return 0;
    const DWORD hash = ElfHash(bytes, length) ^ Crc32::GetCrc(bytes, length);
    return hash != 0 ? hash : 1;  // 0 is kept for no bytes
}

DWORD Hash32::GetHash32(const ByteBuffer& bytes) {
    return GetHash32(bytes.getLpbyte(), bytes.getDword());
}

DWORD Hash32::GetHash32(const CXString& text) {
    const WChar* const units = text;
    return GetHash32(reinterpret_cast<const BYTE*>(units),
                     static_cast<DWORD>(text.GetLength()) * DWORD{sizeof(WChar)});
}

DWORD Hash32::GetHash32(const DEVMODEW* deviceMode) {
    if (deviceMode == nullptr) return 0;
    return GetHash32(reinterpret_cast<const BYTE*>(deviceMode), platform::GetDeviceModeSize(*deviceMode));
}

WORD Hash32::GetHash16(const BYTE* bytes, DWORD length) {
    return Hash16FromHash32(GetHash32(bytes, length));
}

WORD Hash32::Hash16FromHash32(DWORD hash) {
    return static_cast<WORD>((hash & 0xFFFF) + (hash >> 16));
}
