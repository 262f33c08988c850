#include "recorder/WritePipeline.h"

#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "recorder/SampleConversion.h"
#include "storage/SoundFile.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <span>

namespace {
constexpr unsigned bytesPerFrame = 2 * sizeof(float); // of the queue

unsigned saturated(double value) {
    return static_cast<unsigned>(std::clamp(std::trunc(value), 0.0, 4294967295.0));
}
} // namespace

WritePipeline::WritePipeline(Clock& clock, SystemLog& log, const NotificationCenter& notifications)
    : m_clock(clock), m_log(log), m_notifications(notifications), m_nap(clock.makeNap()) {}

WritePipeline::~WritePipeline() {
    m_writeThread = false;
    m_nap->end();
    while (m_fileWriteing)
        m_clock.sleep(0.1);
}

unsigned WritePipeline::preBufferSizeAtRate(double recordSampleRate) {
    return saturated(recordSampleRate * 80.0 * 2.0 * 4.0);
}

void WritePipeline::reportError(std::string_view text) {
    m_log.log(text);
    m_notifications.postLogEvent("SomeErrorHappen", text);
}

void WritePipeline::reportEvent(std::string_view text) {
    m_notifications.postLogEvent("SomeReportHappen", text);
}

bool WritePipeline::initSoundQue(double recordSampleRate) {
    m_recordSampleRate = recordSampleRate;
    const unsigned size = preBufferSize();
    const bool made = m_soundQue != nullptr ? m_soundQue->setQueLength(size)
                                            : (m_soundQue = VmQueBuffer::initQueWithLength(size)) != nullptr;
    if (!made) {
        m_soundQue.reset();
        reportError("VmRecorder: no enough memory for Que buffer.");
        return false;
    }
    m_frameClock.reset(recordSampleRate);
    m_pending.clear();
    m_firstFreeFrame = frameCount();
    return true;
}

std::int64_t WritePipeline::frameCount() const {
    return m_soundQue == nullptr ? 0 : static_cast<std::int64_t>(m_soundQue->writtenSamples() / 2);
}

bool WritePipeline::capture(float* interleaved, unsigned samples, HostTime captured, bool recording) noexcept {
    if (m_soundQue == nullptr)
        return false;
    const unsigned bytes = samples * sizeof(float);
    m_inputCount.fetch_add(bytes, std::memory_order_relaxed);
    const bool isMarked = m_marker.mixInto(interleaved, samples, frameCount());
    if (recording) {
        const unsigned empty = m_soundQue->empty();
        if (bytes > empty)
            m_overflowCount.fetch_add(bytes - empty, std::memory_order_relaxed);
    }
    m_frameClock.note(frameCount(), captured);
    m_soundQue->writeFloat32Data(interleaved, samples);
    return isMarked;
}

std::int64_t WritePipeline::aligned(std::int64_t frame) const {
    return frame - frame % m_format.ratio();
}

std::int64_t WritePipeline::prepare(std::int64_t wished, unsigned ratio, std::int64_t stop) {
    const auto up = [ratio](std::int64_t frame) { return (frame + ratio - 1) / ratio * ratio; };
    std::int64_t oldest = static_cast<std::int64_t>(m_soundQue->readSamples() + 1) / 2;
    if (oldest == m_endFrame) // what a failed write has left goes on into the queue
        oldest = pendingFrame();
    // Down to the file's next frame, so that a recording that goes on at a seam shares its frame with the seam.
    m_startFrame = std::max({wished - wished % ratio, up(oldest), up(m_firstFreeFrame)});
    if (stop > m_breakFrame)
        m_startFrame = std::max(m_startFrame, up(m_breakFrame));
    m_soundQue->clearDataBefore(static_cast<std::uint64_t>(m_startFrame) * 2);
    m_inputCount =
        static_cast<std::uint64_t>(std::max<std::int64_t>(frameCount() - m_startFrame, 0)) * bytesPerFrame;
    return m_startFrame;
}

void WritePipeline::start(SoundFile& file, const Format& format, const Carried& carried, std::int64_t stop) {
    m_file = &file;
    m_format = format;
    const bool isSameForm =
        format.ratio() == m_pendingForm.ratio() && format.channels == m_pendingForm.channels;
    if (m_pending.empty() || m_startFrame != pendingFrame() || !isSameForm) {
        m_pending.clear();
        m_endFrame = m_startFrame;
    }
    m_pendingForm = format;
    if (carried.bytes > 0)
        m_startFrame = carried.firstFrame;
    setStopFrame(stop);
    m_writePos = carried.bytes;
    m_writeCount = static_cast<double>(carried.bytes);
    m_inputCount.fetch_add(static_cast<std::uint64_t>(carried.bytes / (2 * format.channels)) * format.ratio() *
                           bytesPerFrame);
    m_overflowCount = 0;
    m_writeThreadError = false;
    m_nap = m_clock.makeNap(); // without an end that came after the last thread's
    m_writeThread = true;
    // Set here too: whoever stops at once must not take the thread for one that has already ended.
    m_fileWriteing = true;
    m_clock.detachThread("write", [this] { writeSoundFileThread(); });
}

std::int64_t WritePipeline::pendingFrame() const {
    const auto channels = static_cast<std::size_t>(m_pendingForm.channels);
    return m_endFrame - static_cast<std::int64_t>(m_pending.size() / channels) * m_pendingForm.ratio();
}

void WritePipeline::setStopFrame(std::int64_t frame) {
    m_stopFrame = std::max(aligned(frame), m_startFrame);
}

void WritePipeline::writeSoundFileThread() {
    m_fileWriteing = true;
    HostTime wake = m_clock.hostTime() + hostTimeFromSeconds(wakeInterval);
    while (m_writeThread) {
        if (m_activityHandler)
            m_activityHandler(true);
        writeSoundFile(0);
        if (m_activityHandler)
            m_activityHandler(false);
        if (m_writeThreadError) {
            if (m_errorHandler)
                m_errorHandler();
            reportError("VmRecorder: audio file write error.");
            break;
        }
        for (int count = 0; count < wakesPerWrite && m_writeThread; ++count) {
            m_nap->sleepUntil(wake);
            wake = m_clock.hostTime() + hostTimeFromSeconds(wakeInterval);
        }
    }
    m_fileWriteing.store(false, std::memory_order_release);
}

void WritePipeline::discardUntilStart() {
    const auto position = static_cast<std::int64_t>(m_soundQue->readSamples());
    const std::int64_t early = std::min<std::int64_t>(m_startFrame * 2 - position, m_soundQue->remain() / 4);
    if (early <= 0)
        return;
    std::vector<float> discarded(static_cast<std::size_t>(early));
    m_soundQue->readFloat32Data(discarded.data(), static_cast<unsigned>(early));
}

std::int64_t WritePipeline::writeSoundFile(unsigned size) {
    if (!writePending())
        return 0;
    discardUntilStart();
    unsigned readSize = size == 0 ? m_soundQue->remain() : size;
    if (readSize > preBufferSize()) {
        readSize = preBufferSize();
        if (size == 0)
            reportEvent(formatted("VmRecorder: readSize(=%ld) too big, change readSize(=%ld).",
                                  static_cast<long>(readSize), static_cast<long>(readSize)));
    }
    const auto position = static_cast<std::int64_t>(m_soundQue->readSamples()) / 2;
    const std::int64_t end =
        std::min({aligned(position + readSize / bytesPerFrame), aligned(frameCount()), m_stopFrame.load()});
    if (end <= position || position < m_startFrame)
        return 0;
    if (!convertUntil(end)) {
        reportError("VmRecorder: no enough memory for write buffer.");
        m_writeThreadError = true;
        return 0;
    }
    const auto count = static_cast<std::int64_t>(m_pending.size() * sizeof(std::int16_t));
    return writePending() ? count : 0;
}

bool WritePipeline::convertUntil(std::int64_t end) {
    // In pieces that stay in the cache; a whole number of decimation groups each.
    constexpr std::int64_t pieceFrames = 8192;
    const std::int64_t first = static_cast<std::int64_t>(m_soundQue->readSamples()) / 2;
    try {
        m_piece.resize(pieceFrames * 2);
        m_pending.reserve(static_cast<std::size_t>((end - first) / m_format.ratio() * m_format.channels));
        for (std::int64_t position = first; position < end;
             position = static_cast<std::int64_t>(m_soundQue->readPosition()) / 2) {
            const auto wanted = static_cast<unsigned>(std::min(end - position, pieceFrames) * 2);
            const std::size_t got = m_soundQue->readFloat32Data(m_piece.data(), wanted) / sizeof(float);
            if (got == 0)
                break;
            convert(m_piece.data(), m_soundQue->readPosition() - got, got);
            m_endFrame = static_cast<std::int64_t>(m_soundQue->readPosition()) / 2;
        }
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

void WritePipeline::convert(const float* block, std::uint64_t firstSample, std::size_t samples) {
    // An overflow may have moved the first frame off the decimation's phase.
    const unsigned ratio = m_format.ratio();
    const std::uint64_t offPhase = firstSample / 2 % ratio;
    const std::size_t skipped = offPhase == 0 ? 0 : static_cast<std::size_t>(ratio - offPhase) * 2;
    const std::size_t frames = samples > skipped ? (samples - skipped) / 2 / ratio : 0;
    const std::size_t before = m_pending.size();
    m_pending.resize(before + frames * static_cast<std::size_t>(m_format.channels));
    reduceToFile(block + skipped, frames, ratio, m_format.channels, m_pending.data() + before);
}

bool WritePipeline::writePending() {
    // A stop that became known late may lie within the block, or before it.
    const std::int64_t frames = (std::min(m_stopFrame.load(), m_endFrame) - pendingFrame()) / m_format.ratio();
    if (frames <= 0)
        return true;
    const auto samples = static_cast<std::size_t>(frames * m_format.channels);
    if (!m_file->writeSamples(m_writePos, std::span(m_pending).first(samples)) || !m_file->updateHeader() ||
        !m_file->synchronize()) {
        if (!m_writeThreadError.exchange(true)) // the final flush tries a failed block again: no news
            reportError("VmRecorder: audio file write error.");
        return false;
    }
    const auto count = static_cast<std::int64_t>(samples * sizeof(std::int16_t));
    m_writeCount += static_cast<double>(count);
    m_writePos += count;
    m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(samples));
    return true;
}

void WritePipeline::awaitFrame(std::int64_t frame) {
    const HostTime deadline = m_clock.hostTime() + hostTimeFromSeconds(stopPatience);
    while (frameCount() < frame && m_clock.hostTime() < deadline)
        m_clock.sleep(0.02);
}

WritePipeline::Account WritePipeline::finish(std::int64_t stop, double secondCount) {
    setStopFrame(stop);
    m_writeThread = false;
    m_nap->end();
    while (fileWriteing())
        m_clock.sleep(0.1);
    // A device that has been silent for longer than the patience is not on its way, it is gone.
    const double late = static_cast<double>(m_stopFrame - frameCount()) / m_format.recordSampleRate;
    if (late < stopPatience)
        awaitFrame(m_stopFrame);
    // Counted only now: what was on its way at the stop belongs to this recording's input.
    const double fileShare = m_format.sampleRate * m_format.channels;
    const double lastInput =
        static_cast<double>(m_inputCount.exchange(0)) * fileShare / m_format.recordSampleRate * 4.0;
    finalFlush(lastInput);
    // A disk that stumbles gets a little time, so that the file need not end here.
    constexpr int attempts = 5;
    for (int attempt = 0; attempt < attempts && hasUnwritten(); ++attempt) {
        m_clock.sleep(0.2);
        writeSoundFile(preBufferSize());
    }
    m_file = nullptr;
    return reckon(lastInput, secondCount);
}

WritePipeline::Account WritePipeline::reckon(double lastInput, double secondCount) {
    Account account;
    account.lastInput = lastInput;
    account.writeCount = m_writeCount;
    account.frames = m_stopFrame - m_startFrame;
    account.missingFrames = std::max<std::int64_t>(m_stopFrame - std::max(frameCount(), m_startFrame), 0);
    if (!m_pending.empty() || m_writeThreadError)
        account.unwrittenFrames =
            std::max<std::int64_t>(m_stopFrame - std::max(pendingFrame(), m_startFrame), 0);
    m_firstFreeFrame = std::max(m_stopFrame - account.unwrittenFrames, m_firstFreeFrame);
    const std::int64_t over = std::max<std::int64_t>(pendingFrame() - m_stopFrame, 0) / m_format.ratio();
    account.overRecordBytes = std::min(over * m_format.channels * 2, m_writePos);

    const auto overflow = static_cast<long>(m_overflowCount.exchange(0));
    account.overflowCount = static_cast<std::int32_t>(overflow);
    if (overflow != 0)
        reportError(formatted("VmRecorder: sound que buffer overflow %ld bytes.", overflow));
    const double expected = secondCount * m_format.sampleRate * m_format.channels * 2.0;
    const double lostIn = (expected - lastInput) / m_format.sampleRate / m_format.channels * 0.5;
    const double lostOut = (expected - m_writeCount) / m_format.sampleRate / m_format.channels * 0.5;
    if (lostIn >= 1.0 || lostOut >= 1.0)
        reportEvent(formatted("VmRecorder: data lost input=%fseconds, write=%fseconds", lostIn, lostOut));
    return account;
}

void WritePipeline::finalFlush(double lastInput) {
    const double fileShare = m_format.sampleRate * m_format.channels;
    const double rest = (lastInput - m_writeCount) * m_format.recordSampleRate * 4.0 / fileShare;
    if (rest < 0.0)
        reportEvent(formatted("VmRecorder: over input %ldbytes(=%fseconds)", static_cast<long>(-rest),
                              rest / (fileShare * -2.0)));
    else if (rest > 0.0)
        writeSoundFile(std::max(saturated(rest), 1U));
}
