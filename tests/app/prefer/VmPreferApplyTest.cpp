// Applying, and hiding.
#include "app/prefer/PreferDesk.h"

using Events = std::vector<std::string>;

namespace {
constexpr const char* shown = "_Velmoratide_20260301_093000~101500.aif";
constexpr const char* hidden = ".Velmoratide_20260301_093000~101500.aif";

void makeFile(const PreferDesk& desk, const std::string& name) {
    std::ofstream(desk.desk.recordFolder() + "/" + name) << "sound";
}
bool isThere(const PreferDesk& desk, const std::string& name) {
    return std::filesystem::exists(desk.desk.recordFolder() + "/" + name);
}

/// Every log event but reports of errors.
Events changesOf(const PreferDesk& desk) {
    Events changes;
    for (const std::string& event : desk.events)
        if (event.ends_with("Change"))
            changes.push_back(event);
    return changes;
}
} // namespace

TEST(VmPreferApply, postsNothingAndChangesNothing_withoutChanges) {
    PreferDesk desk;
    desk.desk.controler->saveUserDefaults();
    const QJsonValue before = desk.stored("TimerList");
    std::ifstream settings(desk.folder.path() + "/settings.json");
    const std::string text{std::istreambuf_iterator<char>(settings), {}};
    desk.open();
    desk.prefer().actChangePrefer();
    EXPECT_FALSE(desk.prefer().drawer.isOpen());
    EXPECT_TRUE(desk.events.empty());
    std::ifstream again(desk.folder.path() + "/settings.json");
    EXPECT_EQ(text, (std::string{std::istreambuf_iterator<char>(again), {}}));
    EXPECT_EQ(desk.stored("TimerList"), before);
}

TEST(VmPreferApply, postsOneEventPerChange_inTheOrderOfTheDrawer) {
    PreferDesk desk;
    desk.open();
    VmPrefer& prefer = desk.prefer();
    prefer.recordFolderText.enter(desk.folder.path() + "/tapes");
    prefer.maxTotalText.enter(3);
    prefer.maxRecordPopup.choose(1);
    prefer.markerOptionPopup.choose(2);
    prefer.markerSoundPopup.choose(3);
    prefer.priorText.enter(10);
    prefer.delayText.enter(20);
    prefer.recordModePopup.choose(1);
    prefer.monitorSourcePopup.choose(1);
    prefer.playSourcePopup.choose(1);
    prefer.recordSourcePopup.choose(1);
    prefer.channelsPopup.choose(1);
    prefer.ratePopup.choose(2);
    prefer.okButton.press(true);
    EXPECT_FALSE(prefer.drawer.isOpen());
    EXPECT_EQ(changesOf(desk),
              (Events{"SampleRateChange", "ChannelsChange", "InputSourceChange", "InputSourceChange",
                      "InputSourceChange", "RecordModeChange", "DelayTimeChange", "PreTimeChange",
                      "MarkerSoundChange", "MarkerPeriodChange", "MaxRecordChange", "KeepPeriodChange",
                      "RecordFolderChange"}));
    EXPECT_DOUBLE_EQ(desk.recorder().sampleRate(), 44100.0);
    EXPECT_EQ(desk.recorder().channels(), 2);
    EXPECT_EQ(desk.devicer().recordSource(), 1);
    EXPECT_EQ(desk.devicer().playSource(), 1);
    EXPECT_EQ(desk.devicer().monitorSource(), 1);
    EXPECT_EQ(desk.recorder().recordMode(), 1);
    EXPECT_EQ(desk.recorder().delayTime(), 20);
    EXPECT_EQ(desk.recorder().preBufferSec(), 10);
    EXPECT_EQ(desk.recorder().markerOption(), 2);
    EXPECT_DOUBLE_EQ(desk.mechanic().maxRecordTime(), 7200.0);
    EXPECT_DOUBLE_EQ(desk.mechanic().maxTotalTime(), 259200.0);
    EXPECT_EQ(desk.mechanic().recordFolder(), desk.folder.path() + "/tapes");
}

TEST(VmPreferApply, storesWhatWasApplied_forALaunchAfterACrash) {
    PreferDesk desk;
    desk.open();
    desk.prefer().channelsPopup.choose(1);
    desk.prefer().maxRecordPopup.choose(1);
    desk.prefer().adviceCheck.press(true);
    desk.prefer().adviceSizeText.enter(700);
    desk.prefer().dispTotalCheck.press(true);
    desk.prefer().defReserveDayPopup.choose(5);
    desk.prefer().okButton.press(true);
    EXPECT_EQ(desk.stored("ChannelsNumber").toInt(), 2);
    EXPECT_DOUBLE_EQ(desk.stored("MaxRecordTime").toDouble(), 7200.0);
    EXPECT_TRUE(desk.stored("BackupAdviceOperation").toBool());
    EXPECT_DOUBLE_EQ(desk.stored("BackupAdviceDataSize").toDouble(), 700.0);
    EXPECT_TRUE(desk.stored("DisplayTotalTime").toBool());
    EXPECT_EQ(desk.stored("DefaultReserveDay").toInt(), 5);
}

TEST(VmPreferApply, keepsTheFolder_whenAnotherRecorderUsesTheNewOne) {
    PreferDesk desk;
    std::string asked;
    desk.prefer().setFolderGuard([&](const std::string& folder) {
        asked = folder;
        return false;
    });
    desk.open();
    desk.prefer().recordFolderText.enter(desk.folder.path() + "/tapes/");
    desk.prefer().okButton.press(true);
    EXPECT_EQ(asked, desk.folder.path() + "/tapes");
    EXPECT_EQ(desk.mechanic().recordFolder(), desk.desk.recordFolder());
    EXPECT_TRUE(changesOf(desk).empty());
    EXPECT_EQ(desk.alerts(), Events{"FolderInUse/FolderInUseInfo/Understand"});
}

TEST(VmPreferApply, givesTheReserverItsDefaults) {
    PreferDesk desk;
    desk.open();
    VmPrefer& prefer = desk.prefer();
    prefer.reserveAutoStartupCheck.press(true);
    prefer.verifyDeleteReserveCheck.press(false);
    prefer.defReserveValidCheck.press(false);
    prefer.defReserveNameText.enter("News");
    prefer.defReserveMonthPopup.choose(12);
    prefer.defReserveDayPopup.choose(31);
    prefer.defReserveWeekPopup.choose(7);
    prefer.defReserveRatePopup.choose(2);
    prefer.defReserveChannelsPopup.choose(1);
    prefer.defReserveDevicePopup.choose(1);
    prefer.defReserveModePopup.choose(1);
    prefer.okButton.press(true);
    const VmReserver& reserver = desk.reserver();
    EXPECT_TRUE(reserver.reserveAutoStartup());
    EXPECT_FALSE(reserver.verifyDeleteReserve());
    EXPECT_FALSE(reserver.defReserveValid());
    EXPECT_EQ(reserver.defReserveName(), "News");
    EXPECT_EQ(reserver.defReserveMonth(), 12);
    EXPECT_EQ(reserver.defReserveDay(), 31);
    EXPECT_EQ(reserver.defReserveWeek(), 7);
    EXPECT_EQ(reserver.defReserveRate(), 2);
    EXPECT_EQ(reserver.defReserveChannels(), 2);
    EXPECT_EQ(reserver.defReserveDevice(), 1);
    EXPECT_EQ(reserver.defReserveMode(), 1);
    EXPECT_TRUE(desk.events.empty()); // none of these is logged
}

TEST(VmPreferApply, runsTheDevicesAtTheirHighestRate_withHighQuality) {
    PreferDesk desk;
    desk.open();
    desk.prefer().highQualityCheck.press(true);
    desk.prefer().okButton.press(true);
    EXPECT_DOUBLE_EQ(desk.devicer().recordSampleRate(), 96000.0);
    desk.desk.runFor(1.0);
    EXPECT_TRUE(desk.events.empty());
}

TEST(VmPreferApply, choosesASourceByItsName_whenTheListHasChanged) {
    PreferDesk desk;
    desk.open();
    desk.prefer().playSourcePopup.choose(1);
    desk.desk.hardware.unplug("desk-out");
    desk.desk.runFor(1.0);
    desk.events.clear();
    desk.prefer().okButton.press(true);
    EXPECT_EQ(changesOf(desk), Events{"InputSourceChange"});
    EXPECT_EQ(desk.devicer().playSource(), 0);
    EXPECT_EQ(desk.devicer().sourceNameOfPlaySource(0), "Second output");
}

TEST(VmPreferApply, leavesTheSource_whenTheChosenOneIsGone) {
    PreferDesk desk;
    desk.open();
    desk.prefer().playSourcePopup.choose(1);
    desk.desk.hardware.unplug("desk-out-2");
    desk.desk.runFor(1.0);
    desk.events.clear();
    desk.prefer().okButton.press(true);
    EXPECT_EQ(desk.events,
              Events{"SomeErrorHappen: VmPrefer: the chosen source is not there any more: Second output"});
    EXPECT_TRUE(desk.logged("VmPrefer: the chosen source is not there any more: Second output"));
}

TEST(VmPreferApply, keepsTheMarkOfARunningDuty_whenTheLogBookIsSwitched) {
    PreferDesk desk;
    ASSERT_TRUE(desk.stored("TroubleTermination").toBool());
    desk.open();
    desk.prefer().writeLogCheck.press(false);
    desk.prefer().opacitySlider.move(50); // has every controller store its settings
    desk.prefer().okButton.press(true);
    EXPECT_FALSE(desk.stored("WriteLogBook").toBool());
    EXPECT_NEAR(desk.stored("WindowOpacity").toDouble(), 0.5, 1e-6);
    EXPECT_TRUE(desk.stored("TroubleTermination").toBool()); // a crash now is still told at the next launch
    desk.desk.terminate();
    EXPECT_FALSE(desk.stored("TroubleTermination").toBool());
}

TEST(VmPreferApply, hidesAllRecordings_andShowsThemAgain) {
    PreferDesk desk;
    makeFile(desk, shown);
    desk.open();
    desk.prefer().hideCheck.press(true);
    desk.prefer().okButton.press(true);
    EXPECT_TRUE(isThere(desk, hidden));
    EXPECT_TRUE(desk.recorder().hideSoundFile());
    EXPECT_EQ(desk.mechanic().recordings().size(), 1U);
    EXPECT_TRUE(desk.logged("VmPrefer: 1 sound files are hidden."));
    desk.open();
    desk.prefer().hideCheck.press(false);
    desk.prefer().okButton.press(true);
    EXPECT_TRUE(isThere(desk, shown));
    EXPECT_FALSE(isThere(desk, hidden));
}

TEST(VmPreferApply, asksBeforeRecordingsAreHidden) {
    PreferDesk desk;
    makeFile(desk, shown);
    desk.open();
    desk.desk.alert.answerNext("HideCaution", AlertAnswer::alternateButton);
    desk.prefer().hideCheck.press(true);
    EXPECT_EQ(desk.alerts(), Events{"HideCaution/HideCautionInfo/ExecHide"});
    EXPECT_FALSE(desk.prefer().hideCheck.isOn());
    EXPECT_FALSE(desk.prefer().okButton.enabled());
}

TEST(VmPreferApply, reportsFilesThatCouldNotBeHidden_once) {
    PreferDesk desk;
    makeFile(desk, shown);
    makeFile(desk, hidden);
    desk.open();
    desk.prefer().hideCheck.press(true);
    desk.prefer().okButton.press(true);
    EXPECT_TRUE(isThere(desk, shown));
    EXPECT_TRUE(isThere(desk, hidden));
    EXPECT_EQ(desk.events, Events{"SomeErrorHappen: VmPrefer: 1 sound files could not be hidden or shown."});
    EXPECT_TRUE(desk.logged("VmPrefer: 1 sound files could not be hidden or shown."));
}

TEST(VmPreferApply, recordsHiddenFiles_afterwards) {
    PreferDesk desk;
    desk.open();
    desk.prefer().hideCheck.press(true);
    desk.prefer().okButton.press(true);
    desk.recorder().recordButton().press(true);
    desk.desk.runFor(10.0);
    desk.recorder().recordButton().press(false);
    desk.desk.runFor(1.0);
    ASSERT_EQ(desk.recordings().size(), 1U);
    EXPECT_TRUE(desk.recordings().front().starts_with(".Velmoratide_"));
}
