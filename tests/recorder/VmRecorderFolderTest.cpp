// A record folder that becomes something else while it is recorded into.
#include "faults/FrameCensus.h"
#include "support/DeskOfATest.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

namespace {
namespace files = std::filesystem;

/// Records for 100 s, with a split every 20 s.
class MovedFolder {
public:
    MovedFolder() {
        m_desk.launch();
        m_desk.controler->recorder().recordButton().press(true);
        m_desk.runFor(12.0);
        files::rename(folder, away);
    }
    void finish(double seconds) {
        m_desk.runFor(seconds);
        m_desk.controler->recorder().recordButton().press(false);
        m_desk.runFor(1.0);
        EXPECT_TRUE(m_desk.controler->recorder().condition() == RecordCondition::stopped);
        m_desk.terminate();
    }
    void runFor(double seconds) { m_desk.runFor(seconds); }
    std::string book() const {
        std::ifstream file(folder + "/VelmoratideLog.txt");
        return {std::istreambuf_iterator<char>(file), {}};
    }
    VmRecorder& recorder() { return m_desk.controler->recorder(); }
    bool logged(const std::string& part) const {
        const auto lines = m_desk.log.lines();
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& line) { return line.find(part) != std::string::npos; });
    }
    /// Every frame of the duty lies once in one of the folders.
    void expectAllIn(const std::vector<std::string>& folders, double seconds) const {
        FrameCensus census;
        for (const std::string& each : folders) {
            const std::string temporary = each + "/.VelmoratideTempFile";
            const bool isThere = files::exists(temporary);
            for (const auto& entry : files::directory_iterator(each))
                if (FrameCensus::isRecording(entry.path().filename().string()) &&
                    !(isThere && files::equivalent(entry.path(), temporary)))
                    census.add(entry.path().string());
            if (isThere)
                census.addTemporary(temporary);
        }
        std::string log;
        for (const std::string& line : m_desk.log.lines())
            log += line + "\n";
        EXPECT_EQ(census.complaintOfGaps(), "") << log;
        EXPECT_NEAR(static_cast<double>(census.end() - census.first()) / rate, seconds, 0.2) << log;
    }

private:
    static constexpr double rate = 8000.0; // Hz
    static SimulatedDevice input() {
        SimulatedDevice device = countingInput();
        device.rates = {rate};
        return device;
    }
    TemporaryFolder m_place;

public:
    const std::string folder = m_place.path() + "/record";
    const std::string away = m_place.path() + "/away";
    const std::string other = m_place.path() + "/other";

private:
    RehearsalDesk m_desk{m_place.path(),
                         QTimeZone("Asia/Tokyo"),
                         morning,
                         {input(), deskOutput()},
                         {{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"MaxRecordTime", 20}}};
};
} // namespace

TEST(VmRecorderFolder, isWaitedFor_withoutLosingAFrame_whileAFileLiesInItsPlace) {
    MovedFolder it;
    std::ofstream(it.folder) << "a file";
    it.runFor(40.0);
    EXPECT_TRUE(it.logged("VmMechanic: FSPathMakeRef error."));
    EXPECT_EQ(it.recorder().messageField().text(), "WaitingForDisk");
    EXPECT_TRUE(files::is_regular_file(it.folder));
    files::remove(it.folder);
    it.finish(48.0);
    EXPECT_TRUE(it.logged("VmMechanic: record folder was gone, it is made anew."));
    it.expectAllIn({it.folder, it.away}, 100.0);
}

TEST(VmRecorderFolder, isWhereALinkInItsPlaceLeads) {
    MovedFolder it;
    files::create_directory(it.other);
    files::create_directory_symlink("other", it.folder);
    it.finish(88.0);
    EXPECT_TRUE(files::is_symlink(it.folder));
    EXPECT_FALSE(files::is_empty(it.other));
    it.expectAllIn({it.other, it.away}, 100.0);
}

TEST(VmRecorderFolder, isWaitedFor_whileALinkInItsPlaceLeadsNowhere) {
    MovedFolder it;
    files::create_directory_symlink("other", it.folder);
    it.runFor(40.0);
    EXPECT_EQ(it.recorder().messageField().text(), "WaitingForDisk");
    files::create_directory(it.other);
    it.finish(48.0);
    it.expectAllIn({it.other, it.away}, 100.0);
}

TEST(VmRecorderFolder, isMadeAnew_whenItIsGone) {
    MovedFolder it;
    it.finish(88.0);
    EXPECT_TRUE(it.logged("VmRecorder: record file rename error.")); // the first one went with its folder
    it.expectAllIn({it.folder, it.away}, 100.0);
}

TEST(VmRecorderFolder, isMadeAnew_withAWordInTheBook_alsoWhenTheBookMissesItFirst) {
    MovedFolder it;
    it.recorder().hourButton().press(false); // a block of the book, long before the next file
    it.runFor(0.5);
    EXPECT_FALSE(files::exists(it.folder)); // it may come back
    it.finish(87.5);
    EXPECT_TRUE(it.logged("VmMechanic: record folder was gone, it is made anew."));
    const std::string book = it.book();
    const std::size_t missed = book.find("ON THE HOUR SWITCH CHANGED");
    ASSERT_NE(missed, std::string::npos) << book;
    EXPECT_NE(book.find("record folder was gone, it is made anew.", missed), std::string::npos) << book;
    it.expectAllIn({it.folder, it.away}, 100.0);
}

TEST(VmRecorderFolder, isGoneOnWith_whenItComesBackBeforeTheNextFile) {
    MovedFolder it;
    it.recorder().hourButton().press(false);
    it.runFor(3.0);
    files::rename(it.away, it.folder);
    it.finish(85.0);
    EXPECT_FALSE(it.logged("VmMechanic: record folder was gone, it is made anew."));
    EXPECT_NE(it.book().find("ON THE HOUR SWITCH CHANGED"), std::string::npos);
    it.expectAllIn({it.folder}, 100.0);
}

TEST(VmRecorderFolder, isGoneOnWith_whenAnotherOneCameInItsPlace) {
    MovedFolder it;
    files::create_directory(it.folder);
    std::ofstream(it.folder + "/.VelmoratideTempFile") << "of another duty";
    it.finish(88.0);
    it.expectAllIn({it.folder, it.away}, 100.0);
}
