// The user's master key, from which the keys of sealed data are derived.
#pragma once

#include <sodium.h>

#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>

#include "platform/types.h"

namespace platform {

/// Why data cannot be sealed or unsealed, in UTF-8.
class ProtectionFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Memory that is kept out of swap and core files, fenced, and wiped at the end.
class SecretBytes {
public:
    /// @throws ProtectionFailure when the memory cannot be had
    explicit SecretBytes(std::size_t size)
        : m_bytes(static_cast<BYTE*>(sodium_malloc(size)), sodium_free), m_size(size) {
        if (m_bytes == nullptr) throw ProtectionFailure("no memory for a key");
    }

    std::span<BYTE> Get() { return {m_bytes.get(), m_size}; }
    std::span<const BYTE> Get() const { return {m_bytes.get(), m_size}; }

private:
    std::unique_ptr<BYTE, void (*)(void*)> m_bytes;
    std::size_t m_size;
};

constexpr std::size_t masterKeySize = 32;

/// Reads the key of the user that the process runs as.
///
/// It lies in "nvutil/seal.key" below $XDG_DATA_HOME, or below ~/.local/share when that is not set; the home
/// folder itself is never made. The file must belong to the user and nobody else may have any access to it;
/// nobody else may write to its folder, which is closed to others when they can read it. The key is read for
/// every call, so that it stays in memory no longer than it is used.
///
/// @param mayCreate  make a key when there is none; several processes that do so at once agree on one
/// @throws ProtectionFailure
SecretBytes ReadMasterKey(bool mayCreate);

}  // namespace platform
