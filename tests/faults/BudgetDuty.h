// faults/BudgetDuty.h — weeks of recordings in a folder that others use too.
#pragma once
#include "support/DeskOfATest.h"
#include "support/DutyCheck.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Records always, with a budget of one day, while files come and are locked. Keeps its own account of what the
/// rule lets stay: before each recording the oldest unlocked ones go, until the rest is no more than the budget
/// and one recording longer.
class BudgetDuty {
public:
    BudgetDuty()
        : m_desk(m_folder.path(), QTimeZone("Asia/Tokyo"), morning, {input(), deskOutput()},
                 {{"SamplingRateNumber", 0},
                  {"ChannelsNumber", 1},
                  {"MaxTotalTime", budget},
                  {"MaxRecordTime", margin},
                  {"RecordSwitch", true}}),
          m_check(m_desk.clock,
                  {.launch = m_desk.clock.now(), .rate = 8000.0, .rateNumber = 0, .channels = 1}) {
        std::filesystem::create_directories(m_desk.recordFolder());
        putThingsThere();
        m_watch = m_desk.notifications.observe({}, [this](const Notification& news) { note(news); });
    }
    ~BudgetDuty() {
        for (const auto& entry : std::filesystem::directory_iterator(m_desk.recordFolder()))
            if (m_desk.files.isLocked(entry.path().string()))
                m_desk.files.setLocked(entry.path().string(), false);
    }
    BudgetDuty(const BudgetDuty&) = delete;
    BudgetDuty& operator=(const BudgetDuty&) = delete;

    void run(int days) {
        const auto began = std::chrono::steady_clock::now();
        m_desk.launch();
        m_desk.controler->recorder().setShown(false);
        for (int quarter = 0; quarter < days * 4 && !testing::Test::HasFailure(); ++quarter) {
            m_desk.runFor(1000.0); // away from the full hour
            somebodyComes(quarter);
            for (double done = 1000.0; done < 6.0 * 3600.0; done += 1800.0) {
                m_desk.runFor(std::min(1800.0, 6.0 * 3600.0 - done));
                checkFinishedFiles();
            }
            expectWhatTheRuleKeeps();
        }
        m_desk.controler->recorder().recordButton().press(false);
        m_desk.runFor(5.0);
        checkFinishedFiles();
        m_desk.terminate();
        m_ended = true;
        expectWhatTheRuleKeeps();
        EXPECT_EQ(m_check.fault(), "");
        EXPECT_NEAR(static_cast<double>(m_check.frames()) / 8000.0, days * 86400.0, 5.0);
        EXPECT_EQ(deletionsLogged(), m_deleted);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
        std::printf("[ MEASURED ] %d days: %zu recordings, %zu deleted by the rule, %.0f times as fast\n", days,
                    m_check.pieces().size(), m_deleted.size(), days * 86400.0 / took.count());
    }

private:
    struct Known {
        double seconds = 0.0;
        bool locked = false;
    };
    static constexpr double budget = 86400.0; // seconds
    static constexpr double margin = 3600.0;

    static SimulatedDevice input() {
        SimulatedDevice device = countingInput();
        device.rates = {8000.0};
        device.minFrames = 2048;
        return device;
    }
    std::string pathOf(const std::string& name) const { return m_desk.recordFolder() + "/" + name; }
    void make(const std::string& name) const { std::ofstream(pathOf(name)) << "not ours to judge"; }
    void addStrange(const std::string& name) {
        make(name);
        m_strange.insert(name);
    }
    void addRecording(const std::string& name, double seconds, bool locked) {
        make(name);
        m_recordings[name] = {seconds, locked};
        if (locked) {
            EXPECT_EQ(m_desk.files.setLocked(pathOf(name), true), 0) << name;
        }
    }
    void putThingsThere() {
        addRecording("_Velmoratide_20070901_080000~090000.aif", 3600.0, false);
        addRecording("_Velmoratide_20070902_233000~003000.aif", 3600.0, false);
        addRecording("_Velmoratide_20071001_080000~090000.aif", 3600.0, true);
        addRecording("_Velmoratide_20071002_080000~200000.aif", 43200.0, true);
        make(".Velmoratide_20071003_080000~090000.aif"); // hidden: gone at the launch
        for (const char* name :
             {"_Velmoratide_20070801_080000~090000+.aif", "_Velmoratide_20070801_080000~090000.aiff",
              "_Velmoratide_20070801_080000~090000.aif.bak", "_Velmoratide_20070801_080000-090000.aif",
              "_Velmoratide_20071301_080000~090000.aif", "_Velmoratide_20070801_250000~090000.aif",
              "_Velmoratide_2007080a_080000~090000.aif", "xVelmoratide_20070801_080000~090000.aif",
              "_velmoratide_20070801_080000~090000.aif", "notes.txt", "a name with a\nline end.aif",
              "\xff\xfe of no alphabet.aif", "\u97f3\u58f0_20070801_080000~090000.aif", "~", "-rf"})
            addStrange(name);
        std::filesystem::create_directory(pathOf("_Velmoratide_20070803_080000~090000.aif"));
        m_strange.insert("_Velmoratide_20070803_080000~090000.aif");
        std::filesystem::create_symlink(pathOf("notes.txt"), pathOf("_Velmoratide_20070804_080000~090000.aif"));
        m_strange.insert("_Velmoratide_20070804_080000~090000.aif");
    }
    /// Somebody puts a file there, or locks or unlocks one.
    void somebodyComes(int quarter) {
        const std::string day = m_desk.clock.format(m_desk.clock.now().addingSeconds(-86400.0 / 2), "%Y%m%d");
        const std::string minute = std::to_string(100000 + quarter % 60 * 100).substr(1);
        const std::string times = "_" + std::string("0") + minute + "~";
        switch (quarter % 7) {
        case 0:
            addRecording("_Velmoratide_" + day + "_111500~113000.aif", 900.0, quarter % 2 == 0);
            break;
        case 1:
            addStrange("_Velmoratide_" + day + "_111500~113000+.aif");
            break;
        case 2:
            addStrange("what " + std::to_string(quarter) + " was.aif");
            break;
        case 3:
            lockNewest();
            break;
        case 4:
            addRecording("_Velmoratide_20060101" + times + "200000.aif", 20 * 3600.0 - quarter % 60 * 60.0,
                         false);
            break;
        case 5:
            if (quarter % 2 == 0)
                unlockOldest();
            break;
        default:
            addPicture();
        }
    }
    void lockNewest() {
        for (auto each = m_recordings.rbegin(); each != m_recordings.rend(); ++each)
            if (!each->second.locked) {
                each->second.locked = true;
                EXPECT_EQ(m_desk.files.setLocked(pathOf(each->first), true), 0);
                return;
            }
    }
    void unlockOldest() {
        for (auto& [name, known] : m_recordings)
            if (known.locked) {
                known.locked = false;
                EXPECT_EQ(m_desk.files.setLocked(pathOf(name), false), 0);
                return;
            }
    }
    /// The picture of the oldest recording: goes with it.
    void addPicture() {
        if (m_recordings.empty())
            return;
        const std::string name = pictureOf(m_recordings.begin()->first);
        make(name);
        m_strange.insert(name);
    }
    static std::string pictureOf(const std::string& recording) {
        return "." + recording.substr(1, recording.size() - 4) + "tif";
    }

    void note(const Notification& news) {
        if (news.name == VmSoundFileFinished_Notification) {
            const std::string path = news.userInfo.at("SoundFilePath");
            const std::string name = std::filesystem::path(path).filename().string();
            m_recordings[name] = {secondsTold(name), false};
            m_finished.push_back(path);
        } else if (news.name == "VmCreateImageFile_Notification") {
            const std::filesystem::path sound(news.userInfo.at("ImageFilePath"));
            m_strange.insert(pictureOf(sound.filename().string())); // goes with its recording
        } else if (news.object == "RecordingStart") {
            applyRule();
        }
    }
    static double secondsTold(const std::string& name) {
        int at[6] = {};
        EXPECT_EQ(std::sscanf(name.c_str() + 22, "%2d%2d%2d~%2d%2d%2d", &at[0], &at[1], &at[2], &at[3], &at[4],
                              &at[5]),
                  6)
            << name;
        const int seconds = (at[3] - at[0]) * 3600 + (at[4] - at[1]) * 60 + at[5] - at[2];
        return seconds < 0 ? seconds + 86400.0 : seconds;
    }
    void applyRule() {
        double total = 0.0;
        for (const auto& [name, known] : m_recordings)
            total += known.locked ? 0.0 : known.seconds;
        for (auto each = m_recordings.begin(); each != m_recordings.end() && total > budget + margin;) {
            if (each->second.locked) {
                ++each;
                continue;
            }
            total -= each->second.seconds;
            m_deleted.insert(each->first);
            m_strange.erase(pictureOf(each->first));
            each = m_recordings.erase(each);
        }
    }
    std::set<std::string> deletionsLogged() const {
        std::set<std::string> names;
        for (const std::string& line : m_desk.log.lines())
            if (line.starts_with("VmMechanic: recording deleted (total time "))
                names.insert(line.substr(line.rfind('/') + 1));
        return names;
    }
    void expectWhatTheRuleKeeps() const {
        std::set<std::string> wanted = m_strange;
        for (const auto& [name, known] : m_recordings)
            wanted.insert(name);
        std::set<std::string> there;
        for (const auto& entry : std::filesystem::directory_iterator(m_desk.recordFolder()))
            there.insert(entry.path().filename().string());
        EXPECT_EQ(there.erase("VelmoratideLog.txt"), 1U);
        // A picture goes with its recording.
        std::erase_if(there, [&wanted](const std::string& name) {
            return VmMechanic::isImageFile(name) && !wanted.contains(name) &&
                   wanted.contains("_" + name.substr(1, name.size() - 4) + "aif");
        });
        if (!m_ended) { // of the recording in progress
            EXPECT_EQ(there.erase(".VelmoratideTempFile"), 1U);
            EXPECT_EQ(there.erase(std::filesystem::path(m_desk.defaults.stringForKey("ProgressSoundFileName"))
                                      .filename()
                                      .string()),
                      1U);
        }
        EXPECT_EQ(there, wanted) << m_desk.clock.format(m_desk.clock.now(), "%Y%m%d_%H%M%S");
    }
    void checkFinishedFiles() {
        for (const std::string& path : std::exchange(m_finished, {}))
            m_check.add(path);
    }

    TemporaryFolder m_folder;
    RehearsalDesk m_desk;
    DutyCheck m_check;
    std::map<std::string, Known> m_recordings; // that the rule knows
    std::set<std::string> m_strange;           // that it must not touch
    std::set<std::string> m_deleted;
    std::vector<std::string> m_finished; // not yet checked
    bool m_ended = false;
    NotificationCenter::Observation m_watch;
};
