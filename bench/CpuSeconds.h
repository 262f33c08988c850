// CpuSeconds.h — time that was worked, not waited.
#pragma once
#include <ctime>

/// Of `CLOCK_THREAD_CPUTIME_ID` or `CLOCK_PROCESS_CPUTIME_ID`.
inline double cpuSeconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}
