// system/CountedDuty.h — the built program recording the counting signal into a folder.
#pragma once
#include "faults/FrameCensus.h"
#include "system/PrivatePulseServer.h"
#include "system/RunningProgram.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

/// In always mode, stereo, at the device's 44100 Hz. The signal begins before the program does.
class CountedDuty {
public:
    static constexpr double rate = 44100.0; // Hz

    /// `seconds`: how long the signal is to last.
    CountedDuty(const PrivatePulseServer& server, std::string recordFolder, double seconds);

    /// Starts the program, and again after `kill` or `end`; then waits for a recording to begin.
    bool launch(const std::vector<std::string>& settings = {}, const ChildProcess::Environment& added = {});
    void kill() { m_program->process().kill(); }
    /// Ends it in good order; returns its exit status.
    int end();
    RunningProgram& program() { return *m_program; }
    /// Seconds since the recording of this launch was seen to begin.
    double elapsed() const;
    /// Lines of the system log that hold `words`.
    std::vector<std::string> linesWith(const std::string& words) const;
    bool awaitLines(const std::string& words, std::size_t count, double seconds) const;
    /// All lines, for a failing test's message.
    std::string log() const;
    std::string temporaryFile() const { return m_recordFolder + "/.VelmoratideTempFile"; }
    FrameCensus census() const;
    /// Nothing lost, nothing doubled, from the beginning to the end of the launch.
    void expectEveryFrameOnce(double seconds) const;
    /// The seconds that the last line with `words` tells after " for ".
    double secondsToldBy(const std::string& words) const;

    static void pauseFor(double seconds);

private:
    const PrivatePulseServer& m_server;
    const std::string m_recordFolder;
    TemporaryFolder m_folder;
    std::unique_ptr<ChildProcess> m_player;
    std::unique_ptr<RunningProgram> m_program;
    std::chrono::steady_clock::time_point m_began;
};
