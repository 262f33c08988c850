// audio/CrankedHardware.h — devices whose cycles a test turns by hand.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "base/Realtime.h"

#include <algorithm>
#include <map>
#include <mutex>

/// Every property is a public field; every I/O call is noted. A cycle runs on the thread that calls `cycle`.
class CrankedHardware final : public AudioHardware {
public:
    struct Device {
        std::string name;
        std::string uid;
        std::map<AudioDirection, std::vector<std::uint32_t>> channels; // of each stream
        std::map<AudioDirection, std::vector<AudioDataSource>> sources;
        std::map<AudioDirection, std::uint32_t> source;
        std::map<AudioDirection, AudioValueRange> bufferRange;
        std::vector<AudioValueRange> rates;
        double rate = 44100.0;
        std::uint32_t bufferFrames = 512;
        AudioStreamBasicDescription format;
        AudioStreamBasicDescription physicalFormat;
    };

    std::map<AudioDeviceID, Device> table;
    std::vector<AudioDeviceID> order;
    std::map<AudioDirection, AudioDeviceID> defaults;
    std::vector<std::string> ioCalls;
    OSStatus addStatus = 0;
    OSStatus startStatus = 0;

    std::vector<AudioDeviceID> devices() override { return order; }
    AudioDeviceID defaultDevice(AudioDirection direction) override { return defaults[direction]; }
    std::string deviceName(AudioDeviceID device) override { return table[device].name; }
    std::string deviceUID(AudioDeviceID device) override { return table[device].uid; }
    std::vector<AudioStreamID> streams(AudioDeviceID device, AudioDirection direction) override {
        std::vector<AudioStreamID> found;
        for (std::size_t i = 0; i < table[device].channels[direction].size(); ++i)
            found.push_back(device * 100 + static_cast<AudioStreamID>(direction) * 10 +
                            static_cast<AudioStreamID>(i));
        return found;
    }
    std::vector<std::uint32_t> streamConfiguration(AudioDeviceID device, AudioDirection direction) override {
        return table[device].channels[direction];
    }
    AudioStreamBasicDescription streamFormat(AudioStreamID stream, unsigned side) override {
        const Device& device = table[stream / 100];
        return side == 1 ? device.physicalFormat : device.format;
    }
    std::vector<AudioDataSource> dataSources(AudioDeviceID device, AudioDirection direction) override {
        return table[device].sources[direction];
    }
    std::uint32_t dataSource(AudioDeviceID device, AudioDirection direction) override {
        return table[device].source[direction];
    }
    bool setDataSource(AudioDeviceID device, AudioDirection direction, std::uint32_t source) override {
        table[device].source[direction] = source;
        return true;
    }
    double nominalSampleRate(AudioDeviceID device) override { return table[device].rate; }
    bool setNominalSampleRate(AudioDeviceID device, double rate) override {
        table[device].rate = rate;
        return true;
    }
    std::vector<AudioValueRange> availableNominalSampleRates(AudioDeviceID device) override {
        return table[device].rates;
    }
    AudioValueRange bufferFrameSizeRange(AudioDeviceID device, AudioDirection direction) override {
        return table[device].bufferRange[direction];
    }
    std::uint32_t bufferFrameSize(AudioDeviceID device) override { return table[device].bufferFrames; }
    bool setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) override {
        table[device].bufferFrames = frames;
        return true;
    }
    std::uint32_t maxVariableBufferFrameSize(AudioDeviceID device) override {
        return table[device].bufferFrames;
    }

    OSStatus addIOProc(AudioDeviceID, AudioDeviceIOProc proc, void* clientData) override {
        const std::lock_guard guard(m_mutex);
        ioCalls.emplace_back("add");
        if (addStatus == 0) {
            m_proc = proc;
            m_clientData = clientData;
        }
        return addStatus;
    }
    OSStatus startIOProc(AudioDeviceID, AudioDeviceIOProc) override {
        const std::lock_guard guard(m_mutex);
        ioCalls.emplace_back("start");
        m_started = startStatus == 0;
        return startStatus;
    }
    OSStatus stopIOProc(AudioDeviceID, AudioDeviceIOProc) override {
        const std::lock_guard guard(m_mutex);
        ioCalls.emplace_back("stop");
        m_started = false;
        return 0;
    }
    OSStatus removeIOProc(AudioDeviceID, AudioDeviceIOProc) override {
        const std::lock_guard guard(m_mutex);
        ioCalls.emplace_back("remove");
        m_proc = nullptr;
        return 0;
    }
    void setLatencyNeed(AudioDeviceID, AudioLatencyNeed) override {}
    void setListener(std::function<void(const AudioHardwareEvent&)> listener) override {
        const std::lock_guard guard(m_listenerMutex);
        m_listener = std::move(listener);
    }
    std::uint64_t holeFrames(AudioDeviceID) override { return 0; }

    /// Has the listener hear of `event`; whether there is one.
    bool tell(const AudioHardwareEvent& event) {
        const std::lock_guard guard(m_listenerMutex);
        if (m_listener)
            m_listener(event);
        return m_listener != nullptr;
    }

    /// Runs one cycle of `device` if a procedure is started, and returns whether it was.
    bool cycle(AudioDeviceID device, const AudioBufferList* input, AudioBufferList* output) {
        const std::lock_guard guard(m_mutex);
        if (!m_started || m_proc == nullptr)
            return false;
        const RealtimeScope scope;
        lastResult = m_proc(device, &now, input, &inputTime, output, &outputTime, m_clientData);
        return true;
    }

    AudioTimeStamp now;
    AudioTimeStamp inputTime;
    AudioTimeStamp outputTime;
    OSStatus lastResult = -1;

private:
    std::mutex m_listenerMutex; // the end of a listener waits for its call in progress
    std::function<void(const AudioHardwareEvent&)> m_listener;
    std::mutex m_mutex; // a stop waits for the cycle in progress
    AudioDeviceIOProc m_proc = nullptr;
    void* m_clientData = nullptr;
    bool m_started = false;
};

/// A list and the samples behind it, all of one value at first.
struct TestList {
    /// One buffer for each element of `channels`.
    TestList(std::vector<std::uint32_t> channels, std::uint32_t frames, float value = 0.0F) {
        for (const std::uint32_t width : channels)
            samples.emplace_back(std::size_t{width} * frames, value);
        for (std::size_t i = 0; i < channels.size(); ++i)
            buffers.push_back(
                {channels[i], static_cast<std::uint32_t>(samples[i].size() * 4), samples[i].data()});
        list = {static_cast<std::uint32_t>(buffers.size()), buffers.data()};
    }
    TestList(const TestList&) = delete;
    TestList& operator=(const TestList&) = delete;

    std::uint32_t frames() const {
        return static_cast<std::uint32_t>(samples[0].size()) / buffers[0].mNumberChannels;
    }
    /// The samples of one channel of an interleaved list.
    std::vector<float> channel(std::uint32_t index) const {
        std::vector<float> found;
        for (std::size_t i = index; i < samples[0].size(); i += buffers[0].mNumberChannels)
            found.push_back(samples[0][i]);
        return found;
    }

    std::vector<std::vector<float>> samples;
    std::vector<AudioBuffer> buffers;
    AudioBufferList list;
};
