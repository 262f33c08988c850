#include "recorder/ProgressFile.h"

#include "recorder/ClockedDesk.h"

#include <filesystem>
#include <sys/stat.h>

namespace {
namespace fs = std::filesystem;
using Names = ClockedDesk::Names;

/// A desk without a recording, with a temporary file of ten seconds that is shown under a second name. It is
/// 09:58:20 at first.
class ProgressFileTest : public testing::Test {
protected:
    ProgressFileTest() {
        const auto made = SoundFile::create(it.desk.files, temporary(), 8000.0, 2);
        EXPECT_TRUE(made.file->writeSamples(0, std::vector<std::int16_t>(160000, 100)));
        EXPECT_TRUE(made.file->close());
    }
    std::string temporary() { return it.desk.controler->mechanic().temporaryFilePath(); }
    std::string named(const std::string& name) { return it.desk.recordFolder() + "/" + name; }
    std::string stored() { return it.desk.defaults.stringForKey("ProgressSoundFileName"); }

    ClockedDesk it;
    ProgressFile progress{it.desk.controler->seams(), it.desk.controler->mechanic()};
};
} // namespace

TEST_F(ProgressFileTest, isASecondNameOfTheTemporaryFile_fromTheStartToNow) {
    const Date start = it.desk.clock.now();
    it.until(10.0);
    progress.makeProgressSoundFile(start, false);
    const std::string path = named("_Velmoratide_20260302_095820~095830.aif");
    EXPECT_EQ(stored(), path);
    EXPECT_EQ(progress.path(), path);
    EXPECT_TRUE(fs::equivalent(path, temporary()));
    progress.deleteProgressSoundFile();
    EXPECT_FALSE(fs::exists(path));
    EXPECT_TRUE(fs::exists(temporary()));
    EXPECT_EQ(stored(), "");
}

TEST_F(ProgressFileTest, isHidden_whenItsRecordingWillBe) {
    progress.makeProgressSoundFile(it.desk.clock.now(), true);
    EXPECT_EQ(stored(), named(".Velmoratide_20260302_095820~095820.aif"));
}

TEST_F(ProgressFileTest, saysThatItCannotBeMade_andRemembersNone) {
    fs::remove(temporary());
    progress.makeProgressSoundFile(it.desk.clock.now(), false);
    EXPECT_TRUE(it.logged("Cannot create progress sound file."));
    EXPECT_EQ(stored(), "");
}

TEST_F(ProgressFileTest, isRenamedAndMarkedAndItsHeaderMended_whenItIsRenewed) {
    const Date start = it.desk.clock.now();
    progress.makeProgressSoundFile(start, false);
    const std::string old = stored();
    { // sound came since the header was written
        const auto file = it.desk.files.openForUpdating(temporary());
        const std::vector<std::byte> more(32000);
        ASSERT_EQ(file->writeAt(file->size(), more), 0);
    }
    ASSERT_EQ(it.desk.files.setLocked(old, true), 0);
    it.until(60.0);
    progress.renewalProgressSoundFile(2);
    const std::string path = named("_Velmoratide_20260302_095820~095920.aif");
    EXPECT_EQ(stored(), path);
    EXPECT_FALSE(fs::exists(old));
    EXPECT_TRUE(fs::equivalent(path, temporary()));
    EXPECT_FALSE(it.desk.files.isLocked(path));
    EXPECT_EQ(it.note("_Velmoratide_20260302_095820~095920.aif"), "PROGRESS");
    EXPECT_EQ(it.frames("_Velmoratide_20260302_095820~095920.aif"), 88000);
}

TEST_F(ProgressFileTest, saysThatItCannotBeRenewed_andKeepsItsName) {
    progress.makeProgressSoundFile(it.desk.clock.now(), false);
    const std::string old = stored();
    it.until(60.0);
    std::ofstream(named("_Velmoratide_20260302_095820~095920.aif")) << "somebody else's";
    progress.renewalProgressSoundFile(2);
    EXPECT_TRUE(it.logged("VmRecorder: cannot renewal progress sound file."));
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: cannot renewal progress sound file."));
    EXPECT_EQ(stored(), old);
    EXPECT_TRUE(fs::equivalent(old, temporary()));
}

TEST_F(ProgressFileTest, doesNothing_whenThereIsNone) {
    progress.renewalProgressSoundFile(2);
    progress.deleteProgressSoundFile();
    EXPECT_EQ(stored(), "");
    EXPECT_TRUE(fs::exists(temporary()));
    EXPECT_TRUE(it.desk.log.lines().empty());
}

TEST_F(ProgressFileTest, isUnlockedBeforeItGoes) {
    progress.makeProgressSoundFile(it.desk.clock.now(), false);
    const std::string path = stored();
    ASSERT_EQ(it.desk.files.setLocked(path, true), 0);
    progress.deleteProgressSoundFile();
    EXPECT_FALSE(fs::exists(path));
    EXPECT_FALSE(it.desk.files.isLocked(temporary()));
}
