#include "dutylog/LogText.h"

#include "base/Clock.h"
#include "base/Formatted.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {
constexpr double bytesPerSample = 2.0;

/// `from` with another month (1 to 12 or beyond) and day; the last day of a month that is too short for it.
CalendarDate shifted(CalendarDate from, int months, int days) {
    const int month = from.month - 1 + months;
    from.year += month / 12;
    from.month = month % 12 + 1;
    const auto last = std::chrono::year_month_day_last(
        std::chrono::year(from.year), std::chrono::month_day_last(std::chrono::month(from.month)));
    from.day = std::min(from.day, static_cast<int>(static_cast<unsigned>(last.day()))) + days;
    return from;
}

/// A code point of UTF-8, or a byte that is no part of one.
struct Letter {
    char32_t code = 0;
    std::size_t bytes = 1;
    bool isValid = true;
};

/// `text` must not be empty.
Letter firstLetter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80)
        return {first};
    const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC0 || first > 0xF7 || bytes > text.size())
        return {.isValid = false};
    char32_t code = first & (0x7FU >> bytes);
    for (const char part : text.substr(1, bytes - 1)) {
        const auto six = static_cast<unsigned char>(part);
        if ((six & 0xC0U) != 0x80U)
            return {.isValid = false};
        code = (code << 6U) | (six & 0x3FU);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < smallest[bytes] || code > 0x10FFFF || isSurrogate)
        return {.isValid = false};
    return {code, bytes};
}

/// Control characters, the separators of lines and paragraphs, and what turns the direction of writing.
bool breaksTheLine(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029 ||
           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::string clockText(std::int64_t seconds) {
    return formatted("%02d:%02d'%02d\"", static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60),
                     static_cast<int>(seconds % 60));
}
} // namespace

std::string LogText::dateString(const Clock& clock, Date date) {
    const CalendarDate local = clock.calendarDate(date);
    return formatted("%d.%d.%d %02d:%02d:%02d", local.year, local.month, local.day, local.hour, local.minute,
                     local.second);
}

std::string LogText::periodStringFrom(const Clock& clock, Date from, Date to) {
    if (to < from)
        return clockText(0);
    const CalendarDate first = clock.calendarDate(from);
    const CalendarDate last = clock.calendarDate(to);
    const auto reached = [&](int months, int days) {
        return months == 0 && days == 0 ? from : clock.dateFromLocal(shifted(first, months, days));
    };
    int months = std::max((last.year - first.year) * 12 + last.month - first.month, 0);
    while (months > 0 && reached(months, 0) > to)
        --months;
    int days = 0;
    while (reached(months, days + 1) <= to)
        ++days;
    std::string text;
    if (months / 12 != 0)
        text += formatted("%dyears+", months / 12);
    if (months % 12 != 0)
        text += formatted("%dmonths+", months % 12);
    if (days != 0)
        text += formatted("%ddays+", days);
    return text + clockText((to.microseconds - reached(months, days).microseconds) / 1'000'000);
}

std::string LogText::periodStringFromSeconds(double seconds) {
    constexpr double longest = 1e9; // about thirty years
    return clockText(
        static_cast<std::int64_t>(std::isfinite(seconds) ? std::clamp(seconds, 0.0, longest) : 0.0));
}

std::string LogText::channelsString(int channels) {
    return channels == 2 ? "stereo" : "monoral";
}

std::string LogText::recordModeString(int mode) {
    return mode == 1 ? "auto" : mode == 2 ? "standby" : "always";
}

std::string LogText::methodString(int method) {
    switch (method) {
    case 1:
        return "internal";
    case 2:
        return "timer";
    case 4:
        return "emergency";
    case 5:
        return "internal(sleep)";
    default:
        return "manual";
    }
}

int LogText::markerPeriodTime(int option) {
    switch (option) {
    case 1:
        return 3;
    case 2:
        return 5;
    case 3:
        return 15;
    case 4:
        return 30;
    default:
        return 1;
    }
}

std::string LogText::lostString(std::int64_t dataSize, std::int64_t writeData, int channels,
                                double sampleRate) {
    const std::int64_t lost = dataSize - writeData;
    const double bytesPerSecond = channels * sampleRate * bytesPerSample;
    const double seconds = bytesPerSecond > 0.0 ? static_cast<double>(lost) / bytesPerSecond : 0.0;
    const double share =
        dataSize != 0 ? static_cast<double>(lost) / static_cast<double>(dataSize) * 100.0 : 0.0;
    return formatted("%lldbytes(%fseconds, %f%c)", static_cast<long long>(lost), seconds, share, '%');
}

std::string LogText::standardDate(const Clock& clock, Date date) {
    const int offset = clock.calendarDate(date).utcOffset / 60; // minutes
    return clock.format(date, "%Y-%m-%d %H:%M:%S ") +
           formatted("%c%02d%02d", offset < 0 ? '-' : '+', std::abs(offset) / 60, std::abs(offset) % 60);
}

std::optional<Date> LogText::dateFromStandard(const std::string& text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    char sign = 0;
    int offsetHours = 0;
    int offsetMinutes = 0;
    int length = 0;
    if (std::sscanf(text.c_str(), "%4d-%2u-%2u %2d:%2d:%2d %c%2d%2d%n", &year, &month, &day, &hour, &minute,
                    &second, &sign, &offsetHours, &offsetMinutes, &length) != 9 ||
        static_cast<std::size_t>(length) != text.size())
        return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                           std::chrono::day(day)};
    const auto within = [](int value, int limit) { return value >= 0 && value < limit; };
    if (!date.ok() || !within(hour, 24) || !within(minute, 60) || !within(second, 60) ||
        !within(offsetHours, 24) || !within(offsetMinutes, 60) || (sign != '+' && sign != '-'))
        return std::nullopt;
    const std::int64_t offset = (offsetHours * 60 + offsetMinutes) * (sign == '-' ? -60 : 60);
    const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    return Date{(days * 86400 + hour * 3600 + minute * 60 + second - offset) * 1'000'000};
}

std::string LogText::onOneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const Letter letter = firstLetter(text);
        if (!letter.isValid)
            line += "\uFFFD";
        else if (breaksTheLine(letter.code))
            line += ' ';
        else
            line += text.substr(0, letter.bytes);
        text.remove_prefix(letter.bytes);
    }
    return line;
}
