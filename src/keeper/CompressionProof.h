// keeper/CompressionProof.h — whether a compressor really has done what it says.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class Volume;
class VolumeFile;

/// Made before a compressor runs on a file, asked after it. It holds the file open, so that the sound can be
/// put back under its name should the compressor have removed it without leaving anything in its place. One
/// thread at a time.
class CompressionProof {
public:
    CompressionProof(Volume& volume, std::string target);
    ~CompressionProof();

    /// A compressed file smaller than this holds nothing, whatever made it.
    static constexpr std::int64_t smallestFile = 32; ///< bytes
    /// No compressor gets sound that moves smaller than one part in so many.
    static constexpr std::int64_t mostSamplesPerByte = 1024;

    struct Output {
        std::string path;
        std::int64_t bytes = 0;
    };
    /// The first entry beside the file `target` whose name without its last extension is the target's.
    static std::optional<Output> find(Volume& volume, const std::string& target);

    /// Empty when a compressed file was written since, is of a size to be believed, and is on the disk; else
    /// what is wrong.
    std::string fault() const;
    /// Removes what was written since: it is not to be taken for the sound. Nothing goes unless the sound
    /// itself is there in its full length.
    void discard() const;
    /// Puts the sound back under its name if it `isGone`, also in place of what stands there now. Empty, or
    /// what went wrong.
    std::string restore() const;
    /// Whether the name leads to the sound no more: it was removed, or something else put in its place.
    bool isGone() const;
    /// Whether the sound itself was made longer or shorter, so that nobody can put it back.
    bool isWrittenOver() const;

private:
    /// What changes when a file is written anew.
    struct Stamp {
        std::string path;
        std::uint64_t inode = 0;
        std::int64_t bytes = 0;
        std::int64_t changed = 0; ///< nanoseconds
        bool operator==(const Stamp&) const = default;
    };
    std::vector<Stamp> written() const;
    static std::vector<Stamp> outputs(Volume& volume, const std::string& target);
    /// Samples of the file that differ from those of their channel before.
    std::int64_t movingSamples() const;

    Volume& m_volume;
    const std::string m_target;
    const std::vector<Stamp> m_before;
    std::unique_ptr<VolumeFile> m_input;
    std::int64_t m_inputBytes = 0;
};
