// Preloaded into a program that a test runs: its wall clock is ahead of the machine's by the seconds (a signed
// 64-bit number) that a file holds, and goes with it otherwise. All other clocks are the machine's.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

namespace {
using Offset = std::atomic<std::int64_t>;
static_assert(sizeof(Offset) == sizeof(std::int64_t) && Offset::is_always_lock_free);

const Offset* g_offset = nullptr; // clocks are asked before anything here was set up, too

__attribute__((constructor)) void openOffset() {
    const char* const path = std::getenv("VELMORATIDE_TEST_CLOCK");
    const int file = path == nullptr ? -1 : ::open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return;
    void* const mapped = ::mmap(nullptr, sizeof(Offset), PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    if (mapped != MAP_FAILED)
        g_offset = static_cast<const Offset*>(mapped);
}

std::int64_t secondsAhead() {
    return g_offset == nullptr ? 0 : g_offset->load(std::memory_order_relaxed);
}
} // namespace

extern "C" {
int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto status = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (status == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        time->tv_sec += secondsAhead();
    return status;
}

int gettimeofday(timeval* __restrict time, void* __restrict) noexcept {
    timespec now{};
    const int status = clock_gettime(CLOCK_REALTIME, &now);
    if (status == 0)
        *time = {.tv_sec = now.tv_sec, .tv_usec = now.tv_nsec / 1000};
    return status;
}

time_t time(time_t* into) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (into != nullptr)
        *into = now.tv_sec;
    return now.tv_sec;
}
}
