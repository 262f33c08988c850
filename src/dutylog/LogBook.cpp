#include "dutylog/LogBook.h"

#include "base/SystemLog.h"
#include "dutylog/DiskFlusher.h"
#include "storage/Paths.h"
#include "storage/Volume.h"

#include <cerrno>
#include <cstring>
#include <span>
#include <utility>

LogBook::LogBook(Clock& clock, Volume& volume, SystemLog& log, LossBlock lossBlock)
    : m_clock(clock), m_volume(volume), m_log(log), m_lossBlock(std::move(lossBlock)) {}

LogBook::~LogBook() = default;

void LogBook::take(const std::string& path, std::unique_ptr<VolumeFile> file) {
    m_file = std::move(file);
    if (m_file == nullptr)
        return;
    m_path = path;
    m_tornAt = -1;
    m_flusher = std::make_unique<DiskFlusher>(m_clock, m_volume, m_log, path);
}

bool LogBook::openForUpdating(const std::string& path) {
    take(path, m_volume.openForUpdating(path));
    if (!isOpen())
        return false;
    m_startsOnNewLine = endsWithinLine(); // a power cut may have torn the last line
    return true;
}

bool LogBook::endsWithinLine() {
    std::byte last{'\n'};
    const std::int64_t size = m_file->size();
    return size > 0 && m_file->readAt(size - 1, std::span(&last, 1)) == 1 && last != std::byte{'\n'};
}

bool LogBook::create(const std::string& path) {
    const std::string folder = Paths::folderOf(path);
    if (!m_volume.isFolder(folder) && !m_volume.makeFolder(folder))
        return false;
    take(path, m_volume.create(path));
    return isOpen();
}

void LogBook::append(std::string block) {
    if (!isOpen())
        return;
    retry(); // what waits comes first
    if (!m_backlog.empty() || m_dropped != 0 || !write(block))
        hold(std::move(block));
}

void LogBook::retry() {
    if (!isOpen())
        return;
    while (!m_backlog.empty() && write(m_backlog.front())) {
        m_backlogBytes -= m_backlog.front().size();
        m_backlog.pop_front();
    }
    if (m_backlog.empty() && m_dropped != 0 && write(m_lossBlock(m_dropped)))
        m_dropped = 0;
}

void LogBook::restoreFolder() {
    if (!isOpen())
        return;
    const std::string folder = Paths::folderOf(m_path);
    if (!m_volume.isFolder(folder))
        m_volume.makeFolder(folder); // whether it is there, the next write sees
    retry();
}

void LogBook::hold(std::string block) {
    // Once some were dropped the later ones are too, until there is a place to say so: the order stays true.
    if (m_dropped != 0 || m_backlogBytes + block.size() > longestBacklog) {
        if (m_dropped++ == 0)
            m_log.log("VmDutyLog: too many events wait for the log book; from now on they are dropped.");
        return;
    }
    m_backlogBytes += block.size();
    m_backlog.push_back(std::move(block));
}

bool LogBook::write(const std::string& block) {
    if (!isInPlace())
        return false;
    const std::string text = m_startsOnNewLine ? "\n" + block : block;
    const std::int64_t end = m_tornAt >= 0 ? m_tornAt : m_file->size();
    const int error = end < 0 ? EIO : m_file->writeAt(end, std::as_bytes(std::span(text)));
    if (error != 0) {
        if (end >= 0 && m_file->truncate(end) != 0)
            m_tornAt = end;
        sayFailure(error);
        return false;
    }
    m_startsOnNewLine = false;
    const std::int64_t newEnd = end + static_cast<std::int64_t>(text.size());
    if (m_tornAt >= 0)
        m_tornAt = m_file->truncate(newEnd) == 0 ? -1 : newEnd;
    if (std::exchange(m_failureSaid, false))
        m_log.log("VmDutyLog: log book is written again.");
    m_flusher->request();
    return true;
}

bool LogBook::isInPlace() {
    if (m_file->isAt(m_path))
        return true;
    // Somebody removed the book or put another file in its place: what goes on in the old one would be lost.
    if (!m_volume.isFolder(Paths::folderOf(m_path))) {
        m_isFolderGone = true;
        sayFailure(ENOENT);
        return false;
    }
    m_isFolderGone = false;
    errno = 0;
    const bool isReplaced = m_volume.fileSize(m_path).has_value();
    std::unique_ptr<VolumeFile> file = isReplaced ? m_volume.openForUpdating(m_path) : m_volume.create(m_path);
    if (file == nullptr) {
        sayFailure(errno != 0 ? errno : EIO);
        return false;
    }
    m_file = std::move(file);
    m_tornAt = -1;
    m_startsOnNewLine = endsWithinLine();
    if (!isReplaced)
        m_log.log("VmDutyLog: log book was removed, a new one is begun.");
    return true;
}

void LogBook::sayFailure(int error) {
    if (!std::exchange(m_failureSaid, true))
        m_log.log(std::string("VmDutyLog: log book write error (") + std::strerror(error) + ").");
}

std::unique_ptr<DiskFlusher> LogBook::close() {
    if (!isOpen())
        return nullptr;
    retry();
    if (m_isFolderGone)
        restoreFolder();
    if (const std::size_t lost = m_backlog.size() + m_dropped; lost != 0)
        m_log.log("VmDutyLog: " + std::to_string(lost) + " events are missing in the log book.");
    m_backlog.clear();
    m_backlogBytes = 0;
    m_dropped = 0;
    m_failureSaid = false;
    m_isFolderGone = false;
    m_file.reset();
    m_path.clear();
    return std::move(m_flusher);
}
