#include "dutylog/LogBook.h"

#include "base/SystemClock.h"
#include "dutylog/DiskFlusher.h"
#include "rehearsal/RecordedSystemLog.h"
#include "storage/PosixVolume.h"
#include "support/FaultVolume.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {
class LogBookTest : public testing::Test {
protected:
    static std::string lossBlock(unsigned long dropped) { return "lost " + std::to_string(dropped) + "\n\n"; }
    std::string text() const {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream all;
        all << file.rdbuf();
        return all.str();
    }
    long said(const std::string& part) const {
        const auto lines = log.lines();
        return std::ranges::count_if(
            lines, [&](const std::string& line) { return line.find(part) != std::string::npos; });
    }

    TemporaryFolder folder;
    const std::string path = folder.path() + "/deep/below/book.txt";
    SystemClock clock;
    PosixVolume disk;
    FaultVolume volume{disk};
    RecordedSystemLog log;
    LogBook book{clock, volume, log, lossBlock};
};
} // namespace

TEST_F(LogBookTest, makesTheFolder_andAddsBlocksAtOnce) {
    ASSERT_TRUE(book.create(path));
    EXPECT_EQ(text(), "");
    book.append("one\n\n");
    EXPECT_EQ(text(), "one\n\n");
    book.append("two\n\n");
    EXPECT_EQ(text(), "one\n\ntwo\n\n");
}

TEST_F(LogBookTest, isOnTheDisk_whenItIsClosed) {
    ASSERT_TRUE(book.create(path));
    book.append("one\n\n");
    book.close().reset();
    EXPECT_GE(volume.synchronizations(), 1);
    EXPECT_FALSE(book.isOpen());
    EXPECT_EQ(book.path(), "");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LogBookTest, saysOnceThatTheDiskDoesNotTakeIt) {
    ASSERT_TRUE(book.create(path));
    volume.failSynchronizing(EIO);
    book.append("one\n\n");
    book.close().reset();
    EXPECT_EQ(said("cannot be brought to the disk (Input/output error)"), 1);
}

TEST_F(LogBookTest, replacesAnOldBook_orGoesOnInIt) {
    ASSERT_TRUE(book.create(path));
    book.append("old\n\n");
    book.close().reset();
    ASSERT_TRUE(book.openForUpdating(path));
    book.append("new\n\n");
    book.close().reset();
    EXPECT_EQ(text(), "old\n\nnew\n\n");
    ASSERT_TRUE(book.create(path));
    EXPECT_EQ(text(), "");
}

TEST_F(LogBookTest, goesOnInALineOfItsOwn_whenTheLastOneWasTorn) {
    ASSERT_TRUE(book.create(path));
    book.append("whole\n\ntor");
    book.close().reset();
    ASSERT_TRUE(book.openForUpdating(path));
    book.append("new\n\n");
    book.append("newer\n\n");
    EXPECT_EQ(text(), "whole\n\ntor\nnew\n\nnewer\n\n");
}

TEST_F(LogBookTest, opensNothing_whereThereIsNoFile) {
    EXPECT_FALSE(book.openForUpdating(path));
    ASSERT_TRUE(disk.makeFolder(path));
    EXPECT_FALSE(book.openForUpdating(path));
    EXPECT_FALSE(book.create(path));
    EXPECT_FALSE(book.isOpen());
    book.append("nowhere\n\n");
    book.retry();
    EXPECT_EQ(book.close(), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LogBookTest, tearsNoBlock_whenTheDiskIsFull_andWritesAllWhenItIsFree) {
    ASSERT_TRUE(book.create(path));
    volume.setRoom(13);
    book.append("12345678\n\n");
    book.append("abcdefgh\n\n"); // three bytes of it find room
    book.append("ABCDEFGH\n\n");
    EXPECT_EQ(text(), "12345678\n\n");
    EXPECT_EQ(said("log book write error (No space left on device)"), 1);
    volume.setRoom(1000);
    book.append("ijklmnop\n\n");
    EXPECT_EQ(text(), "12345678\n\nabcdefgh\n\nABCDEFGH\n\nijklmnop\n\n");
    EXPECT_EQ(said("log book is written again"), 1);
    EXPECT_EQ(said("log book write error"), 1);
}

TEST_F(LogBookTest, saysEachNewFailure) {
    ASSERT_TRUE(book.create(path));
    for (int time = 0; time < 2; ++time) {
        volume.failWrite(1, EIO);
        book.append("a\n\n");
        book.retry();
    }
    EXPECT_EQ(text(), "a\n\na\n\n");
    EXPECT_EQ(said("log book write error (Input/output error)"), 2);
    EXPECT_EQ(said("log book is written again"), 2);
}

TEST_F(LogBookTest, saysHowManyWereDropped_inTheirPlace) {
    ASSERT_TRUE(book.create(path));
    volume.setRoom(0);
    const std::string block = std::string(1022, 'x') + "\n\n";
    for (std::size_t i = 0; i < LogBook::longestBacklog / block.size() + 7; ++i)
        book.append(block);
    EXPECT_EQ(said("too many events wait"), 1);
    volume.setRoom(100'000'000);
    book.append("later\n\n");
    const std::string all = text();
    EXPECT_EQ(all.size(), LogBook::longestBacklog + std::string("lost 7\n\nlater\n\n").size());
    EXPECT_TRUE(all.ends_with("x\n\nlost 7\n\nlater\n\n"));
}

TEST_F(LogBookTest, saysWhatIsMissing_whenItIsClosedTooEarly) {
    ASSERT_TRUE(book.create(path));
    volume.setRoom(0);
    book.append("one\n\n");
    book.append("two\n\n");
    book.close().reset();
    EXPECT_EQ(said("2 events are missing in the log book"), 1);
}

TEST_F(LogBookTest, beginsAnew_whenItsFileIsRemoved) {
    ASSERT_TRUE(book.create(path));
    book.append("one\n\n");
    std::filesystem::remove(path);
    book.append("two\n\n");
    EXPECT_EQ(text(), "two\n\n");
    EXPECT_EQ(said("log book was removed, a new one is begun"), 1);
}

TEST_F(LogBookTest, leavesAFolderThatVanishedToWhoeverHasIt) {
    ASSERT_TRUE(book.create(path));
    std::filesystem::remove_all(folder.path() + "/deep");
    book.append("one\n\n");
    EXPECT_TRUE(book.isFolderGone());
    EXPECT_FALSE(std::filesystem::exists(folder.path() + "/deep"));
    EXPECT_EQ(said("log book write error (No such file or directory)"), 1);
    ASSERT_TRUE(disk.makeFolder(folder.path() + "/deep/below"));
    book.append("two\n\n");
    EXPECT_FALSE(book.isFolderGone());
    EXPECT_EQ(text(), "one\n\ntwo\n\n");
}

TEST_F(LogBookTest, saysThatItCannotBeWritten_whenItsFolderCannotBeMadeAnew) {
    ASSERT_TRUE(book.create(path));
    std::filesystem::remove_all(folder.path() + "/deep");
    std::ofstream(folder.path() + "/deep") << "a file";
    book.append("one\n\n");
    book.restoreFolder();
    EXPECT_TRUE(book.isFolderGone());
    EXPECT_EQ(said("log book write error"), 1);
    std::filesystem::remove(folder.path() + "/deep");
    book.restoreFolder();
    EXPECT_EQ(text(), "one\n\n");
}

TEST_F(LogBookTest, makesItsFolderAnew_whenItIsClosed) {
    ASSERT_TRUE(book.create(path));
    std::filesystem::remove_all(folder.path() + "/deep");
    book.append("one\n\n");
    book.close().reset();
    EXPECT_EQ(text(), "one\n\n");
    EXPECT_EQ(said("events are missing"), 0);
}

TEST_F(LogBookTest, goesOnInTheFileThatTookItsPlace_alsoOfTheSameSize) {
    ASSERT_TRUE(book.create(path));
    book.append("one\n\n");
    std::ofstream(path + ".edited") << "1st\n\n";
    std::filesystem::rename(path + ".edited", path);
    book.append("two\n\n");
    EXPECT_EQ(text(), "1st\n\ntwo\n\n");
}

TEST_F(LogBookTest, goesOnInALineOfItsOwn_whenTheFileThatTookItsPlaceEndsWithinALine) {
    ASSERT_TRUE(book.create(path));
    book.append("one\n\n");
    std::ofstream(path + ".edited") << "edited, without an end";
    std::filesystem::rename(path + ".edited", path);
    book.append("two\n\n");
    book.append("three\n\n");
    EXPECT_EQ(text(), "edited, without an end\ntwo\n\nthree\n\n");
}

TEST_F(LogBookTest, goesOnInTheFileBehindALink) {
    ASSERT_TRUE(disk.makeFolder(folder.path() + "/deep/below"));
    std::ofstream(folder.path() + "/target") << "old\n";
    std::filesystem::create_symlink(folder.path() + "/target", path);
    ASSERT_TRUE(book.openForUpdating(path));
    book.append("one\n\n");
    book.append("two\n\n");
    EXPECT_EQ(text(), "old\none\n\ntwo\n\n");
    EXPECT_TRUE(std::filesystem::is_symlink(path));
}

TEST_F(LogBookTest, goesOnInTheFileThatTookItsPlace) {
    ASSERT_TRUE(book.create(path));
    book.append("one\n\n");
    std::ofstream(path + ".edited") << "one, edited\n\n";
    std::filesystem::rename(path + ".edited", path);
    book.append("two\n\n");
    EXPECT_EQ(text(), "one, edited\n\ntwo\n\n");
}
