// The adapter's mechanisms, which need no server.
#include "audio/hardware/pulse/CycleAssembler.h"
#include "audio/hardware/pulse/CycleDispatcher.h"
#include "audio/hardware/pulse/PulseDeviceTable.h"
#include "audio/hardware/pulse/PulseFormats.h"
#include "audio/hardware/pulse/PulsePortNames.h"
#include "audio/hardware/pulse/StreamClock.h"
#include "base/SystemClock.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <pulse/def.h>

namespace {
PulseDevice makeDevice(const std::string& name, AudioDirection direction) {
    PulseDevice device;
    device.name = name;
    device.direction = direction;
    return device;
}
constexpr HostTime second = 1'000'000'000;
} // namespace

TEST(CycleAssembler, deliversEveryFrameOnce_whateverTheFragments) {
    CycleAssembler assembler(2, 64);
    assembler.setCycleFrames(14);
    std::vector<float> expected;
    std::vector<float> delivered;
    const auto keep = [&](const float* cycle) { delivered.insert(delivered.end(), cycle, cycle + 28); };
    for (std::uint32_t fragment = 0; fragment < 50; ++fragment) {
        std::vector<float> samples(fragment * 2);
        for (float& sample : samples) {
            sample = static_cast<float>(expected.size());
            expected.push_back(sample);
        }
        assembler.push(samples.data(), fragment, keep);
        ASSERT_LT(assembler.pending(), 14U);
    }
    ASSERT_EQ(delivered.size() + assembler.pending() * 2U, expected.size());
    expected.resize(delivered.size());
    EXPECT_EQ(delivered, expected);
}

TEST(CycleAssembler, deliversWhatWaitsAtOnce_whenCyclesBecomeSmaller) {
    CycleAssembler assembler(1, 64);
    assembler.setCycleFrames(64);
    std::vector<float> samples(50);
    for (std::size_t index = 0; index < samples.size(); ++index)
        samples[index] = static_cast<float>(index);
    std::vector<float> firsts;
    assembler.push(samples.data(), 50, [&](const float* cycle) { firsts.push_back(cycle[0]); });
    EXPECT_TRUE(firsts.empty());
    assembler.setCycleFrames(20);
    assembler.push(samples.data(), 10, [&](const float* cycle) { firsts.push_back(cycle[0]); });
    EXPECT_EQ(firsts, (std::vector<float>{0, 20, 40}));
    EXPECT_EQ(assembler.pending(), 0U);
}

TEST(CycleAssembler, fillsTheLastCycleUpWithSilence) {
    CycleAssembler assembler(1, 16);
    assembler.setCycleFrames(16);
    const std::vector<float> samples(10, 1.0F);
    assembler.push(samples.data(), 10, [](const float*) { FAIL(); });
    std::vector<float> last;
    EXPECT_EQ(assembler.flush([&](const float* cycle) { last.assign(cycle, cycle + 16); }), 6U);
    EXPECT_EQ(std::count(last.begin(), last.begin() + 10, 1.0F), 10);
    EXPECT_EQ(std::count(last.begin() + 10, last.end(), 0.0F), 6);
    EXPECT_EQ(assembler.flush([](const float*) { FAIL(); }), 0U);
}

namespace {
struct MonoCycles {
    std::vector<float> samples = std::vector<float>(10'000);
    std::vector<double> times = std::vector<double>(1000);
    std::size_t count = 0;
    std::size_t cycles = 0;

    static OSStatus proc(AudioDeviceID, const AudioTimeStamp*, const AudioBufferList* inputData,
                         const AudioTimeStamp* inputTime, AudioBufferList*, const AudioTimeStamp*, void* into) {
        auto& self = *static_cast<MonoCycles*>(into);
        const AudioBuffer& buffer = inputData->mBuffers[0];
        std::copy_n(static_cast<const float*>(buffer.mData), buffer.mDataByteSize / sizeof(float),
                    self.samples.begin() + static_cast<std::ptrdiff_t>(self.count));
        self.count += buffer.mDataByteSize / sizeof(float);
        self.times[self.cycles++] = inputTime->mSampleTime;
        return audioHardwareNoError;
    }
};
} // namespace

TEST(CycleDispatcher, handsAHoleOnAsSilenceOfTheSameLength) {
    const SystemClock clock;
    CycleDispatcher dispatcher(clock, 1);
    MonoCycles got;
    ASSERT_TRUE(dispatcher.add(MonoCycles::proc, &got));
    dispatcher.setStarted(MonoCycles::proc, true);
    dispatcher.setCycleFrames(20);
    dispatcher.begin(1, 1000.0);
    const std::vector<float> sound(30, 1.0F);
    dispatcher.capture(sound.data(), 30);
    dispatcher.capture(nullptr, 40);
    dispatcher.capture(sound.data(), 30);
    ASSERT_EQ(got.count, 100U);
    for (std::size_t frame = 0; frame < 100; ++frame)
        EXPECT_EQ(got.samples[frame], frame < 30 || frame >= 70 ? 1.0F : 0.0F) << frame;
    EXPECT_EQ(got.times[4], 80.0);
}

TEST(CycleDispatcher, goesOnCountingWhereTheStreamsClockIs_afterAGap) {
    const SystemClock clock;
    CycleDispatcher dispatcher(clock, 1);
    MonoCycles got;
    ASSERT_TRUE(dispatcher.add(MonoCycles::proc, &got));
    dispatcher.setStarted(MonoCycles::proc, true);
    dispatcher.setCycleFrames(20);
    dispatcher.begin(1, 1000.0);
    dispatcher.observe(100 * second);
    const std::vector<float> sound(30, 1.0F);
    dispatcher.capture(sound.data(), 30);
    EXPECT_EQ(dispatcher.interrupt(), 10U); // the second cycle is filled up
    EXPECT_EQ(got.count, 40U);
    dispatcher.guess(160 * second); // a minute away
    dispatcher.capture(sound.data(), 20);
    EXPECT_EQ(got.count, 60U);
    EXPECT_EQ(got.times[2], 60'000.0);
}

TEST(StreamClock, findsTheTrueRate_throughJitter) {
    constexpr double trueRate = 44100.0 * 1.0002;
    StreamClock clock(44100.0);
    std::uint64_t frame = 0;
    std::uint32_t random = 1;
    double worstLate = 0.0;
    for (int round = 0; round < 4000; ++round) {
        random = random * 1664525U + 1013904223U;
        const double jitter = (static_cast<double>(random) / 4294967296.0 - 0.5) * 4e6; // 4 ms
        const double truth = static_cast<double>(frame) / trueRate * 1e9;
        clock.observe(frame, static_cast<HostTime>(truth + jitter));
        if (round > 2000)
            worstLate = std::max(worstLate, std::abs(static_cast<double>(clock.timeOf(frame)) - truth));
        frame += 2205;
    }
    EXPECT_TRUE(clock.rateKnown());
    EXPECT_NEAR(clock.rateScalar(), 1.0 / 1.0002, 30e-6);
    EXPECT_LT(worstLate, 0.5e6);
    EXPECT_EQ(clock.frameAt(clock.timeOf(frame)), frame);
}

TEST(StreamClock, neverLeaps_whenAnObservationIsFarOff) {
    StreamClock clock(1000.0);
    clock.observe(0, 10 * second);
    clock.observe(2000, 12 * second);
    clock.observe(4000, 14 * second + second / 10); // 100 ms late
    HostTime last = clock.timeOf(4000);
    EXPECT_EQ(last, 14 * second);
    for (std::uint64_t frame = 4001; frame < 8000; ++frame) {
        const HostTime time = clock.timeOf(frame);
        ASSERT_NEAR(static_cast<double>(time - last), 1e6, 1e5) << frame;
        ASSERT_EQ(clock.frameAt(time), frame);
        last = time;
    }
    EXPECT_GT(last, 18 * second);
}

TEST(StreamClock, setsTheMomentAnew_onlyWhenAnErrorStays) {
    StreamClock clock(1000.0);
    clock.observe(0, 10 * second);
    clock.observe(1000, 11 * second);
    clock.observe(2000, 15 * second); // once is an outlier
    EXPECT_EQ(clock.timeOf(2000), 12 * second);
    clock.observe(3000, 16 * second);
    EXPECT_EQ(clock.timeOf(3000), 16 * second);
}

TEST(StreamClock, replacesAGuessByTheFirstObservation) {
    StreamClock clock(1000.0);
    EXPECT_FALSE(clock.hasMoment());
    clock.guess(0, 5 * second);
    EXPECT_EQ(clock.timeOf(500), 5 * second + second / 2);
    clock.observe(1000, 7 * second);
    EXPECT_EQ(clock.timeOf(1000), 7 * second);
    EXPECT_FALSE(clock.rateKnown());
}

TEST(PulsePortNames, givesKnownPortsTheNamesOfTheSourceList) {
    const auto input = [](const char* name) {
        return pulsePortName({name, "Described", 0}, AudioDirection::input);
    };
    EXPECT_EQ(input("analog-input-internal-mic"), "Internal microphone");
    EXPECT_EQ(input("internal-mic"), "Internal microphone");
    EXPECT_EQ(input("linein"), "Line In");
    EXPECT_EQ(input("analog-input-linein"), "Line In");
    EXPECT_EQ(input("iec958-stereo-input"), "Digital In");
    EXPECT_EQ(input("spdif"), "Digital In");
    EXPECT_EQ(input("Digital Input"), "Digital In");
    const auto output = [](const char* name) {
        return pulsePortName({name, "Described", 0}, AudioDirection::output);
    };
    EXPECT_EQ(output("analog-output-speaker"), "Internal speakers");
    EXPECT_EQ(output("analog-output-headphones"), "Headphones");
}

TEST(PulsePortNames, goesByTheType_whereTheServerTellsIt) {
    EXPECT_EQ(pulsePortName({"[In] Aux", "Rear jack", PA_DEVICE_PORT_TYPE_LINE}, AudioDirection::input),
              "Line In");
    EXPECT_EQ(pulsePortName({"[Out] A", "Front", PA_DEVICE_PORT_TYPE_HEADPHONES}, AudioDirection::output),
              "Headphones");
}

TEST(PulsePortNames, keepsTheDescriptionOfEveryOtherPort) {
    EXPECT_EQ(pulsePortName({"analog-input-mic", "Microphone", PA_DEVICE_PORT_TYPE_MIC}, AudioDirection::input),
              "Microphone");
    EXPECT_EQ(pulsePortName({"[In] Digital Mic", "Array", 0}, AudioDirection::input), "Array");
    EXPECT_EQ(pulsePortName({"hdmi-output-0", "HDMI", PA_DEVICE_PORT_TYPE_HDMI}, AudioDirection::output),
              "HDMI");
    EXPECT_EQ(pulsePortName({"nameless", "", 0}, AudioDirection::output), "nameless");
}

TEST(PulseDeviceTable, keepsIds_whileDevicesComeAndGo) {
    PulseDeviceTable table;
    EXPECT_TRUE(
        table.replace({makeDevice("a", AudioDirection::input), makeDevice("b", AudioDirection::input)}));
    const std::vector<AudioDeviceID> first = table.devices();
    EXPECT_FALSE(
        table.replace({makeDevice("a", AudioDirection::input), makeDevice("b", AudioDirection::input)}));
    EXPECT_TRUE(table.replace({makeDevice("b", AudioDirection::input)}));
    EXPECT_EQ(table.devices(), std::vector<AudioDeviceID>{first[1]});
    EXPECT_FALSE(table.find(first[0]).has_value());
    EXPECT_TRUE(
        table.replace({makeDevice("c", AudioDirection::input), makeDevice("a", AudioDirection::input)}));
    EXPECT_EQ(table.devices()[1], first[0]);
    EXPECT_NE(table.devices()[0], first[1]);
}

TEST(PulseDeviceTable, tellsTheHalvesOfADuplexDeviceApart) {
    PulseDeviceTable table;
    table.replace({makeDevice("duplex", AudioDirection::input), makeDevice("duplex", AudioDirection::output)});
    const std::vector<AudioDeviceID> devices = table.devices();
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_NE(devices[0], devices[1]);
    EXPECT_EQ(table.uniqueId(devices[0]), "duplex");
    EXPECT_EQ(table.uniqueId(devices[1]), "sink:duplex");
}

TEST(PulseDeviceTable, knowsTheDefaultOfEachDirection) {
    PulseDeviceTable table;
    std::vector<PulseDevice> devices{makeDevice("a", AudioDirection::input),
                                     makeDevice("b", AudioDirection::input),
                                     makeDevice("c", AudioDirection::output)};
    devices[1].isDefault = true;
    table.replace(devices);
    EXPECT_EQ(table.defaultDevice(AudioDirection::input), table.devices()[1]);
    EXPECT_EQ(table.defaultDevice(AudioDirection::output), 0U);
    devices[2].isDefault = true;
    EXPECT_FALSE(table.replace(devices));
    EXPECT_EQ(table.defaultDevice(AudioDirection::output), table.devices()[2]);
    table.replace({});
    EXPECT_EQ(table.defaultDevice(AudioDirection::input), 0U);
}

TEST(PulseDeviceTable, keepsPortIds_whenPortsChangeTheirOrder) {
    PulseDeviceTable table;
    PulseDevice device = makeDevice("card", AudioDirection::input);
    device.ports = {{"mic", "Microphone"}, {"line", "Line In"}};
    table.replace({device});
    const AudioDeviceID id = table.devices().front();
    const std::uint32_t line = table.portId(id, "line");
    device.ports = {{"line", "Line In"}, {"aux", "Aux"}};
    table.replace({device});
    EXPECT_EQ(table.portId(id, "line"), line);
    EXPECT_NE(table.portId(id, "aux"), line);
    EXPECT_NE(table.portId(id, "aux"), table.portId(id, "mic"));
    EXPECT_EQ(table.portId(id, "none"), 0U);
}

TEST(PulseFormats, describesEverySampleFormatOfServers) {
    using Description = AudioStreamBasicDescription;
    const AudioStreamBasicDescription wide = pulsePhysicalFormat({PA_SAMPLE_S24_32BE, 48000, 2});
    EXPECT_EQ(wide.mFormatFlags, Description::flagIsSignedInteger | Description::flagIsBigEndian);
    EXPECT_EQ(wide.mBitsPerChannel, 24U);
    EXPECT_EQ(wide.mBytesPerFrame, 8U);
    const AudioStreamBasicDescription bytes = pulsePhysicalFormat({PA_SAMPLE_U8, 8000, 1});
    EXPECT_EQ(bytes.mFormatFlags, Description::flagIsPacked);
    const AudioStreamBasicDescription law = pulsePhysicalFormat({PA_SAMPLE_ULAW, 8000, 1});
    EXPECT_EQ(law.mFormatID, 0x756C6177U);
    EXPECT_EQ(law.mFormatFlags, 0U);
}
