#include "library/ThreadPriority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
// The kernel's numbers (Documentation/block/ioprio.rst); the C library has no names for them.
constexpr int ofThread = 1;
constexpr int bestEffort = 2;
constexpr int lowestLevel = 7;
constexpr int classShift = 13;
constexpr int background = 10; ///< nice value
} // namespace

void ThreadPriority::standBack() {
    const auto thread = static_cast<id_t>(::syscall(SYS_gettid));
    ::setpriority(PRIO_PROCESS, thread, background);
    ::syscall(SYS_ioprio_set, ofThread, static_cast<int>(thread), bestEffort << classShift | lowestLevel);
}
