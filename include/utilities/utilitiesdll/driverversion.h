// DriverVersion: the four-part version that is stamped into every persisted state.
#pragma once

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

/// The version of the driver, in four parts of which the first is the most significant.
class NVUTIL_API DriverVersion {
public:
    /// All parts 0.
    constexpr DriverVersion() = default;
    constexpr DriverVersion(WORD p0, WORD p1, WORD p2, WORD p3) : m_parts{p0, p1, p2, p3} {}
    /// The two numbers of a file version: each holds two parts, the more significant one in its upper half.
    DriverVersion(LONG high, LONG low);

    void GetWordComponents(WORD& p0, WORD& p1, WORD& p2, WORD& p3) const;
    /// The two numbers that the constructor takes.
    void GetLongComponents(LONG& high, LONG& low) const;

    /// 8 bytes: the four parts, each a little-endian Word.
    ByteBuffer GetVersionAsByteBuffer() const;
    /// Reads what GetVersionAsByteBuffer writes.
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when less than 8 bytes are left; the cursor stays
    static DriverVersion WalkBufferToGetDriverVersion(BYTE*& cursor, unsigned& remaining);

    bool operator==(const DriverVersion& other) const = default;

    /// The version as users read it, "5.12.12.34.56.78.90" for the parts 5012, 1234, 5678 and 9012.
    CXString GetVersionDisplayString() const;
    /// The display string and the parts in decimal and hexadecimal.
    CXString GetDumpDisplayString() const;

    /// The version that this process stamps into states; at first the library's own.
    static DriverVersion GetCurrentDriverVersion();
    /// Sets it for all threads.
    static void SetCurrentDriverVersion(const DriverVersion& version);

private:
    WORD m_parts[4] = {};
};
