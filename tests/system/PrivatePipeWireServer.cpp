#include "system/PrivatePipeWireServer.h"

#include <chrono>
#include <functional>
#include <stdexcept>
#include <stdlib.h>
#include <thread>

namespace {
bool await(double seconds, const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}
} // namespace

PrivatePipeWireServer::PrivatePipeWireServer() {
    std::string pattern = std::filesystem::temp_directory_path() / "velmoratide-pipewire-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    m_folder = pattern;
}

PrivatePipeWireServer::~PrivatePipeWireServer() {
    while (!m_programs.empty())
        m_programs.pop_back();
    std::error_code ignored; // a folder left behind in /tmp is no failure of a test
    std::filesystem::remove_all(m_folder, ignored);
}

std::string PrivatePipeWireServer::whyNot() {
    for (const char* program :
         {"dbus-daemon", "pipewire", "wireplumber", "pipewire-pulse", "pactl", "paplay", "pw-cli"})
        if (!ChildProcess::isInstalled(program))
            return std::string(program) + " is not installed";
    if (!std::filesystem::exists("/run/systemd"))
        return "WirePlumber does not start where no systemd runs";
    return {};
}

ChildProcess::Environment PrivatePipeWireServer::environment() const {
    return {{"XDG_RUNTIME_DIR", m_folder.string()},
            {"HOME", m_folder.string()},
            {"XDG_CONFIG_HOME", (m_folder / "config").string()},
            {"XDG_STATE_HOME", (m_folder / "state").string()},
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (m_folder / "bus").string()},
            {"PULSE_SERVER", address()},
            {"LC_ALL", "C"}};
}

void PrivatePipeWireServer::launch(const std::vector<std::string>& command) {
    m_programs.push_back(
        std::make_unique<ChildProcess>(command, environment(), m_folder / (command.front() + ".log")));
}

bool PrivatePipeWireServer::run(const std::vector<std::string>& command) const {
    return ChildProcess(command, environment(), m_folder / "run.log").wait() == 0;
}

bool PrivatePipeWireServer::start() {
    const auto exists = [this](const char* name) {
        return [path = m_folder / name] { return std::filesystem::exists(path); };
    };
    launch({"dbus-daemon", "--session", "--nofork", "--nopidfile",
            "--address=unix:path=" + (m_folder / "bus").string()});
    if (!await(2.0, exists("bus")))
        return false;
    launch({"pipewire"});
    if (!await(2.0, exists("pipewire-0")))
        return false;
    launch({"wireplumber"});
    launch({"pipewire-pulse"});
    if (!await(2.0, exists("pulse/native")))
        return false;
    if (!run({"pactl", "load-module", "module-null-sink", "sink_name=duty", "rate=48000", "channels=2"}))
        return false;
    return await(2.0, [this] { return run({"pactl", "get-sink-volume", "duty"}); });
}
