// A launched desk with the preferences, and what they posted.
#pragma once
#include "app/VmPrefer.h"
#include "base/VmTableView.h"
#include "schedule/VmReserver.h"
#include "support/DeskOfATest.h"

#include <utility>

inline const CalendarDate preferMorning{.year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 30};

inline SimulatedDevice secondOutput() {
    SimulatedDevice device = deskOutput();
    device.name = "Second output";
    device.uid = "desk-out-2";
    return device;
}

/// An input of two rates, and two outputs.
class PreferDesk : public Desk {
public:
    using Settings = std::vector<RehearsalDesk::Setting>;
    explicit PreferDesk(const Settings& settings = {}, const std::vector<SimulatedDevice>& more = {})
        : Desk(settings, devicesWith(more), preferMorning) {
        desk.texts = Texts::forLanguage("en");
        desk.volume.limitRoom(folder.path(), {});
        desk.launch();
        desk.runFor(1.0);
        events.clear();
    }
    VmPrefer& prefer() { return desk.controler->prefer(); }
    VmMechanic& mechanic() { return desk.controler->mechanic(); }
    VmReserver& reserver() { return desk.controler->reserver(); }
    VmDevice& devicer() { return desk.controler->devicer(); }
    void open() {
        prefer().preferButton.press(true);
        ASSERT_TRUE(prefer().drawer.isOpen());
    }
    std::vector<std::string> alerts() const {
        std::vector<std::string> keys;
        for (const auto& shown : desk.alert.shown())
            keys.push_back(shown.request.messageKey + "/" + shown.request.informativeKey + "/" +
                           shown.request.defaultKey);
        return keys;
    }
    QJsonValue stored(const char* key) const { return desk.defaults.valueForKey(key); }

private:
    static std::vector<SimulatedDevice> devicesWith(const std::vector<SimulatedDevice>& more) {
        std::vector<SimulatedDevice> devices = {countingInput(), deskOutput(), secondOutput()};
        for (SimulatedDevice& device : devices)
            device.rates = {44100.0, 96000.0};
        devices.insert(devices.end(), more.begin(), more.end());
        return devices;
    }
};
