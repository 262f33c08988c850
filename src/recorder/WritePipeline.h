// recorder/WritePipeline.h — from the input callback through the sample queue into the sound file.
#pragma once
#include "base/Clock.h"
#include "base/Realtime.h"
#include "recorder/FrameClock.h"
#include "recorder/MarkerMixer.h"
#include "recorder/VmQueBuffer.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class SoundFile;
class NotificationCenter;
class SystemLog;

/// Captures all the time into the queue and, while a file is open, drains the queue into it about every five
/// seconds on a thread of its own.
///
/// Frames are numbered by the queue: the n-th frame that was ever pushed is frame n, until the queue is made
/// anew. A recording is the frames from `startFrame` up to but without `stopFrame`, both multiples of the ratio
/// of device rate and file rate, so the decimation keeps its phase over blocks, files and overflows. Frames
/// before `startFrame` are discarded by the write thread, frames from `stopFrame` on stay in the queue.
///
/// Hand-shake: the starter sets `writeThread`, the thread sets `fileWriteing` while it lives, the stopper
/// clears `writeThread` and waits for `fileWriteing` to go before it touches the file. A block that could not
/// be written is kept and tried again first: by the final flush, if not before.
class WritePipeline {
public:
    struct Format {
        double recordSampleRate = 44100.0; ///< Hz, of the device
        double sampleRate = 22050.0;       ///< Hz, of the file
        int channels = 1;                  ///< of the file
        /// Device frames for each file frame.
        unsigned ratio() const { return static_cast<unsigned>(recordSampleRate / sampleRate); }
    };
    /// What happened between the start and the stop of a recording.
    struct Account {
        double lastInput = 0.0;
        double writeCount = 0.0;        ///< bytes of 16-bit samples
        std::int32_t overflowCount = 0; ///< bytes of floats
        /// Bytes at the end of the file that were captured at or after the stop frame. They are in no queue any
        /// more: whoever goes on with the next file hands them to it.
        std::int64_t overRecordBytes = 0;
        std::int64_t frames = 0; ///< device frames from start to stop
        /// Device frames at the end that never came.
        std::int64_t missingFrames = 0;
        /// Device frames at the end that could not be written. They are kept, and the next recording begins
        /// with them if it is asked to.
        std::int64_t unwrittenFrames = 0;
    };
    /// Sound that stands at the beginning of a new file already.
    struct Carried {
        std::int64_t bytes = 0;
        std::int64_t firstFrame = 0; ///< what its first frame was captured as
    };

    /// The stop of a recording of which no end is known.
    static constexpr std::int64_t openEnd = std::numeric_limits<std::int64_t>::max();

    WritePipeline(Clock& clock, SystemLog& log, const NotificationCenter& notifications);
    ~WritePipeline();

    // Main thread, while no cycle runs
    /// Makes the queue hold 80 s at `recordSampleRate`. False when there is no memory for it.
    bool initSoundQue(double recordSampleRate);

    // I/O thread
    /// Takes `samples` interleaved stereo samples, the first of them captured at `captured`. Mixes a due marker
    /// into them, and says whether there was one. Never waits.
    bool capture(float* interleaved, unsigned samples, HostTime captured, bool recording) noexcept KA_REALTIME;

    // Main thread
    /// Called on the write thread after a write failed and was reported; the thread ends after it.
    void setErrorHandler(std::function<void()> handler) { m_errorHandler = std::move(handler); }
    /// Called on the write thread when a write begins and ends.
    void setActivityHandler(std::function<void(bool)> handler) { m_activityHandler = std::move(handler); }
    /// Prepares the queue for a recording with `ratio` device frames for each of its own, that is to begin with
    /// frame `wished`. Returns the frame with which it can begin, a multiple of the ratio: a later one where
    /// the queue no longer reaches back as far, where the last recording reaches into it, or where sound that
    /// is not to be in it lies before a break. `stop` is where it will end, if that is known.
    std::int64_t prepare(std::int64_t wished, unsigned ratio, std::int64_t stop = openEnd);
    /// Starts the write thread, which does not write frames from `stop` on. The pipeline uses `file` until
    /// `finish` has returned.
    void start(SoundFile& file, const Format& format, const Carried& carried, std::int64_t stop = openEnd);
    void start(SoundFile& file, const Format& format) { start(file, format, Carried{}); }
    /// Frames from `frame` on are not written, whenever the recording is finished: they belong to the next one.
    void setStopFrame(std::int64_t frame);
    /// Ends the recording before frame `stop`: stops the write thread, waits for it and for sound that is still
    /// on its way (not longer than `stopPatience`), and writes what is left.
    /// Reports overflow and loss; `secondCount` is the length in seconds that the recording's dates promise.
    Account finish(std::int64_t stop, double secondCount);
    /// Sound stopped coming after frame `frame` - 1 and goes on with it later: no recording may hold both
    /// sides, and frames that were still expected when it stopped belong to nobody. Sound from before it that
    /// is in no file yet stays in the queue, for a recording that ends at the break.
    void breakAt(std::int64_t frame) {
        m_breakFrame = frame;
        m_firstFreeFrame = std::min(m_firstFreeFrame, frame);
    }
    /// Where the sound stopped coming last.
    std::int64_t breakFrame() const { return m_breakFrame; }
    /// A leap of the capture times that the device did not tell of, once a second of sound behind it says that
    /// it stays.
    std::optional<FrameClock::Leap> takeLeap() { return m_frameClock.takeLeap(); }
    /// First frame of the recording.
    std::int64_t startFrame() const { return m_startFrame; }
    /// The frame that is, was or will be captured at `time`; the next one, as long as no cycle was captured.
    std::int64_t frameAt(HostTime time) const { return m_frameClock.frameAt(time).value_or(frameCount()); }
    /// True once a cycle was captured since the queue was made.
    bool delivers() const { return m_frameClock.frameAt(0).has_value(); }
    /// Frames captured so far: the number of the next one.
    std::int64_t frameCount() const;
    /// When a frame was or will be captured, as the latest cycle tells; nothing before the first.
    std::optional<HostTime> timeOfFrame(std::int64_t frame) const { return m_frameClock.timeOf(frame); }

    MarkerMixer& marker() { return m_marker; }

    // Any thread
    /// Queue capacity in bytes: 80 s of stereo floats at the device's rate.
    unsigned preBufferSize() const { return preBufferSizeAtRate(m_recordSampleRate); }
    static unsigned preBufferSizeAtRate(double recordSampleRate);
    bool writeThread() const { return m_writeThread.load(std::memory_order_acquire); }
    bool fileWriteing() const { return m_fileWriteing.load(std::memory_order_acquire); }
    bool writeThreadError() const { return m_writeThreadError.load(std::memory_order_acquire); }

    /// Seconds between two looks of the write thread at its run flag, and how many of them make a write
    /// interval.
    static constexpr double wakeInterval = 1.0;
    static constexpr int wakesPerWrite = 5;
    /// Seconds that `finish` waits for sound that is still on its way from the device.
    static constexpr double stopPatience = 2.0;

private:
    void writeSoundFileThread();
    std::int64_t writeSoundFile(unsigned size);
    /// Moves what the queue holds before frame `end` into `m_pending`. False when there is no memory for it.
    bool convertUntil(std::int64_t end);
    void convert(const float* block, std::uint64_t firstSample, std::size_t samples);
    bool writePending();
    std::int64_t pendingFrame() const;
    bool hasUnwritten() const { return !m_pending.empty() && pendingFrame() < m_stopFrame; }
    void discardUntilStart();
    void awaitFrame(std::int64_t frame);
    void finalFlush(double lastInput);
    Account reckon(double lastInput, double secondCount);
    std::int64_t aligned(std::int64_t frame) const;
    void reportError(std::string_view text);
    void reportEvent(std::string_view text);

    Clock& m_clock;
    SystemLog& m_log;
    const NotificationCenter& m_notifications;
    std::function<void()> m_errorHandler;
    std::function<void(bool)> m_activityHandler;

    double m_recordSampleRate = 0.0;
    std::unique_ptr<VmQueBuffer> m_soundQue;
    FrameClock m_frameClock;
    MarkerMixer m_marker;
    std::atomic<std::uint64_t> m_inputCount{0};   // bytes; advanced by the I/O thread
    std::atomic<std::int64_t> m_overflowCount{0}; // bytes; advanced by the I/O thread

    std::unique_ptr<Nap> m_nap; // of the write thread; a stop ends it
    std::atomic<bool> m_writeThread{false};
    std::atomic<bool> m_fileWriteing{false};
    std::atomic<bool> m_writeThreadError{false};
    std::atomic<std::int64_t> m_stopFrame{openEnd};

    // Write thread while `fileWriteing`, else main thread
    SoundFile* m_file = nullptr;
    Format m_format;
    Format m_pendingForm; // of m_pending
    std::int64_t m_startFrame = 0;
    std::int64_t m_writePos = 0;
    double m_writeCount = 0.0;
    std::int64_t m_endFrame = 0; // behind the last one taken from the queue
    std::vector<float> m_piece;  // on its way from the queue
    /// Converted, not yet written; ends with frame m_endFrame. What lies behind the stop is the next one's.
    std::vector<std::int16_t> m_pending;

    // Main thread
    std::int64_t m_firstFreeFrame = 0; // where the last recording ended: two never overlap
    std::int64_t m_breakFrame = 0;
};
