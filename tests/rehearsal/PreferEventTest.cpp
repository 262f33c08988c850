// The preferences in a rehearsal.
#include "rehearsal/RehearsedFolder.h"

#include <algorithm>

namespace {
using Folder = RehearsedFolder;
using Names = std::vector<std::string>;

std::string prefer(double at, const std::string& settings) {
    return R"({"at": )" + std::to_string(at) + R"(, "do": "prefer", "settings": {)" + settings + "}}";
}

/// The changes among the log events.
Names changes(const Folder& folder) {
    Names all = folder.events();
    std::erase_if(all, [](const std::string& event) { return !event.ends_with("Change"); });
    return all;
}

QJsonObject stored(const Folder& folder) {
    return QJsonDocument::fromJson(
               QByteArray::fromStdString(Folder::contentsOf(folder.folder() + "/settings.json")))
        .object();
}
} // namespace

TEST(PreferEvent, changesEveryPreference_andLogsTheChangesInOrder) {
    Folder folder;
    const std::string every = R"("SamplingRateNumber": 1, "ChannelsNumber": 2, "RecordMode": 1,
        "AutoStopDelayTime": 12, "PreBufferingSeconds": 20, "SliderAlwaysEnable": true, "DisplayTotalTime": true,
        "AutoRecordStartup": true, "recordSourceDevice": 1, "PlaybackSourceDevice": 1, "MonitorSourceDevice": 1,
        "UseHightQualitySampling": true, "MaxRecordTime": 7200, "MaxTotalTime": 172800, "DirectoryPath": "tapes",
        "HideSoundFileFlag": true, "BackupAdviceOperation": true, "BackupAdviceDataSize": 700,
        "MarkerSoundOption": 2, "MarkerSoundName": "Blow", "MarkerSoundMonitor": true, "DefaultReserveValid": false,
        "DefaultReserveName": "News", "DefaultReserveMonth": 3, "DefaultReserveDay": 4, "DefaultReserveWeek": 5,
        "DefaultReserveRate": 2, "DefaultReserveChannel": 2, "DefaultReserveDevice": 1, "DefaultReserveMode": 1,
        "ReserveAutoStartup": true, "VerifyDeleteTimer": false, "KeepOperation": true,
        "KeepFileKeepFolder": "vault", "KeepFileKeepPeriod": 30, "CommandPathString": "/bin/gzip",
        "CommandArgumentString": "-9 %@", "CompressRatio": 0.5, "CompressTimeLimit": 600,
        "MonitorCommandLine": false, "PeekLevelHoldTime": 2.5, "WindowOpacity": 0.8, "VerifyDelete": false,
        "WriteLogBook": false)";
    std::string scenario =
        Folder::scenario(Folder::launch(prefer(5, every)), R"(, "MarkerSoundName": "Chime")");
    const std::string output =
        R"({"name": "Out", "uid": "out", "direction": "output", "channels": 2, "rates": [8000]})";
    const std::string second =
        R"({"name": "Out 2", "uid": "out2", "direction": "output", "channels": 2, "rates": [8000]},
        {"name": "In 2", "uid": "in2", "direction": "input", "channels": 2, "rates": [8000, 16000]})";
    scenario.replace(scenario.find(output), output.size(), output + ", " + second);
    ASSERT_EQ(folder.play(scenario), 0) << folder.errors().at(0);
    EXPECT_EQ(
        changes(folder),
        (Names{"SampleRateChange", "ChannelsChange", "InputSourceChange", "InputSourceChange",
               "InputSourceChange", "RecordModeChange", "DelayTimeChange", "PreTimeChange", "MarkerSoundChange",
               "MarkerPeriodChange", "MaxRecordChange", "KeepPeriodChange", "RecordFolderChange"}));
    const QJsonObject wanted = QJsonDocument::fromJson(QByteArray::fromStdString("{" + every + "}")).object();
    const QJsonObject settings = stored(folder);
    for (const QString& key : wanted.keys()) {
        const bool isFolder =
            key == QLatin1String("DirectoryPath") || key == QLatin1String("KeepFileKeepFolder");
        if (isFolder) {
            EXPECT_EQ(settings[key].toString().toStdString(),
                      folder.folder() + "/" + wanted[key].toString().toStdString());
        } else if (wanted[key].isDouble()) {
            EXPECT_NEAR(settings[key].toDouble(), wanted[key].toDouble(), 1e-6) << key.toStdString();
        } else {
            EXPECT_EQ(settings[key], wanted[key]) << key.toStdString();
        }
    }
}

TEST(PreferEvent, recordsInTheNewFormat_afterwards) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(
                  prefer(5, R"("ChannelsNumber": 2, "SamplingRateNumber": 1)") + "," +
                  Folder::press(10, "record", true) + "," + Folder::press(20, "record", false)))),
              0);
    ASSERT_EQ(folder.recordings().size(), 1U);
    EXPECT_NEAR(static_cast<double>(folder.samples(folder.recordings()[0]).size()), 2 * 4000 * 10, 4000);
}

TEST(PreferEvent, changesNothing_whileRecordingIsOn) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(Folder::press(5, "record", true) + "," +
                                                          prefer(10, R"("ChannelsNumber": 2)") + "," +
                                                          Folder::press(20, "record", false)))),
              0);
    EXPECT_TRUE(changes(folder).empty());
    EXPECT_EQ(folder.recordings().size(), 1U);
}

TEST(PreferEvent, isApplied_rightAfterTheStop) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(Folder::press(5, "record", true) + "," +
                                                          Folder::press(10, "record", false) + "," +
                                                          prefer(10, R"("ChannelsNumber": 2)")))),
              0);
    EXPECT_EQ(folder.events(),
              (Names{"DutyStart", "RecordingStart", "RecordingStop", "ChannelsChange", "DutyFinish"}));
}

TEST(PreferEvent, logsNothing_withoutAChange) {
    Folder folder;
    ASSERT_EQ(folder.play(
                  Folder::scenario(Folder::launch(prefer(5, R"("ChannelsNumber": 1)") + "," + prefer(6, "")))),
              0);
    EXPECT_TRUE(changes(folder).empty());
}

TEST(PreferEvent, refusesWhatIsNoPreference_beforeTheRehearsal) {
    const std::pair<const char*, const char*> cases[] = {
        {R"("Colour": 1)", "launches[0].events[0].settings.Colour: there is no such setting"},
        {R"("RecordMode": "auto")", "launches[0].events[0].settings.RecordMode: is no number"},
        {R"("MarkerSoundSwitch": true)", "launches[0].events[0].settings.MarkerSoundSwitch: is no preference"},
    };
    for (const auto& [settings, fault] : cases) {
        Folder folder;
        EXPECT_EQ(folder.play(Folder::scenario(Folder::launch(prefer(1, settings)))), 2);
        ASSERT_EQ(folder.errors().size(), 1U);
        EXPECT_NE(folder.errors()[0].find(fault), std::string::npos) << folder.errors()[0];
    }
}

TEST(PreferEvent, refusesAValueThatCannotBeChosen) {
    const std::pair<const char*, const char*> cases[] = {
        {R"("SamplingRateNumber": 3)", "settings.SamplingRateNumber: is none of the 3 choices"},
        {R"("MaxRecordTime": 5000)", "settings.MaxRecordTime: is none of the 23 choices"},
        {R"("PreBufferingSeconds": 80)", "settings.PreBufferingSeconds: is no number from 0 to 79"},
        {R"("MarkerSoundName": "Gong")", "settings.MarkerSoundName: there is no choice \"Gong\""},
        {R"("WindowOpacity": 2)", "settings.WindowOpacity: is no number from 0.1 to 1"},
    };
    for (const auto& [settings, fault] : cases) {
        Folder folder;
        EXPECT_EQ(folder.play(Folder::scenario(Folder::launch(prefer(1, settings)))), 2);
        ASSERT_EQ(folder.errors().size(), 1U);
        EXPECT_NE(folder.errors()[0].find(std::string("launches[0].events[0].") + fault), std::string::npos)
            << folder.errors()[0];
    }
}

TEST(PreferEvent, opensAndClosesFromTheButton) {
    Folder folder;
    const std::string press = R"({"at": 5, "do": "press", "button": "preferences"})";
    ASSERT_EQ(folder.play(Folder::scenario(
                  Folder::launch(press + "," + Folder::press(6, "record", true) + "," +
                                 R"({"at": 7, "do": "press", "button": "preferences"})" + "," +
                                 Folder::press(8, "record", true) + "," + Folder::press(10, "record", false)))),
              0);
    EXPECT_EQ(folder.states("record"),
              (Names{"09:00:00.000 false", "09:00:08.000 true", "09:00:10.000 false"}));
}
