#include "audio/VmDevice.h"

#include "app/VmControler.h"
#include "audio/KaAudioBuffer.h"
#include "audio/KaAudioBufferList.h"
#include "audio/KaCoreAudioDevice.h"
#include "base/Alert.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"

void VmDevice::BufferListDisposal::operator()(AudioBufferList* list) const {
    KaAudioBufferListDispose(list);
}

VmDevice::VmDevice(VmControler& controler) : m_controler(controler), m_system(controler.seams().hardware) {}

VmDevice::~VmDevice() {
    recordDeviceStop();
}

void VmDevice::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault("recordSourceDevice", 0);
    defaults.registerDefault("PlaybackSourceDevice", 0);
    defaults.registerDefault("MonitorSourceDevice", 0);
    defaults.registerDefault("UseHightQualitySampling", false);
}

void VmDevice::awake() {
    m_awakeError = false;
    m_recordSource = m_controler.seams().defaults.integerForKey("recordSourceDevice");
    m_useHighQuality = m_controler.seams().defaults.boolForKey("UseHightQualitySampling");
    initRecordDevice();
}

void VmDevice::saveUserDefaults() {
    m_controler.seams().defaults.synchronize();
}

// --- selection -----------------------------------------------------------------------------------------------

void VmDevice::initRecordDevice() {
    if (checkRecordSource(m_recordSource) < 0) {
        m_recordSource = -1;
        noRecordDeviceAlert();
        return;
    }
    renewRecordSource();
}

void VmDevice::setRecordSource(int index) {
    m_recordSource = index;
    renewRecordSource();
    m_controler.recorder().recordSourceChanged();
    recordDeviceStart();
}

void VmDevice::changeRecordSource(int index) {
    m_controler.seams().defaults.set("recordSourceDevice", index);
    m_controler.seams().defaults.synchronize();
    setRecordSource(index);
}

void VmDevice::setUseHighQuality(bool useHighQuality) {
    m_useHighQuality = useHighQuality;
    m_controler.seams().defaults.set("UseHightQualitySampling", useHighQuality);
    m_controler.seams().defaults.synchronize();
}

void VmDevice::recordDeviceStart() {
    if (m_recordDevice == nullptr || m_levelDevice == nullptr)
        return;
    m_recordDevice->deviceStart();
    m_levelDevice->deviceStart();
}

void VmDevice::recordDeviceStop() {
    m_recordDevice.reset();
    m_levelDevice.reset();
}

void VmDevice::renewRecordSource() {
    recordDeviceStop();
    m_recordSource = checkRecordSource(m_recordSource);
    if (m_recordSource < 0) {
        m_controler.seams().log.log("No recording source is exist.");
        return;
    }
    const AudioSource source = recordSources()[static_cast<std::size_t>(m_recordSource)];
    m_recordDevice = std::make_unique<KaCoreAudioDevice>(m_system, source.device);
    m_levelDevice = std::make_unique<KaCoreAudioDevice>(m_system, source.device);
    m_controler.recorder().setRecordIOTargetWithDevice(*m_recordDevice);
    m_controler.meter().setLevelIOTargetWithDevice(*m_levelDevice);
    m_recordSampleRate = sampleRateOfDevice(*m_recordDevice);
    m_recordBufferSize = static_cast<int>(bufferSizeOfDevice(*m_recordDevice));
    for (KaCoreAudioDevice* device : {m_recordDevice.get(), m_levelDevice.get()}) {
        device->setDataSource(source.name, AudioDirection::input);
        device->setNominalSampleRate(m_recordSampleRate);
        device->setDeviceBufferSizeInFrames(static_cast<unsigned>(m_recordBufferSize));
    }
    m_recordChannels = static_cast<int>(channelsOfRecordDevice(*m_recordDevice));
    const auto frames = static_cast<unsigned>(m_recordBufferSize);
    m_recordBuffer = KaAudioBuffer::initWithCapacityFrames(frames, static_cast<unsigned>(m_recordChannels));
    m_convertBuffer.reset(KaAudioBufferListNew(2, frames, true));
    m_controler.recorder().renewDispSampleRate();
}

void VmDevice::noRecordDeviceAlert() {
    const Seams& seams = m_controler.seams();
    seams.alert.ask({"NoRecordSource", "RecheckDevice", "Understand"});
    const std::string text = "VmRecorder: no sound data input device.";
    seams.log.log(text);
    seams.notifications.postLogEvent("SomeErrorHappen", text);
    m_awakeError = true;
}

// --- source list ---------------------------------------------------------------------------------------------

std::vector<AudioSource> VmDevice::recordSources() const {
    return audioSources(m_system, AudioDirection::input);
}

int VmDevice::recordSourceCount() const {
    return static_cast<int>(recordSources().size());
}

int VmDevice::checkRecordSource(int index) const {
    const int count = recordSourceCount();
    return count == 0 ? -1 : index >= 0 && index < count ? index : 0;
}

int VmDevice::deviceNumberOfRecordSource(int index) const {
    const auto sources = recordSources();
    return index >= 0 && index < static_cast<int>(sources.size())
               ? sources[static_cast<std::size_t>(index)].deviceNumber
               : 0;
}

std::string VmDevice::sourceNameOfRecordSource(int index) const {
    const auto sources = recordSources();
    return index >= 0 && index < static_cast<int>(sources.size())
               ? sources[static_cast<std::size_t>(index)].name
               : "";
}

std::vector<std::string> VmDevice::usableRecordSourceNames() const {
    std::vector<std::string> names;
    for (const AudioSource& source : recordSources())
        names.push_back(source.name);
    return names;
}

std::vector<std::string> VmDevice::usableJapanRecordSourceNames() const {
    std::vector<std::string> names = usableRecordSourceNames();
    for (std::string& name : names)
        name = convertJapanRecordSourceName(name);
    return names;
}

std::string VmDevice::presentRecordSourceName() const {
    return sourceNameOfRecordSource(m_recordSource);
}

std::string VmDevice::presentJapanRecordSourceName() const {
    return japanSourceNameOfRecordSource(m_recordSource);
}

std::string VmDevice::japanSourceNameOfRecordSource(int index) const {
    return convertJapanRecordSourceName(sourceNameOfRecordSource(index));
}

std::string VmDevice::convertJapanRecordSourceName(const std::string& name) const {
    const Texts& texts = m_controler.seams().texts;
    if (name == "Internal microphone")
        return texts("InternalSource");
    if (name == "Line In")
        return texts("ExternalSource");
    if (name == "Digital In")
        return texts("DigitalSource");
    return name;
}

std::vector<std::string> VmDevice::representRecordName(const std::vector<std::string>& names) {
    return representRecordNames(names);
}

bool VmDevice::isRecordableDevice(const KaCoreAudioDevice& device) {
    return channelsOfRecordDevice(device) > 0;
}

bool VmDevice::isPresentInternalRecord() const {
    return presentRecordSourceName() == "Internal microphone";
}

bool VmDevice::isPresentExternalRecord() const {
    const std::string name = presentRecordSourceName();
    return name == "Line In" || name == "External microphone/Line In";
}

bool VmDevice::isPresentDigitalRecord() const {
    return presentRecordSourceName() == "Digital In";
}

// --- device parameters ---------------------------------------------------------------------------------------

double VmDevice::sampleRateOfDevice(const KaCoreAudioDevice& device) const {
    double last = 0.0;
    for (const auto& range : device.nominalSampleRates())
        for (const double rate : range) {
            if (!m_useHighQuality && rate >= 44100.0)
                return rate;
            last = rate;
        }
    return last;
}

double VmDevice::recordSampleRateWithSource(int index) const {
    const auto sources = recordSources();
    if (index < 0 || index >= static_cast<int>(sources.size()))
        return 0.0;
    return sampleRateOfDevice(KaCoreAudioDevice(m_system, sources[static_cast<std::size_t>(index)].device));
}

double VmDevice::sampleRateWithNominal(double nominal, int quality) {
    return quality == 0 ? nominal * 0.25 : quality == 1 ? nominal * 0.5 : nominal;
}

double VmDevice::recordSampleRateWithSource(int index, int quality) const {
    return sampleRateWithNominal(recordSampleRateWithSource(index), quality);
}

unsigned VmDevice::bufferSizeOfDevice(const KaCoreAudioDevice& device) {
    const unsigned minimum = device.deviceMinBufferSizeInFrames();
    const unsigned maximum = device.deviceMaxBufferSizeInFrames();
    if (maximum >= 512 && minimum <= 512)
        return 512;
    return maximum > 512 ? minimum : maximum;
}

unsigned VmDevice::channelsOfRecordDevice(const KaCoreAudioDevice& device) {
    return device.channelsForDirection(AudioDirection::input);
}
