// rehearsal/RecordedSystemLog.h — a system log that can be read back.
#pragma once
#include "base/SystemLog.h"

#include <mutex>
#include <string>
#include <vector>

/// Keeps every line and hands it on to another log, if there is one.
class RecordedSystemLog final : public SystemLog {
public:
    explicit RecordedSystemLog(SystemLog* next = nullptr) : m_next(next) {}

    // Any thread
    void log(std::string_view line) override {
        const std::lock_guard guard(m_mutex);
        m_lines.emplace_back(line);
        if (m_next != nullptr)
            m_next->log(line);
    }
    std::vector<std::string> lines() const {
        const std::lock_guard guard(m_mutex);
        return m_lines;
    }
    /// From now on lines are handed on to `next`, beginning with those that are kept already; null ends it.
    void setNext(SystemLog* next) {
        const std::lock_guard guard(m_mutex);
        m_next = next;
        if (next != nullptr)
            for (const std::string& line : m_lines)
                next->log(line);
    }

private:
    mutable std::mutex m_mutex; // guards all below
    SystemLog* m_next;
    std::vector<std::string> m_lines;
};
