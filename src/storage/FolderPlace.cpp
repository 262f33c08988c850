#include "storage/FolderPlace.h"

#include "storage/FileLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
std::int64_t nanoseconds(const statx_timestamp& time) {
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}
} // namespace

FolderPlace::FolderPlace(const std::string& folder)
    : m_descriptor(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
      m_error(m_descriptor < 0 ? errno : 0) {}

FolderPlace::~FolderPlace() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

int FolderPlace::look(const std::string& name, FileStatus& status) const {
    constexpr unsigned wanted = STATX_TYPE | STATX_MODE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_CTIME;
    if (m_error != 0)
        return m_error;
    struct statx found {};
    if (::statx(m_descriptor, name.c_str(), AT_SYMLINK_NOFOLLOW, wanted, &found) != 0)
        return errno;
    if (!S_ISREG(found.stx_mode))
        return EINVAL;
    status = {.device = (static_cast<std::uint64_t>(found.stx_dev_major) << 32U) | found.stx_dev_minor,
              .inode = found.stx_ino,
              .size = static_cast<std::int64_t>(found.stx_size),
              .modified = nanoseconds(found.stx_mtime),
              .changed = nanoseconds(found.stx_ctime),
              .locked = FileLock::isLocked(m_descriptor, name, found)};
    return 0;
}
