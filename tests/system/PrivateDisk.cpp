#include "system/PrivateDisk.h"

#include "system/ChildProcess.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/fs.h>
#include <sched.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr unsigned long shutDown = 0x8004587d; // the ioctl that ext4 shares with other file systems
constexpr std::uint32_t withoutFlushing = 2;

/// Empty when mounts are this process's own affair from now on.
std::string separateMounts() {
    static const std::string why = [] {
        if (geteuid() != 0)
            return std::string("only root may mount");
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            return std::string("mounts cannot be kept apart: ") + std::strerror(errno);
        return std::string();
    }();
    return why;
}

bool run(const std::vector<std::string>& command) {
    return ChildProcess(command, {}).wait() == 0;
}

void waitFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}
} // namespace

std::string PrivateDisk::whyNot() {
    for (const char* program : {"mkfs.ext4", "mount", "umount"})
        if (!ChildProcess::isInstalled(program))
            return std::string(program) + " is not installed";
    if (const std::string why = separateMounts(); !why.empty())
        return why;
    try {
        const PrivateDisk disk(Kind::ext4, 8);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

PrivateDisk::PrivateDisk(Kind kind, int megabytes)
    : m_kind(kind),
      m_megabytes(megabytes),
      m_path(m_folder.path() + "/disk"),
      m_image(m_folder.path() + "/image") {
    if (const std::string why = separateMounts(); !why.empty())
        throw std::runtime_error(why);
    ::mkdir(m_path.c_str(), 0700);
    if (kind == Kind::ext4) {
        std::ofstream(m_image).close();
        if (::truncate(m_image.c_str(), off_t{megabytes} << 20) != 0 ||
            !run({"mkfs.ext4", "-q", "-F", m_image}))
            throw std::runtime_error("no file system can be made");
    }
    if (!mount())
        throw std::runtime_error("no file system can be mounted");
}

PrivateDisk::~PrivateDisk() {
    awaitThaw();
    if (m_mounted)
        ::umount2(m_path.c_str(), MNT_DETACH);
}

bool PrivateDisk::mount() {
    const std::string size = "size=" + std::to_string(m_megabytes) + "m";
    m_mounted = m_kind == Kind::memory ? ::mount("tmpfs", m_path.c_str(), "tmpfs", 0, size.c_str()) == 0
                                       : run({"mount", "-o", "loop,errors=remount-ro", m_image, m_path});
    return m_mounted;
}

bool PrivateDisk::unmount() {
    // Whoever writes may have a file open for a moment.
    for (int attempt = 0; attempt < 100; ++attempt, waitFor(0.1))
        if (::umount(m_path.c_str()) == 0) {
            m_mounted = false;
            return true;
        }
    return false;
}

bool PrivateDisk::pullOut() {
    const std::string copy = m_image + "+"; // the old one may stay in use
    if (::umount2(m_path.c_str(), MNT_DETACH) != 0 || !run({"cp", "--sparse=always", m_image, copy}))
        return false;
    m_image = copy;
    m_mounted = false;
    return true;
}

bool PrivateDisk::remount(const std::string& options) const {
    return ::mount("none", m_path.c_str(), nullptr, MS_REMOUNT, options.c_str()) == 0;
}

bool PrivateDisk::freezeFor(double seconds) {
    int ready[2] = {-1, -1};
    if (::pipe(ready) != 0)
        return false;
    m_freezer = fork();
    if (m_freezer == 0) {
        // Not ended with its parent: the disk must not stay frozen.
        ::setsid();
        const int folder = ::open(m_path.c_str(), O_RDONLY | O_DIRECTORY);
        const char frozen = ::ioctl(folder, FIFREEZE, 0) == 0 ? 1 : 0;
        const bool told = ::write(ready[1], &frozen, 1) == 1;
        const timespec pause{static_cast<time_t>(seconds),
                             static_cast<long>((seconds - std::floor(seconds)) * 1e9)};
        ::nanosleep(&pause, nullptr);
        ::ioctl(folder, FITHAW, 0);
        _exit(told ? 0 : 1);
    }
    ::close(ready[1]);
    char frozen = 0;
    const bool told = ::read(ready[0], &frozen, 1) == 1;
    ::close(ready[0]);
    return told && frozen == 1;
}

void PrivateDisk::awaitThaw() {
    if (m_freezer > 0)
        ::waitpid(m_freezer, nullptr, 0);
    m_freezer = -1;
}

bool PrivateDisk::cutPower() const {
    const int folder = ::open(m_path.c_str(), O_RDONLY | O_DIRECTORY);
    std::uint32_t how = withoutFlushing;
    const bool cut = ::ioctl(folder, shutDown, &how) == 0;
    ::close(folder);
    return cut;
}

std::string PrivateDisk::device() const {
    std::ifstream mounts("/proc/self/mounts");
    for (std::string name, place, rest; mounts >> name >> place && std::getline(mounts, rest);)
        if (place == m_path)
            return name.substr(name.rfind('/') + 1);
    return {};
}

bool PrivateDisk::failForGood() const {
    std::ofstream trigger("/sys/fs/ext4/" + device() + "/trigger_fs_error");
    trigger << "1" << std::flush;
    return trigger.good();
}

void PrivateDisk::fill(const std::string& name) const {
    const int file = ::open((m_path + "/" + name).c_str(), O_WRONLY | O_CREAT, 0600);
    const std::vector<char> piece(1 << 16);
    for (std::size_t size = piece.size(); size > 0;)
        if (::write(file, piece.data(), size) <= 0)
            size /= 2;
    ::close(file);
}
