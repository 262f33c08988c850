// Every setting of the drawer, from the store to the control and back.
#include "app/prefer/PreferDesk.h"
#include "keeper/VmKeeper.h"
#include "library/VmPlayer.h"
#include "library/VmPlayList.h"

#include <QJsonDocument>
#include <QJsonObject>

using Events = std::vector<std::string>;

namespace {
/// Another value than the default for each setting that is stored as it is shown.
QJsonObject others() {
    return QJsonDocument::fromJson(R"({"SamplingRateNumber": 2, "ChannelsNumber": 2, "RecordMode": 2,
        "AutoStopDelayTime": 12, "PreBufferingSeconds": 20, "SliderAlwaysEnable": true, "DisplayTotalTime": true,
        "AutoRecordStartup": true, "recordSourceDevice": 1, "PlaybackSourceDevice": 1, "MonitorSourceDevice": 1,
        "UseHightQualitySampling": true, "MaxRecordTime": 10800, "MaxTotalTime": 172800, "HideSoundFileFlag": true,
        "BackupAdviceOperation": true, "BackupAdviceDataSize": 700, "MarkerSoundOption": 4,
        "MarkerSoundName": "Chime", "MarkerSoundMonitor": true, "DefaultReserveValid": false,
        "DefaultReserveName": "News", "DefaultReserveMonth": 3, "DefaultReserveDay": 4, "DefaultReserveWeek": 5,
        "DefaultReserveRate": 2, "DefaultReserveChannel": 2, "DefaultReserveDevice": 1, "DefaultReserveMode": 1,
        "ReserveAutoStartup": true, "VerifyDeleteTimer": false, "KeepOperation": true, "KeepFileKeepPeriod": 30,
        "CommandPathString": "/bin/gzip", "CommandArgumentString": "-9 %@", "CompressRatio": 0.5,
        "CompressTimeLimit": 600, "MonitorCommandLine": false, "PeekLevelHoldTime": 2.5, "WindowOpacity": 0.8,
        "VerifyDelete": false, "WriteLogBook": false})")
        .object();
}

bool isFolder(const PreferItem& item) {
    return item.setting() == "DirectoryPath" || item.setting() == "KeepFileKeepFolder";
}

PreferDesk::Settings settingsOf(const QJsonObject& values) {
    PreferDesk::Settings settings;
    for (const QString& key : values.keys())
        settings.push_back({key.toStdString(), values[key]});
    return settings;
}
} // namespace

TEST(VmPreferEverySetting, isShownAsItIsInForce) {
    const QJsonObject values = others();
    PreferDesk desk(settingsOf(values));
    desk.recorder().recordButton().press(false); // the automatic start
    desk.desk.runFor(1.0);
    desk.open();
    for (const PreferItem& item : desk.prefer().items()) {
        if (isFolder(item))
            continue;
        const QJsonValue value = values.value(QString::fromStdString(item.setting()));
        ASSERT_FALSE(value.isUndefined()) << item.setting();
        EXPECT_NE(value, desk.desk.defaults.registeredDefault(item.setting())) << item.setting();
        EXPECT_EQ(item.enter(value), "") << item.setting();
        EXPECT_FALSE(item.isChanged()) << item.setting();
    }
    EXPECT_EQ(desk.prefer().recordFolderText.text(), desk.desk.recordFolder());
    EXPECT_EQ(desk.prefer().keepFolderText.text(), desk.folder.path() + "/preserve");
    EXPECT_FALSE(desk.prefer().okButton.enabled());
}

TEST(VmPreferEverySetting, isInForceAfterItWasApplied_andNothingElseIs) {
    const QJsonObject values = others();
    for (const QString& key : values.keys()) {
        PreferDesk desk;
        desk.open();
        const PreferItem* const item = desk.prefer().item(key.toStdString());
        ASSERT_NE(item, nullptr) << key.toStdString();
        EXPECT_EQ(item->enter(values[key]), "") << key.toStdString();
        ASSERT_TRUE(desk.prefer().okButton.enabled()) << key.toStdString();
        desk.prefer().okButton.press(true);
        desk.open();
        for (const PreferItem& each : desk.prefer().items()) {
            const bool isIt = &each == item;
            const QJsonValue value = isIt ? values[key] : desk.desk.defaults.registeredDefault(each.setting());
            const bool isText = each.setting() == "MarkerSoundName" || each.setting() == "DefaultReserveName";
            if (isFolder(each) || (!isIt && isText)) // shown otherwise than their defaults are stored
                continue;
            EXPECT_EQ(each.enter(value), "") << each.setting() << " after " << key.toStdString();
            EXPECT_FALSE(each.isChanged()) << each.setting() << " after " << key.toStdString();
        }
    }
}

TEST(VmPreferApply, makesTheMarkerAnew_beforeItTellsOfTheChannels) {
    PreferDesk desk;
    const std::string own = desk.folder.path() + "/sounds/Mine.aiff";
    std::filesystem::create_directory(desk.folder.path() + "/sounds");
    std::filesystem::copy_file(desk.desk.soundFolders.back() + "/Blow.aiff", own);
    desk.recorder().setMarkerSound("Mine");
    desk.recorder().markerButton().press(true);
    desk.events.clear();
    std::filesystem::remove(own);
    desk.open();
    desk.prefer().channelsPopup.choose(1);
    desk.prefer().okButton.press(true);
    EXPECT_EQ(desk.events, (Events{"SomeErrorHappen: VmRecorder: marker sound file open error.",
                                   "MarkerSwitchChange", "ChannelsChange"}));
}

TEST(VmPreferApply, runsTheOutputsAtTheirHighestRate_withHighQuality) {
    PreferDesk desk;
    EXPECT_DOUBLE_EQ(desk.devicer().playSampleRate(), 44100.0);
    desk.open();
    desk.prefer().highQualityCheck.press(true);
    desk.prefer().okButton.press(true);
    EXPECT_DOUBLE_EQ(desk.devicer().playSampleRate(), 96000.0);
    EXPECT_DOUBLE_EQ(desk.devicer().monitorSampleRate(), 96000.0);
}

TEST(VmPreferApply, listsTheRecordingsAnew_whenTheyAreHidden) {
    PreferDesk desk;
    std::ofstream(desk.desk.recordFolder() + "/_Velmoratide_20260301_093000~101500.aif") << "sound";
    VmPlayer& player = desk.desk.controler->player();
    player.renewListAndControl();
    desk.desk.runFor(1.0);
    ASSERT_EQ(player.dataSource().fileNameAtRow(0), "_Velmoratide_20260301_093000~101500.aif");
    desk.open();
    desk.prefer().hideCheck.press(true);
    desk.prefer().okButton.press(true);
    desk.desk.runFor(1.0);
    EXPECT_EQ(player.dataSource().fileNameAtRow(0), ".Velmoratide_20260301_093000~101500.aif");
}

TEST(VmPrefer, plansWithTheRateOfTheChosenInput) {
    SimulatedDevice slow = countingInput();
    slow.name = "Slow input";
    slow.uid = "slow-in";
    slow.dataSources = {};
    slow.rates = {8000.0};
    PreferDesk desk({{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}}, {slow});
    desk.open();
    EXPECT_DOUBLE_EQ(desk.prefer().plan().needPerSecond(), 176400.0);
    desk.prefer().recordSourcePopup.choose(2);
    EXPECT_EQ(desk.prefer().ratePopup.items().back(), "8 kHz");
    EXPECT_DOUBLE_EQ(desk.prefer().plan().needPerSecond(), 32000.0);
    desk.prefer().ratePopup.choose(0);
    EXPECT_DOUBLE_EQ(desk.prefer().plan().needPerSecond(), 8000.0);
}

TEST(VmPreferKeep, reservesRoomOnlyForWhatIsStillToBeRecorded) {
    PreferDesk desk({{"CompressRatio", 0.5}, {"SamplingRateNumber", 2}, {"ChannelsNumber", 2}});
    const std::string half = desk.desk.recordFolder() + "/_Velmoratide_20260301_093000~213000.aif";
    std::ofstream(half) << "sound";
    std::ofstream(desk.folder.path() + "/preserve/kept") << std::string(1000, 'x');
    desk.desk.volume.setFreeBytes(86400.0 * 176400.0 * 3.0);
    desk.open();
    EXPECT_DOUBLE_EQ(desk.prefer().reserveSpace(), 43200.0 * 176400.0);
    EXPECT_EQ(desk.prefer().keepTimeText.text(), "5.0"); // two and a half days at half the size
    desk.prefer().compressRatioHandle({"CompressRatioNotification", "0.25", {}});
    EXPECT_EQ(desk.prefer().keepTimeText.text(), "10.0");
}
