#include "keeper/VmKeepList.h"

#include "base/Formatted.h"
#include "library/TimeStrings.h"
#include "storage/Paths.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace {
std::string textOf(const std::optional<KeepName::TimeOfDay>& time) {
    return time ? TimeStrings::timeStringWithHour(time->hour, time->minute, time->second) : std::string();
}
} // namespace

int VmKeepList::initWithDirPath(const std::string& path) {
    m_rows.clear();
    m_folder = path;
    errno = 0;
    const std::vector<VolumeEntry> entries = m_volume.list(path);
    const int error = errno;
    for (const VolumeEntry& entry : entries) {
        if (entry.isFolder || entry.isLink || !m_names.isKeepDataFile(entry.name))
            continue;
        const KeepName::TimeOfDay length = m_names.recordedLength(entry.name);
        Row row;
        row.name = entry.name;
        row.bytes = static_cast<double>(m_volume.fileSize(Paths::inFolder(path, entry.name)).value_or(0));
        row.cells = {
            {"RecordDate", m_names.date(entry.name)},
            {"StartTime", textOf(m_names.startTime(entry.name))},
            {"EndTime", textOf(m_names.stopTime(entry.name))},
            {"RecordTime", TimeStrings::periodStringWithHour(length.hour, length.minute, length.second)},
            {"FileSize", formatted("%.0f", row.bytes)}};
        m_rows.push_back(std::move(row));
    }
    return error;
}

void VmKeepList::sort(const SortDescriptor& order) {
    const auto less = [&](const Row& left, const Row& right) {
        if (order.column == "FileSize")
            return left.bytes < right.bytes;
        if (order.column == "RecordTime")
            return m_names.totalSecondOfFile(left.name) < m_names.totalSecondOfFile(right.name);
        const auto textOfRow = [&](const Row& row) {
            const auto found = row.cells.find(order.column);
            return found == row.cells.end() ? std::string() : found->second;
        };
        return textOfRow(left) < textOfRow(right);
    };
    std::ranges::stable_sort(m_rows, [&](const Row& left, const Row& right) {
        return order.ascending ? less(left, right) : less(right, left);
    });
}

std::string VmKeepList::fileNameAtRow(int row) const {
    return has(row) ? at(row).name : std::string();
}

double VmKeepList::fileSizeAtRow(int row) const {
    return has(row) ? at(row).bytes : 0.0;
}

std::string VmKeepList::spendTimeStringAtRow(int row) const {
    return cell(row, "RecordTime");
}

double VmKeepList::spendTimeAtRow(int row) const {
    return TimeStrings::secondsWithSpendString(spendTimeStringAtRow(row));
}

int VmKeepList::rowOfFile(std::string_view name) const {
    const auto found = std::ranges::find(m_rows, name, &Row::name);
    return found == m_rows.end() ? -1 : static_cast<int>(found - m_rows.begin());
}

double VmKeepList::totalTime() const {
    double total = 0.0;
    for (int row = 0; row < numberOfRowsInTableView(); ++row)
        total += spendTimeAtRow(row);
    return total;
}

double VmKeepList::totalSize() const {
    double total = 0.0;
    for (const Row& row : m_rows)
        total += row.bytes;
    return total;
}

std::string VmKeepList::totalPeriodString() const {
    return TimeStrings::periodStringWithSeconds(totalTime());
}

std::string VmKeepList::cell(int row, std::string_view column) const {
    if (!has(row))
        return {};
    const auto found = at(row).cells.find(column);
    return found == at(row).cells.end() ? std::string() : found->second;
}

void VmKeepList::setCell(int row, std::string_view column, const std::string& text) {
    if (!has(row))
        return;
    Row& edited = m_rows[static_cast<std::size_t>(row)];
    edited.cells.insert_or_assign(std::string(column), text);
    if (column == "FileSize") {
        edited.bytes = 0.0; // what is no number stays so
        std::from_chars(text.data(), text.data() + text.size(), edited.bytes);
    }
}

std::vector<std::string> VmKeepList::draggedFiles(const std::vector<int>& rows) const {
    if (rows.empty() || !has(rows.front()))
        return {};
    return {Paths::inFolder(m_folder, at(rows.front()).name)};
}
