#include "keeper/CompressorTask.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {
constexpr double longestWait = 0.05; // seconds until `stop` is looked at again

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

class Descriptor {
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    void close() {
        if (m_number >= 0)
            ::close(std::exchange(m_number, -1));
    }
    void take(int number) {
        close();
        m_number = number;
    }
    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }

private:
    int m_number;
};

void lowerPriority(pid_t group) {
    constexpr int lowest = 19;
    constexpr int whoGroup = 2;                     // IOPRIO_WHO_PGRP
    constexpr int lastOfBestEffort = (2 << 13) | 7; // idle could starve for ever behind a steady recorder
    ::setpriority(PRIO_PGRP, static_cast<id_t>(group), lowest);
    ::syscall(SYS_ioprio_set, whoGroup, group, lastOfBestEffort);
}

/// What a spawned process starts with.
class SpawnPlan {
public:
    SpawnPlan() {
        m_error = ::posix_spawn_file_actions_init(&m_actions);
        if (m_error == 0)
            m_error = ::posix_spawnattr_init(&m_attributes);
    }
    ~SpawnPlan() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    int spawn(pid_t& child, const CompressorTask::Job& job, int output, int lock) {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        keep(::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
        keep(::posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO));
        keep(::posix_spawn_file_actions_adddup2(&m_actions, output, STDERR_FILENO));
        if (lock >= 0)
            keep(::posix_spawn_file_actions_adddup2(&m_actions, lock, lock)); // it is inherited by this
        keep(::posix_spawnattr_setpgroup(&m_attributes, 0));
        keep(::posix_spawnattr_setsigdefault(&m_attributes, &all));
        keep(::posix_spawnattr_setsigmask(&m_attributes, &none));
        keep(::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF |
                                                           POSIX_SPAWN_SETSIGMASK));
        if (m_error != 0)
            return m_error;
        std::vector<std::string> words = job.arguments;
        words.insert(words.begin(), job.path);
        std::vector<char*> pointers;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        return ::posix_spawn(&child, job.path.c_str(), &m_actions, &m_attributes, pointers.data(), environ);
    }

private:
    void keep(int error) {
        if (m_error == 0)
            m_error = error;
    }
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
    int m_error = 0;
};

/// Hands on as much as the error output takes without waiting.
void handOn(const char* bytes, std::size_t count) {
    pollfd errorOutput{STDERR_FILENO, POLLOUT, 0};
    while (count > 0 && ::poll(&errorOutput, 1, 0) == 1 && (errorOutput.revents & POLLOUT) != 0) {
        const ssize_t written = ::write(STDERR_FILENO, bytes, count);
        if (written <= 0)
            return;
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

/// Waits up to `seconds` for output and takes all of it; false at its end.
bool drain(int output, double seconds, bool monitor) {
    std::array<char, 4096> buffer{}; // a pipe with room takes as much at once
    pollfd readable{output, POLLIN, 0};
    if (::poll(&readable, 1, static_cast<int>(seconds * 1e3) + 1) <= 0)
        return true;
    const ssize_t got = ::read(output, buffer.data(), buffer.size());
    if (got > 0 && monitor)
        handOn(buffer.data(), static_cast<std::size_t>(got));
    return got > 0 || (got < 0 && (errno == EINTR || errno == EAGAIN));
}

/// Takes the lock on `folder`, which a process keeps for as long as one that inherited it lives. Goes on
/// without it where there are no locks; false when `deadline` or `stop` comes before it is free: a compressor
/// of an earlier run is at work there, or another recorder records into it.
bool lockFolder(Descriptor& lock, const std::string& folder, double deadline, const std::atomic<bool>& stop) {
    if (folder.empty())
        return true;
    lock.take(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    while (lock.isOpen() && ::flock(lock.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        if (stop || now() >= deadline)
            return false;
        ::poll(nullptr, 0, static_cast<int>(longestWait * 1e3));
    }
    return true;
}

/// A child that runs, until it is found to have ended.
class Child {
public:
    Child(pid_t process, int output, bool monitor)
        : m_process(process), m_output(output), m_monitor(monitor), m_outputOpen(true) {}

    /// Waits a short while; true once all is over.
    bool hasEnded() {
        if (m_outputOpen)
            m_outputOpen = drain(m_output, m_pause, m_monitor);
        else
            ::poll(nullptr, 0, static_cast<int>(m_pause * 1e3) + 1);
        if (!m_reaped) {
            const pid_t found = ::waitpid(m_process, &m_status, WNOHANG);
            m_reaped = found == m_process || (found < 0 && errno != EINTR);
            m_known = found == m_process;
        }
        // At its end a program closes its output first: look again soon.
        m_pause = m_outputOpen ? longestWait : std::min(longestWait, m_lastPause *= 2.0);
        return m_reaped && !m_outputOpen;
    }
    void signal(int number) const { ::kill(-m_process, number); }
    /// After the killing: nothing that still holds the output is waited for.
    bool isReaped() const { return m_reaped; }

    CompressorTask::Result result() const {
        using End = CompressorTask::End;
        if (m_known && WIFEXITED(m_status))
            return {WEXITSTATUS(m_status), End::exited, 0};
        return {-1, End::killed, m_known && WIFSIGNALED(m_status) ? WTERMSIG(m_status) : 0};
    }

private:
    const pid_t m_process;
    const int m_output;
    const bool m_monitor;
    bool m_outputOpen;
    bool m_reaped = false;
    bool m_known = false;
    int m_status = 0;
    double m_pause = longestWait;
    double m_lastPause = 0.0005;
};

CompressorTask::Result watch(Child& child, double deadline, const std::atomic<bool>& stop) {
    using End = CompressorTask::End;
    while (!child.hasEnded()) {
        if (!stop && now() < deadline)
            continue;
        const End end = stop ? End::stopped : End::overTime;
        child.signal(SIGTERM);
        const double killing = now() + CompressorTask::secondsToEnd;
        bool ended = false;
        while (!(ended = child.hasEnded()) && now() < killing) {
        }
        child.signal(SIGKILL);
        // A disk that hangs keeps even a killed program.
        const double givingUp = now() + CompressorTask::secondsToEnd;
        while (!ended && !child.isReaped() && now() < givingUp)
            ended = child.hasEnded();
        return {-1, end, 0};
    }
    return child.result();
}
} // namespace

CompressorTask::Result CompressorTask::run(const Job& job, const std::atomic<bool>& stop) {
    const double deadline = now() + job.timeLimit;
    Descriptor lock;
    const bool mayBegin = lockFolder(lock, job.folder, deadline, stop);
    if (!stop && !mayBegin)
        return {-1, End::folderInUse, 0};
    if (stop)
        return {-1, End::stopped, 0};
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return {-1, End::noPipe, errno};
    const Descriptor output(ends[0]);
    Descriptor input(ends[1]);
    pid_t process = 0;
    if (const int error = SpawnPlan().spawn(process, job, input.number(), lock.number()); error != 0)
        return {-1, End::noTask, error};
    lowerPriority(process);
    input.close();
    lock.close(); // the program holds it now
    const double begin = now();
    Child child(process, output.number(), job.monitor);
    Result result = watch(child, std::max(deadline, begin + longestWait), stop);
    result.seconds = now() - begin;
    return result;
}

std::string CompressorTask::Result::fault() const {
    switch (end) {
    case End::exited:
        return status == 0 ? "" : "it ended with status " + std::to_string(status);
    case End::killed:
        return "it was ended by signal " + std::to_string(error);
    case End::noTask:
        return std::string("it cannot be started: ") + std::strerror(error);
    case End::noPipe:
        return std::string("there is no pipe for its output: ") + std::strerror(error);
    case End::folderInUse:
        return "it was not started, another recorder or compressor is at work in the folder";
    case End::overTime:
        return "it took too long and was ended";
    case End::stopped:
        return "it was ended with the program";
    }
    return {};
}
