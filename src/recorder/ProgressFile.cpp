#include "recorder/ProgressFile.h"

#include "base/Clock.h"
#include "base/NotificationCenter.h"
#include "base/Seams.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "storage/Paths.h"
#include "storage/SoundFileNames.h"
#include "storage/VmMechanic.h"
#include "storage/Volume.h"

#include <cerrno>
#include <span>

namespace {
constexpr std::int64_t noteOffset = 291;
constexpr std::string_view progressKey = "ProgressSoundFileName";
} // namespace

ProgressFile::ProgressFile(const Seams& seams, VmMechanic& mechanic)
    : m_clock(seams.clock),
      m_volume(seams.volume),
      m_defaults(seams.defaults),
      m_log(seams.log),
      m_notifications(seams.notifications),
      m_mechanic(mechanic) {}

std::string ProgressFile::path() const {
    return m_defaults.stringForKey(progressKey);
}

void ProgressFile::remember(const std::string& path) {
    m_defaults.set(progressKey, std::string_view(path));
    m_defaults.synchronize();
}

std::string ProgressFile::presentPath() const {
    return Paths::inFolder(
        m_mechanic.recordFolder(),
        SoundFileNames::finalName(SoundFileNames::whichHeaderString(m_hidden),
                                  m_clock.format(m_start, "%Y%m%d_%H%M%S"),
                                  m_clock.format(m_clock.now(), "%H%M%S"),
                                  m_mechanic.extensionName().value_or(SoundFileNames::soundExtension)));
}

void ProgressFile::makeProgressSoundFile(Date start, bool hidden) {
    m_start = start;
    m_hidden = hidden;
    const std::string path = presentPath();
    const int error = m_volume.makeLink(m_mechanic.temporaryFilePath(), path);
    m_nameWasTaken = error == EEXIST;
    if (error != 0) {
        m_log.log("Cannot create progress sound file.");
        remember("");
        return;
    }
    remember(path);
}

bool ProgressFile::writeNote(const std::string& path) {
    static constexpr char note[] = "PROGRESS";
    const auto file = m_volume.openForUpdating(path);
    return file != nullptr && file->writeAt(noteOffset, std::as_bytes(std::span(note))) == 0;
}

void ProgressFile::renewalProgressSoundFile(int channels) {
    const std::string old = path();
    if (old.empty()) {
        if (m_nameWasTaken) // by now it has another one
            makeProgressSoundFile(m_start, m_hidden);
        return;
    }
    const std::string renewed = presentPath();
    if (renewed == old)
        return;
    unlock(old);
    if (m_volume.renameWithoutReplacing(old, renewed) != 0) {
        const std::string message = "VmRecorder: cannot renewal progress sound file.";
        m_log.log(message);
        m_notifications.postLogEvent("SomeErrorHappen", message);
        return;
    }
    remember(renewed);
    if (!m_mechanic.setAIFFFileHeader(renewed, static_cast<unsigned>(channels)) || !writeNote(renewed))
        m_log.log("VmRecorder: progress sound file cannot be marked.");
}

void ProgressFile::unlock(const std::string& path) {
    if (!m_volume.isLocked(path))
        return;
    if (const int error = m_volume.setLocked(path, false); error != 0)
        m_log.log("VmRecorder: progress sound file cannot be unlocked: " + path);
}

bool ProgressFile::hasOtherName(const std::string& path) const {
    if (m_volume.isSameFile(path, m_mechanic.temporaryFilePath()))
        return true;
    for (const VolumeEntry& entry : m_volume.list(m_mechanic.recordFolder())) {
        const std::string other = Paths::inFolder(m_mechanic.recordFolder(), entry.name);
        if (other != path && SoundFileNames::isSoundFile(entry.name) && m_volume.isSameFile(path, other))
            return true;
    }
    return false;
}

void ProgressFile::deleteProgressSoundFile() {
    const std::string old = path();
    if (old.empty())
        return;
    unlock(old);
    // Only a second name may go: without the first one it is all that is left of the sound.
    if (m_volume.exists(old) && !hasOtherName(old)) {
        m_log.log("VmRecorder: progress sound file is kept, it has no other name: " + old);
    } else if (const int error = m_volume.remove(old); error != 0 && error != ENOENT) {
        m_log.log("VmRecorder: progress sound file cannot be removed: " + old);
        return; // it is remembered, and tried again at the next launch
    }
    remember("");
}
