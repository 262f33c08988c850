// rehearsal/ProcessTree.h — a process and what it started.
#pragma once
#include <cstdint>
#include <sys/types.h>

struct ProcessTree {
    /// Processor time that `root` and its living descendants have used, in ticks of the system. Any thread.
    static std::uint64_t usedTicks(pid_t root);
};
