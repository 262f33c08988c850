#include "rehearsal/ScenarioReader.h"

#include "base/Clock.h"
#include "rehearsal/EventRules.h"
#include "rehearsal/SignalFile.h"
#include "rehearsal/VirtualClock.h"
#include "storage/Paths.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <QFile>
#include <QJsonDocument>
#include <tuple>

namespace {
std::string placeInText(const QByteArray& text, int offset) {
    const QByteArray before = text.left(offset);
    return "line " + std::to_string(before.count('\n') + 1) + ", column " +
           std::to_string(before.size() - before.lastIndexOf('\n'));
}

QTimeZone readZone(const JsonPlace& place) {
    const std::string name = place.text();
    QTimeZone zone(QByteArray::fromStdString(name));
    if (!place.failed() && !zone.isValid())
        place.fail("\"" + name + "\" is no time zone");
    return zone.isValid() ? zone : QTimeZone::utc();
}

CalendarDate readStart(const JsonPlace& place, const Clock& clock) {
    const std::string text = place.text();
    CalendarDate date;
    int end = 0;
    const bool complete = std::sscanf(text.c_str(), "%4d-%2d-%2d %2d:%2d:%2d%n", &date.year, &date.month,
                                      &date.day, &date.hour, &date.minute, &date.second, &end) == 6 &&
                          end == 19 && text.size() == 19;
    if (!complete || !QDate::isValid(date.year, date.month, date.day) || date.year < 1970 ||
        !QTime::isValid(date.hour, date.minute, date.second)) {
        place.fail("\"" + text + "\" is no date and time (YYYY-MM-DD HH:MM:SS)");
        return {};
    }
    const CalendarDate shown = clock.calendarDate(clock.dateFromLocal(date));
    if (std::tie(shown.hour, shown.minute) != std::tie(date.hour, date.minute))
        place.fail("\"" + text + "\" is skipped by the clocks of the time zone");
    return date;
}

SimulatedSegment::Kind kindNamed(const std::string& word) {
    static const std::map<std::string, SimulatedSegment::Kind> kinds = {
        {"silence", SimulatedSegment::Kind::silence}, {"constant", SimulatedSegment::Kind::constant},
        {"sine", SimulatedSegment::Kind::sine},       {"noise", SimulatedSegment::Kind::noise},
        {"file", SimulatedSegment::Kind::file},       {"counter", SimulatedSegment::Kind::counter}};
    const auto found = kinds.find(word);
    return found == kinds.end() ? SimulatedSegment::Kind::silence : found->second;
}
} // namespace

std::optional<Scenario> ScenarioReader::read(const std::string& path, std::string& fault) const {
    fault.clear();
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) {
        fault = path + ": " + file.errorString().toStdString();
        return std::nullopt;
    }
    const QByteArray text = file.readAll();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        fault = path + ": " + placeInText(text, error.offset) + ": " + error.errorString().toStdString();
        return std::nullopt;
    }
    if (!document.isObject()) {
        fault = path + ": is no JSON object";
        return std::nullopt;
    }
    Scenario scenario = readScenario(JsonPlace(document.object(), {}, fault), Paths::folderOf(path));
    if (fault.empty())
        return scenario;
    fault = path + ": " + fault;
    return std::nullopt;
}

Scenario ScenarioReader::readScenario(const JsonPlace& root, const std::string& folder) const {
    Scenario scenario;
    root.allowFields({"timeZone", "hardware", "volume", "settings", "launches"});
    scenario.zone = readZone(root.field("timeZone"));
    scenario.devices = readDevices(root.field("hardware"), folder);
    if (root.has("volume")) {
        const JsonPlace volume = root.field("volume");
        volume.allowFields({"freeBytes"});
        scenario.freeBytes = volume.field("freeBytes").number(0.0, 1e18);
    }
    if (root.has("settings"))
        scenario.settings = EventRules::readSettings(root.field("settings"), m_known);
    scenario.launches = readLaunches(root.field("launches"), scenario);
    return scenario;
}

std::vector<SimulatedDevice> ScenarioReader::readDevices(const JsonPlace& place, const std::string& folder) {
    std::vector<SimulatedDevice> devices;
    for (const JsonPlace& item : place.items()) {
        SimulatedDevice device = readDevice(item, folder);
        if (!item.failed() && std::ranges::find(devices, device.uid, &SimulatedDevice::uid) != devices.end())
            item.field("uid").fail("another device is \"" + device.uid + "\" already");
        devices.push_back(std::move(device));
    }
    return devices;
}

SimulatedDevice ScenarioReader::readDevice(const JsonPlace& place, const std::string& folder) {
    constexpr int mostFrames = 65536;
    SimulatedDevice device;
    place.allowFields(
        {"name", "uid", "direction", "channels", "rates", "minFrames", "maxFrames", "dataSources", "signal"});
    device.name = place.field("name").text();
    device.uid = place.field("uid").text();
    const std::string direction = place.field("direction").word({"input", "output", "duplex"});
    device.direction = direction == "input"    ? SimulatedDevice::Direction::input
                       : direction == "output" ? SimulatedDevice::Direction::output
                                               : SimulatedDevice::Direction::duplex;
    device.channels = static_cast<std::uint32_t>(place.field("channels").integer(1, 32));
    device.rates.clear();
    for (const JsonPlace& rate : place.field("rates").items())
        device.rates.push_back(rate.number(1000.0, 768000.0));
    if (device.rates.empty())
        place.field("rates").fail("is empty");
    if (place.has("minFrames"))
        device.minFrames = static_cast<std::uint32_t>(place.field("minFrames").integer(1, mostFrames));
    if (place.has("maxFrames"))
        device.maxFrames = static_cast<std::uint32_t>(place.field("maxFrames").integer(1, mostFrames));
    if (device.maxFrames < device.minFrames)
        place.field(place.has("maxFrames") ? "maxFrames" : "minFrames").fail("less than minFrames");
    if (place.has("dataSources"))
        for (const JsonPlace& source : place.field("dataSources").items())
            device.dataSources.push_back(source.text());
    if (!place.has("signal") || place.failed())
        return device;
    if (!device.hasInput())
        place.field("signal").fail("an output hears nothing");
    for (const JsonPlace& item : place.field("signal").items()) {
        SimulatedSegment segment = readSegment(item, device.rates.front(), folder);
        if (!item.failed() && !device.signal.empty() && segment.at < device.signal.back().at)
            item.field("at").fail("is earlier than the segment before");
        device.signal.push_back(std::move(segment));
    }
    return device;
}

SimulatedSegment ScenarioReader::readSegment(const JsonPlace& place, double rate, const std::string& folder) {
    SimulatedSegment segment;
    if (!place.value().isObject()) {
        place.fail("is no object");
        return segment;
    }
    const std::string kind =
        place.field("kind").word({"silence", "constant", "sine", "noise", "file", "counter"});
    segment.kind = kindNamed(kind);
    segment.at = place.field("at").number(0.0, EventRules::longest);
    std::vector<std::string> names = {"at", "kind"};
    if (kind == "constant" || kind == "sine" || kind == "noise") {
        names.emplace_back("level");
        segment.level = place.field("level").number(kind == "constant" ? -1.0 : 0.0, 1.0);
    }
    if (kind == "sine") {
        names.emplace_back("frequency");
        segment.frequency = place.field("frequency").number(0.0, rate / 2.0);
    }
    if (kind == "noise") {
        names.emplace_back("seed");
        if (place.has("seed"))
            segment.seed = static_cast<std::uint64_t>(place.field("seed").integer(0, 2147483647));
    }
    if (kind == "file")
        names.emplace_back("path");
    place.allowFields(names);
    if (kind == "file" && !place.failed()) {
        const JsonPlace path = place.field("path");
        SignalFile sound = SignalFile::read(Paths::inFolder(folder, path.text()), path.text(), rate);
        if (!sound.fault.empty())
            path.fail(sound.fault);
        segment.sampleChannels = sound.channels;
        segment.samples = std::make_shared<const std::vector<float>>(std::move(sound.samples));
    }
    return segment;
}

std::vector<ScenarioLaunch> ScenarioReader::readLaunches(const JsonPlace& place,
                                                         const Scenario& scenario) const {
    std::vector<std::string> uids;
    for (const SimulatedDevice& device : scenario.devices)
        uids.push_back(device.uid);
    const EventRules rules(uids, m_known);
    const VirtualClock clock(scenario.zone, {});
    std::vector<ScenarioLaunch> launches;
    for (const JsonPlace& item : place.items()) {
        ScenarioLaunch launch;
        item.allowFields({"start", "events"});
        launch.start = readStart(item.field("start"), clock);
        if (!item.failed() && !launches.empty() &&
            clock.dateFromLocal(launch.start) < clock.dateFromLocal(launches.back().start))
            item.field("start").fail("is earlier than the launch before");
        for (const JsonPlace& event : item.field("events").items()) {
            ScenarioEvent read = rules.read(event);
            if (!event.failed() && !launch.events.empty() && read.at < launch.events.back().at)
                event.field("at").fail("is earlier than the event before");
            if (!event.failed() && !launch.events.empty() && launch.events.back().action == "crash")
                event.field("do").fail("comes after the crash of its launch");
            launch.events.push_back(std::move(read));
        }
        launches.push_back(std::move(launch));
    }
    if (launches.empty())
        place.fail("is empty");
    return launches;
}
