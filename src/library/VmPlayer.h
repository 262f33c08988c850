// library/VmPlayer.h — plays the selected recording, and carries the work on it.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/KaCoreAudioDevice.h"
#include "audio/KaCoreAudioDeviceDelegate.h"
#include "base/NotificationCenter.h"
#include "base/Realtime.h"
#include "base/RunLoop.h"
#include "library/PlayerControls.h"
#include "library/VmPlayerFiles.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class SoundFile;
class UserDefaults;
class VmControler;
class VmPlayList;
class VmQueBuffer;
class VmWaveView;

/// The playback controller. Byte positions and counts are bytes of sound, without the file's header.
///
/// The read timer moves sound from the file into the queue, two seconds at a time; the output callback takes it
/// out. The callback cannot stop the playback itself: it says that the end is reached, and the display timer
/// does what follows.
class VmPlayer final : public KaCoreAudioDeviceDelegate, public PlayerControls {
public:
    explicit VmPlayer(VmControler& controler);
    ~VmPlayer() override;
    static void registerDefaults(UserDefaults& defaults);
    /// Reads the settings and binds the controls. Needs its peers.
    void awake();
    void saveUserDefaults();

    // Main thread: the list of recordings
    void mainTabSelected();
    void mainTabUnselected();
    /// Reads the record folder and fits the controls to it; the selection stays on its recording.
    void renewListAndControl();
    /// Reads the record folder.
    void initDataSource();
    VmPlayList& dataSource() const { return *m_dataSource; }
    VmWaveView& waveView() const { return *m_waveView; }
    /// The row handler of the record table.
    void selectionDidChange();
    /// Full path of the selected recording; empty when none is.
    std::string selectedPath() const;
    /// Its name, relative to the record folder; empty when none is.
    const std::string& selectedName() const { return m_selectedName; }

    // Main thread: playback
    /// Stops what is played and opens another file.
    void startPlayback(const std::string& path);
    /// False, after telling it, when the file cannot be played.
    bool openFile(const std::string& path);
    void stopPlayback();
    void pausePlayback(bool pause);
    void actPlayButton();
    void readTimerStart();
    void readTimerStop();
    void resetReadPosition(std::int64_t position);
    void resetPlaybackPoint(bool keepPaused);
    /// The nearest frame boundary towards zero.
    std::int64_t adjustReadPosition(std::int64_t position) const;
    std::int64_t headPosition() const;
    std::int64_t tailPosition() const;
    std::int64_t selectedLength() const { return tailPosition() - headPosition(); }
    void readSoundFileTimer();
    void dispPositionTimer();
    void dispRecordTime();
    /// `change` is one of the wave view's notifications.
    void dispSelectedRangeText(const Notification& change);
    void clearSelectRangeText();
    void actHeadButton();
    void actTailButton();
    void actBackButton();
    void actFastButton();
    void actPointSlider();
    void actStepFastField();
    void actStepFastStepper();
    void actEndlessCheck();

    // Main thread: play device
    void setPlayIOTargetWithDevice(KaCoreAudioDevice& device);
    void playSourceChanged();
    /// The play device plays nothing any more.
    void playOutputLost();
    void audioDeviceStartDidFail(KaCoreAudioDevice& device, OSStatus reason) override;

    // Main thread: state
    int stepFast() const { return m_stepFast; }
    float sampleRate() const { return m_sampleRate; } ///< Hz, of the open file
    int channels() const { return m_channels; }
    std::int64_t readPos() const { return m_readPos.load(std::memory_order_relaxed); }
    std::int64_t fileReadPos() const { return m_fileReadPos; }
    std::int64_t numDatas() const { return m_numDatas; }
    bool playbacking() const { return m_playbacking.load(std::memory_order_relaxed); }
    bool endlessPlay() const { return m_endlessPlay; }
    int fastSize() const { return m_fastSize; }
    bool isOpen() const { return m_playbackFile != nullptr; }

    // Main thread: work on the selected recording; see VmPlayerFiles
    VmPlayerFiles& files() const { return *m_files; }
    void actLock();
    void actNote();
    void editNoteEndHandler(const std::string& text);
    bool writeNoteWithPath(const std::string& path, const std::string& note);
    void actDelete();
    void actCopy();
    /// Seconds of the day at `x` view points of the waveform.
    double secondsAtPoint(double x) const;
    void onlyCopyButtonSetEnable();
    bool verifyDelete() const;
    void setVerifyDelete(bool verifyDelete);
    const std::string& deleteFile() const;
    const std::string& deleteImage() const;
    const std::string& originalFile() const;
    const std::string& destinationFile() const;

    // I/O thread
    /// Fills one cycle of the play device. Never waits.
    OSStatus playbackIOForDevice(KaCoreAudioDevice& device, const AudioTimeStamp* timeStamp,
                                 const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                                 AudioBufferList* outputData, const AudioTimeStamp* outputTime,
                                 void* clientData) noexcept KA_REALTIME;

private:
    struct Range {
        double start = 0.0;  ///< view points
        double length = 0.0; ///< 0 is no selection
        double width = 0.0;  ///< of the whole view
    };
    Range selection() const;
    bool isSelected() const;
    std::int64_t positionAt(double point, double width) const;

    void awakeList();
    VmPlayerFiles::Host filesHost();
    void bindControls();
    void listRenewed();
    void followProgress();
    void takeFinished();
    void takeRow();
    std::string presentPath() const;
    void showImage();
    void showStepFast(int steps);
    void enablePlayback();
    void forgetFile();
    void fitToDevice();
    void refreshLength();
    void showLength();
    bool reopenIfReplaced();
    void startPlaying();
    void stopPlaying();
    void stopForFault();
    void setSliderPosition(std::int64_t position);
    void moveTo(std::int64_t position, Button& button);
    void redrawPositionLine();
    void readStep(std::int64_t readSize, double ratio);
    void armDisplay();
    void endOfPlayback();
    void reportError(const std::string& text) const;
    std::int64_t bytesPerSecond() const;
    unsigned fill(AudioBufferList& output) noexcept KA_REALTIME;
    void sayEnd() noexcept KA_REALTIME;

    VmControler& m_controler;
    std::unique_ptr<VmPlayList> m_dataSource;
    std::unique_ptr<VmWaveView> m_waveView;
    std::string m_selectedName;
    std::string m_playbackPath;      ///< where the open file was found
    double m_startSecond = 0.0;      ///< second of the day at which the selected recording begins
    std::int64_t m_pictureDatas = 0; ///< bytes of sound that its picture shows
    bool m_followsProgress = false;  ///< the selected recording was in progress when the list was read last

    int m_stepFast = 10;
    std::unique_ptr<SoundFile> m_playbackFile;
    float m_sampleRate = 0.0F;
    int m_channels = 0;
    std::atomic<std::int64_t> m_readPos{0};
    std::int64_t m_numDatas = 0;
    std::atomic<bool> m_playbacking{false};
    bool m_endlessPlay = true;
    int m_fastSize = 0;
    int m_lastPoint = 0;
    std::vector<std::int16_t> m_readFileBuffer;
    std::vector<float> m_transformBuffer;
    std::unique_ptr<VmQueBuffer> m_playbackQue;
    std::atomic<bool> m_endOfSoundFile{false};
    bool m_stopReadFile = false;
    std::int64_t m_fileReadPos = 0;
    std::unique_ptr<Timer> m_readTimer;
    std::unique_ptr<Timer> m_dispTimer;

    bool m_playing = false;                   ///< from the press to the stop, also while paused for a drag
    bool m_paused = true;                     ///< no cycle takes from the queue
    std::atomic<std::int64_t> m_cycleTail{0}; ///< the tail position, for the cycles
    double m_cycleRate = 0.0;                 ///< of the device, Hz; changes only between cycles
    std::atomic<bool> m_endReached{false};    ///< said by a cycle, answered by the display timer
    bool m_isDraining = false;                ///< the end is reached, and its sound is on its way to be heard

    std::unique_ptr<VmPlayerFiles> m_files;

    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); // for calls posted from other threads
    std::vector<NotificationCenter::Observation> m_observations;  // last: they end first
};
