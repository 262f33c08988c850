// keeper/KeepingDesk.h — the whole application with keeping on, and compressors that are small shell scripts.
#pragma once
#include "base/VmTableView.h"
#include "keeper/VmKeeper.h"
#include "support/DeskOfATest.h"

#include <filesystem>
#include <fstream>

/// The first recording of a day that a test makes up.
inline const std::string morningName = "_Velmoratide_20071023_093000~101500.aif";
inline const std::string noonName = "_Velmoratide_20071023_101500~121500.aif";

using Settings = std::vector<RehearsalDesk::Setting>;

class KeepingDesk : public Desk {
public:
    explicit KeepingDesk(const std::vector<RehearsalDesk::Setting>& more = {}) : Desk(settingsWith(more)) {
        watchAll = desk.notifications.observe({}, [this](const Notification& notification) {
            const std::lock_guard guard(mutex);
            posted.push_back(notification);
        });
    }
    static std::vector<RehearsalDesk::Setting> settingsWith(const std::vector<RehearsalDesk::Setting>& more) {
        std::vector<RehearsalDesk::Setting> all = {{"KeepOperation", true}, {"MonitorCommandLine", false}};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    VmKeeper& keeper() { return desk.controler->keeper(); }
    VmMechanic& mechanic() { return desk.controler->mechanic(); }
    std::string keepFolder() const { return desk.folder + "/preserve"; }
    std::string kept(const std::string& name) const { return keepFolder() + "/" + name; }
    std::string recorded(const std::string& name) const { return desk.recordFolder() + "/" + name; }
    void launch() {
        desk.makeControllers();
        desk.runFor(1.0);
    }
    /// Makes the controllers after what `prepare` does.
    void write(const std::string& path, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }
    void record(const std::string& name, std::size_t bytes = 100000) const {
        std::string sound;
        std::uint32_t state = 1;
        while (sound.size() < bytes)
            sound.push_back(static_cast<char>((state = state * 1664525U + 1013904223U) >> 24U));
        write(recorded(name), sound);
    }
    static std::string textOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// A compressor of which `body` is the shell script; "$1" is what it shall compress.
    std::string compressor(const std::string& body) const {
        const std::string path = desk.folder + "/compressor";
        write(path, "#!/bin/sh\n" + body + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }
    void useCompressor(const std::string& body) {
        keeper().setCommandPath(compressor(body));
        keeper().setArgumentStr("%@");
    }
    static bool exists(const std::string& path) { return std::filesystem::exists(path); }
    std::size_t lines(const std::string& part) const {
        const auto all = desk.log.lines();
        return static_cast<std::size_t>(std::ranges::count_if(
            all, [&](const std::string& line) { return line.find(part) != std::string::npos; }));
    }
    std::vector<Notification> posts(const std::string& name) const {
        const std::lock_guard guard(mutex);
        std::vector<Notification> found;
        std::ranges::copy_if(posted, std::back_inserter(found),
                             [&](const Notification& notification) { return notification.name == name; });
        return found;
    }
    std::size_t errors() const {
        return static_cast<std::size_t>(
            std::ranges::count_if(posts("VmLogEventNotification"), [](const Notification& notification) {
                return notification.object == "SomeErrorHappen";
            }));
    }
    /// One line of the system log for each, with the same text.
    void expectEachErrorIsLogged() const {
        for (const Notification& notification : posts("VmLogEventNotification"))
            if (notification.object == "SomeErrorHappen") {
                const std::string& message = notification.userInfo.at("ErrorMessageString");
                EXPECT_TRUE(logged(message)) << message;
            }
    }
    std::size_t alerts(const std::string& message, const std::string& informative) const {
        return static_cast<std::size_t>(
            std::ranges::count_if(desk.alert.shown(), [&](const ScriptedAlert::Shown& shown) {
                return shown.request.messageKey == message && shown.request.informativeKey == informative &&
                       shown.request.defaultKey == "Understand";
            }));
    }

    mutable std::mutex mutex; // guards the next
    std::vector<Notification> posted;
    NotificationCenter::Observation watchAll;
};
