// Measures the waveform picture of the longest file that there may be against reading its pages once, and
// against the packaged drawer of waveforms if the machine has one.
#include "BenchFolder.h"
#include "CpuSeconds.h"
#include "Figures.h"
#include "library/WaveformEnvelope.h"
#include "library/WaveformPicture.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <span>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr double rate = 44100.0; // stereo
constexpr QSize size(480, 80);
constexpr int rounds = 3;
constexpr std::size_t pieceBytes = std::size_t{128} * 1024;

std::string seconds(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f s", value);
    return text;
}

/// 2 GiB, the most that a file may have. Its sound is written: holes would be read from nowhere.
std::string makeLongestSound(const std::string& folder) {
    std::string path = folder + "/_Velmoratide_20260302_000000~032300.aif";
    PosixVolume volume;
    auto created = SoundFile::create(volume, path, rate, 2);
    std::vector<std::int16_t> samples(1 << 20);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(i * 7919 % 65536 - 32768);
    bool written = created.file != nullptr;
    std::int64_t room = (SoundFile::largestFile - AiffHeader::soundAt) / 4 * 2; // samples, whole frames
    for (std::int64_t at = 0; written && room > 0;) {
        const auto count = std::min(static_cast<std::int64_t>(samples.size()), room);
        written = created.file->writeSamples(at, std::span(samples).first(static_cast<std::size_t>(count)));
        at += count * 2;
        room -= count;
    }
    return written && created.file->close() ? path : std::string();
}

double readPages(const std::string& path) {
    const double start = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::vector<char> piece(pieceBytes);
    while (::read(file, piece.data(), piece.size()) > 0)
        benchmark::DoNotOptimize(piece.data());
    ::close(file);
    return cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - start;
}

double draw(const std::string& path) {
    const double start = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    PosixVolume volume;
    const auto opened = SoundFile::openForReading(volume, path);
    WaveformEnvelope envelope(opened.file->byteCount(), size.width());
    const bool read =
        envelope.read(*opened.file, [](double) { return true; }) == WaveformEnvelope::Outcome::done;
    const QImage image = WaveformPicture::drawn(envelope.columns(), size);
    if (!read || !WaveformPicture::keep(volume, path, image, opened.file->byteCount()))
        return 0.0;
    return cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - start;
}

/// CPU seconds of the packaged drawer; nothing when it is not there or failed.
double drawPackaged(const std::string& path, const std::string& folder) {
    std::vector<std::string> words{"ffmpeg",
                                   "-nostdin",
                                   "-v",
                                   "error",
                                   "-y",
                                   "-i",
                                   path,
                                   "-filter_complex",
                                   "showwavespic=s=480x80",
                                   "-frames:v",
                                   "1",
                                   folder + "/packaged.png"};
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawnp(&child, "ffmpeg", nullptr, nullptr, arguments.data(), environ) != 0)
        return 0.0;
    int status = 0;
    rusage used{};
    if (::wait4(child, &status, 0, &used) != child || status != 0)
        return 0.0;
    const auto secondsOf = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return secondsOf(used.ru_utime) + secondsOf(used.ru_stime);
}
} // namespace

int main() {
    const BenchFolder folder;
    const std::string path = makeLongestSound(folder.path());
    if (path.empty()) {
        std::fprintf(stderr, "WaveformBench: cannot make a sound file in %s\n", folder.path().c_str());
        return 1;
    }
    readPages(path); // brings the pages into memory
    double ours = std::numeric_limits<double>::max();
    double limit = ours;
    for (int round = 0; round < rounds; ++round) {
        limit = std::min(limit, readPages(path));
        ours = std::min(ours, draw(path));
    }
    if (ours <= 0.0) {
        std::fprintf(stderr, "WaveformBench: the picture could not be made\n");
        return 1;
    }
    const std::string what = "waveform of 3.4 h at 44100 Hz stereo (2 GiB, the longest file)";
    std::printf("ten hours are three such files: reading %.2f s, drawing %.2f s\n", limit * 10.0 / 3.383,
                ours * 10.0 / 3.383);
    reportFigure(what, seconds(ours), seconds(limit) + " reading the pages", ours / limit, Aim::atMost, 1.2);
    if (const double packaged = drawPackaged(path, folder.path()); packaged > 0.0)
        reportFigure("packaged drawer (ffmpeg) against ours", seconds(packaged), seconds(ours) + " ours",
                     packaged / ours, Aim::atLeast, 5.0);
    else
        std::printf("SKIPPED: no packaged drawer of waveforms (ffmpeg) runs here\n");
    return 0;
}
