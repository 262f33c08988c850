// Sound files and volumes for the tests of this room.
#pragma once
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// A sound file of our own layout, of `samples`.
inline void writeSound(const std::string& path, const std::vector<std::int16_t>& samples,
                       unsigned channels = 2) {
    PosixVolume volume;
    const auto opened = SoundFile::create(volume, path, 44100.0, channels);
    ASSERT_EQ(opened.error, SoundFileError::none);
    ASSERT_TRUE(opened.file->writeSamples(0, samples));
    ASSERT_TRUE(opened.file->close());
}

inline std::unique_ptr<SoundFile> openSound(const std::string& path) {
    PosixVolume volume;
    auto opened = SoundFile::openForReading(volume, path);
    EXPECT_EQ(opened.error, SoundFileError::none);
    return std::move(opened.file);
}

/// Numbers that look like noise and are the same every time.
inline std::vector<std::int16_t> noise(std::size_t count) {
    std::vector<std::int16_t> samples(count);
    std::uint32_t state = 12345;
    for (std::int16_t& sample : samples) {
        state = state * 1664525 + 1013904223;
        sample = static_cast<std::int16_t>(state >> 16);
    }
    return samples;
}
