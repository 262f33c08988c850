#include "system/PrivatePulseServer.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <thread>

PrivatePulseServer::PrivatePulseServer() {
    std::string pattern = std::filesystem::temp_directory_path() / "velmoratide-pulse-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) // of mode 700, as the server demands
        throw std::runtime_error("no temporary folder");
    m_folder = pattern;
    m_address = "unix:" + (m_folder / "native").string();
    if (!start())
        throw std::runtime_error("the sound server does not answer; see " + (m_folder / "server.log").string());
}

PrivatePulseServer::~PrivatePulseServer() {
    kill();
    std::error_code ignored; // a folder left behind in /tmp is no failure of a test
    std::filesystem::remove_all(m_folder, ignored);
}

std::string PrivatePulseServer::whyNot() {
    for (const char* program : {"pulseaudio", "pactl", "paplay"})
        if (!ChildProcess::isInstalled(program))
            return std::string(program) + " is not installed";
    return {};
}

ChildProcess::Environment PrivatePulseServer::environment() const {
    return {{"XDG_RUNTIME_DIR", m_folder.string()},
            {"HOME", m_folder.string()},
            {"PULSE_SERVER", m_address},
            {"LC_ALL", "C"}};
}

bool PrivatePulseServer::start() {
    const std::string socket = "socket=" + (m_folder / "native").string();
    m_server = std::make_unique<ChildProcess>(
        std::vector<std::string>{
            "pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "-L",
            "module-native-protocol-unix " + socket + " auth-anonymous=1", "-L",
            "module-null-sink sink_name=duty format=float32le rate=44100 channels=2 norewinds=1"},
        environment(), (m_folder / "server.log").string());
    for (int attempt = 0; attempt < 100 && m_server->isRunning(); ++attempt) {
        if (isAnswering())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

bool PrivatePulseServer::isAnswering() const {
    if (!std::filesystem::exists(m_folder / "native"))
        return false;
    return ChildProcess({"pactl", "info"}, environment()).wait() == 0;
}

std::string PrivatePulseServer::loadModule(const std::vector<std::string>& nameAndArguments) const {
    std::vector<std::string> command{"pactl", "load-module"};
    command.insert(command.end(), nameAndArguments.begin(), nameAndArguments.end());
    const std::string output = (m_folder / "pactl.out").string();
    if (ChildProcess(command, environment(), output).wait() != 0)
        return {};
    std::string number;
    std::ifstream(output) >> number;
    return number;
}

bool PrivatePulseServer::unloadModule(const std::string& number) const {
    return ChildProcess({"pactl", "unload-module", number}, environment()).wait() == 0;
}

void PrivatePulseServer::kill() {
    m_server.reset();
    std::error_code ignored; // the next server makes its socket anew either way
    std::filesystem::remove(m_folder / "native", ignored);
}

bool PrivatePulseServer::restart() {
    kill();
    return start();
}

void PrivatePulseServer::freeze() const {
    m_server->signal(SIGSTOP);
}

void PrivatePulseServer::thaw() const {
    m_server->signal(SIGCONT);
}
