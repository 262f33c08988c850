// library/TimeStrings.h — times of day and lengths as texts, and back.
#pragma once
#include <string>
#include <string_view>

/// Pure functions. Any thread. A "period" is a length such as 1:02'05", a "time" one such as 01:02:05, a
/// "number" one such as 010205. Parts of a second are cut off, never rounded.
struct TimeStrings {
    static std::string periodStringWithHour(int hour, int minute, int second);
    /// `milisec`: hundredths of a second, here and below.
    static std::string periodStringWithHour(int hour, int minute, int second, int milisec);
    static std::string numberStringWithHour(int hour, int minute, int second);
    static std::string timeStringWithHour(int hour, int minute, int second);
    static std::string timeStringWithHour(int hour, int minute, int second, int milisec);

    /// `seconds` may have a fraction. A value that is no number counts as 0.
    static std::string numberStringWithSeconds(double seconds);
    static std::string periodStringWithSeconds(double seconds);
    static std::string timeStringWithSeconds(double seconds);
    static std::string periodStringWithMiliSeconds(double seconds);
    static std::string timeStringWithMiliSeconds(double seconds);

    /// Seconds of a time. A part that is missing or no number counts as 0.
    static double secondsWithTimeString(std::string_view time);
    /// Seconds of a period without hundredths; what follows the second's two digits is passed over.
    static double secondsWithSpendString(std::string_view spend);
};
