// The built program records from a real sound server.
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "storage/SoundFileNames.h"
#include "support/Counting.h"
#include "system/PrivatePulseServer.h"
#include "system/RunningProgram.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

namespace {
void pauseFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

std::vector<std::int16_t> samplesOf(const std::string& path, double rate, unsigned channels) {
    PosixVolume volume;
    const auto opened = SoundFile::openForReading(volume, path);
    EXPECT_EQ(opened.error, SoundFileError::none) << path;
    if (opened.file == nullptr)
        return {};
    EXPECT_EQ(opened.file->rate(), rate);
    EXPECT_EQ(opened.file->channels(), channels);
    std::vector<std::int16_t> all(static_cast<std::size_t>(opened.file->byteCount()) / 2);
    EXPECT_EQ(opened.file->readSamples(0, all), static_cast<std::int64_t>(all.size()));
    return all;
}

/// Writes the counting signal as a WAV file of stereo 32-bit floats.
void writeCountingWave(const std::string& path, std::uint32_t rate, double seconds) {
    const auto frames = static_cast<std::uint32_t>(rate * seconds);
    std::ofstream file(path, std::ios::binary);
    const auto word = [&file](std::uint32_t value, int bytes) {
        file.write(reinterpret_cast<const char*>(&value),
                   bytes); // little-endian, as the machines that run tests
    };
    file << "RIFF";
    word(36 + frames * 8, 4);
    file << "WAVEfmt ";
    word(16, 4);
    word(3, 2); // floats
    word(2, 2);
    word(rate, 4);
    word(rate * 8, 4);
    word(8, 2);
    word(32, 2);
    file << "data";
    word(frames * 8, 4);
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        const float pair[] = {counting::left(frame), counting::right(frame)};
        file.write(reinterpret_cast<const char*>(pair), sizeof pair);
    }
}

std::string standardOutputOf(const std::string& command) {
    std::string text;
    if (FILE* pipe = popen(command.c_str(), "r"); pipe != nullptr) {
        char piece[256];
        while (std::fgets(piece, sizeof piece, pipe) != nullptr)
            text += piece;
        pclose(pipe);
    }
    return text;
}

void expectPlayable(const std::string& path, double rate, int channels, double seconds) {
    if (ChildProcess::isInstalled("soxi")) {
        EXPECT_EQ(std::atof(standardOutputOf("soxi -r '" + path + "'").c_str()), rate);
        EXPECT_EQ(std::atoi(standardOutputOf("soxi -c '" + path + "'").c_str()), channels);
        EXPECT_NEAR(std::atof(standardOutputOf("soxi -D '" + path + "'").c_str()), seconds, 0.1);
    }
    if (ChildProcess::isInstalled("ffprobe")) {
        const std::string length =
            standardOutputOf("ffprobe -v error -show_entries format=duration -of csv=p=0 '" + path + "'");
        EXPECT_NEAR(std::atof(length.c_str()), seconds, 0.1);
    }
}

class ProgramRecording : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
            GTEST_SKIP() << why;
    }
};
} // namespace

TEST_F(ProgramRecording, recordsEveryFrameOfThirtySecondsOnceAndInOrder) {
    PrivatePulseServer server;
    TemporaryFolder folder;
    writeCountingWave(folder.path() + "/count.wav", 44100, 40.0);
    ChildProcess player({"paplay", "--latency-msec=2000", "--device=duty", folder.path() + "/count.wav"},
                        server.environment());
    pauseFor(2.0);
    RunningProgram all(
        {"--headless", "--record-for", "30", "--set", "SamplingRateNumber=2", "--set", "ChannelsNumber=2"},
        server.environment());
    RunningProgram half(
        {"--headless", "--record-for", "30", "--set", "SamplingRateNumber=1", "--set", "ChannelsNumber=1"},
        server.environment());
    EXPECT_EQ(all.wait(), 0);
    EXPECT_EQ(half.wait(), 0);

    ASSERT_EQ(all.outputLines().size(), 1U);
    const auto stereo = samplesOf(all.outputLines()[0], 44100.0, 2);
    EXPECT_NEAR(static_cast<double>(stereo.size() / 2) / 44100.0, 30.0, 0.1);
    ASSERT_GT(stereo.size(), 2U);
    EXPECT_GT(counting::frameOf(stereo[0], stereo[1]), 0) << "the player began too late";
    EXPECT_EQ(counting::breaks(stereo, counting::frameOf(stereo[0], stereo[1])), 0);

    ASSERT_EQ(half.outputLines().size(), 1U);
    const auto mono = samplesOf(half.outputLines()[0], 22050.0, 1);
    EXPECT_NEAR(static_cast<double>(mono.size()) / 22050.0, 30.0, 0.1);
    std::size_t breaks = 0;
    for (std::size_t i = 1; i < mono.size(); ++i)
        breaks += (mono[i] - mono[i - 1] + counting::period) % counting::period == 2 ? 0 : 1;
    EXPECT_EQ(breaks, 0U);
}

TEST_F(ProgramRecording, leavesOneFileThatPlaysAnywhere) {
    PrivatePulseServer server;
    RunningProgram real({"--headless", "--record-for", "5"}, server.environment());
    RunningProgram demo({"--demo", "--headless", "--record-for", "5"});
    for (RunningProgram* program : {&real, &demo}) {
        EXPECT_EQ(program->wait(), 0);
        ASSERT_EQ(program->outputLines().size(), 1U);
        const std::string path = program->outputLines()[0];
        EXPECT_EQ(std::filesystem::path(path).parent_path(), program->recordFolder());
        EXPECT_TRUE(SoundFileNames::isSoundFile(std::filesystem::path(path).filename().string()));
        expectPlayable(path, 22050.0, 1, 5.0);
        std::ifstream file(path, std::ios::binary);
        file.seekg(256);
        std::string information;
        std::getline(file, information, '\0');
        const std::string letter = program == &demo ? "I" : "X";
        EXPECT_EQ(information, std::filesystem::path(path).stem().string() + "22050M" + letter);
    }
}

TEST_F(ProgramRecording, finishesTheFileOnASignal) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        PrivatePulseServer server;
        RunningProgram program({"--headless", "--set", "RecordSwitch=yes"}, server.environment());
        pauseFor(3.0);
        program.process().signal(signal);
        EXPECT_EQ(program.wait(), 0);
        ASSERT_EQ(program.outputLines().size(), 1U);
        const auto samples = samplesOf(program.outputLines()[0], 22050.0, 1);
        EXPECT_GT(samples.size(), 22050U * 3 / 2);
        EXPECT_TRUE(std::filesystem::exists(program.settingsPath()));
    }
}

TEST_F(ProgramRecording, listsIndexNameDeviceAndRate) {
    PrivatePulseServer server;
    RunningProgram program({"--list-sources"}, server.environment());
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(program.outputLines(),
              std::vector<std::string>{"0\tMonitor of Null Output\tMonitor of Null Output\t44100 Hz"});
}
