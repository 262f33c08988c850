// keeper/KeepDuty.h — a duty whose recordings are kept: where every frame of it is in the end.
#pragma once
#include "keeper/KeepingDesk.h"
#include "storage/SoundFileNames.h"
#include "support/DutyCheck.h"

#include <chrono>
#include <cstdio>
#include <map>

/// Records always, an hour a file, with room for few of them in the record folder. All others must be found in
/// the keep folder, compressed or, where the compressor was no good, as they were.
class KeepDuty {
public:
    struct Plan {
        double seconds = 0.0;
        std::string command = "/usr/bin/bzip2";
        std::string argument = "-f %@";
        std::string script{};  ///< of a stand-in, instead of the command
        int keepPeriod = 1000; ///< days
        int timeLimit = 10;    ///< of a stand-in, seconds of real time; others may work at higher priority
    };
    static constexpr double rate = 500.0;    // Hz, of the device; a quarter of it in the files
    static constexpr double budget = 7200.0; // seconds in the record folder
    static constexpr double hour = 3600.0;

    explicit KeepDuty(const Plan& plan)
        : m_plan(plan),
          m_desk(m_folder.path(), QTimeZone("Asia/Tokyo"), morning, {input(), deskOutput()}, settingsOf(plan)),
          m_check(m_desk.clock, {.launch = m_desk.clock.now(), .rate = rate, .rateNumber = 0, .channels = 1}) {
        m_watch = m_desk.notifications.observe(VmLogEventNotification, [this](const Notification& event) {
            const std::lock_guard guard(m_mutex);
            m_errors += event.object == "SomeErrorHappen" ? 1 : 0;
        });
        if (plan.script.empty())
            return;
        const std::string path = m_folder.path() + "/compressor";
        std::ofstream(path)
            << "#!/bin/sh\nnumber=$(cat \"$0.count\" || echo 0)\necho $((number + 1)) > \"$0.count\"\n"
            << plan.script << "\n";
        std::ofstream(path + ".count") << 0;
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    void run() {
        const auto began = std::chrono::steady_clock::now();
        m_desk.launch();
        m_desk.controler->recorder().setShown(false);
        m_desk.runFor(m_plan.seconds);
        m_desk.controler->recorder().recordButton().press(false);
        m_desk.runFor(5.0);
        m_desk.terminate();
        collect();
        EXPECT_EQ(m_check.fault(), "");
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
        std::printf("[ MEASURED ] %.1f hours: %zu compressed, %zu kept as they were, %zu in the record folder, "
                    "%d reports, %.0f times as fast\n",
                    m_plan.seconds / hour, compressed, uncompressed, recorded, m_errors,
                    m_plan.seconds / took.count());
    }
    void expectEveryFrame() const {
        EXPECT_NEAR(static_cast<double>(m_check.frames()) / rate, m_plan.seconds, 5.0);
    }
    double secondsFound() const { return static_cast<double>(m_check.frames()) / rate; }
    int errors() const { return m_errors; }
    std::size_t lines(const std::string& part) const {
        const auto all = m_desk.log.lines();
        return static_cast<std::size_t>(std::ranges::count_if(
            all, [&](const std::string& line) { return line.find(part) != std::string::npos; }));
    }

    std::size_t compressed = 0;
    std::size_t uncompressed = 0;
    std::size_t recorded = 0;

private:
    static SimulatedDevice input() {
        SimulatedDevice device = countingInput();
        device.rates = {rate};
        device.minFrames = 256;
        return device;
    }
    Settings settingsOf(const Plan& plan) const {
        return {{"SamplingRateNumber", 0},
                {"ChannelsNumber", 1},
                {"MaxTotalTime", budget},
                {"MaxRecordTime", hour},
                {"RecordSwitch", true},
                {"KeepOperation", true},
                {"KeepFileKeepPeriod", plan.keepPeriod},
                {"MonitorCommandLine", false},
                {"CompressTimeLimit", plan.script.empty() ? 600 : plan.timeLimit},
                {"CommandPathString",
                 QString::fromStdString(plan.script.empty() ? plan.command : m_folder.path() + "/compressor")},
                {"CommandArgumentString", QString::fromStdString(plan.script.empty() ? plan.argument : "%@")}};
    }
    /// Brings the files of both folders into the order of their names and checks them, one at a time.
    void collect() {
        std::map<std::string, std::string> found; // name of the recording, full path
        for (const std::string& folder : {m_desk.folder + "/preserve", m_desk.recordFolder()})
            for (const auto& entry : std::filesystem::directory_iterator(folder)) {
                const std::string name = entry.path().filename().string();
                if (VmDutyLog::isLogFile(name) || SoundFileNames::isImageFile(name))
                    continue;
                EXPECT_TRUE(name.starts_with("_Velmoratide_")) << name;
                const std::size_t end = name.find(".aif") + 4;
                ASSERT_LE(end, name.size()) << name;
                EXPECT_TRUE(found.emplace(name.substr(0, end), entry.path().string()).second) << name;
                ++(end < name.size() ? compressed : folder == m_desk.recordFolder() ? recorded : uncompressed);
            }
        const std::string checked = m_folder.path() + "/checked/";
        std::filesystem::create_directory(checked);
        for (const auto& [name, path] : found) {
            const std::string program = path.ends_with(".bz2")  ? "bzip2 -dc '"
                                        : path.ends_with(".gz") ? "gzip -dc '"
                                                                : "cat '";
            EXPECT_EQ(std::system((program + path + "' > '" + checked + name + "'").c_str()), 0) << path;
            m_check.add(checked + name);
            std::filesystem::remove(checked + name);
        }
    }

    const Plan m_plan;
    TemporaryFolder m_folder;
    RehearsalDesk m_desk;
    DutyCheck m_check;
    std::mutex m_mutex; // guards the next
    int m_errors = 0;
    NotificationCenter::Observation m_watch;
};

/// Of seven hours, three are compressed well; the others meet a compressor that fails, hangs, removes the
/// recording and says that it went well, and leaves an empty file in its place.
inline const std::string moodyCompressor = R"(case $((number % 7)) in
3) echo no >&2; exit 1 ;;
4) exec sleep 1000 ;;
5) rm "$1"; exit 0 ;;
6) rm "$1"; : > "$1.gz"; exit 0 ;;
*) exec gzip -1 -f "$1" ;;
esac)";
