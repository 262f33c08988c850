// storage/SoundFile.h — one sound file of 16-bit samples.
#pragma once
#include "storage/AiffHeader.h"
#include "storage/SoundFileError.h"
#include "storage/Volume.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// Reads and writes AIFF files of 16-bit linear PCM (see AiffHeader). Samples are native outside, big-endian
/// inside.
///
/// Byte offsets and counts are bytes of sound, without the header. A failed write leaves what was written
/// before it readable, and may be repeated.
class SoundFile {
public:
    static constexpr std::int64_t largestFile = 0x7FFFFFFF; ///< bytes, with the header
    /// An open file, or none and why.
    struct Opened {
        std::unique_ptr<SoundFile> file;
        SoundFileError error = SoundFileError::none;
    };

    // Any thread
    /// Replaces what is at `path` by a file with a header and no sound. `rate` in Hz.
    static Opened create(Volume& volume, const std::string& path, double rate, unsigned channels);
    static Opened openForReading(Volume& volume, const std::string& path);
    static Opened openForReading(std::unique_ptr<VolumeFile> file);
    /// Opens a file of our own layout. All that the file holds counts as sound, whatever its header says: a
    /// file that was never closed is repaired by opening and closing it.
    static Opened openForUpdating(Volume& volume, const std::string& path);
    static Opened openForUpdating(std::unique_ptr<VolumeFile> file);
    /// Makes the header of a file of our own layout fit its size, also while another one writes it.
    /// `foreignLayout` and no change if the file is shorter than a header or of another layout.
    static SoundFileError repairHeader(Volume& volume, const std::string& path, unsigned channels);

    // One thread at a time. False: `error` and `systemError` say why.
    [[nodiscard]] bool writeSamples(std::int64_t byteOffset, std::span<const std::int16_t> samples);
    /// Samples read, fewer than `into` holds at the end of the sound; -1 on an error.
    std::int64_t readSamples(std::int64_t byteOffset, std::span<std::int16_t> into);
    /// Sound as the file has it, in big-endian samples. Bytes read, fewer than `into` holds at the end of the
    /// sound; -1 on an error.
    std::int64_t readBytes(std::int64_t byteOffset, std::span<std::byte> into);
    /// Makes the header fit what was written: done after each block, it costs a crash at most one block.
    [[nodiscard]] bool updateHeader();
    /// Returns when all is on the disk.
    [[nodiscard]] bool synchronize();
    /// Reads the header of a file that another one may have made longer or shorter. The old length holds when
    /// the file can no longer be read, or has become one of another form.
    bool refresh();
    /// Whether `path` names this file, also through a link.
    bool isAt(const std::string& path) { return m_file && m_file->isAt(path); }
    /// After writing: header, then disk. Nothing else works afterwards; closing again does nothing.
    [[nodiscard]] bool close();

    double rate() const { return m_header.rate; }
    unsigned channels() const { return m_header.channels; }
    std::int64_t byteCount() const { return m_header.soundBytes; }
    std::int64_t frames() const { return m_header.soundBytes / m_header.bytesPerFrame(); }
    /// What the last operation that failed ended with; `none` before.
    SoundFileError error() const { return m_error; }
    /// The errno behind it; 0 if it was not the system that failed.
    int systemError() const { return m_systemError; }

private:
    SoundFile(std::unique_ptr<VolumeFile> file, const AiffHeader& header, bool writable);
    static Opened open(std::unique_ptr<VolumeFile> file, bool writable);
    bool fail(SoundFileError error, int systemError = 0);
    bool outcome(int systemError);

    std::unique_ptr<VolumeFile> m_file;
    AiffHeader m_header;
    const bool m_writable;
    SoundFileError m_error = SoundFileError::none;
    int m_systemError = 0;
    std::vector<std::byte> m_bytes; ///< one piece of samples in the order of the file
};
