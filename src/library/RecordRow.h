// library/RecordRow.h — what the table shows of one recording.
#pragma once
#include "storage/FileStatus.h"

#include <string>
#include <string_view>

/// A row record. Any thread.
struct RecordRow {
    std::string lockFlag; ///< empty unless locked
    std::string recordDate;
    std::string startTime;
    std::string endTime;
    std::string recordTime;
    double fileSize = 0.0; ///< megabytes
    std::string remark;
    FileStatus file;
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
