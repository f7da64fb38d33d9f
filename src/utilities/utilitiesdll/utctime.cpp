// UtcTime: the calendar.
#include "utilities/utilitiesdll/utctime.h"

#include <chrono>

#include "utilities/base/formattext.h"

CXString UtcTime::GetDisplayString() const {
    constexpr std::int64_t secondsOfDay = 86400;
    // The calendar repeats every 400 years, which brings any time into the years that the library knows.
    constexpr std::int64_t daysOfCycle = 146097;
    constexpr std::int64_t secondsOfCycle = daysOfCycle * secondsOfDay;
    std::int64_t cycles = m_seconds / secondsOfCycle;
    std::int64_t seconds = m_seconds % secondsOfCycle;
    if (seconds < 0) {
        seconds += secondsOfCycle;
        --cycles;
    }

    const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(seconds / secondsOfDay))};
    const std::int64_t year = static_cast<int>(date.year()) + cycles * 400;
    const auto secondOfDay = static_cast<int>(seconds % secondsOfDay);
    const WChar* yearFormat = year >= 0 && year <= 9999 ? NV_TEXT("%04I64d") : NV_TEXT("%+05I64d");
    return FormatText(yearFormat, year) + FormatText(NV_TEXT("-%02u-%02uT%02d:%02d:%02dZ"),
                                                     static_cast<unsigned>(date.month()),
                                                     static_cast<unsigned>(date.day()), secondOfDay / 3600,
                                                     secondOfDay / 60 % 60, secondOfDay % 60);
}
