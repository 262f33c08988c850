#include "app/AuthorizationTool.h"

#include "base/SystemLog.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr std::size_t longestPath = 1024; // bytes
constexpr int patience = 10;              // seconds

struct Pipe {
    int ends[2] = {-1, -1}; ///< for reading, for writing
    Pipe() {
        if (pipe2(ends, O_CLOEXEC) != 0)
            ends[0] = ends[1] = -1;
    }
    ~Pipe() {
        close(0);
        close(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    bool isOpen() const { return ends[0] >= 0; }
    void close(int end) {
        if (ends[end] >= 0)
            ::close(ends[end]);
        ends[end] = -1;
    }
};

/// Starts the program at `path` with `input` as its standard input; -1 when that cannot be done.
pid_t start(const std::string& path, int input) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (posix_spawn_file_actions_init(&actions) != 0)
        return -1;
    if (posix_spawnattr_init(&attributes) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        return -1;
    }
    sigset_t all; // a signal that is ignored here must not be there
    sigfillset(&all);
    pid_t child = -1;
    char* const arguments[] = {const_cast<char*>(path.c_str()), nullptr};
    char* const environment[] = {nullptr};
    if (posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO) != 0 ||
        posix_spawnattr_setsigdefault(&attributes, &all) != 0 ||
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF) != 0 ||
        posix_spawn(&child, path.c_str(), &actions, &attributes, arguments, environment) != 0)
        child = -1;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

/// Both pieces are smaller than a pipe's room, so this never waits for a helper that does not read.
template <typename Bytes>
bool writeAll(int descriptor, const Bytes& bytes) {
    ssize_t written = 0;
    do
        written = write(descriptor, bytes.data(), bytes.size());
    while (written < 0 && errno == EINTR);
    return written == static_cast<ssize_t>(bytes.size());
}

/// Waits until `child` has exited; its exit status, or -1 when it had to be killed or was.
int waitFor(pid_t child) {
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    if (descriptor >= 0) {
        pollfd exited{descriptor, POLLIN, 0};
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(patience);
        int ready = 0;
        do {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            ready = poll(&exited, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        } while (ready < 0 && errno == EINTR);
        if (ready == 0)
            kill(child, SIGKILL);
        ::close(descriptor);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
} // namespace

AuthorizationTool::CommandRecord AuthorizationTool::commandRecord() {
    constexpr std::string_view path = "/tmp";
    CommandRecord record{};
    std::memcpy(record.data(), &command, sizeof command);
    std::copy(path.begin(), path.end(), record.begin() + sizeof command);
    return record;
}

bool AuthorizationTool::complain(const std::string& what) const {
    m_log.log("VmAuthorization: " + what);
    return false;
}

bool AuthorizationTool::pass(const AdministratorRight::ExternalForm& right) const {
    if (m_path.empty() || m_path.size() >= longestPath)
        return false;
    if (access(m_path.c_str(), X_OK) != 0)
        return complain("the helper " + m_path + " cannot be run (" + std::strerror(errno) + ").");
    Pipe pipe;
    if (!pipe.isOpen())
        return complain(std::string("no pipe can be made (") + std::strerror(errno) + ").");
    const pid_t child = start(m_path, pipe.ends[0]);
    if (child < 0)
        return complain("the helper " + m_path + " could not be started.");
    std::signal(SIGPIPE, SIG_IGN); // a helper that has ended must not end the recorder
    pipe.close(0);
    bool passed = writeAll(pipe.ends[1], right);
    if (passed) {
        std::fputs("Passing child command.\n", stderr);
        passed = writeAll(pipe.ends[1], commandRecord());
    }
    pipe.close(1);
    const int status = waitFor(child);
    if (!passed || status != 0)
        return complain("the helper " + m_path + " failed.");
    return true;
}
