#include "rehearsal/LaunchProcess.h"

#include "base/Formatted.h"
#include "rehearsal/ProcessTree.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

/// Lies in memory that both processes see.
struct LaunchProcess::Shared {
    std::atomic<HostTime> hostTime{0};
};

namespace {
double realSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// By the system's own call: a sanitizer would take `_exit` for an end in good order and complain of the
/// threads that a crash leaves.
[[noreturn]] void endAsACrashDoes(int status) {
    for (;;)
        ::syscall(SYS_exit_group, status);
}
} // namespace

void LaunchProcess::live(const std::function<std::string(const Progress&)>& body, Shared& shared, int pipe) {
    const std::string report = body([&shared](HostTime time) { shared.hostTime = time; });
    std::size_t written = 0;
    while (written < report.size()) {
        const ssize_t count = ::write(pipe, report.data() + written, report.size() - written);
        if (count < 0 && errno != EINTR)
            endAsACrashDoes(1);
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    endAsACrashDoes(0);
}

LaunchProcess::Outcome LaunchProcess::run(const std::function<std::string(const Progress&)>& body,
                                          const Patience& patience) {
    std::array<int, 2> ends{};
    void* const memory =
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED || ::pipe2(ends.data(), O_CLOEXEC) != 0)
        return {{}, std::string("cannot be started (") + std::strerror(errno) + ")"};
    Shared& shared = *new (memory) Shared;
    const pid_t parent = ::getpid();
    const pid_t process = ::fork();
    if (process == 0) {
        ::close(ends[0]);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(1);
        live(body, shared, ends[1]);
    }
    ::close(ends[1]);
    Outcome outcome;
    if (process < 0)
        outcome.fault = std::string("cannot be started (") + std::strerror(errno) + ")";
    else
        outcome.fault = watch(process, shared, ends[0], patience, outcome.report);
    ::close(ends[0]);
    ::munmap(memory, sizeof(Shared));
    return outcome;
}

std::string LaunchProcess::watch(pid_t process, const Shared& shared, int pipe, const Patience& patience,
                                 std::string& report) {
    constexpr int lookInterval = 500; // milliseconds
    HostTime lastTime = -1;
    std::uint64_t lastTicks = 0;
    double lastProgress = realSeconds();
    double lastWork = lastProgress;
    for (;;) {
        pollfd ready{pipe, POLLIN, 0};
        if (::poll(&ready, 1, lookInterval) > 0) {
            std::array<char, 4096> piece{};
            const ssize_t count = ::read(pipe, piece.data(), piece.size());
            if (count == 0 || (count < 0 && errno != EINTR))
                return endOf(process);
            report.append(piece.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
        }
        const double now = realSeconds();
        if (const HostTime time = shared.hostTime; time != lastTime) {
            lastTime = time;
            lastProgress = lastWork = now;
            continue;
        }
        if (const std::uint64_t ticks = ProcessTree::usedTicks(process); ticks != lastTicks) {
            lastTicks = ticks;
            lastWork = now;
        }
        if (now - lastWork <= patience.idle && now - lastProgress <= patience.busy)
            continue;
        ::kill(process, SIGKILL);
        endOf(process);
        return formatted("made no progress any more %.3f seconds after its launch (%s)",
                         static_cast<double>(lastTime) * 1e-9,
                         now - lastWork > patience.idle ? "its threads wait for each other"
                                                        : "it works, but time does not pass");
    }
}

std::string LaunchProcess::endOf(pid_t process) {
    int status = 0;
    pid_t ended = 0;
    do
        ended = ::waitpid(process, &status, 0);
    while (ended < 0 && errno == EINTR);
    if (ended == process && WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {};
    if (ended == process && WIFSIGNALED(status))
        return std::string("died of a signal (") + ::strsignal(WTERMSIG(status)) + ")";
    return formatted("ended unexpectedly with exit status %d", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}
