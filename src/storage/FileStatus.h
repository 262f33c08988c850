// storage/FileStatus.h — what the file system says of a file at one look.
#pragma once
#include <cstdint>

/// Which file it is, and in which state. Two equal statuses of one name mean that the file is as it was.
struct FileStatus {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0; ///< bytes
    std::int64_t modified = 0;
    std::int64_t changed = 0; ///< also by a lock; both nanoseconds since 1970
    bool locked = false;
    bool operator==(const FileStatus&) const = default;
    bool isSameFile(const FileStatus& other) const { return device == other.device && inode == other.inode; }
};
