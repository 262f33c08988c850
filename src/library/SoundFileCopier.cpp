#include "library/SoundFileCopier.h"

#include "storage/Paths.h"
#include "storage/SoundFile.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <span>
#include <vector>

namespace {
constexpr std::int64_t pieceBytes = 256 * 1024;

/// What a failed open says, if it says anything.
int errorOr(int usual) {
    return errno != 0 ? errno : usual;
}

int errorOf(const SoundFile& file) {
    return file.systemError() != 0 ? file.systemError() : EIO;
}
} // namespace

SoundFileCopier::Result SoundFileCopier::copy(const Order& order) {
    if (order.source == order.destination || m_volume.isSameFile(order.source, order.destination))
        return {.outcome = Outcome::failed, .error = EINVAL};
    // Neither a folder nor a locked file gives way to a copy.
    if (m_volume.exists(order.destination)) {
        if (!order.mayReplace)
            return {.outcome = Outcome::failed, .error = EEXIST};
        if (m_volume.isFolder(order.destination))
            return {.outcome = Outcome::failed, .error = EISDIR};
        if (m_volume.isLocked(order.destination))
            return {.outcome = Outcome::failed, .error = EPERM};
    }
    const std::string path = hiddenPath(order.destination);
    int error = copyTo(order, path);
    if (error == 0)
        error = giveName(order, path);
    if (error == 0)
        return {.outcome = Outcome::copied, .error = 0};
    m_volume.remove(path);
    return {.outcome = error == ECANCELED ? Outcome::cancelled : Outcome::failed, .error = error};
}

std::string SoundFileCopier::hiddenPath(const std::string& destination) {
    const std::string folder = Paths::folderOf(destination);
    for (int number = 1;; ++number) {
        std::string path = Paths::inFolder(folder, ".exporting-" + std::to_string(number));
        if (!m_volume.exists(path))
            return path;
    }
}

int SoundFileCopier::copyTo(const Order& order, const std::string& path) {
    errno = 0;
    std::unique_ptr<VolumeFile> file = m_volume.openForReading(order.source);
    if (file == nullptr)
        return errorOr(EIO);
    if (!order.range) {
        errno = 0;
        const auto destination = m_volume.create(path);
        return destination == nullptr ? errorOr(EIO) : copyWhole(*file, *destination);
    }
    const auto source = SoundFile::openForReading(std::move(file));
    if (source.file == nullptr)
        return EIO;
    errno = 0;
    const auto destination = SoundFile::create(m_volume, path, source.file->rate(), source.file->channels());
    return destination.file == nullptr ? errorOr(EIO)
                                       : copyRange(*source.file, *destination.file, *order.range);
}

/// Says how far it is; false when it is to end.
bool SoundFileCopier::reached(std::int64_t done, std::int64_t total) {
    m_progress.done = total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 0.0;
    return !m_progress.cancelled;
}

int SoundFileCopier::copyWhole(VolumeFile& source, VolumeFile& destination) {
    const std::int64_t total = source.size();
    if (total < 0)
        return EIO;
    std::vector<std::byte> piece(static_cast<std::size_t>(pieceBytes));
    for (std::int64_t at = 0; at < total;) {
        if (!reached(at, total))
            return ECANCELED;
        const auto wanted = static_cast<std::size_t>(std::min(pieceBytes, total - at));
        const std::int64_t got = source.readAt(at, std::span(piece).first(wanted));
        if (got <= 0) // cut short meanwhile
            return EIO;
        const auto bytes = std::span(piece).first(static_cast<std::size_t>(got));
        if (const int error = destination.writeAt(at, bytes); error != 0)
            return error;
        at += got;
    }
    if (!reached(total, total))
        return ECANCELED;
    const int error = destination.synchronize();
    return error != 0 ? error : destination.close();
}

int SoundFileCopier::copyRange(SoundFile& source, SoundFile& destination, Range range) {
    const std::int64_t frame = 2 * static_cast<std::int64_t>(source.channels());
    const std::int64_t tail = std::clamp<std::int64_t>(range.tail, 0, source.byteCount()) / frame * frame;
    const std::int64_t head = std::clamp<std::int64_t>(range.head, 0, tail) / frame * frame;
    std::vector<std::int16_t> piece(static_cast<std::size_t>(pieceBytes / 2));
    for (std::int64_t at = head; at < tail;) {
        if (!reached(at - head, tail - head))
            return ECANCELED;
        const auto wanted = static_cast<std::size_t>(std::min(pieceBytes, tail - at) / 2);
        const std::int64_t got = source.readSamples(at, std::span(piece).first(wanted));
        if (got <= 0)
            return EIO;
        if (!destination.writeSamples(at - head, std::span(piece).first(static_cast<std::size_t>(got))))
            return errorOf(destination);
        at += got * 2;
    }
    if (!reached(tail - head, tail - head))
        return ECANCELED;
    return destination.close() ? 0 : errorOf(destination);
}

int SoundFileCopier::giveName(const Order& order, const std::string& path) {
    if (order.mayReplace) {
        // It may have been locked since.
        if (m_volume.exists(order.destination) && m_volume.isLocked(order.destination))
            return EPERM;
        if (std::rename(path.c_str(), order.destination.c_str()) != 0)
            return errno;
    } else if (const int error = m_volume.renameWithoutReplacing(path, order.destination); error != 0) {
        return error;
    }
    // The copy is there and whole; a file system that cannot bring names to the disk does it in its own time.
    m_volume.synchronizeFolder(Paths::folderOf(order.destination));
    return 0;
}
