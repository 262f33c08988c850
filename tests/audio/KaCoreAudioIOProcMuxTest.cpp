#include "audio/CrankedHardware.h"
#include "audio/KaCoreAudioDevice.h"
#include "audio/KaCoreAudioDeviceDelegate.h"
#include "audio/KaCoreAudioSystem.h"
#include "support/Sanitizer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {
constexpr AudioDeviceID desk = 5;
using Calls = std::vector<std::string>;

/// Writes one value into every output sample and remembers what it was given.
struct Client {
    explicit Client(KaCoreAudioSystem& system, float writes = 0.0F) : value(writes), device(system, desk) {
        device.setIOTarget(*this, &Client::ioForDevice, &value);
    }

    OSStatus ioForDevice(KaCoreAudioDevice& of, const AudioTimeStamp* timeStamp,
                         const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                         AudioBufferList* outputData, const AudioTimeStamp* outputTime, void* clientData) {
        ++cycles;
        lastDevice = &of;
        lastStamps = {timeStamp, inputTime, outputTime};
        lastInput = inputData;
        lastOutput = outputData;
        lastClientData = clientData;
        for (std::uint32_t i = 0; outputData != nullptr && i < outputData->mNumberBuffers; ++i) {
            AudioBuffer& buffer = outputData->mBuffers[i];
            sizeSeen = buffer.mDataByteSize;
            auto* const samples = static_cast<float*>(buffer.mData);
            for (std::uint32_t k = 0; k < buffer.mDataByteSize / 4; ++k)
                samples[k] += value;
            if (shrinkTo > 0)
                buffer.mDataByteSize = shrinkTo;
        }
        return -1; // of no consequence
    }

    float value;
    std::uint32_t shrinkTo = 0;
    unsigned cycles = 0;
    std::uint32_t sizeSeen = 0;
    KaCoreAudioDevice* lastDevice = nullptr;
    std::array<const AudioTimeStamp*, 3> lastStamps{};
    const AudioBufferList* lastInput = nullptr;
    AudioBufferList* lastOutput = nullptr;
    void* lastClientData = nullptr;
    KaCoreAudioDevice device;
};

struct Listener final : KaCoreAudioDeviceDelegate {
    void audioDeviceStartDidFail(KaCoreAudioDevice& device, OSStatus forReason) override {
        devices.push_back(&device);
        reasons.push_back(forReason);
    }
    std::vector<KaCoreAudioDevice*> devices;
    std::vector<OSStatus> reasons;
};

class KaCoreAudioIOProcMuxTest : public testing::Test {
protected:
    bool cycle() { return hardware.cycle(desk, &input.list, &output.list); }

    CrankedHardware hardware;
    KaCoreAudioSystem system{hardware};
    TestList input{{2}, 8, 0.125F};
    TestList output{{2}, 8};
};
} // namespace

TEST_F(KaCoreAudioIOProcMuxTest, givesTheDevicesOwnLists_whenOneClientIsStarted) {
    Client client(system, 0.25F);
    EXPECT_TRUE(client.device.deviceStart());
    ASSERT_TRUE(cycle());
    EXPECT_EQ(client.lastDevice, &client.device);
    EXPECT_EQ(client.lastInput, &input.list);
    EXPECT_EQ(client.lastOutput, &output.list);
    EXPECT_EQ(client.lastStamps,
              (std::array<const AudioTimeStamp*, 3>{&hardware.now, &hardware.inputTime, &hardware.outputTime}));
    EXPECT_EQ(client.lastClientData, &client.value);
    EXPECT_EQ(hardware.lastResult, 0);
    EXPECT_EQ(output.samples[0], std::vector<float>(16, 0.25F));
}

TEST_F(KaCoreAudioIOProcMuxTest, addsTheOutputsOfTwoClientsToWhatWasThere) {
    Client first(system, 0.25F);
    Client second(system, 0.5F);
    first.device.deviceStart();
    second.device.deviceStart();
    output.samples[0].assign(16, 0.0625F);
    ASSERT_TRUE(cycle());
    EXPECT_EQ(output.samples[0], std::vector<float>(16, 0.8125F));
    EXPECT_NE(first.lastOutput, &output.list);
    EXPECT_EQ(first.lastInput, &input.list);
    EXPECT_EQ(second.lastInput, &input.list);
}

TEST_F(KaCoreAudioIOProcMuxTest, givesTheNextClientTheFullSize_whenOneShrinksItsOutput) {
    Client first(system, 0.25F);
    Client second(system, 0.5F);
    first.shrinkTo = 8 * 4;
    first.device.deviceStart();
    second.device.deviceStart();
    for (int i = 0; i < 2; ++i) {
        output.samples[0].assign(16, 0.0F);
        ASSERT_TRUE(cycle());
        EXPECT_EQ(second.sizeSeen, 64U);
        EXPECT_EQ(first.sizeSeen, 64U);
        for (std::size_t k = 0; k < 16; ++k)
            EXPECT_EQ(output.samples[0][k], k < 8 ? 0.75F : 0.5F);
        EXPECT_EQ(output.list.mBuffers[0].mDataByteSize, 64U);
    }
}

TEST_F(KaCoreAudioIOProcMuxTest, skipsAPausedClient_andLeavesTheOtherAlone) {
    Client first(system, 0.25F);
    Client second(system, 0.5F);
    first.device.deviceStart();
    second.device.deviceStart();
    first.device.setDevicePaused(true);
    ASSERT_TRUE(cycle());
    EXPECT_EQ(first.cycles, 0U);
    EXPECT_EQ(second.cycles, 1U);
    EXPECT_EQ(output.samples[0], std::vector<float>(16, 0.5F));
    first.device.setDevicePaused(false);
    ASSERT_TRUE(cycle());
    EXPECT_EQ(first.cycles, 1U);
}

TEST_F(KaCoreAudioIOProcMuxTest, startsTheHardwareWithTheFirstClient_andStopsItWithTheLast) {
    Client first(system);
    Client second(system);
    first.device.deviceStart();
    second.device.deviceStart();
    EXPECT_EQ(hardware.ioCalls, (Calls{"add", "start"}));
    first.device.deviceStop();
    EXPECT_EQ(hardware.ioCalls, (Calls{"add", "start"}));
    second.device.deviceStop();
    EXPECT_EQ(hardware.ioCalls, (Calls{"add", "start", "stop", "remove"}));
    EXPECT_FALSE(cycle());
    second.device.deviceStart();
    EXPECT_EQ(hardware.ioCalls, (Calls{"add", "start", "stop", "remove", "add", "start"}));
    EXPECT_TRUE(cycle());
    EXPECT_EQ(second.cycles, 1U);
    EXPECT_EQ(first.cycles, 0U);
}

TEST_F(KaCoreAudioIOProcMuxTest, dispatchesBothClientsWithoutAScratchList_whenTheDeviceHasNoOutput) {
    Client first(system);
    Client second(system);
    first.device.deviceStart();
    second.device.deviceStart();
    ASSERT_TRUE(hardware.cycle(desk, &input.list, nullptr));
    EXPECT_EQ(first.cycles, 1U);
    EXPECT_EQ(second.cycles, 1U);
    EXPECT_EQ(first.lastOutput, nullptr);
    EXPECT_EQ(second.lastInput, &input.list);
}

TEST_F(KaCoreAudioIOProcMuxTest, givesBothDirectionsToClientsOfADeviceThatHasBoth) {
    Client first(system, 0.25F);
    Client second(system, 0.5F);
    first.device.deviceStart();
    second.device.deviceStart();
    ASSERT_TRUE(cycle());
    EXPECT_EQ(static_cast<const float*>(second.lastInput->mBuffers[0].mData)[0], 0.125F);
    EXPECT_EQ(output.samples[0], std::vector<float>(16, 0.75F));
    EXPECT_EQ(input.samples[0], std::vector<float>(16, 0.125F));
}

TEST_F(KaCoreAudioIOProcMuxTest, remakesTheScratchList_whenTheLayoutOfTheOutputChanges) {
    Client first(system, 0.25F);
    Client second(system, 0.5F);
    first.device.deviceStart();
    second.device.deviceStart();
    ASSERT_TRUE(cycle());
    TestList apart({1, 1}, 12);
    ASSERT_TRUE(hardware.cycle(desk, &input.list, &apart.list));
    EXPECT_EQ(apart.samples[0], std::vector<float>(12, 0.75F));
    EXPECT_EQ(apart.samples[1], std::vector<float>(12, 0.75F));
    ASSERT_TRUE(hardware.cycle(desk, &input.list, nullptr));
    EXPECT_EQ(second.lastOutput, nullptr);
    ASSERT_TRUE(cycle());
    EXPECT_EQ(output.samples[0], std::vector<float>(16, 1.5F));
}

TEST_F(KaCoreAudioIOProcMuxTest, keepsItsScratchList_whileTheLayoutStays) {
    Client first(system);
    Client second(system);
    first.device.deviceStart();
    second.device.deviceStart();
    ASSERT_TRUE(cycle());
    const void* const storage = first.lastOutput->mBuffers[0].mData;
    for (int i = 0; i < 1000; ++i)
        ASSERT_TRUE(cycle());
    EXPECT_EQ(first.lastOutput->mBuffers[0].mData, storage);
    EXPECT_EQ(second.cycles, 1001U);
}

TEST_F(KaCoreAudioIOProcMuxTest, skipsACycleWithoutMemory_andTriesAgain) {
    if (watchedBySanitizer)
        GTEST_SKIP() << "a sanitizer needs all the address space";
    Client first(system, 0.25F);
    Client second(system, 0.5F);
    first.device.deviceStart();
    second.device.deviceStart();
    // Samples are only looked at by clients and the mix, neither of which comes to that.
    AudioBuffer vast{1, 0xFFFFFFFC, output.samples[0].data()};
    AudioBufferList vastList{1, &vast};
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    rlimit tight = before;
    tight.rlim_cur = rlim_t{2} << 30;
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    EXPECT_TRUE(hardware.cycle(desk, &input.list, &vastList));
    setrlimit(RLIMIT_AS, &before);
    EXPECT_EQ(first.cycles, 0U);
    EXPECT_EQ(hardware.lastResult, 0);
    ASSERT_TRUE(cycle());
    EXPECT_EQ(output.samples[0], std::vector<float>(16, 0.75F));
}

TEST_F(KaCoreAudioIOProcMuxTest, tellsTheDelegateTheStatus_whenTheProcedureCannotBeAdded) {
    Client client(system);
    Listener listener;
    client.device.setDelegate(&listener);
    hardware.addStatus = audioHardwareBadDeviceError;
    EXPECT_FALSE(client.device.deviceStart());
    EXPECT_EQ(listener.reasons, std::vector<OSStatus>{audioHardwareBadDeviceError});
    EXPECT_EQ(listener.devices, std::vector<KaCoreAudioDevice*>{&client.device});
    EXPECT_EQ(hardware.ioCalls, (Calls{"add", "stop", "remove"}));
    hardware.addStatus = 0;
    EXPECT_TRUE(client.device.deviceStart());
    EXPECT_TRUE(cycle());
    EXPECT_EQ(client.cycles, 1U);
}

TEST_F(KaCoreAudioIOProcMuxTest, isNotRegistered_whenTheHardwareDoesNotStart) {
    Client client(system);
    Listener listener;
    client.device.setDelegate(&listener);
    hardware.startStatus = audioHardwareUnspecifiedError;
    EXPECT_FALSE(client.device.deviceStart());
    EXPECT_EQ(listener.reasons, std::vector<OSStatus>{audioHardwareUnspecifiedError});
    EXPECT_EQ(hardware.ioCalls, (Calls{"add", "start", "stop", "remove"}));
    client.device.deviceStop(); // not started: nothing to stop
    EXPECT_EQ(hardware.ioCalls.size(), 4U);
    hardware.startStatus = 0;
    Client other(system);
    EXPECT_TRUE(other.device.deviceStart());
    EXPECT_TRUE(cycle());
    EXPECT_EQ(client.cycles, 0U);
    EXPECT_EQ(other.cycles, 1U);
}

TEST_F(KaCoreAudioIOProcMuxTest, failsWithoutADelegateToo) {
    Client client(system);
    hardware.startStatus = audioHardwareUnspecifiedError;
    EXPECT_FALSE(client.device.deviceStart());
}

TEST_F(KaCoreAudioIOProcMuxTest, startsNothing_withoutAProcedureOrTarget) {
    KaCoreAudioDevice device(system, desk);
    EXPECT_FALSE(device.deviceStart());
    device.removeIOProc();
    device.deviceStop();
    EXPECT_TRUE(hardware.ioCalls.empty());
}

TEST_F(KaCoreAudioIOProcMuxTest, callsAStartedClientOnce_whenItIsStartedTwice) {
    Client client(system);
    EXPECT_TRUE(client.device.deviceStart());
    EXPECT_TRUE(client.device.deviceStart());
    ASSERT_TRUE(cycle());
    EXPECT_EQ(client.cycles, 1U);
    EXPECT_EQ(client.lastOutput, &output.list);
    client.device.deviceStop();
    EXPECT_EQ(hardware.ioCalls, (Calls{"add", "start", "stop", "remove"}));
}

TEST_F(KaCoreAudioIOProcMuxTest, stopsADevice_whenItsTargetIsReplaced) {
    Client client(system);
    client.device.deviceStart();
    unsigned calls = 0;
    const auto proc = [](AudioDeviceID device, const AudioTimeStamp*, const AudioBufferList*,
                         const AudioTimeStamp*, AudioBufferList*, const AudioTimeStamp*,
                         void* clientData) -> OSStatus {
        *static_cast<unsigned*>(clientData) += device;
        return 0;
    };
    client.device.setIOProc(proc, &calls);
    EXPECT_FALSE(cycle());
    EXPECT_TRUE(client.device.deviceStart());
    ASSERT_TRUE(cycle());
    EXPECT_EQ(calls, desk);
    EXPECT_EQ(client.cycles, 0U);
    client.device.removeIOTarget();
    EXPECT_FALSE(cycle());
    EXPECT_FALSE(client.device.deviceStart());
}

TEST_F(KaCoreAudioIOProcMuxTest, leavesTheCycle_whenTheDeviceObjectGoesAway) {
    Client stays(system);
    stays.device.deviceStart();
    {
        Client goes(system);
        goes.device.deviceStart();
        ASSERT_TRUE(cycle());
        EXPECT_EQ(goes.cycles, 1U);
    }
    ASSERT_TRUE(cycle());
    EXPECT_EQ(stays.cycles, 2U);
    EXPECT_EQ(stays.lastOutput, &output.list);
}

TEST_F(KaCoreAudioIOProcMuxTest, keepsOneMultiplexerForEachHardwareDevice) {
    KaCoreAudioDevice first(system, 1);
    KaCoreAudioDevice again(system, 1);
    KaCoreAudioDevice other(system, 2);
    EXPECT_EQ(&system.muxForDevice(first), &system.muxForDevice(again));
    EXPECT_NE(&system.muxForDevice(first), &system.muxForDevice(other));
}
