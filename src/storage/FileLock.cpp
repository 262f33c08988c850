#include "storage/FileLock.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <optional>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr mode_t allPermissions = 07777;
constexpr mode_t writePermissions = S_IWUSR | S_IWGRP | S_IWOTH;

class OpenedFile {
public:
    explicit OpenedFile(const std::string& path, int folder = AT_FDCWD)
        : m_descriptor(::openat(folder, path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)),
          m_error(m_descriptor < 0 ? errno : 0) {}
    ~OpenedFile() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;

    int error() const { return m_error; }
    /// The inode flags, or an errno.
    int readFlags(int& flags) const {
        return m_error != 0 ? m_error : ::ioctl(m_descriptor, FS_IOC_GETFLAGS, &flags) == 0 ? 0 : errno;
    }
    int writeFlags(int flags) const { return ::ioctl(m_descriptor, FS_IOC_SETFLAGS, &flags) == 0 ? 0 : errno; }

private:
    const int m_descriptor;
    const int m_error;
};

/// Without opening the file, which its permissions may forbid.
int statusOf(const std::string& path, struct statx& status) {
    return ::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE | STATX_MODE, &status) == 0 ? 0
                                                                                                       : errno;
}

bool isImmutable(const std::string& path, const struct statx& status, int folder = AT_FDCWD) {
    if ((status.stx_attributes_mask & STATX_ATTR_IMMUTABLE) != 0)
        return (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
    if (!S_ISREG(status.stx_mode))
        return false;
    int flags = 0;
    return OpenedFile(path, folder).readFlags(flags) == 0 && (flags & FS_IMMUTABLE_FL) != 0;
}

int regularFileStatus(const std::string& path, struct statx& status) {
    if (const int error = statusOf(path, status); error != 0)
        return error;
    return S_ISREG(status.stx_mode) ? 0 : EINVAL;
}
} // namespace

bool FileLock::isLocked(const std::string& path) {
    struct statx status {};
    if (const int error = statusOf(path, status); error != 0)
        return error != ENOENT && error != ENOTDIR;
    return isLocked(AT_FDCWD, path, status);
}

bool FileLock::isLocked(int folder, const std::string& name, const struct statx& status) {
    if (S_ISLNK(status.stx_mode))
        return false;
    return (status.stx_mode & S_IWUSR) == 0 || isImmutable(name, status, folder);
}

int FileLock::setImmutable(const std::string& path, bool immutable) {
    const OpenedFile file(path);
    int flags = 0;
    if (const int error = file.readFlags(flags); error != 0)
        return error;
    const int wanted = immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    return wanted == flags ? 0 : file.writeFlags(wanted);
}

int FileLock::setWritable(const std::string& path, bool writable) {
    struct statx status {};
    if (const int error = regularFileStatus(path, status); error != 0)
        return error;
    const mode_t mode = status.stx_mode & allPermissions;
    const mode_t wanted = writable ? mode | S_IWUSR : mode & ~writePermissions;
    if (mode == wanted)
        return 0;
    return ::chmod(path.c_str(), wanted) == 0 ? 0 : errno;
}

int FileLock::setLocked(const std::string& path, bool locked) {
    struct statx status {};
    if (const int error = regularFileStatus(path, status); error != 0)
        return error;
    int error = 0;
    if (locked) {
        if (isLocked(path))
            return 0;
        if (setImmutable(path, true) != 0) // not allowed, or no such flag here
            error = setWritable(path, false);
    } else {
        if (isImmutable(path, status))
            error = setImmutable(path, false);
        if (error == 0 && (status.stx_mode & S_IWUSR) == 0)
            error = setWritable(path, true);
    }
    if (error != 0)
        return error;
    // Some file systems take a change of permissions and ignore it.
    return isLocked(path) == locked ? 0 : EOPNOTSUPP;
}
