#include "audio/CrankedHardware.h"
#include "audio/KaCoreAudioDevice.h"
#include "audio/KaCoreAudioSystem.h"

#include <atomic>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {
constexpr unsigned clientCount = 8;
constexpr unsigned wantedCycles = 100'000;

/// Plain fields on purpose: the multiplexer alone keeps them from being touched by two threads at once.
struct PlainClient {
    OSStatus ioForDevice(KaCoreAudioDevice&, const AudioTimeStamp*, const AudioBufferList*,
                         const AudioTimeStamp*, AudioBufferList* outputData, const AudioTimeStamp*, void*) {
        if (!started)
            ++strayCycles;
        ++cycles;
        static_cast<float*>(outputData->mBuffers[0].mData)[0] += 1.0F;
        return 0;
    }
    bool started = false; // changed only while the client is out
    unsigned cycles = 0;
    unsigned strayCycles = 0;
};

/// Eight clients of one device, and a thread that has them come, go and pause by the dice.
struct KaCoreAudioIOProcMuxThreadTest : testing::Test {
    KaCoreAudioIOProcMuxThreadTest() {
        for (PlainClient& client : clients) {
            devices.push_back(std::make_unique<KaCoreAudioDevice>(system, 1));
            devices.back()->setIOTarget(client, &PlainClient::ioForDevice, nullptr);
        }
    }

    void changeUntilTheEnd() {
        std::mt19937 dice(4711);
        for (; !ending; ++changes) {
            const unsigned which = dice() % clientCount;
            switch (dice() % 4) {
            case 0:
            case 1:
                if (!clients[which].started) {
                    clients[which].started = true;
                    devices[which]->deviceStart();
                }
                break;
            case 2:
                devices[which]->deviceStop();
                clients[which].started = false;
                break;
            default:
                devices[which]->setDevicePaused(dice() % 2 == 0);
            }
        }
        for (auto& device : devices)
            device->deviceStop();
    }

    /// Runs the cycles; how many calls of clients the output holds.
    std::uint64_t hearCycles() {
        TestList input({2}, 16);
        TestList output({2}, 16);
        std::uint64_t heard = 0;
        for (unsigned cycles = 0; cycles < wantedCycles;) {
            output.samples[0][0] = 0.0F;
            if (hardware.cycle(1, &input.list, &output.list))
                ++cycles;
            else
                std::this_thread::yield();
            heard += static_cast<std::uint64_t>(output.samples[0][0]);
        }
        return heard;
    }

    CrankedHardware hardware;
    KaCoreAudioSystem system{hardware};
    std::array<PlainClient, clientCount> clients;
    std::vector<std::unique_ptr<KaCoreAudioDevice>> devices;
    std::atomic<bool> ending{false};
    unsigned changes = 0;
};
} // namespace

TEST_F(KaCoreAudioIOProcMuxThreadTest, letsClientsJoinLeaveAndPause_whileCyclesRun) {
    std::thread changer([this] { changeUntilTheEnd(); });
    const std::uint64_t heard = hearCycles();
    ending = true;
    changer.join();

    // Every call of a client was heard exactly once, none came to a client that was out.
    std::uint64_t called = 0;
    for (const PlainClient& client : clients) {
        called += client.cycles;
        EXPECT_EQ(client.strayCycles, 0U);
    }
    EXPECT_EQ(heard, called);
    EXPECT_GT(called, 0U);
    EXPECT_GT(changes, 100U);
}
