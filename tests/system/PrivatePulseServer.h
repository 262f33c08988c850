// system/PrivatePulseServer.h — a sound server of a test's own.
#pragma once
#include "system/ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// A PulseAudio server in a private folder, with one null sink "duty" of float32 at 44100 Hz, stereo.
class PrivatePulseServer {
public:
    /// Empty where a server can run, else the reason why not.
    static std::string whyNot();

    /// Starts the server and waits until it answers.
    PrivatePulseServer();
    ~PrivatePulseServer();
    PrivatePulseServer(const PrivatePulseServer&) = delete;
    PrivatePulseServer& operator=(const PrivatePulseServer&) = delete;

    const std::string& address() const { return m_address; }
    const std::filesystem::path& folder() const { return m_folder; }
    ChildProcess::Environment environment() const;

    bool isAnswering() const;
    /// Returns the module's number, for `unloadModule`; empty when the server refuses.
    std::string loadModule(const std::vector<std::string>& nameAndArguments) const;
    bool unloadModule(const std::string& number) const;
    void kill();
    /// Starts a killed server again, with the null sink "duty" only.
    bool restart();
    void freeze() const;
    void thaw() const;

private:
    bool start();

    std::filesystem::path m_folder;
    std::string m_address;
    std::unique_ptr<ChildProcess> m_server;
};
