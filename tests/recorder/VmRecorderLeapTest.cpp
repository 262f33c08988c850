// Sound that the device loses without a word.
#include "recorder/ClockedDesk.h"

namespace {
using Names = ClockedDesk::Names;
const std::string back = "is back, no sound since ";

std::ptrdiff_t countWith(const Names& lines, const std::string& part) {
    return std::ranges::count_if(lines,
                                 [&](const std::string& line) { return line.find(part) != std::string::npos; });
}
double gapSeconds(const std::string& report) {
    return std::stod(report.substr(report.rfind(" for ") + 5));
}
} // namespace

TEST(VmRecorderLeap, isReportedWithItsBeginningAndLength_andTheFileEndsThere) {
    for (const double length : {0.7, 1.7, 2.9, 8.0}) {
        for (const bool shown : {true, false}) {
            SCOPED_TRACE(length);
            ClockedDesk it;
            it.recorder().setShown(shown);
            it.recordAt(5.0);
            it.until(30.0);
            it.desk.hardware.stallUntold("desk-in", length);
            it.stopAt(60.0);
            EXPECT_EQ(countWith(it.events, back), 1);
            EXPECT_EQ(countWith(it.desk.log.lines(), back), 1);
            const std::string report = it.eventWith(back);
            ASSERT_FALSE(report.empty());
            EXPECT_NE(report.find("2026-03-02 09:58:49"), std::string::npos) << report; // in a cycle
            EXPECT_NEAR(gapSeconds(report), length, 0.1);
            const Names names = it.recordings();
            ASSERT_EQ(names.size(), 2U);
            EXPECT_EQ(it.breaks({names[0]}) + it.breaks({names[1]}), 0);
            EXPECT_NEAR(static_cast<double>(it.lastFrame(names[0])) / 8000.0, 30.0, 0.07);
            EXPECT_NEAR(static_cast<double>(it.firstFrame(names[1])) / 8000.0, 30.0 + length, 0.07);
            it.expectNamesToAgree();
        }
    }
}

TEST(VmRecorderLeap, isReported_whenNoFileIsOpen) {
    ClockedDesk it;
    it.until(30.0);
    it.desk.hardware.stallUntold("desk-in", 2.0);
    it.until(40.0);
    EXPECT_EQ(countWith(it.events, back), 1);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    EXPECT_TRUE(it.recordings().empty());
}

TEST(VmRecorderLeap, isReportedForEachLoss) {
    ClockedDesk it;
    it.recordAt(5.0);
    for (const double at : {20.0, 30.0, 40.0}) {
        it.until(at);
        it.desk.hardware.stallUntold("desk-in", 1.5);
    }
    it.stopAt(60.0);
    EXPECT_EQ(countWith(it.events, back), 3);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 4U);
    for (const std::string& name : names)
        EXPECT_EQ(it.breaks({name}), 0);
}

TEST(VmRecorderLeap, isToldOnce_whenTheDeviceTellsOfItToo) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.unplugAt(30.0);
    it.replugAt(37.0);
    it.stopAt(60.0);
    EXPECT_EQ(countWith(it.events, back), 1);
    EXPECT_EQ(it.recordings().size(), 2U);
}

TEST(VmRecorderLeap, isNone_whereTheDeviceHandsOnSilenceOrTheMainThreadIsBusy) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.until(20.0);
    it.desk.hardware.stall("desk-in", 2.0);
    it.until(30.0);
    it.desk.clock.sleep(12.0);
    it.stopAt(60.0);
    EXPECT_EQ(countWith(it.events, back), 0);
    EXPECT_EQ(it.recordings().size(), 1U);
}
