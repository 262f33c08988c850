#include "keeper/KeepSpace.h"

#include "base/Formatted.h"
#include "rehearsal/RecordedSystemLog.h"
#include "storage/PosixVolume.h"
#include "storage/SpaceVolume.h"
#include "support/TemporaryFolder.h"

#include <fstream>

namespace {
class KeepSpaceTest : public testing::Test {
protected:
    ~KeepSpaceTest() override {
        for (const std::string& name : locked)
            volume.setLocked(path(name), false);
    }
    static std::string hour(int number) {
        return formatted("_Velmoratide_200710%02d_%02d0000~%02d0000.aif.bz2", number / 24 + 1, number % 24,
                         (number + 1) % 24);
    }
    std::string path(const std::string& name) const { return folder.path() + "/" + name; }
    void write(const std::string& name, std::size_t bytes = 10) const {
        std::ofstream(path(name)) << std::string(bytes, 'x');
    }
    void writeHours(int count) const {
        for (int number = 0; number < count; ++number)
            write(hour(number));
    }
    bool has(const std::string& name) { return volume.exists(path(name)); }
    std::size_t files() { return volume.list(folder.path()).size(); }
    void lock(const std::string& name) {
        ASSERT_EQ(volume.setLocked(path(name), true), 0);
        locked.push_back(name);
    }

    TemporaryFolder folder;
    PosixVolume disk;
    SpaceVolume volume{disk};
    RecordedSystemLog log;
    KeepSpace space{volume, log, KeepName("_Velmoratide_", "aif"), folder.path()};
    std::vector<std::string> locked;
};
} // namespace

TEST_F(KeepSpaceTest, deletesNothing_untilThePeriodAndOneRecordingAreFull) {
    writeHours(25);
    EXPECT_EQ(space.totalKeepTime(), 90000.0);
    EXPECT_TRUE(space.secureKeepSpace({.keepPeriod = 1}));
    EXPECT_EQ(files(), 25u);
    writeHours(28);
    EXPECT_TRUE(space.secureKeepSpace({.keepPeriod = 1}));
    EXPECT_EQ(files(), 25u);
    EXPECT_FALSE(has(hour(2)));
    EXPECT_TRUE(has(hour(3)));
    EXPECT_EQ(log.lines().size(), 3u);
}

TEST_F(KeepSpaceTest, neverDeletesALockedOne) {
    writeHours(2);
    lock(hour(0));
    EXPECT_TRUE(space.deleteOlderKeepFile());
    EXPECT_TRUE(has(hour(0)));
    EXPECT_FALSE(has(hour(1)));
    EXPECT_FALSE(space.deleteOlderKeepFile());
}

TEST_F(KeepSpaceTest, neverDeletesWhatIsNoKeptFile) {
    write("_Velmoratide_20071001_000000~010000.aif");
    write("a letter to somebody who is far away from here.txt");
    ASSERT_TRUE(volume.makeFolder(path("_Velmoratide_20071001_000000~010000.aif.bundle")));
    std::filesystem::create_symlink("/etc/hostname", path("_Velmoratide_20071001_000000~010000.aif.lnk"));
    EXPECT_FALSE(space.deleteOlderKeepFile());
    EXPECT_EQ(files(), 4u);
}

TEST_F(KeepSpaceTest, neverDeletesWhatIsBeingCompressed) {
    write("_Velmoratide_20071001_000000~010000.aif");
    write("_Velmoratide_20071001_000000~010000.aif.bz2");
    EXPECT_FALSE(space.deleteOlderKeepFile());
}

TEST_F(KeepSpaceTest, saysNo_whenItHadToDeleteForFreeSpace) {
    writeHours(5);
    volume.free = 100.0;
    volume.freedByRemoving = 10.0;
    EXPECT_FALSE(space.secureKeepSpace({.needFreeKeepSpace = 115.0}));
    EXPECT_EQ(files(), 3u);
    EXPECT_TRUE(space.secureKeepSpace({.needFreeKeepSpace = 115.0}));
    EXPECT_EQ(files(), 3u);
}

TEST_F(KeepSpaceTest, wantsMoreFreeThanItNeeds) {
    writeHours(2);
    volume.free = 115.0;
    EXPECT_TRUE(space.secureKeepSpace({.needFreeKeepSpace = 114.0}));
    EXPECT_EQ(files(), 2u);
    EXPECT_FALSE(space.secureKeepSpace({.needFreeKeepSpace = 115.0}));
    EXPECT_EQ(files(), 1u);
}

TEST_F(KeepSpaceTest, takesNoMoreThanEnough_whereRoomComesBackLate) {
    writeHours(5);
    volume.free = 100.0;
    EXPECT_FALSE(space.secureKeepSpace({.needFreeKeepSpace = 115.0}));
    EXPECT_EQ(files(), 3u) << "two files of ten bytes each will do";
}

TEST_F(KeepSpaceTest, saysNo_whenNothingCanBeDeleted) {
    volume.free = 0.0;
    EXPECT_FALSE(space.secureKeepSpace({.needFreeKeepSpace = 1.0}));
    writeHours(1);
    lock(hour(0));
    EXPECT_FALSE(space.secureKeepSpace({.keepPeriod = 0, .maxRecordTime = 0.0}));
    EXPECT_TRUE(has(hour(0)));
}

TEST_F(KeepSpaceTest, addsUpTheSizesOfAllEntries) {
    write("_Velmoratide_20071001_000000~010000.aif.bz2", 1000);
    write("other", 24);
    EXPECT_EQ(space.totalKeepSpace(), 1024.0);
    write("large");
    std::filesystem::resize_file(path("large"), 3'000'000'000); // takes no room
    EXPECT_EQ(space.totalKeepSpace(), 1024.0 + 2147483647.0);
}
