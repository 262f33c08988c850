// audio/SimulatedFixture.h — a simulated device on a clock of the test's own, and an ear that checks every
// frame.
#pragma once
#include "audio/hardware/simulated/SimulatedHardware.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

namespace simulated {
using Direction = SimulatedDevice::Direction;
using Kind = SimulatedSegment::Kind;
using EventKind = AudioHardwareEvent::Kind;

inline SimulatedDevice desk(Direction direction = Direction::input,
                            std::vector<double> rates = {44100.0, 8000.0}) {
    return {.name = "Desk",
            .uid = "desk",
            .direction = direction,
            .channels = 2,
            .rates = std::move(rates),
            .minFrames = 14,
            .maxFrames = 4096,
            .dataSources = {"Internal microphone", "Line In"},
            .signal = {{.kind = Kind::counter}}};
}

/// Frame number that a counter frame tells, or none for silence.
inline std::int64_t frameNumber(const float* frame) {
    if (frame[0] == 0.0F && frame[1] == 0.0F)
        return -1;
    return static_cast<std::int64_t>(static_cast<double>(frame[1]) * 32767.0) * 32767 +
           static_cast<std::int64_t>(static_cast<double>(frame[0]) * 32767.0);
}

/// Checks every frame as it comes; allocates nothing.
struct Ear {
    static OSStatus listen(AudioDeviceID, const AudioTimeStamp* now, const AudioBufferList* inputData,
                           const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp*,
                           void* clientData) {
        auto& ear = *static_cast<Ear*>(clientData);
        ++ear.cycles;
        ear.nowStamp = *now;
        ear.inputStamp = *inputTime;
        if (outputData != nullptr) {
            auto* const samples = static_cast<float*>(outputData->mBuffers[0].mData);
            for (std::uint32_t i = 0; i < outputData->mBuffers[0].mDataByteSize / 4; ++i)
                samples[i] += ear.plays;
        }
        if (inputData != nullptr)
            ear.take(inputData->mBuffers[0]);
        return 0;
    }
    static OSStatus listenToo(AudioDeviceID device, const AudioTimeStamp* now, const AudioBufferList* inputData,
                              const AudioTimeStamp* inputTime, AudioBufferList* outputData,
                              const AudioTimeStamp* outputTime, void* clientData) {
        return listen(device, now, inputData, inputTime, outputData, outputTime, clientData);
    }

    void take(const AudioBuffer& buffer) {
        lastFrames = buffer.mDataByteSize / 4 / buffer.mNumberChannels;
        const auto* const samples = static_cast<const float*>(buffer.mData);
        auto expected = static_cast<std::int64_t>(inputStamp.mSampleTime);
        if (nextFrame >= 0 && expected != nextFrame)
            ++jumps;
        for (std::uint32_t i = 0; i < lastFrames; ++i, ++expected) {
            const std::int64_t heard = frameNumber(samples + std::size_t{i} * 2);
            if (heard < 0) {
                ++silentFrames;
                firstSilent = firstSilent < 0 ? expected : firstSilent;
            } else if (heard != expected % (32767LL * 32767)) {
                ++wrongFrames;
            }
        }
        frames += lastFrames;
        nextFrame = expected;
    }

    float plays = 0.0F;
    unsigned cycles = 0;
    AudioTimeStamp nowStamp;
    AudioTimeStamp inputStamp;
    std::uint32_t lastFrames = 0;
    std::uint64_t frames = 0;
    std::int64_t nextFrame = -1;
    unsigned jumps = 0;
    std::uint64_t wrongFrames = 0;
    std::uint64_t silentFrames = 0;
    std::int64_t firstSilent = -1;
};

class SimulatedHardwareTest : public testing::Test {
protected:
    void make(SimulatedDevice device) {
        hardware = std::make_unique<SimulatedHardware>(clock, std::vector{std::move(device)});
        hardware->setListener([this](const AudioHardwareEvent& event) {
            if (event.kind == AudioHardwareEvent::Kind::delivered)
                ++pieces;
            else
                events.push_back(event);
        });
    }
    void start() {
        ASSERT_EQ(hardware->addIOProc(1, &Ear::listen, &ear), 0);
        ASSERT_EQ(hardware->startIOProc(1, &Ear::listen), 0);
    }
    std::vector<EventKind> kinds() const {
        std::vector<EventKind> all;
        for (const AudioHardwareEvent& event : events)
            all.push_back(event.kind);
        return all;
    }

    Ear ear;
    ManualClock clock;
    std::vector<AudioHardwareEvent> events; ///< but those of delivered pieces
    int pieces = 0;                         ///< delivered
    std::unique_ptr<SimulatedHardware> hardware;
};
} // namespace simulated
