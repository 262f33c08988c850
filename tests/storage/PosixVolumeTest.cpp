#include "storage/PosixVolume.h"

#include "storage/FileFolder.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {
std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

std::string readText(VolumeFile& file, std::int64_t offset, std::size_t count) {
    std::string text(count, '\0');
    const std::int64_t got = file.readAt(offset, std::as_writable_bytes(std::span(text)));
    text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return text;
}
} // namespace

class PosixVolumeTest : public testing::Test {
protected:
    FileFolder folder;
    PosixVolume volume;
};

TEST_F(PosixVolumeTest, writesAndReadsAtOffsets) {
    const auto file = volume.create(folder / "a");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->writeAt(4, bytesOf("world")), 0);
    EXPECT_EQ(file->writeAt(0, bytesOf("helo")), 0);
    EXPECT_EQ(file->size(), 9);
    EXPECT_EQ(readText(*file, 0, 100), "heloworld");
    EXPECT_EQ(readText(*file, 100, 1), "");
    EXPECT_EQ(file->truncate(4), 0);
    EXPECT_EQ(file->synchronize(), 0);
    EXPECT_EQ(file->close(), 0);
    EXPECT_EQ(file->close(), 0);
    EXPECT_EQ(folder.read("a"), "helo");
    EXPECT_EQ(volume.fileSize(folder / "a"), 4);
}

TEST_F(PosixVolumeTest, createsPlainFilesThatChildrenDoNotInherit) {
    const mode_t mask = umask(0);
    const int lowest = ::open("/dev/null", O_RDONLY);
    ::close(lowest);
    const auto file = volume.create(folder / "a");
    umask(mask);
    struct stat status {};
    ASSERT_EQ(::stat((folder / "a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
    EXPECT_NE(::fcntl(lowest, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(PosixVolumeTest, replacesAFile_withoutTouchingItsOtherName) {
    folder.write("a", "old");
    ASSERT_EQ(volume.makeLink(folder / "a", folder / "b"), 0);
    EXPECT_NE(volume.create(folder / "a"), nullptr);
    EXPECT_EQ(folder.read("a"), "");
    EXPECT_EQ(folder.read("b"), "old");
}

TEST_F(PosixVolumeTest, opensOnlyFilesThatAreThere) {
    std::filesystem::create_directory(folder / "d");
    EXPECT_EQ(volume.openForReading(folder / "none"), nullptr);
    EXPECT_EQ(volume.openForUpdating(folder / "none"), nullptr);
    EXPECT_EQ(volume.openForReading(folder / "d"), nullptr);
    EXPECT_EQ(volume.create(folder / "d"), nullptr);
    EXPECT_EQ(volume.create(folder / "none/a"), nullptr);
    EXPECT_FALSE(folder.has("none"));
}

TEST_F(PosixVolumeTest, saysWhatFailed_atAnUnwritableFile) {
    folder.write("a", "text");
    const auto file = volume.openForReading(folder / "a");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->writeAt(0, bytesOf("x")), EBADF);
    EXPECT_NE(file->truncate(0), 0);
    EXPECT_EQ(folder.read("a"), "text");
}

TEST_F(PosixVolumeTest, goesOnAfterAShortWrite_andSaysWhyItCouldNot) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit small = before;
    small.rlim_cur = 1000;
    const auto file = volume.create(folder / "a");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const int error = file->writeAt(0, bytesOf(std::string(1500, 'x')));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(error, EFBIG) << "the system wrote 1000 bytes first, and refused only the next write";
    EXPECT_EQ(file->size(), 1000);
    EXPECT_EQ(file->writeAt(0, bytesOf(std::string(1500, 'x'))), 0);
    EXPECT_EQ(file->size(), 1500);
}

TEST_F(PosixVolumeTest, renames_butNeverReplaces) {
    folder.write("a", "a");
    folder.write("b", "b");
    EXPECT_EQ(volume.renameWithoutReplacing(folder / "a", folder / "b"), EEXIST);
    EXPECT_EQ(folder.read("b"), "b");
    EXPECT_EQ(volume.renameWithoutReplacing(folder / "a", folder / "c"), 0);
    EXPECT_FALSE(folder.has("a"));
    EXPECT_EQ(folder.read("c"), "a");
    EXPECT_EQ(volume.renameWithoutReplacing(folder / "a", folder / "d"), ENOENT);
}

TEST_F(PosixVolumeTest, renamesByLinkOrReservation_butNeverReplaces) {
    for (const auto rename : {&PosixVolume::renameByLink, &PosixVolume::renameByReservation}) {
        folder.write("a", "a");
        folder.write("b", "b");
        EXPECT_EQ(rename(folder / "a", folder / "b"), EEXIST);
        EXPECT_EQ(folder.read("a"), "a");
        EXPECT_EQ(folder.read("b"), "b");
        EXPECT_EQ(rename(folder / "a", folder / "c"), 0);
        EXPECT_FALSE(folder.has("a"));
        EXPECT_EQ(folder.read("c"), "a");
        EXPECT_EQ(rename(folder / "a", folder / "d"), ENOENT);
        EXPECT_FALSE(folder.has("d"));
        EXPECT_EQ(volume.remove(folder / "c"), 0);
    }
}

TEST_F(PosixVolumeTest, listsNamesInBytewiseOrder) {
    for (const char* const name : {"b", "B", "\xC3\xA4", ".h", "a"})
        folder.write(name, "");
    std::filesystem::create_directory(folder / "d");
    std::filesystem::create_symlink("d", folder / "link");
    std::string names;
    errno = EIO;
    const std::vector<VolumeEntry> entries = volume.list(folder.path());
    EXPECT_EQ(errno, 0);
    for (const VolumeEntry& entry : entries)
        names += entry.name + (entry.isFolder ? "/" : entry.isLink ? "@" : "") + " ";
    EXPECT_EQ(names, ".h B a b d/ link@ \xC3\xA4 ");
    EXPECT_TRUE(volume.list(folder / "none").empty());
    EXPECT_EQ(errno, ENOENT) << "an empty folder and an unreadable one are not the same";
}

TEST_F(PosixVolumeTest, makesFoldersWithTheirParents) {
    EXPECT_TRUE(volume.makeFolder(folder / "x/y//z/"));
    EXPECT_TRUE(volume.isFolder(folder / "x/y/z"));
    EXPECT_TRUE(volume.makeFolder(folder / "x"));
    folder.write("file", "");
    EXPECT_FALSE(volume.makeFolder(folder / "file"));
    EXPECT_FALSE(volume.makeFolder(folder / "file/below"));
    EXPECT_FALSE(volume.makeFolder(""));
}

TEST_F(PosixVolumeTest, removesFilesLinksAndEmptyFolders) {
    folder.write("a", "");
    std::filesystem::create_directory(folder / "d");
    std::filesystem::create_symlink("d", folder / "link");
    std::filesystem::create_directories(folder / "full/below");
    EXPECT_EQ(volume.remove(folder / "link"), 0);
    EXPECT_TRUE(volume.isFolder(folder / "d"));
    EXPECT_EQ(volume.remove(folder / "d"), 0);
    EXPECT_EQ(volume.remove(folder / "a"), 0);
    EXPECT_EQ(volume.remove(folder / "a"), ENOENT);
    EXPECT_EQ(volume.remove(folder / "full"), ENOTEMPTY);
}

TEST_F(PosixVolumeTest, doesNotFollowALink_forSizeAndExistence) {
    folder.write("a", std::string(5000, 'x'));
    std::filesystem::create_symlink("a", folder / "link");
    std::filesystem::create_symlink("nowhere", folder / "dangling");
    EXPECT_EQ(volume.fileSize(folder / "link"), 1);
    EXPECT_TRUE(volume.exists(folder / "dangling"));
    EXPECT_FALSE(volume.exists(folder / "nowhere"));
    EXPECT_FALSE(volume.fileSize(folder / "nowhere").has_value());
}

TEST_F(PosixVolumeTest, tellsTheSpaceThatThisUserMayFill) {
    struct statvfs status {};
    ASSERT_EQ(::statvfs(folder.path().c_str(), &status), 0);
    const auto space = volume.freeBytes(folder.path());
    ASSERT_TRUE(space.has_value());
    EXPECT_GT(*space, 0.0);
    EXPECT_LE(*space, static_cast<double>(status.f_blocks) * static_cast<double>(status.f_frsize));
    EXPECT_FALSE(volume.freeBytes(folder / "none").has_value());
}

TEST_F(PosixVolumeTest, bringsAFolderToTheDisk) {
    EXPECT_EQ(volume.synchronizeFolder(folder.path()), 0);
    EXPECT_EQ(volume.synchronizeFolder(folder / "none"), ENOENT);
}
