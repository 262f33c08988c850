#include "audio/CrankedHardware.h"
#include "audio/KaCoreAudioDevice.h"
#include "audio/KaCoreAudioDeviceDelegate.h"
#include "audio/KaCoreAudioStreamDelegate.h"
#include "audio/KaCoreAudioSystem.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>

namespace {
using Kind = AudioHardwareEvent::Kind;
using Lines = std::vector<std::string>;
constexpr AudioDirection input = AudioDirection::input;
constexpr AudioDirection output = AudioDirection::output;

/// Keeps posted calls until they are asked for.
class PostedCalls final : public RunLoop {
public:
    std::unique_ptr<Timer> schedule(TimerOptions, std::function<void()>) override {
        ADD_FAILURE() << "no timer is needed";
        return nullptr;
    }
    int run() override {
        std::vector<std::function<void()>> calls;
        {
            const std::lock_guard guard(m_mutex);
            calls.swap(m_calls);
        }
        for (const auto& call : calls)
            call();
        return static_cast<int>(calls.size());
    }
    void quit(int) override {}
    void post(std::function<void()> call) override {
        const std::lock_guard guard(m_mutex);
        m_calls.push_back(std::move(call));
    }

private:
    std::mutex m_mutex;
    std::vector<std::function<void()>> m_calls;
};

struct LinesOfLog final : SystemLog {
    void log(std::string_view line) override { lines.emplace_back(line); }
    Lines lines;
};

struct Delegate final : KaCoreAudioDeviceDelegate {
    void audioDeviceStartDidFail(KaCoreAudioDevice&, OSStatus) override { heard.emplace_back("start failed"); }
    void audioDeviceIsAliveDidChange(KaCoreAudioDevice& device) override { add("alive", device); }
    void audioDeviceDidOverload(KaCoreAudioDevice& device) override { add("overload", device); }
    void audioDeviceSourceDidChange(KaCoreAudioDevice& device, AudioDirection direction) override {
        add(direction == input ? "input source" : "output source", device);
    }
    bool audioDeviceSourceDidChange(KaCoreAudioDevice& device, unsigned channel, AudioDirection) override {
        if (hasDeprecatedMethod)
            add("source of channel " + std::to_string(channel), device);
        return hasDeprecatedMethod;
    }
    void audioDeviceNominalSampleRateDidChange(KaCoreAudioDevice& device) override { add("rate", device); }
    void audioDeviceBufferSizeInFramesDidChange(KaCoreAudioDevice& device) override { add("size", device); }

    void add(const std::string& what, const KaCoreAudioDevice& device) {
        heard.push_back(what + " of " + std::to_string(device.deviceID()));
    }
    Lines heard;
    bool hasDeprecatedMethod = false;
};

class KaCoreAudioNotificationTest : public testing::Test {
protected:
    KaCoreAudioNotificationTest() {
        everything = center.observe("", [this](const Notification& heard) { notifications.push_back(heard); });
        system->attachNotificationsToThisThread(loop, center, log);
    }

    CrankedHardware hardware;
    PostedCalls loop;
    NotificationCenter center;
    NotificationCenter::Observation everything;
    std::vector<Notification> notifications;
    LinesOfLog log;
    std::unique_ptr<KaCoreAudioSystem> system = std::make_unique<KaCoreAudioSystem>(hardware);
};
} // namespace

TEST_F(KaCoreAudioNotificationTest, postsAChangeOfTheDeviceList_fromTheLoopOnly) {
    std::thread([this] { hardware.tell({Kind::deviceListChanged, 0, 0, ""}); }).join();
    EXPECT_TRUE(notifications.empty());
    EXPECT_EQ(loop.run(), 1);
    ASSERT_EQ(notifications.size(), 1U);
    EXPECT_EQ(notifications[0].name, "KaCoreAudioHardwareDeviceListDidChangeNotification");
    EXPECT_TRUE(notifications[0].userInfo.empty());
}

TEST_F(KaCoreAudioNotificationTest, postsAChangeOfTheDefaultDevices) {
    hardware.tell({Kind::defaultInputChanged, 7, 0, ""});
    hardware.tell({Kind::defaultOutputChanged, 0, 0, ""});
    loop.run();
    Lines names;
    for (const Notification& heard : notifications)
        names.push_back(heard.name);
    EXPECT_EQ(names, (Lines{"KaCoreAudioHardwareDefaultInputDeviceDidChangeNotification",
                            "KaCoreAudioHardwareDefaultOutputDeviceDidChangeNotification",
                            "KaCoreAudioHardwareDefaultSystemOutputDeviceDidChangeNotification"}));
}

TEST_F(KaCoreAudioNotificationTest, tellsTheDelegateOfAStream_whenItsFormatChanges) {
    struct StreamDelegate final : KaCoreAudioStreamDelegate {
        void audioStreamStreamDescriptionDidChange(AudioStreamID stream) override { heard.push_back(stream); }
        std::vector<AudioStreamID> heard;
    } delegate;
    hardware.table[7].channels[input] = {2};
    hardware.table[7].channels[output] = {2};
    hardware.table[8].channels[input] = {2};
    KaCoreAudioDevice seven(*system, 7);
    KaCoreAudioDevice eight(*system, 8);
    KaCoreAudioStream& stream = seven.streamsForDirection(input)[0];
    stream.setDelegate(&delegate);
    KaCoreAudioDevice(*system, 7).setNominalSampleRate(48000.0);
    eight.setNominalSampleRate(48000.0);
    loop.run();
    EXPECT_EQ(delegate.heard, std::vector<AudioStreamID>{stream.streamID()});
    const auto posted = std::ranges::find(notifications, "_KaCoreAudioStreamNotification", &Notification::name);
    ASSERT_NE(posted, notifications.end());
    EXPECT_EQ(posted->userInfo, (UserInfo{{"StreamID", "700"}, {"Channel", "0"}, {"PropertyID", "sfmt"}}));
    stream.setDelegate(nullptr);
    seven.setNominalSampleRate(44100.0);
    loop.run();
    EXPECT_EQ(delegate.heard.size(), 1U);
}

TEST_F(KaCoreAudioNotificationTest, postsADevicesChangeWithItsProperty) {
    hardware.tell({Kind::deviceDied, 7, 0, "unplugged"});
    hardware.tell({Kind::deviceReturned, 7, 0, ""});
    hardware.tell({Kind::hole, 8, 512, ""});
    loop.run();
    ASSERT_EQ(notifications.size(), 3U);
    for (const Notification& heard : notifications)
        EXPECT_EQ(heard.name, "_KaCoreAudioDeviceNotification");
    const UserInfo alive{{"DeviceID", "7"}, {"Channel", "0"}, {"Direction", "0"}, {"PropertyID", "livn"}};
    EXPECT_EQ(notifications[0].userInfo, alive);
    EXPECT_EQ(notifications[1].userInfo, alive);
    const UserInfo overload{{"DeviceID", "8"}, {"Channel", "0"}, {"Direction", "1"}, {"PropertyID", "over"}};
    EXPECT_EQ(notifications[2].userInfo, overload);
}

TEST_F(KaCoreAudioNotificationTest, leavesTheServersComingAndGoingToTheHandler) {
    unsigned heard = 0;
    system->setEventHandler([&](const AudioHardwareEvent&) { ++heard; });
    hardware.tell({Kind::serverLost, 0, 0, ""});
    hardware.tell({Kind::serverReturned, 0, 0, ""});
    EXPECT_EQ(loop.run(), 0);
    EXPECT_EQ(heard, 2U);
}

TEST_F(KaCoreAudioNotificationTest, tellsTheDelegatesOfThatDeviceOnly) {
    Delegate delegate;
    KaCoreAudioDevice seven(*system, 7);
    KaCoreAudioDevice eight(*system, 8);
    seven.setDelegate(&delegate);
    eight.setDelegate(&delegate);
    hardware.tell({Kind::deviceDied, 7, 0, ""});
    hardware.tell({Kind::hole, 8, 512, ""});
    hardware.tell({Kind::hole, 9, 512, ""});
    loop.run();
    EXPECT_EQ(delegate.heard, (Lines{"alive of 7", "overload of 8"}));
}

TEST_F(KaCoreAudioNotificationTest, tellsEveryObjectOfADevice_whatOneOfThemSet) {
    hardware.table[7].sources[input] = {{1, "Line In"}, {2, "Digital In"}};
    hardware.table[7].sources[output] = {{3, "Headphones"}};
    Delegate delegate;
    KaCoreAudioDevice setter(*system, 7);
    KaCoreAudioDevice other(*system, 7);
    other.setDelegate(&delegate);
    setter.setDataSource("Digital In", input);
    setter.setDataSource("Headphones", output);
    setter.setDataSource("Bluetooth", output);
    setter.setNominalSampleRate(48000.0);
    setter.setDeviceBufferSizeInFrames(256);
    loop.run();
    EXPECT_EQ(delegate.heard, (Lines{"input source of 7", "output source of 7", "rate of 7", "size of 7"}));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(KaCoreAudioNotificationTest, tellsNoOne_onceTheDelegateIsGone) {
    Delegate delegate;
    KaCoreAudioDevice device(*system, 7);
    device.setDelegate(&delegate);
    device.setDelegate(nullptr);
    {
        KaCoreAudioDevice brief(*system, 7);
        brief.setDelegate(&delegate);
        hardware.tell({Kind::deviceDied, 7, 0, ""});
    }
    loop.run();
    EXPECT_TRUE(delegate.heard.empty());
    EXPECT_EQ(notifications.size(), 1U);
}

TEST_F(KaCoreAudioNotificationTest, postsNothingMore_onceTheSystemIsGone) {
    hardware.tell({Kind::deviceListChanged, 0, 0, ""});
    system.reset();
    EXPECT_EQ(loop.run(), 1);
    EXPECT_TRUE(notifications.empty());
}

TEST_F(KaCoreAudioNotificationTest, postsNothing_whereNothingIsAttached) {
    KaCoreAudioSystem alone(hardware);
    Delegate delegate;
    KaCoreAudioDevice device(alone, 7);
    device.setDelegate(&delegate);
    hardware.tell({Kind::deviceDied, 7, 0, ""});
    device.setNominalSampleRate(48000.0);
    EXPECT_EQ(loop.run(), 0);
    EXPECT_TRUE(delegate.heard.empty());
    EXPECT_EQ(alone.notifications(), nullptr);
    EXPECT_EQ(alone.log(), nullptr);
}

TEST_F(KaCoreAudioNotificationTest, readsTheStreamsAgain_whenADeviceIsBack) {
    hardware.table[7].channels[input] = {2};
    Delegate delegate;
    KaCoreAudioDevice device(*system, 7);
    device.setDelegate(&delegate);
    EXPECT_EQ(device.streamsForDirection(input).size(), 1U);
    hardware.table[7].channels[input] = {2, 2};
    EXPECT_EQ(device.streamsForDirection(input).size(), 1U);
    hardware.tell({Kind::deviceReturned, 7, 0, ""});
    loop.run();
    EXPECT_EQ(device.streamsForDirection(input).size(), 2U);
}

TEST_F(KaCoreAudioNotificationTest, logsTheDeprecatedDelegateMethod) {
    hardware.table[7].sources[input] = {{1, "Line In"}};
    Delegate delegate;
    delegate.hasDeprecatedMethod = true;
    KaCoreAudioDevice device(*system, 7);
    device.setDelegate(&delegate);
    device.setDataSource("Line In", input);
    loop.run();
    EXPECT_EQ(delegate.heard, (Lines{"input source of 7", "source of channel 0 of 7"}));
    EXPECT_EQ(log.lines,
              (Lines{"KaCoreAudio: delegate method -audioDeviceSourceDidChange:forChannel:forDirection: is "
                     "deprecated, use audioDeviceSourceDidChange:forDirection:"}));
}

TEST_F(KaCoreAudioNotificationTest, logsDeprecatedCalls_andDoesWhatTheyAsk) {
    hardware.table[7].sources[input] = {{1, "Line In"}, {2, "Digital In"}};
    hardware.table[7].source[input] = 1;
    KaCoreAudioDevice device(*system, 7);
    EXPECT_EQ(device.dataSourceForChannel(3, input, log), "Line In");
    EXPECT_EQ(device.dataSourcesForChannel(3, input, log), (Lines{"Line In", "Digital In"}));
    device.setDataSource("Digital In", 3, input, log);
    EXPECT_EQ(device.dataSourceForDirection(input), "Digital In");
    EXPECT_EQ(device.dataSourceForDirection(output), "");
    EXPECT_EQ(log.lines,
              (Lines{"-[KaCoreAudioDevice dataSourceForChannel:forDirection:] is deprecated, use "
                     "-dataSourceForDirection:]",
                     "-[KaCoreAudioDevice dataSourcesForChannel:forDirection:] is deprecated, use "
                     "-dataSourcesForDirection:]",
                     "-[KaCoreAudioDevice setDataSource:forChannel:forDirection:] is deprecated, use "
                     "-setDataSource:forDirection:]"}));
}
