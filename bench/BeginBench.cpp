// Measures what the main thread does at a stretch when a recording begins, goes on, and ends beside 10,000
// others.
#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "base/Controls.h"
#include "base/SystemClock.h"
#include "BenchFolder.h"
#include "CpuSeconds.h"
#include "Figures.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RehearsalDesk.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace {
constexpr int recordings = 10'000;
constexpr int rounds = 7;
constexpr double hour = 3600.0;
constexpr double longestStall = 0.05;  // seconds
constexpr double longestStretch = 2.0; // seconds; after them the mechanic lets other work come

/// Of the hour `number` hours after the begin of 2020. Every day's last one ends at midnight, and so, by its
/// name, before it began.
std::string nameOf(int number) {
    using namespace std::chrono;
    const year_month_day day = sys_days(2020y / January / 1) + days(number / 24);
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), "_Velmoratide_%04d%02u%02u_%02d0000~%02d0000.aif",
                  static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                  static_cast<unsigned>(day.day()), number % 24, (number + 1) % 24);
    return name.data();
}

bool makeRecordings(const std::string& folder) {
    PosixVolume volume;
    const std::vector<std::int16_t> samples(64);
    for (int number = 0; number < recordings; ++number) {
        const std::string path = folder + "/" + nameOf(number);
        if (volume.exists(path))
            continue;
        const auto made = SoundFile::create(volume, path, 44100.0, 2);
        if (!made.file || !made.file->writeSamples(0, samples) || !made.file->close())
            return false;
    }
    return true;
}

double cpu() {
    return cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
}

std::string ms(double seconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f ms", seconds * 1e3);
    return text.data();
}

/// Reads the folder and asks once about each file.
double lookBarely(const std::string& folder) {
    const double start = cpu();
    DIR* const entries = ::opendir(folder.c_str());
    const int place = ::dirfd(entries);
    while (const dirent* const entry = ::readdir(entries)) {
        struct statx status {};
        ::statx(place, entry->d_name, AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &status);
        benchmark::DoNotOptimize(status);
    }
    ::closedir(entries);
    return cpu() - start;
}

std::vector<SimulatedDevice> devices() {
    SimulatedDevice input;
    input.name = input.uid = "in";
    return {input};
}

/// The application, with its main thread's longest work at a stretch.
class Watched {
public:
    /// Recordings of `hours` hours are kept.
    Watched(const std::string& folder, double hours)
        : m_desk(folder, QTimeZone("UTC"), {.year = 2026, .month = 4, .day = 1, .hour = 9, .minute = 30},
                 devices(), {{"MaxTotalTime", hours * hour}, {"StartOnTheHour", true}}) {
        m_desk.launch();
        m_desk.runLoop.setAfterEach([this] { note(); });
    }
    VmControler& controler() { return *m_desk.controler; }
    /// Seconds of the longest stretch in `act` and the `seconds` after it.
    double longest(const char* what, const std::function<void()>& act, double seconds) {
        m_longest = 0.0;
        m_last = cpu();
        act();
        note();
        m_desk.runFor(seconds);
        std::printf("main thread, %s: %s\n", what, ms(m_longest).c_str());
        return m_longest;
    }
    std::size_t deleted() const {
        const std::vector<std::string> lines = m_desk.log.lines();
        return static_cast<std::size_t>(std::ranges::count_if(lines, [](const std::string& line) {
            return line.find("recording deleted") != std::string::npos;
        }));
    }

private:
    void note() {
        const double present = cpu();
        m_longest = std::max(m_longest, present - m_last);
        m_last = present;
    }
    RehearsalDesk m_desk;
    double m_last = 0.0;
    double m_longest = 0.0;
};

void reportStall(const char* what, double seconds) {
    reportFigure(std::string("main thread, beside 10,000 recordings: ") + what, ms(seconds), ms(longestStall),
                 seconds / longestStall, Aim::atMost, 1.0);
}

/// A whole recording, with room for all that is there and `allowed` hours of recordings allowed.
bool reportRecording(const std::string& folder, double allowed, std::size_t mayGo, const char* how) {
    Watched desk(folder, allowed);
    VmControler& controler = desk.controler();
    const auto press = [&controler](bool on) {
        return [&controler, on] { controler.recorder().recordButton().press(on); };
    };
    std::printf("%s\n", how);
    const double begin = desk.longest("a recording begins", press(true), 3.0);
    const double minute = desk.longest(
        "it grows by two minutes", [] {}, 120.0);
    const double seam = desk.longest(
        "it is split at the hour", [] {}, 1800.0);
    const double end = desk.longest("it ends", press(false), 5.0);
    const double preferences = desk.longest(
        "preferences open", [&controler] { controler.prefer().actExecPrefer(); }, 1.0);
    if (controler.recorder().condition() == RecordCondition::recording || desk.deleted() > mayGo)
        return false;
    reportStall((std::string("a recording begins, ") + how).c_str(), begin);
    reportStall((std::string("it grows, is split, ends, ") + how).c_str(), std::max({minute, seam, end}));
    reportStall((std::string("the preferences open, ") + how).c_str(), preferences);
    return true;
}

/// Makes room as the begin of a recording does, `known` or for the first time.
void reportMakingRoom(const std::string& folder) {
    double bare = std::numeric_limits<double>::max();
    double first = bare;
    double again = bare;
    double ample = bare;
    for (int round = 0; round < rounds; ++round) {
        RehearsalDesk desk(folder, QTimeZone("UTC"), {.year = 2026}, devices());
        desk.launch();
        VmMechanic& mechanic = desk.controler->mechanic();
        const auto make = [&mechanic] {
            const double start = cpu();
            benchmark::DoNotOptimize(mechanic.makeSecureRecordSpace(44100.0, 2));
            return cpu() - start;
        };
        bare = std::min(bare, lookBarely(desk.recordFolder()));
        mechanic.setMaxTotalTime(recordings * hour * 2);
        ample = std::min(ample, make());
        mechanic.setMaxTotalTime((recordings - 200) * hour); // enough, for the sound over midnight is short
        first = std::min(first, make());
        again = std::min(again, make());
    }
    const auto report = [bare](const char* what, double taken) {
        reportFigure(std::string("room beside 10,000 recordings, ") + what, ms(taken),
                     ms(bare) + " reading the folder and one look at each", taken / bare, Aim::atMost, 2.0);
    };
    report("far from the limit", ample);
    report("near it, first time", first);
    report("near it, again", again);
}
/// Keeps the one timer that the mechanic has.
class HandLoop final : public RunLoop {
public:
    std::unique_ptr<Timer> schedule(TimerOptions, std::function<void()> handler) override {
        m_handler = std::move(handler);
        class NoTimer final : public Timer {
            void fireNow() override {}
        };
        return std::make_unique<NoTimer>();
    }
    int run() override { return 0; }
    void quit(int) override {}
    void post(std::function<void()>) override {}
    /// False when there is nothing to do any more.
    bool fire() {
        if (!m_handler)
            return false;
        std::exchange(m_handler, nullptr)();
        return true;
    }

private:
    std::function<void()> m_handler;
};

/// Of 10,000 recordings all but a hundred must go: the total time was set to less.
bool reportBacklog(const std::string& folder) {
    RehearsalDesk desk(folder, QTimeZone("UTC"), {.year = 2026}, devices());
    desk.launch();
    SystemClock clock;
    HandLoop loop;
    VmMechanic mechanic({clock, loop, desk.notifications, desk.defaults, desk.log, desk.alert, desk.texts,
                         desk.hardware, desk.files, desk.administratorRight, desk.savePanel, desk.workspace});
    mechanic.setMaxTotalTime(99 * hour);
    mechanic.setMaxRecordTime(hour);
    const auto wall = [] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    };
    double last = cpu();
    double lastWall = wall();
    double all = 0.0;
    std::vector<double> stretches; // by the clock on the wall, with what the disk takes
    const auto note = [&] {
        all += cpu() - last;
        stretches.push_back(wall() - lastWall);
        last = cpu();
        lastWall = wall();
    };
    mechanic.makeSecureRecordSpace(44100.0, 2);
    note();
    while (loop.fire())
        note();
    std::ranges::sort(stretches);
    std::printf(
        "main thread, all but a hundred hours go: %s of CPU in %zu stretches of %s by the clock, %s at most\n",
        ms(all).c_str(), stretches.size(), ms(stretches[stretches.size() / 2]).c_str(),
        ms(stretches.back()).c_str());
    reportFigure("main thread, beside 10,000 recordings: a stretch, when all but a hundred hours must go",
                 ms(stretches.back()), ms(longestStretch), stretches.back() / longestStretch, Aim::atMost, 1.1);
    return mechanic.recordTotalTime() <= 100 * hour && mechanic.recordTotalTime() > 90 * hour;
}
} // namespace

int main() {
    const BenchFolder place;
    const std::string folder = place.path() + "/record";
    PosixVolume volume;
    if (!volume.makeFolder(folder) || !makeRecordings(folder)) {
        std::fprintf(stderr, "BeginBench: cannot make recordings in %s\n", folder.c_str());
        return 1;
    }
    lookBarely(folder);
    reportMakingRoom(place.path());
    if (reportRecording(place.path(), recordings * 2, 0, "far from the limit") &&
        reportRecording(place.path(), recordings - 200, 0, "at the limit") && reportBacklog(place.path()))
        return 0;
    std::fprintf(stderr, "BeginBench: the application does not record as it should\n");
    return 1;
}
