#include "storage/VmMechanic.h"

#include "storage/MechanicDesk.h"
#include "storage/Paths.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <stdlib.h>

namespace {
using Lines = std::vector<std::string>;
} // namespace

class VmMechanicTest : public testing::Test {
protected:
    SoundStreamDescription stereo() const { return {.mSampleRate = 22050.0, .mChannelsPerFrame = 2}; }
    std::unique_ptr<SoundFile> recorded(const std::string& name, std::size_t samples) {
        auto file = mechanic.createAudioFileWithFormat(stereo(), desk.folder / name);
        EXPECT_NE(file, nullptr);
        EXPECT_TRUE(file->writeSamples(0, std::vector<std::int16_t>(samples)));
        return file;
    }

    MechanicDesk desk;
    VmMechanic mechanic{desk.seams};
};

TEST_F(VmMechanicTest, createsASoundFile_ofTheWantedRateAndChannels) {
    const auto file = recorded("a.aif", 44100);
    const SoundStreamDescription& format = mechanic.audioFormatOutput();
    EXPECT_EQ(format.mSampleRate, 22050.0);
    EXPECT_EQ(format.mFormatID, 0x6C70636Du);
    EXPECT_EQ(format.mFormatFlags, 14u);
    EXPECT_EQ(format.mBytesPerPacket, 4u);
    EXPECT_EQ(format.mFramesPerPacket, 1u);
    EXPECT_EQ(format.mBytesPerFrame, 4u) << "a stereo file has 4 bytes per frame";
    EXPECT_EQ(format.mChannelsPerFrame, 2u);
    EXPECT_EQ(format.mBitsPerChannel, 16u);
    ASSERT_TRUE(file->close());
    EXPECT_EQ(desk.disk.fileSize(desk.folder / "a.aif"), 4096 + 88200);
    EXPECT_TRUE(desk.log.lines().empty());
}

TEST_F(VmMechanicTest, replacesAFile_byCreatingAnother) {
    desk.folder.write("a.aif", std::string(100'000, 'x'));
    EXPECT_NE(mechanic.createAudioFileWithFormat(stereo(), desk.folder / "a.aif"), nullptr);
    EXPECT_EQ(desk.disk.fileSize(desk.folder / "a.aif"), 4096);
}

TEST_F(VmMechanicTest, saysThatAFileCannotBeCreated) {
    EXPECT_EQ(mechanic.createAudioFileWithFormat(stereo(), desk.folder / "none/a.aif"), nullptr);
    EXPECT_EQ(desk.log.lines(), Lines{"VmMechanic: FSPathMakeRef error."});
    EXPECT_EQ(desk.errors(), Lines{"VmMechanic: FSPathMakeRef error."});
    desk.volume.failOpening(true);
    EXPECT_EQ(mechanic.createAudioFileWithFormat(stereo(), desk.folder / "a.aif"), nullptr);
    EXPECT_EQ(desk.log.lines().back(), "VmMechanic: audio file create error.");
    EXPECT_EQ(desk.errors().back(), "VmMechanic: audio file create error.");
}

TEST_F(VmMechanicTest, opensASoundFileForReading) {
    ASSERT_TRUE(recorded("a.aif", 44100)->close());
    const auto file = mechanic.openAIFFFileWithPath(desk.folder / "a.aif");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(mechanic.audioFormatInput(), SoundStreamDescription::ofSoundFile(22050.0, 2));
    EXPECT_EQ(mechanic.numDatas(), 88200);
    EXPECT_EQ(mechanic.audioDataByteCount(*file), 88200);
}

TEST_F(VmMechanicTest, saysWhyAFileCannotBeOpened) {
    EXPECT_EQ(mechanic.openAIFFFileWithPath(desk.folder / "none.aif"), nullptr);
    EXPECT_EQ(desk.log.lines(), Lines{"FSPathMakeRef error."});
    EXPECT_TRUE(desk.errors().empty()) << "this one is no log event";

    ASSERT_TRUE(recorded("a.aif", 100)->close());
    const std::string whole = desk.folder.read("a.aif");
    const std::string open = "VmMechanic: audio file open error.";
    const std::string property1 = "VmMechanic: audio file get property1 error.";
    const std::string property2 = "VmMechanic: audio file get property2 error.";
    for (const auto& [length, message] :
         {std::pair{std::size_t{10}, open}, std::pair{std::size_t{20}, property1},
          std::pair{std::size_t{4090}, property2}}) {
        desk.folder.write("cut.aif", whole.substr(0, length));
        EXPECT_EQ(mechanic.openAIFFFileWithPath(desk.folder / "cut.aif"), nullptr);
        EXPECT_EQ(desk.log.lines().back(), message);
        EXPECT_EQ(desk.errors().back(), message);
    }
    desk.volume.failOpening(true);
    EXPECT_EQ(mechanic.openAIFFFileWithPath(desk.folder / "a.aif"), nullptr);
    EXPECT_EQ(desk.errors(), (Lines{open, property1, property2, open}));
}

TEST_F(VmMechanicTest, repairsAHeader) {
    recorded("a.aif", 44100).reset(); // never closed
    EXPECT_TRUE(mechanic.setAIFFFileHeader(desk.folder / "a.aif", 2));
    const auto file = mechanic.openAIFFFileWithPath(desk.folder / "a.aif");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->frames(), 22050);
    EXPECT_TRUE(desk.errors().empty());
    EXPECT_FALSE(mechanic.setAIFFFileHeader(desk.folder / "none", 2));
    EXPECT_EQ(desk.errors(), Lines{"VmMechanic: audio file header repair error."});
}

TEST_F(VmMechanicTest, keepsItsWorkFilesInTheRecordFolder) {
    EXPECT_EQ(mechanic.temporaryFilePath(), desk.folder / ".VelmoratideTempFile");
    EXPECT_EQ(mechanic.openTempFile(), nullptr);
    recorded(".VelmoratideTempFile", 10);
    const auto file = mechanic.openTempFile();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->truncate(4100), 0);
    EXPECT_EQ(desk.disk.fileSize(mechanic.temporaryFilePath()), 4100);
}

TEST_F(VmMechanicTest, makesReadsAndDeletesTheRelayFile) {
    EXPECT_EQ(mechanic.openRelayFile(), nullptr);
    desk.folder.write(".VelmoratideRelayFile", "left over from another day");
    {
        const auto relay = mechanic.createRelayFile();
        ASSERT_NE(relay, nullptr);
        EXPECT_EQ(desk.folder.read(".VelmoratideRelayFile"), "regular file");
        EXPECT_EQ(relay->truncate(0), 0);
        EXPECT_EQ(relay->writeAt(0, std::as_bytes(std::span("abcd", 4))), 0);
    }
    const auto relay = mechanic.openRelayFile();
    ASSERT_NE(relay, nullptr);
    EXPECT_EQ(relay->size(), 4);
    mechanic.deleteRelayFile();
    EXPECT_FALSE(desk.folder.has(".VelmoratideRelayFile"));
    mechanic.deleteRelayFile();
    EXPECT_TRUE(desk.log.lines().empty());
    desk.volume.failOpening(true);
    EXPECT_EQ(mechanic.createRelayFile(), nullptr);
}

TEST_F(VmMechanicTest, namesTheExtensionOfTheSoundForm) {
    EXPECT_EQ(mechanic.extensionName(), "aif");
    desk.defaults.set("SoundFileForm", 1);
    EXPECT_EQ(VmMechanic(desk.seams).extensionName(), std::nullopt);
}

TEST_F(VmMechanicTest, recognisesItsFiles) {
    EXPECT_TRUE(VmMechanic::isSoundFile("_Velmoratide_20071024_093000~101500.aif"));
    EXPECT_TRUE(VmMechanic::isImageFile("_Velmoratide_20071024_093000~101500.tif"));
}

TEST_F(VmMechanicTest, fallsBackToTheDefaultFolder) {
    const std::string home = desk.folder / "home";
    ASSERT_EQ(setenv("HOME", home.c_str(), 1), 0);
    desk.folder.write("file", "");
    mechanic.setDirPath(desk.folder / "file");
    EXPECT_EQ(desk.log.lines(), Lines{"Data folder is changed to default"});
    EXPECT_EQ(mechanic.recordFolder(), home + "/Documents/VelmoratideRecord");
    EXPECT_TRUE(desk.disk.isFolder(mechanic.recordFolder()));
    EXPECT_EQ(desk.defaults.stringForKey("DirectoryPath"), mechanic.recordFolder());
}

TEST_F(VmMechanicTest, saysThatNoFolderCanBeHad) {
    desk.folder.write("file", "");
    ASSERT_EQ(setenv("HOME", (desk.folder / "file").c_str(), 1), 0);
    mechanic.setDirPath("");
    EXPECT_EQ(desk.errors(), Lines{"VmMechanic: record folder create error."});
}

TEST_F(VmMechanicTest, makesTheFolderOfItsSetting_withTheTildeExpanded) {
    ASSERT_EQ(setenv("HOME", desk.folder.path().c_str(), 1), 0);
    desk.defaults.set("DirectoryPath", std::string_view("~/Music/duty/"));
    const VmMechanic other(desk.seams);
    EXPECT_EQ(other.recordFolder(), desk.folder / "Music/duty");
    EXPECT_TRUE(desk.disk.isFolder(other.recordFolder()));
    EXPECT_EQ(desk.defaults.stringForKey("DirectoryPath"), other.recordFolder());
    EXPECT_EQ(Paths::expandingTilde("~/x"), desk.folder / "x");
}

TEST_F(VmMechanicTest, removesHiddenRecordingsAtLaunch_andNothingElse) {
    const std::string hidden = ".Velmoratide_20071024_093000~101500";
    const std::string visible = "_Velmoratide_20071024_093000~101500.aif";
    std::filesystem::create_directories(desk.folder / "below/deep");
    std::filesystem::create_directories(desk.folder / "outside");
    desk.folder.write("outside/" + hidden + ".aif", "linked");
    std::filesystem::create_directories(desk.folder / "records/below");
    std::filesystem::create_directory_symlink(desk.folder / "outside", desk.folder / "records/link");
    for (const std::string& name :
         {hidden + ".aif", hidden + "+.aif", hidden + ".tif", visible, std::string(".Velmoratide_"),
          std::string(".VelmoratideTempFile"), "below/" + hidden + ".aif", std::string("below/letter.txt")})
        desk.folder.write("records/" + name, "x");
    desk.defaults.set("DirectoryPath", std::string_view(desk.folder / "records"));
    const VmMechanic other(desk.seams);
    Lines left;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(desk.folder / "records"))
        left.push_back(entry.path().lexically_relative(desk.folder / "records").string());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (Lines{".VelmoratideTempFile", ".Velmoratide_", hidden + ".tif", visible, "below",
                           "below/letter.txt", "link"}));
    EXPECT_TRUE(desk.folder.has("outside/" + hidden + ".aif")) << "links are not followed";
    EXPECT_EQ(desk.log.lines().size(), 3u) << "each removal is logged";
}

TEST_F(VmMechanicTest, logsAHiddenRecordingThatStays) {
    std::filesystem::create_directories(desk.folder / ".Velmoratide_folder/full");
    mechanic.deleteDotFileInFolder(desk.folder.path());
    EXPECT_TRUE(desk.folder.has(".Velmoratide_folder/full"));
    ASSERT_EQ(desk.log.lines().size(), 1u);
    EXPECT_NE(desk.log.lines()[0].find("cannot be deleted"), std::string::npos);
}

TEST_F(VmMechanicTest, registersItsSettings) {
    RecordedSystemLog log;
    UserDefaults defaults("", log);
    VmMechanic::registerDefaults(defaults);
    EXPECT_EQ(defaults.stringForKey("DirectoryPath"), "~/Documents/VelmoratideRecord");
    EXPECT_EQ(defaults.integerForKey("SoundFileForm"), 0);
    EXPECT_EQ(defaults.doubleForKey("MaxRecordTime"), 3600.0);
    EXPECT_EQ(defaults.doubleForKey("MaxTotalTime"), 86400.0);
    EXPECT_FALSE(defaults.boolForKey("BackupAdviceOperation"));
    EXPECT_EQ(defaults.doubleForKey("BackupAdviceDataSize"), 4096.0);
}

TEST_F(VmMechanicTest, readsAndWritesItsSettings) {
    mechanic.setMaxRecordTime(1800.0);
    mechanic.setMaxTotalTime(7200.5);
    mechanic.saveUserDefaults();
    desk.defaults.set("BackupAdviceOperation", true);
    desk.defaults.set("BackupAdviceDataSize", 100.0);
    const VmMechanic other(desk.seams);
    EXPECT_EQ(other.maxRecordTime(), 1800.0);
    EXPECT_EQ(other.maxTotalTime(), 7200.5);
    EXPECT_TRUE(other.adviceOperation());
    EXPECT_EQ(other.adviceDataSize(), 100.0);
    EXPECT_EQ(other.recordFolder(), desk.folder.path());
}

TEST_F(VmMechanicTest, usesDefaults_whereSettingsMakeNoSense) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double garbage : {0.0, -3600.0, std::nan(""), infinity, 1e300}) {
        mechanic.setMaxRecordTime(garbage);
        mechanic.setMaxTotalTime(garbage);
        mechanic.setAdviceDataSize(garbage);
        EXPECT_EQ(mechanic.maxRecordTime(), 3600.0);
        EXPECT_EQ(mechanic.maxTotalTime(), 86400.0);
        EXPECT_EQ(mechanic.adviceDataSize(), 4096.0);
    }
    desk.defaults.set("MaxRecordTime", std::string_view("soon"));
    desk.defaults.set("MaxTotalTime", -1.0);
    const VmMechanic other(desk.seams);
    EXPECT_EQ(other.maxRecordTime(), 3600.0);
    EXPECT_EQ(other.maxTotalTime(), 86400.0);
}

TEST_F(VmMechanicTest, knowsTheRoomThatOneRecordingNeeds) {
    EXPECT_EQ(mechanic.maxRecordOne(22050.0, 2), 3600.0f * 22050.0f * 4.0f);
    EXPECT_EQ(mechanic.needFreeSpace(22050.0, 2), 3600.0 * 22050.0 * 4.0 + 41984.0);
    mechanic.setMaxRecordTime(1e9);
    for (const double rate : {std::nan(""), -1.0, 0.0, std::numeric_limits<double>::infinity(), 1e300})
        EXPECT_TRUE(std::isfinite(mechanic.needFreeSpace(rate, 4'000'000'000u)));
}

TEST_F(VmMechanicTest, tellsTheFreeSpaceOfTheRecordFolder) {
    EXPECT_EQ(mechanic.freeSystemSpace().has_value(), true);
    EXPECT_GT(*mechanic.freeSystemSpace(), 0.0);
    std::filesystem::remove_all(desk.folder.path());
    EXPECT_FALSE(mechanic.freeSystemSpace().has_value()) << "not taken for a full disk";
}
