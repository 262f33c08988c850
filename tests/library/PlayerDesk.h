// A launched desk with recordings to play, and an ear at its output.
#pragma once
#include "base/Alert.h"
#include "library/VmPlayer.h"
#include "support/Counting.h"
#include "support/DeskOfATest.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <span>
#include <vector>

inline SimulatedDevice speakers(double rate = 44100.0, std::uint32_t channels = 2) {
    SimulatedDevice device;
    device.name = device.uid = "Speakers";
    device.direction = SimulatedDevice::Direction::output;
    device.rates = {rate};
    device.channels = channels;
    return device;
}

/// No sample is silent, and none is like one nearby: `count` of them.
inline std::vector<std::int16_t> markedSamples(std::size_t count) {
    std::vector<std::int16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::int16_t>(1 + (i * 7919) % 32749);
    return samples;
}

class PlayerDesk : public Desk {
public:
    explicit PlayerDesk(const std::vector<RehearsalDesk::Setting>& settings = {{"EndressPlayMode", false}},
                        std::vector<SimulatedDevice> devices = {countingInput(), speakers()})
        : Desk(settings, std::move(devices)) {
        desk.launch();
        desk.hardware.setOutputSink(
            [this](const std::string&, const AudioTimeStamp&, const AudioBufferList& list) {
                const auto* samples = static_cast<const float*>(list.mBuffers[0].mData);
                heard.insert(heard.end(), samples, samples + list.mBuffers[0].mDataByteSize / sizeof(float));
            });
    }
    ~PlayerDesk() { desk.hardware.setOutputSink({}); }

    VmPlayer& player() { return desk.controler->player(); }
    /// Writes a sound file beside the recordings; returns its path.
    std::string write(const std::string& name, double rate, unsigned channels,
                      std::span<const std::int16_t> samples) {
        const std::string path = desk.recordFolder() + "/" + name;
        const SoundFile::Opened made = SoundFile::create(desk.files, path, rate, channels);
        EXPECT_EQ(made.error, SoundFileError::none);
        EXPECT_TRUE(made.file->writeSamples(0, samples) && made.file->close());
        return path;
    }
    void play(const std::string& path) {
        player().startPlayback(path);
        player().playButton().press(true);
    }
    /// What was heard without the silence before and after.
    std::span<const float> sounds() const {
        const auto isSound = [](float sample) { return sample != 0.0F; };
        const auto first = std::ranges::find_if(heard, isSound);
        auto last = heard.end();
        while (last != first && !isSound(*(last - 1)))
            --last;
        return {first, last};
    }
    std::vector<std::string> alerts() const {
        std::vector<std::string> keys;
        for (const auto& shown : desk.alert.shown())
            keys.push_back(shown.request.messageKey);
        return keys;
    }

    std::vector<float> heard;
};

/// How many of `sounds` are not the float of their sample, `each` floats for one sample.
inline std::size_t wrongSounds(std::span<const float> sounds, std::span<const std::int16_t> samples,
                               std::size_t each = 1) {
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < sounds.size(); ++i)
        wrong += i / each >= samples.size() || sounds[i] != static_cast<float>(samples[i / each]) / 32768.0F;
    return wrong;
}
