// base/SystemLog.h — one line per thing that went wrong or is worth knowing.
#pragma once
#include "base/LineWriter.h"

#include <string_view>

class Clock;

/// Takes lines of the form "VmRecorder: record file create error.".
class SystemLog {
public:
    virtual ~SystemLog() = default;
    /// Any thread but an I/O thread. `line` has no line end; one within it becomes a blank.
    virtual void log(std::string_view line) = 0;
};

/// Writes "YYYY-MM-DD HH:MM:SS.mmm line" to a file descriptor. Never waits for its reader.
class DescriptorSystemLog final : public SystemLog {
public:
    DescriptorSystemLog(const Clock& clock, int descriptor) : m_clock(clock), m_writer(descriptor) {}
    void log(std::string_view line) override;
    /// Waits at most `seconds` for what is queued to be taken.
    bool flush(double seconds) { return m_writer.flush(seconds); }

private:
    const Clock& m_clock;
    LineWriter m_writer;
};
