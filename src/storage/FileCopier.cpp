#include "storage/FileCopier.h"

#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/Volume.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace {
constexpr std::string_view asideEnding = ".copying";
constexpr std::int64_t blockSize = std::int64_t{1} << 20;
/// Bytes that stay free: a disk that is filled to the brim hurts whoever else writes to it.
constexpr double spareBytes = 1048576.0;
/// Of all that is to be done, what reading, writing and comparing take.
constexpr double copiedPart = 0.5;

using Result = FileCopier::Result;

Result failure(const std::string& what, int error) {
    std::string fault = what;
    if (error != 0)
        fault.append(" (").append(std::strerror(error)).append(")");
    return {FileCopier::Outcome::failed, fault, error};
}

/// Calls `step(offset, block)` for each block of `source`; stops at the first result that is not done.
template <typename Step>
Result forEachBlock(VolumeFile& source, std::int64_t size, const FileCopier::Options& options, Step step) {
    std::vector<std::byte> buffer(static_cast<std::size_t>(std::min(size, blockSize)));
    for (std::int64_t offset = 0; offset < size; offset += blockSize) {
        if (options.cancelled != nullptr && *options.cancelled)
            return {FileCopier::Outcome::cancelled, {}, 0};
        const std::span block(buffer.data(), static_cast<std::size_t>(std::min(size - offset, blockSize)));
        errno = 0;
        const std::int64_t got = source.readAt(offset, block);
        if (got != static_cast<std::int64_t>(block.size()))
            return failure(got < 0 ? "it cannot be read" : "it became shorter", got < 0 ? errno : 0);
        if (Result result = step(offset, block); !result.done())
            return result;
    }
    return {FileCopier::Outcome::done, {}, 0};
}
} // namespace

std::string FileCopier::asidePath(const std::string& path) {
    return Paths::inFolder(Paths::folderOf(path),
                           "." + std::string(RecordFolder::bareName(path)) + std::string(asideEnding));
}

bool FileCopier::isAside(std::string_view name) {
    return name.starts_with('.') && name.ends_with(asideEnding);
}

Result FileCopier::copy(const std::string& from, const std::string& to, const Options& options) {
    errno = 0;
    const std::unique_ptr<VolumeFile> source = m_volume.openForReading(from);
    if (source == nullptr)
        return failure("it cannot be opened", errno);
    return copy(*source, to, options);
}

Result FileCopier::copy(VolumeFile& source, const std::string& to, const Options& options) {
    if (m_volume.exists(to) && (!options.replace || m_volume.isFolder(to)))
        return failure("the name is taken", EEXIST);
    const std::int64_t size = source.size();
    if (size < 0)
        return failure("its size is unknown", errno);
    const auto free = m_volume.freeBytes(Paths::folderOf(to));
    if (free && *free < static_cast<double>(size) + spareBytes)
        return failure("there is too little room for the copy", ENOSPC);
    const std::string aside = asidePath(to);
    Result result = writeAside(source, aside, size, options);
    if (result.done())
        result = giveName(aside, to, options.replace);
    if (!result.done())
        m_volume.remove(aside);
    return result;
}

Result FileCopier::writeAside(VolumeFile& source, const std::string& aside, std::int64_t size,
                              const Options& options) {
    errno = 0;
    const std::unique_ptr<VolumeFile> copy = m_volume.create(aside);
    if (copy == nullptr)
        return failure("the copy cannot be made", errno);
    const auto tell = [&](std::int64_t offset, double before) {
        if (options.progress && size > 0)
            options.progress(before + copiedPart * static_cast<double>(offset) / static_cast<double>(size));
    };
    Result result = forEachBlock(source, size, options, [&](std::int64_t offset, std::span<std::byte> block) {
        if (const int error = copy->writeAt(offset, block); error != 0)
            return failure("the copy cannot be written", error);
        tell(offset, 0.0);
        return Result{Outcome::done, {}, 0};
    });
    if (!result.done())
        return result;
    if (const int error = copy->synchronize(); error != 0)
        return failure("the copy cannot be brought to the disk", error);
    if (copy->size() != size || source.size() != size)
        return failure("the copy has another size", 0);
    result = compare(source, *copy, size, options);
    if (!result.done())
        return result;
    if (const int error = copy->close(); error != 0)
        return failure("the copy cannot be closed", error);
    if (options.progress)
        options.progress(1.0);
    return result;
}

Result FileCopier::compare(VolumeFile& source, VolumeFile& copy, std::int64_t size, const Options& options) {
    std::vector<std::byte> other(static_cast<std::size_t>(std::min(size, blockSize)));
    return forEachBlock(source, size, options, [&](std::int64_t offset, std::span<std::byte> block) {
        const std::span read(other.data(), block.size());
        if (copy.readAt(offset, read) != static_cast<std::int64_t>(block.size()) ||
            std::memcmp(read.data(), block.data(), block.size()) != 0)
            return failure("the copy differs", 0);
        if (options.progress)
            options.progress(copiedPart + copiedPart * static_cast<double>(offset) / static_cast<double>(size));
        return Result{Outcome::done, {}, 0};
    });
}

Result FileCopier::giveName(const std::string& aside, const std::string& to, bool replace) {
    if (replace && m_volume.isLocked(to))
        return failure("the file that is to be replaced is locked", EPERM);
    int error = m_volume.renameWithoutReplacing(aside, to);
    if (error == EEXIST && replace) {
        error = m_volume.remove(to);
        if (error == 0)
            error = m_volume.renameWithoutReplacing(aside, to);
    }
    if (error != 0)
        return failure("the copy cannot be given its name", error);
    if (error = m_volume.synchronizeFolder(Paths::folderOf(to)); error != 0 && error != EINVAL)
        return failure("the copy's folder cannot be brought to the disk", error);
    return {Outcome::done, {}, 0};
}
