// library/SoundFileCopier.h — copies a recording, or a range of it, to another place.
#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

class SoundFile;
class Volume;
class VolumeFile;

/// The copy is written under a hidden name beside its destination, brought to the disk, and only then given the
/// chosen name: under that name there is never half a file. What goes wrong, or is cancelled, leaves nothing
/// behind and what was there before untouched. Any thread; `copy` takes as long as the disk does.
class SoundFileCopier {
public:
    /// Bytes of sound. What lies beyond the sound that there is when the copy begins is left out.
    struct Range {
        std::int64_t head = 0;
        std::int64_t tail = 0;
    };
    struct Order {
        std::string source;
        std::string destination;
        std::optional<Range> range{}; ///< the whole file, byte by byte, when there is none
        bool mayReplace = true;       ///< a file that is at the destination already
    };
    enum class Outcome { copied, cancelled, failed };
    struct Result {
        Outcome outcome = Outcome::failed;
        int error = 0; ///< an errno; EINVAL when source and destination are one file
    };
    /// Shared between the copying thread and the one that watches it.
    struct Progress {
        std::atomic<double> done{0.0}; ///< 0 to 1
        std::atomic<bool> cancelled{false};
    };

    SoundFileCopier(Volume& volume, Progress& progress) : m_volume(volume), m_progress(progress) {}
    Result copy(const Order& order);

private:
    int copyTo(const Order& order, const std::string& path);
    int copyWhole(VolumeFile& source, VolumeFile& destination);
    int copyRange(SoundFile& source, SoundFile& destination, Range range);
    int giveName(const Order& order, const std::string& path);
    std::string hiddenPath(const std::string& destination);
    bool reached(std::int64_t done, std::int64_t total);

    Volume& m_volume;
    Progress& m_progress;
};
