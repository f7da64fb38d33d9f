// DataEncrypter: seals short values that are stored for the current user.
#include "utilities/utilitiesdll/dataencrypter.h"

#include <span>
#include <string_view>

#include "platform/dataprotection.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

// What was sealed with other values cannot be unsealed: none of these ever changes.
constexpr const WChar* entropyWords[] = {NV_TEXT("Amber"), NV_TEXT("Harbour"), NV_TEXT("Meridian")};
constexpr BYTE entropySeparator = 0x3B;
constexpr const WChar* description = NV_TEXT("NVU");
constexpr std::string_view simpleKey = "Q7mR2xK9pL";

// The bytes of the one instance, for every call of this process.
constinit std::span<const BYTE> processEntropy;

}  // namespace

const bool DataEncrypter::m_isMadeAtLoad = (GetInstance(), true);

DataEncrypter::DataEncrypter() {
    for (const WChar* const word : entropyWords) {
        if (!m_entropy.empty()) m_entropy.appendByteValue(entropySeparator);
        m_entropy.append(CXString(word));
    }
    processEntropy = m_entropy;
}

DataEncrypter::~DataEncrypter() = default;

// Static objects of other files may seal before this file's have been made, and after they are gone.
const DataEncrypter& DataEncrypter::GetInstance() {
    static const DataEncrypter& instance = *new DataEncrypter;
    return instance;
}

ByteBuffer DataEncrypter::EncryptBytes(const ByteBuffer& plain) {
    GetInstance();
    ByteBuffer sealed;
    const platform::Status status = platform::ProtectData(plain, description, processEntropy, sealed);
    if (status.IsSuccess()) return sealed;
    NV_THROW(ExceptionDataEncrypterFailure, "DataEncrypter::EncryptBytes", __LINE__, NV_TEXT("%s"),
             status.GetReason().c_str());
}

ByteBuffer DataEncrypter::DecryptBytes(const ByteBuffer& sealed) {
    GetInstance();
    ByteBuffer plain;
    const platform::Status status = platform::UnprotectData(sealed, processEntropy, plain);
    if (status.IsSuccess()) return plain;
    NV_THROW(ExceptionDataEncrypterFailure, "DataEncrypter::DecryptBytes", __LINE__, NV_TEXT("%s"),
             status.GetReason().c_str());
}

ByteBuffer DataEncrypter::EncryptString(const CXString& text) {
    ByteBuffer plain;
    const platform::WipeAtEnd wipe(plain);
    plain.append(text);
    return EncryptBytes(plain);
}

CXString DataEncrypter::DecryptString(const ByteBuffer& sealed) {
    ByteBuffer plain = DecryptBytes(sealed);
    const platform::WipeAtEnd wipe(plain);
    return plain.getAsStringValue();
}

ByteBuffer DataEncrypter::EncryptStringWithNorvaSimple1(const CXString& text) {
    ByteBuffer out;
    out.reserve(static_cast<std::size_t>(text.GetLength()));
    for (int i = 0; i < text.GetLength(); ++i) {
        const auto index = static_cast<std::size_t>(i);
        const int key = index < simpleKey.size() ? simpleKey[index] : 0;  // deliberately not repeated
        out.push_back(static_cast<BYTE>(text[i] ^ key));
    }
    return out;
}

ByteBuffer DataEncrypter::DecryptStringWithNorvaSimple1(const CXString& text) {
    return EncryptStringWithNorvaSimple1(text);
}
