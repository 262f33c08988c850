// library/RecordedFiles.h — a folder of recordings of one test.
#pragma once
#include "library/RecordNote.h"
#include "storage/AiffHeader.h"
#include "storage/FileLock.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

/// Makes files in a folder that exists.
class RecordedFiles {
public:
    explicit RecordedFiles(std::string folder) : m_folder(std::move(folder)) {
        std::filesystem::create_directories(m_folder);
    }
    ~RecordedFiles() {
        for (const VolumeEntry& entry : PosixVolume().list(m_folder))
            FileLock::setLocked(*this / entry.name, false); // so that the folder can be removed
    }
    RecordedFiles(const RecordedFiles&) = delete;
    RecordedFiles& operator=(const RecordedFiles&) = delete;

    const std::string& folder() const { return m_folder; }
    std::string operator/(const std::string& name) const { return m_folder + "/" + name; }
    bool has(const std::string& name) const { return std::filesystem::exists(*this / name); }

    /// A recording of `frames` frames of 0, 1, 2 ...
    void record(const std::string& name, std::size_t frames = 100, double rate = 8000.0,
                unsigned channels = 1) const {
        std::vector<std::int16_t> samples(frames * channels);
        std::iota(samples.begin(), samples.end(), std::int16_t{0});
        PosixVolume volume;
        auto opened = SoundFile::create(volume, *this / name, rate, channels);
        ASSERT_EQ(opened.error, SoundFileError::none);
        ASSERT_TRUE(opened.file->writeSamples(0, samples));
        ASSERT_TRUE(opened.file->close());
    }
    void note(const std::string& name, const std::string& text) const {
        PosixVolume volume;
        ASSERT_EQ(RecordNote::write(volume, *this / name, text), 0);
    }
    void write(const std::string& name, const std::string& contents) const {
        std::ofstream(*this / name, std::ios::binary) << contents;
    }
    std::string read(const std::string& name) const {
        std::ifstream file(*this / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::vector<std::int16_t> samples(const std::string& path) const {
        PosixVolume volume;
        const auto opened = SoundFile::openForReading(volume, path);
        EXPECT_EQ(opened.error, SoundFileError::none) << path;
        if (opened.file == nullptr)
            return {};
        std::vector<std::int16_t> all(static_cast<std::size_t>(opened.file->byteCount()) / 2);
        opened.file->readSamples(0, all);
        return all;
    }
    /// All names, in order.
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const VolumeEntry& entry : PosixVolume().list(m_folder))
            all.push_back(entry.name);
        return all;
    }

private:
    const std::string m_folder;
};
