// A desk whose application may be launched by the test, and what its shell shows.
#pragma once
#include "app/MainWindowModel.h"
#include "base/VmTableView.h"
#include "support/DeskOfATest.h"

#include <utility>

class ShellDesk : public Desk {
public:
    using Settings = std::vector<RehearsalDesk::Setting>;
    explicit ShellDesk(const Settings& settings = {},
                       std::vector<SimulatedDevice> devices = {countingInput(), deskOutput()})
        : Desk(settings, std::move(devices)) {}

    VmControler& controler() { return *desk.controler; }
    MainWindowModel& window() { return desk.controler->mainWindow(); }
    TabView& tabs() { return desk.controler->mainTab(); }
    /// Width and height of the window, in pixels.
    std::pair<int, int> size() { return {window().width(), window().height()}; }
    std::vector<std::string> alerts() const {
        std::vector<std::string> keys;
        for (const auto& shown : desk.alert.shown())
            keys.push_back(shown.request.messageKey + "/" + shown.request.informativeKey + "/" +
                           shown.request.defaultKey);
        return keys;
    }
    QJsonValue stored(const char* key) const { return desk.defaults.valueForKey(key); }
    void launch() {
        desk.launch();
        desk.runFor(1.0);
    }
    bool hasFile(const std::string& path) { return desk.files.exists(desk.folder + "/" + path); }
    void makeFile(const std::string& path) const { std::ofstream(desk.folder + "/" + path) << "x"; }
};

inline const ShellDesk::Settings gateOn = {{"AuthorizationRequired", true}};
