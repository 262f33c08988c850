// rehearsal/LineFile.h — a text file that only grows.
#pragma once
#include "base/SystemLog.h"

#include <string>
#include <string_view>

class Clock;

/// Appends lines; each is with the system before `write` returns, so that a crash loses none. Any thread; the
/// lines of a rehearsal's threads come one at a time.
class LineFile {
public:
    /// Makes the file if there is none. Paths that begin with `folder` are written without it: what a rehearsal
    /// says does not depend on where it leaves it.
    LineFile(const std::string& path, std::string folder);
    ~LineFile();
    LineFile(const LineFile&) = delete;
    LineFile& operator=(const LineFile&) = delete;

    void write(std::string line);
    /// False once something could not be written.
    bool isWhole() const { return m_whole; }

    /// Local wall-clock time, "YYYY-MM-DD HH:MM:SS.mmm".
    static std::string timeText(const Clock& clock);

private:
    const std::string m_prefix;
    int m_descriptor;
    bool m_whole;
};

/// A system log in such a file, "YYYY-MM-DD HH:MM:SS.mmm message" in each line.
class LineFileLog final : public SystemLog {
public:
    LineFileLog(LineFile& file, const Clock& clock) : m_file(file), m_clock(clock) {}
    void log(std::string_view line) override {
        m_file.write(LineFile::timeText(m_clock) + " " + std::string(line));
    }

private:
    LineFile& m_file;
    const Clock& m_clock;
};
