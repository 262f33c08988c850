#include "library/TimeStrings.h"

#include "base/Formatted.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {
struct Split {
    int hour;
    int minute;
    int second;
    int hundredth;
};

Split splitOf(double seconds) {
    constexpr double longest = 1e12; // whole seconds that still fit the hours of an int
    const double kept = std::isnan(seconds) ? 0.0 : std::clamp(seconds, -longest, longest);
    const auto whole = static_cast<std::int64_t>(kept);
    return {.hour = static_cast<int>(whole / 3600),
            .minute = static_cast<int>(whole / 60 % 60),
            .second = static_cast<int>(whole % 60),
            .hundredth = static_cast<int>((kept - std::trunc(kept)) * 100.0)};
}

/// As "%02d". Without the general machinery, for a list has some ten thousands of them.
void appendTwo(std::string& text, int number) {
    if (number < 0 || number > 99) {
        text += formatted("%02d", number);
        return;
    }
    text += static_cast<char>('0' + number / 10);
    text += static_cast<char>('0' + number % 10);
}

std::string twoEach(int hour, int minute, int second, std::string_view between) {
    std::string text;
    appendTwo(text, hour);
    text += between;
    appendTwo(text, minute);
    text += between;
    appendTwo(text, second);
    return text;
}

/// The number that `text` begins with; 0 if it begins with none.
int leadingNumber(std::string_view text) {
    constexpr int tooLong = 100'000'000;
    int number = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9' || number >= tooLong)
            break;
        number = number * 10 + (digit - '0');
    }
    return number;
}

/// Cuts the part before `mark` off `text`; all of it when there is no mark.
std::string_view takePart(std::string_view& text, char mark) {
    const std::size_t at = text.find(mark);
    const std::string_view part = text.substr(0, at);
    text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
    return part;
}

double total(int hour, int minute, int second) {
    return hour * 3600.0 + minute * 60.0 + second;
}
} // namespace

std::string TimeStrings::periodStringWithHour(int hour, int minute, int second) {
    std::string text = hour != 0 ? std::to_string(hour) + ":" : std::to_string(minute);
    if (hour != 0)
        appendTwo(text, minute);
    text += '\'';
    appendTwo(text, second);
    return text += '"';
}

std::string TimeStrings::periodStringWithHour(int hour, int minute, int second, int milisec) {
    return periodStringWithHour(hour, minute, second) + formatted("%02d", milisec);
}

std::string TimeStrings::numberStringWithHour(int hour, int minute, int second) {
    return twoEach(hour, minute, second, {});
}

std::string TimeStrings::timeStringWithHour(int hour, int minute, int second) {
    return twoEach(hour, minute, second, ":");
}

std::string TimeStrings::timeStringWithHour(int hour, int minute, int second, int milisec) {
    return timeStringWithHour(hour, minute, second) + formatted(".%02d", milisec);
}

std::string TimeStrings::numberStringWithSeconds(double seconds) {
    const Split split = splitOf(seconds);
    return numberStringWithHour(split.hour, split.minute, split.second);
}

std::string TimeStrings::periodStringWithSeconds(double seconds) {
    const Split split = splitOf(seconds);
    return periodStringWithHour(split.hour, split.minute, split.second);
}

std::string TimeStrings::timeStringWithSeconds(double seconds) {
    const Split split = splitOf(seconds);
    return timeStringWithHour(split.hour, split.minute, split.second);
}

std::string TimeStrings::periodStringWithMiliSeconds(double seconds) {
    const Split split = splitOf(seconds);
    return periodStringWithHour(split.hour, split.minute, split.second, split.hundredth);
}

std::string TimeStrings::timeStringWithMiliSeconds(double seconds) {
    const Split split = splitOf(seconds);
    return timeStringWithHour(split.hour, split.minute, split.second, split.hundredth);
}

double TimeStrings::secondsWithTimeString(std::string_view time) {
    const auto two = [&time] { return leadingNumber(takePart(time, ':').substr(0, 2)); };
    const int hour = two();
    const int minute = two();
    return total(hour, minute, two());
}

double TimeStrings::secondsWithSpendString(std::string_view spend) {
    std::string_view clock = takePart(spend, '\'');
    const int second = leadingNumber(spend.substr(0, 2));
    const bool hasHours = clock.find(':') != std::string_view::npos;
    const int hour = hasHours ? leadingNumber(takePart(clock, ':')) : 0;
    return total(hour, leadingNumber(takePart(clock, ':')), second);
}
