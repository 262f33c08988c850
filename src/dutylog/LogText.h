// dutylog/LogText.h — the words and numbers of the log book.
#pragma once
#include "base/Date.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class Clock;

/// Pure functions. Any thread.
struct LogText {
    /// "2007.10.4 09:05:00", local time.
    static std::string dateString(const Clock& clock, Date date);
    /// The calendar's years, months and days that fit between the two dates, each only when there are any, then
    /// what is left as a clock: "1years+2months+3days+04:05'06\"". What is left is true time, so that a day of
    /// 25 hours can show 24 of them. An end before its begin yields "00:00'00\"".
    static std::string periodStringFrom(const Clock& clock, Date from, Date to);
    /// "27:00'00\"": the hours are not limited to 24.
    static std::string periodStringFromSeconds(double seconds);
    static std::string channelsString(int channels);
    static std::string recordModeString(int mode);
    /// The word for what started or stopped a file.
    static std::string methodString(int method);
    /// Minutes of a marker option.
    static int markerPeriodTime(int option);
    /// Bytes that are missing, with the seconds and the share of `dataSize` that they are.
    static std::string lostString(std::int64_t dataSize, std::int64_t writeData, int channels,
                                  double sampleRate);

    /// "2007-10-24 09:30:00 +0900": local time with its offset.
    static std::string standardDate(const Clock& clock, Date date);
    /// Reads what `standardDate` writes; nothing when it is anything else.
    static std::optional<Date> dateFromStandard(const std::string& text);
    /// `text` on one line: a name from outside must not look like an entry of its own. What is not UTF-8
    /// becomes U+FFFD, a byte each.
    static std::string onOneLine(std::string_view text);
};
