// rehearsal/ScriptedVolume.h — a volume whose size, speed and faults are scripted.
#pragma once
#include "rehearsal/VolumeRoom.h"
#include "storage/VolumeLayer.h"

#include <atomic>
#include <mutex>
#include <string>

class Clock;

/// Real files of another volume, with faults on top. Faults may be set while files are open.
class ScriptedVolume final : public VolumeLayer {
public:
    ScriptedVolume(Volume& files, Clock& clock) : VolumeLayer(files), m_clock(clock) {}

    // Any thread
    /// Every write fails with ENOSPC from now on.
    void setWriteError(bool failing) { m_writeError = failing; }
    /// Every block takes this many seconds of the clock to reach the disk.
    void setWriteSeconds(double seconds) { m_writeSeconds = seconds; }
    /// Every folder takes this many seconds of the clock to be read.
    void setListSeconds(double seconds) { m_listSeconds = seconds; }
    /// The n-th write from now on (0: none) fails once with EIO.
    void failWrite(int number) { m_failingWrite = number; }

    /// The volume is as large as `room` says from now on, and all files in the folders under `folder` are on
    /// it.
    void limitRoom(const std::string& folder, const VolumeRoom& room);
    /// `bytes` are free now.
    void setFreeBytes(double bytes);
    /// What was set last.
    VolumeRoom room() const;
    /// Bytes of all files in the folders under `folder`, however they were made; a file with several names
    /// counts once, the files in `folder` itself do not.
    static double usedBytes(const std::string& folder);

    std::unique_ptr<VolumeFile> create(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForUpdating(const std::string& path) override;
    std::vector<VolumeEntry> list(const std::string& folder) override;
    /// The other volume's, unless the room was limited.
    std::optional<double> freeBytes(const std::string& folder) override;

    // Called by the open files
    /// The errno of a scripted fault or of a full volume, or 0. `growth` is how many bytes longer the file
    /// gets.
    int beforeWrite(double growth);
    /// Waits as scripted.
    void beforeSynchronizing();

private:
    std::unique_ptr<VolumeFile> wrapped(std::unique_ptr<VolumeFile> file);
    int takeRoom(double growth);
    double countFreeBytes() const;

    Clock& m_clock;
    std::atomic<bool> m_writeError{false};
    std::atomic<double> m_writeSeconds{0.0};
    std::atomic<double> m_listSeconds{0.0};
    std::atomic<int> m_failingWrite{0};

    mutable std::mutex m_mutex; // guards all below
    std::string m_folder;       // empty: no limit
    VolumeRoom m_room;
    double m_countedFree = 0.0; // since the files were last counted, less what grew since
};
