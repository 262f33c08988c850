#include "storage/FileLock.h"

#include "storage/FileFolder.h"
#include "storage/SpaceDesk.h"
#include "support/PlainUser.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {
mode_t modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777u;
}
} // namespace

class FileLockTest : public testing::Test {
protected:
    FileLockTest() { folder.write("a", "x"); }
    ~FileLockTest() override { FileLock::setLocked(a, false); }

    FileFolder folder;
    const std::string a = folder / "a";
};

TEST_F(FileLockTest, locksAndUnlocks) {
    EXPECT_FALSE(FileLock::isLocked(a));
    EXPECT_EQ(FileLock::setLocked(a, true), 0);
    EXPECT_TRUE(FileLock::isLocked(a));
    EXPECT_EQ(FileLock::setLocked(a, true), 0);
    EXPECT_EQ(FileLock::setLocked(a, false), 0);
    EXPECT_FALSE(FileLock::isLocked(a));
    EXPECT_EQ(modeOf(a), 0644u) << "as it was";
    EXPECT_EQ(FileLock::setLocked(a, false), 0);
}

TEST_F(FileLockTest, usesTheImmutableFlag_whereItMay) {
    if (const int error = FileLock::setImmutable(a, true); error != 0)
        GTEST_SKIP() << "no immutable flag here: " << std::strerror(error);
    EXPECT_TRUE(FileLock::isLocked(a));
    EXPECT_EQ(PosixVolume().remove(a), EPERM) << "the kernel guards it as well";
    ASSERT_EQ(FileLock::setLocked(a, false), 0);
    ASSERT_EQ(FileLock::setLocked(a, true), 0);
    EXPECT_EQ(PosixVolume().remove(a), EPERM);
    EXPECT_EQ(modeOf(a), 0644u);
    EXPECT_EQ(FileLock::setLocked(a, false), 0);
    EXPECT_EQ(PosixVolume().remove(a), 0);
}

TEST_F(FileLockTest, takesAFileWithoutWritePermissionForLocked_alsoAsSuperuser) {
    EXPECT_EQ(FileLock::setWritable(a, false), 0);
    EXPECT_EQ(modeOf(a), 0444u);
    EXPECT_TRUE(FileLock::isLocked(a));
    ASSERT_EQ(::chmod(a.c_str(), 0466), 0);
    EXPECT_TRUE(FileLock::isLocked(a)) << "the owner counts";
    EXPECT_EQ(FileLock::setLocked(a, false), 0);
    EXPECT_EQ(modeOf(a), 0666u);
    EXPECT_FALSE(FileLock::isLocked(a));
}

TEST_F(FileLockTest, clearsBothMarks) {
    ASSERT_EQ(FileLock::setWritable(a, false), 0);
    FileLock::setImmutable(a, true); // where it may
    EXPECT_TRUE(FileLock::isLocked(a));
    EXPECT_EQ(FileLock::setLocked(a, false), 0);
    EXPECT_FALSE(FileLock::isLocked(a));
}

TEST_F(FileLockTest, locksForAPlainUserByPermissions) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can become another";
    const PlainUser user(folder.path());
    folder.write("own", "x");
    const std::string own = folder / "own";
    EXPECT_NE(FileLock::setImmutable(own, true), 0);
    EXPECT_EQ(FileLock::setLocked(own, true), 0);
    EXPECT_EQ(modeOf(own), 0444u);
    EXPECT_TRUE(FileLock::isLocked(own));
    EXPECT_EQ(FileLock::setLocked(own, false), 0);
    EXPECT_FALSE(FileLock::isLocked(own));
    ASSERT_EQ(::chmod(own.c_str(), 0), 0);
    EXPECT_TRUE(FileLock::isLocked(own)) << "not even readable";
    EXPECT_EQ(FileLock::setLocked(own, false), 0);
    EXPECT_FALSE(FileLock::isLocked(own));
}

TEST_F(FileLockTest, saysWhyItCannotLock_forAPlainUser) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can become another";
    const PlainUser user(folder.path());
    EXPECT_EQ(FileLock::setLocked(a, true), EPERM) << "another's file";
    EXPECT_FALSE(FileLock::isLocked(a));
    ASSERT_EQ(::chmod(folder.path().c_str(), 0), 0);
    EXPECT_TRUE(FileLock::isLocked(a)) << "nothing can be learned about it";
    EXPECT_EQ(FileLock::setLocked(a, true), EACCES);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
}

TEST_F(FileLockTest, locksOnAVolumeInMemory) {
    const std::string path = "/dev/shm/velmoratide-lock-" + std::to_string(::getpid());
    std::ofstream(path) << "x";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << "no volume in memory here";
    EXPECT_EQ(FileLock::setLocked(path, true), 0);
    EXPECT_TRUE(FileLock::isLocked(path));
    EXPECT_EQ(FileLock::setLocked(path, false), 0);
    EXPECT_FALSE(FileLock::isLocked(path));
    EXPECT_EQ(PosixVolume().remove(path), 0);
}

TEST_F(FileLockTest, locksRegularFilesOnly) {
    std::filesystem::create_symlink("a", folder / "link");
    std::filesystem::create_directory(folder / "d");
    EXPECT_EQ(FileLock::setLocked(folder / "none", true), ENOENT);
    EXPECT_EQ(FileLock::setLocked(folder / "link", true), EINVAL);
    EXPECT_EQ(FileLock::setLocked(folder / "d", true), EINVAL);
    EXPECT_FALSE(FileLock::isLocked(folder / "none"));
    EXPECT_FALSE(FileLock::isLocked(a));
    ASSERT_EQ(FileLock::setLocked(a, true), 0);
    EXPECT_FALSE(FileLock::isLocked(folder / "link")) << "links are not followed";
}

class RecordLockTest : public SpaceDesk {};

TEST_F(RecordLockTest, locksRecordingsByName) {
    recordHours(1);
    EXPECT_FALSE(mechanic().isLockedFile(hourOf(1, 0)));
    EXPECT_TRUE(mechanic().lockFile(hourOf(1, 0)));
    EXPECT_TRUE(mechanic().isLockedFile(hourOf(1, 0)));
    EXPECT_TRUE(mechanic().recordings().at(0).locked);
    EXPECT_TRUE(mechanic().unlockFile(hourOf(1, 0)));
    EXPECT_FALSE(mechanic().isLockedFile(hourOf(1, 0)));
}

TEST_F(RecordLockTest, saysThatItCannotLock) {
    EXPECT_FALSE(mechanic().lockFile("none.aif"));
    EXPECT_EQ(desk.errors(),
              Lines{"VmMechanic: file cannot be locked (No such file or directory): " + pathOf("none.aif")});
    EXPECT_FALSE(mechanic().unlockFile("none.aif"));
    EXPECT_EQ(desk.log.lines().size(), 2u);
}

TEST_F(RecordLockTest, goesOnAsAPlainUser_whereAnotherLockedThePath) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can become another";
    recordHours(2);
    mechanic();
    volume.free = 0.0;
    ASSERT_EQ(::chmod(desk.folder.path().c_str(), 0755), 0);
    const PlainUser user(desk.folder.path());
    EXPECT_FALSE(mechanic().secureRecordSpace(rate, channels)) << "the folder is another's";
    EXPECT_EQ(files(), 2u);
    EXPECT_EQ(logged("recording cannot be deleted (Permission denied)"), 2u);
}

TEST_F(RecordLockTest, deletesNothing_whereAPlainUserMayNotReadTheFolder) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can become another";
    recordHours(2);
    mechanic();
    volume.free = 0.0;
    ASSERT_EQ(::chmod(desk.folder.path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod((desk.folder / "records").c_str(), 0700), 0);
    {
        const PlainUser user(desk.folder.path());
        EXPECT_FALSE(mechanic().secureRecordSpace(rate, channels));
        EXPECT_EQ(mechanic().recordTotalTime(), 0.0);
    }
    EXPECT_EQ(files(), 2u);
    EXPECT_EQ(logged("record folder cannot be read (Permission denied)"), 2u);
}
