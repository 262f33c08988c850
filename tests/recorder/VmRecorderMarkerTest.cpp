// The marker in finished recordings: when, how often, and with what around it untouched.
#include "base/Clock.h"
#include "recorder/MarkedDesk.h"
#include "support/Counting.h"

#include <cmath>
#include <map>
#include <QJsonArray>

namespace {
constexpr CalendarDate beforeHalf{.year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 29, .second = 50};

SimulatedDevice speakers(double rate) {
    SimulatedDevice device = deskOutput();
    device.rates = {rate};
    return device;
}

/// How many markers begin in each minute of the hour, and how late the first of them is at most.
struct Heard {
    std::map<int, int> times;
    double latest = 0.0;
};

Heard heard(const MarkedDesk& it, Date start) {
    Heard result;
    for (const double onset : it.onsets()) {
        const Date date = start.addingSeconds(onset);
        const CalendarDate calendar = it.desk.clock.calendarDate(date);
        const double second = calendar.second + calendar.microsecond * 1e-6;
        if (++result.times[calendar.minute] == 1)
            result.latest = std::max(result.latest, second);
        // One after the other.
        EXPECT_LT(second, 0.01 + 0.2501 * (result.times[calendar.minute] - 1)) << calendar.minute;
    }
    return result;
}

std::map<int, int> expectedTimes(int interval) {
    std::map<int, int> times;
    for (int minute = 0; minute < 60 && interval > 0; minute += interval)
        times[minute] = minute == 0 ? 3 : minute == 30 ? 2 : 1;
    return times;
}

class MarkerOption : public testing::TestWithParam<std::pair<int, int>> {};
} // namespace

INSTANTIATE_TEST_SUITE_P(, MarkerOption,
                         testing::Values(std::pair(0, 1), std::pair(1, 3), std::pair(2, 5), std::pair(3, 15),
                                         std::pair(4, 30), std::pair(5, 0), std::pair(-1, 0)));

TEST_P(MarkerOption, soundsAtItsMinutes_twiceAtTheHalfHour_threeTimesAtTheHour) {
    const auto [option, interval] = GetParam();
    for (const bool shown : {true, false}) {
        MarkedDesk it({{"MarkerSoundOption", option}}, {silentInput(8000.0), deskOutput()}, beforeHalf);
        it.recorder().setShown(shown);
        it.desk.runFor(5.3);
        it.recorder().recordButton().press(true);
        it.desk.runFor(1.0);
        const Date start = it.recorder().recordStartDate();
        it.desk.runFor(3598.0); // up to 10:29:54: every minute once
        it.recorder().recordButton().press(false);
        it.desk.runFor(2.0);
        EXPECT_EQ(it.recordings().size(), 2U);
        const Heard result = heard(it, start);
        EXPECT_EQ(result.times, expectedTimes(interval)) << shown;
        EXPECT_LT(result.latest, 0.2) << shown;
        EXPECT_EQ(it.happened("SomeErrorHappen"), interval == 0); // an interval that is none
    }
}

TEST(VmRecorderMarker, tellsTheMinutesOfItsIntervals) {
    const std::pair<int, int> intervals[] = {{0, 1}, {1, 3}, {2, 5}, {3, 15}, {4, 30}, {5, 30}, {-1, 30}};
    for (const auto& [number, minutes] : intervals)
        EXPECT_EQ(VmRecorder::markerIntervalWithNumber(number), minutes) << number;
    EXPECT_TRUE(VmRecorder::isMarkerDue(0, 59));
    EXPECT_TRUE(VmRecorder::isMarkerDue(2, 25));
    EXPECT_FALSE(VmRecorder::isMarkerDue(2, 26));
    EXPECT_FALSE(VmRecorder::isMarkerDue(4, 15));
    EXPECT_FALSE(VmRecorder::isMarkerDue(5, 0));
    EXPECT_FALSE(VmRecorder::isMarkerDue(-1, 30));
}

TEST(VmRecorderMarker, changesNothingButWhatItIsAddedTo_andLosesNothingAtTheSeam) {
    for (const bool shown : {true, false}) {
        SoundFolder* sounds = nullptr;
        Desk it({{"SamplingRateNumber", 2},
                 {"ChannelsNumber", 2},
                 {"MarkerSoundName", "Count"},
                 {"MarkerSoundSwitch", true}},
                {countingInput(), deskOutput()}, beforeTen);
        SoundFolder folder(it.desk.folder + "/sounds");
        sounds = &folder;
        std::vector<std::int16_t> marker(2 * 11025);
        for (std::size_t i = 0; i < marker.size(); ++i)
            marker[i] = static_cast<std::int16_t>(1 + i % 97);
        sounds->writeAiff("Count.aiff", 44100, 2, marker);
        it.desk.launch();
        it.recorder().setShown(shown);
        it.desk.runFor(2.0);
        it.recorder().recordButton().press(true);
        it.desk.runFor(130.0);
        it.recorder().recordButton().press(false);
        it.desk.runFor(3.0);
        const auto names = it.recordings();
        ASSERT_EQ(names.size(), 2U);
        ASSERT_EQ(names[1].substr(0, 28), "_Velmoratide_20260302_100000");
        std::vector<int>
            sequence;             // what was added, from the first marker sample on, one marker after the other
        std::vector<int> markers; // in each file
        const auto first = it.samples(names[0]);
        std::int64_t frame = counting::frameOf(first[0], first[1]);
        for (const std::string& name : names) {
            markers.push_back(0);
            std::size_t position = 0; // in the marker
            const auto all = it.samples(name);
            for (std::size_t i = 0; i < all.size(); i += 2, ++frame)
                for (const std::size_t side : {0U, 1U}) {
                    const auto plain = side == 0 ? counting::low(frame) : counting::high(frame);
                    const auto added = static_cast<std::int16_t>(all[i + side] - plain);
                    const int expected = position == 0 && added == 0 ? 0 : marker[position];
                    ASSERT_EQ(added, expected) << name << " frame " << i / 2 << " marker sample " << position;
                    if (expected != 0)
                        position = (position + 1) % marker.size();
                    if (expected != 0 && position == 0)
                        ++markers.back();
                }
            EXPECT_EQ(position, 0U) << "no marker crosses a seam";
        }
        EXPECT_EQ(markers, (std::vector<int>{1, 3})); // 09:59, 10:00
    }
}

TEST(VmRecorderMarker, beginsAtTheFirstFrameOfTheHour_notInTheFileBefore) {
    MarkedDesk it({}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.desk.runFor(1.0);
    it.record(105.0);
    const auto names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    const auto before = it.samples(names[0]);
    EXPECT_EQ(*std::max_element(before.end() - 8000, before.end()), 0);
    const auto after = it.samples(names[1]);
    const auto onset = std::find_if(after.begin(), after.end(), [](int sample) { return sample > 1500; });
    EXPECT_LT(onset - after.begin(), 8000 / 5);
}

TEST(VmRecorderMarker, beginsExactlyAtTheHour_howeverSlowTheDiskIs) {
    for (const double slow : {0.2, 1.0, 4.0, 12.0})
        for (const bool shown : {true, false}) {
            MarkedDesk it({{"MarkerSoundOption", 4}}, {silentInput(8000.0), deskOutput()}, beforeTen);
            it.recorder().setShown(shown);
            it.recorder().recordButton().press(true);
            it.desk.runFor(60.0);
            it.desk.volume.setWriteSeconds(slow);
            it.desk.runFor(120.0);
            it.desk.volume.setWriteSeconds(0.0);
            it.recorder().recordButton().press(false);
            it.desk.runFor(5.0);
            ASSERT_EQ(it.recordings().size(), 2U) << slow;
            const auto before = it.samples(it.recordings()[0]);
            EXPECT_EQ(*std::max_element(before.begin(), before.end()), 0) << slow;
            const auto after = it.samples(it.recordings()[1]);
            EXPECT_GT(after[0], 1500) << slow << shown; // its very first frame
            EXPECT_EQ(it.onsets().size(), 3U) << slow;
        }
}

TEST(VmRecorderMarker, isWholeInOneFile_whenTheClockIsSetALittleAroundTheHour) {
    for (const double by : {-1.9, -0.9, 0.5, 1.5})
        for (const double at : {98.3, 98.9, 99.8, 100.1, 100.4}) { // seconds; the hour comes after 100
            MarkedDesk it({{"MarkerSoundOption", 4}}, {silentInput(8000.0), deskOutput()}, beforeTen);
            it.recorder().recordButton().press(true);
            it.desk.runFor(at);
            it.desk.clock.jump(by);
            it.desk.runFor(140.0 - at);
            it.recorder().recordButton().press(false);
            it.desk.runFor(2.0);
            EXPECT_EQ(it.onsets().size(), 3U) << by << " at " << at;
            const auto names = it.recordings();
            ASSERT_GE(names.size(), 2U);
            for (std::size_t i = 0; i + 1 < names.size(); ++i)
                EXPECT_EQ(it.samples(names[i]).back(), 0) << by << " at " << at;
        }
}

TEST(VmRecorderMarker, isWholeInOneFile_whenTheHourSwitchIsPressedJustBeforeTheHour) {
    for (const bool isOn : {true, false})
        for (const double at : {97.9, 98.3, 99.0, 99.7, 99.97, 99.999}) { // seconds; the hour comes after 100
            MarkedDesk it({{"MarkerSoundOption", 4}, {"StartOnTheHour", !isOn}},
                          {silentInput(8000.0), deskOutput()}, beforeTen);
            it.recorder().recordButton().press(true);
            it.desk.runFor(at);
            it.recorder().hourButton().press(isOn);
            it.desk.runFor(140.0 - at);
            it.recorder().recordButton().press(false);
            it.desk.runFor(2.0);
            EXPECT_EQ(it.onsets().size(), 3U) << at;
            const auto names = it.recordings();
            ASSERT_EQ(names.size(), isOn ? 2U : 1U) << at;
            if (!isOn)
                continue;
            EXPECT_EQ(it.samples(names[0]).back(), 0) << at;
            EXPECT_GT(it.samples(names[1]).front(), 1500) << at; // its very first frame
        }
}

TEST(VmRecorderMarker, goesOnInTheNextFile_whenItIsLongerThanTheFileIs) {
    MarkedDesk it({{"MaxRecordTime", 40.0}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    std::vector<std::int16_t> sound(30 * 8000);
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] = static_cast<std::int16_t>(10 + i % 97);
    it.sounds.writeAiff("Long.aiff", 8000, 1, sound);
    it.recorder().setMarkerSound("Long");
    it.desk.runFor(5.0);
    it.recorder().recordButton().press(true); // ends at 09:59:05 and 09:59:45
    it.desk.runFor(90.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    const auto names = it.recordings();
    ASSERT_EQ(names.size(), 3U);
    std::vector<std::int16_t> heard;
    for (const std::string& name : names)
        for (const std::int16_t sample : it.samples(name))
            if (sample != 0)
                heard.push_back(sample);
    EXPECT_NE(it.samples(names[0]).back(), 0);
    EXPECT_EQ(heard.size(), sound.size());
    const auto cut = std::mismatch(heard.begin(), heard.end(), sound.begin(), sound.end(),
                                   [](int one, int other) { return std::abs(one - other) <= 1; });
    EXPECT_EQ(cut.first - heard.begin(), static_cast<std::ptrdiff_t>(sound.size())); // one whole sound
}

TEST(VmRecorderMarker, soundsAtTheTrueHour_afterTheClockWasSetBack) {
    MarkedDesk it({{"MarkerSoundOption", 4}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.recorder().recordButton().press(true);
    it.desk.runFor(110.0);
    it.desk.clock.jump(-20.0); // 09:59:50
    it.desk.runFor(30.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    EXPECT_EQ(it.onsets().size(), 6U);
}

TEST(VmRecorderMarker, doesNotSoundInAFileThatReachesBackToTheMinute_whenTheMinuteHasPassed) {
    SimulatedDevice input = silentInput(8000.0);
    input.signal.push_back({.at = 110.0, .kind = SimulatedSegment::Kind::constant, .level = 0.02});
    input.signal.push_back({.at = 112.0, .kind = SimulatedSegment::Kind::silence});
    MarkedDesk it(
        {{"RecordMode", 1}, {"AutoStartLevel", 1}, {"PreBufferingSeconds", 10}, {"MarkerSoundOption", 4}},
        {input, deskOutput()}, beforeTen);
    it.recorder().recordButton().press(true);
    it.desk.runFor(150.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    ASSERT_EQ(it.recordings().size(), 1U);
    EXPECT_TRUE(it.onsets().empty());
}

TEST(VmRecorderMarker, soundsAgainAfterEverySplit_alsoAtTheGreatestLength) {
    MarkedDesk it({{"MaxRecordTime", 60.0}}, {silentInput(8000.0), deskOutput()},
                  {.year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 4, .second = 58});
    it.desk.runFor(1.9);
    it.recorder().recordButton().press(true);
    it.desk.runFor(1.0);
    const Date start = it.recorder().recordStartDate();
    it.desk.runFor(300.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    EXPECT_GE(it.recordings().size(), 5U);
    EXPECT_EQ(heard(it, start).times, (std::map<int, int>{{5, 1}, {6, 1}, {7, 1}, {8, 1}, {9, 1}, {10, 1}}));
}

TEST(VmRecorderMarker, isHeardInAutoMode) {
    MarkedDesk it({{"RecordMode", 1}, {"AutoStartLevel", 0}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.desk.runFor(5.0);
    it.record(120.0);
    EXPECT_EQ(it.recordings().size(), 2U);
    EXPECT_EQ(it.onsets().size(), 4U); // 09:59, 10:00
}

TEST(VmRecorderMarker, isHeardInEntriesOfTheTimetable_alsoWhereOneFollowsTheOther) {
    const auto entry = [](const char* name, int start, int stop) {
        return QJsonArray{name, 1, start, stop, 0, 2, 1, 0, 0, 0, 0};
    };
    constexpr int ten = 36000;
    MarkedDesk it({{"TimerList", QJsonArray{entry("One", ten - 60, ten), entry("Two", ten, ten + 90)}}},
                  {silentInput(8000.0), deskOutput()}, beforeTen);
    it.desk.runFor(1.37);
    it.recorder().reserveButton().press(true);
    it.desk.runFor(200.0);
    const auto names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    std::vector<int> times;
    for (const std::string& name : names) {
        times.push_back(0);
        const auto all = it.samples(name);
        for (std::size_t i = 1; i < all.size(); ++i)
            times.back() += all[i] > 1500 && all[i - 1] < 1500 ? 1 : 0;
    }
    EXPECT_EQ(times, (std::vector<int>{1, 4})); // 09:59; 10:00 three times and 10:01
}

TEST(VmRecorderMarker, isSilentOutsideARecording_andInItsFirstMinuteIfItBeganLater) {
    MarkedDesk it({}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.desk.runFor(102.0); // 10:00:02
    it.record(50.0);
    EXPECT_TRUE(it.onsets().empty());
}

TEST(VmRecorderMarker, dropsItsRepeats_whenTheRecordingEnds) {
    MarkedDesk it({}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.desk.runFor(95.0);
    it.record(5.3); // into the second marker of 10:00
    it.record(5.0);
    const auto times = it.onsets();
    EXPECT_EQ(times.size(), 2U);
}

TEST(VmRecorderMarker, isNotCutByItsOwnRepeats_norByTheNextMinute_whenItIsLong) {
    MarkedDesk it({{"MarkerSoundName", "Half"}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    std::vector<std::int16_t> samples(40 * 8000, 1000);
    std::fill_n(samples.begin(), 40, std::int16_t{2000});
    it.sounds.writeAiff("Half.aiff", 8000, 1, samples);
    it.recorder().markerButton().press(true);
    it.desk.runFor(45.0);
    it.record(200.0); // 09:59:05 to 10:02:25
    const auto times = it.onsets();
    ASSERT_EQ(times.size(), 4U); // three from 10:00:00 on, the next at 10:02
    EXPECT_NEAR(times[1] - times[0], 40.0, 0.5);
    EXPECT_NEAR(times[2] - times[1], 40.0, 0.5);
    EXPECT_NEAR(times[3] - times[0], 120.0, 0.5);
}

TEST(VmRecorderMarker, soundsAtEveryMinuteOfTheClock_thoughThatIsSetBackAndForth) {
    MarkedDesk it({}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.desk.runFor(30.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(15.0); // 09:59:05
    it.desk.clock.jump(-20.0);
    it.desk.runFor(40.0); // 09:59:25
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.desk.clock.jump(20.0); // 09:59:45
    it.desk.runFor(1.0);
    it.desk.clock.jump(60.0); // 10:00:46, too late for a marker
    it.desk.runFor(5.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    EXPECT_EQ(it.onsets().size(), 2U); // whenever the clock said 09:59
}

TEST(VmRecorderMarker, followsTheClock_whenThatIsSetBackByHours) {
    MarkedDesk it({}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.recorder().recordButton().press(true);
    it.desk.runFor(45.0); // 09:59:05
    it.desk.clock.jump(-7200.0);
    it.desk.runFor(60.0); // 08:00:05
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    EXPECT_EQ(it.onsets().size(), 4U);
}

TEST(VmRecorderMarker, isPlayedByTheMonitor_whenThatIsWished) {
    for (const std::uint32_t channels : {1U, 2U, 6U})
        for (const auto& [isHeard, isMonitored] :
             {std::pair(true, true), std::pair(false, true), std::pair(true, false)}) {
            MarkedDesk it({{"MarkerSoundMonitor", isHeard}}, {silentInput(8000.0, channels), speakers(8000.0)},
                          beforeTen);
            it.recorder().monitorButton().press(isMonitored);
            std::vector<float> played;
            it.desk.hardware.setOutputSink(
                [&played](const std::string&, const AudioTimeStamp&, const AudioBufferList& list) {
                    const auto* data = static_cast<const float*>(list.mBuffers[0].mData);
                    played.insert(played.end(), data, data + list.mBuffers[0].mDataByteSize / sizeof(float));
                });
            it.record(110.0);
            it.desk.hardware.setOutputSink({});
            EXPECT_EQ(it.onsets().size(), 4U);
            int times = 0;
            int loud = 0;
            for (std::size_t i = 2; i < played.size(); i += 2) {
                times += played[i] > 1500.0F / 32767.0F && played[i - 2] < 1500.0F / 32767.0F ? 1 : 0;
                loud += played[i] != 0.0F ? 1 : 0;
            }
            const int expected = isHeard && isMonitored ? 4 : 0;
            EXPECT_EQ(times, expected) << channels;
            EXPECT_EQ(loud, expected * 2000) << channels;
        }
}
