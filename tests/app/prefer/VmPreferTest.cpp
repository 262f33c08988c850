// Opening, closing, limits and figures.
#include "app/MainWindowModel.h"
#include "app/prefer/PreferDesk.h"

#include <QJsonArray>

using Events = std::vector<std::string>;
using Alerts = std::vector<std::string>;

TEST(VmPrefer, opensWithTheSettingsInForce) {
    PreferDesk desk({{"SamplingRateNumber", 2},
                     {"ChannelsNumber", 2},
                     {"RecordMode", 1},
                     {"AutoStopDelayTime", 7},
                     {"PreBufferingSeconds", 9},
                     {"MaxRecordTime", 7200},
                     {"MaxTotalTime", 259200},
                     {"MarkerSoundOption", 3},
                     {"PeekLevelHoldTime", 2.5},
                     {"WindowOpacity", 0.8},
                     {"DefaultReserveWeek", 4},
                     {"DefaultReserveChannel", 2}});
    desk.open();
    VmPrefer& prefer = desk.prefer();
    EXPECT_EQ(prefer.ratePopup.selected(), 2);
    EXPECT_EQ(prefer.ratePopup.items(), (std::vector<std::string>{"11.025 kHz", "22.05 kHz", "44.1 kHz"}));
    EXPECT_EQ(prefer.channelsPopup.selected(), 1);
    EXPECT_EQ(prefer.recordModePopup.selected(), 1);
    EXPECT_EQ(prefer.delayText.integerValue(), 7);
    EXPECT_EQ(prefer.priorText.integerValue(), 9);
    EXPECT_EQ(prefer.maxRecordPopup.selected(), 1);
    EXPECT_DOUBLE_EQ(prefer.maxTotalText.value(), 3.0);
    EXPECT_EQ(prefer.markerOptionPopup.selected(), 3);
    EXPECT_DOUBLE_EQ(prefer.peekHoldText.value(), 2.5);
    EXPECT_EQ(prefer.opacitySlider.value(), 80);
    EXPECT_EQ(prefer.defReserveWeekPopup.selected(), 4);
    EXPECT_EQ(prefer.defReserveChannelsPopup.selected(), 1);
    EXPECT_EQ(prefer.recordFolderText.text(), desk.desk.recordFolder());
    EXPECT_EQ(prefer.playSourcePopup.items().size(), 2U);
}

TEST(VmPrefer, offersTheMarkerSoundsByTheirNames) {
    PreferDesk desk;
    desk.open();
    const auto& sounds = desk.prefer().markerSoundPopup.items();
    EXPECT_NE(std::ranges::find(sounds, "Blow"), sounds.end());
}

TEST(VmPrefer, offersAMarkerSoundThatIsGone_asLongAsItIsChosen) {
    PreferDesk desk({RehearsalDesk::Setting{"MarkerSoundName", "Gong"}});
    desk.open();
    VmPrefer& prefer = desk.prefer();
    EXPECT_EQ(prefer.markerSoundPopup.items().back(), "Gong");
    EXPECT_EQ(prefer.markerSoundPopup.selected(), static_cast<int>(prefer.markerSoundPopup.items().size()) - 1);
    EXPECT_FALSE(prefer.okButton.enabled());
}

TEST(VmPrefer, disablesTheRecordButton_whileItIsOpen) {
    PreferDesk desk;
    desk.open();
    EXPECT_FALSE(desk.recorder().recordButton().enabled());
    EXPECT_FALSE(desk.recorder().sourcePopup().enabled());
    desk.prefer().cancelButton.press(true);
    EXPECT_FALSE(desk.prefer().drawer.isOpen());
    EXPECT_FALSE(desk.prefer().preferButton.isOn());
    EXPECT_TRUE(desk.recorder().recordButton().enabled());
}

TEST(VmPrefer, keepsTheRecordButtonDisabled_afterwards_whileTheTimetableIsOn) {
    const QJsonArray night = {"Night", 1, 79200, 82800, 0, 1, 1, 0, 0, 0, 0};
    PreferDesk desk({RehearsalDesk::Setting{"TimerList", QJsonArray({QJsonValue(night)})}});
    desk.open();
    desk.recorder().reserveButton().press(true);
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    desk.prefer().cancelButton.press(true);
    EXPECT_FALSE(desk.recorder().recordButton().enabled());
    EXPECT_FALSE(desk.prefer().preferButton.enabled());
}

TEST(VmPrefer, cannotBeOpened_whileRecordingIsOn) {
    PreferDesk desk;
    desk.recorder().recordButton().press(true);
    EXPECT_FALSE(desk.prefer().preferButton.enabled());
    desk.prefer().preferButton.press(true);
    EXPECT_FALSE(desk.prefer().drawer.isOpen());
    desk.recorder().recordButton().press(false);
    EXPECT_TRUE(desk.prefer().preferButton.enabled());
}

TEST(VmPrefer, finishesTheFileFirst_whenItIsOpenedRightAfterTheStop) {
    PreferDesk desk;
    desk.recorder().recordButton().press(true);
    desk.desk.runFor(10.0);
    desk.recorder().recordButton().press(false);
    desk.open();
    EXPECT_NE(desk.recorder().condition(), RecordCondition::recording);
}

TEST(VmPrefer, appliesNothing_whenARecordingBeganMeanwhile) {
    PreferDesk desk;
    desk.open();
    desk.prefer().channelsPopup.choose(1);
    ASSERT_TRUE(desk.prefer().okButton.enabled());
    desk.recorder().recordButton().setOn(true); // not by hand: it goes on after a fault of the disk
    desk.recorder().actRecordButton();
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    EXPECT_FALSE(desk.prefer().channelsPopup.enabled());
    desk.prefer().actChangePrefer();
    EXPECT_EQ(desk.recorder().channels(), 1);
    desk.recorder().recordButton().setOn(false);
    desk.recorder().actRecordButton();
    EXPECT_TRUE(desk.prefer().okButton.enabled());
}

TEST(VmPrefer, opensNothing_whenTheGateRefuses) {
    PreferDesk desk({RehearsalDesk::Setting{"AuthorizationRequired", true}});
    desk.desk.administratorRight.setGranted(false);
    desk.prefer().preferButton.press(true);
    EXPECT_FALSE(desk.prefer().drawer.isOpen());
    EXPECT_FALSE(desk.prefer().preferButton.isOn());
    EXPECT_TRUE(desk.recorder().recordButton().enabled());
    desk.desk.administratorRight.setGranted(true);
    desk.prefer().preferButton.press(true);
    EXPECT_TRUE(desk.prefer().drawer.isOpen());
}

TEST(VmPrefer, closesFromItsButton_onlyWhileNothingIsChanged) {
    PreferDesk desk;
    desk.open();
    desk.prefer().channelsPopup.choose(1);
    EXPECT_TRUE(desk.prefer().okButton.enabled());
    desk.prefer().preferButton.press(false);
    EXPECT_TRUE(desk.prefer().drawer.isOpen());
    EXPECT_TRUE(desk.prefer().preferButton.isOn());
    desk.prefer().channelsPopup.choose(0);
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    desk.prefer().preferButton.press(false);
    EXPECT_FALSE(desk.prefer().drawer.isOpen());
}

TEST(VmPrefer, refusesTwoHours_whenHalfTheFreeSpaceIsLess) {
    PreferDesk desk({{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}});
    desk.open();
    desk.desk.volume.setFreeBytes(2147483648.0);
    desk.prefer().maxRecordPopup.choose(1);
    EXPECT_EQ(desk.alerts(), Alerts{"TooBigError/SelectSmaller/Understand"});
    EXPECT_EQ(desk.prefer().maxRecordPopup.selected(), 0);
    desk.prefer().maxRecordPopup.choose(0);
    EXPECT_EQ(desk.alerts().size(), 1U); // one hour is accepted
}

TEST(VmPrefer, refusesATotalTime_thatTakesMoreThanTheFreeSpace) {
    PreferDesk desk({{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}});
    desk.open();
    desk.desk.volume.setFreeBytes(2.0 * 24.0 * 635044096.0);
    desk.prefer().maxTotalText.enter(2.0);
    EXPECT_TRUE(desk.alerts().empty());
    EXPECT_DOUBLE_EQ(desk.prefer().maxTotalText.value(), 2.0);
    desk.prefer().maxTotalText.stepBy(1);
    EXPECT_EQ(desk.alerts(), Alerts{"TooLongError/SelectShorter/Understand"});
    EXPECT_DOUBLE_EQ(desk.prefer().maxTotalText.value(), 1.0);
}

TEST(VmPrefer, showsTheFiguresOfTheChoice) {
    PreferDesk desk({{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}});
    desk.open();
    desk.desk.volume.setFreeBytes(10737418240.0);
    desk.desk.runFor(2.5); // they are live
    EXPECT_EQ(desk.prefer().freeSpaceText.text(), "10.00");
    EXPECT_EQ(desk.prefer().freeTimeText.text(), "17"); // 16.9
    EXPECT_EQ(desk.prefer().needTotalText.text(), "14.19");
    EXPECT_EQ(desk.prefer().needTotalText.color(), TextColor::red);
    desk.prefer().channelsPopup.choose(0);
    EXPECT_EQ(desk.prefer().freeTimeText.text(), "34");
    EXPECT_EQ(desk.prefer().needTotalText.text(), "7.10");
    EXPECT_EQ(desk.prefer().needTotalText.color(), TextColor::black);
}

TEST(VmPrefer, givesTheOpacityBack_onCancel) {
    PreferDesk desk({RehearsalDesk::Setting{"WindowOpacity", 0.855}});
    std::vector<float> seen;
    MainWindowModel& window = desk.desk.controler->mainWindow();
    window.observe([&] { seen.push_back(window.opacity()); });
    desk.open();
    desk.prefer().opacitySlider.move(40);
    EXPECT_FLOAT_EQ(desk.desk.controler->opacity(), 0.4f);
    desk.prefer().cancelButton.press(true);
    EXPECT_FLOAT_EQ(desk.desk.controler->opacity(), 0.855f);
    EXPECT_EQ(seen, (std::vector<float>{0.4f, 0.855f}));
    EXPECT_DOUBLE_EQ(desk.stored("WindowOpacity").toDouble(), 0.855);
}

TEST(VmPrefer, refusesAFolderThatIsAFile) {
    PreferDesk desk;
    std::ofstream(desk.folder.path() + "/file") << "text";
    desk.open();
    desk.prefer().recordFolderText.enter(desk.folder.path() + "/file");
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    EXPECT_FALSE(desk.prefer().messageText.text().empty());
    desk.prefer().recordFolderText.enter("tapes");
    EXPECT_FALSE(desk.prefer().okButton.enabled());
    desk.prefer().recordFolderText.enter(desk.folder.path() + "/tapes");
    EXPECT_TRUE(desk.prefer().okButton.enabled());
    EXPECT_TRUE(desk.prefer().messageText.text().empty());
}

TEST(VmPrefer, offersTheRatesOfTheChosenInput) {
    PreferDesk desk;
    desk.open();
    desk.prefer().recordSourcePopup.choose(1);
    EXPECT_EQ(desk.prefer().ratePopup.items().back(), "44.1 kHz");
    EXPECT_EQ(desk.prefer().ratePopup.selected(), 1);
}

TEST(VmPrefer, remembersTheLastPage) {
    PreferDesk desk;
    desk.open();
    desk.prefer().pages.choose(3);
    EXPECT_EQ(desk.stored("LastSelectedTabIndex").toInt(), 3);
}

TEST(VmPrefer, hasATextForEveryCaption_andALineOfHelpForEverySetting) {
    PreferDesk desk;
    for (const char* language : {"en", "ja", "de"}) {
        const Texts texts = Texts::forLanguage(language);
        for (const PreferItem& item : desk.prefer().items()) {
            EXPECT_TRUE(texts.has(item.captionKey())) << item.captionKey();
            EXPECT_TRUE(texts.has(item.helpKey())) << item.helpKey();
            EXPECT_TRUE(texts.has(PreferControls::pageKey(item.page())));
        }
    }
}

TEST(VmPrefer, namesTheUnitOfEveryNumber) {
    PreferDesk desk;
    const Texts texts = Texts::forLanguage("en");
    for (const PreferItem& item : desk.prefer().items()) {
        const bool isNumber = std::holds_alternative<NumberField*>(item.controlOf()) ||
                              std::holds_alternative<Slider*>(item.controlOf());
        if (isNumber) {
            EXPECT_NE(texts(item.captionKey()).find('('), std::string::npos) << item.captionKey();
        }
    }
}
