#include "system/CountedDuty.h"

#include "support/Counting.h"
#include "support/Sanitizer.h"

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <utility>

namespace {
using Clock = std::chrono::steady_clock;

void writeCountingFloats(const std::string& path, double seconds) {
    std::ofstream file(path, std::ios::binary);
    std::vector<float> block;
    const auto frames = static_cast<std::int64_t>(CountedDuty::rate * seconds);
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        block.push_back(counting::left(frame));
        block.push_back(counting::right(frame));
        if (block.size() == 65536 || frame + 1 == frames) {
            file.write(reinterpret_cast<const char*>(block.data()),
                       static_cast<std::streamsize>(block.size() * sizeof(float)));
            block.clear();
        }
    }
}

Clock::time_point deadlineAfter(double seconds) {
    return Clock::now() + std::chrono::milliseconds(std::llround(patience(seconds) * 1000.0));
}

ino_t numberOf(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}
} // namespace

void CountedDuty::pauseFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

CountedDuty::CountedDuty(const PrivatePulseServer& server, std::string recordFolder, double seconds)
    : m_server(server), m_recordFolder(std::move(recordFolder)) {
    const std::string signal = m_folder.path() + "/count.raw";
    writeCountingFloats(signal, seconds);
    m_player = std::make_unique<ChildProcess>(
        std::vector<std::string>{"paplay", "--raw", "--format=float32le", "--rate=44100", "--channels=2",
                                 "--latency-msec=2000", "--device=duty", signal},
        server.environment());
    pauseFor(2.0);
}

bool CountedDuty::launch(const std::vector<std::string>& settings, const ChildProcess::Environment& added) {
    std::vector<std::string> arguments = {"--headless", "--folder", m_recordFolder, "--settings",
                                          m_folder.path() + "/settings.json"};
    for (const char* setting :
         {"RecordSwitch=yes", "StartOnTheHour=no", "SamplingRateNumber=2", "ChannelsNumber=2"})
        arguments.insert(arguments.end(), {"--set", setting});
    for (const std::string& setting : settings)
        arguments.insert(arguments.end(), {"--set", setting});
    ChildProcess::Environment environment = m_server.environment();
    for (const auto& [name, value] : added)
        environment[name] = value;
    const ino_t leftover = numberOf(temporaryFile());
    m_program.reset();
    m_program = std::make_unique<RunningProgram>(arguments, environment);
    const Clock::time_point deadline = deadlineAfter(20.0);
    while (Clock::now() < deadline) {
        if (const ino_t number = numberOf(temporaryFile()); number != 0 && number != leftover) {
            m_began = Clock::now();
            return true;
        }
        pauseFor(0.005);
    }
    return false;
}

int CountedDuty::end() {
    m_program->process().signal(SIGTERM);
    return m_program->wait();
}

double CountedDuty::elapsed() const {
    return std::chrono::duration<double>(Clock::now() - m_began).count();
}

std::vector<std::string> CountedDuty::linesWith(const std::string& words) const {
    std::vector<std::string> found;
    for (const std::string& line : m_program->errorLines())
        if (line.find(words) != std::string::npos)
            found.push_back(line);
    return found;
}

bool CountedDuty::awaitLines(const std::string& words, std::size_t count, double seconds) const {
    const Clock::time_point deadline = deadlineAfter(seconds);
    while (linesWith(words).size() < count) {
        if (Clock::now() > deadline)
            return false;
        pauseFor(0.05);
    }
    return true;
}

std::string CountedDuty::log() const {
    std::string text;
    for (const std::string& line : m_program->errorLines())
        text += "\n  " + line;
    return text;
}

FrameCensus CountedDuty::census() const {
    FrameCensus census;
    census.addFolder(m_recordFolder);
    return census;
}

void CountedDuty::expectEveryFrameOnce(double seconds) const {
    const FrameCensus all = census();
    EXPECT_EQ(all.complaintOfGaps(), "") << log();
    EXPECT_NEAR(static_cast<double>(all.end() - all.first()) / rate, seconds, 1.0) << log();
    std::printf("[ MEASURED ] %zu files, %.2f s of %.2f s, %.3f s lost\n", all.pieces().size(),
                static_cast<double>(all.frames()) / rate, seconds, static_cast<double>(all.lost()) / rate);
}

double CountedDuty::secondsToldBy(const std::string& words) const {
    const auto lines = linesWith(words);
    const auto at = lines.empty() ? std::string::npos : lines.back().find(" for ");
    return at == std::string::npos ? -1.0 : std::atof(lines.back().c_str() + at + 5);
}
