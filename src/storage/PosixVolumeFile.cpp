#include "storage/PosixVolumeFile.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {
/// Repeats `call` while signals interrupt it; 0 or an errno.
template <typename Call>
int repeated(Call call) {
    for (;;) {
        if (call() == 0)
            return 0;
        if (errno != EINTR)
            return errno;
    }
}
} // namespace

PosixVolumeFile::~PosixVolumeFile() {
    close();
}

std::int64_t PosixVolumeFile::readAt(std::int64_t offset, std::span<std::byte> into) {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t got = ::pread(m_descriptor, into.data() + done, into.size() - done,
                                    offset + static_cast<std::int64_t>(done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

int PosixVolumeFile::writeAt(std::int64_t offset, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(m_descriptor, bytes.data(), bytes.size(), offset);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        if (written == 0)
            return ENOSPC;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        offset += written;
    }
    return 0;
}

int PosixVolumeFile::truncate(std::int64_t size) {
    return repeated([&] { return ::ftruncate(m_descriptor, size); });
}

int PosixVolumeFile::synchronize() {
    return repeated([&] { return ::fdatasync(m_descriptor); });
}

std::int64_t PosixVolumeFile::size() {
    struct stat status {};
    return ::fstat(m_descriptor, &status) == 0 ? status.st_size : -1;
}

bool PosixVolumeFile::isAt(const std::string& path) {
    struct stat own {};
    struct stat there {};
    return ::fstat(m_descriptor, &own) == 0 && ::stat(path.c_str(), &there) == 0 &&
           own.st_dev == there.st_dev && own.st_ino == there.st_ino;
}

int PosixVolumeFile::close() {
    if (m_descriptor < 0)
        return 0;
    // Not repeated on EINTR: the descriptor is gone by then.
    return ::close(std::exchange(m_descriptor, -1)) == 0 || errno == EINTR ? 0 : errno;
}
