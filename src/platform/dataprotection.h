// Sealing of data for the user who runs the process.
#pragma once

#include <span>
#include <vector>

#include "platform/internalapi.h"
#include "platform/status.h"
#include "platform/types.h"

namespace platform {

/// Seals data so that only the same user can unseal it, given the same entropy.
/// @param description  terminated text that is kept with the data, readable and protected against changes
/// @param entropy      bytes that must be given again to unseal
/// @param sealed       receives the sealed data; unchanged on failure
NVUTIL_INTERNAL_API Status ProtectData(std::span<const BYTE> plain, const WChar* description,
                                       std::span<const BYTE> entropy, std::vector<BYTE>& sealed);

/// Unseals what ProtectData sealed. The user is never asked anything.
/// @param plain  receives the data; unchanged on failure
NVUTIL_INTERNAL_API Status UnprotectData(std::span<const BYTE> sealed, std::span<const BYTE> entropy,
                                         std::vector<BYTE>& plain);

/// Overwrites memory with zeros, also when nothing reads it afterwards.
NVUTIL_INTERNAL_API void WipeMemory(std::span<BYTE> memory);

/// Wipes bytes or 8-bit text that are secret at the end of a scope.
template <class Bytes>
class WipeAtEnd {
public:
    explicit WipeAtEnd(Bytes& bytes) : m_bytes(bytes) {}
    WipeAtEnd(const WipeAtEnd&) = delete;
    WipeAtEnd& operator=(const WipeAtEnd&) = delete;
    ~WipeAtEnd() { WipeMemory({reinterpret_cast<BYTE*>(m_bytes.data()), m_bytes.size()}); }

private:
    static_assert(sizeof(typename Bytes::value_type) == 1);

    Bytes& m_bytes;
};

}  // namespace platform
