#include "library/VmPlayList.h"

#include "library/RecordedFiles.h"
#include "support/DeskOfATest.h"

#include <filesystem>
#include <sys/stat.h>

namespace {
constexpr char morningName[] = "_Velmoratide_20071024_093000~101500.aif";
constexpr char midnightName[] = "_Velmoratide_20071023_235950~000010.aif";
constexpr char hiddenName[] = ".Velmoratide_20071025_080000~080005.aif";
using Names = std::vector<std::string>;
} // namespace

class VmPlayListTest : public testing::Test {
protected:
    VmPlayListTest() { desk.desk.texts = Texts::forLanguage("en"); }
    /// The desk's controllers, made but not launched.
    static VmControler& controlerOf(Desk& ofDesk) {
        ofDesk.desk.makeControllers();
        return *ofDesk.desk.controler;
    }
    void read() { list.initWithDirPath(files.folder()); }
    std::string column(const char* identifier) const {
        std::string text;
        for (int row = 0; row < list.numberOfRows(); ++row)
            text += (row == 0 ? "" : "|") + list.cell(row, identifier);
        return text;
    }

    Desk desk;
    RecordedFiles files{desk.folder.path() + "/elsewhere"};
    VmTableView table;
    VmPlayList list{controlerOf(desk)};
};

TEST_F(VmPlayListTest, hasNoRowsAndNoTime_inAnEmptyFolder) {
    read();
    EXPECT_EQ(list.numberOfRows(), 0);
    EXPECT_EQ(list.totalTime(), 0.0);
    EXPECT_EQ(list.totalPeriodString(), "0'00\"");
    EXPECT_EQ(list.totalFiles(), 0);
    EXPECT_EQ(list.totalSize(), 0.0);
}

TEST_F(VmPlayListTest, showsWhatNameAndFileSay) {
    files.record(morningName, 524288 / 2 * 3);
    files.note(morningName, "Rain on the roof");
    read();
    ASSERT_EQ(list.numberOfRows(), 1);
    EXPECT_EQ(list.fileNameAtRow(0), morningName);
    EXPECT_EQ(list.cell(0, "LockFlag"), "");
    EXPECT_EQ(list.cell(0, "RecordDate"), "07.10.24");
    EXPECT_EQ(list.startTimeStringAtRow(0), "09:30:00");
    EXPECT_EQ(list.endTimeStringAtRow(0), "10:15:00");
    EXPECT_EQ(list.spendTimeStringAtRow(0), "45'00\"");
    EXPECT_EQ(list.spendTimeAtRow(0), 2700.0);
    EXPECT_EQ(list.noteStringAtRow(0), "Rain on the roof");
    EXPECT_DOUBLE_EQ(list.fileSizeAtRow(0), 1.5 + 4096.0 / 1048576.0);
    EXPECT_EQ(list.cell(0, "FileSize"), "1.50");
    EXPECT_EQ(list.cell(0, "Unknown"), "");
}

TEST_F(VmPlayListTest, reckonsALengthAcrossMidnight) {
    files.record(midnightName);
    read();
    EXPECT_EQ(list.spendTimeStringAtRow(0), "0'20\"");
    EXPECT_EQ(list.spendTimeAtRow(0), 20.0);
}

TEST_F(VmPlayListTest, marksLockedRecordings_andLeavesThemOutOfOneTotal) {
    files.record(midnightName);
    files.record(morningName);
    ASSERT_EQ(FileLock::setLocked(files / morningName, true), 0);
    read();
    EXPECT_EQ(column("LockFlag"), "|✓");
    EXPECT_FALSE(list.isLockedAtRow(0));
    EXPECT_TRUE(list.isLockedAtRow(1));
    EXPECT_EQ(list.totalTime(), 2720.0);
    EXPECT_EQ(list.totalTimeExceptLocked(), 20.0);
    EXPECT_EQ(list.totalPeriodString(), "45'20\"");
    EXPECT_EQ(list.totalFiles(), 2);
}

TEST_F(VmPlayListTest, listsInTheOrderOfTheNames_hiddenOnesFirst) {
    for (const char* name : {morningName, hiddenName, midnightName})
        files.record(name);
    read();
    EXPECT_EQ(list.fileList(), (Names{hiddenName, midnightName, morningName}));
}

TEST_F(VmPlayListTest, yieldsNothing_forARowThatIsNotThere) {
    files.record(morningName);
    read();
    for (const int row : {-1, 1, 2}) {
        EXPECT_EQ(list.fileNameAtRow(row), "");
        EXPECT_EQ(list.cell(row, "StartTime"), "");
        EXPECT_EQ(list.spendTimeAtRow(row), 0.0);
        EXPECT_FALSE(list.isLockedAtRow(row));
        EXPECT_TRUE(list.draggedFiles({row}).empty());
    }
}

TEST_F(VmPlayListTest, listsNothingElseThanRegularFilesOfTheFolderItself) {
    files.record(morningName);
    std::filesystem::create_directory(files / "_Velmoratide_20071024_000000~000001.aif");
    ASSERT_EQ(::mkfifo((files / "_Velmoratide_20071024_000000~000002.aif").c_str(), 0644), 0);
    std::filesystem::create_symlink(morningName, files / "_Velmoratide_20071024_000000~000003.aif");
    std::filesystem::create_directory(files / "below");
    std::filesystem::copy(files / morningName, files / ("below/" + std::string(midnightName)));
    files.write("_Velmoratide_20071024_093000~101500+.aif", "x");
    files.write("_Velmoratide_20071024_093000~101500.aiff", "x");
    files.write("_Velmoratide_1.aif", "x");
    files.write("note.txt", "x");
    read();
    EXPECT_EQ(list.fileList(), Names{morningName});
}

TEST_F(VmPlayListTest, hasARowWithoutNote_forAFileThatIsNoRecordingButForItsName) {
    const Names odd = {"_Velmoratide_20071024_000000~000001.aif", "_Velmoratide_20071024_000000~000002.aif",
                       "_Velmoratide_20071024_000000~000003.aif", "_Velmoratide_20071024_000000~000004.aif"};
    files.write(odd[0], "");
    files.write(odd[1], "FORM");
    files.write(odd[2], std::string(5000, '\xFF'));
    files.write(odd[3], std::string(291, 'x') + "cut note");
    read();
    EXPECT_EQ(list.fileList(), odd);
    EXPECT_EQ(column("Remark"), "|||cut note");
    EXPECT_EQ(list.fileSizeAtRow(0), 0.0);
    EXPECT_EQ(list.spendTimeAtRow(1), 2.0);
}

TEST_F(VmPlayListTest, readsANoteToTheEndOfItsField) {
    files.write(morningName, std::string(291, 'x') + std::string(200, 'n'));
    files.write(midnightName, std::string(291, 'x') + std::string(126, 'n') + "\u3042");
    read();
    EXPECT_EQ(list.noteStringAtRow(1), std::string(128, 'n'));
    EXPECT_EQ(list.noteStringAtRow(0), std::string(126, 'n')) << "half a character is none";
}

TEST_F(VmPlayListTest, showsNamesWithoutDigitsAsNoTime) {
    files.write("_Velmoratide_abcdefgh_ijklmn~opqrst.aif", "x");
    files.write("_Velmoratide_20071024_990000~000000.aif", "x");
    read();
    ASSERT_EQ(list.numberOfRows(), 2);
    EXPECT_EQ(column("StartTime"), "99:00:00|00:00:00");
    EXPECT_EQ(list.totalTime(), 0.0);
}

TEST_F(VmPlayListTest, saysOnceThatTheFolderCannotBeRead) {
    list.initWithDirPath(files / "missing");
    list.initWithDirPath(files / "missing");
    EXPECT_EQ(list.numberOfRows(), 0);
    const auto said = std::ranges::count_if(
        desk.events, [](const std::string& event) { return event.find("VmPlayList: ") != std::string::npos; });
    EXPECT_EQ(said, 1);
}

TEST_F(VmPlayListTest, storesAnEditedCellInItsRowOnly) {
    files.record(morningName);
    const std::string before = files.read(morningName);
    read();
    list.setCell(0, "Remark", "new");
    list.setCell(7, "Remark", "nowhere");
    EXPECT_EQ(list.noteStringAtRow(0), "new");
    EXPECT_EQ(files.read(morningName), before);
    read();
    EXPECT_EQ(list.noteStringAtRow(0), "");
}

TEST_F(VmPlayListTest, dragsTheFileOfTheFirstRow) {
    files.record(morningName);
    files.record(midnightName);
    read();
    EXPECT_EQ(list.draggedFiles({1, 0}), Names{files / morningName});
    EXPECT_TRUE(list.draggedFiles({}).empty());
}

TEST_F(VmPlayListTest, hasTheSevenColumns_withTheNoteAsTheOnlyOneToEdit) {
    list.attach(table);
    std::string identifiers;
    for (const TableColumn& column : table.columns())
        identifiers += column.identifier + (column.editable ? "* " : " ");
    EXPECT_EQ(identifiers, "LockFlag RecordDate StartTime EndTime RecordTime FileSize Remark* ");
    for (const TableColumn& column : table.columns())
        EXPECT_TRUE(desk.desk.texts.has(column.titleKey)) << column.titleKey;
    EXPECT_TRUE(list.isNumber("FileSize"));
    EXPECT_FALSE(list.isNumber("RecordTime"));
}

TEST_F(VmPlayListTest, sortsNamesAndRowsTogether_byEachColumn) {
    files.record(midnightName, 300);
    files.record(morningName, 100);
    files.record(hiddenName, 200);
    ASSERT_EQ(FileLock::setLocked(files / midnightName, true), 0);
    files.note(morningName, "b");
    files.note(hiddenName, "a");
    read();
    list.attach(table);
    const std::vector<std::pair<const char*, Names>> orders = {
        {"LockFlag", {hiddenName, morningName, midnightName}},
        {"RecordDate", {midnightName, morningName, hiddenName}},
        {"StartTime", {hiddenName, morningName, midnightName}},
        {"EndTime", {midnightName, hiddenName, morningName}},
        {"RecordTime", {hiddenName, midnightName, morningName}},
        {"FileSize", {morningName, hiddenName, midnightName}},
        {"Remark", {midnightName, hiddenName, morningName}}};
    for (const auto& [identifier, order] : orders) {
        table.pressHead(identifier);
        EXPECT_EQ(list.fileList(), order) << identifier;
        EXPECT_EQ(list.playList().front().startTime, list.startTimeStringAtRow(0));
        for (int row = 0; row < 3; ++row)
            EXPECT_EQ(list.startTimeStringAtRow(row).substr(0, 2), list.fileNameAtRow(row).substr(22, 2));
    }
    table.pressHead("Remark");
    EXPECT_EQ(list.fileList(), (Names{morningName, hiddenName, midnightName}));
}

TEST_F(VmPlayListTest, sortsLengthsAsTimesNotAsTexts) {
    files.record("_Velmoratide_20071024_000000~000900.aif");
    files.record("_Velmoratide_20071024_010000~011000.aif");
    files.record("_Velmoratide_20071024_020000~030000.aif");
    read();
    list.attach(table);
    table.pressHead("RecordTime");
    EXPECT_EQ(column("RecordTime"), "9'00\"|10'00\"|1:00'00\"");
}

TEST_F(VmPlayListTest, keepsTheEarlierOrder_amongEqualRows) {
    const Names names = {"_Velmoratide_20071024_000000~000010.aif", "_Velmoratide_20071024_000100~000110.aif",
                         "_Velmoratide_20071024_000200~000205.aif"};
    for (const std::string& name : names)
        files.record(name);
    read();
    list.attach(table);
    table.pressHead("StartTime");
    table.pressHead("StartTime");
    table.pressHead("RecordTime");
    EXPECT_EQ(list.fileList(), (Names{names[2], names[1], names[0]}));
    list.renewWithDirPath(files.folder());
    files.record("_Velmoratide_20071024_000300~000310.aif");
    desk.desk.runFor(0.1);
    EXPECT_EQ(list.fileList().at(1), "_Velmoratide_20071024_000300~000310.aif");
}
