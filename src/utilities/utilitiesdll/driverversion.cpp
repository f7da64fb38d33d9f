// DriverVersion: byte form, texts and the process's current version.
#include "utilities/utilitiesdll/driverversion.h"

#include <atomic>
#include <cstdint>

#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr unsigned byteSize = 8;

WORD UpperHalf(LONG number) {
    return static_cast<WORD>(static_cast<DWORD>(number) >> 16);
}

WORD LowerHalf(LONG number) {
    return static_cast<WORD>(static_cast<DWORD>(number) & 0xFFFF);
}

LONG MakeLong(WORD upper, WORD lower) {
    return static_cast<LONG>(static_cast<DWORD>(upper) << 16 | lower);
}

constexpr std::uint64_t Pack(WORD p0, WORD p1, WORD p2, WORD p3) {
    return std::uint64_t{p0} << 48 | std::uint64_t{p1} << 32 | std::uint64_t{p2} << 16 | p3;
}

// All parts in one number, so that no thread reads parts of two versions.
std::atomic<std::uint64_t> currentVersion =
    Pack(NVUTIL_VERSION_MAJOR, NVUTIL_VERSION_MINOR, NVUTIL_VERSION_PATCH, 0);

}  // namespace

DriverVersion::DriverVersion(LONG high, LONG low)
    : DriverVersion(UpperHalf(high), LowerHalf(high), UpperHalf(low), LowerHalf(low)) {}

void DriverVersion::GetWordComponents(WORD& p0, WORD& p1, WORD& p2, WORD& p3) const {
    p0 = m_parts[0];
    p1 = m_parts[1];
    p2 = m_parts[2];
    p3 = m_parts[3];
}

void DriverVersion::GetLongComponents(LONG& high, LONG& low) const {
    high = MakeLong(m_parts[0], m_parts[1]);
    low = MakeLong(m_parts[2], m_parts[3]);
}

ByteBuffer DriverVersion::GetVersionAsByteBuffer() const {
    ByteBuffer bytes;
    bytes.reserve(byteSize);
    for (const WORD part : m_parts)
        bytes.append(ByteBuffer::createFromWordValue(part));
    return bytes;
}

DriverVersion DriverVersion::WalkBufferToGetDriverVersion(BYTE*& cursor, unsigned& remaining) {
    if (remaining < byteSize) {
        NV_THROW(ExceptionNotEnoughBytesForDesiredDataType, "DriverVersion::WalkBufferToGetDriverVersion",
                 __LINE__);
    }
    DriverVersion version;
    for (WORD& part : version.m_parts)
        part = ByteBuffer::WalkBufferToGetWord(cursor, remaining);
    return version;
}

CXString DriverVersion::GetVersionDisplayString() const {
    // The last two digits of the last part are left out deliberately.
    return FormatText(NV_TEXT("%ld.%ld.%ld.%ld.%ld.%ld.%ld"), m_parts[0] / 1000, m_parts[0] % 1000,
                      m_parts[1] / 100, m_parts[1] % 100, m_parts[2] / 100, m_parts[2] % 100,
                      m_parts[3] / 100);
}

CXString DriverVersion::GetDumpDisplayString() const {
    return FormatText(NV_TEXT("%s [%ld, %ld, %ld, %ld (0x%lx, 0x%lx, 0x%lx, 0x%lx)]"),
                      GetVersionDisplayString(), m_parts[0], m_parts[1], m_parts[2], m_parts[3], m_parts[0],
                      m_parts[1], m_parts[2], m_parts[3]);
}

DriverVersion DriverVersion::GetCurrentDriverVersion() {
    const std::uint64_t packed = currentVersion;
    return DriverVersion(static_cast<WORD>(packed >> 48), static_cast<WORD>(packed >> 32),
                         static_cast<WORD>(packed >> 16), static_cast<WORD>(packed));
}

void DriverVersion::SetCurrentDriverVersion(const DriverVersion& version) {
    const WORD(&parts)[4] = version.m_parts;
    currentVersion = Pack(parts[0], parts[1], parts[2], parts[3]);
}
