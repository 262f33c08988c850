// A duty whose process ends at random moments with no clean-up at all, and is begun again each time.
#pragma once
#include "storage/SoundFileNames.h"
#include "support/DeskOfATest.h"
#include "support/DutyCheck.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

class CrashDuty {
public:
    explicit CrashDuty(unsigned seed) : m_random(seed) {}

    /// Launches, crashes after a random time and leaves the rest to the next launch.
    void crash() {
        // Every third crash comes near a full hour, onto a slow disk: a split takes seconds then.
        const bool atTheHour = m_random() % 3 == 0;
        Life life;
        life.slowDisk = atTheHour ? between(0.5, 4.0) : 0.0;
        life.begin = m_now;
        const double toTheHour = 3600.0 - std::fmod(secondsOf(m_now), 3600.0);
        life.end = life.begin.addingSeconds(atTheHour && toTheHour < 900.0 ? toTheHour + between(-2.0, 9.0)
                                                                           : between(0.2, 60.0));
        if (life.end < life.begin.addingSeconds(0.2))
            life.end = life.begin.addingSeconds(0.2);
        runInAProcessOfItsOwn(life);
        std::error_code missing;
        const auto size = std::filesystem::file_size(recordFolder() + "/.VelmoratideTempFile", missing);
        life.leavesSound = !missing && size > 4096;
        m_lives.push_back(life);
        m_now = life.end.addingSeconds(between(1.0, 20.0));
    }
    /// The last launch: rescues, records nothing, ends in good order.
    void finish() {
        RehearsalDesk desk(m_folder.path(), zone(), calendar(m_now), {countingInput(), deskOutput()},
                           settings(false));
        desk.launch();
        desk.runFor(10.0);
        desk.terminate();
    }
    void expectNoMoreLostThanOneWriteInterval() const {
        const auto names = recordings();
        std::size_t next = 0;
        double worst = 0.0;
        for (std::size_t i = 0; i < m_lives.size(); ++i) {
            SCOPED_TRACE("launch " + std::to_string(i + 1) + " at " +
                         m_clock.format(m_lives[i].begin, "%Y%m%d_%H%M%S"));
            DutyCheck check(m_clock, {.launch = m_lives[i].begin});
            const std::string end = m_clock.format(m_lives[i].end, "_Velmoratide_%Y%m%d_%H%M%S~");
            while (next < names.size() && names[next].substr(0, end.size()) <= end)
                check.add(recordFolder() + "/" + names[next++]);
            EXPECT_EQ(check.fault(), "");
            EXPECT_EQ(rescued(check), m_lives[i].leavesSound ? 1 : 0);
            const double lived = m_lives[i].end.secondsSince(m_lives[i].begin);
            const double kept =
                check.pieces().empty() ? 0.0 : static_cast<double>(check.pieces().back().end) / 44100.0;
            worst = std::max(worst, lived - kept);
            EXPECT_LE(lived - kept, 6.0 + 2.0 * m_lives[i].slowDisk);
            if (!check.pieces().empty()) {
                // A slow disk delays the rescue, which comes first.
                EXPECT_LT(static_cast<double>(check.pieces().front().first) / 44100.0,
                          1.0 + 2.0 * m_lives[i].slowDisk);
            }
        }
        EXPECT_EQ(next, names.size()) << "a file belongs to no launch";
        EXPECT_EQ(leftovers(), std::vector<std::string>{});
        std::printf("[ MEASURED ] %zu crashes, %zu files, at most %.2f s lost\n", m_lives.size(), names.size(),
                    worst);
    }

private:
    struct Life {
        Date begin;
        Date end;
        double slowDisk = 0.0; ///< seconds for each block
        bool leavesSound = false;
    };

    static QTimeZone zone() { return QTimeZone("Asia/Tokyo"); }
    static double secondsOf(Date date) { return static_cast<double>(date.microseconds) * 1e-6; }
    CalendarDate calendar(Date date) const { return m_clock.calendarDate(date); }
    std::string recordFolder() const { return m_folder.path() + "/record"; }
    static std::vector<RehearsalDesk::Setting> settings(bool on) {
        return {{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"RecordSwitch", on}, {"MaxTotalTime", 1e8}};
    }
    double between(double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(m_random);
    }
    /// Nothing that a destructor would do is done.
    void runInAProcessOfItsOwn(const Life& life) {
        std::fflush(nullptr);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            RehearsalDesk desk(m_folder.path(), zone(), calendar(life.begin), {countingInput(), deskOutput()},
                               settings(true));
            desk.volume.setWriteSeconds(life.slowDisk);
            const double seconds = life.end.secondsSince(life.begin);
            const auto end = desk.clock.startBeat("crash", hostTimeFromSeconds(seconds), []() -> HostTime {
                // Not `_exit`, at which a sanitizer would complain of the threads that a crash leaves.
                syscall(SYS_exit_group, 0);
                return 0;
            });
            desk.launch();
            desk.controler->recorder().setShown(m_lives.size() % 2 == 0);
            desk.runFor(seconds + 60.0);
            _exit(1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    static int rescued(const DutyCheck& check) {
        int count = 0;
        for (const DutyCheck::Piece& piece : check.pieces()) {
            const bool crashed = !piece.information.empty() && piece.information.back() == '*';
            EXPECT_TRUE(!crashed || &piece == &check.pieces().back()) << piece.name;
            EXPECT_EQ(piece.information,
                      piece.name.substr(0, piece.name.size() - 4) + "44100SI" + (crashed ? "*" : ""));
            count += crashed ? 1 : 0;
        }
        return count;
    }
    std::vector<std::string> recordings() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(recordFolder()))
            if (entry.path().extension() == ".aif")
                names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::vector<std::string> leftovers() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(recordFolder()))
            if (entry.path().filename().string()[0] == '.' &&
                !SoundFileNames::isImageFile(entry.path().filename().string()))
                names.push_back(entry.path().filename().string());
        return names;
    }

    TemporaryFolder m_folder;
    std::mt19937 m_random;
    const VirtualClock m_clock{zone(), {}};
    Date m_now = m_clock.dateFromLocal({.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 50});
    std::vector<Life> m_lives;
};

inline void runCrashDuty(int crashes, unsigned seed) {
    CrashDuty duty(seed);
    for (int i = 0; i < crashes && !testing::Test::HasFatalFailure(); ++i)
        duty.crash();
    duty.finish();
    duty.expectNoMoreLostThanOneWriteInterval();
}
