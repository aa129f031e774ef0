#include "tools/hookhost/times.h"

#include <fmt/format.h>

namespace hookhost {

std::string isoTime(timespec const& time)
{
    tm utc = {};
    gmtime_r(&time.tv_sec, &utc);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", utc.tm_year + 1900, utc.tm_mon + 1,
                       utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, time.tv_nsec / 1000000);
}

std::string isoTimeNow()
{
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    return isoTime(time);
}

} // namespace hookhost
