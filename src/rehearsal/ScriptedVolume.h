// rehearsal/ScriptedVolume.h — a volume whose size, speed and faults are scripted.
#pragma once
#include "storage/Volume.h"

#include <atomic>

class Clock;

/// Real files of another volume, with faults on top. Faults may be set while files are open.
class ScriptedVolume final : public Volume {
public:
    ScriptedVolume(Volume& files, Clock& clock) : m_files(files), m_clock(clock) {}

    // Any thread
    /// Every write fails with ENOSPC from now on.
    void setWriteError(bool failing) { m_writeError = failing; }
    /// Every block takes this many seconds of the clock to reach the disk.
    void setWriteSeconds(double seconds) { m_writeSeconds = seconds; }
    /// The n-th write from now on (0: none) fails once with EIO.
    void failWrite(int number) { m_failingWrite = number; }

    std::unique_ptr<VolumeFile> create(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForReading(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForUpdating(const std::string& path) override;
    bool exists(const std::string& path) override { return m_files.exists(path); }
    std::optional<std::int64_t> fileSize(const std::string& path) override { return m_files.fileSize(path); }
    bool isFolder(const std::string& path) override { return m_files.isFolder(path); }
    bool isSameFile(const std::string& path, const std::string& other) override {
        return m_files.isSameFile(path, other);
    }
    bool makeFolder(const std::string& path) override { return m_files.makeFolder(path); }
    int renameWithoutReplacing(const std::string& from, const std::string& to) override {
        return m_files.renameWithoutReplacing(from, to);
    }
    int makeLink(const std::string& existing, const std::string& link) override {
        return m_files.makeLink(existing, link);
    }
    int remove(const std::string& path) override { return m_files.remove(path); }
    int synchronizeFolder(const std::string& folder) override { return m_files.synchronizeFolder(folder); }
    std::vector<VolumeEntry> list(const std::string& folder) override { return m_files.list(folder); }
    bool isLocked(const std::string& path) override { return m_files.isLocked(path); }
    int setLocked(const std::string& path, bool locked) override { return m_files.setLocked(path, locked); }
    std::optional<double> freeBytes(const std::string& folder) override { return m_files.freeBytes(folder); }

    // Called by the open files
    /// The errno of a scripted fault, or 0.
    int beforeWrite();
    /// Waits as scripted.
    void beforeSynchronizing();

private:
    std::unique_ptr<VolumeFile> wrapped(std::unique_ptr<VolumeFile> file);

    Volume& m_files;
    Clock& m_clock;
    std::atomic<bool> m_writeError{false};
    std::atomic<double> m_writeSeconds{0.0};
    std::atomic<int> m_failingWrite{0};
};
