// system/SettableWallClock.h — the wall clock of a program that a test runs.
#pragma once
#include "system/ChildProcess.h"

#include <cstdint>
#include <string>

/// Goes with the machine's, but for the seconds by which a test sets it; all other clocks are the machine's.
class SettableWallClock {
public:
    /// The offset lies in a file that is made at `path`.
    explicit SettableWallClock(std::string path);

    /// From now on it is so many seconds ahead of the machine's; behind it for a number below 0. Holds for a
    /// program that runs already.
    void setAhead(std::int64_t seconds) const;
    /// What the environment of the program needs.
    ChildProcess::Environment environment() const;

private:
    const std::string m_path;
};
