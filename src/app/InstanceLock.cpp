#include "app/InstanceLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

InstanceLock::~InstanceLock() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

InstanceLock::Outcome InstanceLock::lockFolder(const std::string& folder) {
    return lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

InstanceLock::Outcome InstanceLock::lockFile(const std::string& path) {
    int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644);
    if (descriptor < 0) // it is another user's, or on a disk that is read-only; a lock needs no right to write
        descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    return lock(descriptor);
}

bool InstanceLock::isOn(const std::string& path) const {
    struct stat held {};
    struct stat found {};
    return m_descriptor >= 0 && ::fstat(m_descriptor, &held) == 0 && ::stat(path.c_str(), &found) == 0 &&
           held.st_dev == found.st_dev && held.st_ino == found.st_ino;
}

InstanceLock::Outcome InstanceLock::lock(int descriptor) {
    m_error = errno;
    if (descriptor < 0)
        return Outcome::impossible;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        m_descriptor = descriptor;
        return Outcome::taken;
    }
    m_error = errno;
    const bool held = m_error == EWOULDBLOCK;
    ::close(descriptor);
    return held ? Outcome::heldByAnother : Outcome::impossible;
}
