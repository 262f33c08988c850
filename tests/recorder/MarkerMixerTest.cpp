// The marker in the stream of captured samples.
#include "recorder/MarkerMixer.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {
using Floats = std::vector<float>;

/// What comes out of `samples` of silence, in steps of 1/32767.
std::vector<int> mixed(MarkerMixer& mixer, unsigned samples, std::int64_t firstFrame = 0) {
    Floats data(samples, 0.0F);
    mixer.mixInto(data.data(), samples, firstFrame);
    std::vector<int> steps;
    for (const float value : data)
        steps.push_back(static_cast<int>(value * 32767.0F + 0.5F));
    return steps;
}
using Steps = std::vector<int>;
} // namespace

TEST(MarkerMixer, isIdleUntilItIsArmed_andAfterItsEnd) {
    MarkerMixer mixer;
    EXPECT_EQ(mixed(mixer, 2), (Steps{0, 0}));
    mixer.arm(); // without a sound nothing happens
    EXPECT_EQ(mixer.writeMarker(), 0);
    mixer.disarm();
    mixer.setSound({1, 2, 3});
    EXPECT_EQ(mixer.markerSize(), 3);
    EXPECT_EQ(mixed(mixer, 2), (Steps{0, 0}));
    mixer.arm();
    EXPECT_EQ(mixer.writeMarker(), 3);
    EXPECT_EQ(mixed(mixer, 2), (Steps{1, 2}));
    EXPECT_EQ(mixer.writeMarker(), 1);
    EXPECT_EQ(mixed(mixer, 4), (Steps{3, 0, 0, 0}));
    EXPECT_EQ(mixer.writeMarker(), 0);
    EXPECT_EQ(mixed(mixer, 2), (Steps{0, 0}));
}

TEST(MarkerMixer, addsUnclipped) {
    MarkerMixer mixer;
    mixer.setSound({32767, -32767});
    mixer.arm();
    Floats data{0.75F, -0.75F};
    mixer.mixInto(data.data(), 2, 0);
    EXPECT_EQ(data, (Floats{1.75F, -1.75F}));
}

TEST(MarkerMixer, beginsInTheFrameThatItIsArmedFor_orInTheNextOneCaptured) {
    MarkerMixer mixer;
    mixer.setSound({1, 2, 3, 4});
    mixer.arm(5);
    EXPECT_EQ(mixed(mixer, 4, 0), (Steps{0, 0, 0, 0})); // frames 0 and 1
    EXPECT_EQ(mixed(mixer, 6, 2), (Steps{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(mixer.writeMarker(), 4);
    EXPECT_EQ(mixed(mixer, 4, 5), (Steps{1, 2, 3, 4}));
    mixer.arm(11);
    EXPECT_EQ(mixed(mixer, 8, 10), (Steps{0, 0, 1, 2, 3, 4, 0, 0}));
    mixer.arm(3);
    EXPECT_EQ(mixed(mixer, 6, 14), (Steps{1, 2, 3, 4, 0, 0}));
}

TEST(MarkerMixer, repeatsItselfAsOftenAsItIsArmedFor) {
    MarkerMixer mixer;
    mixer.setSound({1, 2, 3}); // an odd number: each begins on the left side
    EXPECT_FALSE(mixer.hasBegun());
    mixer.arm(2, 2);
    EXPECT_FALSE(mixer.hasBegun());
    EXPECT_EQ(mixed(mixer, 6, 1), (Steps{0, 0, 1, 2, 3, 0}));
    EXPECT_TRUE(mixer.hasBegun());
    EXPECT_EQ(mixer.writeMarker(), 3);
    EXPECT_EQ(mixed(mixer, 2, 4), (Steps{1, 2}));
    EXPECT_EQ(mixed(mixer, 10, 5), (Steps{3, 0, 1, 2, 3, 0, 0, 0, 0, 0}));
    EXPECT_EQ(mixer.writeMarker(), 0);
    EXPECT_FALSE(mixer.hasBegun());
    mixer.arm(0, 1);
    mixed(mixer, 2);
    mixer.disarm(); // with its repeat
    EXPECT_EQ(mixed(mixer, 8), (Steps{0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(MarkerMixer, saysWhetherItMixed) {
    MarkerMixer mixer;
    Floats data(4);
    EXPECT_FALSE(mixer.mixInto(data.data(), 4, 0));
    mixer.setSound({1, 2});
    EXPECT_FALSE(mixer.mixInto(data.data(), 4, 0));
    mixer.arm(3);
    EXPECT_FALSE(mixer.mixInto(data.data(), 4, 0));
    EXPECT_TRUE(mixer.mixInto(data.data(), 4, 2));
    EXPECT_FALSE(mixer.mixInto(data.data(), 4, 4));
}

TEST(MarkerMixer, leavesOutTheRest_whenItIsDisarmedOrItsSoundReplaced) {
    MarkerMixer mixer;
    mixer.setSound({1, 2, 3, 4});
    mixer.arm();
    mixed(mixer, 2);
    mixer.disarm();
    EXPECT_EQ(mixed(mixer, 2), (Steps{0, 0}));
    mixer.arm();
    mixed(mixer, 2);
    mixer.setSound({7, 8});
    EXPECT_EQ(mixer.writeMarker(), 0);
    EXPECT_EQ(mixed(mixer, 2), (Steps{0, 0}));
    mixer.arm();
    EXPECT_EQ(mixed(mixer, 4), (Steps{7, 8, 0, 0}));
    mixer.setSound({});
    mixer.arm();
    EXPECT_EQ(mixed(mixer, 2), (Steps{0, 0}));
}

TEST(MarkerMixer, mixesOneSoundOrTheOther_whileSoundsAreReplacedOnAnotherThread) {
    MarkerMixer mixer;
    std::atomic<bool> done{false};
    std::atomic<long> heard{0};
    std::atomic<bool> isTorn{false};
    std::thread inputOutput([&] {
        Floats data(64);
        while (!done) {
            std::fill(data.begin(), data.end(), 0.0F);
            const bool isMixed = mixer.mixInto(data.data(), 64, 0);
            isTorn = isTorn || isMixed != (data[0] != 0.0F);
            float first = 0.0F;
            for (const float value : data) {
                if (value == 0.0F)
                    continue;
                first = first == 0.0F ? value : first;
                isTorn = isTorn || value != first;
                ++heard;
            }
        }
    });
    for (int sound = 1; sound <= 3000 || heard < 2000; ++sound) {
        mixer.setSound(std::vector<std::int16_t>(256, static_cast<std::int16_t>(sound % 1000 + 1)));
        mixer.arm(0, static_cast<unsigned>(sound % 3));
        if (sound % 5 == 0)
            mixer.disarm();
        isTorn = isTorn || mixer.writeMarker() > mixer.markerSize();
        if (sound % 8 == 0)
            std::this_thread::yield();
        if (sound > 2000000)
            break;
    }
    done = true;
    inputOutput.join();
    EXPECT_FALSE(isTorn);
    EXPECT_GT(heard, 0);
}
