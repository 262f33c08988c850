#include "schedule/ReserveChoices.h"

#include "base/Formatted.h"
#include "base/Texts.h"
#include "schedule/ReserveRow.h"

namespace {
constexpr int monthsOfAYear = 12;
constexpr int longestMonth = 31;
constexpr int daysOfAWeek = 7;
constexpr int lastHour = 24;
constexpr int stepsOfAnHour = 12;
} // namespace

std::vector<std::string> ReserveChoices::months(const Texts& texts) {
    std::vector<std::string> items;
    for (int month = 0; month <= monthsOfAYear; ++month)
        items.push_back(ReserveWords::dayText(month, texts));
    return items;
}

std::vector<std::string> ReserveChoices::days(const Texts& texts) {
    std::vector<std::string> items;
    for (int day = 0; day <= longestMonth; ++day)
        items.push_back(ReserveWords::dayText(day, texts));
    return items;
}

std::vector<std::string> ReserveChoices::weeks(const Texts& texts) {
    std::vector<std::string> items;
    for (int week = 0; week <= daysOfAWeek; ++week)
        items.push_back(ReserveWords::weekText(week, texts));
    return items;
}

std::vector<std::string> ReserveChoices::hours() {
    std::vector<std::string> items;
    for (int hour = 0; hour <= lastHour; ++hour)
        items.push_back(formatted("%02d", hour));
    return items;
}

std::vector<std::string> ReserveChoices::minutes() {
    std::vector<std::string> items;
    for (int step = 0; step < stepsOfAnHour; ++step)
        items.push_back(formatted("%02d", step * 5));
    return items;
}

std::vector<std::string> ReserveChoices::channels(const Texts& texts) {
    return {texts("MonoralSound"), texts("StereoSound")};
}

std::vector<std::string> ReserveChoices::modes(const Texts& texts) {
    return {texts("AlwaysMode"), texts("AutoMode")};
}
