// The wall clock is set while sound is recorded: no frame is lost or doubled, and every file's name tells the
// time that the clock showed.
#include "base/Formatted.h"
#include "faults/FrameCensus.h"
#include "support/DeskOfATest.h"

#include <cmath>
#include <gtest/gtest.h>
#include <QJsonArray>

namespace {
constexpr double rate = 8000.0;
constexpr double unseen = 1.1; // seconds until somebody looks at the clock
constexpr double least = 2.0;  // seconds: what is less is the clock being kept right

enum class Kind { always, automatic, timetable };
constexpr const char* kindNames[] = {"always", "auto", "timetable"};

struct Jump {
    double at = 0.0; ///< seconds after the launch
    double by = 0.0; ///< seconds
};

class JumpyDuty {
public:
    JumpyDuty(Kind kind, const CalendarDate& start, std::vector<Jump> jumps, const char* zone = "Asia/Tokyo")
        : m_kind(kind),
          m_jumps(std::move(jumps)),
          m_desk(m_folder.path(), QTimeZone(zone), start, {input(), deskOutput()}, settings(kind)),
          m_launch(m_desk.clock.now()) {
        m_watch = m_desk.notifications.observe(VmLogEventNotification, [this](const Notification& event) {
            const auto message = event.userInfo.find(std::string(ErrorMessageString));
            if (message != event.userInfo.end())
                m_messages.push_back(event.object + ": " + message->second);
        });
    }
    void run(double seconds) {
        m_desk.launch();
        m_desk.controler->recorder().setShown(false);
        for (const Jump& jump : m_jumps) {
            runUntil(jump.at);
            m_desk.clock.jump(jump.by);
        }
        runUntil(seconds);
        m_end = seconds;
        VmRecorder& recorder = m_desk.controler->recorder();
        if (m_kind == Kind::timetable)
            recorder.reserveButton().press(false);
        else
            recorder.recordButton().press(false);
        m_desk.runFor(5.0);
        m_desk.terminate();
        m_census.addFolder(m_desk.recordFolder());
    }
    void expectAllThere() const {
        EXPECT_EQ(m_census.complaintOfGaps(), "");
        EXPECT_LE(static_cast<double>(m_census.first()) / rate, 1.5);
        EXPECT_NEAR(static_cast<double>(m_census.end()) / rate, m_end, 1.5);
    }
    /// A file ends where the clock was set, and in no other place but `boundaries`.
    void expectSeams(std::vector<double> boundaries) const {
        for (const Jump& jump : m_jumps)
            if (std::abs(jump.by) >= least)
                boundaries.push_back(jump.at);
        std::sort(boundaries.begin(), boundaries.end());
        std::vector<double> seams;
        const auto pieces = m_census.pieces();
        for (std::size_t i = 1; i < pieces.size(); ++i)
            seams.push_back(static_cast<double>(pieces[i].first) / rate);
        ASSERT_EQ(seams.size(), boundaries.size()) << testing::PrintToString(seams);
        for (std::size_t i = 0; i < seams.size(); ++i)
            EXPECT_NEAR(seams[i], boundaries[i], unseen);
    }
    void expectHonestNames() const {
        for (const FrameCensus::Piece& piece : m_census.pieces()) {
            const double first = static_cast<double>(piece.first) / rate;
            const double end = static_cast<double>(piece.end) / rate;
            const double middle = (first + end) / 2.0;
            const std::string start = piece.name.substr(13, 15);
            const std::string stop = piece.name.substr(29, 6);
            bool honest = false;
            for (const double asOf : {middle, middle - unseen})
                honest = honest ||
                         (isAbout(start, first, asOf, "%Y%m%d_%H%M%S") && isAbout(stop, end, asOf, "%H%M%S"));
            EXPECT_TRUE(honest) << piece.name << " lasts from " << text(first, middle, "%Y%m%d_%H%M%S")
                                << " to " << text(end, middle, "%H%M%S");
        }
    }
    /// One report for each time that the clock was set, and nothing else.
    void expectReports() const {
        std::vector<std::string> wanted;
        for (const Jump& jump : m_jumps)
            if (std::abs(jump.by) >= least)
                wanted.push_back(formatted("VmRecorder: the clock was set by %.1fseconds.", jump.by));
        std::vector<std::string> events = wanted;
        for (std::string& event : events)
            event.insert(0, "SomeReportHappen: ");
        EXPECT_EQ(m_messages, events);
        wanted.push_back("---applicationWillTerminate---");
        auto lines = m_desk.log.lines();
        std::erase(lines,
                   "Cannot create progress sound file."); // the name is that of a file of the same second
        EXPECT_EQ(lines, wanted);
    }
    void expectAllInOrder(const std::vector<double>& boundaries) const {
        expectAllThere();
        expectSeams(boundaries);
        expectHonestNames();
        expectReports();
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const FrameCensus::Piece& piece : m_census.pieces())
            all.push_back(piece.name);
        return all;
    }
    void expectThereAndNamed() const {
        expectAllThere();
        expectHonestNames();
        expectReports();
    }

private:
    static SimulatedDevice input() {
        SimulatedDevice device = countingInput();
        device.rates = {rate};
        return device;
    }
    static std::vector<RehearsalDesk::Setting> settings(Kind kind) {
        std::vector<RehearsalDesk::Setting> all = fullRateStereo;
        all.push_back({"MaxTotalTime", 1e8});
        if (kind == Kind::timetable) {
            all.push_back(
                {"TimerList", QJsonArray{QJsonArray{"all day", 1, 8 * 3600, 8 * 3600, 0, 2, 2, 0, 0, 0, 0}}});
            all.push_back({"ReserveSwitch", true});
        } else {
            all.push_back({"RecordSwitch", true});
            all.push_back({"RecordMode", kind == Kind::automatic ? 1 : 0});
        }
        return all;
    }
    void runUntil(double seconds) {
        m_desk.runFor(seconds - static_cast<double>(m_desk.clock.hostTime()) * 1e-9);
    }
    /// What the clock showed `at` seconds after the launch, as it was set at `asOf`.
    Date shown(double at, double asOf) const {
        Date date = m_launch.addingSeconds(at);
        for (const Jump& jump : m_jumps)
            if (jump.at <= asOf)
                date = date.addingSeconds(jump.by);
        return date;
    }
    std::string text(double at, double asOf, const char* pattern) const {
        return m_desk.clock.format(shown(at, asOf), pattern);
    }
    bool isAbout(const std::string& text, double at, double asOf, const char* pattern) const {
        for (const double off : {0.0, -1.0, 1.0, -1.9, 1.9})
            if (m_desk.clock.format(shown(at, asOf).addingSeconds(off), pattern) == text)
                return true;
        return false;
    }

    const Kind m_kind;
    const std::vector<Jump> m_jumps;
    TemporaryFolder m_folder;
    RehearsalDesk m_desk;
    const Date m_launch;
    double m_end = 0.0;
    FrameCensus m_census;
    std::vector<std::string> m_messages;
    NotificationCenter::Observation m_watch;
};

constexpr CalendarDate quiet{.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 30, .second = 0};
constexpr CalendarDate beforeTheHour{
    .year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 59, .second = 30};

class ClockJump : public testing::TestWithParam<std::tuple<Kind, double>> {
protected:
    const Kind kind = std::get<0>(GetParam());
    const double by = std::get<1>(GetParam());
};

std::string nameOf(const testing::TestParamInfo<std::tuple<Kind, double>>& info) {
    const double by = std::get<1>(info.param);
    const auto tenths = std::lround(std::abs(by) * 10.0);
    return std::string(kindNames[static_cast<int>(std::get<0>(info.param))]) +
           (by < 0.0 ? "_back_" : "_forth_") + std::to_string(tenths) + "_tenths";
}
} // namespace

TEST_P(ClockJump, endsTheFileAndGoesOnInTheNext) {
    JumpyDuty duty(kind, quiet, {{20.3, by}});
    duty.run(40.0);
    if (kind == Kind::timetable && by > 80000.0)
        duty.expectAllInOrder({20.6}); // the entry ends there by the new clock, and begins anew
    else
        duty.expectAllInOrder({});
}

TEST_P(ClockJump, losesNothing_shortlyBeforeAFullHour) {
    for (const double before : {0.05, 0.5, 1.5, 2.5, 5.0}) {
        SCOPED_TRACE(before);
        JumpyDuty duty(kind, beforeTheHour, {{30.0 - before, by}});
        duty.run(60.0);
        duty.expectThereAndNamed();
    }
}

TEST_P(ClockJump, losesNothing_shortlyAfterAFullHour) {
    for (const double after : {0.05, 0.5, 1.5, 2.5, 5.0}) {
        SCOPED_TRACE(after);
        JumpyDuty duty(kind, beforeTheHour, {{30.0 + after, by}});
        duty.run(60.0);
        duty.expectThereAndNamed();
    }
}

TEST_P(ClockJump, losesNothing_whenTheClockIsSetAgainAndAgain) {
    JumpyDuty duty(kind, beforeTheHour, {{10.0, by}, {13.0, by}, {13.7, -by}, {20.0, by}, {26.0, -by}});
    duty.run(50.0);
    duty.expectThereAndNamed();
}

INSTANTIATE_TEST_SUITE_P(By, ClockJump,
                         testing::Combine(testing::Values(Kind::always, Kind::automatic, Kind::timetable),
                                          testing::Values(2.0, -2.0, 59.0, -59.0, 3600.0, -3600.0, 86400.0,
                                                          -86400.0, 0.4, -0.4)),
                         nameOf);

TEST(ClockJumps, giveEachFileANameOfItsOwn_whenTheSameSecondsComeAgain) {
    std::vector<Jump> jumps;
    for (int i = 0; i < 8; ++i)
        jumps.push_back({10.0 + 4.0 * i, -4.0});
    JumpyDuty duty(Kind::always, quiet, jumps);
    duty.run(50.0);
    duty.expectAllInOrder({});
    const auto names = duty.names();
    EXPECT_EQ(names.size(), 9U);
    EXPECT_GT(std::count_if(names.begin(), names.end(),
                            [](const std::string& name) { return name.find('+') != std::string::npos; }),
              0);
}

TEST(ClockJumps, areNoneOnTheDaysOfSummerTime) {
    for (const auto& [start, kind] : {std::pair{CalendarDate{2026, 3, 29, 1, 59, 30}, Kind::always},
                                      {CalendarDate{2026, 10, 25, 2, 59, 30}, Kind::always},
                                      {CalendarDate{2026, 3, 29, 1, 59, 30}, Kind::automatic},
                                      {CalendarDate{2026, 10, 25, 2, 59, 30}, Kind::automatic}}) {
        SCOPED_TRACE(start.month);
        JumpyDuty duty(kind, start, {}, "Europe/Berlin");
        duty.run(60.0);
        duty.expectAllInOrder({30.0});
    }
}

TEST(ClockJumps, loseNothing_whereSummerTimeBeginsOrEnds) {
    for (const CalendarDate start :
         {CalendarDate{2026, 3, 29, 1, 59, 30}, CalendarDate{2026, 10, 25, 2, 59, 30}})
        for (const double by : {-3600.0, -2.0, 2.0, 3600.0})
            for (const double at : {25.0, 29.5, 30.5, 35.0}) {
                SCOPED_TRACE(std::to_string(start.month) + ": " + std::to_string(by) + " at " +
                             std::to_string(at));
                JumpyDuty duty(Kind::always, start, {{at, by}}, "Europe/Berlin");
                duty.run(60.0);
                duty.expectThereAndNamed();
            }
}
