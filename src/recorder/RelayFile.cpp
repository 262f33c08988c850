#include "recorder/RelayFile.h"

#include "base/NotificationCenter.h"
#include "base/Seams.h"
#include "base/SystemLog.h"
#include "storage/SoundFile.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <vector>

namespace {
constexpr std::int64_t soundDataOffset = 4096;
constexpr std::int64_t pieceSize = std::int64_t{1} << 20;

/// Copies all bytes from `offset` to `end` to the beginning of `into`.
bool copyTail(VolumeFile& from, std::int64_t offset, std::int64_t end, VolumeFile& into) {
    std::vector<std::byte> piece(static_cast<std::size_t>(std::min(pieceSize, end - offset)));
    for (std::int64_t done = 0; offset + done < end;) {
        const std::size_t wanted = std::min(piece.size(), static_cast<std::size_t>(end - offset - done));
        const std::int64_t got = from.readAt(offset + done, std::span(piece).first(wanted));
        if (got <= 0 || into.writeAt(done, std::span(piece).first(static_cast<std::size_t>(got))) != 0)
            return false;
        done += got;
    }
    return true;
}
} // namespace

RelayFile::RelayFile(const Seams& seams, VmMechanic& mechanic)
    : m_log(seams.log), m_notifications(seams.notifications), m_mechanic(mechanic) {}

void RelayFile::reportError(std::string_view text) const {
    m_log.log(text);
    m_notifications.postLogEvent("SomeErrorHappen", text);
}

bool RelayFile::delOverRecordData(std::int64_t overRecordBytes, std::int64_t soundBytes, int channels) {
    const auto relay = m_mechanic.createRelayFile();
    if (relay == nullptr || relay->truncate(0) != 0) {
        reportError("VmRecorder: cannot open over record temp file.");
        return false;
    }
    const auto sound = m_mechanic.openTempFile();
    const std::int64_t end = soundDataOffset + soundBytes;
    if (sound == nullptr || sound->size() < end || soundBytes < overRecordBytes) {
        m_mechanic.deleteRelayFile();
        reportError("VmRecorder: cannot open sound record temp file.");
        return false;
    }
    // On the disk in the one before it leaves the other.
    if (!copyTail(*sound, end - overRecordBytes, end, *relay) || relay->synchronize() != 0 ||
        sound->truncate(end - overRecordBytes) != 0) {
        m_mechanic.deleteRelayFile();
        reportError("VmRecorder: over record data cannot be moved.");
        return false;
    }
    // A header that could not be mended has been reported; the sound has moved either way.
    m_mechanic.setAIFFFileHeader(m_mechanic.temporaryFilePath(), static_cast<unsigned>(channels));
    return true;
}

std::optional<std::int64_t> RelayFile::addOverRecordData(SoundFile& file) {
    const auto relay = m_mechanic.openRelayFile();
    const std::int64_t size = relay == nullptr ? -1 : relay->size();
    if (size < 0) {
        m_log.log("Cannnot open relay file.");
        return 0;
    }
    std::vector<std::byte> bytes(static_cast<std::size_t>(size));
    std::vector<std::int16_t> samples(bytes.size() / 2);
    if (relay->readAt(0, bytes) != size) {
        m_log.log("Cannnot open relay file.");
        return 0;
    }
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(std::to_integer<unsigned>(bytes[2 * i]) << 8 |
                                               std::to_integer<unsigned>(bytes[2 * i + 1]));
    if (!file.writeSamples(0, samples) || !file.updateHeader() || !file.synchronize()) {
        m_log.log("Relay file data write error");
        return std::nullopt;
    }
    m_mechanic.deleteRelayFile();
    return static_cast<std::int64_t>(samples.size()) * 2;
}
