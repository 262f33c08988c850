// The machine sleeps while the built program records.
#include "desktop/LogindStandIn.h"
#include "desktop/PrivateSystemBus.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "storage/SoundFileNames.h"
#include "system/PrivatePulseServer.h"
#include "system/RunningProgram.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QTimer>

namespace {
using Names = std::vector<std::string>;

class ProgramSleep : public testing::Test {
protected:
    void SetUp() override {
        for (const std::string& why : {PrivatePulseServer::whyNot(), PrivateSystemBus::whyNot()})
            if (!why.empty())
                GTEST_SKIP() << why;
    }

    /// The finished recordings in the program's folder: the one in progress is a link to a work file still.
    static Names recordings(const RunningProgram& program) {
        Names found;
        std::error_code missing; // before the program has made it
        for (const auto& entry : std::filesystem::directory_iterator(program.recordFolder(), missing))
            if (SoundFileNames::isSoundFile(entry.path().filename().string()) &&
                entry.hard_link_count(missing) == 1)
                found.push_back(entry.path().string());
        std::sort(found.begin(), found.end());
        return found;
    }
    static double secondsOf(const std::string& path) {
        PosixVolume volume;
        const auto opened = SoundFile::openForReading(volume, path);
        EXPECT_EQ(opened.error, SoundFileError::none) << path;
        return opened.file == nullptr ? 0.0 : static_cast<double>(opened.file->frames()) / opened.file->rate();
    }
    static void runLoopFor(int milliseconds) {
        bool over = false;
        QTimer::singleShot(milliseconds, [&over] { over = true; });
        EXPECT_TRUE(becomesTrueInLoop([&over] { return over; }));
    }
    /// A recorder of `server`, with the private bus as its system bus.
    static ChildProcess::Environment environment(const PrivatePulseServer& server) {
        auto all = server.environment();
        all["DBUS_SYSTEM_BUS_ADDRESS"] = PrivateSystemBus::address();
        return all;
    }

    int m_count = 1;
    char m_name[5] = "test";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application{m_count, m_arguments};
};
} // namespace

TEST_F(ProgramSleep, finishesTheFileBeforeTheMachineMaySleep_andBeginsANewOneWhenItWakes) {
    PrivatePulseServer server;
    PrivateSystemBus bus;
    LogindStandIn logind(PrivateSystemBus::address());
    RunningProgram program({"--headless", "--set", "RecordSwitch=yes"}, environment(server));
    const auto locked = [&] { return logind.heldLocks(QStringLiteral("delay")) == 1; };
    const auto unlocked = [&] { return logind.heldLocks(QStringLiteral("delay")) == 0; };
    ASSERT_TRUE(becomesTrueInLoop(locked));
    for (std::size_t round = 1; round <= 2; ++round) {
        runLoopFor(3000);
        ASSERT_EQ(recordings(program).size(), round - 1);
        logind.emitPrepareForSleep({true});
        ASSERT_TRUE(becomesTrueInLoop(unlocked));
        ASSERT_EQ(recordings(program).size(), round) << "the machine may sleep, and the file is not finished";
        EXPECT_GT(secondsOf(recordings(program).back()), 1.5);
        runLoopFor(2000);
        EXPECT_EQ(recordings(program).size(), round) << "nothing is recorded in the sleep";
        logind.emitPrepareForSleep({false});
        ASSERT_TRUE(becomesTrueInLoop(locked));
    }
    runLoopFor(3000);
    program.process().signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    const Names all = recordings(program);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_GT(secondsOf(all[2]), 1.5);
    EXPECT_LT(secondsOf(all[2]), 4.0) << "it begins with the waking";
    EXPECT_EQ(program.outputLines(), all);
    for (const std::string& line : program.errorLines())
        EXPECT_EQ(line.find("LogindSleep"), std::string::npos) << line;
}

TEST_F(ProgramSleep, holdsTheMachineUntilTheLastFileIsFinished_whenItEndsWithOrWithoutAWindow) {
    PrivatePulseServer server;
    for (const char* argument : {"--headless", "--source=0"}) { // the latter with a window
        PrivateSystemBus bus;
        LogindStandIn logind(PrivateSystemBus::address());
        auto all = environment(server);
        all["QT_QPA_PLATFORM"] = "offscreen";
        RunningProgram program({argument, "--set", "RecordSwitch=yes"}, all);
        ASSERT_TRUE(becomesTrueInLoop([&] { return logind.heldLocks(QStringLiteral("delay")) == 1; }))
            << argument;
        runLoopFor(3000);
        program.process().signal(SIGTERM);
        logind.emitPrepareForSleep({true});
        ASSERT_TRUE(becomesTrueInLoop([&] { return logind.heldLocks(QStringLiteral("delay")) == 0; }))
            << argument;
        EXPECT_EQ(recordings(program).size(), 1U) << argument;
        EXPECT_EQ(program.wait(), 0) << argument;
        EXPECT_EQ(recordings(program).size(), 1U) << argument;
    }
}

TEST_F(ProgramSleep, recordsAllTheSame_whenNobodyTellsOfTheSleep) {
    PrivatePulseServer server;
    auto noBus = server.environment();
    noBus["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + server.folder().string() + "/no-bus";
    RunningProgram absent({"--headless", "--record-for", "3"}, noBus);
    PrivateSystemBus bus;
    bus.freeze();
    RunningProgram silent({"--headless", "--record-for", "3"}, environment(server));
    EXPECT_EQ(absent.wait(), 0);
    ASSERT_FALSE(absent.errorLines().empty());
    EXPECT_NE(absent.errorLines()[0].find("LogindSleep: the system bus cannot be reached"), std::string::npos);
    ASSERT_TRUE(becomesTrueInLoop([&] { return silent.outputLines().size() == 1; }));
    bus.thaw();
    EXPECT_EQ(silent.wait(), 0);
    for (const RunningProgram* program : {&absent, &silent}) {
        ASSERT_EQ(program->outputLines().size(), 1U);
        EXPECT_NEAR(secondsOf(program->outputLines()[0]), 3.0, 0.1);
    }
}
