#include "library/RecordRow.h"

#include "base/Formatted.h"
#include "library/TimeStrings.h"

#include <algorithm>
#include <cstdlib>

namespace {
constexpr std::size_t yearAt = 15;
constexpr std::size_t startAt = 22;
constexpr std::size_t endAt = 29;
constexpr int secondsPerDay = 24 * 60 * 60;

struct TimeOfDay {
    int hour;
    int minute;
    int second;
};

int twoDigits(std::string_view text, std::size_t at) {
    const auto digit = [&](std::size_t index) { return text[index] >= '0' && text[index] <= '9'; };
    if (!digit(at))
        return 0;
    return digit(at + 1) ? (text[at] - '0') * 10 + (text[at + 1] - '0') : text[at] - '0';
}

TimeOfDay timeOfDay(std::string_view name, std::size_t at) {
    return {twoDigits(name, at), twoDigits(name, at + 2), twoDigits(name, at + 4)};
}

std::string lengthBetween(const TimeOfDay& start, TimeOfDay end) {
    int second = end.second - start.second;
    if (second < 0) {
        second += 60;
        --end.minute;
    }
    int minute = end.minute - start.minute;
    if (minute < 0) {
        minute += 60;
        --end.hour;
    }
    int hour = end.hour - start.hour;
    if (hour < 0)
        hour += 24;
    return TimeStrings::periodStringWithHour(std::max(hour, 0), minute, second); // the hour of 99 is none
}

std::string RecordRow::*fieldOf(std::string_view column) {
    if (column == "LockFlag")
        return &RecordRow::lockFlag;
    if (column == "RecordDate")
        return &RecordRow::recordDate;
    if (column == "StartTime")
        return &RecordRow::startTime;
    if (column == "EndTime")
        return &RecordRow::endTime;
    if (column == "RecordTime")
        return &RecordRow::recordTime;
    return column == "Remark" ? &RecordRow::remark : nullptr;
}
} // namespace

RecordRow RecordRow::ofName(std::string_view name) {
    const TimeOfDay start = timeOfDay(name, startAt);
    const TimeOfDay end = timeOfDay(name, endAt);
    RecordRow row;
    row.recordDate.append(name.substr(yearAt, 2)).append(".");
    row.recordDate.append(name.substr(yearAt + 2, 2)).append(".").append(name.substr(yearAt + 4, 2));
    row.startTime = TimeStrings::timeStringWithHour(start.hour, start.minute, start.second);
    row.endTime = TimeStrings::timeStringWithHour(end.hour, end.minute, end.second);
    row.recordTime = lengthBetween(start, end);
    return row;
}

void RecordRow::setLength(int seconds) {
    const int start = static_cast<int>(TimeStrings::secondsWithTimeString(startTime));
    endTime = TimeStrings::timeStringWithSeconds((start + seconds) % secondsPerDay);
    recordTime = TimeStrings::periodStringWithSeconds(seconds);
}

std::string RecordRow::cell(std::string_view column) const {
    if (column == "FileSize")
        return formatted("%.2f", fileSize);
    std::string RecordRow::*const field = fieldOf(column);
    return field == nullptr ? std::string() : this->*field;
}

void RecordRow::setCell(std::string_view column, const std::string& text) {
    if (column == "FileSize")
        fileSize = std::strtod(text.c_str(), nullptr);
    else if (std::string RecordRow::*const field = fieldOf(column); field != nullptr)
        this->*field = text;
}
