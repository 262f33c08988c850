#include "storage/PosixVolume.h"

#include "storage/FileLock.h"
#include "storage/FolderPlace.h"
#include "storage/PosixVolumeFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {
constexpr mode_t newFileMode = 0644;
constexpr mode_t newFolderMode = 0755;

std::optional<struct stat> statusOf(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return std::nullopt;
    return status;
}

int openRepeating(const std::string& path, int flags, mode_t mode = 0) {
    int descriptor = -1;
    do
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC, mode);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

std::unique_ptr<VolumeFile> fileOf(int descriptor) {
    if (descriptor < 0)
        return nullptr;
    return std::make_unique<PosixVolumeFile>(descriptor);
}

/// A folder opens for reading as well; it is no file.
std::unique_ptr<VolumeFile> openFile(const std::string& path, int flags) {
    const int descriptor = openRepeating(path, flags | O_NONBLOCK);
    struct stat status {};
    if (descriptor >= 0 && (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))) {
        ::close(descriptor);
        return nullptr;
    }
    return fileOf(descriptor);
}

bool isSpecial(mode_t mode) {
    return S_ISFIFO(mode) || S_ISSOCK(mode) || S_ISCHR(mode) || S_ISBLK(mode);
}

bool refused(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}
} // namespace

std::unique_ptr<VolumeFile> PosixVolume::create(const std::string& path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT)
        return nullptr;
    return fileOf(openRepeating(path, O_RDWR | O_CREAT | O_EXCL, newFileMode));
}

std::unique_ptr<VolumeFile> PosixVolume::openForReading(const std::string& path) {
    return openFile(path, O_RDONLY);
}

std::unique_ptr<VolumeFile> PosixVolume::openForUpdating(const std::string& path) {
    return openFile(path, O_RDWR);
}

bool PosixVolume::exists(const std::string& path) {
    return statusOf(path).has_value();
}

std::optional<std::int64_t> PosixVolume::fileSize(const std::string& path) {
    const auto status = statusOf(path);
    if (!status)
        return std::nullopt;
    return status->st_size;
}

bool PosixVolume::isSameFile(const std::string& path, const std::string& other) {
    struct stat first {};
    struct stat second {};
    return lstat(path.c_str(), &first) == 0 && lstat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool PosixVolume::isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool PosixVolume::makeFolder(const std::string& path) {
    if (path.empty())
        return false;
    if (isFolder(path))
        return true;
    const std::size_t slash = path.find_last_not_of('/') == std::string::npos
                                  ? std::string::npos
                                  : path.rfind('/', path.find_last_not_of('/'));
    if (slash != std::string::npos && slash > 0 && !makeFolder(path.substr(0, slash)))
        return false;
    return ::mkdir(path.c_str(), newFolderMode) == 0 || isFolder(path);
}

int PosixVolume::renameWithoutReplacing(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (!refused(errno))
        return errno;
    const int error = renameByLink(from, to);
    if (error != EPERM && error != EMLINK && !refused(error))
        return error;
    return renameByReservation(from, to);
}

int PosixVolume::renameByLink(const std::string& from, const std::string& to) {
    if (::link(from.c_str(), to.c_str()) != 0)
        return errno;
    if (::unlink(from.c_str()) == 0)
        return 0;
    const int error = errno;
    ::unlink(to.c_str());
    return error;
}

int PosixVolume::renameByReservation(const std::string& from, const std::string& to) {
    if (!statusOf(from))
        return errno;
    const int descriptor = openRepeating(to, O_WRONLY | O_CREAT | O_EXCL, newFileMode);
    if (descriptor < 0)
        return errno;
    ::close(descriptor);
    if (::rename(from.c_str(), to.c_str()) == 0)
        return 0;
    const int error = errno;
    ::unlink(to.c_str());
    return error;
}

int PosixVolume::makeLink(const std::string& existing, const std::string& link) {
    return ::link(existing.c_str(), link.c_str()) == 0 ? 0 : errno;
}

int PosixVolume::remove(const std::string& path) {
    const auto status = statusOf(path);
    if (!status)
        return errno;
    const int result = S_ISDIR(status->st_mode) ? ::rmdir(path.c_str()) : ::unlink(path.c_str());
    return result == 0 ? 0 : errno;
}

int PosixVolume::synchronizeFolder(const std::string& folder) {
    const int descriptor = openRepeating(folder, O_RDONLY | O_DIRECTORY);
    if (descriptor < 0)
        return errno;
    int result = 0;
    do
        result = ::fsync(descriptor);
    while (result != 0 && errno == EINTR);
    const int error = result == 0 ? 0 : errno;
    ::close(descriptor);
    return error;
}

std::vector<VolumeEntry> PosixVolume::list(const std::string& folder) {
    std::vector<VolumeEntry> entries;
    DIR* const directory = ::opendir(folder.c_str());
    if (directory == nullptr)
        return entries;
    int error = 0;
    for (;;) {
        errno = 0; // the only way to tell the end from an error
        const dirent* const found = ::readdir(directory);
        if (found == nullptr) {
            error = errno;
            break;
        }
        VolumeEntry entry{found->d_name, found->d_type == DT_DIR, found->d_type == DT_LNK};
        entry.isSpecial = isSpecial(DTTOIF(found->d_type));
        if (entry.name == "." || entry.name == "..")
            continue;
        if (found->d_type == DT_UNKNOWN) {
            const auto status = statusOf(folder + "/" + entry.name);
            entry.isFolder = status && S_ISDIR(status->st_mode);
            entry.isLink = status && S_ISLNK(status->st_mode);
            entry.isSpecial = status && isSpecial(status->st_mode);
        }
        entries.push_back(std::move(entry));
    }
    ::closedir(directory);
    std::sort(entries.begin(), entries.end(),
              [](const VolumeEntry& left, const VolumeEntry& right) { return left.name < right.name; });
    errno = error;
    return entries;
}

std::vector<std::optional<FileStatus>> PosixVolume::look(const std::string& folder,
                                                         const std::vector<std::string>& names) {
    std::vector<std::optional<FileStatus>> found;
    found.reserve(names.size());
    const FolderPlace place(folder);
    for (const std::string& name : names) {
        FileStatus status;
        const int error = place.look(name, status);
        if (error == ENOENT || error == ENOTDIR || error == EINVAL)
            found.emplace_back();
        else
            found.push_back(error == 0 ? status : FileStatus{.locked = true});
    }
    return found;
}

bool PosixVolume::isLocked(const std::string& path) {
    return FileLock::isLocked(path);
}

int PosixVolume::setLocked(const std::string& path, bool locked) {
    return FileLock::setLocked(path, locked);
}

std::optional<double> PosixVolume::freeBytes(const std::string& folder) {
    struct statvfs status {};
    if (::statvfs(folder.c_str(), &status) != 0)
        return std::nullopt;
    return static_cast<double>(status.f_bavail) * static_cast<double>(status.f_frsize);
}
