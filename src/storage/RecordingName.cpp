#include "storage/RecordingName.h"

#include "storage/SoundFileNames.h"

namespace {
constexpr std::size_t dateAt = 13;
constexpr std::size_t startAt = 22;
constexpr std::size_t endAt = 29;
constexpr int secondsPerDay = 24 * 60 * 60;

/// -1 unless all characters are digits.
int numberOf(std::string_view digits) {
    int number = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return -1;
        number = number * 10 + (digit - '0');
    }
    return number;
}

std::optional<int> timeOfDay(std::string_view digits) {
    const int hour = numberOf(digits.substr(0, 2));
    const int minute = numberOf(digits.substr(2, 2));
    const int second = numberOf(digits.substr(4, 2));
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59)
        return std::nullopt;
    return (hour * 60 + minute) * 60 + second;
}

bool isDate(std::string_view digits) {
    const int month = numberOf(digits.substr(4, 2));
    const int day = numberOf(digits.substr(6, 2));
    return numberOf(digits.substr(0, 4)) >= 0 && month >= 1 && month <= 12 && day >= 1 && day <= 31;
}
} // namespace

std::optional<RecordingName> RecordingName::of(std::string_view name) {
    const bool visible = name.starts_with(SoundFileNames::headerString);
    const bool hidden = name.starts_with(SoundFileNames::hiddenHeaderString);
    if ((!visible && !hidden) || !SoundFileNames::isSoundFile(name))
        return std::nullopt;
    if (!isDate(name.substr(dateAt, 8)) || name[startAt - 1] != '_' || name[endAt - 1] != '~')
        return std::nullopt;
    const auto start = timeOfDay(name.substr(startAt, 6));
    const auto end = timeOfDay(name.substr(endAt, 6));
    if (!start || !end)
        return std::nullopt;
    return RecordingName{.startSeconds = *start, .endSeconds = *end, .hidden = hidden};
}

int RecordingName::length() const {
    const int seconds = endSeconds - startSeconds;
    return seconds < 0 ? seconds + secondsPerDay : seconds;
}
