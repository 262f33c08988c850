// audio/VmDevice.h — which devices and data sources are recorded, heard and played.
#pragma once
#include "audio/KaCoreAudioSystem.h"
#include "audio/SourceList.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

class KaAudioBuffer;
class KaConversionBuffer;
class KaCoreAudioDevice;
class Popup;
class UserDefaults;
class VmControler;

/// Shows the devices of a direction as one flat list of sources, in which a device counts once for each of its
/// (merged) data sources, and sets up a path for the chosen source of each of three jobs: recording, monitoring
/// and playback.
///
/// Main thread only, but for the accessors that an I/O target uses. Buffers are replaced only while no cycle of
/// their device runs; the converter, which two devices use, is swapped in one step and the old one released
/// when no cycle can still be using it.
class VmDevice {
public:
    explicit VmDevice(VmControler& controler);
    ~VmDevice();
    static void registerDefaults(UserDefaults& defaults);
    /// Sets up the three paths for the stored sources; tells where a direction has none. Needs its peers.
    void awake();
    /// The parts of that: each sets up one path for the source that was read, or tells that there is none.
    void initRecordDevice();
    void initPlayDevice();
    void initMonitorDevice();

    // Selection. `set...` is for this duty, `change...` is a person's choice and stored.
    void setRecordSource(int index);
    void setPlaySource(int index);
    void setMonitorSource(int index);
    void changeRecordSource(int index);
    void changePlaySource(int index);
    void changeMonitorSource(int index);
    /// Takes effect when a source is set the next time.
    void setUseHighQuality(bool useHighQuality);
    void recordDeviceStart();
    /// Ends all three paths: no cycle reaches a client afterwards.
    void stopDevices();
    /// A paused output is stopped, here and below: one that runs silently all day keeps the machine awake.
    /// False when the device is to run and cannot.
    bool playDevicePause(bool pause);
    void monitorDevicePaused(bool paused);
    /// How soon the recorded sound must be handed on.
    void setLatencyNeed(AudioLatencyNeed need);
    void newMonitorConverter();
    /// Whether there is an output to play to. One that has gone is replaced by another; when there is none,
    /// that is told.
    bool securePlayDevice();
    void saveUserDefaults();

    // Source lists; a name or device is empty, a number 0, where the index is out of range
    int recordSourceCount() const { return sourceCount(AudioDirection::input); }
    int playSourceCount() const { return sourceCount(AudioDirection::output); }
    int checkRecordSource(int index) const { return checkSource(index, AudioDirection::input); }
    int checkPlaySource(int index) const { return checkSource(index, AudioDirection::output); }
    int deviceNumberOfRecordSource(int index) const {
        return source(index, AudioDirection::input).deviceNumber;
    }
    int deviceNumberOfPlaySource(int index) const { return source(index, AudioDirection::output).deviceNumber; }
    std::string sourceNameOfRecordSource(int index) const { return source(index, AudioDirection::input).name; }
    std::string sourceNameOfPlaySource(int index) const { return source(index, AudioDirection::output).name; }
    std::vector<std::string> usableRecordSourceNames() const { return names(AudioDirection::input); }
    std::vector<std::string> usablePlaySourceNames() const { return names(AudioDirection::output); }
    std::vector<std::string> usableJapanRecordSourceNames() const;
    std::vector<std::string> usableJapanPlaySourceNames() const;
    std::string presentRecordSourceName() const { return m_record.chosen.name; }
    std::string presentJapanRecordSourceName() const {
        return convertJapanRecordSourceName(m_record.chosen.name);
    }
    std::string presentJapanPlaySourceName() const { return convertJapanPlaySourceName(m_play.chosen.name); }
    std::string presentJapanMonitorSourceName() const {
        return convertJapanPlaySourceName(m_monitor.chosen.name);
    }
    std::string japanSourceNameOfRecordSource(int index) const;
    std::string convertJapanRecordSourceName(const std::string& name) const;
    std::string convertJapanPlaySourceName(const std::string& name) const;
    static std::vector<std::string> representRecordName(const std::vector<std::string>& names);
    static std::vector<std::string> representPlayName(const std::vector<std::string>& names);
    static bool isRecordableDevice(const KaCoreAudioDevice& device);
    static bool isPlayableDevice(const KaCoreAudioDevice& device);
    bool isPresentInternalRecord() const;
    bool isPresentExternalRecord() const;
    bool isPresentDigitalRecord() const;
    bool isPresentInternalPlay() const;
    bool isPresentInternalMonitor() const;

    /// Fills `popup` with the rates that recordings from source `source` can have, lowest first; `select` is
    /// the index of the chosen one.
    void renewSampleRatePopup(Popup& popup, int source, int select) const;

    // Device parameters; rates in Hz
    double sampleRateOfDevice(const KaCoreAudioDevice& device) const;
    double recordSampleRateWithSource(int index) const;
    double recordSampleRateWithSource(int index, int quality) const;
    static double sampleRateWithNominal(double nominal, int quality);
    static unsigned bufferSizeOfDevice(const KaCoreAudioDevice& device); ///< frames
    static unsigned channelsOfRecordDevice(const KaCoreAudioDevice& device);
    static unsigned channelsOfPlayDevice(const KaCoreAudioDevice& device);

    int recordSource() const { return m_record.source; }
    int playSource() const { return m_play.source; }
    int monitorSource() const { return m_monitor.source; }
    bool awakeError() const { return m_awakeError; }
    bool useHighQuality() const { return m_useHighQuality; }
    double recordSampleRate() const { return m_record.sampleRate; }
    double playSampleRate() const { return m_play.sampleRate; }
    double monitorSampleRate() const { return m_monitor.sampleRate; }
    int recordBufferSize() const { return m_record.bufferSize; } ///< frames
    int playBufferSize() const { return m_play.bufferSize; }
    int monitorBufferSize() const { return m_monitor.bufferSize; }
    int recordChannels() const { return m_record.channels; }
    int playChannels() const { return m_play.channels; }
    int monitorChannels() const { return m_monitor.channels; }
    KaCoreAudioDevice* recordDevice() const { return m_record.device.get(); }
    KaCoreAudioDevice* levelDevice() const { return m_levelDevice.get(); }
    KaCoreAudioDevice* playDevice() const { return m_play.device.get(); }
    KaCoreAudioDevice* monitorDevice() const { return m_monitor.device.get(); }

    // I/O thread
    KaAudioBuffer& recordBuffer() const { return *m_recordBuffer; }
    AudioBufferList& convertBuffer() const { return *m_convertBuffer; }
    KaAudioBuffer& monitorBuffer() const { return *m_monitorBuffer; }
    AudioBufferList& monitorConvertBuffer() const { return *m_monitorConvertBuffer; }
    /// None while a device is missing or its format cannot be converted.
    KaConversionBuffer* monitorConverter() const { return m_converterInUse.load(std::memory_order_acquire); }

private:
    /// One job's device and how it was set up.
    struct Path {
        std::unique_ptr<KaCoreAudioDevice> device;
        int source = -1;
        AudioSource chosen; ///< what the source was in the list when it was chosen
        double sampleRate = 0.0;
        int bufferSize = 0;
        int channels = 0;
    };
    struct BufferListDisposal {
        void operator()(AudioBufferList* list) const;
    };
    using BufferList = std::unique_ptr<AudioBufferList, BufferListDisposal>;

    std::vector<AudioSource> sources(AudioDirection direction) const;
    AudioSource source(int index, AudioDirection direction) const;
    int sourceCount(AudioDirection direction) const;
    int checkSource(int index, AudioDirection direction) const;
    std::vector<std::string> names(AudioDirection direction) const;

    void renewRecordSource();
    void renewPlaySource();
    void renewMonitorSource();
    bool findSource(Path& path, AudioDirection direction, const char* missing);
    /// True when the device went away while it was asked: the path has none then.
    static bool dropIfUnusable(Path& path);
    /// False when the source is not in the list any more.
    bool followList(Path& path, AudioDirection direction) const;
    void deviceListChanged();
    void setUp(Path& path, KaCoreAudioDevice& device, AudioDirection direction) const;
    void makeConverter();
    void awaitCycleEnds();
    void noRecordDeviceAlert();
    void noPlayDeviceAlert();
    void reportMissing(const char* text);
    /// Events come on the sound system's thread and ask the peers, so not before these exist.
    void hearHardware();
    void hardwareEvent(const AudioHardwareEvent& event);
    bool concerns(const Path& path, const AudioHardwareEvent& event) const;

    VmControler& m_controler;
    mutable KaCoreAudioSystem m_system;
    Path m_record;
    Path m_play;
    Path m_monitor;
    std::unique_ptr<KaCoreAudioDevice> m_levelDevice;
    std::unique_ptr<KaAudioBuffer> m_recordBuffer;
    BufferList m_convertBuffer;
    std::unique_ptr<KaAudioBuffer> m_monitorBuffer;
    BufferList m_monitorConvertBuffer;
    std::unique_ptr<KaConversionBuffer> m_monitorConverter;
    std::atomic<KaConversionBuffer*> m_converterInUse{nullptr};
    bool m_monitorPaused = true;
    bool m_useHighQuality = false;
    bool m_awakeError = false;
    AudioLatencyNeed m_latencyNeed = AudioLatencyNeed::metering;
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); // for calls posted from the sound system
};
