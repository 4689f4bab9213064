#include "Support/TimeStamps.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

// 2024-01-31T15:45:02Z
constexpr system_clock::time_point afternoon{std::chrono::seconds(1706715902)};

class TimeZone {
public:
    explicit TimeZone(const char* name)
    {
        if (const char* value = std::getenv("TZ"))
            previous_ = value;
        ::setenv("TZ", name, 1);
        ::tzset();
    }
    ~TimeZone()
    {
        if (previous_)
            ::setenv("TZ", previous_->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    std::optional<std::string> previous_;
};

TEST(TimeStampsTests, InternetTimeHasMillisecondsAndIsInUTC)
{
    const TimeZone zone("EST5");
    EXPECT_EQ(iso8601Timestamp(afternoon + 123ms), "2024-01-31T15:45:02.123Z");
    EXPECT_EQ(iso8601Timestamp(afternoon), "2024-01-31T15:45:02.000Z");
}

TEST(TimeStampsTests, MillisecondsAreTruncated)
{
    EXPECT_EQ(iso8601Timestamp(afternoon + 999us), "2024-01-31T15:45:02.000Z");
    EXPECT_EQ(iso8601Timestamp(system_clock::time_point(-1ms)), "1969-12-31T23:59:59.999Z");
}

TEST(TimeStampsTests, CompactTimeIsLocal)
{
    const TimeZone zone("EST5");
    EXPECT_EQ(compactLocalTimestamp(afternoon), "20240131-104502");
}

} // namespace
} // namespace glimto
