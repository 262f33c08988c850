#include "schedule/ReserveRow.h"

#include "base/Formatted.h"
#include "base/Texts.h"
#include "schedule/VmReserverElement.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>

namespace {
constexpr const char* everyDay = "EveryDay";
constexpr std::array<const char*, 7> weekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                 "Thursday", "Friday", "Saturday"};

/// The number that `text` begins with; takes it off.
std::optional<int> takeNumber(std::string_view& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}
} // namespace

std::string ReserveWords::dayText(int monthOrDay, const Texts& texts) {
    return monthOrDay == 0 ? texts(everyDay) : formatted("%d", monthOrDay);
}

std::string ReserveWords::weekText(int week, const Texts& texts) {
    if (week >= 1 && week <= 7)
        return texts(weekdays[static_cast<std::size_t>(week - 1)]);
    return dayText(week, texts);
}

std::string ReserveWords::timeText(int seconds) {
    return formatted("%02d:%02d", seconds / 3600, seconds % 3600 / 60);
}

std::string ReserveWords::rateText(double rate) {
    return formatted("%.3fkHz", rate / 1000.0);
}

int ReserveWords::dayFromText(std::string_view text, const Texts& texts, int otherwise) {
    return text == texts(everyDay) ? 0 : takeNumber(text).value_or(otherwise);
}

int ReserveWords::weekFromText(std::string_view text, const Texts& texts, int otherwise) {
    for (std::size_t index = 0; index < weekdays.size(); ++index)
        if (text == texts(weekdays[index]))
            return static_cast<int>(index) + 1;
    return dayFromText(text, texts, otherwise);
}

int ReserveWords::secondsFromText(std::string_view text, int otherwise) {
    const std::optional<int> hours = takeNumber(text);
    if (!hours || !text.starts_with(':'))
        return otherwise;
    text.remove_prefix(1);
    const std::optional<int> minutes = takeNumber(text);
    const std::int64_t seconds = *hours * std::int64_t{3600} + minutes.value_or(0) * std::int64_t{60};
    return !minutes || seconds != static_cast<std::int32_t>(seconds) ? otherwise : static_cast<int>(seconds);
}

double ReserveWords::rateFromText(std::string_view text, double otherwise) {
    double kilohertz = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), kilohertz);
    return error == std::errc() ? kilohertz * 1000.0 : otherwise;
}

ReserveRow ReserveWords::row(const VmReserverElement& element, const Texts& texts, std::string sourceName,
                             double rate) {
    return {{"EnabledReserve", element.enabled() != 0 ? texts("CheckMark") : std::string()},
            {"ReserveName", element.name()},
            {"ReserveMonth", dayText(element.month(), texts)},
            {"ReserveDay", dayText(element.day(), texts)},
            {"ReserveWeek", weekText(element.week(), texts)},
            {"StartTime", timeText(element.start())},
            {"StopTime", timeText(element.stop())},
            {"SampleRate", rateText(rate)},
            {"ChannelsNumber", texts(element.channels() == 1 ? "MonoralSound" : "StereoSound")},
            {"SourceDevice", std::move(sourceName)},
            {"RecordMode", texts(element.mode() == 0 ? "AlwaysMode" : "AutoMode")}};
}
