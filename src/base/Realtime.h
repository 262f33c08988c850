// base/Realtime.h — marks what runs inside an I/O cycle.
#pragma once

/// Promise of a function that runs in an I/O cycle: no allocation, no log, no system call, no wait on work of
/// another thread. Compilers that can check it do.
#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::nonblocking)
#define KA_REALTIME [[clang::nonblocking]]
#endif
#endif
#ifndef KA_REALTIME
#define KA_REALTIME
#endif

/// Held by a hardware adapter for the length of one I/O cycle. Test builds abort on allocation while one is
/// alive on the calling thread.
class RealtimeScope {
public:
    RealtimeScope() noexcept { ++depth; }
    ~RealtimeScope() { --depth; }
    RealtimeScope(const RealtimeScope&) = delete;
    RealtimeScope& operator=(const RealtimeScope&) = delete;

    static bool active() noexcept { return depth > 0; }

    /// Lifts the promise on the calling thread while it lives. For one case only: a device changed the layout
    /// of its output, and what is sized after that layout must be made again before the cycle can go on.
    class Exempt {
    public:
        Exempt() noexcept : m_depth(depth) { depth = 0; }
        ~Exempt() { depth = m_depth; }
        Exempt(const Exempt&) = delete;
        Exempt& operator=(const Exempt&) = delete;

    private:
        const int m_depth;
    };

private:
    static inline thread_local int depth = 0;
};
