#include "recorder/VmLevelMeter.h"

#include "app/VmControler.h"
#include "audio/KaCoreAudioDevice.h"
#include "base/UserDefaults.h"
#include "recorder/VmRecorder.h"

#include <algorithm>
#include <cmath>

VmLevelMeter::VmLevelMeter(VmControler& controler) : m_controler(controler) {
    setPeekHoldTime(controler.seams().defaults.doubleForKey("PeekLevelHoldTime"));
}

VmLevelMeter::~VmLevelMeter() = default;

void VmLevelMeter::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault("PeekLevelHoldTime", 1.0);
}

void VmLevelMeter::saveUserDefaults() {
    m_controler.seams().defaults.set("PeekLevelHoldTime", m_peekHoldTime);
}

void VmLevelMeter::setLevelIOTargetWithDevice(KaCoreAudioDevice& device) {
    const unsigned channels = std::max(1U, device.channelsForDirection(AudioDirection::input));
    m_frames = 0;
    m_buffer = std::vector<std::atomic<float>>(std::size_t{device.deviceMaxBufferSizeInFrames()} * channels);
    initLEDDisplay();
    device.setIOTarget(*this, &VmLevelMeter::levelInputIOForDevice, nullptr);
}

void VmLevelMeter::initLEDDisplay() {
    m_timer.reset();
    m_lastNum = m_maxNum = m_maxCount = 0;
    m_level = 0;
    m_counter = 0;
    for (int index = 0; index < LampColumn::count; ++index)
        m_lamps.setLit(index, false);
    m_timer =
        m_controler.seams().runLoop.schedule({.interval = tick, .repeats = true}, [this] { execLevelMeter(); });
}

void VmLevelMeter::renewLEDDisplay() {
    m_lamps.redraw();
}

OSStatus VmLevelMeter::levelInputIOForDevice(KaCoreAudioDevice&, const AudioTimeStamp*,
                                             const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                                             AudioBufferList*, const AudioTimeStamp*, void*) noexcept {
    if (inputData == nullptr || inputData->mNumberBuffers == 0 || ++m_counter <= 7)
        return audioHardwareNoError;
    m_counter = 0;
    const AudioBuffer& input = inputData->mBuffers[0];
    const auto* samples = static_cast<const float*>(input.mData);
    const auto count =
        static_cast<unsigned>(std::min<std::size_t>(input.mDataByteSize / sizeof(float), m_buffer.size()));
    for (unsigned i = 0; i < count; ++i)
        m_buffer[i].store(samples[i], std::memory_order_relaxed);
    m_frames.store(count, std::memory_order_release);
    noteCrossing(inputTime == nullptr ? 0 : inputTime->mHostTime);
    return audioHardwareNoError;
}

void VmLevelMeter::noteCrossing(HostTime captured) noexcept {
    const bool over = levelOfSnapshot() >= m_watched.load(std::memory_order_relaxed);
    if (over != m_wasOver)
        m_crossed.store(true, std::memory_order_release);
    HostTime none = 0;
    if (over && !m_wasOver)
        m_risen.compare_exchange_strong(none, captured, std::memory_order_release, std::memory_order_relaxed);
    m_wasOver = over;
}

int VmLevelMeter::levelOfSnapshot() const noexcept {
    const unsigned count = m_frames.load(std::memory_order_acquire) / 8;
    float peak = 0.0F;
    for (unsigned i = 0; i < count; ++i)
        peak = std::max(peak, m_buffer[std::size_t{i} * 8].load(std::memory_order_relaxed));
    return static_cast<int>(std::min(std::log10(static_cast<double>(peak) * 100.0 + 1.0) * 10.0, 400.0));
}

void VmLevelMeter::execLevelMeter() {
    m_timer.reset();
    levelAnalyzer();
    // What the analysis set off may have started the meter anew.
    if (m_timer == nullptr)
        m_timer = m_controler.seams().runLoop.schedule(
            {.interval = m_controler.recorder().tickMatters() ? tick : restingTick},
            [this] { execLevelMeter(); });
}

void VmLevelMeter::lookSoon() {
    m_timer = m_controler.seams().runLoop.schedule({.interval = tick}, [this] { execLevelMeter(); });
}

void VmLevelMeter::levelCrossed() {
    if (!m_controler.recorder().tickMatters())
        execLevelMeter();
}

void VmLevelMeter::levelAnalyzer() {
    m_level = levelOfSnapshot();
    m_controler.recorder().controlAutoDelay();
    dispLevel(level());
}

void VmLevelMeter::dispLevel(int level) {
    const int target = std::min(level, LampColumn::count);
    if (target > m_lastNum)
        m_lamps.setLit(m_lastNum++, true);
    else if (target < m_lastNum)
        m_lamps.setLit(--m_lastNum, false);

    bool reload = false;
    if (m_lastNum <= m_maxNum) {
        if (--m_maxCount <= 0) {
            if (m_maxNum > 0)
                m_lamps.setLit(m_maxNum - 1, false);
            m_maxNum = m_lastNum;
            reload = target != 0;
        }
    } else {
        m_maxNum = m_lastNum;
        reload = true;
    }
    if (reload)
        m_maxCount = static_cast<int>(m_peekHoldTime / tick);
    if (m_maxNum > 0)
        m_lamps.setLit(m_maxNum - 1, true);
}
