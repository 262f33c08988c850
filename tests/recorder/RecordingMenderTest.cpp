// What the launch finds of a disk that failed to the end.
#include "recorder/RecordingMender.h"

#include "recorder/ClockedDesk.h"

#include <filesystem>

namespace {
using Names = ClockedDesk::Names;
const std::string name = "_Velmoratide_20260302_095000~095010.aif";
const std::string progress = "_Velmoratide_20260302_095000~095007.aif";

class NewestRecordings : public testing::Test {
protected:
    std::string pathOf(const std::string& file) const { return desk.recordFolder() + "/" + file; }
    void leave(const std::string& file, std::size_t frames = 80000) {
        const auto made = SoundFile::create(desk.files, pathOf(file), 8000.0, 2);
        ASSERT_NE(made.file, nullptr);
        ASSERT_TRUE(made.file->writeSamples(0, std::vector<std::int16_t>(frames * 2, 100)));
        ASSERT_TRUE(made.file->close());
    }
    void write(const std::string& file, std::int64_t at, const std::string& bytes) {
        const auto opened = desk.files.openForUpdating(pathOf(file));
        ASSERT_NE(opened, nullptr);
        ASSERT_EQ(opened->writeAt(at, std::as_bytes(std::span(bytes))), 0);
    }
    std::int64_t framesOf(const std::string& file) {
        const auto opened = SoundFile::openForReading(desk.files, pathOf(file));
        return opened.file == nullptr ? -1 : opened.file->frames();
    }
    std::string informationOf(const std::string& file) const {
        std::ifstream in(pathOf(file), std::ios::binary);
        in.seekg(256);
        std::string text;
        std::getline(in, text, '\0');
        return text;
    }
    Names files() {
        Names names;
        for (const VolumeEntry& entry : desk.files.list(desk.recordFolder()))
            if (!VmDutyLog::isLogFile(entry.name))
                names.push_back(entry.name);
        return names;
    }
    void SetUp() override {
        desk.makeFolders();
        desk.makeControllers();
    }
    void launch() {
        desk.launch();
        desk.runFor(1.0);
    }
    std::ptrdiff_t logged(const std::string& part) const {
        const auto lines = desk.log.lines();
        return std::ranges::count_if(
            lines, [&](const std::string& line) { return line.find(part) != std::string::npos; });
    }

    TemporaryFolder folder;
    RehearsalDesk desk{folder.path(), QTimeZone("Europe/Berlin"), ClockedDesk::launchTime,
                       std::vector<SimulatedDevice>{slowInput()}, fullRateStereo};
};
} // namespace

TEST_F(NewestRecordings, areReadableInFull_whenTheirHeaderWasTorn) {
    for (const std::int64_t word : {4, 22, 4084}) {
        leave(name);
        write(name, word, std::string("\x7f\x7f", 2));
        RecordingMender(desk.controler->seams(), desk.controler->mechanic()).mendNewest('I');
        EXPECT_EQ(framesOf(name), 80000) << word;
    }
    EXPECT_EQ(logged("the header of a recording is repaired: " + name), 3);
}

TEST_F(NewestRecordings, areReadableInFull_whenABlockCameAfterTheHeader_andLoseHalfAFrame) {
    leave(name);
    write(name, 4096 + 320000, std::string(4003, 'x'));
    launch();
    EXPECT_EQ(framesOf(name), 81000);
    EXPECT_EQ(desk.files.fileSize(pathOf(name)), 4096 + 81000 * 4);
    EXPECT_EQ(logged("the header of a recording is repaired: " + name), 1);
}

TEST_F(NewestRecordings, areNotTouched_whenNothingIsWrong) {
    leave(name);
    const auto before = std::filesystem::last_write_time(pathOf(name));
    launch();
    EXPECT_EQ(std::filesystem::last_write_time(pathOf(name)), before);
    EXPECT_EQ(logged("repaired") + logged("removed"), 0);
}

TEST_F(NewestRecordings, loseASecondNameThatCouldNotBeRemoved) {
    for (const bool isInformed : {true, false}) {
        leave(name);
        write(name, 256, isInformed ? "_Velmoratide_20260302_095000~0950108000SI" : "_Velmoratide_20260302");
        ASSERT_EQ(desk.files.makeLink(pathOf(name), pathOf(progress)), 0);
        RecordingMender(desk.controler->seams(), desk.controler->mechanic()).mendNewest('I');
        EXPECT_EQ(files(), Names{name});
        EXPECT_EQ(framesOf(name), 80000);
    }
    EXPECT_EQ(logged("second name of a recording is removed: " + progress), 2);
}

TEST_F(NewestRecordings, keepTheNameThatTheInformationTells_whenTheSecondOneIsTheLater) {
    leave(progress);
    write(progress, 256, "_Velmoratide_20260302_095000~0950078000SI");
    ASSERT_EQ(desk.files.makeLink(pathOf(progress), pathOf(name)), 0);
    launch();
    EXPECT_EQ(files(), Names{progress});
}

TEST_F(NewestRecordings, keepBothNames_whenTheyAreTwoFiles) {
    leave(name);
    leave(progress);
    launch();
    EXPECT_EQ(files().size(), 2U);
}

TEST_F(NewestRecordings, areGivenTheInformationThatTheirNameTells_whenACrashCameBeforeIt) {
    const std::string free = "_Velmoratide_20260302_095020~095030+.aif";
    const std::string noted = "_Velmoratide_20260302_095040~095050.aif";
    for (const std::string& each : {name, free, noted})
        leave(each);
    write(name, 256, "_Velmoratide_20260302_095000~+12600");
    write(free, 256, "_Velmoratide_20260302_095020~+3600");
    write(noted, 256, "_Velmoratide_20260302_095040~+3600");
    write(noted, 291, "A note");
    launch();
    EXPECT_EQ(informationOf(name), "_Velmoratide_20260302_095000~0950108000SI*");
    EXPECT_EQ(informationOf(free), "_Velmoratide_20260302_095020~0950308000SI*");
    EXPECT_EQ(informationOf(noted), "_Velmoratide_20260302_095040~095050A note");
    EXPECT_EQ(logged("the information of a recording is completed: "), 3);
    launch();
    EXPECT_EQ(logged("the information of a recording is completed: "), 3);
    EXPECT_EQ(framesOf(name), 80000);
}
