// UtcTime: a point in time, in seconds.
#pragma once

#include <cstdint>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// Seconds since 1970-01-01 00:00:00 UTC, without leap seconds; negative before. Any 64-bit value is valid.
class NVUTIL_API UtcTime {
public:
    constexpr UtcTime() = default;
    constexpr explicit UtcTime(std::int64_t seconds) : m_seconds(seconds) {}

    constexpr std::int64_t GetTime64Value() const { return m_seconds; }
    constexpr bool operator==(const UtcTime& other) const = default;

    /// The time in the Gregorian calendar, "2023-11-14T22:13:20Z". A year before 0 or after 9999 has a sign.
    CXString GetDisplayString() const;

private:
    std::int64_t m_seconds = 0;
};
