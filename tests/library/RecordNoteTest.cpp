#include "library/RecordNote.h"

#include "library/RecordedFiles.h"

#include <cerrno>
#include <sys/stat.h>

class RecordNoteTest : public testing::Test {
protected:
    RecordNoteTest() { files.record("a"); }
    int write(const std::string& note) { return RecordNote::write(volume, files / "a", note); }
    std::string note() { return RecordNote::read(volume, files / "a"); }

    TemporaryFolder folder;
    RecordedFiles files{folder.path()};
    PosixVolume volume;
};

TEST_F(RecordNoteTest, writesTheTextAndOneZeroByteAtItsPlace_andNothingElse) {
    ASSERT_EQ(write("a longer note"), 0);
    const std::string before = files.read("a");
    ASSERT_EQ(write("short"), 0);
    std::string expected = before;
    expected.replace(291, 6, std::string("short\0", 6));
    EXPECT_EQ(files.read("a"), expected);
    EXPECT_EQ(note(), "short");
    ASSERT_EQ(write(""), 0);
    EXPECT_EQ(note(), "");
}

TEST_F(RecordNoteTest, cutsANoteTo127Bytes_betweenTwoCharacters) {
    const std::string before = files.read("a");
    ASSERT_EQ(write(std::string(300, 'n')), 0);
    EXPECT_EQ(note(), std::string(127, 'n'));
    EXPECT_EQ(files.read("a").substr(291 + 128), before.substr(291 + 128));
    ASSERT_EQ(write(std::string(126, 'n') + "\u3042"), 0);
    EXPECT_EQ(note(), std::string(126, 'n'));
    ASSERT_EQ(write(std::string(124, 'n') + "\u3042"), 0);
    EXPECT_EQ(note(), std::string(124, 'n') + "\u3042");
}

TEST_F(RecordNoteTest, keepsANoteOnOneLine) {
    ASSERT_EQ(write("one\ntwo\tthree"), 0);
    EXPECT_EQ(note(), "one two three");
    EXPECT_EQ(RecordNote::fitting(std::string("a\0b", 3)), "a");
}

TEST_F(RecordNoteTest, leavesAFileThatIsNoneOfOursAlone) {
    files.write("b", std::string(5000, 'x'));
    files.write("c", "FORM");
    files.write("d", "");
    for (const char* name : {"b", "c", "d"}) {
        const std::string before = files.read(name);
        EXPECT_EQ(RecordNote::write(volume, files / name, "note"), EINVAL) << name;
        EXPECT_EQ(files.read(name), before);
    }
    EXPECT_NE(RecordNote::write(volume, files / "missing", "note"), 0);
    EXPECT_FALSE(files.has("missing"));
}

TEST_F(RecordNoteTest, followsNoLink_andOpensNoPipe) {
    std::filesystem::create_symlink("a", files / "link");
    EXPECT_EQ(RecordNote::write(volume, files / "link", "note"), EINVAL);
    EXPECT_EQ(note(), "");
    ASSERT_EQ(::mkfifo((files / "pipe").c_str(), 0644), 0);
    EXPECT_EQ(RecordNote::write(volume, files / "pipe", "note"), EINVAL);
    EXPECT_EQ(RecordNote::read(volume, files / "pipe"), "");
}
