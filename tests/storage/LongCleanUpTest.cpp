// A clean-up of very many recordings: in stretches, with time for the window between them.
#include "storage/SpaceDesk.h"

class LongCleanUpTest : public SpaceDesk {
protected:
    /// Every deletion takes `seconds`.
    explicit LongCleanUpTest(double seconds = 1.5) {
        volume.beforeRemoving = [this, seconds] { desk.clock.sleep(seconds); };
    }
    bool secure() { return mechanic().secureRecordSpace(rate, channels); }
    void pass(double seconds) { desk.runLoop.runFor(seconds); }
    /// The hours from the first on that are gone; -1 when others are.
    int hoursGone(int of) {
        int gone = 0;
        while (gone < of && !has(hourOf(1 + gone / 24, gone % 24)))
            ++gone;
        return static_cast<int>(files()) == of - gone ? gone : -1;
    }
};

TEST_F(LongCleanUpTest, deletesForAWhile_andGoesOnBetweenOtherWork) {
    recordHours(48); // 23 are too many
    EXPECT_TRUE(secure());
    EXPECT_EQ(hoursGone(48), 2) << "the third would begin after 2 s";
    pass(0.1);
    EXPECT_EQ(hoursGone(48), 4);
    pass(200.0);
    EXPECT_EQ(hoursGone(48), 23);
    EXPECT_EQ(mechanic().recordTotalTime(), 90000.0);
}

TEST_F(LongCleanUpTest, deletesTheSameInTheSameOrder_withTheSameLines) {
    recordHours(48);
    EXPECT_TRUE(secure());
    pass(200.0);
    Lines expected;
    for (int hour = 0; hour < 23; ++hour)
        expected.push_back("VmMechanic: recording deleted (total time " + std::to_string(172800 - hour * 3600) +
                           " s exceeds 86400 s by more than 3600 s): " + pathOf(hourOf(1, hour)));
    EXPECT_EQ(desk.log.lines(), expected);
}

TEST_F(LongCleanUpTest, triesOnceWhatCannotBeDeleted_andSaysOneEvent) {
    recordHours(48);
    for (const int hour : {0, 1, 5})
        volume.refused[pathOf(hourOf(1, hour))] = EACCES;
    EXPECT_TRUE(secure());
    pass(200.0);
    EXPECT_EQ(volume.removed.size(), 23U);
    EXPECT_EQ(logged("recording cannot be deleted (Permission denied): "), 3U);
    EXPECT_EQ(desk.errors().size(), 1U);
    EXPECT_EQ(mechanic().recordTotalTime(), 90000.0);
}

TEST_F(LongCleanUpTest, ends_whenNothingIsLeftToDelete) {
    recordHours(48);
    for (int hour = 10; hour < 48; ++hour)
        volume.refused[pathOf(hourOf(1 + hour / 24, hour % 24))] = EACCES;
    EXPECT_TRUE(secure());
    pass(200.0);
    EXPECT_EQ(volume.removed.size(), 10U);
    EXPECT_EQ(logged("no recording could be deleted (total time"), 1U);
    pass(100.0);
    EXPECT_EQ(logged("recording cannot be deleted"), 38U);
}

TEST_F(LongCleanUpTest, deletesNoMoreThanItMust_whenOthersGoOrAreLockedMeanwhile) {
    recordHours(48);
    EXPECT_TRUE(secure());
    for (int hour = 36; hour < 42; ++hour)
        std::filesystem::remove(pathOf(hourOf(2, hour - 24)));
    lock(hourOf(1, 3));
    lock(hourOf(2, 23));
    pass(200.0);
    EXPECT_EQ(mechanic().recordTotalTime(), 90000.0);
    EXPECT_TRUE(has(hourOf(1, 3)));
    EXPECT_EQ(volume.removed.size(), 23U - 6U - 2U);
    EXPECT_EQ(logged("cannot be deleted"), 0U);
}

TEST_F(LongCleanUpTest, ends_whenMoreIsAllowedMeanwhile_andDeletesNoMoreForLess) {
    recordHours(48);
    EXPECT_TRUE(secure());
    mechanic().setMaxTotalTime(40 * 3600.0);
    pass(200.0);
    EXPECT_EQ(hoursGone(48), 7);
    mechanic().setMaxTotalTime(36 * 3600.0);
    EXPECT_TRUE(secure());
    EXPECT_EQ(hoursGone(48), 9);
    mechanic().setMaxTotalTime(3600.0);
    pass(200.0);
    EXPECT_EQ(hoursGone(48), 11) << "less is for the next recording to ask for";
}

TEST_F(LongCleanUpTest, doesNotWait_whileThereIsTooLittleFreeSpace) {
    recordHours(48);
    volume.free = 0.0;
    volume.freedByRemoving = mechanic().needFreeSpace(rate, channels) / 10.0 + 1.0;
    EXPECT_TRUE(secure());
    EXPECT_EQ(hoursGone(48), 10) << "then there is room for the recording";
    pass(200.0);
    EXPECT_EQ(hoursGone(48), 23);
}

TEST_F(LongCleanUpTest, isTheNextOnes_whenAnotherRecordingBegins) {
    recordHours(48);
    EXPECT_TRUE(secure());
    EXPECT_TRUE(secure());
    EXPECT_EQ(hoursGone(48), 4);
    pass(0.1);
    EXPECT_EQ(hoursGone(48), 6) << "there is one timer, not two";
}

TEST_F(LongCleanUpTest, leavesTheFolderAlone_thatIsTheRecordFolderNoMore) {
    recordHours(48);
    EXPECT_TRUE(secure());
    mechanic().setDirPath(desk.folder / "other");
    pass(200.0);
    EXPECT_EQ(hoursGone(48), 2);
}

TEST_F(LongCleanUpTest, leavesTheRecordingInProgressAlone) {
    recordHours(48);
    EXPECT_TRUE(secure());
    desk.defaults.set("ProgressSoundFileName", std::string_view(pathOf(hourOf(1, 2))));
    pass(200.0);
    EXPECT_TRUE(has(hourOf(1, 2)));
    EXPECT_EQ(mechanic().recordTotalTime(), 90000.0);
}
