// DataEncrypter: seals short values that are stored for the current user.
#pragma once

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

/// Seals bytes and strings so that only the same user can read them again, and only this library.
///
/// Sealed data belongs to one user of one platform: neither another user nor the library's build for another
/// platform can unseal it. Sealing the same data twice gives different bytes. All functions may be called by
/// several threads at once.
class NVUTIL_API DataEncrypter {
public:
    DataEncrypter(const DataEncrypter&) = delete;
    DataEncrypter& operator=(const DataEncrypter&) = delete;
    virtual ~DataEncrypter();

    /// Seals bytes, of which there may be none.
    /// @throws ExceptionDataEncrypterFailure with the platform's reason
    static ByteBuffer EncryptBytes(const ByteBuffer& plain);
    /// Unseals bytes.
    /// @throws ExceptionDataEncrypterFailure when they were changed in any way, or another user sealed them
    static ByteBuffer DecryptBytes(const ByteBuffer& sealed);
    /// Seals the code units of a string.
    /// @throws ExceptionDataEncrypterFailure with the platform's reason
    static ByteBuffer EncryptString(const CXString& text);
    /// Unseals a string; one zero unit at its end is lost.
    /// @throws ExceptionDataEncrypterFailure like DecryptBytes
    static CXString DecryptString(const ByteBuffer& sealed);

    /// Combines each character's low byte with a fixed key. This hides text from a glance and protects
    /// nothing.
    ///
    /// Deliberately the key of ten characters is not repeated: later characters keep their low byte.
    /// @return one byte for each code unit
    static ByteBuffer EncryptStringWithNorvaSimple1(const CXString& text);
    /// The same transformation. Deliberately it does not take what the other function returns.
    static ByteBuffer DecryptStringWithNorvaSimple1(const CXString& text);

private:
    DataEncrypter();

    /// The one instance, which the library has from its load to its end.
    static const DataEncrypter& GetInstance();
    static const bool m_isMadeAtLoad;

    ByteBuffer m_entropy;
};
