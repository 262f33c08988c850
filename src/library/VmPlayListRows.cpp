#include "library/TimeStrings.h"
#include "library/VmPlayList.h"
#include "storage/Paths.h"

const RecordRow* VmPlayList::rowAt(int row) const {
    return row >= 0 && row < numberOfRows() ? &m_shown.rows[static_cast<std::size_t>(row)] : nullptr;
}

std::string VmPlayList::fileNameAtRow(int row) const {
    return rowAt(row) == nullptr ? std::string() : m_shown.names[static_cast<std::size_t>(row)];
}

double VmPlayList::fileSizeAtRow(int row) const {
    return rowAt(row) == nullptr ? 0.0 : rowAt(row)->fileSize;
}

std::string VmPlayList::startTimeStringAtRow(int row) const {
    return cell(row, "StartTime");
}

std::string VmPlayList::endTimeStringAtRow(int row) const {
    return cell(row, "EndTime");
}

std::string VmPlayList::spendTimeStringAtRow(int row) const {
    return cell(row, "RecordTime");
}

double VmPlayList::spendTimeAtRow(int row) const {
    return TimeStrings::secondsWithSpendString(spendTimeStringAtRow(row));
}

std::string VmPlayList::noteStringAtRow(int row) const {
    return cell(row, "Remark");
}

bool VmPlayList::isLockedAtRow(int row) const {
    return rowAt(row) != nullptr && !rowAt(row)->lockFlag.empty();
}

bool VmPlayList::isInProgressAtRow(int row) const {
    return rowAt(row) != nullptr && rowAt(row)->inProgress;
}

double VmPlayList::totalTime() const {
    double total = 0.0;
    for (int row = 0; row < numberOfRows(); ++row)
        total += spendTimeAtRow(row);
    return total;
}

double VmPlayList::totalTimeExceptLocked() const {
    double total = 0.0;
    for (int row = 0; row < numberOfRows(); ++row)
        if (!isLockedAtRow(row))
            total += spendTimeAtRow(row);
    return total;
}

double VmPlayList::totalSize() const {
    double total = 0.0;
    for (const RecordRow& row : m_shown.rows)
        total += row.fileSize;
    return total;
}

std::string VmPlayList::totalPeriodString() const {
    return TimeStrings::periodStringWithSeconds(totalTime());
}

std::string VmPlayList::cell(int row, std::string_view column) const {
    return rowAt(row) == nullptr ? std::string() : rowAt(row)->cell(column);
}

void VmPlayList::setCell(int row, std::string_view column, const std::string& text) {
    if (rowAt(row) != nullptr)
        m_shown.rows[static_cast<std::size_t>(row)].setCell(column, text);
}

std::vector<std::string> VmPlayList::draggedFiles(const std::vector<int>& rows) const {
    if (rows.empty() || rowAt(rows.front()) == nullptr)
        return {};
    return {Paths::inFolder(m_shown.folder, fileNameAtRow(rows.front()))};
}
