#include "keeper/KeepName.h"

#include <algorithm>

namespace {
/// Start date, tilde, stop time and the extension of a recording.
constexpr std::size_t charactersBehindHeader = 26;

std::size_t dotOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == 0 ? std::string_view::npos : dot;
}
} // namespace

std::string_view KeepName::extensionOf(std::string_view name) {
    const std::size_t dot = dotOf(name);
    return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

std::string_view KeepName::stemOf(std::string_view name) {
    return name.substr(0, dotOf(name));
}

bool KeepName::bearsHeader(std::string_view name) const {
    const std::string_view rest = std::string_view(m_header).substr(1);
    return name.size() >= m_header.size() + charactersBehindHeader && name.substr(1, rest.size()) == rest;
}

bool KeepName::isKeepDataFile(std::string_view name) const {
    return bearsHeader(name) && !hasSoundExtension(name);
}

bool KeepName::isUncompressed(std::string_view name) const {
    return bearsHeader(name) && hasSoundExtension(name) && startTime(name) && stopTime(name);
}

std::optional<KeepName::TimeOfDay> KeepName::timeAt(std::string_view name, std::size_t offset) const {
    const std::size_t at = m_header.size() + offset;
    constexpr std::size_t digits = 6;
    if (name.size() < at + digits ||
        !std::ranges::all_of(name.substr(at, digits), [](char digit) { return digit >= '0' && digit <= '9'; }))
        return std::nullopt;
    const auto pair = [&](std::size_t first) {
        return (name[at + first] - '0') * 10 + (name[at + first + 1] - '0');
    };
    return TimeOfDay{.hour = pair(0), .minute = pair(2), .second = pair(4)};
}

KeepName::TimeOfDay KeepName::recordedLength(std::string_view name) const {
    const auto start = startTime(name);
    auto stop = stopTime(name);
    if (!start || !stop)
        return {};
    TimeOfDay length;
    length.second = stop->second - start->second;
    if (length.second < 0) {
        length.second += 60;
        --stop->minute;
    }
    length.minute = stop->minute - start->minute;
    if (length.minute < 0) {
        length.minute += 60;
        --stop->hour;
    }
    length.hour = stop->hour - start->hour;
    if (length.hour < 0)
        length.hour += 24;
    return length;
}

double KeepName::totalSecondOfFile(std::string_view name) const {
    const TimeOfDay length = recordedLength(name);
    return length.hour * 3600.0 + length.minute * 60.0 + length.second;
}

std::string KeepName::date(std::string_view name) const {
    const std::size_t at = m_header.size() + dateOffset;
    if (name.size() < at + 6)
        return {};
    std::string text;
    for (std::size_t pair = 0; pair < 3; ++pair)
        text.append(pair == 0 ? "" : ".").append(name.substr(at + 2 * pair, 2));
    return text;
}
