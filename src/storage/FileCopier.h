// storage/FileCopier.h — copies a file so that there is never half of it under its name.
#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

class Volume;
class VolumeFile;

/// Writes the copy aside, brings it to the disk, compares it with the original byte by byte, and only then
/// gives it its name. Whatever fails on the way leaves nothing behind. Any thread; waits for the disk.
class FileCopier {
public:
    enum class Outcome { done, cancelled, failed };
    struct Result {
        Outcome outcome = Outcome::failed;
        std::string fault; ///< in a few words, when it failed
        int error = 0;     ///< its errno; 0 when it has none
        bool done() const { return outcome == Outcome::done; }
    };
    struct Options {
        bool replace = false;                   ///< else a file that is there already is an error (EEXIST)
        std::atomic<bool>* cancelled = nullptr; ///< looked at after each block
        std::function<void(double)> progress{}; ///< told how much is done, from 0 to 1, on the copying thread
    };

    explicit FileCopier(Volume& volume) : m_volume(volume) {}

    Result copy(const std::string& from, const std::string& to, const Options& options);
    /// Of an open file, which may have lost its name.
    Result copy(VolumeFile& source, const std::string& to, const Options& options);

    /// The name beside `path` under which the copy is written. It is hidden.
    static std::string asidePath(const std::string& path);
    /// Whether an interrupted copy has left the file of the bare name `name`.
    static bool isAside(std::string_view name);

private:
    Result writeAside(VolumeFile& source, const std::string& aside, std::int64_t size, const Options& options);
    Result compare(VolumeFile& source, VolumeFile& copy, std::int64_t size, const Options& options);
    Result giveName(const std::string& aside, const std::string& to, bool replace);

    Volume& m_volume;
};
