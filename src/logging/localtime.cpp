#include "logging/localtime.h"

#include <ctime>

namespace Log
{
LocalTime Now()
{
    timespec ts{};
    ::clock_gettime(CLOCK_REALTIME, &ts);
    std::tm tm{};
    const std::time_t seconds = ts.tv_sec;
    ::localtime_r(&seconds, &tm);
    LocalTime t;
    t.year = tm.tm_year + 1900;
    t.month = tm.tm_mon + 1;
    t.day = tm.tm_mday;
    t.hour = tm.tm_hour;
    t.minute = tm.tm_min;
    t.second = tm.tm_sec;
    t.millisecond = int(ts.tv_nsec / 1000000);
    return t;
}
} // namespace Log
