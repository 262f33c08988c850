#include "keeper/CompressorTask.h"

#include "support/TemporaryFolder.h"

#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace {
using End = CompressorTask::End;

class CompressorTaskTest : public testing::Test {
protected:
    CompressorTask::Result run(const std::string& script, double timeLimit = 60.0) {
        return CompressorTask::run(
            {.path = "/bin/sh", .arguments = {"-c", script}, .timeLimit = timeLimit, .folder = folder.path()},
            stop);
    }
    std::string file(const std::string& name) const { return folder.path() + "/" + name; }
    std::string textOf(const std::string& name) const {
        std::ifstream text(file(name));
        std::string line;
        std::getline(text, line);
        return line;
    }
    static bool lives(int process) {
        std::ifstream status("/proc/" + std::to_string(process) + "/stat");
        std::string number;
        std::string name;
        std::string state;
        return status >> number >> name >> state && state != "Z" && state != "X";
    }
    TemporaryFolder folder;
    std::atomic<bool> stop{false};
};
} // namespace

TEST_F(CompressorTaskTest, tellsTheExitStatus) {
    EXPECT_EQ(run("exit 0").status, 0);
    EXPECT_EQ(run("exit 7").status, 7);
    EXPECT_EQ(run("exit 7").fault(), "it ended with status 7");
}

TEST_F(CompressorTaskTest, tellsASignal) {
    const auto result = run("kill -9 $$");
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.end, End::killed);
    EXPECT_EQ(result.error, 9);
}

TEST_F(CompressorTaskTest, tellsThatThereIsNoSuchProgram) {
    const auto result = CompressorTask::run({.path = file("none"), .arguments = {}}, stop);
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.end, End::noTask);
    EXPECT_EQ(result.error, ENOENT);
}

TEST_F(CompressorTaskTest, handsArgumentsOverAsTheyAre) {
    const auto result = CompressorTask::run(
        {.path = "/bin/sh",
         .arguments = {"-c", "printf '%s|' \"$@\" > " + file("out"), "sh", "a b", "", "$HOME;"}},
        stop);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(textOf("out"), "a b||$HOME;|");
}

TEST_F(CompressorTaskTest, givesNothingToRead) {
    EXPECT_EQ(run("cat > " + file("out") + "; wc -c < " + file("out") + " > " + file("count")).status, 0);
    EXPECT_EQ(textOf("count"), "0");
}

TEST_F(CompressorTaskTest, takesMegabytesOffItsHands) {
    EXPECT_EQ(run("head -c 20000000 /dev/zero; head -c 20000000 /dev/zero >&2").status, 0);
}

TEST_F(CompressorTaskTest, runsAtALowPriority_inAGroupOfItsOwn) {
    // The first process may be under way before its priority is lowered; what it starts later is not.
    EXPECT_EQ(run("sleep 0.1; ps -o ni=,pgid= -p $$ > " + file("out")).status, 0);
    int nice = 0;
    int group = 0;
    std::istringstream(textOf("out")) >> nice >> group;
    EXPECT_EQ(nice, 19);
    EXPECT_NE(group, getpgrp());
}

TEST_F(CompressorTaskTest, endsTheWholeGroup_whenTheTimeIsOver) {
    const auto result =
        run("trap '' TERM; sleep 1000 & echo $! > " + file("child") + "; wait; sleep 1000", 0.3);
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.end, End::overTime);
    const int child = std::stoi(textOf("child"));
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (lives(child) && std::chrono::steady_clock::now() < until) // a killed process takes a moment to end
        std::this_thread::yield();
    EXPECT_FALSE(lives(child));
}

TEST_F(CompressorTaskTest, isStopped) {
    std::thread stopper([this] {
        while (textOf("begun").empty())
            std::this_thread::yield();
        stop = true;
    });
    const auto result = run("echo yes > " + file("begun") + "; sleep 1000");
    stopper.join();
    EXPECT_EQ(result.end, End::stopped);
    EXPECT_EQ(result.status, -1);
}

TEST_F(CompressorTaskTest, doesNotStart_onceStopped) {
    stop = true;
    EXPECT_EQ(run("echo yes > " + file("begun")).end, End::stopped);
    EXPECT_EQ(textOf("begun"), "");
}

TEST_F(CompressorTaskTest, waitsForACompressorThatOutlivedACrash) {
    const int other = ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    std::ofstream(file("order")) << "first ";
    std::thread survivor([&] {
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
        while (std::chrono::steady_clock::now() < until)
            std::this_thread::yield();
        std::ofstream(file("order"), std::ios::app) << "second ";
        ::close(other);
    });
    EXPECT_EQ(run("printf third >> " + file("order")).status, 0);
    survivor.join();
    EXPECT_EQ(textOf("order"), "first second third");
}

TEST_F(CompressorTaskTest, doesNotStart_whileSomebodyElseIsAtWorkInTheFolder) {
    const int other = ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    const auto result = run("echo yes > " + file("begun"), 0.2);
    ::close(other);
    EXPECT_EQ(result.end, End::folderInUse);
    EXPECT_EQ(result.fault(), "it was not started, another recorder or compressor is at work in the folder");
    EXPECT_EQ(textOf("begun"), "");
}

TEST_F(CompressorTaskTest, handsTheLockOnToWhatItStarts) {
    std::thread outliving([this] { EXPECT_EQ(run("echo yes > " + file("begun") + "; sleep 0.3").status, 0); });
    while (textOf("begun").empty())
        std::this_thread::yield();
    const int own = ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_NE(::flock(own, LOCK_EX | LOCK_NB), 0) << "our own descriptor is closed, the program has it";
    outliving.join();
    EXPECT_EQ(::flock(own, LOCK_EX | LOCK_NB), 0);
    ::close(own);
}
