#include "dutylog/LogBookReader.h"

#include "storage/PosixVolume.h"
#include "support/TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {
using Change = LogBookReader::Change;

class LogBookReaderTest : public testing::Test {
protected:
    void add(const std::string& text) { std::ofstream(path, std::ios::binary | std::ios::app) << text; }
    void expect(Change change, const std::string& text) {
        const LogBookReader::Look look = reader.look(path);
        EXPECT_EQ(look.change, change);
        EXPECT_EQ(look.text, text);
    }

    TemporaryFolder folder;
    const std::string path = folder.path() + "/book.txt";
    PosixVolume volume;
    LogBookReader reader{volume};
};
} // namespace

TEST_F(LogBookReaderTest, followsWhatIsAdded) {
    add("one\n");
    expect(Change::anew, "one\n");
    expect(Change::none, "");
    add("two\nthree\n");
    expect(Change::added, "two\nthree\n");
    EXPECT_FALSE(reader.hasEarlier());
}

TEST_F(LogBookReaderTest, waitsForTheEndOfALine) {
    add("one\ntw");
    expect(Change::anew, "one\n");
    expect(Change::none, "");
    add("o 録\n");
    expect(Change::added, "two 録\n");
}

TEST_F(LogBookReaderTest, saysWhenThereIsNoBook_andFindsItWhenItComes) {
    expect(Change::none, "");
    add("");
    expect(Change::anew, "");
    add("one\n");
    expect(Change::added, "one\n");
    std::filesystem::remove(path);
    expect(Change::missing, "");
    expect(Change::none, "");
    std::filesystem::create_directory(path);
    expect(Change::none, "");
}

TEST_F(LogBookReaderTest, beginsAnew_whenTheBookIsReplaced) {
    add("one\n");
    expect(Change::anew, "one\n");
    std::filesystem::remove(path);
    add("two\n"); // as long as the old one
    expect(Change::anew, "two\n");
    std::filesystem::remove(path);
    add("3\n");
    expect(Change::anew, "3\n");
    const LogBookReader::Look other = reader.look(folder.path() + "/other.txt");
    EXPECT_EQ(other.change, Change::none);
    expect(Change::anew, "3\n");
}

TEST_F(LogBookReaderTest, readsTheEndOfALargeBookFirst_andTheRestByThePage) {
    const std::string line = std::string(99, 'x') + "\n";
    std::string all;
    for (int i = 0; i < 100'000; ++i)
        all += line;
    all = "first\n" + all + "last\n";
    add(all);
    std::string text = reader.look(path).text;
    EXPECT_LE(static_cast<std::int64_t>(text.size()), LogBookReader::pageSize);
    EXPECT_GE(static_cast<std::int64_t>(text.size()), LogBookReader::pageSize - 100);
    EXPECT_TRUE(text.ends_with("last\n"));
    EXPECT_EQ(text.substr(0, line.size()), line);
    int pages = 0;
    for (; reader.hasEarlier(); ++pages)
        text = reader.earlier() + text;
    EXPECT_EQ(pages, static_cast<std::int64_t>(all.size()) / LogBookReader::pageSize);
    EXPECT_TRUE(text == all);
    add("more\n");
    expect(Change::added, "more\n");
}

TEST_F(LogBookReaderTest, readsTheEndOnly_whenMoreThanAPageWasAdded) {
    add("one\n");
    expect(Change::anew, "one\n");
    std::string much;
    while (static_cast<std::int64_t>(much.size()) <= LogBookReader::pageSize)
        much += "a line of some length\n";
    add(much);
    const LogBookReader::Look look = reader.look(path);
    EXPECT_EQ(look.change, Change::anew);
    EXPECT_TRUE(much.ends_with(look.text));
    EXPECT_TRUE(reader.hasEarlier());
}
