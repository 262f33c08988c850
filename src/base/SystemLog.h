// base/SystemLog.h — one line per thing that went wrong or is worth knowing.
#pragma once
#include <string_view>

class Clock;

/// Takes lines of the form "VmRecorder: record file create error.".
class SystemLog {
public:
    virtual ~SystemLog() = default;
    /// Any thread but an I/O thread. `line` has no line end.
    virtual void log(std::string_view line) = 0;
};

/// Writes "YYYY-MM-DD HH:MM:SS.mmm line" to a file descriptor, each line in one write.
class DescriptorSystemLog final : public SystemLog {
public:
    DescriptorSystemLog(const Clock& clock, int descriptor) : m_clock(clock), m_descriptor(descriptor) {}
    void log(std::string_view line) override;

private:
    const Clock& m_clock;
    const int m_descriptor;
};
