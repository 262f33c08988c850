#include "keeper/KeepSpace.h"

#include "base/SystemLog.h"
#include "storage/Paths.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

bool KeepSpace::secureKeepSpace(const Limits& limits) {
    m_removedBytes = 0.0;
    return secure(limits, freeSystemSpace());
}

bool KeepSpace::secure(const Limits& limits, double freeAtFirst) {
    const std::int32_t period = std::clamp(limits.keepPeriod, 0, longestPeriod) * 86400;
    if (totalKeepTime() - period > limits.maxRecordTime) {
        if (!deleteOlderKeepFile())
            return false;
        secure(limits, freeAtFirst);
    }
    if (freeSystemSpace() > limits.needFreeKeepSpace)
        return true;
    // Some file systems give the room of removed files back only seconds later. Going by the free space alone
    // would take every kept file meanwhile.
    if (m_removedBytes > 0.0 && freeAtFirst + m_removedBytes > limits.needFreeKeepSpace)
        return false;
    if (!deleteOlderKeepFile())
        return false;
    secure(limits, freeAtFirst);
    return false;
}

bool KeepSpace::deleteOlderKeepFile() {
    const std::vector<VolumeEntry> entries = m_volume.list(m_folder);
    const auto liesBeside = [&entries](std::string_view name) {
        return std::ranges::binary_search(
            entries, name, {}, [](const VolumeEntry& entry) { return std::string_view(entry.name); });
    };
    for (const VolumeEntry& entry : entries) {
        if (entry.isFolder || entry.isLink || !m_names.isKeepDataFile(entry.name) ||
            liesBeside(KeepName::stemOf(entry.name))) // it may be the half of what is being compressed
            continue;
        const std::string path = Paths::inFolder(m_folder, entry.name);
        if (m_volume.isLocked(path))
            continue;
        const std::int64_t bytes = m_volume.fileSize(path).value_or(0);
        if (const int error = m_volume.remove(path); error != 0) {
            m_log.log("VmKeeper: kept file cannot be deleted (" + std::string(std::strerror(error)) +
                      "): " + path);
            continue;
        }
        m_removedBytes += static_cast<double>(bytes);
        m_log.log("VmKeeper: kept file deleted to make room: " + path);
        return true;
    }
    return false;
}

double KeepSpace::totalKeepTime() const {
    double total = 0.0;
    for (const VolumeEntry& entry : m_volume.list(m_folder))
        if (!entry.isFolder && !entry.isLink && m_names.isKeepDataFile(entry.name))
            total += m_names.totalSecondOfFile(entry.name);
    return total;
}

double KeepSpace::totalKeepSpace() const {
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    double total = 0.0;
    for (const VolumeEntry& entry : m_volume.list(m_folder))
        total += static_cast<double>(
            std::min(largest, m_volume.fileSize(Paths::inFolder(m_folder, entry.name)).value_or(0)));
    return total;
}

double KeepSpace::freeSystemSpace() const {
    return m_volume.freeBytes(m_folder).value_or(std::numeric_limits<double>::infinity());
}
