// A duty in auto mode: bursts of noise at random moments, each to be found in the recordings.
#pragma once
#include "duty/NoiseCheck.h"
#include "support/DeskOfATest.h"

#include <cstdio>
#include <random>
#include <utility>
#include <vector>

struct Burst {
    double begin = 0.0; ///< seconds from the launch
    double end = 0.0;
};

inline SimulatedDevice inputWithBursts(const std::vector<Burst>& bursts) {
    SimulatedDevice device = countingInput();
    // What lies between the bursts is below the start level, but still noise that can be told apart.
    device.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::noise, .level = 0.004, .seed = 1}};
    for (const Burst& burst : bursts) {
        device.signal.push_back(
            {.at = burst.begin, .kind = SimulatedSegment::Kind::noise, .level = 0.5, .seed = 1});
        device.signal.push_back(
            {.at = burst.end, .kind = SimulatedSegment::Kind::noise, .level = 0.004, .seed = 1});
    }
    return device;
}

/// An auto mode duty that hears `bursts`, with three seconds before and five seconds of delay.
class BurstDuty {
public:
    BurstDuty(std::vector<Burst> bursts, const CalendarDate& start)
        : m_bursts(std::move(bursts)),
          m_input(inputWithBursts(m_bursts)),
          m_desk(m_folder.path(), QTimeZone("Asia/Tokyo"), start, {m_input, deskOutput()},
                 {{"SamplingRateNumber", 2},
                  {"ChannelsNumber", 2},
                  {"RecordMode", 1},
                  {"AutoStartLevel", 10},
                  {"PreBufferingSeconds", before},
                  {"AutoStopDelayTime", after},
                  {"MaxTotalTime", 1e8},
                  {"RecordSwitch", true}}),
          m_check(m_desk.clock, m_desk.clock.dateFromLocal(start), m_input) {
        m_finished =
            m_desk.notifications.observe(VmSoundFileFinished_Notification, [this](const Notification& news) {
                m_paths.push_back(news.userInfo.at("SoundFilePath"));
            });
    }

    /// Runs to the end of the last burst and of the recording that it began.
    void run(bool shown) {
        m_desk.launch();
        m_desk.controler->recorder().setShown(shown);
        for (const Burst& burst : m_bursts) {
            runUntil(burst.end);
            checkFinishedFiles();
        }
        runUntil(m_bursts.back().end + 15.0);
        checkFinishedFiles();
    }
    void expectEveryBurstOnce() const {
        EXPECT_EQ(m_check.fault(), "");
        EXPECT_TRUE(m_desk.log.lines().empty()) << testing::PrintToString(m_desk.log.lines());
        const auto runs = m_check.runs();
        const auto seconds = [this](std::int64_t frame) { return static_cast<double>(frame) / m_check.rate(); };
        std::vector<bool> used(runs.size(), false);
        for (const Burst& burst : m_bursts) {
            const auto run = std::find_if(runs.begin(), runs.end(), [&](const NoiseCheck::Piece& each) {
                return seconds(each.end) > burst.begin;
            });
            ASSERT_NE(run, runs.end()) << "the burst at " << burst.begin << " is in no file";
            EXPECT_LE(seconds(run->first), burst.begin + m_look - before) << run->name;
            EXPECT_GE(seconds(run->end), burst.end + after) << run->name;
            used[static_cast<std::size_t>(run - runs.begin())] = true;
        }
        for (std::size_t i = 0; i < runs.size(); ++i) {
            EXPECT_TRUE(used[i]) << runs[i].name << " holds no burst";
            expectNoLongerThanNeeded(seconds(runs[i].first), seconds(runs[i].end), runs[i].name);
        }
    }
    const NoiseCheck& check() const { return m_check; }
    Date dateOf(std::int64_t frame) const {
        return m_desk.clock.now().addingSeconds(static_cast<double>(frame) / m_check.rate() -
                                                static_cast<double>(m_desk.clock.hostTime()) * 1e-9);
    }
    const Clock& clock() const { return m_desk.clock; }

private:
    static constexpr double before = 3.0;
    static constexpr double after = 5.0;

    void runUntil(double seconds) {
        m_desk.runFor(seconds - static_cast<double>(m_desk.clock.hostTime()) * 1e-9);
    }
    void checkFinishedFiles() {
        for (const std::string& path : std::exchange(m_paths, {})) {
            m_check.add(path);
            std::filesystem::remove(path);
        }
    }
    void expectNoLongerThanNeeded(double first, double end, const std::string& name) const {
        const auto burst = std::find_if(m_bursts.begin(), m_bursts.end(),
                                        [first](const Burst& each) { return each.begin > first; });
        ASSERT_NE(burst, m_bursts.end()) << name;
        EXPECT_GE(first, burst->begin - before - 0.01) << name;
        const auto last = std::find_if(m_bursts.rbegin(), m_bursts.rend(),
                                       [end](const Burst& each) { return each.end < end; });
        ASSERT_NE(last, m_bursts.rend()) << name;
        EXPECT_LE(end, last->end + after + 1.5) << name;
    }

    TemporaryFolder m_folder;
    static constexpr double m_look = 0.3; // seconds until a level is seen
    const std::vector<Burst> m_bursts;
    const SimulatedDevice m_input;
    RehearsalDesk m_desk;
    NoiseCheck m_check;
    std::vector<std::string> m_paths; // finished, not yet checked
    NotificationCenter::Observation m_finished;
};

/// Bursts of `shortest` seconds to half a minute; some follow within the delay, some just behind it, so that
/// the sound before them lies in the file before.
inline std::vector<Burst> randomBursts(int count, unsigned seed, double shortest) {
    std::mt19937 random(seed);
    const auto between = [&random](double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(random);
    };
    std::vector<Burst> bursts;
    double now = 6.0;
    for (int i = 0; i < count; ++i) {
        const int kind = static_cast<int>(random() % 4);
        const double length = random() % 3 == 0 ? between(5.0, 30.0) : between(shortest, 5.0);
        bursts.push_back({now, now + length});
        now += length + (kind == 0 ? between(0.3, 4.5) : kind == 1 ? between(5.0, 9.0) : between(9.0, 60.0));
    }
    return bursts;
}

inline void runBurstDuty(int count, unsigned seed, bool shown) {
    BurstDuty duty(randomBursts(count, seed, 0.25),
                   {.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 50, .second = 0});
    duty.run(shown);
    duty.expectEveryBurstOnce();
    std::printf("[ MEASURED ] %d bursts in %zu files, %zu of them apart from the others\n", count,
                duty.check().pieces().size(), duty.check().runs().size());
}
