#include "library/RecordListing.h"

#include "library/RecordNote.h"
#include "library/TimeStrings.h"
#include "storage/FolderPlace.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/SoundFile.h"
#include "storage/SoundFileNames.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cerrno>
#include <numeric>

namespace {
constexpr double bytesPerMegabyte = 1048576.0;
constexpr std::size_t dateAt = 13;

/// What its sound lasts; its name says only how long it was at the last full minute.
int secondsOfSound(Volume& volume, const std::string& path) {
    const auto opened = SoundFile::openForReading(volume, path);
    if (opened.file == nullptr || opened.file->rate() < 1.0)
        return 0;
    return static_cast<int>(static_cast<double>(opened.file->frames()) / opened.file->rate());
}

/// By its bare name, for the same folder may be reached on several paths.
bool isProgress(const RecordListing::Request& request, const std::string& name) {
    return RecordFolder::bareName(request.progressPath) == name;
}

RecordRow rowOf(Volume& volume, const RecordListing::Request& request, const std::string& name,
                const FileStatus& status) {
    const std::string path = Paths::inFolder(request.folder, name);
    RecordRow row = RecordRow::ofName(name);
    row.file = status;
    row.fileSize = static_cast<double>(status.size) / bytesPerMegabyte;
    row.lockFlag = status.locked ? request.checkMark : std::string();
    row.remark = status.size > 0 ? RecordNote::read(volume, path) : std::string();
    row.inProgress = isProgress(request, name);
    if (row.inProgress) {
        const int seconds = secondsOfSound(volume, path);
        if (seconds > TimeStrings::secondsWithSpendString(row.recordTime))
            row.setLength(seconds);
    }
    return row;
}

/// Walks through `known` beside the new names, for both are in order.
class KnownRows {
public:
    explicit KnownRows(const RecordListing& known) : m_known(known) {}
    /// The row of `name` if the file is as it was; null otherwise. Names must come in order.
    const RecordRow* find(const std::string& name, const FileStatus& status) {
        while (m_at < m_known.names.size() && m_known.names[m_at] < name)
            ++m_at;
        if (m_at >= m_known.names.size() || m_known.names[m_at] != name || m_known.rows[m_at].inProgress)
            return nullptr;
        return m_known.rows[m_at].file == status ? &m_known.rows[m_at] : nullptr;
    }

private:
    const RecordListing& m_known;
    std::size_t m_at = 0;
};

std::vector<std::string> namesIn(Volume& volume, RecordListing& listing) {
    std::vector<std::string> names;
    errno = 0;
    std::vector<VolumeEntry> entries = volume.list(listing.folder);
    listing.error = errno;
    if (listing.error != 0)
        return names;
    for (VolumeEntry& entry : entries)
        if (!entry.isFolder && !entry.isLink && entry.name.size() >= RecordRow::shortestName &&
            SoundFileNames::isSoundFile(entry.name))
            names.push_back(std::move(entry.name));
    return names;
}

/// What a row is ordered by.
struct SortKey {
    double number = 0.0;
    std::string_view text;
    auto operator<=>(const SortKey&) const = default;
};

SortKey keyOf(const std::string& name, const RecordRow& row, std::string_view column) {
    if (column == "FileSize")
        return {.number = row.fileSize, .text = {}};
    if (column == "RecordTime")
        return {.number = TimeStrings::secondsWithSpendString(row.recordTime), .text = {}};
    if (column == "RecordDate") // with its century
        return {.text = std::string_view(name).substr(dateAt, 8)};
    if (column == "LockFlag")
        return {.text = row.lockFlag};
    if (column == "StartTime")
        return {.text = row.startTime};
    return {.text = column == "EndTime" ? row.endTime : row.remark};
}

using SortKeys = std::vector<SortKey>;

std::vector<SortKeys> keysOf(const RecordListing& listing, const std::vector<SortDescriptor>& descriptors) {
    std::vector<SortKeys> columns;
    for (const SortDescriptor& descriptor : descriptors) {
        SortKeys& keys = columns.emplace_back();
        keys.reserve(listing.rows.size());
        for (std::size_t row = 0; row < listing.rows.size(); ++row)
            keys.push_back(keyOf(listing.names[row], listing.rows[row], descriptor.column));
    }
    return columns;
}
} // namespace

RecordListing RecordListing::read(Volume& volume, const Request& request, const RecordListing& known,
                                  const std::atomic<bool>& superseded) {
    RecordListing listing;
    listing.folder = request.folder;
    static const RecordListing nothing;
    KnownRows knownRows(known.folder == request.folder ? known : nothing);
    const FolderPlace place(request.folder);
    for (std::string& name : namesIn(volume, listing)) {
        if (superseded) {
            listing.isComplete = false;
            break;
        }
        FileStatus status;
        if (place.look(name, status) != 0) // gone meanwhile, or no file
            continue;
        const RecordRow* const same = isProgress(request, name) ? nullptr : knownRows.find(name, status);
        listing.rows.push_back(same != nullptr ? *same : rowOf(volume, request, name, status));
        listing.names.push_back(std::move(name));
    }
    return listing;
}

bool RecordListing::readRow(Volume& volume, const Request& request, const std::string& name, RecordRow& row) {
    FileStatus status;
    if (FolderPlace(request.folder).look(name, status) != 0)
        return false;
    row = rowOf(volume, request, name, status);
    return true;
}

bool RecordListing::isSame(const RecordListing& other) const {
    return folder == other.folder && names == other.names &&
           std::ranges::equal(rows, other.rows, [](const RecordRow& one, const RecordRow& another) {
               return one.file == another.file && one.inProgress == another.inProgress &&
                      one.endTime == another.endTime;
           });
}

int RecordListing::rowOfName(std::string_view name) const {
    const auto found = std::ranges::find(names, name);
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}

int RecordListing::rowOfFile(const FileStatus& file, std::string_view name) const {
    constexpr std::size_t startLength = 15;
    const auto start = [](std::string_view of) { return of.substr(std::min(dateAt, of.size()), startLength); };
    for (std::size_t row = rows.size(); row > 0; --row)
        if (rows[row - 1].file.isSameFile(file) && start(names[row - 1]) == start(name))
            return static_cast<int>(row) - 1;
    return -1;
}

void RecordListing::sort(const std::vector<SortDescriptor>& descriptors) {
    const std::vector<SortKeys> columns = keysOf(*this, descriptors);
    std::vector<std::size_t> order(names.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, [&](std::size_t left, std::size_t right) {
        for (std::size_t column = 0; column < columns.size(); ++column) {
            const auto way = columns[column][left] <=> columns[column][right];
            if (way != std::partial_ordering::equivalent)
                return descriptors[column].ascending ? way < 0 : way > 0;
        }
        return names[left] < names[right];
    });
    std::vector<std::string> sortedNames;
    std::vector<RecordRow> sortedRows;
    sortedNames.reserve(order.size());
    sortedRows.reserve(order.size());
    for (const std::size_t from : order) {
        sortedNames.push_back(std::move(names[from]));
        sortedRows.push_back(std::move(rows[from]));
    }
    names = std::move(sortedNames);
    rows = std::move(sortedRows);
}
