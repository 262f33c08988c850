// Where a recording is split: at the full hour and at the maximum length, whatever the cycles and the disk do.
#include "duty/AlwaysDuty.h"

#include <gtest/gtest.h>

namespace {
SimulatedDevice inputWithCycles(std::uint32_t frames) {
    SimulatedDevice device = countingInput();
    device.minFrames = frames;
    device.maxFrames = frames;
    return device;
}

CalendarDate at(int hour, int minute, int second) {
    return {.year = 2007, .month = 10, .day = 24, .hour = hour, .minute = minute, .second = second};
}

/// Start, each `length` after the last boundary, each full hour, and stop.
std::vector<Date> boundaries(Date start, Date stop, double length) {
    std::vector<Date> moments = {start};
    for (;;) {
        const Date hour = fullHours(moments.back(), moments.back().addingSeconds(3601.0))[0];
        const Date next = std::min(moments.back().addingSeconds(length), hour);
        if (next >= stop)
            break;
        moments.push_back(next);
    }
    moments.push_back(stop);
    return moments;
}

void expectSplits(const CalendarDate& start, double seconds, double length, std::uint32_t cycle) {
    SCOPED_TRACE("cycles of " + std::to_string(cycle) + ", at most " + std::to_string(length) + " seconds");
    Duty duty({.start = start,
               .input = inputWithCycles(cycle),
               .settings = {{"RecordSwitch", true}, {"MaxRecordTime", length}}});
    duty.launch();
    duty.runFor(1.0);
    const Date first = duty.recorder().recordStartDate();
    duty.runFor(seconds);
    duty.stop();
    duty.expectSeamsAt(boundaries(first, duty.recorder().recordStopDate(), length));
}
} // namespace

TEST(Split, comesAfterTheMaximumLengthAndAtTheHour) {
    expectSplits(at(9, 38, 20), 3700.0, 600.0, 441);
}

TEST(Split, comesAtTheHourToo_whenTheMaximumLengthEndsShortlyBefore) {
    expectSplits(at(9, 49, 30), 1300.0, 600.0, 441);
}

TEST(Split, comesAtTheHourToo_whenTheMaximumLengthEndsInTheSecondBefore) {
    expectSplits(at(9, 49, 59), 1300.0, 600.0, 441);
}

TEST(Split, comesAtTheHourToo_whenTheSplitBeforeTakesSeconds) {
    Duty duty({.start = at(9, 49, 50), .settings = {{"RecordSwitch", true}, {"MaxRecordTime", 600.0}}});
    duty.launch();
    duty.runFor(1.0);
    const Date first = duty.recorder().recordStartDate();
    duty.runUntil(at(9, 59, 40));
    duty.desk.volume.setWriteSeconds(7.0);
    duty.runUntil(at(10, 1, 30));
    duty.desk.volume.setWriteSeconds(0.0);
    duty.runUntil(at(10, 3, 0));
    duty.stop();
    duty.expectSeamsAt(boundaries(first, duty.recorder().recordStopDate(), 600.0));
}

TEST(Split, keepsAMaximumLengthThatIsNoWholeMinute) {
    expectSplits(at(9, 20, 7), 3000.0, 437.0, 512);
}

TEST(Split, keepsItsBoundary_whenCyclesDoNotDivideIt) {
    for (const std::uint32_t cycle : {333U, 1000U})
        expectSplits(at(9, 58, 20), 160.0, 3600.0, cycle);
}

TEST(Split, losesNoFrame_whenStopAndStartTakeSeconds) {
    for (const double writing : {3.0, 7.0, 20.0}) {
        SCOPED_TRACE(writing);
        Duty duty({.start = at(9, 58, 20), .settings = {{"RecordSwitch", true}}});
        duty.launch();
        duty.runFor(1.0);
        const Date first = duty.recorder().recordStartDate();
        duty.runUntil(at(9, 59, 50));
        duty.desk.volume.setWriteSeconds(writing);
        duty.runUntil(at(10, 1, 30));
        duty.desk.volume.setWriteSeconds(0.0);
        duty.runUntil(at(10, 3, 0));
        duty.stop();
        duty.expectSeamsAt(boundaries(first, duty.recorder().recordStopDate(), 3600.0));
    }
}

TEST(Split, losesNoFrame_whenTheStopComesRightBehindIt) {
    for (const double later : {-0.3, -0.1, 0.0, 0.1, 0.2, 0.3, 1.0}) {
        SCOPED_TRACE(later);
        Duty duty({.start = at(9, 59, 20), .settings = {{"RecordSwitch", true}}});
        duty.launch();
        duty.runFor(1.0);
        const Date first = duty.recorder().recordStartDate();
        duty.runUntil(duty.desk.clock.dateFromLocal(at(10, 0, 0)).addingSeconds(later));
        duty.stop();
        const Date last = duty.recorder().recordStopDate();
        EXPECT_EQ(duty.check.fault(), "");
        ASSERT_FALSE(duty.check.pieces().empty());
        EXPECT_NEAR(static_cast<double>(duty.check.frames()), last.secondsSince(first) * 44100.0, 4.0);
        EXPECT_NEAR(last.secondsSince(duty.desk.clock.dateFromLocal(at(10, 0, 0))), later, 0.3);
        EXPECT_EQ(duty.messages, std::vector<std::string>{});
    }
}

TEST(Split, doesNotHappen_whenTheHourSwitchIsOff) {
    Duty duty({.start = at(9, 58, 20),
               .settings = {{"RecordSwitch", true}, {"StartOnTheHour", false}, {"MaxRecordTime", 7200.0}}});
    duty.launch();
    duty.runFor(1.0);
    const Date first = duty.recorder().recordStartDate();
    duty.runFor(200.0);
    duty.stop();
    duty.expectSeamsAt({first, duty.recorder().recordStopDate()});
}

namespace {
/// The input is away between these two moments, in seconds from ten o'clock.
void expectLossIsAllThatIsMissing(double gone, double back) {
    SCOPED_TRACE("from " + std::to_string(gone) + " to " + std::to_string(back));
    Duty duty({.start = at(9, 58, 20), .settings = {{"RecordSwitch", true}}});
    const Date hour = duty.desk.clock.dateFromLocal(at(10, 0, 0));
    duty.launch();
    duty.runUntil(hour.addingSeconds(gone));
    duty.desk.hardware.unplug("desk-in");
    duty.runUntil(hour.addingSeconds(back));
    const std::size_t before = duty.check.pieces().size();
    duty.check.expectGap();
    duty.desk.hardware.replug("desk-in");
    duty.runUntil(hour.addingSeconds(60.0));
    duty.stop();
    EXPECT_EQ(duty.check.fault(), "");
    const auto& pieces = duty.check.pieces();
    ASSERT_EQ(pieces.size(), 3U) << testing::PrintToString(duty.names());
    ASSERT_EQ(before, gone < 0.0 ? 1U : 2U);
    constexpr double cycle = 512.0 / 44100.0;
    EXPECT_NEAR(duty.check.dateOf(pieces[before - 1].end).secondsSince(hour), gone, 2 * cycle);
    EXPECT_NEAR(duty.check.dateOf(pieces[before].first).secondsSince(hour), back, 2 * cycle);
    const std::size_t seam = gone > 0.0 ? 0 : 1; // the other one: at the hour
    EXPECT_NEAR(static_cast<double>(pieces[seam].end), static_cast<double>(duty.check.frameAt(hour)), 2.0);
}
} // namespace

TEST(Split, followsAnInputThatComesBackJustBeforeTheHour) {
    expectLossIsAllThatIsMissing(-10.0, -1.0);
    expectLossIsAllThatIsMissing(-5.0, -0.2);
}

TEST(Split, precedesAnInputThatIsLostJustAfterTheHour) {
    expectLossIsAllThatIsMissing(1.0, 4.0);
    expectLossIsAllThatIsMissing(0.2, 3.0);
}

TEST(Split, isLeftOut_whenTheInputIsAwayAtTheHour) {
    Duty duty({.start = at(9, 58, 20), .settings = {{"RecordSwitch", true}}});
    duty.launch();
    duty.runUntil(at(9, 59, 58));
    duty.desk.hardware.unplug("desk-in");
    duty.runUntil(at(10, 0, 3));
    duty.check.expectGap();
    duty.desk.hardware.replug("desk-in");
    duty.runUntil(at(10, 1, 0));
    duty.stop();
    EXPECT_EQ(duty.check.fault(), "");
    ASSERT_EQ(duty.check.pieces().size(), 2U) << testing::PrintToString(duty.names());
    const Date hour = duty.desk.clock.dateFromLocal(at(10, 0, 0));
    constexpr double cycle = 512.0 / 44100.0;
    EXPECT_NEAR(duty.check.dateOf(duty.check.pieces()[0].end).secondsSince(hour), -2.0, 2 * cycle);
    EXPECT_NEAR(duty.check.dateOf(duty.check.pieces()[1].first).secondsSince(hour), 3.0, 2 * cycle);
}
