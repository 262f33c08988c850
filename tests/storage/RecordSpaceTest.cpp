#include "base/Formatted.h"
#include "storage/SpaceDesk.h"

#include <chrono>

class RecordSpaceTest : public SpaceDesk {
protected:
    bool secure() { return mechanic().secureRecordSpace(rate, channels); }
    double need() { return mechanic().needFreeSpace(rate, channels); }
};

// The total time

TEST_F(RecordSpaceTest, deletesNothing_untilMoreThan90000Seconds) {
    recordHours(25);
    EXPECT_EQ(mechanic().recordTotalTime(), 90000.0);
    EXPECT_TRUE(secure());
    EXPECT_EQ(files(), 25u);
    record("_Velmoratide_20071002_010000~010001.aif");
    EXPECT_EQ(mechanic().recordTotalTime(), 90001.0);
    EXPECT_TRUE(secure());
    EXPECT_EQ(files(), 25u);
    EXPECT_FALSE(has(hourOf(1, 0))) << "the oldest one goes";
    EXPECT_EQ(desk.log.lines(),
              Lines{"VmMechanic: recording deleted (total time 90001 s exceeds 86400 s by more "
                    "than 3600 s): " +
                    pathOf(hourOf(1, 0))});
}

TEST_F(RecordSpaceTest, deletesAsManyAsItTakes_oldestFirst) {
    recordHours(48);
    EXPECT_TRUE(secure());
    EXPECT_EQ(mechanic().recordTotalTime(), 90000.0);
    ASSERT_EQ(volume.removed.size(), 23u);
    for (int hour = 0; hour < 23; ++hour)
        EXPECT_EQ(volume.removed[static_cast<std::size_t>(hour)], pathOf(hourOf(1, hour)));
    EXPECT_EQ(logged("recording deleted"), 23u);
}

TEST_F(RecordSpaceTest, takesHiddenRecordingsBeforeVisibleOnes) {
    recordHours(1);
    const std::string hidden = ".Velmoratide_20071231_000000~010000.aif";
    mechanic(); // hidden ones do not survive a launch
    record(hidden);
    EXPECT_TRUE(VmMechanic::isHidedFile(hidden));
    EXPECT_FALSE(VmMechanic::isHidedFile(hourOf(1, 0)));
    EXPECT_EQ(mechanic().recordTotalTime(), 7200.0);
    EXPECT_TRUE(mechanic().deleteOlderFile());
    EXPECT_FALSE(has(hidden));
    EXPECT_TRUE(has(hourOf(1, 0)));
}

TEST_F(RecordSpaceTest, removesHiddenRecordingsAtTheNextLaunch) {
    record(".Velmoratide_20071231_000000~010000.aif");
    recordHours(1);
    mechanic();
    EXPECT_FALSE(has(".Velmoratide_20071231_000000~010000.aif"));
    EXPECT_TRUE(has(hourOf(1, 0)));
}

TEST_F(RecordSpaceTest, keepsALockedHiddenRecordingAtTheNextLaunch) {
    const std::string hidden = ".Velmoratide_20071231_000000~010000.aif";
    record(hidden);
    lock(hidden);
    mechanic();
    EXPECT_TRUE(has(hidden));
    EXPECT_EQ(desk.log.lines(),
              Lines{"VmMechanic: hidden recording stays, for it is locked: " + pathOf(hidden)});
}

TEST_F(RecordSpaceTest, measuresARecordingOverMidnightWithBorrows) {
    record("_Velmoratide_20071024_235950~000010.aif");
    EXPECT_EQ(mechanic().recordTotalTime(), 20.0);
    record("_Velmoratide_20071025_095958~100001.aif");
    EXPECT_EQ(mechanic().recordTotalTime(), 23.0);
    record("_Velmoratide_20071025_120000~115959.aif");
    EXPECT_EQ(mechanic().recordTotalTime(), 23.0 + 86399.0);
}

TEST_F(RecordSpaceTest, neitherCountsNorDeletesLockedRecordings) {
    recordHours(28);
    for (const int hour : {0, 1, 2})
        lock(hourOf(1, hour));
    EXPECT_TRUE(mechanic().isLockedFile(hourOf(1, 0)));
    EXPECT_EQ(mechanic().recordTotalTime(), 90000.0);
    EXPECT_TRUE(secure());
    EXPECT_EQ(files(), 28u);
    record(hourOf(3, 0));
    EXPECT_TRUE(secure());
    EXPECT_EQ(volume.removed, Lines{pathOf(hourOf(1, 3))});
}

TEST_F(RecordSpaceTest, saysNo_whenNothingCanBeDeletedForTheTotalTime) {
    recordHours(26);
    for (int hour = 0; hour < 26; ++hour)
        volume.refused[pathOf(hourOf(1 + hour / 24, hour % 24))] = EACCES;
    EXPECT_FALSE(secure()) << "there is free space, but nothing was deleted";
    EXPECT_EQ(logged("no recording could be deleted (total time 93600 s exceeds 86400 s"), 1u);
    EXPECT_EQ(logged("recording cannot be deleted (Permission denied): "), 26u);
    EXPECT_EQ(desk.errors().size(), 1u) << "one event for the whole clean-up";
}

TEST_F(RecordSpaceTest, goesByTheFreeSpace_whenTooLittleCouldBeDeletedForTheTotalTime) {
    recordHours(27);
    for (int hour = 1; hour < 27; ++hour)
        volume.refused[pathOf(hourOf(1 + hour / 24, hour % 24))] = EACCES;
    EXPECT_TRUE(secure());
    EXPECT_EQ(volume.removed, Lines{pathOf(hourOf(1, 0))});
}

// The free space

TEST_F(RecordSpaceTest, deletesNothing_whileThereIsFreeSpace) {
    recordHours(3);
    volume.free = need() + 1.0;
    EXPECT_TRUE(secure());
    EXPECT_EQ(files(), 3u);
}

TEST_F(RecordSpaceTest, saysNoThoughThereIsRoomNow_havingDeletedForFreeSpace) {
    recordHours(3);
    volume.free = need(); // as much as is needed is not more than is needed
    volume.freedByRemoving = 1.0;
    EXPECT_FALSE(secure());
    EXPECT_EQ(volume.removed, Lines{pathOf(hourOf(1, 0))});
    EXPECT_EQ(desk.log.lines(),
              Lines{"VmMechanic: recording deleted (158801984 bytes free, 158801984 needed): " +
                    pathOf(hourOf(1, 0))});
    EXPECT_TRUE(secure()) << "once is enough";
    EXPECT_EQ(files(), 2u);
}

TEST_F(RecordSpaceTest, saysYes_whenItHadToDeleteForTheTotalTimeToo) {
    recordHours(26);
    volume.free = need() - 1.0;
    volume.freedByRemoving = 1.0;
    EXPECT_TRUE(secure());
    EXPECT_EQ(volume.removed, (Lines{pathOf(hourOf(1, 0)), pathOf(hourOf(1, 1))}));
}

TEST_F(RecordSpaceTest, deletesAllThatIsUnlockedAndEnds_whenTheVolumeNeverGetsFree) {
    recordHours(10);
    lock(hourOf(1, 4));
    volume.free = 0.0;
    EXPECT_FALSE(secure());
    EXPECT_EQ(files(), 1u);
    EXPECT_TRUE(has(hourOf(1, 4)));
    EXPECT_EQ(logged("recording deleted (0 bytes free, 158801984 needed)"), 9u);
    EXPECT_EQ(logged("no recording could be deleted (0 bytes free, 158801984 needed)"), 1u);
}

TEST_F(RecordSpaceTest, stopsAtTheBytesItRemoved_whenTheVolumeGivesThemBackLater) {
    desk.defaults.set("MaxRecordTime", 1.0); // 44100 + 41984 bytes
    for (int hour = 0; hour < 10; ++hour)
        record(hourOf(1, hour), 30'000);
    volume.free = 0.0;
    EXPECT_FALSE(secure());
    EXPECT_EQ(volume.removed.size(), 3u) << "90000 bytes are more than the 86084 needed";
    EXPECT_EQ(logged("90000 bytes were removed but only 0 are free, no more is deleted for now"), 1u);
}

TEST_F(RecordSpaceTest, saysNoAndDeletesNothing_whenAllIsLocked) {
    recordHours(3);
    for (const int hour : {0, 1, 2})
        lock(hourOf(1, hour));
    volume.free = 0.0;
    EXPECT_FALSE(secure());
    EXPECT_EQ(files(), 3u);
    EXPECT_FALSE(mechanic().deleteOlderFile());
    EXPECT_EQ(logged("no recording could be deleted"), 2u);
}

TEST_F(RecordSpaceTest, deletesNothingForAFreeSpaceThatIsUnknown_andSaysSoOnce) {
    recordHours(3);
    volume.free = std::nullopt;
    EXPECT_TRUE(secure());
    EXPECT_TRUE(secure());
    volume.free = std::nan("");
    EXPECT_TRUE(secure());
    EXPECT_EQ(files(), 3u);
    EXPECT_EQ(logged("free space is unknown"), 1u);
    volume.free = 1e15;
    EXPECT_TRUE(secure());
    volume.free = std::nullopt;
    EXPECT_TRUE(secure());
    EXPECT_EQ(logged("free space is unknown"), 2u) << "it was known in between";
}

TEST_F(RecordSpaceTest, deletesNothing_forARateThatMakesNoSense) {
    recordHours(3);
    for (const double garbage : {0.0, -1.0, std::nan("")})
        EXPECT_TRUE(mechanic().secureRecordSpace(garbage, 0));
    EXPECT_EQ(files(), 3u);
}

// Which one

TEST_F(RecordSpaceTest, goesOnWithTheNext_afterAFailedRemoval) {
    recordHours(3);
    volume.refused[pathOf(hourOf(1, 0))] = EIO;
    EXPECT_TRUE(mechanic().deleteOlderFile());
    EXPECT_EQ(volume.removed, Lines{pathOf(hourOf(1, 1))});
    const std::string failure =
        "VmMechanic: recording cannot be deleted (Input/output error): " + pathOf(hourOf(1, 0));
    EXPECT_EQ(desk.log.lines(),
              (Lines{failure, "VmMechanic: recording deleted (asked for): " + pathOf(hourOf(1, 1))}));
    EXPECT_EQ(desk.errors(), Lines{failure});
}

TEST_F(RecordSpaceTest, ends_whenARemovalReportsSuccessButLeavesTheFile) {
    recordHours(2);
    volume.immortal = {pathOf(hourOf(1, 0)), pathOf(hourOf(1, 1))};
    volume.free = 0.0;
    EXPECT_FALSE(secure());
    EXPECT_EQ(logged("recording cannot be deleted (it is still there)"), 2u);
    EXPECT_EQ(logged("recording deleted"), 0u);
}

TEST_F(RecordSpaceTest, leavesTheRecordingInProgressAndTheWorkFilesAlone) {
    recordHours(2);
    record(".VelmoratideTempFile");
    record(".VelmoratideRelayFile");
    desk.defaults.set("ProgressSoundFileName", std::string_view(pathOf(hourOf(1, 0))));
    volume.free = 0.0;
    EXPECT_EQ(mechanic().recordTotalTime(), 3600.0);
    EXPECT_FALSE(secure());
    EXPECT_EQ(volume.removed, Lines{pathOf(hourOf(1, 1))});
    const auto listed = mechanic().recordings();
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_TRUE(listed[0].inProgress);
}

TEST_F(RecordSpaceTest, leavesAllAlone_thatIsNoRecordingOfOurs) {
    const Lines others = {
        "_Velmoratide_20071024_093000~101500+.aif", "_Velmoratide_20071024_093000~101500.aiff",
        "_Velmoratide_20071024_093000~1015000aif",  "XVelmoratide_20071024_093000~101500.aif",
        "_Velmoratide_letter to my dear aunt .aif", "_Velmoratide_20071324_093000~101500.aif",
        "_Velmoratide_20071024_093000~991500.aif",  "_Velmoratide_20071024-093000~101500.aif",
        "_Velmoratide_20071024_093000_101500.aif",  "_Velmoratide_2007\xC3\xA4\xC3\xA4_093000~101500.aif",
        "_Velmoratide_20071024_093000~101500.tif",  "letter.txt"};
    for (const std::string& name : others)
        record(name);
    volume.free = 0.0;
    EXPECT_EQ(mechanic().recordTotalTime(), 0.0);
    EXPECT_FALSE(secure());
    EXPECT_EQ(files(), others.size());
}

TEST_F(RecordSpaceTest, leavesFoldersAndLinksAlone_thatAreNamedLikeRecordings) {
    std::filesystem::create_directory(pathOf(hourOf(1, 0)));
    desk.folder.write("precious", "x");
    std::filesystem::create_symlink(desk.folder / "precious", pathOf(hourOf(1, 1)));
    volume.free = 0.0;
    EXPECT_EQ(mechanic().recordTotalTime(), 0.0);
    EXPECT_FALSE(secure());
    EXPECT_EQ(files(), 2u);
    EXPECT_TRUE(desk.folder.has("precious"));
}

TEST_F(RecordSpaceTest, neverTouchesSubfolders_norDeletesOthersOnTheirAccount) {
    recordHours(2);
    std::filesystem::create_directory(pathOf("2006"));
    std::filesystem::create_directory(pathOf("_Velmoratide_2007"));
    for (int hour = 0; hour < 24; ++hour) {
        record("2006/" + hourOf(1, hour));
        record("2006/" + hourOf(2, hour));
    }
    record("_Velmoratide_2007/024_093000~101500.aif");
    EXPECT_TRUE(secure()) << "50 hours in all, but only 2 of them here";
    volume.free = 0.0;
    EXPECT_FALSE(secure());
    EXPECT_EQ(volume.removed, (Lines{pathOf(hourOf(1, 0)), pathOf(hourOf(1, 1))}));
}

TEST_F(RecordSpaceTest, saysThatTheFolderCannotBeRead) {
    mechanic();
    std::filesystem::remove_all(desk.folder / "records");
    volume.free = 0.0;
    EXPECT_FALSE(secure());
    EXPECT_EQ(desk.log.lines()[0], "VmMechanic: record folder cannot be read (No such file or directory): " +
                                       (desk.folder / "records"));
    EXPECT_EQ(desk.errors().size(), 1u);
}

// What belongs to it

TEST_F(RecordSpaceTest, deletesTheWaveformImageWithItsRecording) {
    recordHours(2);
    const std::string image = ".Velmoratide_20071001_000000~010000.tif";
    const std::string other = ".Velmoratide_20071001_010000~020000.tif";
    record(image);
    record(other);
    EXPECT_TRUE(mechanic().deleteOlderFile());
    EXPECT_FALSE(has(image));
    EXPECT_TRUE(has(other));
    EXPECT_EQ(RecordFolder::imagePath("F/Rabc.aiff"), "F/.abc.tif");
}

TEST_F(RecordSpaceTest, says_thatAWaveformImageStays) {
    recordHours(1);
    const std::string image = ".Velmoratide_20071001_000000~010000.tif";
    record(image);
    volume.refused[pathOf(image)] = EACCES;
    EXPECT_TRUE(mechanic().deleteOlderFile());
    EXPECT_EQ(logged("waveform image cannot be deleted (Permission denied): " + pathOf(image)), 1u);
}

TEST_F(RecordSpaceTest, hasEachRecordingKept_beforeItGoes) {
    recordHours(2);
    Lines asked;
    mechanic().setKeepHook([&](const std::string& path) {
        EXPECT_TRUE(desk.disk.exists(path));
        asked.push_back(path);
        return RecordSpace::Kept::yes;
    });
    EXPECT_TRUE(mechanic().deleteOlderFile());
    EXPECT_EQ(asked, Lines{pathOf(hourOf(1, 0))});
    EXPECT_FALSE(has(hourOf(1, 0)));
}

TEST_F(RecordSpaceTest, leavesWhatCouldNotBeKept) {
    recordHours(2);
    mechanic().setKeepHook([&](const std::string& path) {
        return path == pathOf(hourOf(1, 0)) ? RecordSpace::Kept::no : RecordSpace::Kept::yes;
    });
    EXPECT_TRUE(mechanic().deleteOlderFile());
    EXPECT_EQ(volume.removed, Lines{pathOf(hourOf(1, 1))});
    EXPECT_EQ(logged("recording stays, for it was not kept: " + pathOf(hourOf(1, 0))), 1u);
    EXPECT_FALSE(mechanic().deleteOlderFile());
}

TEST_F(RecordSpaceTest, leavesWhatWasLockedWhileItWasKept) {
    recordHours(1);
    mechanic().setKeepHook([&](const std::string&) {
        lock(hourOf(1, 0));
        return RecordSpace::Kept::yes;
    });
    EXPECT_FALSE(mechanic().deleteOlderFile());
    EXPECT_TRUE(has(hourOf(1, 0)));
}

TEST_F(RecordSpaceTest, saysOnce_thatARecordingIsNotKept) {
    recordHours(1);
    mechanic().setKeepHook([](const std::string&) { return RecordSpace::Kept::no; });
    for (int pass = 0; pass < 3; ++pass)
        EXPECT_FALSE(mechanic().deleteOlderFile());
    EXPECT_EQ(logged("recording stays, for it was not kept: " + pathOf(hourOf(1, 0))), 1u);
    EXPECT_TRUE(has(hourOf(1, 0)));
}

TEST_F(RecordSpaceTest, deletesLater_whatIsBeingKept) {
    recordHours(2);
    mechanic().setKeepHook([](const std::string&) { return RecordSpace::Kept::underWay; });
    EXPECT_TRUE(mechanic().deleteOlderFile());
    EXPECT_TRUE(has(hourOf(1, 0)));
    EXPECT_TRUE(volume.removed.empty());
    EXPECT_TRUE(mechanic().deleteKept(pathOf(hourOf(1, 0))));
    EXPECT_EQ(volume.removed, Lines{pathOf(hourOf(1, 0))});
    EXPECT_EQ(logged("recording deleted (asked for): " + pathOf(hourOf(1, 0))), 1u);
}

TEST_F(RecordSpaceTest, keepsAskingForNoMore_whileEnoughIsBeingKept) {
    recordHours(27);
    Lines asked;
    mechanic().setKeepHook([&](const std::string& path) {
        asked.push_back(path);
        return RecordSpace::Kept::underWay;
    });
    EXPECT_TRUE(secure());
    EXPECT_EQ(asked, (Lines{pathOf(hourOf(1, 0)), pathOf(hourOf(1, 1))}));
    EXPECT_TRUE(volume.removed.empty());
}

TEST_F(RecordSpaceTest, leavesWhatWasLockedWhileItWasBeingKept) {
    recordHours(1);
    mechanic().setKeepHook([](const std::string&) { return RecordSpace::Kept::underWay; });
    EXPECT_TRUE(mechanic().deleteOlderFile());
    lock(hourOf(1, 0));
    EXPECT_FALSE(mechanic().deleteKept(pathOf(hourOf(1, 0))));
    EXPECT_TRUE(has(hourOf(1, 0)));
}

// Large folders

TEST_F(RecordSpaceTest, triesEachOfAHundredThousandOnce_whenNoneCanBeDeleted) {
    recordHours(1);
    for (int number = 0; number < 100'000; ++number) // listed, but there is nothing behind these names
        volume.strangeNames.push_back(formatted("_Velmoratide_2008%02d%02d_%02d%02d%02d~%02d5959.aif",
                                                number / 60'000 + 1, number / 3600 % 28 + 1, number / 3600 % 24,
                                                number / 60 % 60, number % 60, number / 3600 % 24));
    volume.free = 0.0;
    volume.refused[pathOf(hourOf(1, 0))] = EACCES;
    EXPECT_FALSE(secure());
    EXPECT_EQ(logged("recording cannot be deleted"), 100'001u);
    EXPECT_EQ(logged("no recording could be deleted"), 1u);
    EXPECT_EQ(desk.errors().size(), 1u);
}

TEST_F(RecordSpaceTest, securesAFolderOfStrangeNamesInAnInstant) {
    for (int number = 0; number < 100'000; ++number)
        volume.strangeNames.push_back("_Velmoratide_strange " + std::to_string(number) + " name");
    recordHours(25);
    mechanic();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(secure());
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    RecordProperty("microseconds", static_cast<int>(taken.count() * 1e6));
    EXPECT_LT(taken.count(), 10.0);
    EXPECT_EQ(files(), 25u);
}
