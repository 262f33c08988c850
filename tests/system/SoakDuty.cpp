#include "system/SoakDuty.h"

#include "support/Counting.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace {
using Clock = std::chrono::steady_clock;

constexpr double rate = 44100.0;

double secondsSince(Clock::time_point moment) {
    return std::chrono::duration<double>(Clock::now() - moment).count();
}

/// The length that the name of a recording tells: "..._HHMMSS~HHMMSS.aif", maybe with more behind it.
double secondsByName(const std::string& path) {
    const std::size_t tilde = path.rfind('~');
    if (tilde == std::string::npos || tilde < 6 || tilde + 7 > path.size())
        return 0.0;
    const auto time = [&](std::size_t at) {
        const int digits = std::atoi(path.substr(at, 6).c_str());
        return digits / 10000 * 3600 + digits / 100 % 100 * 60 + digits % 100;
    };
    return (time(tilde + 1) - time(tilde - 6) + 86400) % 86400;
}

/// The mean of `value` over a part of the figures.
double mean(const std::vector<ProcessFigures>& figures, std::size_t from, std::size_t to,
            const std::function<double(const ProcessFigures&)>& value) {
    double sum = 0.0;
    for (std::size_t i = from; i < to; ++i)
        sum += value(figures[i]);
    return sum / static_cast<double>(std::max<std::size_t>(to - from, 1));
}
} // namespace

SoakDuty::SoakDuty(unsigned seed) : m_random(seed) {}

double SoakDuty::between(double least, double most) {
    return std::uniform_real_distribution<double>(least, most)(m_random);
}

void SoakDuty::play() {
    const std::string signal = m_folder.path() + "/count.raw";
    std::ofstream file(signal, std::ios::binary);
    for (std::int64_t frame = 0; frame < static_cast<std::int64_t>(60.0 * rate); ++frame) {
        const float pair[] = {counting::left(frame), counting::right(frame)};
        file.write(reinterpret_cast<const char*>(pair), sizeof pair);
    }
    file.close();
    // Again and again, also after the server was gone; it ends with the server.
    m_player = std::make_unique<ChildProcess>(
        std::vector<std::string>{"sh", "-c",
                                 "while [ -e '" + signal +
                                     "' ]; do paplay --raw --format=float32le --rate=44100 --channels=2 "
                                     "--latency-msec=2000 --device=duty '" +
                                     signal + "' || sleep 1; done"},
        m_server.environment());
}

bool SoakDuty::launch() {
    ChildProcess::Environment environment = m_server.environment();
    environment.merge(m_clock.environment());
    std::vector<std::string> arguments = {"--headless", "--folder", m_disk.path() + "/record"};
    for (const char* setting : {"RecordSwitch=yes", "SamplingRateNumber=2", "ChannelsNumber=2",
                                "MaxRecordTime=90", "MaxTotalTime=600"})
        arguments.insert(arguments.end(), {"--set", setting});
    m_program = std::make_unique<RunningProgram>(arguments, environment);
    for (int attempt = 0; attempt < 2000; ++attempt) {
        if (std::filesystem::exists(m_disk.path() + "/record/.VelmoratideTempFile")) {
            m_began = Clock::now();
            m_process = ProcessFigures::childRunning(VELMORATIDE_PROGRAM);
            return m_process > 0;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

void SoakDuty::run(double seconds) {
    play();
    ASSERT_TRUE(launch());
    pass(10.0);
    while (secondsSince(m_began) < seconds && m_program->process().isRunning()) {
        breakSomething();
        pass(between(12.0, 18.0)); // the disk is tried every five seconds
        if (const auto figures = ProcessFigures::of(m_process))
            m_figures.push_back(*figures);
    }
    m_lasted = secondsSince(m_began);
    ASSERT_TRUE(m_program->process().isRunning()) << log();
    m_program->process().signal(SIGTERM);
    m_status = m_program->wait();
    readFinishedFiles();
}

void SoakDuty::pass(double seconds) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end) {
        readFinishedFiles();
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
    }
}

bool SoakDuty::isDeletionLogged(const std::string& path) const {
    return std::ranges::any_of(m_program->errorLines(), [&](const std::string& line) {
        return line.find("recording deleted (") != std::string::npos && line.ends_with(": " + path);
    });
}

void SoakDuty::readFinishedFiles() {
    const auto lines = m_program->outputLines();
    for (; m_filesRead < lines.size(); ++m_filesRead) {
        const std::string& path = lines[m_filesRead];
        if (std::filesystem::exists(path))
            m_census.add(path);
        else if (isDeletionLogged(path)) // a clock that was set back makes the newest file the oldest
            m_deletedUnread += secondsByName(path);
        else
            m_missing.push_back(path);
    }
}

void SoakDuty::breakSomething() {
    static constexpr std::pair<const char*, void (SoakDuty::*)()> faults[] = {
        {"the disk stands still", &SoakDuty::freezeDisk},
        {"the disk is full", &SoakDuty::fillDisk},
        {"the server is killed", &SoakDuty::killServer},
        {"the server stands still", &SoakDuty::freezeServer},
        {"the source is pulled out", &SoakDuty::pullSource},
        {"the folder is moved", &SoakDuty::moveFolder},
        {"the clock is set", &SoakDuty::setClock}};
    const auto& [name, fault] = faults[m_random() % std::size(faults)];
    std::printf("[ SOAK     ] %7.1f s: %s\n", secondsSince(m_began), name);
    std::fflush(stdout);
    m_faults.emplace_back(name);
    (this->*fault)();
}

void SoakDuty::freezeDisk() {
    ASSERT_TRUE(m_disk.freezeFor(between(1.0, 20.0)));
    m_disk.awaitThaw();
}

void SoakDuty::fillDisk() {
    m_disk.fill("of somebody else");
    pass(between(5.0, 15.0));
    std::filesystem::remove(m_disk.path() + "/of somebody else");
}

void SoakDuty::killServer() {
    m_server.kill();
    pass(between(0.5, 4.0));
    ASSERT_TRUE(m_server.restart());
}

void SoakDuty::freezeServer() {
    m_server.freeze();
    pass(between(2.0, 10.0));
    m_server.thaw();
}

void SoakDuty::pullSource() {
    ASSERT_TRUE(m_server.unloadModule("module-null-sink"));
    pass(between(0.5, 4.0));
    ASSERT_FALSE(m_server
                     .loadModule({"module-null-sink", "sink_name=duty", "format=float32le", "rate=44100",
                                  "channels=2", "norewinds=1"})
                     .empty());
}

void SoakDuty::moveFolder() {
    const std::string folder = m_disk.path() + "/record";
    std::filesystem::rename(folder, m_disk.path() + "/elsewhere");
    pass(between(0.5, 8.0));
    if (!std::filesystem::exists(folder)) { // else the program has made a new one meanwhile
        std::filesystem::rename(m_disk.path() + "/elsewhere", folder);
        return;
    }
    for (const auto& entry : std::filesystem::directory_iterator(m_disk.path() + "/elsewhere"))
        if (const auto back = folder / entry.path().filename(); !std::filesystem::exists(back))
            std::filesystem::rename(entry.path(), back);
    // A file that was to be finished meanwhile could not be: its work file stays in the folder that was moved.
    const std::string left = m_disk.path() + "/elsewhere/.VelmoratideTempFile";
    if (std::error_code none; const auto bytes = std::filesystem::file_size(left, none)) {
        constexpr std::uintmax_t soundAt = 4096;
        if (!none && bytes > soundAt)
            m_leftBehind += static_cast<double>(bytes - soundAt) / (2 * sizeof(std::int16_t)) / rate;
    }
    std::filesystem::remove_all(m_disk.path() + "/elsewhere");
}

void SoakDuty::setClock() {
    m_clock.setAhead(std::lround(between(-3600.0, 3600.0)));
}

double SoakDuty::secondsTold() const {
    double told = 0.0;
    for (const std::string& line : m_program->errorLines())
        if (const auto at = line.find(" for ");
            at != std::string::npos && line.find("no sound since") != std::string::npos)
            told += std::atof(line.c_str() + at + 5);
    return told;
}

std::string SoakDuty::log() const {
    std::string text;
    for (const std::string& line : m_program->errorLines())
        text += "\n  " + line;
    return text;
}

void SoakDuty::expectSteady() const {
    EXPECT_TRUE(m_census.faults().empty()) << testing::PrintToString(m_census.faults()) << log();
    EXPECT_TRUE(m_missing.empty()) << testing::PrintToString(m_missing) << log();
    const double kept = static_cast<double>(m_census.frames()) / rate + m_deletedUnread + m_leftBehind;
    const double told = secondsTold();
    EXPECT_NEAR(kept + told, m_lasted, 1.0 + 0.3 * static_cast<double>(m_faults.size())) << log();
    ASSERT_GE(m_figures.size(), 3U);
    const std::size_t third = m_figures.size() / 3;
    const std::size_t last = m_figures.size() - third;
    const auto resident = [](const ProcessFigures& each) {
        return static_cast<double>(each.residentKilobytes);
    };
    const auto descriptors = [](const ProcessFigures& each) { return static_cast<double>(each.descriptors); };
    const auto threads = [](const ProcessFigures& each) { return static_cast<double>(each.threads); };
    const double first = mean(m_figures, 0, third, resident);
    const double finally = mean(m_figures, last, m_figures.size(), resident);
    EXPECT_LE(finally, first + 3072.0);
    EXPECT_LE(mean(m_figures, last, m_figures.size(), descriptors),
              mean(m_figures, 0, third, descriptors) + 1.0);
    EXPECT_LE(mean(m_figures, last, m_figures.size(), threads), mean(m_figures, 0, third, threads) + 0.5);
    std::printf(
        "[ MEASURED ] %.0f s, %zu faults, %zu files: %.1f s in files, %.1f s told to be missing, %.2f s "
        "unaccounted for; resident %.1f MiB in the first third, %.1f MiB in the last; descriptors %.1f "
        "and %.1f, threads %.1f and %.1f; exit status %d\n",
        m_lasted, m_faults.size(), m_filesRead, kept, told, m_lasted - kept - told, first / 1024.0,
        finally / 1024.0, mean(m_figures, 0, third, descriptors),
        mean(m_figures, last, m_figures.size(), descriptors), mean(m_figures, 0, third, threads),
        mean(m_figures, last, m_figures.size(), threads), m_status);
}
