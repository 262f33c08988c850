#include "rehearsal/TimerValues.h"

#include <cstdio>
#include <utility>

int TimerValues::secondsOfDay(const std::string& text) {
    constexpr int endOfDay = 86400;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int end = 0;
    const bool complete =
        text.size() == 5
            ? std::sscanf(text.c_str(), "%2d:%2d%n", &hour, &minute, &end) == 2 && end == 5
            : std::sscanf(text.c_str(), "%2d:%2d:%2d%n", &hour, &minute, &second, &end) == 3 && end == 8;
    const bool possible = hour >= 0 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
    const int seconds = hour * 3600 + minute * 60 + second;
    return complete && possible && static_cast<std::size_t>(end) == text.size() && seconds <= endOfDay ? seconds
                                                                                                       : -1;
}

VmReserverElement TimerValues::applied(const QJsonObject& values, VmReserverElement element) {
    const auto value = [&values](const char* name) { return values.value(QLatin1String(name)); };
    if (value("name").isString())
        element.setName(value("name").toString().toStdString());
    if (const QJsonValue enabled = value("enabled"); !enabled.isUndefined())
        element.setEnabled(enabled.isBool() ? std::int8_t{enabled.toBool()}
                                            : static_cast<std::int8_t>(enabled.toInt()));
    using Setter = void (VmReserverElement::*)(std::int32_t);
    const std::pair<const char*, Setter> numbers[] = {
        {"start", &VmReserverElement::setStart},       {"stop", &VmReserverElement::setStop},
        {"mode", &VmReserverElement::setMode},         {"sample", &VmReserverElement::setSample},
        {"channels", &VmReserverElement::setChannels}, {"device", &VmReserverElement::setDevice},
        {"month", &VmReserverElement::setMonth},       {"day", &VmReserverElement::setDay},
        {"week", &VmReserverElement::setWeek}};
    for (const auto& [name, setter] : numbers)
        if (const QJsonValue number = value(name); number.isString())
            (element.*setter)(secondsOfDay(number.toString().toStdString()));
        else if (!number.isUndefined())
            (element.*setter)(number.toInt());
    return element;
}
