// system/PrivatePipeWireServer.h — a PipeWire of a test's own that speaks the PulseAudio protocol.
#pragma once
#include "system/ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// Session bus, PipeWire, WirePlumber and pipewire-pulse in a private folder, with one null sink "duty" of
/// 48000 Hz, stereo.
class PrivatePipeWireServer {
public:
    /// Empty where the servers can run, else the reason why not.
    static std::string whyNot();

    PrivatePipeWireServer();
    ~PrivatePipeWireServer();
    PrivatePipeWireServer(const PrivatePipeWireServer&) = delete;
    PrivatePipeWireServer& operator=(const PrivatePipeWireServer&) = delete;

    /// Starts all and waits until the null sink is there. False when that takes more than 8 s.
    bool start();
    std::string address() const { return "unix:" + (m_folder / "pulse" / "native").string(); }
    const std::filesystem::path& folder() const { return m_folder; }
    ChildProcess::Environment environment() const;

private:
    void launch(const std::vector<std::string>& command);
    bool run(const std::vector<std::string>& command) const;

    std::filesystem::path m_folder;
    std::vector<std::unique_ptr<ChildProcess>> m_programs; ///< in the order of their start
};
