// A log book that cannot be written, and events from many threads.
#include "dutylog/LogDesk.h"

#include <thread>

namespace {
struct VmDutyLogFaultTest : testing::Test {
    void expectSoundIsWhole(LogDesk& it) {
        it.recorder().recordButton().press(true);
        it.desk.runFor(10.0);
        it.recorder().recordButton().press(false);
        it.desk.runFor(1.0);
        EXPECT_EQ(it.desk.controler->mechanic().recordings().size(), 1U);
    }
    TemporaryFolder folder;
};
} // namespace

TEST_F(VmDutyLogFaultTest, goesOnDutyWithoutABook_whenAFolderStandsInItsPlace) {
    std::filesystem::create_directories(folder.path() + "/record/VelmoratideLog.txt/inside");
    LogDesk it(folder);
    it.desk.launch();
    EXPECT_EQ(it.said("Can not create Log Book."), 1U);
    EXPECT_FALSE(it.desk.defaults.boolForKey("TroubleTermination"));
    expectSoundIsWhole(it);
    it.desk.terminate();
    EXPECT_TRUE(std::filesystem::is_directory(it.path()));
}

TEST_F(VmDutyLogFaultTest, goesOnDutyWithoutABook_whenTheFolderTakesNoFile) {
    LogDesk it(folder);
    it.desk.volume.setWriteError(true);
    it.desk.launch();
    EXPECT_EQ(it.said("Can not create Log Book."), 1U);
    it.desk.volume.setWriteError(false);
    expectSoundIsWhole(it);
    it.desk.terminate();
    EXPECT_FALSE(it.hasBook());
}

TEST_F(VmDutyLogFaultTest, losesNothing_whenTheDiskIsFullForAWhile) {
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    it.desk.volume.setWriteError(true);
    it.post("SomeErrorHappen", "one");
    it.desk.runFor(1.0);
    it.post("SomeErrorHappen", "two");
    EXPECT_EQ(it.added(), "");
    EXPECT_EQ(it.said("VmDutyLog: log book write error (No space left on device)."), 1U);
    it.desk.volume.setWriteError(false);
    it.desk.runFor(300.0); // the patrol tries again
    EXPECT_EQ(it.added(), "2007.10.24 09:30:00 ERROR HAPPEN\n\tone\t\n\n"
                          "2007.10.24 09:30:01 ERROR HAPPEN\n\ttwo\t\n\n");
    EXPECT_EQ(it.said("VmDutyLog: log book is written again."), 1U);
}

TEST_F(VmDutyLogFaultTest, losesNothing_whenTheFolderVanishesWhileNothingIsRecorded) {
    LogDesk it(folder);
    it.desk.launch();
    std::filesystem::remove_all(it.desk.recordFolder());
    it.post("SomeErrorHappen", "one");
    it.desk.runFor(1.0);
    EXPECT_FALSE(it.hasBook());
    it.desk.runFor(300.0); // the patrol
    EXPECT_EQ(it.book(), "2007.10.24 09:30:00 ERROR HAPPEN\n\tone\t\n\n"
                         "2007.10.24 09:35:00 ERROR HAPPEN\n"
                         "\tVmMechanic: record folder was gone, it is made anew.\t\n\n");
    EXPECT_EQ(it.said("VmMechanic: record folder was gone, it is made anew."), 1U);
}

TEST_F(VmDutyLogFaultTest, saysInTheBookWhatHadToBeDropped) {
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    it.desk.volume.setWriteError(true);
    const std::string message(2000, 'x');
    for (int i = 0; i < 600; ++i)
        it.post("SomeErrorHappen", message);
    it.desk.volume.setWriteError(false);
    it.post("SomeReportHappen", "back");
    const std::string added = it.added();
    const std::size_t block = message.size() + std::string("2007.10.24 09:30:00 ERROR HAPPEN\n\t\t\n\n").size();
    const std::size_t kept = LogBook::longestBacklog / block;
    EXPECT_EQ(added.substr(kept * block),
              "2007.10.24 09:30:00 REPORT HAPPEN\n\t" + std::to_string(600 - kept) +
                  " events are missing here\t\n\n2007.10.24 09:30:00 REPORT HAPPEN\n\tback\t\n\n");
}

TEST_F(VmDutyLogFaultTest, doesNotMakeTheDutyWaitForASlowDisk) {
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    it.desk.volume.setWriteSeconds(20.0);
    const HostTime begin = it.desk.clock.hostTime();
    for (int i = 0; i < 5; ++i)
        it.post("SomeReportHappen", "at once");
    EXPECT_EQ(it.desk.clock.hostTime(), begin);
    EXPECT_EQ(it.added().size(), 5 * std::string("2007.10.24 09:30:00 REPORT HAPPEN\n\tat once\t\n\n").size());
}

TEST_F(VmDutyLogFaultTest, tearsNoBlock_ofEventsFromFourThreads) {
    constexpr int threads = 4;
    constexpr int each = 25000;
    LogDesk it(folder);
    it.desk.launch();
    it.added();
    std::vector<std::thread> posters;
    for (int thread = 0; thread < threads; ++thread)
        posters.emplace_back([&it, thread] {
            for (int i = 0; i < each; ++i)
                it.post(i % 2 == 0 ? "SomeErrorHappen" : "SomeReportHappen",
                        std::to_string(thread) + ":" + std::to_string(i));
        });
    for (int i = 0; i < 1000; ++i) // the main thread is on duty meanwhile
        it.post("ChannelsChange");
    for (std::thread& poster : posters)
        poster.join();

    std::istringstream book(it.added());
    int next[threads] = {};
    int changes = 0;
    const std::string now = "2007.10.24 09:30:00 ";
    for (std::string title, message, blank; std::getline(book, title);) {
        ASSERT_TRUE(std::getline(book, message) && std::getline(book, blank)) << title;
        ASSERT_EQ(blank, "");
        if (message == "\tchannels\t= stereo") {
            ASSERT_EQ(title, now + "RECORD CHANNELS CHANGED");
            ++changes;
            continue;
        }
        const int thread = message.at(1) - '0';
        ASSERT_TRUE(thread >= 0 && thread < threads) << message;
        const int number = next[thread]++;
        ASSERT_EQ(message, "\t" + std::to_string(thread) + ":" + std::to_string(number) + "\t");
        ASSERT_EQ(title, now + (number % 2 == 0 ? "ERROR HAPPEN" : "REPORT HAPPEN"));
    }
    EXPECT_EQ(changes, 1000);
    for (const int count : next)
        EXPECT_EQ(count, each);
}
