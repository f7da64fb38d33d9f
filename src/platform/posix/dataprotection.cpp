// Sealing by authenticated encryption with a key of the user. docs/formats.md has the layout.
#include "platform/dataprotection.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "platform/posix/masterkey.h"
#include "platform/utf8.h"

namespace platform {

namespace {

// What is sealed begins with this, the version and the description; then a nonce, the data and a tag.
constexpr std::array<BYTE, 4> signature = {'N', 'V', 'S', 'D'};
constexpr WORD version = 1;
constexpr std::size_t versionOffset = signature.size();
constexpr std::size_t lengthOffset = versionOffset + sizeof(WORD);
constexpr std::size_t descriptionOffset = lengthOffset + sizeof(WORD);
constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr std::size_t keySize = crypto_aead_xchacha20poly1305_ietf_KEYBYTES;

// Keeps these keys apart from any others that may once be derived from the master key.
constexpr unsigned char purpose[crypto_generichash_blake2b_PERSONALBYTES + 1] = "nvutil_B sealing";
static_assert(masterKeySize <= crypto_generichash_blake2b_KEYBYTES_MAX);

SecretBytes DeriveKey(const SecretBytes& master, std::span<const BYTE> entropy) {
    SecretBytes key(keySize);
    crypto_generichash_blake2b_salt_personal(key.Get().data(), keySize, entropy.data(), entropy.size(),
                                             master.Get().data(), masterKeySize, nullptr, purpose);
    return key;
}

void WriteWord(BYTE* to, std::size_t value) {
    to[0] = static_cast<BYTE>(value);
    to[1] = static_cast<BYTE>(value >> 8);
}

std::size_t ReadWord(const BYTE* from) {
    return from[0] | std::size_t{from[1]} << 8;
}

std::vector<BYTE> MakeHeader(std::basic_string_view<WChar> description) {
    if (description.size() > std::numeric_limits<WORD>::max()) throw ProtectionFailure("long description");
    std::vector<BYTE> header(descriptionOffset + description.size() * sizeof(WChar));
    std::ranges::copy(signature, header.begin());
    WriteWord(header.data() + versionOffset, version);
    WriteWord(header.data() + lengthOffset, description.size());
    for (std::size_t i = 0; i < description.size(); ++i)
        WriteWord(header.data() + descriptionOffset + i * sizeof(WChar), description[i]);
    return header;
}

/// The header in front of sealed data, checked to leave room for the nonce and the tag.
std::span<const BYTE> FindHeader(std::span<const BYTE> sealed) {
    if (sealed.size() < descriptionOffset || !std::ranges::equal(sealed.first(signature.size()), signature))
        throw ProtectionFailure("this is not sealed data");
    if (ReadWord(sealed.data() + versionOffset) != version)
        throw ProtectionFailure("sealed by a version that is not known");
    const std::size_t size = descriptionOffset + ReadWord(sealed.data() + lengthOffset) * sizeof(WChar);
    if (sealed.size() < size + nonceSize + tagSize) throw ProtectionFailure("the sealed data is cut off");
    return sealed.first(size);
}

std::vector<BYTE> Seal(std::span<const BYTE> plain, const WChar* description, std::span<const BYTE> entropy) {
    std::vector<BYTE> sealed = MakeHeader(description);
    const SecretBytes key = DeriveKey(ReadMasterKey(true), entropy);
    const std::size_t headerSize = sealed.size();
    sealed.resize(headerSize + nonceSize + plain.size() + tagSize);
    BYTE* const nonce = sealed.data() + headerSize;
    randombytes_buf(nonce, nonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(nonce + nonceSize, nullptr, plain.data(), plain.size(),
                                               sealed.data(), headerSize, nullptr, nonce, key.Get().data());
    return sealed;
}

std::vector<BYTE> Unseal(std::span<const BYTE> sealed, std::span<const BYTE> entropy) {
    const std::span<const BYTE> header = FindHeader(sealed);
    const SecretBytes key = DeriveKey(ReadMasterKey(false), entropy);
    const std::span<const BYTE> nonce = sealed.subspan(header.size(), nonceSize);
    const std::span<const BYTE> encrypted = sealed.subspan(header.size() + nonceSize);
    std::vector<BYTE> plain(encrypted.size() - tagSize);
    // The tag is checked first: nothing is decrypted of data that was changed.
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(plain.data(), nullptr, nullptr, encrypted.data(),
                                                   encrypted.size(), header.data(), header.size(),
                                                   nonce.data(), key.Get().data()) != 0) {
        throw ProtectionFailure("damaged, or sealed by another user or with other entropy");
    }
    return plain;
}

Status StatusOf(const ProtectionFailure& failure) {
    constexpr DWORD generalFailure = 31;
    return {generalFailure, TextOfUtf8(failure.what())};
}

}  // namespace

Status ProtectData(std::span<const BYTE> plain, const WChar* description, std::span<const BYTE> entropy,
                   std::vector<BYTE>& sealed) {
    try {
        sealed = Seal(plain, description, entropy);
        return {};
    } catch (const ProtectionFailure& failure) {
        return StatusOf(failure);
    }
}

Status UnprotectData(std::span<const BYTE> sealed, std::span<const BYTE> entropy, std::vector<BYTE>& plain) {
    try {
        plain = Unseal(sealed, entropy);
        return {};
    } catch (const ProtectionFailure& failure) {
        return StatusOf(failure);
    }
}

void WipeMemory(std::span<BYTE> memory) {
    sodium_memzero(memory.data(), memory.size());
}

}  // namespace platform
