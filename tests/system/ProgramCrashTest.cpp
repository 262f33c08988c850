// The built program killed at random moments while it records from a real sound server.
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "storage/SoundFileNames.h"
#include "support/Counting.h"
#include "support/Sanitizer.h"
#include "system/PrivatePulseServer.h"
#include "system/RunningProgram.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sys/stat.h>
#include <thread>

namespace {
using Moment = std::chrono::steady_clock::time_point;

constexpr double rate = 44100.0;
constexpr double mostLost = 7.0; // seconds: a write interval, and sound that was still on its way
constexpr std::uintmax_t headerBytes = 4096;

std::chrono::steady_clock::duration lasting(double seconds) {
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(seconds));
}

double secondsBetween(Moment from, Moment to) {
    return std::chrono::duration<double>(to - from).count();
}

/// Writes the counting signal as bare stereo 32-bit floats.
void writeCountingFloats(const std::string& path, double seconds) {
    std::ofstream file(path, std::ios::binary);
    for (std::int64_t frame = 0; frame < static_cast<std::int64_t>(rate * seconds); ++frame) {
        const float pair[] = {counting::left(frame), counting::right(frame)};
        file.write(reinterpret_cast<const char*>(pair), sizeof pair);
    }
}

/// What a finished file holds.
struct Piece {
    std::string path;
    std::int64_t first = 0; ///< device frame
    std::int64_t end = 0;   ///< the device frame after the last one
    std::string information;
};

Piece pieceOf(const std::string& path) {
    Piece piece;
    piece.path = path;
    PosixVolume volume;
    const auto opened = SoundFile::openForReading(volume, path);
    EXPECT_EQ(opened.error, SoundFileError::none) << path;
    if (opened.file == nullptr)
        return piece;
    std::vector<std::int16_t> samples(static_cast<std::size_t>(opened.file->byteCount()) / 2);
    EXPECT_EQ(opened.file->readSamples(0, samples), static_cast<std::int64_t>(samples.size())) << path;
    EXPECT_GE(samples.size(), 2U) << path;
    piece.first = counting::frameOf(samples[0], samples[1]);
    piece.end = piece.first + static_cast<std::int64_t>(samples.size() / 2);
    EXPECT_EQ(counting::breaks(samples, piece.first), 0) << path;
    std::ifstream file(path, std::ios::binary);
    file.seekg(256);
    std::getline(file, piece.information, '\0');
    return piece;
}

/// One place for recordings, settings and the moments at which the program began and was killed.
class CrashingDuty {
public:
    explicit CrashingDuty(const PrivatePulseServer& server) : m_server(server) {}

    void launch() {
        m_program.reset();
        m_launched = std::filesystem::file_time_type::clock::now();
        m_leftover = soundBytesOfLeftover() > 0 ? fileNumber() : 0;
        m_program = std::make_unique<RunningProgram>(
            std::vector<std::string>{"--headless", "--folder", recordFolder(), "--settings",
                                     m_folder.path() + "/settings.json", "--set", "RecordSwitch=yes", "--set",
                                     "StartOnTheHour=no", "--set", "SamplingRateNumber=2", "--set",
                                     "ChannelsNumber=2"},
            m_server.environment());
    }
    /// Waits until a file is being written, and returns when that began.
    std::optional<Moment> awaitRecording() const {
        const Moment deadline = std::chrono::steady_clock::now() + lasting(patience(20.0));
        while (std::chrono::steady_clock::now() < deadline) {
            // A leftover is older, or becomes a recording as the file that it is.
            std::error_code missing;
            const auto written = std::filesystem::last_write_time(temporaryFile(), missing);
            if (!missing && written >= m_launched && fileNumber() != m_leftover)
                return std::chrono::steady_clock::now();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return std::nullopt;
    }
    void kill() { m_program->process().kill(); }
    /// Ends the program in good order; returns its exit status.
    int end() {
        m_program->process().signal(SIGTERM);
        return m_program->wait();
    }
    /// Bytes of sound in the temporary file; 0 when there is none.
    std::uintmax_t soundBytesOfLeftover() const {
        std::error_code missing;
        const std::uintmax_t size = std::filesystem::file_size(temporaryFile(), missing);
        return missing || size <= headerBytes ? 0 : size - headerBytes;
    }
    std::vector<std::string> finishedFiles() const { return m_program->outputLines(); }
    std::set<std::string> recordings() const {
        std::set<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(recordFolder()))
            if (SoundFileNames::isSoundFile(entry.path().filename().string()))
                found.insert(entry.path().string());
        return found;
    }
    std::string scratchFile() const { return m_folder.path() + "/count.raw"; }

private:
    std::string recordFolder() const { return m_folder.path() + "/record"; }
    std::string temporaryFile() const { return recordFolder() + "/.VelmoratideTempFile"; }

    /// 0 when there is no file.
    ino_t fileNumber() const {
        struct stat status = {};
        return ::stat(temporaryFile().c_str(), &status) == 0 ? status.st_ino : 0;
    }

    const PrivatePulseServer& m_server;
    TemporaryFolder m_folder;
    std::filesystem::file_time_type m_launched;
    ino_t m_leftover = 0;
    std::unique_ptr<RunningProgram> m_program;
};

/// A launch that was killed and left sound behind.
struct Crash {
    Moment recording; ///< when its file was begun
    Moment killed;
    std::uintmax_t soundBytes = 0;
};

/// Checks what the launches of a duty leave, one after the other.
class Inventory {
public:
    /// `path` holds what `crash` left.
    void addRescued(const std::string& path, const Crash& crash) {
        const Piece piece = pieceOf(path);
        EXPECT_EQ(static_cast<std::uintmax_t>(piece.end - piece.first) * 4, crash.soundBytes) << path;
        EXPECT_EQ(piece.information, std::filesystem::path(path).stem().string() + "44100SX*");
        add(piece, crash.recording);
        m_killed = crash.killed;
    }
    /// `path` was finished in good order, and begun at `recording`.
    void addFinished(const std::string& path, Moment recording) {
        const Piece piece = pieceOf(path);
        EXPECT_EQ(piece.information, std::filesystem::path(path).stem().string() + "44100SX");
        add(piece, recording);
    }
    const std::set<std::string>& paths() const { return m_paths; }
    double worst() const { return m_worst; }

private:
    void add(const Piece& piece, Moment recording) {
        EXPECT_TRUE(m_paths.insert(piece.path).second) << piece.path << " is there twice";
        if (m_killed) {
            // The time between the files that was not spent between the kill and the next file.
            const double lost =
                static_cast<double>(piece.first - m_end) / rate - secondsBetween(*m_killed, recording);
            EXPECT_GE(piece.first, m_end) << piece.path;
            EXPECT_LE(lost, mostLost) << piece.path;
            m_worst = std::max(m_worst, lost);
        }
        m_end = piece.end;
    }

    std::set<std::string> m_paths;
    std::optional<Moment> m_killed;
    std::int64_t m_end = 0;
    double m_worst = 0.0;
};

/// Launches, records for `life` seconds and kills. Returns what that leaves, if it leaves sound.
std::optional<Crash> crashAfter(CrashingDuty& duty, double life, std::optional<Crash> before,
                                Inventory& inventory) {
    duty.launch();
    const auto recording = duty.awaitRecording();
    EXPECT_TRUE(recording) << "it does not record";
    if (!recording)
        return std::nullopt;
    const auto rescued = duty.finishedFiles();
    EXPECT_EQ(rescued.size(), before ? 1U : 0U);
    if (before && rescued.size() == 1)
        inventory.addRescued(rescued[0], *before);
    std::this_thread::sleep_until(*recording + lasting(life));
    duty.kill();
    const Moment killed = std::chrono::steady_clock::now();
    const std::uintmax_t bytes = duty.soundBytesOfLeftover();
    const double lost = secondsBetween(*recording, killed) - static_cast<double>(bytes) / 4.0 / rate;
    EXPECT_LE(lost, mostLost);
    EXPECT_GE(lost, -0.5);
    return bytes > 0 ? std::optional<Crash>({*recording, killed, bytes}) : std::nullopt;
}
} // namespace

TEST(ProgramCrash, losesNoMoreThanOneWriteInterval_howeverOftenItIsKilled) {
    if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
        GTEST_SKIP() << why;
    const int kills = std::getenv("VELMORATIDE_TEST_ALL") != nullptr ? 20 : 3;
    PrivatePulseServer server;
    CrashingDuty duty(server);
    writeCountingFloats(duty.scratchFile(), 30.0 + 14.0 * kills);
    const ChildProcess player({"paplay", "--raw", "--format=float32le", "--rate=44100", "--channels=2",
                               "--latency-msec=2000", "--device=duty", duty.scratchFile()},
                              server.environment());
    std::this_thread::sleep_for(std::chrono::seconds(2));

    std::mt19937 random(20071024);
    std::uniform_real_distribution<double> life(0.5, 12.0);
    Inventory inventory;
    std::optional<Crash> crash;
    for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
        SCOPED_TRACE("kill " + std::to_string(kill + 1));
        crash = crashAfter(duty, life(random), crash, inventory);
    }
    duty.launch();
    const auto recording = duty.awaitRecording();
    ASSERT_TRUE(recording);
    std::this_thread::sleep_until(*recording + lasting(8.0));
    EXPECT_EQ(duty.end(), 0);
    const auto finished = duty.finishedFiles();
    ASSERT_EQ(finished.size(), crash ? 2U : 1U);
    if (crash)
        inventory.addRescued(finished.front(), *crash);
    inventory.addFinished(finished.back(), *recording);
    EXPECT_EQ(duty.recordings(), inventory.paths());
    EXPECT_EQ(duty.soundBytesOfLeftover(), 0U);
    std::printf("[ MEASURED ] %d kills, %zu files, at most %.2f s lost\n", kills, inventory.paths().size(),
                inventory.worst());
}
