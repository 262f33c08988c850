#include "system/ChildProcess.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
std::vector<char*> pointersTo(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (std::string& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> mergedEnvironment(const ChildProcess::Environment& added) {
    std::vector<std::string> merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (added.count(text.substr(0, text.find('='))) == 0)
            merged.push_back(text);
    }
    for (const auto& [name, value] : added)
        merged.push_back(name + "=" + value);
    return merged;
}
} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Environment& environment,
                           const std::string& outputPath) {
    std::vector<std::string> strings = arguments;
    std::vector<std::string> variables = mergedEnvironment(environment);
    const std::vector<char*> argv = pointersTo(strings);
    const std::vector<char*> envp = pointersTo(variables);
    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid < 0)
        throw std::runtime_error("cannot fork");
    if (m_pid > 0)
        return;
    // Between fork and exec only what is safe beside other threads.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(127);
    const int output = open(outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int input = open("/dev/null", O_RDONLY);
    if (output < 0 || input < 0)
        _exit(127);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execvpe(argv[0], argv.data(), envp.data());
    _exit(127);
}

ChildProcess::~ChildProcess() {
    kill();
}

void ChildProcess::signal(int number) const {
    if (m_pid > 0)
        ::kill(m_pid, number);
}

int ChildProcess::wait() {
    if (m_pid > 0) {
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return m_status;
}

bool ChildProcess::isRunning() {
    if (m_pid <= 0)
        return false;
    int status = 0;
    if (waitpid(m_pid, &status, WNOHANG) != m_pid)
        return true;
    m_pid = -1;
    m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return false;
}

void ChildProcess::kill() {
    signal(SIGKILL);
    wait();
}

bool ChildProcess::isInstalled(const std::string& program) {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');)
        if (access((folder + "/" + program).c_str(), X_OK) == 0)
            return true;
    return false;
}
