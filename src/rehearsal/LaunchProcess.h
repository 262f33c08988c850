// rehearsal/LaunchProcess.h — runs a launch in a process of its own, and watches it.
#pragma once
#include "base/Clock.h"

#include <functional>
#include <string>
#include <sys/types.h>

/// A launch's process ends without any clean-up, as a crash does. It dies with its parent.
class LaunchProcess {
public:
    struct Patience {
        /// Seconds of real time without any progress, neither of the virtual time nor of the work of the
        /// process and its children, after which they wait for each other for ever.
        double idle = 60.0;
        /// The same for work that goes on while the virtual time stands: the compression of a large file may
        /// take a quarter of an hour.
        double busy = 3600.0;
    };
    struct Outcome {
        std::string report; ///< what `body` returned
        std::string fault;  ///< how it ended otherwise, in a few words; empty when it ended well
    };
    using Progress = std::function<void(HostTime)>;

    /// Calls `body` in a forked process and returns what it returned. It is to tell the virtual time to the
    /// function it is given. To be called while the process has one thread only.
    static Outcome run(const std::function<std::string(const Progress&)>& body, const Patience& patience);
    static Outcome run(const std::function<std::string(const Progress&)>& body) { return run(body, {}); }

private:
    struct Shared;
    [[noreturn]] static void live(const std::function<std::string(const Progress&)>& body, Shared& shared,
                                  int pipe);
    static std::string watch(pid_t process, const Shared& shared, int pipe, const Patience& patience,
                             std::string& report);
    static std::string endOf(pid_t process);
};
