// The waveform picture beside each recording.
#include "recorder/ClockedDesk.h"

#include <filesystem>

namespace {
using Names = ClockedDesk::Names;
} // namespace

TEST(VmRecorderPicture, liesBesideEveryFinishedRecording_hidden) {
    ClockedDesk it({}, slowInput(), {.year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 59});
    it.recordAt(5.0);
    it.until(70.0);
    EXPECT_EQ(it.pictures(), Names{".Velmoratide_20260302_095905~100000.tif"}); // none of the one in progress
    it.stopAt(80.0);
    EXPECT_EQ(it.recordings(),
              (Names{"_Velmoratide_20260302_095905~100000.aif", "_Velmoratide_20260302_100000~100020.aif"}));
    EXPECT_EQ(it.pictures(),
              (Names{".Velmoratide_20260302_095905~100000.tif", ".Velmoratide_20260302_100000~100020.tif"}));
}

TEST(VmRecorderPicture, isThereAtTheQuit_whenTheLastRecordingEndsWithIt) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.until(15.0);
    it.desk.terminate();
    ASSERT_EQ(it.recordings().size(), 1U);
    EXPECT_EQ(it.pictures().size(), 1U);
}

TEST(VmRecorderPicture, isDrawnLater_whenTheDiskFails) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(30.0, true);
    it.until(40.0);
    ASSERT_EQ(it.recordings().size(), 1U);
    EXPECT_TRUE(it.pictures().empty());
    it.writeErrorAt(50.0, false);
    it.stopAt(70.0);
    EXPECT_EQ(it.recordings().size(), 2U);
    EXPECT_EQ(it.pictures().size(), 2U);
    EXPECT_EQ(it.eventWith("VmAnalyzer"), ""); // one fault is enough to tell of
}

TEST(VmRecorderPicture, isMadeOfARescuedRecording) {
    ClockedDesk before;
    before.recordAt(5.0);
    before.until(20.0);
    Desk it;
    std::filesystem::create_directories(it.desk.recordFolder());
    std::filesystem::copy_file(before.desk.recordFolder() + "/.VelmoratideTempFile",
                               it.desk.recordFolder() + "/.VelmoratideTempFile");
    it.desk.launch();
    it.desk.runFor(1.0);
    ASSERT_EQ(it.recordings().size(), 1U);
    EXPECT_EQ(it.pictures().size(), 1U);
}

TEST(VmRecorderPicture, goesWithItsRecording_whenTheBudgetTakesThat) {
    ClockedDesk it({{"MaxTotalTime", 60.0}, {"StartOnTheHour", false}, {"MaxRecordTime", 20.0}});
    it.recordAt(5.0);
    it.stopAt(400.0);
    const Names names = it.recordings();
    EXPECT_EQ(it.pictures().size(), names.size());
    for (const std::string& name : names)
        EXPECT_TRUE(
            std::filesystem::exists(it.desk.recordFolder() + "/." + name.substr(1, name.size() - 4) + "tif"))
            << name;
}

TEST(VmRecorderPicture, leavesTheShownOnesProgressAlone) {
    ClockedDesk it;
    it.recordAt(5.0);
    const std::string events = it.eventWith("VmAnalyzer");
    it.stopAt(15.0);
    EXPECT_EQ(events, "");
    EXPECT_EQ(it.eventWith("VmAnalyzer"), "");
    EXPECT_EQ(it.pictures().size(), 1U);
}
