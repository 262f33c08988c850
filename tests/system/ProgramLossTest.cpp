// The built program while its sound server or its source comes and goes.
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "support/Sanitizer.h"
#include "system/PrivatePulseServer.h"
#include "system/RunningProgram.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace {
void pauseFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

bool becomesTrue(double seconds, const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(patience(seconds));
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        pauseFor(0.05);
    }
    return true;
}

std::ptrdiff_t linesWith(const RunningProgram& program, const char* words) {
    const auto lines = program.errorLines();
    return std::count_if(lines.begin(), lines.end(),
                         [words](const std::string& line) { return line.find(words) != std::string::npos; });
}

double awayFor(int round) {
    return 0.5 + 0.2 * (round % 10);
}

/// Seconds of the last gap that was reported.
double lastGap(const RunningProgram& program) {
    double seconds = -1.0;
    for (const std::string& line : program.errorLines())
        if (const auto at = line.find(" for "); at != std::string::npos)
            seconds = std::atof(line.c_str() + at + 5);
    return seconds;
}
} // namespace

TEST(ProgramLoss, goesOnInANewFileEachTimeThatTheInputComesBack) {
    if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
        GTEST_SKIP() << why;
    PrivatePulseServer server;
    RunningProgram program({"--headless", "--set", "RecordSwitch=yes"}, server.environment());
    const std::vector<std::string> sink = {"module-null-sink", "sink_name=duty", "format=float32le",
                                           "rate=44100",       "channels=2",     "norewinds=1"};
    // Ten losses of the server and ten of the source, or five of each.
    const int rounds = std::getenv("VELMORATIDE_TEST_ALL") != nullptr ? 20 : 10;
    for (int round = 0; round < rounds; ++round) {
        pauseFor(2.0);
        const auto lost = std::chrono::steady_clock::now();
        if (round % 2 == 0)
            server.kill();
        else
            ASSERT_TRUE(server.unloadModule("module-null-sink"));
        pauseFor(awayFor(round));
        if (round % 2 == 0)
            ASSERT_TRUE(server.restart());
        else
            ASSERT_FALSE(server.loadModule(sink).empty());
        ASSERT_TRUE(becomesTrue(10.0, [&] { return linesWith(program, "is back") == round + 1; }))
            << "round " << round;
        const std::chrono::duration<double> gap = std::chrono::steady_clock::now() - lost;
        EXPECT_LE(lastGap(program), gap.count() + 0.1) << "round " << round;
        EXPECT_GE(lastGap(program), awayFor(round) - 0.1) << "round " << round;
    }
    pauseFor(2.0);
    program.process().signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(linesWith(program, "is gone"), rounds);
    EXPECT_EQ(linesWith(program, "is back"), rounds);
    EXPECT_EQ(program.errorLines().size(),
              2U * static_cast<std::size_t>(rounds) + 2); // and no system bus, and the end of the program

    const auto files = program.outputLines();
    EXPECT_EQ(files.size(), static_cast<std::size_t>(rounds) + 1);
    for (const std::string& path : files) {
        PosixVolume volume;
        const auto opened = SoundFile::openForReading(volume, path);
        ASSERT_EQ(opened.error, SoundFileError::none) << path;
        EXPECT_GT(static_cast<double>(opened.file->frames()) / 22050.0, 1.5) << path;
    }
}
