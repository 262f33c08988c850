// Sound files of a test, written by libsndfile.
#pragma once
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <string>
#include <vector>

/// A folder of sounds.
class SoundFolder {
public:
    explicit SoundFolder(std::string path) : m_path(std::move(path)) {
        std::filesystem::create_directories(m_path);
    }

    std::string path(const std::string& name) const { return m_path + "/" + name; }
    /// Writes interleaved samples between -1 and 1. `format` as libsndfile has it.
    std::string write(const std::string& name, int format, int rate, int channels,
                      const std::vector<float>& samples) const {
        SF_INFO info{};
        info.format = format;
        info.samplerate = rate;
        info.channels = channels;
        SNDFILE* const file = sf_open(path(name).c_str(), SFM_WRITE, &info);
        EXPECT_NE(file, nullptr) << name << ": " << sf_strerror(nullptr);
        if (file == nullptr)
            return path(name);
        const auto frames = static_cast<sf_count_t>(samples.size()) / channels;
        EXPECT_EQ(sf_writef_float(file, samples.data(), frames), frames);
        sf_close(file);
        return path(name);
    }
    /// Writes 16-bit samples, as an AIFF file.
    std::string writeAiff(const std::string& name, int rate, int channels,
                          const std::vector<std::int16_t>& samples) const {
        SF_INFO info{};
        info.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;
        info.samplerate = rate;
        info.channels = channels;
        SNDFILE* const file = sf_open(path(name).c_str(), SFM_WRITE, &info);
        EXPECT_NE(file, nullptr) << name << ": " << sf_strerror(nullptr);
        if (file == nullptr)
            return path(name);
        const auto count = static_cast<sf_count_t>(samples.size());
        EXPECT_EQ(sf_write_short(file, samples.data(), count), count);
        sf_close(file);
        return path(name);
    }
    std::string writeBytes(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }
    static std::string bytesOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    const std::string m_path;
};
