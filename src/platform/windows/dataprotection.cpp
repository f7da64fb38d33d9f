// Sealing through the system's data protection.
#include "platform/dataprotection.h"

#include <windows.h>

#include <dpapi.h>

#include <cstdint>

#include "platform/errortext.h"

namespace platform {

namespace {

/// What the system allocated, wiped and freed at the end.
class SystemBlob {
public:
    SystemBlob() = default;
    SystemBlob(const SystemBlob&) = delete;
    SystemBlob& operator=(const SystemBlob&) = delete;
    ~SystemBlob() {
        if (m_blob.pbData == nullptr) return;
        SecureZeroMemory(m_blob.pbData, m_blob.cbData);
        LocalFree(m_blob.pbData);
    }

    DATA_BLOB* Receive() { return &m_blob; }
    void CopyTo(std::vector<BYTE>& bytes) const {
        bytes.assign(m_blob.pbData, m_blob.pbData + m_blob.cbData);
    }

private:
    DATA_BLOB m_blob{};
};

/// The system's view of bytes, which it only reads. Where there are none the pointer is still not null.
DATA_BLOB BlobOf(std::span<const BYTE> bytes) {
    static constexpr WChar emptyText[] = L"";
    const void* const first = bytes.empty() ? static_cast<const void*>(emptyText) : bytes.data();
    return {static_cast<DWORD>(bytes.size()), static_cast<BYTE*>(const_cast<void*>(first))};
}

Status LastErrorStatus() {
    const DWORD error = GetLastError();
    return {error,
            ErrorText(static_cast<HRESULT>(error)).empty() ? L"system error " + std::to_wstring(error) : L""};
}

/// Whether the system, which counts in 32 bits, can take the data.
Status CheckSize(std::span<const BYTE> data) {
    return data.size() <= UINT32_MAX ? Status{} : Status{ERROR_INVALID_PARAMETER, L"too much data"};
}

}  // namespace

Status ProtectData(std::span<const BYTE> plain, const WChar* description, std::span<const BYTE> entropy,
                   std::vector<BYTE>& sealed) {
    if (Status size = CheckSize(plain); !size.IsSuccess()) return size;
    DATA_BLOB in = BlobOf(plain);
    DATA_BLOB optionalEntropy = BlobOf(entropy);
    SystemBlob out;
    if (CryptProtectData(&in, description, &optionalEntropy, nullptr, nullptr, 0, out.Receive()) == 0)
        return LastErrorStatus();
    out.CopyTo(sealed);
    return {};
}

Status UnprotectData(std::span<const BYTE> sealed, std::span<const BYTE> entropy, std::vector<BYTE>& plain) {
    if (Status size = CheckSize(sealed); !size.IsSuccess()) return size;
    DATA_BLOB in = BlobOf(sealed);
    DATA_BLOB optionalEntropy = BlobOf(entropy);
    SystemBlob out;
    // The flags differ from those of sealing deliberately.
    if (CryptUnprotectData(&in, nullptr, &optionalEntropy, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN,
                           out.Receive()) == 0) {
        return LastErrorStatus();
    }
    out.CopyTo(plain);
    return {};
}

void WipeMemory(std::span<BYTE> memory) {
    if (!memory.empty()) SecureZeroMemory(memory.data(), memory.size());
}

}  // namespace platform
