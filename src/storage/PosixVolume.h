// storage/PosixVolume.h — the volume of the machine.
#pragma once
#include "storage/Volume.h"

/// Files through the system's own calls. Interrupted calls are repeated, short writes go on where they stopped.
///
/// A file is created anew: what was at its path goes first, so another name of that same file keeps its
/// contents. Where creating fails, errno says why.
class PosixVolume final : public Volume {
public:
    // Any thread
    std::unique_ptr<VolumeFile> create(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForReading(const std::string& path) override;
    std::unique_ptr<VolumeFile> openForUpdating(const std::string& path) override;
    bool exists(const std::string& path) override;
    std::optional<std::int64_t> fileSize(const std::string& path) override;
    bool isFolder(const std::string& path) override;
    bool isSameFile(const std::string& path, const std::string& other) override;
    bool makeFolder(const std::string& path) override;
    int renameWithoutReplacing(const std::string& from, const std::string& to) override;
    int makeLink(const std::string& existing, const std::string& link) override;
    int remove(const std::string& path) override;
    int synchronizeFolder(const std::string& folder) override;
    std::vector<VolumeEntry> list(const std::string& folder) override;
    std::vector<std::optional<FileStatus>> look(const std::string& folder,
                                                const std::vector<std::string>& names) override;
    bool isLocked(const std::string& path) override;
    int setLocked(const std::string& path, bool locked) override;
    std::optional<double> freeBytes(const std::string& folder) override;

    /// The two ways to rename where the file system knows no rename that refuses to replace; 0 or an errno.
    /// By a second name, after which the first is removed.
    static int renameByLink(const std::string& from, const std::string& to);
    /// By creating `to` as an empty file of our own, over which `from` is then renamed.
    static int renameByReservation(const std::string& from, const std::string& to);
};
