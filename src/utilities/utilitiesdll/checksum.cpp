// Checksum: a 16-bit ones' complement checksum.
#include "utilities/utilitiesdll/checksum.h"

#include <cstddef>
#include <cstdint>

WORD Checksum::GetChecksum(const BYTE* bytes, DWORD length) {
    std::uint32_t sum = 0;
    std::size_t i = 0;
    for (; i < length; i += 2)
        sum += bytes[i] + 256U * bytes[i + 1];
    if (length % 2 != 0) sum += bytes[i];  // deliberately the second byte behind the end
    sum += static_cast<std::uint32_t>(length);
    while (sum > 0xFFFF)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<WORD>(~sum);
}
