// The source lists, their names, and what a device is used with.
#include "app/VmControler.h"
#include "audio/KaAudioBuffer.h"
#include "audio/KaConversionBuffer.h"
#include "audio/KaCoreAudioDevice.h"
#include "audio/VmDevice.h"
#include "base/Controls.h"
#include "base/Formatted.h"
#include "base/Texts.h"

#include <algorithm>

std::vector<AudioSource> VmDevice::sources(AudioDirection direction) const {
    return audioSources(m_system, direction);
}

AudioSource VmDevice::source(int index, AudioDirection direction) const {
    const auto all = sources(direction);
    return index >= 0 && index < static_cast<int>(all.size()) ? all[static_cast<std::size_t>(index)]
                                                              : AudioSource{};
}

int VmDevice::sourceCount(AudioDirection direction) const {
    return static_cast<int>(sources(direction).size());
}

int VmDevice::checkSource(int index, AudioDirection direction) const {
    const int count = sourceCount(direction);
    return count == 0 ? -1 : index >= 0 && index < count ? index : 0;
}

std::vector<std::string> VmDevice::names(AudioDirection direction) const {
    std::vector<std::string> result;
    for (AudioSource& each : sources(direction))
        result.push_back(std::move(each.name));
    return result;
}

std::vector<std::string> VmDevice::usableJapanRecordSourceNames() const {
    std::vector<std::string> result = usableRecordSourceNames();
    for (std::string& name : result)
        name = convertJapanRecordSourceName(name);
    return result;
}

std::vector<std::string> VmDevice::usableJapanPlaySourceNames() const {
    std::vector<std::string> result = usablePlaySourceNames();
    for (std::string& name : result)
        name = convertJapanPlaySourceName(name);
    return result;
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

std::string VmDevice::convertJapanPlaySourceName(const std::string& name) const {
    return name == "Internal speakers" ? m_controler.seams().texts("InternalOutput") : name;
}

std::vector<std::string> VmDevice::representRecordName(const std::vector<std::string>& names) {
    return representRecordNames(names);
}

std::vector<std::string> VmDevice::representPlayName(const std::vector<std::string>& names) {
    return representPlayNames(names);
}

bool VmDevice::isRecordableDevice(const KaCoreAudioDevice& device) {
    return channelsOfRecordDevice(device) > 0;
}

bool VmDevice::isPlayableDevice(const KaCoreAudioDevice& device) {
    return channelsOfPlayDevice(device) > 0;
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

bool VmDevice::isPresentInternalPlay() const {
    return m_play.chosen.name == "Internal speakers";
}

bool VmDevice::isPresentInternalMonitor() const {
    return m_monitor.chosen.name == "Internal speakers";
}

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
    const AudioDeviceID device = source(index, AudioDirection::input).device;
    return device == 0 ? 0.0 : sampleRateOfDevice(KaCoreAudioDevice(m_system, device));
}

double VmDevice::recordSampleRateWithSource(int index, int quality) const {
    return sampleRateWithNominal(recordSampleRateWithSource(index), quality);
}

double VmDevice::sampleRateWithNominal(double nominal, int quality) {
    return quality == 0 ? nominal * 0.25 : quality == 1 ? nominal * 0.5 : nominal;
}

void VmDevice::renewSampleRatePopup(Popup& popup, int source, int select) const {
    constexpr int qualities = 3;
    const double nominal = recordSampleRateWithSource(source);
    std::vector<std::string> rates;
    for (int quality = 0; quality < qualities; ++quality) {
        const double rate = sampleRateWithNominal(nominal, quality);
        rates.push_back(rate > 0.0 ? formatted("%g kHz", rate / 1000.0) : std::string("– kHz"));
    }
    popup.setItems(std::move(rates));
    popup.select(std::clamp(select, 0, qualities - 1));
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

unsigned VmDevice::channelsOfPlayDevice(const KaCoreAudioDevice& device) {
    return device.channelsForDirection(AudioDirection::output);
}
