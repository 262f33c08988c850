// dutylog/LogBook.h — the log book's file, to which whole blocks are added.
#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

class Clock;
class DiskFlusher;
class SystemLog;
class Volume;
class VolumeFile;

/// Each block is one write, at once, so that a crash of the program costs none; the disk follows on a thread of
/// its own. A block is in the file whole or not at all: what a failed write left of it is cut off.
///
/// A block that cannot be written waits, in its order, and is tried again with each later one. What waits is
/// bounded: beyond that, blocks are dropped, counted, and a block that says so takes their place. The failure
/// itself is said once in the system log.
///
/// One thread at a time.
class LogBook {
public:
    static constexpr std::size_t longestBacklog = 1024 * 1024; ///< bytes
    /// Makes the block that stands for `dropped` lost ones.
    using LossBlock = std::function<std::string(unsigned long dropped)>;

    LogBook(Clock& clock, Volume& volume, SystemLog& log, LossBlock lossBlock);
    ~LogBook();
    LogBook(const LogBook&) = delete;
    LogBook& operator=(const LogBook&) = delete;

    /// Goes on at the end of the book at `path`; false when there is none that can be updated.
    bool openForUpdating(const std::string& path);
    /// Begins an empty book in place of what is at `path`.
    bool create(const std::string& path);
    bool isOpen() const { return m_file != nullptr; }
    /// Of the book that is open; else empty.
    const std::string& path() const { return m_path; }

    void append(std::string block);
    /// Tries again to write what waits.
    void retry();
    /// Whether blocks wait because the book's folder has vanished. It may come back; whoever has it knows when
    /// it must be made anew, and says that its recordings are gone.
    bool isFolderGone() const { return m_isFolderGone; }
    /// Makes the book's folder if it is still missing, and tries again to write what waits.
    void restoreFolder();
    /// Tries once more to write what waits, if need be in a new folder, and closes. Returns what brings the
    /// book to the disk: destroying it waits for that.
    std::unique_ptr<DiskFlusher> close();

private:
    void take(const std::string& path, std::unique_ptr<VolumeFile> file);
    bool write(const std::string& block);
    bool isInPlace();
    bool endsWithinLine();
    void hold(std::string block);
    void sayFailure(int error);

    Clock& m_clock;
    Volume& m_volume;
    SystemLog& m_log;
    const LossBlock m_lossBlock;
    std::string m_path;
    std::unique_ptr<VolumeFile> m_file;
    std::unique_ptr<DiskFlusher> m_flusher;
    std::deque<std::string> m_backlog;
    std::size_t m_backlogBytes = 0;
    unsigned long m_dropped = 0;
    std::int64_t m_tornAt = -1; ///< where a part of a block stands that could not be cut off
    bool m_startsOnNewLine = false;
    bool m_isFolderGone = false;
    bool m_failureSaid = false;
};
