#include "audio/VmDevice.h"

#include "audio/KaAudioBuffer.h"
#include "audio/KaCoreAudioDevice.h"
#include "support/DeskOfATest.h"

#include <gtest/gtest.h>

namespace {
using Names = std::vector<std::string>;

SimulatedDevice input(const std::string& name, std::vector<std::string> dataSources = {}) {
    SimulatedDevice device = countingInput();
    device.name = device.uid = name;
    device.dataSources = std::move(dataSources);
    return device;
}

SimulatedDevice output(const std::string& name, std::vector<std::string> dataSources = {}) {
    SimulatedDevice device = input(name, std::move(dataSources));
    device.direction = SimulatedDevice::Direction::output;
    return device;
}

VmDevice& devicer(Desk& it) {
    return it.desk.controler->devicer();
}
} // namespace

TEST(VmDevice, listsADeviceOnceForEachMergedDataSource) {
    Desk it({}, {input("Desk", {"Internal microphone", "Line In", "Sound Input"}), input("Headset"),
                 output("Speakers", {"Internal speakers", "Headphones"})});
    it.desk.launch();
    EXPECT_EQ(devicer(it).usableRecordSourceNames(), (Names{"Internal microphone", "Line In", "Headset"}));
    EXPECT_EQ(devicer(it).usableJapanRecordSourceNames(),
              (Names{"InternalSource", "ExternalSource", "Headset"}));
    EXPECT_EQ(devicer(it).usablePlaySourceNames(), (Names{"Internal speakers"}));
    EXPECT_EQ(devicer(it).usableJapanPlaySourceNames(), (Names{"InternalOutput"}));
    EXPECT_EQ(devicer(it).deviceNumberOfRecordSource(1), 0);
    EXPECT_EQ(devicer(it).deviceNumberOfRecordSource(2), 1);
    EXPECT_EQ(devicer(it).deviceNumberOfRecordSource(9), 0);
    EXPECT_EQ(devicer(it).sourceNameOfRecordSource(9), "");
    EXPECT_EQ(devicer(it).deviceNumberOfPlaySource(0), 2);
    EXPECT_TRUE(devicer(it).isPresentInternalRecord());
    EXPECT_TRUE(devicer(it).isPresentInternalPlay());
    EXPECT_TRUE(devicer(it).isPresentInternalMonitor());
}

TEST(VmDevice, fallsBackToTheFirstSource_whenTheStoredOneIsGone) {
    Desk it({{"recordSourceDevice", 5}},
            {input("Desk", {"Internal microphone", "Line In", "Sound Input"}), input("Headset")});
    it.desk.launch();
    EXPECT_EQ(devicer(it).recordSource(), 0);
    EXPECT_EQ(devicer(it).checkRecordSource(-3), 0);
    EXPECT_EQ(devicer(it).checkRecordSource(2), 2);
    EXPECT_EQ(it.desk.defaults.integerForKey("recordSourceDevice"), 5); // a person's choice stays theirs
}

TEST(VmDevice, saysThatThereIsNoSourceAtAll) {
    Desk it({}, {output("Speakers")});
    it.desk.launch();
    EXPECT_EQ(devicer(it).recordSource(), -1);
    EXPECT_TRUE(devicer(it).awakeError());
    EXPECT_EQ(it.desk.alert.shown().at(0).request.messageKey, "NoRecordSource");
    EXPECT_EQ(it.desk.alert.shown().at(0).request.informativeKey, "RecheckDevice");
    EXPECT_TRUE(it.logged("VmRecorder: no sound data input device."));
}

TEST(VmDevice, goesOnWithoutAnOutput) {
    Desk it({}, {input("Desk")});
    it.desk.launch();
    EXPECT_FALSE(devicer(it).awakeError());
    EXPECT_EQ(devicer(it).monitorSource(), -1);
    EXPECT_EQ(it.desk.alert.shown().at(0).request.messageKey, "NoPlaybackSource");
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: no sound data output device."));
    devicer(it).setMonitorSource(0);
    EXPECT_TRUE(it.logged("No monitoring device is exist."));
    devicer(it).setPlaySource(0);
    EXPECT_TRUE(it.logged("No playback device is exist."));
    EXPECT_FALSE(it.recorder().monitorButton().enabled());
}

TEST(VmDevice, choosesTheRateByTheQualitySetting) {
    SimulatedDevice device = input("Desk");
    device.rates = {8000, 22050, 44100, 48000, 96000};
    Desk it({}, {device});
    it.desk.launch();
    EXPECT_EQ(devicer(it).recordSampleRate(), 44100.0);
    devicer(it).setUseHighQuality(true);
    EXPECT_EQ(devicer(it).recordSampleRate(), 44100.0); // from the next choice on
    devicer(it).setRecordSource(0);
    EXPECT_EQ(devicer(it).recordSampleRate(), 96000.0);
    EXPECT_TRUE(it.desk.defaults.boolForKey("UseHightQualitySampling"));
}

TEST(VmDevice, takesTheLastRate_whenNoneReaches44100) {
    SimulatedDevice device = input("Desk");
    device.rates = {8000, 22050};
    Desk it({}, {device});
    it.desk.launch();
    EXPECT_EQ(devicer(it).recordSampleRate(), 22050.0);
    EXPECT_EQ(devicer(it).recordSampleRateWithSource(0, 1), 11025.0);
    EXPECT_EQ(devicer(it).recordSampleRateWithSource(4), 0.0);
}

TEST(VmDevice, choosesTheBufferSizeNearest512) {
    const std::tuple<unsigned, unsigned, int> cases[] = {{14, 4096, 512}, {1024, 4096, 1024}, {14, 256, 256}};
    for (const auto& [minimum, maximum, chosen] : cases) {
        SimulatedDevice device = input("Desk");
        device.minFrames = minimum;
        device.maxFrames = maximum;
        Desk it({}, {device});
        it.desk.launch();
        EXPECT_EQ(devicer(it).recordBufferSize(), chosen);
        EXPECT_EQ(devicer(it).recordDevice()->deviceBufferSizeInFrames(), static_cast<unsigned>(chosen));
    }
}

TEST(VmDevice, leavesTheDataSourceOfAMergedNameAlone) {
    Desk it({{"recordSourceDevice", 1}}, {input("Desk", {"Internal microphone", "Sound Input"})});
    it.desk.launch();
    EXPECT_EQ(devicer(it).presentRecordSourceName(), "Line In");
    const AudioDeviceID device = devicer(it).recordDevice()->deviceID();
    EXPECT_EQ(it.desk.hardware.dataSource(device, AudioDirection::input),
              it.desk.hardware.dataSources(device, AudioDirection::input)[0].id);
}

TEST(VmDevice, quartersAndHalvesTheNominalRate) {
    EXPECT_EQ(VmDevice::sampleRateWithNominal(44100, 0), 11025.0);
    EXPECT_EQ(VmDevice::sampleRateWithNominal(44100, 1), 22050.0);
    EXPECT_EQ(VmDevice::sampleRateWithNominal(44100, 2), 44100.0);
    EXPECT_EQ(VmDevice::sampleRateWithNominal(44100, 9), 44100.0);
}

TEST(VmDevice, storesAPersonsChoiceOnly) {
    Desk it({}, {input("A"), input("B")});
    it.desk.launch();
    devicer(it).setRecordSource(1);
    EXPECT_EQ(it.desk.defaults.integerForKey("recordSourceDevice"), 0);
    devicer(it).changeRecordSource(1);
    EXPECT_EQ(it.desk.defaults.integerForKey("recordSourceDevice"), 1);
    EXPECT_EQ(devicer(it).presentRecordSourceName(), "B");
}

TEST(VmDevice, saysInTheLogThatThereIsNoSource_whenOneIsChosen) {
    Desk it({}, {output("Speakers")});
    it.desk.launch();
    devicer(it).setRecordSource(2);
    EXPECT_EQ(devicer(it).recordSource(), -1);
    EXPECT_EQ(devicer(it).recordDevice(), nullptr);
    EXPECT_EQ(devicer(it).levelDevice(), nullptr);
    EXPECT_TRUE(it.logged("No recording source is exist."));
    EXPECT_EQ(devicer(it).checkRecordSource(0), -1);
    EXPECT_EQ(devicer(it).recordSourceCount(), 0);
}

TEST(VmDevice, saysSo_whenADeviceThatIsListedCannotBeUsed) {
    SimulatedDevice microphone = input("Desk");
    SimulatedDevice speakers = output("Speakers");
    microphone.rates = {};
    speakers.rates = {};
    Desk it({}, {microphone, speakers});
    it.desk.launch();
    EXPECT_EQ(devicer(it).recordSource(), -1);
    EXPECT_EQ(devicer(it).playSource(), -1);
    EXPECT_EQ(devicer(it).monitorSource(), -1);
    EXPECT_EQ(devicer(it).recordDevice(), nullptr);
    EXPECT_EQ(devicer(it).playDevice(), nullptr);
    EXPECT_EQ(devicer(it).monitorDevice(), nullptr);
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: no sound data input device."));
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: no sound data output device."));
    EXPECT_FALSE(it.recorder().monitorButton().enabled());
}

TEST(VmDevice, knowsTheSourcesByTheirNames) {
    Desk it({}, {input("Desk", {"Internal microphone", "External microphone/Line In", "Digital In", "Phantom"}),
                 output("Speakers", {"Headphones"}), output("Box")});
    it.desk.launch();
    EXPECT_EQ(devicer(it).usableRecordSourceNames(),
              (Names{"Internal microphone", "Line In", "Digital In", "Phantom"}));
    EXPECT_EQ(devicer(it).usableJapanRecordSourceNames(),
              (Names{"InternalSource", "ExternalSource", "DigitalSource", "Phantom"}));
    EXPECT_EQ(devicer(it).usablePlaySourceNames(), (Names{"Box", "Internal speakers"}));
    const auto present = [&](int source) {
        devicer(it).setRecordSource(source);
        return std::tuple(devicer(it).isPresentInternalRecord(), devicer(it).isPresentExternalRecord(),
                          devicer(it).isPresentDigitalRecord());
    };
    EXPECT_EQ(present(0), std::tuple(true, false, false));
    EXPECT_EQ(present(1), std::tuple(false, true, false));
    EXPECT_EQ(devicer(it).presentJapanRecordSourceName(), "ExternalSource");
    EXPECT_EQ(present(2), std::tuple(false, false, true));
    EXPECT_EQ(present(3), std::tuple(false, false, false));
    EXPECT_EQ(devicer(it).presentRecordSourceName(), "Phantom");
    EXPECT_EQ(devicer(it).japanSourceNameOfRecordSource(0), "InternalSource");
    EXPECT_FALSE(devicer(it).isPresentInternalPlay());
    devicer(it).setPlaySource(1);
    EXPECT_TRUE(devicer(it).isPresentInternalPlay());
    EXPECT_FALSE(devicer(it).isPresentInternalMonitor());
    devicer(it).setMonitorSource(1);
    EXPECT_TRUE(devicer(it).isPresentInternalMonitor());
    EXPECT_EQ(devicer(it).convertJapanPlaySourceName("Internal speakers"), "InternalOutput");
    EXPECT_EQ(devicer(it).convertJapanPlaySourceName("Headphones"), "Headphones");
}

TEST(VmDevice, setsUpBothObjectsOfTheInputAlike) {
    SimulatedDevice device = input("Desk");
    device.channels = 3;
    device.rates = {8000, 48000};
    Desk it({}, {device, output("Speakers")});
    it.desk.launch();
    ASSERT_NE(devicer(it).levelDevice(), nullptr);
    EXPECT_NE(devicer(it).levelDevice(), devicer(it).recordDevice());
    EXPECT_EQ(devicer(it).levelDevice()->deviceID(), devicer(it).recordDevice()->deviceID());
    EXPECT_EQ(devicer(it).recordSampleRate(), 48000.0);
    EXPECT_EQ(devicer(it).levelDevice()->nominalSampleRate(), 48000.0);
    EXPECT_EQ(devicer(it).recordChannels(), 3);
    EXPECT_EQ(devicer(it).recordBuffer().channels(), 3U);
    EXPECT_EQ(devicer(it).recordBuffer().capacity(), 512U);
    EXPECT_EQ(devicer(it).convertBuffer().mNumberBuffers, 1U);
    EXPECT_EQ(devicer(it).convertBuffer().mBuffers[0].mNumberChannels, 2U);
    EXPECT_EQ(devicer(it).convertBuffer().mBuffers[0].mDataByteSize, 512U * 2 * 4);
    EXPECT_EQ(devicer(it).monitorBuffer().capacity(), 512U);
    EXPECT_EQ(devicer(it).monitorConvertBuffer().mBuffers[0].mNumberChannels, 2U);
    EXPECT_NE(devicer(it).monitorConverter(), nullptr);
}
