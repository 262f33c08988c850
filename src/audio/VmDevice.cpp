#include "audio/VmDevice.h"

#include "app/VmControler.h"
#include "audio/KaAudioBuffer.h"
#include "audio/KaAudioBufferList.h"
#include "audio/KaConversionBuffer.h"
#include "audio/KaCoreAudioDevice.h"
#include "base/Alert.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "library/VmPlayer.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserveList.h"

#include <algorithm>

void VmDevice::BufferListDisposal::operator()(AudioBufferList* list) const {
    KaAudioBufferListDispose(list);
}

VmDevice::VmDevice(VmControler& controler) : m_controler(controler), m_system(controler.seams().hardware) {}

VmDevice::~VmDevice() {
    m_system.setEventHandler({});
    stopDevices();
}

void VmDevice::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault("recordSourceDevice", 0);
    defaults.registerDefault("PlaybackSourceDevice", 0);
    defaults.registerDefault("MonitorSourceDevice", 0);
    defaults.registerDefault("UseHightQualitySampling", false);
}

void VmDevice::hearHardware() {
    m_system.setEventHandler([this, alive = std::weak_ptr<bool>(m_alive)](const AudioHardwareEvent& event) {
        using Kind = AudioHardwareEvent::Kind;
        if (event.kind == Kind::delivered && !m_controler.meter().takeCrossing())
            return;
        // Where the sound ended is known now; the main thread may be busy for a while.
        const bool isLoss = event.kind == Kind::deviceDied || event.kind == Kind::serverLost;
        const InputLoss loss = isLoss ? m_controler.recorder().inputLossNow() : InputLoss{};
        m_controler.seams().runLoop.post([this, alive, event, isLoss, loss] {
            if (alive.expired())
                return;
            if (isLoss && concerns(m_record, event))
                m_controler.recorder().recordInputLost(loss);
            hardwareEvent(event);
        });
    });
}

void VmDevice::awake() {
    const UserDefaults& defaults = m_controler.seams().defaults;
    m_awakeError = false;
    m_record.source = defaults.integerForKey("recordSourceDevice");
    m_play.source = defaults.integerForKey("PlaybackSourceDevice");
    m_monitor.source = defaults.integerForKey("MonitorSourceDevice");
    m_useHighQuality = defaults.boolForKey("UseHightQualitySampling");
    initRecordDevice();
    initPlayDevice();
    initMonitorDevice();
    newMonitorConverter();
    hearHardware();
}

void VmDevice::initRecordDevice() {
    m_record.source = checkRecordSource(m_record.source);
    if (m_record.source < 0)
        noRecordDeviceAlert();
    else
        renewRecordSource();
}

void VmDevice::initPlayDevice() {
    m_play.source = checkPlaySource(m_play.source);
    if (m_play.source < 0)
        noPlayDeviceAlert();
    else
        renewPlaySource();
}

void VmDevice::initMonitorDevice() {
    m_monitor.source = checkPlaySource(m_monitor.source);
    if (m_monitor.source < 0)
        noPlayDeviceAlert();
    else
        renewMonitorSource();
}

void VmDevice::saveUserDefaults() {
    m_controler.seams().defaults.synchronize();
}

// --- selection -----------------------------------------------------------------------------------------------

void VmDevice::setRecordSource(int index) {
    m_controler.recorder().recordSourceWillChange();
    m_record.source = index;
    renewRecordSource();
    m_controler.recorder().recordSourceChanged(); // makes the queue that the first cycle needs
    recordDeviceStart();
    newMonitorConverter();
}

void VmDevice::setPlaySource(int index) {
    m_play.source = index;
    renewPlaySource();
    m_controler.player().playSourceChanged();
}

void VmDevice::setMonitorSource(int index) {
    m_monitor.source = index;
    renewMonitorSource();
    m_controler.recorder().monitorSourceChanged();
    newMonitorConverter();
}

void VmDevice::changeRecordSource(int index) {
    m_controler.seams().defaults.set("recordSourceDevice", index);
    m_controler.seams().defaults.synchronize();
    setRecordSource(index);
}

void VmDevice::changePlaySource(int index) {
    m_controler.seams().defaults.set("PlaybackSourceDevice", index);
    m_controler.seams().defaults.synchronize();
    setPlaySource(index);
}

void VmDevice::changeMonitorSource(int index) {
    m_controler.seams().defaults.set("MonitorSourceDevice", index);
    m_controler.seams().defaults.synchronize();
    setMonitorSource(index);
}

void VmDevice::setUseHighQuality(bool useHighQuality) {
    m_useHighQuality = useHighQuality;
    m_controler.seams().defaults.set("UseHightQualitySampling", useHighQuality);
    m_controler.seams().defaults.synchronize();
}

void VmDevice::recordDeviceStart() {
    if (m_record.device == nullptr)
        return;
    m_record.device->deviceStart();
    m_levelDevice->deviceStart();
    m_controler.seams().hardware.setLatencyNeed(m_record.device->deviceID(), m_latencyNeed);
}

void VmDevice::stopDevices() {
    m_record.device.reset();
    m_levelDevice.reset();
    m_monitor.device.reset();
    m_play.device.reset();
}

bool VmDevice::playDevicePause(bool pause) {
    if (m_play.device == nullptr)
        return pause;
    if (!pause && !m_play.device->deviceStart())
        return false;
    m_play.device->setDevicePaused(pause);
    if (pause)
        m_play.device->deviceStop();
    return true;
}

bool VmDevice::securePlayDevice() {
    if (m_play.device == nullptr || !followList(m_play, AudioDirection::output))
        setPlaySource(m_play.source);
    if (m_play.device != nullptr)
        return true;
    noPlayDeviceAlert();
    return false;
}

void VmDevice::monitorDevicePaused(bool paused) {
    m_monitorPaused = paused;
    if (m_monitor.device == nullptr)
        return;
    if (!paused)
        m_monitor.device->deviceStart();
    m_monitor.device->setDevicePaused(paused);
    if (paused)
        m_monitor.device->deviceStop();
}

void VmDevice::setLatencyNeed(AudioLatencyNeed need) {
    if (m_latencyNeed == need)
        return;
    m_latencyNeed = need;
    if (m_record.device != nullptr)
        m_controler.seams().hardware.setLatencyNeed(m_record.device->deviceID(), need);
}

// --- paths ---------------------------------------------------------------------------------------------------

bool VmDevice::findSource(Path& path, AudioDirection direction, const char* missing) {
    path.device.reset();
    const auto all = sources(direction);
    const int count = static_cast<int>(all.size());
    path.source = count == 0 ? -1 : path.source >= 0 && path.source < count ? path.source : 0;
    if (path.source < 0) {
        m_controler.seams().log.log(missing);
        return false;
    }
    path.chosen = all[static_cast<std::size_t>(path.source)];
    return true;
}

bool VmDevice::followList(Path& path, AudioDirection direction) const {
    const auto all = sources(direction);
    const auto same = std::find_if(all.begin(), all.end(), [&path](const AudioSource& other) {
        return other.device == path.chosen.device && other.name == path.chosen.name;
    });
    if (same == all.end())
        return false;
    path.source = static_cast<int>(same - all.begin());
    return true;
}

void VmDevice::setUp(Path& path, KaCoreAudioDevice& device, AudioDirection direction) const {
    device.setDataSource(path.chosen.name, direction);
    path.sampleRate = sampleRateOfDevice(device);
    device.setNominalSampleRate(path.sampleRate);
    device.setDeviceBufferSizeInFrames(bufferSizeOfDevice(device));
    // What the device really took: buffers of any other size would lose frames.
    path.bufferSize = static_cast<int>(device.deviceBufferSizeInFrames());
    path.channels = static_cast<int>(device.channelsForDirection(direction));
}

bool VmDevice::dropIfUnusable(Path& path) {
    if (path.sampleRate > 0.0 && path.bufferSize > 0 && path.channels > 0)
        return false;
    // It is found again when the list changes.
    path.device.reset();
    path.source = -1;
    return true;
}

void VmDevice::renewRecordSource() {
    m_levelDevice.reset();
    if (!findSource(m_record, AudioDirection::input, "No recording source is exist."))
        return;
    const AudioDeviceID device = m_record.chosen.device;
    m_record.device = std::make_unique<KaCoreAudioDevice>(m_system, device);
    m_levelDevice = std::make_unique<KaCoreAudioDevice>(m_system, device);
    m_controler.recorder().setRecordIOTargetWithDevice(*m_record.device);
    m_controler.meter().setLevelIOTargetWithDevice(*m_levelDevice);
    setUp(m_record, *m_levelDevice, AudioDirection::input);
    setUp(m_record, *m_record.device, AudioDirection::input);
    if (dropIfUnusable(m_record)) {
        m_levelDevice.reset();
        reportMissing("VmRecorder: no sound data input device.");
        return;
    }
    const auto frames = static_cast<unsigned>(m_record.bufferSize);
    m_recordBuffer = KaAudioBuffer::initWithCapacityFrames(frames, static_cast<unsigned>(m_record.channels));
    m_convertBuffer.reset(KaAudioBufferListNew(2, frames, true));
    m_controler.recorder().renewDispSampleRate();
}

void VmDevice::renewPlaySource() {
    if (!findSource(m_play, AudioDirection::output, "No playback device is exist."))
        return;
    m_play.device = std::make_unique<KaCoreAudioDevice>(m_system, m_play.chosen.device);
    m_controler.player().setPlayIOTargetWithDevice(*m_play.device);
    setUp(m_play, *m_play.device, AudioDirection::output);
    if (dropIfUnusable(m_play))
        noPlayDeviceAlert();
    else
        playDevicePause(true);
}

void VmDevice::renewMonitorSource() {
    if (!findSource(m_monitor, AudioDirection::output, "No monitoring device is exist."))
        return;
    m_monitor.device = std::make_unique<KaCoreAudioDevice>(m_system, m_monitor.chosen.device);
    m_controler.recorder().setMonitorIOTargetWithDevice(*m_monitor.device);
    setUp(m_monitor, *m_monitor.device, AudioDirection::output);
    if (dropIfUnusable(m_monitor)) {
        noPlayDeviceAlert();
        return;
    }
    const auto frames = static_cast<unsigned>(m_monitor.bufferSize);
    m_monitorBuffer = KaAudioBuffer::initWithCapacityFrames(frames, static_cast<unsigned>(m_monitor.channels));
    m_monitorConvertBuffer.reset(KaAudioBufferListNew(2, frames, true));
    monitorDevicePaused(true);
}

void VmDevice::newMonitorConverter() {
    std::unique_ptr<KaConversionBuffer> fresh;
    if (m_record.device != nullptr && m_monitor.device != nullptr)
        fresh = KaConversionBuffer::initWithSourceDevice(*m_record.device, *m_monitor.device);
    m_converterInUse.store(fresh.get(), std::memory_order_release);
    awaitCycleEnds();
    m_monitorConverter = std::move(fresh);
}

void VmDevice::awaitCycleEnds() {
    // A pause waits for the cycle in progress. The meter and a monitor that is about to be fed anew can spare a
    // cycle; the recording cannot.
    if (m_levelDevice != nullptr) {
        m_levelDevice->setDevicePaused(true);
        m_levelDevice->setDevicePaused(false);
    }
    if (m_monitor.device != nullptr) {
        m_monitor.device->setDevicePaused(true);
        m_monitor.device->setDevicePaused(m_monitorPaused);
    }
}

// --- faults --------------------------------------------------------------------------------------------------

void VmDevice::reportMissing(const char* text) {
    m_controler.seams().log.log(text);
    m_controler.seams().notifications.postLogEvent("SomeErrorHappen", text);
}

void VmDevice::noRecordDeviceAlert() {
    m_controler.seams().alert.ask({"NoRecordSource", "RecheckDevice", "Understand"});
    reportMissing("VmRecorder: no sound data input device.");
    m_awakeError = true;
}

void VmDevice::noPlayDeviceAlert() {
    // Recording needs no output, and nobody may be there to answer: the start goes on behind the alert.
    m_controler.seams().alert.tell({"NoPlaybackSource", "UnablePlayback", "Understand"});
    reportMissing("VmRecorder: no sound data output device.");
}

bool VmDevice::concerns(const Path& path, const AudioHardwareEvent& event) const {
    return path.device != nullptr && (event.device == 0 || event.device == path.device->deviceID());
}

void VmDevice::hardwareEvent(const AudioHardwareEvent& event) {
    VmRecorder& recorder = m_controler.recorder();
    switch (event.kind) {
    case AudioHardwareEvent::Kind::deviceDied:
    case AudioHardwareEvent::Kind::serverLost:
        if (concerns(m_monitor, event))
            recorder.monitorOutputLost();
        if (concerns(m_play, event))
            m_controler.player().playOutputLost();
        break;
    case AudioHardwareEvent::Kind::hole:
        if (concerns(m_record, event))
            recorder.recordInputHole(event.frames);
        break;
    case AudioHardwareEvent::Kind::delivered:
        m_controler.meter().levelCrossed();
        break;
    case AudioHardwareEvent::Kind::defaultInputChanged:
    case AudioHardwareEvent::Kind::defaultOutputChanged:
        break; // a person's choice is a device of its own
    case AudioHardwareEvent::Kind::deviceListChanged:
    case AudioHardwareEvent::Kind::serverReturned:
    case AudioHardwareEvent::Kind::deviceReturned: // the recorder sees it by the sound that comes
        deviceListChanged();
        break;
    }
}

void VmDevice::deviceListChanged() {
    if (m_record.source < 0) {
        followList(m_record, AudioDirection::input);
        if (recordSourceCount() > 0)
            setRecordSource(std::max(m_record.source, 0));
    } else {
        followList(m_record, AudioDirection::input);
        m_controler.recorder().recordSourceListChanged();
    }
    if (m_monitor.device == nullptr && playSourceCount() > 0) {
        m_monitor.source = 0;
        followList(m_monitor, AudioDirection::output);
        setMonitorSource(m_monitor.source);
    } else {
        followList(m_monitor, AudioDirection::output);
        if (!m_monitorPaused)
            monitorDevicePaused(false); // a device whose start failed gets another try
    }
    if (m_monitorConverter == nullptr)
        newMonitorConverter();
    if (m_play.device != nullptr)
        followList(m_play, AudioDirection::output);
    else if (playSourceCount() > 0)
        setPlaySource(checkPlaySource(m_controler.seams().defaults.integerForKey("PlaybackSourceDevice")));
    m_controler.reservelist().sourcesChanged(); // an entry's own input may be back
}
