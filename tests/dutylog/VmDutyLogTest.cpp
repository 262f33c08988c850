#include "dutylog/LogDesk.h"
#include "dutylog/LogText.h"

namespace {
const std::string settingsOfTheDesk = "\tsample rate\t= 8000Hz\n"
                                      "\tchannels\t= stereo\n"
                                      "\tinput device\t= Internal microphone\n"
                                      "\trecord mode\t= always\n"
                                      "\ton the hour\t= ON\n"
                                      "\tprior time\t= 3seconds\n"
                                      "\tdelay time\t= 5seconds\n"
                                      "\trecord folder\t= FOLDER/record\n"
                                      "\tkeep period\t= 1days\n"
                                      "\tmax record\t= 1hours\n"
                                      "\ttime marker\t= OFF\n"
                                      "\tmarker interval\t= 1minutes\n"
                                      "\tmarker sound\t= \n"
                                      "\n";
const std::string officer = "\tDUTY OFFICER\t= rehearsal\n\n";

struct VmDutyLogTest : testing::Test {
    TemporaryFolder folder;
};
} // namespace

TEST_F(VmDutyLogTest, beginsWithItsTitle_theOfficerAndAllSettings) {
    LogDesk it(folder);
    it.desk.launch();
    EXPECT_EQ(it.book(),
              "\t=== Log title ===\n" + officer + "2007.10.24 09:30:00 DUTY START\n" + settingsOfTheDesk);
    EXPECT_TRUE(it.desk.defaults.boolForKey("TroubleTermination"));
    EXPECT_EQ(it.desk.defaults.stringForKey("LastPatrolDate"), "2007-10-24 09:30:00 +0900");
    EXPECT_EQ(it.log().logBookPath(), it.path());
}

TEST_F(VmDutyLogTest, showsTheSettingsInForce) {
    LogDesk it(folder, morning,
               {{"SamplingRateNumber", 1},
                {"ChannelsNumber", 1},
                {"RecordMode", 1},
                {"StartOnTheHour", false},
                {"PreBufferingSeconds", 10},
                {"AutoStopDelayTime", 25},
                {"MaxTotalTime", 86400.0 * 8 - 1},
                {"MaxRecordTime", 7199.0},
                {"MarkerSoundSwitch", true},
                {"MarkerSoundOption", 4},
                {"MarkerSoundName", "Blow"}});
    it.desk.launch();
    EXPECT_EQ(it.book(), "\t=== Log title ===\n" + officer +
                             "2007.10.24 09:30:00 DUTY START\n"
                             "\tsample rate\t= 4000Hz\n"
                             "\tchannels\t= monoral\n"
                             "\tinput device\t= Internal microphone\n"
                             "\trecord mode\t= auto\n"
                             "\ton the hour\t= NO\n"
                             "\tprior time\t= 10seconds\n"
                             "\tdelay time\t= 25seconds\n"
                             "\trecord folder\t= FOLDER/record\n"
                             "\tkeep period\t= 7days\n"
                             "\tmax record\t= 1hours\n"
                             "\ttime marker\t= ON\n"
                             "\tmarker interval\t= 30minutes\n"
                             "\tmarker sound\t= Blow\n"
                             "\n");
}

TEST_F(VmDutyLogTest, writesTheDutyTimeAtTheEnd_withoutABlankLine) {
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    it.desk.runFor(3725.0);
    it.desk.terminate();
    EXPECT_EQ(it.added(), "2007.10.24 10:32:05 DUTY FINISH\n\tduty time\t= 01:02'05\"\n");
    EXPECT_FALSE(it.desk.defaults.boolForKey("TroubleTermination"));
    it.post("SomeErrorHappen", "too late");
    EXPECT_EQ(it.added(), "");
}

TEST_F(VmDutyLogTest, writesErrorsAndReportsWithTheirMessage) {
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    it.desk.runFor(1.0);
    it.post("SomeErrorHappen", "VmRecorder: audio file write error.");
    EXPECT_EQ(it.added(), "2007.10.24 09:30:01 ERROR HAPPEN\n\tVmRecorder: audio file write error.\t\n\n");
    it.post("SomeReportHappen", "録音 is back");
    EXPECT_EQ(it.added(), "2007.10.24 09:30:01 REPORT HAPPEN\n\t録音 is back\t\n\n");
    it.recorder().willSleepHandle();
    EXPECT_EQ(it.added(), "2007.10.24 09:30:01 REPORT HAPPEN\n\tVmRecorder: Sleep in.\t\n\n");
    it.desk.runFor(1.0);
    it.recorder().didWakeHandle();
    EXPECT_EQ(it.added(), "2007.10.24 09:30:02 REPORT HAPPEN\n\tVmRecorder: Wake up.\t\n\n");
    it.post("SomeErrorHappen");
    EXPECT_EQ(it.added(), "2007.10.24 09:30:02 ERROR HAPPEN\n\t\t\n\n");
}

TEST_F(VmDutyLogTest, takesNoEntryFromAMessage) {
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    it.post("SomeErrorHappen", "bad\n2007.1.1 00:00:00 DUTY FINISH");
    EXPECT_EQ(it.added(), "2007.10.24 09:30:00 ERROR HAPPEN\n\tbad 2007.1.1 00:00:00 DUTY FINISH\t\n\n");
}

TEST_F(VmDutyLogTest, ignoresAnyOtherEvent) {
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    it.post("OutputSourceChange");
    it.post("");
    it.post("recordingstart");
    EXPECT_EQ(it.added(), "");
}

TEST_F(VmDutyLogTest, namesTheFilesOfThePlayer) {
    LogDesk it(folder);
    it.desk.launch();
    it.log().setPlayerFilesHook([] {
        return VmDutyLog::PlayerFiles{"from.aif", "to.aif", "gone.aif", ".gone.tiff"};
    });
    it.added();
    it.post("SoundFileCopy");
    EXPECT_EQ(it.added(), "2007.10.24 09:30:00 SOUND FILE COPY\n\toriginal\t= from.aif\n\tcopy\t= to.aif\n\n");
    it.post("SoundFileDelete");
    EXPECT_EQ(it.added(),
              "2007.10.24 09:30:00 SOUND FILE DELETE\n\tdelete\t= gone.aif\n\tdelete\t= .gone.tiff\n\n");
}

TEST_F(VmDutyLogTest, saysThatTheMarkerIsSwitchedOff_whenItsSoundIsMissingAtTheLaunch) {
    Settings settings = fullRateStereo;
    settings.push_back({"MarkerSoundSwitch", true});
    settings.push_back({"MarkerSoundName", "Gone"});
    LogDesk it(folder, morning, settings);
    it.desk.launch();
    EXPECT_NE(it.book().find("\ttime marker\t= ON\n"), std::string::npos);
    EXPECT_TRUE(it.book().ends_with("2007.10.24 09:30:00 ERROR HAPPEN\n"
                                    "\tVmRecorder: marker sound file open error.\t\n\n"
                                    "2007.10.24 09:30:00 MARKER SWITCH CHANGED\n\ttime marker\t= OFF\n\n"))
        << it.book();
}

TEST_F(VmDutyLogTest, writesEachChangeWithTheValueInForce) {
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    const auto expectChange = [&it](const char* event, const std::string& block) {
        it.post(event);
        EXPECT_EQ(it.added(), "2007.10.24 09:30:00 " + block + "\n\n") << event;
    };
    expectChange("HourSwitchChange", "ON THE HOUR SWITCH CHANGED\n\ton the hour\t= ON");
    it.recorder().setStartOnTheHour(false);
    expectChange("HourSwitchChange", "ON THE HOUR SWITCH CHANGED\n\ton the hour\t= OFF");
    expectChange("SampleRateChange", "SAMPLING RATE CHANGED\n\tsample rate\t= 8000Hz");
    it.recorder().setChannels(1);
    expectChange("ChannelsChange", "RECORD CHANNELS CHANGED\n\tchannels\t= monoral");
    it.desk.controler->devicer().changeRecordSource(1);
    expectChange("InputSourceChange", "INPUT SOURCE CHANGED\n\tinput source\t= Line In");
    expectChange("RecordModeChange", "RECORD MODE CHANGED\n\trecord mode\t= always");
    expectChange("PreTimeChange", "PRIOR TIME CHANGED\n\tprior time\t= 3seconds");
    expectChange("DelayTimeChange", "DELAY TIME CHANGED\n\tdelay time\t= 5seconds");
    it.recorder().markerButton().press(true); // posts by itself
    EXPECT_EQ(it.added(), "2007.10.24 09:30:00 MARKER SWITCH CHANGED\n\ttime marker\t= ON\n\n");
    it.recorder().setMarkerOption(3);
    expectChange("MarkerPeriodChange", "MARKER INTERVAL CHANGED\n\tmarker interval\t= 15minutes");
    it.recorder().setMarkerSound("Knock");
    expectChange("MarkerSoundChange", "MARKER SOUND CHANGED\n\tmarker sound\t= Knock");
    VmMechanic& mechanic = it.desk.controler->mechanic();
    mechanic.setMaxRecordTime(2 * 3600.0 + 3599.0);
    expectChange("MaxRecordChange", "MAX RECORD CHANGED\n\tmax record\t= 2hours");
    mechanic.setMaxTotalTime(30 * 86400.0);
    expectChange("KeepPeriodChange", "KEEP PERIOD CHANGED\n\tkeep period\t= 30days");
    mechanic.setDirPath(folder.path() + "/elsewhere");
    expectChange("RecordFolderChange", "RECORD FOLDER CHANGED\n\trecord folder\t= FOLDER/elsewhere");
}

TEST_F(VmDutyLogTest, numbersTheRecordingsOfEachDutyFromOne) {
    for (int duty = 0; duty < 2; ++duty) {
        LogDesk it(folder);
        it.desk.launch();
        for (int recording = 1; recording <= 2; ++recording) {
            it.added();
            it.recorder().recordButton().press(true);
            it.desk.runFor(2.0);
            it.recorder().recordButton().press(false);
            it.desk.runFor(2.0);
            const std::string number = " #00000" + std::to_string(recording) + "\n";
            const std::string added = it.added();
            EXPECT_NE(added.find("RECORDING START" + number), std::string::npos) << added;
            EXPECT_NE(added.find("RECORDING STOP" + number), std::string::npos) << added;
        }
        it.desk.terminate();
    }
}

TEST_F(VmDutyLogTest, tellsOfNoLoss_ofCleanRecordingsOfAnyLength) {
    LogDesk it(folder, morning, {{"SamplingRateNumber", 1}, {"ChannelsNumber", 1}}, 44100.0);
    it.desk.launch();
    for (int recording = 0; recording < 40; ++recording) {
        it.added();
        it.recorder().recordButton().press(true);
        it.desk.runFor(1.0 + recording * 0.137);
        it.recorder().recordButton().press(false);
        it.desk.runFor(2.0);
        const std::string added = it.added();
        EXPECT_NE(added.find("\tlost data\t= 0bytes(0.000000seconds, 0.000000%)\n"), std::string::npos)
            << added;
    }
}

TEST_F(VmDutyLogTest, writesNoBook_whileItIsSwitchedOff_evenIfItIsSwitchedOnLater) {
    Settings settings = fullRateStereo;
    settings.push_back({"WriteLogBook", false});
    {
        LogDesk it(folder, morning, settings);
        it.desk.launch();
        EXPECT_FALSE(it.log().writeLog());
        it.log().setWriteLog(true);
        it.log().saveUserDefaults();
        it.recorder().recordButton().press(true);
        it.desk.runFor(700.0);
        it.post("SomeErrorHappen", "unheard");
        EXPECT_FALSE(it.hasBook());
        EXPECT_FALSE(it.desk.defaults.boolForKey("TroubleTermination"));
        it.recorder().recordButton().press(false);
        it.desk.terminate();
        EXPECT_FALSE(it.hasBook());
    }
    LogDesk next(folder);
    next.desk.launch();
    EXPECT_TRUE(next.hasBook());
}

TEST_F(VmDutyLogTest, isReplacedByANewOne_afterANormalQuit) {
    {
        LogDesk it(folder);
        it.desk.launch();
        it.post("SomeReportHappen", "of the first duty");
        it.desk.terminate();
    }
    LogDesk next(folder, {.year = 2007, .month = 10, .day = 25, .hour = 8});
    next.desk.launch();
    EXPECT_EQ(next.book(),
              "\t=== Log title ===\n" + officer + "2007.10.25 08:00:00 DUTY START\n" + settingsOfTheDesk);
}

TEST_F(VmDutyLogTest, goesOnAfterACrash_datedByTheRecordingThatItLeft) {
    std::string old;
    {
        LogDesk it(folder);
        it.desk.launch();
        it.recorder().recordButton().press(true);
        it.desk.runFor(100.0);
        old = it.book();
    }
    LogDesk next(folder, {.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 45});
    next.desk.launch();
    const std::string added = next.book().substr(old.size());
    EXPECT_TRUE(next.book().starts_with(old));
    const std::string crash = "2007.10.24 09:31:35 CRASH TROUBLE\n\n"
                              "2007.10.24 09:45:00 TROUBLE RESTART\n\n" +
                              officer + "2007.10.24 09:45:00 DUTY START\n" + settingsOfTheDesk;
    EXPECT_EQ(added, crash + "2007.10.24 09:45:00 REPORT HAPPEN\n"
                             "\tVmRecorder: last recording file is rescued.\t\n\n");
    EXPECT_EQ(LogText::dateString(next.desk.clock, next.recorder().lastCrashDate()), "2007.10.24 09:31:35");
}

TEST_F(VmDutyLogTest, goesOnAfterACrash_datedByThePatrol) {
    std::string old;
    {
        LogDesk it(folder);
        it.desk.launch();
        it.desk.runFor(899.0);
        old = it.book();
    }
    LogDesk next(folder, {.year = 2007, .month = 10, .day = 24, .hour = 10});
    next.desk.launch();
    EXPECT_EQ(next.book(), old +
                               "2007.10.24 09:40:00 TROUBLE STOP\n\n"
                               "2007.10.24 10:00:00 TROUBLE RESTART\n\n" +
                               officer + "2007.10.24 10:00:00 DUTY START\n" + settingsOfTheDesk);
}

TEST_F(VmDutyLogTest, saysThatTheDateOfACrashIsUnknown) {
    for (const char* patrol : {"", "some day"}) {
        const TemporaryFolder place;
        {
            LogDesk it(place);
            it.desk.launch();
            it.desk.defaults.set("LastPatrolDate", std::string_view(patrol));
            it.desk.defaults.synchronize();
        }
        LogDesk next(place, {.year = 2007, .month = 10, .day = 24, .hour = 10});
        next.desk.launch();
        EXPECT_NE(
            next.book().find("\n\n(date unknown) TROUBLE STOP\n\n2007.10.24 10:00:00 TROUBLE RESTART\n\n"),
            std::string::npos)
            << next.book();
    }
}

TEST_F(VmDutyLogTest, beginsAFreshBook_whenTheOneOfACrashIsGone) {
    {
        LogDesk it(folder);
        it.desk.launch();
        std::filesystem::remove(it.path());
    }
    LogDesk next(folder, {.year = 2007, .month = 10, .day = 24, .hour = 10});
    next.desk.launch();
    EXPECT_EQ(next.book(),
              "\t=== Log title ===\n" + officer + "2007.10.24 10:00:00 DUTY START\n" + settingsOfTheDesk);
}

TEST_F(VmDutyLogTest, patrolsEveryFiveMinutes_alsoWithoutABook) {
    LogDesk it(folder, morning, {{"WriteLogBook", false}});
    it.desk.launch();
    EXPECT_EQ(it.desk.defaults.stringForKey("LastPatrolDate"), "");
    it.desk.runFor(299.0);
    EXPECT_EQ(it.desk.defaults.stringForKey("LastPatrolDate"), "");
    it.desk.runFor(2.0);
    EXPECT_EQ(it.desk.defaults.stringForKey("LastPatrolDate"), "2007-10-24 09:35:00 +0900");
    it.desk.runFor(3600.0);
    EXPECT_EQ(it.desk.defaults.stringForKey("LastPatrolDate"), "2007-10-24 10:35:00 +0900");
}

TEST_F(VmDutyLogTest, knowsALogFileByItsName) {
    EXPECT_TRUE(VmDutyLog::isLogFile("VelmoratideLog.txt"));
    EXPECT_TRUE(VmDutyLog::isLogFile("VelmoratideLog."));
    EXPECT_FALSE(VmDutyLog::isLogFile("VelmoratideLog"));
    EXPECT_FALSE(VmDutyLog::isLogFile("VelmoratideLogs.txt"));
    EXPECT_FALSE(VmDutyLog::isLogFile(""));
}

TEST_F(VmDutyLogTest, keepsUserDefaultsOfItsOwn) {
    LogDesk it(folder);
    it.desk.launch();
    it.log().setWriteLog(false);
    it.desk.terminate();
    EXPECT_FALSE(it.desk.defaults.boolForKey("WriteLogBook"));
    EXPECT_FALSE(it.desk.defaults.boolForKey("TroubleTermination"));
}
