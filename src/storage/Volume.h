// storage/Volume.h — the files of the application, as far as a fault may be rehearsed.
#pragma once
#include "storage/FileStatus.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// An open file. All offsets and sizes are bytes.
class VolumeFile {
public:
    virtual ~VolumeFile() = default; ///< closes

    // One thread at a time
    /// Reads up to `into.size()` bytes at `offset`; fewer at the end of the file, -1 on an error.
    virtual std::int64_t readAt(std::int64_t offset, std::span<std::byte> into) = 0;
    /// Writes all bytes at `offset`; 0, or the errno of what failed.
    virtual int writeAt(std::int64_t offset, std::span<const std::byte> bytes) = 0;
    virtual int truncate(std::int64_t size) = 0;
    /// Returns when data and size are on the disk (fdatasync); 0, or an errno.
    virtual int synchronize() = 0;
    /// -1 on an error.
    virtual std::int64_t size() = 0;
    /// Whether `path` names this file, also through a link.
    virtual bool isAt(const std::string& path) = 0;
    virtual int close() = 0;
};

struct VolumeEntry {
    std::string name;
    bool isFolder = false;
    bool isLink = false;
    bool isSpecial = false; ///< a pipe, a socket or a device: opening it may wait for ever
};

/// Files and folders by full path. Failing operations return false or an errno and change nothing.
class Volume {
public:
    virtual ~Volume() = default;

    // Any thread
    /// Replaces what is at `path`.
    virtual std::unique_ptr<VolumeFile> create(const std::string& path) = 0;
    virtual std::unique_ptr<VolumeFile> openForReading(const std::string& path) = 0;
    virtual std::unique_ptr<VolumeFile> openForUpdating(const std::string& path) = 0;
    virtual bool exists(const std::string& path) = 0;
    /// Without following a link; nothing if there is no such file.
    virtual std::optional<std::int64_t> fileSize(const std::string& path) = 0;
    virtual bool isFolder(const std::string& path) = 0;
    /// True when both are names of one and the same file.
    virtual bool isSameFile(const std::string& path, const std::string& other) = 0;
    virtual bool makeFolder(const std::string& path) = 0; ///< with its parents
    /// 0 or an errno; EEXIST when `to` exists already: nothing is ever overwritten.
    virtual int renameWithoutReplacing(const std::string& from, const std::string& to) = 0;
    virtual int makeLink(const std::string& existing, const std::string& link) = 0;
    virtual int remove(const std::string& path) = 0; ///< a file or an empty folder
    /// Brings changes of names in a folder to the disk.
    virtual int synchronizeFolder(const std::string& folder) = 0;
    /// Entries of one folder, sorted by name bytewise. errno is 0 then, or says why the folder could not be
    /// read to its end.
    virtual std::vector<VolumeEntry> list(const std::string& folder) = 0;
    /// Looks once at each of the files `names` in `folder`, without following links; in their order. Nothing
    /// for one that is not there or is no regular file; one about which nothing can be learned is locked, and
    /// empty.
    virtual std::vector<std::optional<FileStatus>> look(const std::string& folder,
                                                        const std::vector<std::string>& names) = 0;
    /// Whether a lock lies on a file; one about which nothing can be learned is taken for locked.
    virtual bool isLocked(const std::string& path) = 0;
    /// 0, or the errno of what failed.
    virtual int setLocked(const std::string& path, bool locked) = 0;
    /// Free bytes for this user on the volume that holds `folder`; nothing when it cannot be had.
    virtual std::optional<double> freeBytes(const std::string& folder) = 0;
};
