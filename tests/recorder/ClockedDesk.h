// A launched desk whose script says when things happen, and what its recordings hold.
#pragma once
#include "support/Counting.h"
#include "support/DeskOfATest.h"

#include <algorithm>
#include <QJsonArray>
#include <utility>

/// A counting input that is slow enough for whole minutes to take no time.
inline SimulatedDevice slowInput(double rate = 8000.0) {
    SimulatedDevice device = countingInput();
    device.rates = {rate};
    return device;
}

/// An entry of the timetable that holds every day; `start` and `stop` in seconds of the day.
inline QJsonArray dailyEntry(const char* name, int start, int stop, int mode = 0) {
    return {name, 1, start, stop, mode, 2, 2, 0, 0, 0, 0};
}

/// All times are seconds since the launch, which is at 9:58:20 unless the test says otherwise.
class ClockedDesk : public Desk {
public:
    using Names = std::vector<std::string>;
    using Settings = std::vector<RehearsalDesk::Setting>;
    static constexpr CalendarDate launchTime{
        .year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 58, .second = 20};

    explicit ClockedDesk(const Settings& settings = {}, SimulatedDevice input = slowInput(),
                         const CalendarDate& start = launchTime)
        : Desk(inFullRateStereo(settings), {std::move(input), deskOutput()}, start) {
        desk.launch();
    }

    void until(double seconds) {
        desk.runFor(std::max(0.0, seconds - static_cast<double>(desk.clock.hostTime()) * 1e-9));
    }
    void recordAt(double seconds) { pressAt(seconds, recorder().recordButton(), true); }
    void stopAt(double seconds) {
        pressAt(seconds, recorder().recordButton(), false);
        desk.runFor(1.0);
    }
    void armAt(double seconds) { pressAt(seconds, recorder().reserveButton(), true); }
    void setClockAt(double seconds, double by) {
        until(seconds);
        desk.clock.jump(by);
    }
    void slowDiskAt(double seconds, double perBlock) {
        until(seconds);
        desk.volume.setWriteSeconds(perBlock);
    }
    void writeErrorAt(double seconds, bool failing) {
        until(seconds);
        desk.volume.setWriteError(failing);
    }
    void unplugAt(double seconds) {
        until(seconds);
        desk.hardware.unplug("desk-in");
    }
    void replugAt(double seconds) {
        until(seconds);
        desk.hardware.replug("desk-in");
    }
    void sleepAt(double seconds) {
        until(seconds);
        recorder().willSleepHandle();
    }
    void wakeAt(double seconds) {
        until(seconds);
        recorder().didWakeHandle();
    }

    std::int64_t firstFrame(const std::string& name) const {
        const auto all = samples(name);
        return all.size() < 2 ? -1 : counting::frameOf(all[0], all[1]);
    }
    std::int64_t lastFrame(const std::string& name) const {
        const auto all = samples(name);
        return all.size() < 2 ? -1 : counting::frameOf(all[all.size() - 2], all.back());
    }
    std::int64_t frames(const std::string& name) const {
        return static_cast<std::int64_t>(samples(name).size() / 2);
    }
    /// Frames that do not follow the one before, over stereo files at the device's rate in this order.
    std::int64_t breaks(const Names& names) const {
        std::int64_t found = 0;
        std::int64_t next = -1;
        for (const std::string& name : names) {
            const auto all = samples(name);
            EXPECT_GE(all.size(), 2U) << name;
            if (all.size() < 2)
                continue;
            found += counting::breaks(all, next < 0 ? counting::frameOf(all[0], all[1]) : next);
            next = counting::frameOf(all[all.size() - 2], all.back()) + 1;
        }
        return found;
    }
    std::ptrdiff_t count(const std::string& event) const {
        return std::count(events.begin(), events.end(), event);
    }
    /// The first event with `part` in it.
    std::string eventWith(const std::string& part) const {
        const auto found = std::ranges::find_if(
            events, [&](const std::string& event) { return event.find(part) != std::string::npos; });
        return found == events.end() ? std::string() : *found;
    }
    std::vector<std::string> alerts() const {
        std::vector<std::string> keys;
        for (const auto& shown : desk.alert.shown())
            keys.push_back(shown.request.messageKey);
        return keys;
    }
    /// Every file's name spans the seconds that it holds, to a second, and its information says the same.
    void expectNamesToAgree(double rate = 8000.0) const {
        for (const std::string& name : recordings()) {
            ASSERT_EQ(name.size(), std::string("_Velmoratide_20260302_095825~095845.aif").size()) << name;
            const int seconds =
                (secondOfDay(name.substr(29, 6)) - secondOfDay(name.substr(22, 6)) + 86400) % 86400;
            EXPECT_NEAR(seconds, static_cast<double>(frames(name)) / rate, 1.0) << name;
            EXPECT_EQ(information(name).substr(0, 35), name.substr(0, 35));
        }
    }
    static int secondOfDay(const std::string& digits) {
        const int number = std::stoi(digits);
        return number / 10000 * 3600 + number / 100 % 100 * 60 + number % 100;
    }

private:
    static Settings inFullRateStereo(const Settings& settings) {
        Settings all = fullRateStereo;
        all.insert(all.end(), settings.begin(), settings.end());
        return all;
    }
    void pressAt(double seconds, Button& button, bool on) {
        until(seconds);
        button.press(on);
    }
};
