// What each event of the play tab does, through the real program.
#include "library/RecordNote.h"
#include "rehearsal/RehearsedFolder.h"
#include "storage/FileLock.h"

#include <algorithm>
#include <filesystem>
#include <QJsonArray>

namespace {
using Folder = RehearsedFolder;
using Lines = std::vector<std::string>;
constexpr const char* recordedName = "_Velmoratide_20260302_090005~090105.aif";
const std::string recorded = std::string("record/") + recordedName;

/// Records from 5 to 65 s, goes to the play tab and selects the recording; then `events`, each begun by a
/// comma.
void playWith(Folder& folder, const std::string& events) {
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(
                  Folder::press(5, "record", true) + "," + Folder::press(65, "record", false) +
                  R"(,{"at": 70, "do": "tab", "index": 1}, {"at": 71, "do": "select", "row": 0})" + events +
                  R"(,{"at": 95, "do": "tab", "index": 0})"))),
              0)
        << folder.errors().at(0);
}

bool happened(const Folder& folder, const std::string& name) {
    const auto events = folder.events();
    return std::ranges::find(events, name) != events.end();
}

Lines alerts(const Folder& folder) {
    Lines keys;
    for (const QJsonObject& alert : folder.objects("alerts.jsonl"))
        keys.push_back(alert["message"].toString().toStdString());
    return keys;
}

std::vector<std::int16_t> samplesAt(const std::string& path) {
    PosixVolume volume;
    const auto opened = SoundFile::openForReading(volume, path);
    EXPECT_EQ(opened.error, SoundFileError::none) << path;
    if (opened.file == nullptr)
        return {};
    std::vector<std::int16_t> all(static_cast<std::size_t>(opened.file->byteCount()) / 2);
    opened.file->readSamples(0, all);
    return all;
}
} // namespace

TEST(PlayTabEventsTest, locksTheSelectedRecording_soThatItCannotBeDeleted) {
    Folder folder;
    playWith(folder, R"(,{"at": 72, "do": "lock"}, {"at": 73, "do": "lock", "on": true},
                        {"at": 74, "do": "delete"}, {"at": 75, "do": "note", "text": "no"},
                        {"at": 76, "do": "lock", "on": false})");
    EXPECT_EQ(alerts(folder), (Lines{"RemoveCaution", "FileRemoveError", "FileLockedError"}));
    const std::string path = folder.folder() + "/" + recorded;
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_FALSE(FileLock::isLocked(path));
    PosixVolume volume;
    EXPECT_EQ(RecordNote::read(volume, path), "8000ML") << "the recorder's own";
}

TEST(PlayTabEventsTest, locksAndUnlocks_theOtherWayRoundEachTime) {
    Folder folder;
    playWith(folder, R"(,{"at": 72, "do": "lock"}, {"at": 73, "do": "lock"}, {"at": 74, "do": "lock"})");
    const std::string path = folder.folder() + "/" + recorded;
    EXPECT_TRUE(FileLock::isLocked(path));
    EXPECT_EQ(FileLock::setLocked(path, false), 0); // so that the folder can be removed
}

TEST(PlayTabEventsTest, writesANote_andChangesNoSound) {
    Folder folder;
    playWith(folder, R"(,{"at": 72, "do": "note", "text": "Rain on the roof"})");
    PosixVolume volume;
    EXPECT_EQ(RecordNote::read(volume, folder.folder() + "/" + recorded), "Rain on the roof");
    EXPECT_EQ(folder.samples(recordedName).size(), 480000U);
    EXPECT_TRUE(alerts(folder).empty());
}

TEST(PlayTabEventsTest, deletesTheSelectedRecording_unlessTheCautionIsCancelled) {
    Folder folder;
    playWith(folder, R"(,{"at": 72, "do": "answer", "message": "RemoveCaution", "with": "alternate"},
                        {"at": 73, "do": "delete"})");
    EXPECT_TRUE(std::filesystem::exists(folder.folder() + "/" + recorded));
    EXPECT_FALSE(happened(folder, "SoundFileDelete"));

    Folder other;
    playWith(other, R"(,{"at": 73, "do": "delete"})");
    EXPECT_FALSE(std::filesystem::exists(other.folder() + "/" + recorded));
    EXPECT_TRUE(happened(other, "SoundFileDelete"));
}

TEST(PlayTabEventsTest, exportsTheWholeRecording_underARelativePath) {
    Folder folder;
    playWith(folder, R"(,{"at": 72, "do": "export", "path": "copy"})");
    EXPECT_EQ(Folder::contentsOf(folder.folder() + "/copy.aif"),
              Folder::contentsOf(folder.folder() + "/" + recorded));
    EXPECT_TRUE(happened(folder, "SoundFileCopy"));
}

TEST(PlayTabEventsTest, exportsTheMarkedRange) {
    Folder folder; // 60 s over 480 view points
    playWith(folder, R"(,{"at": 72, "do": "range", "from": 120, "to": 240},
                        {"at": 73, "do": "export", "path": "part.aif"},
                        {"at": 74, "do": "range", "from": 9, "to": 9},
                        {"at": 75, "do": "export", "path": "whole.aif"})");
    const auto all = folder.samples(recordedName);
    ASSERT_EQ(all.size(), 480000U);
    EXPECT_EQ(samplesAt(folder.folder() + "/part.aif"),
              std::vector<std::int16_t>(all.begin() + 120000, all.begin() + 240000));
    EXPECT_EQ(samplesAt(folder.folder() + "/whole.aif"), all);
}

TEST(PlayTabEventsTest, playsSeeksAndStops) {
    Folder folder;
    playWith(folder, R"(,{"at": 72, "do": "play"}, {"at": 75.1, "do": "seek", "to": 30},
                        {"at": 78.6, "do": "stop"})");
    EXPECT_EQ(folder.states("play"), (Lines{"09:00:00.000 false", "09:01:12.000 true", "09:01:18.600 false"}));
    const auto positions = folder.states("playPosition");
    ASSERT_GE(positions.size(), 6U);
    EXPECT_EQ(positions[1].substr(13), "09:00:05") << "of the selection";
    EXPECT_EQ(positions[2].substr(13), "09:00:06");
    EXPECT_NE(std::ranges::find(positions, "09:01:15.100 09:00:35"), positions.end());
    EXPECT_EQ(positions.back().substr(13), "09:00:38");
}

TEST(PlayTabEventsTest, doesNothing_withoutASelection) {
    Folder folder;
    ASSERT_EQ(folder.play(Folder::scenario(Folder::launch(
                  R"({"at": 1, "do": "tab", "index": 1}, {"at": 2, "do": "play"}, {"at": 3, "do": "lock"},
                     {"at": 4, "do": "note", "text": "x"}, {"at": 5, "do": "delete"},
                     {"at": 6, "do": "export", "path": "x"}, {"at": 7, "do": "seek", "to": 5},
                     {"at": 8, "do": "stop"})"))),
              0)
        << folder.errors().at(0);
    EXPECT_TRUE(alerts(folder).empty());
    EXPECT_EQ(folder.states("play"), (Lines{"09:00:00.000 false"}));
    EXPECT_FALSE(std::filesystem::exists(folder.folder() + "/x.aif"));
}

TEST(PlayTabEventsTest, refusesARowThatTheListLacksThen) {
    Folder folder;
    EXPECT_EQ(folder.play(Folder::scenario(Folder::launch(
                  R"({"at": 1, "do": "tab", "index": 1}, {"at": 5, "do": "select", "row": 0})"))),
              2);
    ASSERT_EQ(folder.errors().size(), 1U);
    EXPECT_TRUE(folder.errors()[0].ends_with("launches[0].events[1].row: the list has 0 recordings then"))
        << folder.errors()[0];
}

TEST(PlayTabEventsTest, editsTheTimetable_notTheList_onThePlayTabToo) {
    Folder folder;
    playWith(folder, R"(,{"at": 72, "do": "editTimer", "row": 0, "values": {"name": "Nightly"}},
                        {"at": 73, "do": "export", "path": "copy"})");
    EXPECT_TRUE(std::filesystem::exists(folder.folder() + "/copy.aif"));
    const auto settings = QJsonDocument::fromJson(
                              QByteArray::fromStdString(Folder::contentsOf(folder.folder() + "/settings.json")))
                              .object();
    EXPECT_EQ(settings["TimerList"].toArray().at(0).toArray().at(0).toString(), QLatin1String("Nightly"));

    Folder other; // the timetable has one entry, the list none
    ASSERT_EQ(other.play(Folder::scenario(Folder::launch(
                  R"({"at": 1, "do": "tab", "index": 1}, {"at": 2, "do": "deleteTimer", "row": 0})"))),
              0)
        << other.errors().at(0);
}
