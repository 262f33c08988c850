// The part of VmMechanic that makes room.
#include "base/Formatted.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "storage/BackupFolder.h"
#include "storage/Paths.h"
#include "storage/VmMechanic.h"

#include <array>
#include <charconv>
#include <cstring>

namespace {
constexpr std::string_view progressSoundFileNameKey = "ProgressSoundFileName";
constexpr double bytesPerMegabyte = 1048576.0;
constexpr double pauseSeconds = 0.1;

/// In as many digits as were set: the settings hold what a single-precision number can.
std::string megabytesText(double megabytes) {
    std::array<char, 64> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<float>(megabytes),
                                   std::chars_format::fixed);
    return {digits.data(), end.ptr};
}
} // namespace

RecordSpace::Place VmMechanic::place() const {
    return {.folder = m_recordFolder, .progressPath = m_seams.defaults.stringForKey(progressSoundFileNameKey)};
}

bool VmMechanic::secureRecordSpace(double rate, unsigned channels) {
    if (m_isFolderTaken) // what lies there is the other recorder's
        return false;
    const bool isSecure = m_space.secure(place(), {.maxTotalTime = m_maxTotalTime,
                                                   .maxRecordTime = m_maxRecordTime,
                                                   .needFreeSpace = needFreeSpace(rate, channels)});
    goOnLater();
    return isSecure;
}

/// Between two stretches there is time for the window, and for the disk to write what is recorded.
void VmMechanic::goOnLater() {
    if (!m_space.isUnfinished()) {
        m_rest.reset();
        return;
    }
    m_rest = m_seams.runLoop.schedule({.interval = pauseSeconds}, [this] {
        if (m_isFolderTaken) // what lies there is the other recorder's
            return;
        m_space.proceed(place(), {.maxTotalTime = m_maxTotalTime, .maxRecordTime = m_maxRecordTime});
        goOnLater();
    });
}

bool VmMechanic::isLockedFile(std::string_view name) const {
    return m_seams.volume.isLocked(Paths::inFolder(m_recordFolder, name));
}

bool VmMechanic::lockFile(std::string_view name) {
    return setLocked(name, true);
}

bool VmMechanic::unlockFile(std::string_view name) {
    return setLocked(name, false);
}

bool VmMechanic::setLocked(std::string_view name, bool locked) {
    const std::string path = Paths::inFolder(m_recordFolder, name);
    const int error = m_seams.volume.setLocked(path, locked);
    if (error == 0)
        return true;
    reportError(std::string("VmMechanic: file cannot be ") + (locked ? "locked (" : "unlocked (") +
                std::strerror(error) + "): " + path);
    return false;
}

bool VmMechanic::makeSecureRecordSpace(double rate, unsigned channels) {
    m_advicePanel.adviceIndicator.setAnimating(false);
    if (m_adviceOperation) {
        const std::string keepFolder = m_keepFolder ? m_keepFolder() : std::string();
        const std::string& folder = keepFolder.empty() ? m_recordFolder : keepFolder;
        if (const double total = folderSizeWithPath(folder); total > m_adviceDataSize * bytesPerMegabyte) {
            moveBackupDataWithPath(folder);
            adviceAlertWithPath(BackupFolder::beside(folder), total);
            m_advicePanel.adviceIndicator.setAnimating(true);
        }
    }
    return secureRecordSpace(rate, channels);
}

double VmMechanic::folderSizeWithPath(const std::string& path) const {
    return BackupFolder::sizeOf(m_seams.volume, path);
}

double VmMechanic::moveBackupDataWithPath(const std::string& path) {
    const RecordSpace::Place records = place();
    BackupFolder::Move move{.folder = path,
                            .limit = m_adviceDataSize * bytesPerMegabyte,
                            .progressName = RecordFolder::bareName(records.progressPath),
                            .untouchable = {path, m_recordFolder}};
    if (m_keepFolder && !m_keepFolder().empty())
        move.untouchable.push_back(m_keepFolder());
    const double moved = BackupFolder(m_seams.volume, m_seams.log, m_seams.notifications).refill(move);
    m_seams.log.log(formatted("VmMechanic: %.0f bytes were moved to the backup folder: %s", moved,
                              BackupFolder::beside(path).c_str()));
    return moved;
}

void VmMechanic::adviceAlertWithPath(const std::string& path, double total) {
    m_advicePanel.adviceSizeText.setText(megabytesText(m_adviceDataSize));
    m_advicePanel.advicePathText.setText(path);
    m_advicePanel.adviceTotalText.setText(formatted("%.1f", total / bytesPerMegabyte));
    m_advicePanel.show();
}
