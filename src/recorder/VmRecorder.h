// recorder/VmRecorder.h — decides when a recording file is open, and keeps the sound flowing into it.
#pragma once
#include "audio/hardware/AudioHardware.h"
#include "audio/KaCoreAudioDevice.h"
#include "audio/KaCoreAudioDeviceDelegate.h"
#include "base/Date.h"
#include "base/NotificationCenter.h"
#include "base/Realtime.h"
#include "base/RunLoop.h"
#include "recorder/RecordChoices.h"
#include "recorder/RecordControls.h"
#include "recorder/RecordTransition.h"
#include "recorder/StreamMoment.h"
#include "recorder/WorkFiles.h"
#include "recorder/WritePipeline.h"

#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class SoundFile;
class UserDefaults;
class VmControler;
class VmReserverElement;

/// Posted when a finished recording has its final name; user information "SoundFilePath" holds the full path.
inline constexpr std::string_view VmSoundFileFinished_Notification = "VmSoundFileFinished_Notification";

/// The recording controller: record switch, modes, condition, and the start and stop of each file.
///
/// The condition changes in `setCondition` alone. It is driven by `resetCondition`, which runs on every tick of
/// the level meter.
///
/// The end of a file is a frame, fixed before the sound of it comes: the write thread stops there by itself,
/// and what was captured after it stays in the queue until the next file takes it. So a file may be finished
/// and the next one begun as late as the queue lasts, and no frame is lost or doubled at the seam.
class VmRecorder final : public KaCoreAudioDeviceDelegate, public RecordControls, public RecordChoices {
public:
    explicit VmRecorder(VmControler& controler);
    ~VmRecorder() override;
    static void registerDefaults(UserDefaults& defaults);

    // Main thread: record path
    void setRecordIOTargetWithDevice(KaCoreAudioDevice& device);
    void setMonitorIOTargetWithDevice(KaCoreAudioDevice& device);
    /// The record device is about to be replaced: a file that is open is finished first.
    void recordSourceWillChange();
    /// The record device or its rate changed: makes the queue anew.
    void recordSourceChanged();
    /// The monitor device was replaced: goes on as the monitor switch says.
    void monitorSourceChanged();
    /// The record device delivers nothing any more: finishes the file with the last sound that came.
    void recordInputLost(const InputLoss& loss);
    /// The input ends here and now. Any thread.
    InputLoss inputLossNow() const;
    /// The monitor device plays nothing any more.
    void monitorOutputLost();
    /// Inputs came or went; the one in use is still there.
    void recordSourceListChanged() { fillSourcePopup(); }
    /// `frames` of the device were lost before they reached the recorder and are silent in the recording.
    void recordInputHole(std::uint64_t frames);
    /// The rates shown to the person are to be read again.
    void renewDispSampleRate();
    void audioDeviceStartDidFail(KaCoreAudioDevice& device, OSStatus reason) override;

    // Main thread: control
    void actRecordButton();
    void actReserveButton();
    void actMonitorButton();
    void actHourButton();
    void actMarkerButton();
    void actLevelSlider();
    /// Whether somebody sees the window. With the record tab in it, sound must arrive soon.
    void setShown(bool shown);
    /// Whether its tab is the one that the window shows.
    void mainTabSelected();
    void mainTabUnselected();
    /// Whether the level must be known at once: somebody sees it, or it decides.
    bool levelMatters() const { return m_shown || m_recordMode == 1; }
    /// Whether the next tick of the state machine must come soon. A level that crosses the start level makes
    /// itself heard.
    bool tickMatters() const {
        const bool recording = condition() == RecordCondition::recording;
        if (m_shown || (recording && m_delayCount))
            return true;
        return m_recordMode == 1 ? !m_recordState && recording : m_recordState != recording;
    }
    /// Called by the level meter on every tick.
    void controlAutoDelay();
    void resetCondition();
    void dispCondition();
    void dispRecordMode();
    void setControlState();
    void emerRecordStop();
    /// Repairs and names what a crash, or a disk that failed to the end, left behind. Called once, before the
    /// first recording.
    void rescueTempFile();
    void reviveRecordCondition();
    void autoRecordStart();
    void autoReserveStart();
    /// While the preferences are open, no recording is begun and no other input chosen by hand.
    void setPreferencesOpen(bool open);
    void deleteProgressSoundFile() { m_workFiles.progress().deleteProgressSoundFile(); }
    /// The computed end of the recording that was rescued last; 0 when none was.
    Date lastCrashDate() const { return m_workFiles.lastCrashDate(); }
    /// The end of a recording that a crash left behind and nobody rescued yet; 0 when there is none.
    Date leftoverEndDate() const { return m_workFiles.leftoverEndDate(); }
    /// The machine goes to sleep: the file that is open is finished first.
    void willSleepHandle();
    void didWakeHandle();
    /// Looks whether an entry of the timetable begins or ends.
    void recordTimerPeriodic();
    /// Entries of the timetable came, went or changed.
    void reservesChanged();
    /// The file that is open will end exactly `seconds` after its start; to be followed by `recordOffNow` when
    /// that much time has passed.
    void endAfter(double seconds);
    /// Finishes the file that is open and goes on in a new one, with no frame lost or doubled between them. A
    /// file of a fixed length is left alone.
    void beginNewFile();
    /// Switches recording off and finishes the file at once. Not a person's press, so nobody is asked.
    void recordOffNow();
    /// Finishes the file that is open, without touching the stored switch: the next launch goes on.
    void finishForTermination();
    void saveUserDefaults();

    // Main thread: marker sound
    bool markerSwitch() const { return m_markerSwitch; }
    /// Which of the intervals.
    int markerOption() const { return m_markerOption; }
    void setMarkerOption(int option);
    /// The name without folder and extension. The empty name stands for the first bundled sound.
    const std::string& markerSound() const { return m_markerSound; }
    void setMarkerSound(const std::string& name);
    /// Whether the monitor plays the marker too.
    bool markerMonitor() const { return m_markerMonitor; }
    void setMarkerMonitor(bool markerMonitor);
    /// The names to choose from.
    std::vector<std::string> markerSounds() const;
    /// Minutes of an interval; 30 for a number without one.
    static int markerIntervalWithNumber(int number);
    /// Whether the marker sounds at `minute` of the hour; never for an option without an interval.
    static bool isMarkerDue(int option, int minute);
    /// Loads the marker sound for the present input, if the marker is on. A sound that cannot be had is
    /// reported, and switches the marker off.
    void initMarkerBuffer();
    /// Switches the marker off without asking for the administrator right.
    void cancelSoundMarker();

    RecordCondition condition() const { return m_condition.load(std::memory_order_relaxed); }
    bool recordState() const { return m_recordState; }
    /// True while the timetable waits for an entry.
    bool modeTimer() const { return m_modeTimer; }
    bool startOnTheHour() const { return m_startOnTheHour; }
    void setStartOnTheHour(bool startOnTheHour);
    int recordMode() const { return m_recordMode; }
    /// 0 always, 1 by the level, 2 standby.
    void setRecordMode(int mode);
    void setRateNumber(int rateNumber);
    double sampleRate() const { return sampleRate(m_rateNumber); }
    double sampleRate(int rateNumber) const;
    std::string headerString() const;
    std::string whichHeaderString() const;
    std::string fileExtension() const { return "aif"; }
    int inputLevel() const;
    /// Whether the write thread of a recording is to run, and whether it does.
    bool writeThread() const { return m_pipeline.writeThread(); }
    bool fileWriteing() const { return m_pipeline.fileWriteing(); }
    double lastWrite() const { return m_lastWrite; }
    /// Expected file bytes of the recording so far.
    double dataSize() const;
    double totalRecordTime() const { return m_totalRecordTime; }
    /// Seconds of sound in all files of this duty.
    double writtenSeconds() const { return m_writtenSeconds; }
    /// Of this duty, without the file that is open.
    DutyFrames dutyFrames() const;
    /// Device frames since the open file began; 0 when none is open.
    std::int64_t openFrames() const;
    Date recordStartDate() const { return m_recordStartDate; }
    Date recordStopDate() const { return m_recordStopDate; }
    int actionMethod() const { return m_actionMethod; }
    void setSliderAlways(bool always);
    /// Whether the total time of the duty is shown: its field is disabled while it is not.
    bool dispTotalTime() const { return m_totalTimeField.enabled(); }
    void setDispTotalTime(bool shown) { m_totalTimeField.setEnabled(shown); }
    /// The second name of the recording in progress, a full path; empty when there is none.
    std::string progressFilePath() { return m_workFiles.progress().path(); }
    /// True when the last start or stop of a file failed.
    bool writeThreadError() const { return m_pipeline.writeThreadError() || m_startFailed; }

    // I/O thread
    /// Takes one cycle of the record device. Never waits.
    OSStatus recordIOForDevice(KaCoreAudioDevice& device, const AudioTimeStamp* timeStamp,
                               const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                               AudioBufferList* outputData, const AudioTimeStamp* outputTime,
                               void* clientData) noexcept KA_REALTIME;
    /// Fills one cycle of the monitor device. Never waits.
    OSStatus monitorIOForDevice(KaCoreAudioDevice& device, const AudioTimeStamp* timeStamp,
                                const AudioBufferList* inputData, const AudioTimeStamp* inputTime,
                                AudioBufferList* outputData, const AudioTimeStamp* outputTime,
                                void* clientData) noexcept KA_REALTIME;

private:
    int storedRecordMode() const;
    void startRecording();
    void stopRecording();
    /// Ends the file at `seam` and goes on in the next one: the last frame of the one is followed by the first
    /// of the other.
    void restartRecording(const StreamMoment& seam);
    bool _startRecording();
    void _stopRecording(const StreamMoment& stop, const char* event);
    bool createFile(const StreamMoment& begin);
    bool createFile(const StreamMoment& wished, const WorkFiles::Label& label, double rate, std::int64_t stop);
    void beginWriting(std::int64_t stop);
    void rescueLeftover();
    void tellFinished(const std::string& path) const;
    /// Puts what the relay file holds into the new file. False when that does not take it.
    bool takeOverRecord();
    void carryOverRecord(const WritePipeline::Account& account);
    StreamMoment present() const { return momentAt(now()); }
    StreamMoment momentAt(Date date) const;
    StreamMoment stopMoment() const;
    Date now() const;
    Date boundaryAfter(Date date) const;
    void planBoundary();
    void planAgain();
    std::int64_t ownEnd() const;
    void crossBoundary();
    void crossBoundariesBefore(const StreamMoment& stop);
    double longestFile() const;
    void onTheMinuteTime();
    Date presentMinute() const;

    void readMarkerDefaults();
    void saveMarkerDefaults();
    void updateMarkerMonitor();
    void fitMarkerToInput();
    std::int64_t frameOfMinute(Date minute) const;
    void armMarker();
    void armMarkerFor(Date minute);
    void armMarkerAnew();
    void checkMarkerOption();
    void endMarker();
    void forgetMarkerMinute();

    bool gateRefuses() const;
    void storeSwitch(const char* key, bool on);
    void _actHourButton();
    void _actMonitorButton();
    bool mayStopTimetable();
    void armRecordTimer();
    void startTimetable();
    void stopTimetable();
    void startReserveRecordWithElement(const VmReserverElement& element);
    void waitForTimer();
    void showNextElement();
    void showReserve(const std::string& name, const char* timeKey, int secondOfDay);
    void takeFormat(const VmReserverElement& element);

    /// Of what nobody splits and nothing ends by force: 2 while the timetable is on, else 3.
    int usualMethod() const { return m_recordTimer != nullptr ? 2 : 3; }
    bool hasRisen();
    void recordON();
    void recordOFF();
    void setCondition(RecordCondition condition);
    void autoDelayStart();
    void autoDelayStop();
    bool autoDelayState();
    bool streamIsLate();
    void lookForInput();
    void lookForStall();
    void retryStart();
    void reportGap(HostTime end, const char* what);
    void reportHoles();
    bool protectHowling();
    void updateLatencyNeed();
    void say(std::string_view event, const std::string& text);
    void countRecordTime();
    void dispRecordTime();
    void dispCountdown();
    void fillSourcePopup();
    /// Write thread.
    void handleWriteError();
    /// Stops for an emergency, and goes on with frame `from` as soon as a file can be written.
    void interrupt(const StreamMoment& from);
    void retryDisk();
    void armRetry();
    void noteUnwritten(const StreamMoment& from, const StreamMoment& to);
    /// Puts sound that no recording waits for any more on the list of what the disk still has to take.
    void owe(const StreamMoment& from, const StreamMoment& to);
    /// Writes what is owed. False when the disk does not take it yet.
    bool settleOwed();
    bool writeOwed(const OwedSound& owed);
    /// Reports what is still owed as lost.
    void loseOwed();
    StreamMoment soundEnd() const;
    void breakSound(const InputLoss& loss);
    void lookForLeap();
    void endInterruption();
    void reportInterruption(const StreamMoment& from, Date end, const char* what = "goes on");
    void lookAtClock();
    WorkFiles::Label fileLabel() const;
    char sourceLetter() const;

    VmControler& m_controler;
    WorkFiles m_workFiles;
    std::unique_ptr<SoundFile> m_writeFile;

    std::atomic<RecordCondition> m_condition{RecordCondition::stopped};
    bool m_recordState = false;
    int m_recordMode = 0;
    bool m_modeTimer = false;
    bool m_startOnTheHour = true;
    int m_autoLevel = 0;
    std::optional<Date> m_delayCount;
    bool m_preferencesOpen = false;
    bool m_emergency = false;
    bool m_startFailed = false;
    int m_actionMethod = 3;
    Date m_recordStartDate;
    Date m_recordStopDate;
    WorkFiles::Label m_label;          // of the file that is open
    std::optional<Date> m_sleepinDate; // a file was open then
    bool m_asleep = false;             // or about to be
    double m_totalRecordTime = 0.0;
    double m_secondCount = 0.0;
    std::optional<double> m_fixedLength; // seconds that the open file is to have
    double m_lastWrite = 0.0;
    double m_writtenSeconds = 0.0;
    DutyFrames m_dutyFrames; // of finished files, and of interruptions that are over
    HostTime m_streamStarted = 0;
    bool m_windowShown = true;
    bool m_tabSelected = true;
    bool m_shown = true; // somebody sees the level: both

    static constexpr double stallPatience = 3.0; // seconds; sound comes in pieces of up to one second
    std::int64_t m_lastFrameSeen = 0;
    HostTime m_lastFrameTime = 0;
    HostTime m_startTried = 0;

    std::optional<InputLoss> m_inputLoss;
    std::uint64_t m_holeFrames = 0; // not yet reported
    HostTime m_holesReported = 0;
    /// Sound from here on belongs to a recording that begins at the next tick.
    std::optional<StreamMoment> m_beginWith;
    bool m_isSeam = false; // the next file goes on where the last one ends

    void follow(std::optional<PlannedEnd>& planned, Date date) const;
    Date m_boundaryDate;
    std::optional<PlannedEnd> m_boundary;    // where the next file goes on
    std::optional<PlannedEnd> m_scheduleEnd; // of the entry that runs
    std::int64_t m_overRecordBytes = 0;      // in the relay file
    std::int64_t m_overRecordFrame = 0;      // the first of them
    std::int64_t m_carriedBytes = 0;         // of them, in the open file

    void takeElement(const VmReserverElement& element);
    void resumeElement(const RecordInterruption& interruption);
    std::optional<RecordInterruption> m_interruption; // until a file can be written again
    std::optional<StreamMoment> m_goOn;               // the next file begins with this, if it can
    std::deque<OwedSound> m_owed; // in the order of the stream; all before any later recording
    bool m_isSettling = false;
    double m_fileRate = 0.0; // Hz, of the open file
    std::unique_ptr<Timer> m_retryTimer;
    int m_retries = 0;
    HostTime m_alertTime = 0;
    double m_clockShift = 0.0; // seconds; while the old clock still counts
    std::optional<Date> m_clockSeen;
    HostTime m_clockSeenAt = 0;

    std::unique_ptr<Timer> m_recordTimer;
    std::unique_ptr<VmReserverElement> m_runningElement;
    Date m_timerStartDate;
    double m_recordPeriod = 0.0; // seconds
    Date m_waitingSince;         // the timetable is on, and no entry runs, since then

    bool m_markerSwitch = false;
    int m_markerOption = 0;
    std::optional<int> m_unknownOptionSaid;
    std::string m_markerSound;
    bool m_markerMonitor = false;
    std::atomic<bool> m_markerHeard{false}; // by whoever hears the monitor
    std::optional<double> m_markerRate;     // Hz, for which the sound was loaded; at first nobody asked for it
    std::optional<Date> m_markerMinute;     // for which it was armed last

    std::unique_ptr<Timer> m_countTimer;
    int m_lastMinute = -1;
    NotificationCenter::Observation m_reserveListChanges;

    WritePipeline m_pipeline; // last: its thread uses what is above
};
