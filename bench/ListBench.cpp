// Measures the list of 10,000 recordings against a bare look at the same files, and what it costs the main
// thread.
#include "app/VmControler.h"
#include "app/window/TableBox.h"
#include "base/Controls.h"
#include "base/VmTableView.h"
#include "BenchFolder.h"
#include "CpuSeconds.h"
#include "Figures.h"
#include "library/RecordListing.h"
#include "library/VmPlayer.h"
#include "library/VmPlayList.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RehearsalDesk.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <QApplication>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {
constexpr int recordings = 10'000;
constexpr int rounds = 7;
constexpr double longestStall = 0.05; // seconds

std::string nameOf(int number) {
    const int minute = number % 60;
    const int hour = number / 60 % 24;
    const int day = number / 1440 % 28 + 1;
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), "_Velmoratide_202603%02d_%02d%02d00~%02d%02d30.aif", day, hour,
                  minute, hour, minute);
    return name.data();
}

bool makeRecordings(const std::string& folder) {
    PosixVolume volume;
    const std::vector<std::int16_t> samples(64);
    for (int number = 0; number < recordings; ++number) {
        const auto made = SoundFile::create(volume, folder + "/" + nameOf(number), 44100.0, 2);
        if (!made.file || !made.file->writeSamples(0, samples) || !made.file->close())
            return false;
    }
    return true;
}

double cpu() {
    return cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
}

std::string ms(double seconds) {
    return std::to_string(static_cast<int>(seconds * 1e3 + 0.5)) + " ms";
}

void reportStall(const char* what, double seconds) {
    reportFigure(what, ms(seconds), ms(longestStall), seconds / longestStall, Aim::atMost, 1.0);
}

/// Reads the folder, and the note's place in each file.
double lookBarely(const std::string& folder) {
    const double start = cpu();
    DIR* const entries = ::opendir(folder.c_str());
    std::array<char, 128> note{};
    const int place = ::dirfd(entries);
    while (const dirent* const entry = ::readdir(entries)) {
        if (entry->d_name[0] == '.')
            continue;
        const int file = ::openat(place, entry->d_name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
        benchmark::DoNotOptimize(::pread(file, note.data(), note.size(), 291));
        ::close(file);
    }
    ::closedir(entries);
    return cpu() - start;
}

double list(const std::string& folder, const RecordListing& known) {
    PosixVolume volume;
    const std::atomic<bool> never = false;
    const double start = cpu();
    const RecordListing listing =
        RecordListing::read(volume, {.folder = folder, .progressPath = {}, .checkMark = "x"}, known, never);
    const double taken = cpu() - start;
    return listing.rows.size() == recordings ? taken : std::numeric_limits<double>::max();
}

/// What the main thread does at a stretch, with the table on the screen.
class Stalls {
public:
    explicit Stalls(RehearsalDesk& desk) : m_desk(desk) {}
    void measure(const char* what, const std::function<void()>& act) {
        const double start = cpu();
        act();
        QCoreApplication::processEvents();
        tell(what, cpu() - start);
        const double later = cpu();
        m_desk.runFor(0.5); // what other threads have made is taken over
        QCoreApplication::processEvents();
        tell(what, cpu() - later);
    }
    /// Seconds of the longest since this was asked last.
    double takeWorst() { return std::exchange(m_worst, 0.0); }

private:
    void tell(const char* what, double seconds) {
        std::printf("main thread, %s: %.1f ms\n", what, seconds * 1e3);
        m_worst = std::max(m_worst, seconds);
    }
    RehearsalDesk& m_desk;
    double m_worst = 0.0;
};

std::vector<SimulatedDevice> devices() {
    SimulatedDevice input;
    input.name = input.uid = "in";
    SimulatedDevice output;
    output.name = output.uid = "out";
    output.direction = SimulatedDevice::Direction::output;
    return {input, output};
}

/// Reports the longest work of the main thread.
bool reportStalls(const std::string& folder) {
    RehearsalDesk desk(folder, QTimeZone("UTC"), {.year = 2026, .month = 4, .day = 1}, devices(),
                       {{"VerifyDelete", false}, {"MaxTotalTime", recordings * 60.0}}); // none goes of itself
    desk.launch();
    VmControler& controler = *desk.controler;
    TableBox box(controler.recordTable(), desk.texts);
    box.resize(490, 120);
    box.show();
    QCoreApplication::processEvents();
    Stalls stalls(desk);
    stalls.measure("the tab is chosen", [&] { controler.mainTab().choose(1); });
    if (controler.recordTable().numberOfRows() != recordings)
        return false;
    for (const char* column :
         {"LockFlag", "RecordDate", "StartTime", "EndTime", "RecordTime", "FileSize", "Remark", "Remark"})
        stalls.measure(column, [&] { controler.recordTable().pressHead(column); });
    VmPlayer& player = controler.player();
    stalls.measure("a row is chosen", [&] { controler.recordTable().chooseRow(recordings / 2); });
    stalls.measure("locking", [&] { player.lockButton().press(true); });
    stalls.measure("unlocking", [&] { player.lockButton().press(false); });
    stalls.measure("a note", [&] {
        player.noteButton().press(true);
        controler.recordTable().endEditing("Rain");
    });
    stalls.measure("deleting", [&] { player.deleteButton().press(true); });
    stalls.measure("the folder is read again", [&] { player.renewListAndControl(); });
    reportStall("main thread: list of 10,000 recordings chosen, sorted, locked, noted, deleted",
                stalls.takeWorst());
    stalls.measure("recording begins", [&] { controler.recorder().recordButton().press(true); });
    stalls.measure("the recording grows", [&] { desk.runFor(3.0); });
    reportStall("main thread: a recording begins beside 10,000, and grows", stalls.takeWorst());
    return true;
}
} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const BenchFolder place;
    const std::string folder = place.path() + "/record";
    PosixVolume volume;
    if (!volume.makeFolder(folder) || !makeRecordings(folder)) {
        std::fprintf(stderr, "ListBench: cannot make recordings in %s\n", folder.c_str());
        return 1;
    }
    lookBarely(folder);
    double bare = std::numeric_limits<double>::max();
    double fresh = bare;
    double again = bare;
    const std::atomic<bool> never = false;
    const RecordListing known =
        RecordListing::read(volume, {.folder = folder, .progressPath = {}, .checkMark = "x"}, {}, never);
    for (int round = 0; round < rounds; ++round) {
        bare = std::min(bare, lookBarely(folder));
        fresh = std::min(fresh, list(folder, {}));
        again = std::min(again, list(folder, known));
    }
    reportFigure("list of 10,000 recordings", ms(fresh), ms(bare) + " reading the folder and each note",
                 fresh / bare, Aim::atMost, 2.0);
    reportFigure("list of 10,000 recordings that are known", ms(again),
                 ms(bare) + " reading the folder and each note", again / bare, Aim::atMost, 2.0);
    if (reportStalls(place.path()))
        return 0;
    std::fprintf(stderr, "ListBench: the application does not list the recordings\n");
    return 1;
}
