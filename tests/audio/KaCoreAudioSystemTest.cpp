#include "audio/KaCoreAudioSystem.h"

#include "audio/CrankedHardware.h"

#include <gtest/gtest.h>
#include <thread>

namespace {
using Kind = AudioHardwareEvent::Kind;

AudioHardwareEvent event(Kind kind, AudioDeviceID device = 0, std::uint64_t frames = 0) {
    return {kind, device, frames, ""};
}
} // namespace

TEST(KaCoreAudioSystemTest, handsEveryEventToTheHandler) {
    CrankedHardware hardware;
    KaCoreAudioSystem system(hardware);
    std::vector<AudioHardwareEvent> heard;
    system.setEventHandler([&](const AudioHardwareEvent& told) { heard.push_back(told); });
    EXPECT_TRUE(hardware.tell({Kind::hole, 3, 512, "late"}));
    hardware.tell(event(Kind::serverLost));
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[0].kind, Kind::hole);
    EXPECT_EQ(heard[0].device, 3U);
    EXPECT_EQ(heard[0].frames, 512U);
    EXPECT_EQ(heard[0].message, "late");
    EXPECT_EQ(heard[1].kind, Kind::serverLost);
}

TEST(KaCoreAudioSystemTest, listensWithoutAHandler_andNoLongerThanItLives) {
    CrankedHardware hardware;
    {
        KaCoreAudioSystem system(hardware);
        EXPECT_TRUE(hardware.tell(event(Kind::serverLost)));
        unsigned heard = 0;
        system.setEventHandler([&](const AudioHardwareEvent&) { ++heard; });
        system.setEventHandler({});
        EXPECT_TRUE(hardware.tell(event(Kind::serverReturned)));
        EXPECT_EQ(heard, 0U);
    }
    EXPECT_FALSE(hardware.tell(event(Kind::serverLost)));
}

TEST(KaCoreAudioSystemTest, letsAHandlerReplaceItself) {
    CrankedHardware hardware;
    KaCoreAudioSystem system(hardware);
    unsigned first = 0;
    unsigned second = 0;
    system.setEventHandler([&](const AudioHardwareEvent&) {
        system.setEventHandler([&](const AudioHardwareEvent&) { ++second; });
        ++first;
    });
    hardware.tell(event(Kind::deviceListChanged));
    hardware.tell(event(Kind::deviceListChanged));
    EXPECT_EQ(first, 1U);
    EXPECT_EQ(second, 1U);
}

TEST(KaCoreAudioSystemThreadTest, callsNoHandler_onceItWasReplaced) {
    CrankedHardware hardware;
    KaCoreAudioSystem system(hardware);
    std::atomic<bool> ended{false};
    std::thread soundSystem([&] {
        while (!ended)
            hardware.tell(event(Kind::deviceListChanged));
    });
    unsigned heard = 0;
    for (int round = 0; round < 100; ++round) {
        auto calls = std::make_unique<std::atomic<unsigned>>(0);
        system.setEventHandler([&calls = *calls](const AudioHardwareEvent&) { ++calls; });
        while (*calls == 0)
            std::this_thread::yield();
        system.setEventHandler({});
        heard += *calls;
        calls.reset();
    }
    ended = true;
    soundSystem.join();
    EXPECT_GE(heard, 100U);
}
