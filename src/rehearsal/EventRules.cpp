#include "rehearsal/EventRules.h"

#include "app/PreferControls.h"
#include "base/UserDefaults.h"
#include "rehearsal/TimerValues.h"

#include <algorithm>

namespace {
enum Kind {
    button,
    flag,
    level,
    tabIndex,
    row,
    point,
    duration,
    length,
    jump,
    bytes,
    text,
    uid,
    answer,
    settings,
    timer
};

struct Field {
    const char* name;
    Kind kind;
    bool required = true;
};

struct Rule {
    const char* action;
    std::vector<Field> fields;
};

const std::vector<Rule>& rules() {
    static const std::vector<Rule> table = {
        {"press", {{"button", button}, {"on", flag, false}}},
        {"prefer", {{"settings", settings}}},
        {"level", {{"value", level}}},
        {"tab", {{"index", tabIndex}}},
        {"insertTimer", {{"row", row, false}, {"values", timer, false}}},
        {"editTimer", {{"row", row}, {"values", timer}}},
        {"deleteTimer", {{"row", row}}},
        {"select", {{"row", row}}},
        {"play", {}},
        {"stop", {}},
        {"seek", {{"to", point}}},
        {"range", {{"from", point}, {"to", point}}},
        {"lock", {{"on", flag, false}}},
        {"note", {{"text", text}}},
        {"delete", {}},
        {"export", {{"path", text}}},
        {"sleep", {}},
        {"wake", {}},
        {"unplug", {{"uid", uid}}},
        {"replug", {{"uid", uid}}},
        {"stall", {{"uid", uid}, {"seconds", length}}},
        {"clock", {{"by", jump}}},
        {"free", {{"bytes", bytes}}},
        {"writeError", {{"on", flag}}},
        {"slowDisk", {{"seconds", duration}}},
        {"admin", {{"grant", flag}}},
        {"answer", {{"message", text}, {"with", answer}}},
        {"quit", {{"compressing", answer, false}}},
        {"terminate", {}},
        {"crash", {}},
    };
    return table;
}

bool sameType(const QJsonValue& value, const QJsonValue& registered) {
    return registered.isNull() || value.type() == registered.type();
}
} // namespace

ScenarioEvent EventRules::read(const JsonPlace& place) const {
    ScenarioEvent event;
    event.place = place.path();
    if (!place.value().isObject()) {
        place.fail("is no object");
        return event;
    }
    event.at = place.field("at").number(0.0, longest);
    event.action = place.field("do").text();
    const auto rule =
        std::ranges::find_if(rules(), [&event](const Rule& each) { return each.action == event.action; });
    if (rule == rules().end()) {
        place.field("do").fail("\"" + event.action + "\" is no event");
        return event;
    }
    std::vector<std::string> names = {"at", "do"};
    for (const Field& field : rule->fields)
        names.emplace_back(field.name);
    place.allowFields(names);
    for (const Field& field : rule->fields)
        if (field.required || place.has(field.name))
            checkField(place.field(field.name), field.kind);
    if (event.action == "press" && place.value()[QLatin1String("button")] != QLatin1String("preferences"))
        place.field("on").flag();
    if (event.action == "range" && !place.failed() &&
        place.field("from").value().toDouble() > place.field("to").value().toDouble())
        place.field("to").fail("comes before \"from\"");
    event.fields = place.value().toObject();
    return event;
}

void EventRules::checkField(const JsonPlace& place, int kind) const {
    constexpr int mostRows = 100000;
    switch (kind) {
    case button:
        place.word({"record", "reserve", "monitor", "hour", "marker", "preferences"});
        break;
    case flag:
        place.flag();
        break;
    case level:
        place.integer(0, 20);
        break;
    case tabIndex:
        place.integer(0, 3);
        break;
    case row:
        place.integer(0, mostRows);
        break;
    case point:
    case duration:
        place.number(0.0, longest);
        break;
    case length:
        place.number(0.001, longest);
        break;
    case jump:
        place.number(-longest, longest);
        break;
    case bytes:
        place.number(0.0, 1e18);
        break;
    case text:
        place.text();
        break;
    case uid:
        if (const std::string wanted = place.text();
            !place.failed() && std::ranges::find(m_uids, wanted) == m_uids.end())
            place.fail("there is no device \"" + wanted + "\"");
        break;
    case answer:
        place.word({"default", "alternate", "other"});
        break;
    case settings:
        checkPreferences(place);
        break;
    default:
        checkTimer(place);
        break;
    }
}

void EventRules::checkPreferences(const JsonPlace& place) const {
    struct Names : PreferControls {};
    static const Names names;
    for (const QString& key : readSettings(place, m_known).keys())
        if (!place.failed() && names.item(key.toStdString()) == nullptr)
            place.field(key.toStdString()).fail("is no preference");
}

QJsonObject EventRules::readSettings(const JsonPlace& place, const UserDefaults& known) {
    if (!place.value().isObject())
        place.fail("is no object");
    const QJsonObject settings = place.value().toObject();
    for (const QString& key : settings.keys()) {
        const JsonPlace setting = place.field(key.toStdString());
        const QJsonValue registered = known.registeredDefault(key.toStdString());
        if (registered.isUndefined())
            setting.fail("there is no such setting");
        else if (!sameType(setting.value(), registered))
            setting.fail(registered.isDouble()   ? "is no number"
                         : registered.isBool()   ? "is neither true nor false"
                         : registered.isString() ? "is no text"
                         : registered.isArray()  ? "is no list"
                                                 : "is no object");
    }
    return settings;
}

void EventRules::checkTimeOfDay(const JsonPlace& place) {
    constexpr int endOfDay = 86400;
    if (!place.value().isString()) {
        place.integer(0, endOfDay);
        return;
    }
    const std::string text = place.text();
    if (TimerValues::secondsOfDay(text) < 0)
        place.fail("\"" + text + "\" is no time of day (HH:MM or HH:MM:SS)");
}

void EventRules::checkTimer(const JsonPlace& place) {
    struct Bounds {
        const char* name;
        int lowest;
        int highest;
    };
    static constexpr Bounds numbers[] = {{"mode", 0, 1},    {"sample", 0, 2}, {"channels", 1, 2},
                                         {"device", 0, 99}, {"month", 0, 12}, {"day", 0, 31},
                                         {"week", 0, 7}};
    std::vector<std::string> names = {"name", "enabled", "start", "stop"};
    for (const Bounds& number : numbers)
        names.emplace_back(number.name);
    place.allowFields(names);
    if (place.has("name"))
        place.field("name").text();
    if (place.has("enabled") && !place.field("enabled").value().isBool())
        place.field("enabled").integer(0, 1);
    for (const char* time : {"start", "stop"})
        if (place.has(time))
            checkTimeOfDay(place.field(time));
    for (const Bounds& number : numbers)
        if (place.has(number.name))
            place.field(number.name).integer(number.lowest, number.highest);
}
