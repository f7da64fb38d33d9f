// UtcTime: the calendar.
#include "utilities/utilitiesdll/utctime.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "support/bytes.h"

namespace {

TEST(UtcTimeTest, DisplaysAnyTime) {
    const struct {
        std::int64_t seconds;
        const char* expected;
    } cases[] = {
        {1700000000, "2023-11-14T22:13:20Z"},
        {0, "1970-01-01T00:00:00Z"},
        {-1, "1969-12-31T23:59:59Z"},
        {951782400, "2000-02-29T00:00:00Z"},
        {-62167219200, "0000-01-01T00:00:00Z"},
        {-62167219201, "-0001-12-31T23:59:59Z"},
        {253402300799, "9999-12-31T23:59:59Z"},
        {253402300800, "+10000-01-01T00:00:00Z"},
        {INT64_MAX, "+292277026596-12-04T15:30:07Z"},
        {INT64_MIN, "-292277022657-01-27T08:29:52Z"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Narrow(UtcTime(c.seconds).GetDisplayString()), c.expected);
}

}  // namespace
