#include "storage/HidingRename.h"

#include "storage/Paths.h"
#include "storage/SoundFileNames.h"
#include "storage/Volume.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace {
constexpr char hiddenMark = '.';
constexpr char shownMark = '_';
} // namespace

HidingRename::HidingRename(Volume& volume, std::string folder, Wish wish)
    : m_volume(volume), m_folder(std::move(folder)), m_wish(wish) {
    errno = 0;
    const std::vector<VolumeEntry> entries = m_volume.list(m_folder);
    if (errno != 0)
        fail("folder cannot be read", "", errno);
    for (const VolumeEntry& entry : entries) {
        const bool isFile = !entry.isFolder && !entry.isLink && SoundFileNames::isSoundFile(entry.name);
        const bool isHidden = entry.name.starts_with(hiddenMark);
        if (isFile && isHidden == (m_wish == Wish::show))
            m_names.push_back(entry.name);
    }
}

std::string HidingRename::nameFor(std::string name, Wish wish) {
    name.front() = wish == Wish::hide ? hiddenMark : shownMark;
    return name;
}

bool HidingRename::proceed(const std::function<bool()>& pause,
                           const std::function<bool(const std::string&)>& isInUse) {
    const std::size_t before = m_next;
    while (m_next < m_names.size()) {
        const std::string& name = m_names[m_next++];
        if (!isInUse(name))
            rename(name);
        if (m_next < m_names.size() && pause())
            return false;
    }
    if (m_next != before)
        if (const int error = m_volume.synchronizeFolder(m_folder); error != 0)
            fail("folder cannot be brought to the disk", "", error);
    return true;
}

void HidingRename::rename(const std::string& name) {
    const std::string from = Paths::inFolder(m_folder, name);
    const std::string to = Paths::inFolder(m_folder, nameFor(name, m_wish));
    if (m_volume.exists(to)) { // asked before the lock is touched
        fail("name is taken", name, 0);
        return;
    }
    const bool locked = m_volume.isLocked(from);
    if (locked)
        if (const int error = m_volume.setLocked(from, false); error != 0) {
            fail("cannot be unlocked", name, error);
            return;
        }
    const int error = m_volume.renameWithoutReplacing(from, to);
    if (error != 0)
        fail("cannot be renamed", name, error);
    else
        ++m_renamed;
    if (!locked)
        return;
    if (const int lockError = m_volume.setLocked(error == 0 ? to : from, true); lockError != 0)
        fail("cannot be locked again", error == 0 ? nameFor(name, m_wish) : name, lockError);
}

void HidingRename::fail(const std::string& what, const std::string& name, int error) {
    m_failures.push_back(what + (error == 0 ? "" : " (" + std::string(std::strerror(error)) + ")") + ": " +
                         Paths::inFolder(m_folder, name));
}
