#include "audio/KaCoreAudioDevice.h"

#include "audio/CrankedHardware.h"
#include "audio/KaCoreAudioSystem.h"

#include <gtest/gtest.h>
#include <limits>

namespace {
constexpr AudioDirection input = AudioDirection::input;
constexpr AudioDirection output = AudioDirection::output;

std::vector<std::string> uidsOf(const std::vector<std::unique_ptr<KaCoreAudioDevice>>& devices) {
    std::vector<std::string> uids;
    for (const auto& device : devices)
        uids.push_back(device->deviceUID());
    return uids;
}

class KaCoreAudioDeviceTest : public testing::Test {
protected:
    void add(AudioDeviceID deviceID, const std::string& name, const std::string& uid) {
        hardware.table[deviceID].name = name;
        hardware.table[deviceID].uid = uid;
        hardware.order.push_back(deviceID);
    }

    CrankedHardware hardware;
    KaCoreAudioSystem system{hardware};
};
} // namespace

TEST_F(KaCoreAudioDeviceTest, listsDevicesByName) {
    add(1, "B", "1");
    add(2, "A", "2");
    const auto devices = KaCoreAudioDevice::allDevices(system);
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0]->deviceName(), "A");
    EXPECT_EQ(devices[0]->deviceID(), 2U);
    EXPECT_EQ(devices[1]->deviceName(), "B");
}

TEST_F(KaCoreAudioDeviceTest, listsDevicesOfOneNameByUniqueID) {
    add(1, "Desk", "z");
    add(2, "Desk", "a");
    EXPECT_EQ(uidsOf(KaCoreAudioDevice::allDevices(system)), (std::vector<std::string>{"a", "z"}));
}

TEST_F(KaCoreAudioDeviceTest, listsDevicesWithoutANameLast) {
    add(1, "", "b");
    add(2, "Z", "z");
    add(3, "", "a");
    EXPECT_EQ(uidsOf(KaCoreAudioDevice::allDevices(system)), (std::vector<std::string>{"z", "a", "b"}));
}

TEST_F(KaCoreAudioDeviceTest, listsNothing_whenTheSystemReportsNothing) {
    EXPECT_TRUE(KaCoreAudioDevice::allDevices(system).empty());
}

TEST_F(KaCoreAudioDeviceTest, findsADeviceByItsUniqueID) {
    add(1, "Desk", "desk");
    add(2, "Desk", "other");
    const auto found = KaCoreAudioDevice::deviceWithUID(system, "other");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->deviceID(), 2U);
    EXPECT_EQ(KaCoreAudioDevice::deviceWithUID(system, "oth"), nullptr);
}

TEST_F(KaCoreAudioDeviceTest, findsTheDefaultDevices_andNothingWhereThereIsNone) {
    EXPECT_EQ(KaCoreAudioDevice::defaultInputDevice(system), nullptr);
    EXPECT_EQ(KaCoreAudioDevice::defaultOutputDevice(system), nullptr);
    EXPECT_EQ(KaCoreAudioDevice::defaultSystemOutputDevice(system), nullptr);
    hardware.defaults = {{AudioDirection::input, 4}, {AudioDirection::output, 9}};
    EXPECT_EQ(KaCoreAudioDevice::defaultInputDevice(system)->deviceID(), 4U);
    EXPECT_EQ(KaCoreAudioDevice::defaultOutputDevice(system)->deviceID(), 9U);
    EXPECT_EQ(KaCoreAudioDevice::defaultSystemOutputDevice(system)->deviceID(), 9U);
}

TEST_F(KaCoreAudioDeviceTest, leavesTheDataSource_whenNoNameIsExactlyEqual) {
    hardware.table[1].sources[input] = {{7, "Internal microphone"}, {9, "External microphone/Line In"}};
    hardware.table[1].source[input] = 7;
    KaCoreAudioDevice device(system, 1);
    device.setDataSource("Line In", input);
    EXPECT_EQ(hardware.table[1].source[input], 7U);
    device.setDataSource("internal Microphone", input);
    EXPECT_EQ(hardware.table[1].source[input], 7U);
    device.setDataSource(std::nullopt, input);
    EXPECT_EQ(hardware.table[1].source[input], 7U);
}

TEST_F(KaCoreAudioDeviceTest, setsTheDataSourceOfItsDirectionByName) {
    hardware.table[1].sources[input] = {{7, "Line In"}, {9, "Digital In"}};
    hardware.table[1].sources[output] = {{3, "Digital In"}};
    KaCoreAudioDevice device(system, 1);
    device.setDataSource("Digital In", input);
    EXPECT_EQ(hardware.table[1].source[input], 9U);
    EXPECT_EQ(hardware.table[1].source[output], 0U);
    EXPECT_EQ(device.dataSourcesForDirection(input), (std::vector<std::string>{"Line In", "Digital In"}));
}

TEST_F(KaCoreAudioDeviceTest, setsTheLastOfSeveralDataSourcesOfOneName) {
    hardware.table[1].sources[input] = {{7, "Line In"}, {9, "Line In"}};
    KaCoreAudioDevice(system, 1).setDataSource("Line In", input);
    EXPECT_EQ(hardware.table[1].source[input], 9U);
}

TEST_F(KaCoreAudioDeviceTest, sumsTheChannelsOfAllStreamsOfADirection) {
    hardware.table[1].channels[input] = {2, 4, 1};
    KaCoreAudioDevice device(system, 1);
    EXPECT_EQ(device.channelsForDirection(input), 7U);
    EXPECT_EQ(device.channelsByStreamForDirection(input), (std::vector<std::uint32_t>{2, 4, 1}));
    EXPECT_EQ(device.channelsForDirection(output), 0U);
    EXPECT_EQ(device.streamsForDirection(input).size(), 3U);
    EXPECT_TRUE(device.streamsForDirection(output).empty());
}

TEST_F(KaCoreAudioDeviceTest, asksTheOutputSideForTheBufferSizeRange) {
    hardware.table[1].bufferRange[input] = {1, 2};
    hardware.table[1].bufferRange[output] = {14.9, 4096.0};
    KaCoreAudioDevice device(system, 1);
    EXPECT_EQ(device.deviceMinBufferSizeInFrames(), 14U);
    EXPECT_EQ(device.deviceMaxBufferSizeInFrames(), 4096U);
}

TEST_F(KaCoreAudioDeviceTest, clampsTheBufferSizeRangeToUnsignedNumbers) {
    hardware.table[1].bufferRange[output] = {-5.0, 1e12};
    KaCoreAudioDevice device(system, 1);
    EXPECT_EQ(device.deviceMinBufferSizeInFrames(), 0U);
    EXPECT_EQ(device.deviceMaxBufferSizeInFrames(), 4294967295U);
    hardware.table[1].bufferRange[output] = {std::numeric_limits<double>::quiet_NaN(), 4294967294.5};
    EXPECT_EQ(device.deviceMinBufferSizeInFrames(), 0U);
    EXPECT_EQ(device.deviceMaxBufferSizeInFrames(), 4294967294U);
}

TEST_F(KaCoreAudioDeviceTest, passesRatesAndBufferSizesOn) {
    hardware.table[1].rates = {{8000, 8000}, {22050, 96000}};
    KaCoreAudioDevice device(system, 1);
    device.setNominalSampleRate(48000.0);
    EXPECT_EQ(device.nominalSampleRate(), 48000.0);
    device.setDeviceBufferSizeInFrames(256);
    EXPECT_EQ(device.deviceBufferSizeInFrames(), 256U);
    EXPECT_EQ(device.deviceMaxVariableBufferSizeInFrames(), 256U);
    const std::vector<std::array<double, 2>> expected{{8000.0, 8000.0}, {22050.0, 96000.0}};
    EXPECT_EQ(device.nominalSampleRates(), expected);
}

TEST_F(KaCoreAudioDeviceTest, tellsTheFormatOfEachSideOfAStream) {
    hardware.table[1].channels[input] = {2};
    hardware.table[1].format.mBitsPerChannel = 32;
    hardware.table[1].physicalFormat.mBitsPerChannel = 16;
    KaCoreAudioDevice device(system, 1);
    const KaCoreAudioStream& stream = device.streamsForDirection(input).at(0);
    EXPECT_EQ(stream.streamDescriptionForSide(1).bitsPerChannel(), 16U);
    EXPECT_EQ(stream.streamDescriptionForSide(0).bitsPerChannel(), 32U);
    EXPECT_EQ(stream.streamDescriptionForSide(2).bitsPerChannel(), 32U);
    EXPECT_EQ(&stream.parentAudioDevice(), &device);
}

TEST_F(KaCoreAudioDeviceTest, hasATextForm) {
    add(5, "Desk", "desk");
    hardware.table[5].channels[input] = {2};
    hardware.table[5].channels[output] = {2};
    KaCoreAudioDevice device(system, 5);
    char expected[64];
    std::snprintf(expected, sizeof expected, "<KaCoreAudioDevice: %p id 5> Desk", static_cast<void*>(&device));
    EXPECT_EQ(device.description(), expected);
    const KaCoreAudioStream& record = device.streamsForDirection(input).at(0);
    std::snprintf(expected, sizeof expected, "<KaCoreAudioStream: %p Record id 510> Desk",
                  static_cast<const void*>(&record));
    EXPECT_EQ(record.description(), expected);
    EXPECT_NE(device.streamsForDirection(output).at(0).description().find(" Playback id 500> Desk"),
              std::string::npos);
}
