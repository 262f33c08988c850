#include "recorder/RelayFile.h"

#include "recorder/ClockedDesk.h"

#include <filesystem>
#include <numeric>

namespace {
namespace fs = std::filesystem;

/// A desk without a recording, with a closed temporary file of 1000 stereo frames that count.
class RelayFileTest : public testing::Test {
protected:
    RelayFileTest() : sound(2000) {
        std::iota(sound.begin(), sound.end(), std::int16_t{-700});
        const auto made = SoundFile::create(it.desk.files, mechanic().temporaryFilePath(), 8000.0, 2);
        EXPECT_TRUE(made.file->writeSamples(0, sound));
        EXPECT_TRUE(made.file->close());
    }
    VmMechanic& mechanic() { return it.desk.controler->mechanic(); }
    std::vector<std::int16_t> left() { return it.samples(".VelmoratideTempFile"); }
    std::unique_ptr<SoundFile> next() {
        return SoundFile::create(it.desk.volume, it.desk.recordFolder() + "/next.aif", 8000.0, 2).file;
    }
    bool said(const std::string& text) { return it.logged(text) && it.happened("SomeErrorHappen: " + text); }

    ClockedDesk it;
    std::vector<std::int16_t> sound;
    RelayFile relay{it.desk.controler->seams(), mechanic()};
};
} // namespace

TEST_F(RelayFileTest, carriesTheEndOfOneFileToTheBeginningOfTheNext) {
    ASSERT_TRUE(relay.delOverRecordData(600, 4000, 2)); // 150 frames
    EXPECT_EQ(fs::file_size(mechanic().relayFilePath()), 600U);
    EXPECT_EQ(left(), std::vector<std::int16_t>(sound.begin(), sound.end() - 300)); // the header fits it, too
    const auto file = next();
    EXPECT_EQ(relay.addOverRecordData(*file), 600);
    EXPECT_TRUE(file->close());
    EXPECT_EQ(it.samples("next.aif"), std::vector<std::int16_t>(sound.end() - 300, sound.end()));
    EXPECT_FALSE(fs::exists(mechanic().relayFilePath()));
}

TEST_F(RelayFileTest, carriesAllOfAFileOrNothing) {
    EXPECT_FALSE(relay.delOverRecordData(4004, 4000, 2));
    EXPECT_EQ(left(), sound);
    ASSERT_TRUE(relay.delOverRecordData(4000, 4000, 2));
    EXPECT_TRUE(left().empty());
    const auto file = next();
    EXPECT_EQ(relay.addOverRecordData(*file), 4000);
    EXPECT_TRUE(file->close());
    EXPECT_EQ(it.samples("next.aif"), sound);
}

TEST_F(RelayFileTest, saysThatItCannotBeMade_andLeavesTheSoundWhereItIs) {
    fs::create_directories(mechanic().relayFilePath() + "/in the way");
    EXPECT_FALSE(relay.delOverRecordData(600, 4000, 2));
    EXPECT_TRUE(said("VmRecorder: cannot open over record temp file."));
    EXPECT_EQ(left(), sound);
}

TEST_F(RelayFileTest, saysThatTheTemporaryFileCannotBeOpened) {
    fs::remove(mechanic().temporaryFilePath());
    EXPECT_FALSE(relay.delOverRecordData(600, 4000, 2));
    EXPECT_TRUE(said("VmRecorder: cannot open sound record temp file."));
    EXPECT_FALSE(fs::exists(mechanic().relayFilePath()));
}

TEST_F(RelayFileTest, saysThatThereIsNone_andAddsNothing) {
    const auto file = next();
    EXPECT_EQ(relay.addOverRecordData(*file), 0);
    EXPECT_TRUE(it.logged("Cannnot open relay file."));
    EXPECT_TRUE(file->close());
    EXPECT_TRUE(it.samples("next.aif").empty());
}

TEST_F(RelayFileTest, saysThatTheNextFileDoesNotTakeIt_andStays) {
    ASSERT_TRUE(relay.delOverRecordData(600, 4000, 2));
    const auto file = next();
    it.desk.volume.setWriteError(true);
    EXPECT_EQ(relay.addOverRecordData(*file), std::nullopt);
    it.desk.volume.setWriteError(false);
    EXPECT_TRUE(it.logged("Relay file data write error"));
    EXPECT_EQ(fs::file_size(mechanic().relayFilePath()), 600U);
}
