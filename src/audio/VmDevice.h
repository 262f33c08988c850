// audio/VmDevice.h — which device and data source is recorded.
#pragma once
#include "audio/KaCoreAudioSystem.h"
#include "audio/SourceList.h"

#include <memory>
#include <string>
#include <vector>

class KaAudioBuffer;
class KaCoreAudioDevice;
class UserDefaults;
class VmControler;

/// Shows the input devices as one flat list of sources, in which a device counts once for each of its (merged)
/// data sources, and sets up the record path for the chosen one. Main thread only, but for the accessors that
/// an I/O target uses: the path is rebuilt only while no cycle runs.
class VmDevice {
public:
    explicit VmDevice(VmControler& controler);
    ~VmDevice();
    static void registerDefaults(UserDefaults& defaults);
    /// Chooses the stored source; raises the alert when there is none. Needs the recorder and the meter.
    void awake();

    // Selection
    void setRecordSource(int index);
    void changeRecordSource(int index);
    void setUseHighQuality(bool useHighQuality);
    void recordDeviceStart();
    /// Ends the record path: no cycle reaches a client afterwards.
    void recordDeviceStop();
    void saveUserDefaults();

    // Source list
    int recordSourceCount() const;
    int checkRecordSource(int index) const;
    int deviceNumberOfRecordSource(int index) const;
    /// Empty when out of range.
    std::string sourceNameOfRecordSource(int index) const;
    std::vector<std::string> usableRecordSourceNames() const;
    std::vector<std::string> usableJapanRecordSourceNames() const;
    std::string presentRecordSourceName() const;
    std::string presentJapanRecordSourceName() const;
    std::string japanSourceNameOfRecordSource(int index) const;
    std::string convertJapanRecordSourceName(const std::string& name) const;
    static std::vector<std::string> representRecordName(const std::vector<std::string>& names);
    static bool isRecordableDevice(const KaCoreAudioDevice& device);
    bool isPresentInternalRecord() const;
    bool isPresentExternalRecord() const;
    bool isPresentDigitalRecord() const;

    // Device parameters
    double sampleRateOfDevice(const KaCoreAudioDevice& device) const;
    double recordSampleRateWithSource(int index) const;
    static double sampleRateWithNominal(double nominal, int quality);
    double recordSampleRateWithSource(int index, int quality) const;
    static unsigned bufferSizeOfDevice(const KaCoreAudioDevice& device);
    static unsigned channelsOfRecordDevice(const KaCoreAudioDevice& device);

    int recordSource() const { return m_recordSource; }
    bool awakeError() const { return m_awakeError; }
    bool useHighQuality() const { return m_useHighQuality; }
    double recordSampleRate() const { return m_recordSampleRate; }
    int recordBufferSize() const { return m_recordBufferSize; }
    int recordChannels() const { return m_recordChannels; }
    KaCoreAudioDevice* recordDevice() const { return m_recordDevice.get(); }
    KaCoreAudioDevice* levelDevice() const { return m_levelDevice.get(); }

    // I/O thread
    KaAudioBuffer& recordBuffer() const { return *m_recordBuffer; }
    AudioBufferList& convertBuffer() const { return *m_convertBuffer; }

private:
    struct BufferListDisposal {
        void operator()(AudioBufferList* list) const;
    };

    std::vector<AudioSource> recordSources() const;
    void initRecordDevice();
    void renewRecordSource();
    void noRecordDeviceAlert();

    VmControler& m_controler;
    mutable KaCoreAudioSystem m_system;
    std::unique_ptr<KaCoreAudioDevice> m_recordDevice;
    std::unique_ptr<KaCoreAudioDevice> m_levelDevice;
    int m_recordSource = 0;
    std::unique_ptr<KaAudioBuffer> m_recordBuffer;
    std::unique_ptr<AudioBufferList, BufferListDisposal> m_convertBuffer;
    double m_recordSampleRate = 0.0;
    int m_recordBufferSize = 0;
    int m_recordChannels = 0;
    bool m_useHighQuality = false;
    bool m_awakeError = false;
};
