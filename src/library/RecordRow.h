// library/RecordRow.h — what the table shows of one recording.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

/// Which file it is, and in which state. Two equal statuses of one name mean that the file is as it was.
struct RecordFileStatus {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0; ///< bytes
    std::int64_t modified = 0;
    std::int64_t changed = 0; ///< also by a lock; both nanoseconds since 1970
    bool locked = false;
    bool operator==(const RecordFileStatus&) const = default;
    bool isSameFile(const RecordFileStatus& other) const {
        return device == other.device && inode == other.inode;
    }
};

/// A row record. Any thread.
struct RecordRow {
    std::string lockFlag; ///< empty unless locked
    std::string recordDate;
    std::string startTime;
    std::string endTime;
    std::string recordTime;
    double fileSize = 0.0; ///< megabytes
    std::string remark;
    RecordFileStatus file;
    bool inProgress = false; ///< being recorded now

    static constexpr std::size_t shortestName = 35; ///< bytes, up to the end time's last digit
    /// The dates and times of `name`, which has `shortestName` bytes at least.
    static RecordRow ofName(std::string_view name);
    /// Makes the row end `seconds` after its start.
    void setLength(int seconds);
    /// The text of a column; empty for one that there is not.
    std::string cell(std::string_view column) const;
    void setCell(std::string_view column, const std::string& text);
};
