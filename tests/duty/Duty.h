// A duty at a simulated desk whose finished files are checked and removed while it goes on.
#pragma once
#include "support/DeskOfATest.h"
#include "support/DutyCheck.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Long duties would not fit on a disk: each file is checked when it is finished, and not kept.
class Duty {
public:
    struct Plan {
        CalendarDate start;
        QTimeZone zone{"Asia/Tokyo"};
        SimulatedDevice input = countingInput();
        std::vector<RehearsalDesk::Setting> settings{}; ///< besides rate, channels and budget
        int rateNumber = 2;
        int channels = 2;
    };

    explicit Duty(const Plan& plan)
        : desk(folder.path(), plan.zone, plan.start, {plan.input, deskOutput()}, settingsOf(plan)),
          check(desk.clock, {.launch = desk.clock.dateFromLocal(plan.start),
                             .rate = plan.input.rates.front(),
                             .rateNumber = plan.rateNumber,
                             .channels = plan.channels}) {
        m_finished =
            desk.notifications.observe(VmSoundFileFinished_Notification, [this](const Notification& news) {
                m_paths.push_back(news.userInfo.at("SoundFilePath"));
            });
        m_errors = desk.notifications.observe(VmLogEventNotification, [this](const Notification& event) {
            const auto text = event.userInfo.find(std::string(ErrorMessageString));
            if (text != event.userInfo.end())
                messages.push_back(event.object + ": " + text->second);
        });
    }
    static bool isLong() { return std::getenv("VELMORATIDE_TEST_ALL") != nullptr; }

    VmRecorder& recorder() { return desk.controler->recorder(); }
    /// Nobody looks: the state machine ticks as seldom as it may.
    void launch() {
        desk.launch();
        recorder().setShown(false);
    }
    void runFor(double seconds) {
        constexpr double step = 1800.0;
        for (double done = 0.0; done < seconds; done += step) {
            desk.runFor(std::min(step, seconds - done));
            checkFinishedFiles();
        }
    }
    /// Until the wall clock shows `local`.
    void runUntil(const CalendarDate& local) { runUntil(desk.clock.dateFromLocal(local)); }
    void runUntil(Date date) { runFor(date.secondsSince(desk.clock.now())); }
    void stop() {
        recorder().recordButton().press(false);
        runFor(5.0);
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const DutyCheck::Piece& piece : check.pieces())
            all.push_back(piece.name);
        return all;
    }
    /// The names of files between these moments, one file from each to the next.
    std::vector<std::string> namesBetween(const std::vector<Date>& moments) const {
        std::vector<std::string> all;
        for (std::size_t i = 1; i < moments.size(); ++i)
            all.push_back(desk.clock.format(moments[i - 1], "_Velmoratide_%Y%m%d_%H%M%S~") +
                          desk.clock.format(moments[i], "%H%M%S.aif"));
        return all;
    }
    /// The files must be those between `moments`, without a frame lost or doubled, and nothing to complain of.
    void expectSeamsAt(const std::vector<Date>& moments) const {
        EXPECT_EQ(check.fault(), "");
        EXPECT_EQ(names(), namesBetween(moments));
        EXPECT_EQ(messages, std::vector<std::string>{});
        const auto& pieces = check.pieces();
        const auto tolerance = static_cast<double>(check.ratio()) + 1.0;
        for (std::size_t i = 0; i < std::min(pieces.size(), moments.size() - 1); ++i) {
            EXPECT_NEAR(static_cast<double>(pieces[i].first), static_cast<double>(check.frameAt(moments[i])),
                        tolerance)
                << pieces[i].name;
            EXPECT_NEAR(static_cast<double>(pieces[i].end), static_cast<double>(check.frameAt(moments[i + 1])),
                        tolerance)
                << pieces[i].name;
        }
    }

    TemporaryFolder folder;
    RehearsalDesk desk;
    DutyCheck check;
    std::vector<std::string> messages; ///< errors and reports

private:
    static std::vector<RehearsalDesk::Setting> settingsOf(const Plan& plan) {
        std::vector<RehearsalDesk::Setting> all = {
            {"SamplingRateNumber", plan.rateNumber}, {"ChannelsNumber", plan.channels}, {"MaxTotalTime", 1e8}};
        all.insert(all.end(), plan.settings.begin(), plan.settings.end());
        return all;
    }
    void checkFinishedFiles() {
        for (const std::string& path : std::exchange(m_paths, {})) {
            check.add(path);
            std::filesystem::remove(path);
        }
    }

    std::vector<std::string> m_paths; // finished, not yet checked
    NotificationCenter::Observation m_finished;
    NotificationCenter::Observation m_errors;
};
