// The local date and time to the millisecond, as log headers, line prefixes and dated log names
// print it.
#pragma once

namespace Log
{
struct LocalTime
{
    int year = 0;  // e.g. 2024
    int month = 0; // 1 to 12
    int day = 0;   // 1 to 31
    int hour = 0;  // 0 to 23
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

LocalTime Now();
} // namespace Log
