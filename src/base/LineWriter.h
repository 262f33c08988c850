// base/LineWriter.h — lines for a reader who may not read.
#pragma once
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

/// Writes lines to a file descriptor without ever waiting for whoever reads it: a pipe that is full must not
/// stop a duty. Lines wait in memory meanwhile, the newest `longestQueue` of them. Any thread but an I/O
/// thread.
class LineWriter {
public:
    static constexpr std::size_t longestQueue = 1000;

    explicit LineWriter(int descriptor) : m_descriptor(descriptor) {}

    /// Takes a line without its end.
    void write(std::string line);
    /// Waits at most `seconds` for what is queued to be taken. False when something is left.
    bool flush(double seconds);

private:
    bool drain(int timeoutMilliseconds);

    const int m_descriptor;
    std::mutex m_mutex;
    std::deque<std::string> m_lines;
    std::uint64_t m_dropped = 0;
};
