// Start and stop, the read timer, the display timer, and the output callback.
#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "audio/AudioBufferList.h"
#include "audio/VmDevice.h"
#include "library/SoundTransform.h"
#include "library/VmPlayer.h"
#include "library/VmWaveView.h"
#include "recorder/VmQueBuffer.h"
#include "storage/SoundFile.h"

#include <algorithm>
#include <array>

namespace {
constexpr double readInterval = 1.0;    // seconds
constexpr double displayInterval = 0.2; // seconds
} // namespace

// --- start and stop ------------------------------------------------------------------------------------------

void VmPlayer::startPlayback(const std::string& path) {
    m_playButton.setOn(false);
    actPlayButton();
    openFile(path);
}

void VmPlayer::stopPlayback() {
    m_playButton.setOn(false);
    actPlayButton();
    forgetFile();
}

void VmPlayer::actPlayButton() {
    if (m_playButton.isOn() && !m_playing)
        startPlaying();
    else if (!m_playButton.isOn())
        stopPlaying();
}

void VmPlayer::startPlaying() {
    reopenIfReplaced();
    if (!isOpen() || !m_controler.devicer().securePlayDevice()) {
        m_playButton.setOn(false);
        return;
    }
    m_playButton.setOn(true);
    m_playButton.setImage("StopButton.png");
    refreshLength();
    m_cycleTail.store(tailPosition(), std::memory_order_relaxed);
    if (readPos() >= tailPosition() || readPos() < headPosition())
        resetReadPosition(headPosition());
    m_waveView->setSelectEnabled(false);
    m_controler.prefer().setPlaySourceEnabled(false);
    m_playing = true;
    m_playbacking = true;
    pausePlayback(false);
}

void VmPlayer::stopPlaying() {
    m_playButton.setOn(false);
    m_playButton.setImage("PlayButton.png");
    m_waveView->setSelectEnabled(true);
    m_controler.prefer().setPlaySourceEnabled(true);
    m_playing = false;
    m_playbacking = false;
    readTimerStop();
    m_controler.devicer().playDevicePause(true);
    m_paused = true;
    m_endReached = false;
    m_isDraining = false;
}

void VmPlayer::pausePlayback(bool pause) {
    if (pause) {
        readTimerStop();
        m_controler.devicer().playDevicePause(true);
        m_paused = true;
        return;
    }
    if (readPos() >= tailPosition())
        resetReadPosition(headPosition());
    readTimerStart();
    m_paused = false;
    if (!m_controler.devicer().playDevicePause(false))
        stopForFault();
}

// --- timers --------------------------------------------------------------------------------------------------

void VmPlayer::readTimerStart() {
    readSoundFileTimer();
    m_readTimer = m_controler.seams().runLoop.schedule({.interval = readInterval, .repeats = true},
                                                       [this] { readSoundFileTimer(); });
    armDisplay();
}

void VmPlayer::readTimerStop() {
    m_readTimer.reset();
    m_dispTimer.reset();
}

void VmPlayer::armDisplay() {
    m_dispTimer =
        m_controler.seams().runLoop.schedule({.interval = displayInterval}, [this] { dispPositionTimer(); });
}

void VmPlayer::readSoundFileTimer() {
    if (m_stopReadFile || !isOpen())
        return;
    refreshLength();
    const double deviceRate = m_controler.devicer().playSampleRate();
    const ReadPlan plan = ReadPlan::make(m_sampleRate, m_channels, deviceRate);
    if (plan.readSize > 0 && m_playbackQue->empty() >= plan.neededSpace)
        readStep(plan.readSize, static_cast<double>(m_sampleRate) / deviceRate);
}

void VmPlayer::readStep(std::int64_t readSize, double ratio) {
    const auto wanted = static_cast<std::size_t>(readSize / 2);
    const std::int64_t got =
        m_playbackFile->readSamples(m_fileReadPos, std::span(m_readFileBuffer).first(wanted + 1));
    if (got < 0)
        reportError("VmPlayer: sound file read error.");
    // The read size may end in the middle of a frame; the next read begins with a whole one.
    const std::int64_t bytes = adjustReadPosition(std::clamp<std::int64_t>(got, 0, readSize / 2) * 2);
    if (bytes > 0) {
        if (got * 2 <= bytes)
            m_readFileBuffer[static_cast<std::size_t>(bytes / 2)] = 0; // nothing comes after
        m_fileReadPos += bytes;
        const unsigned count = SoundTransform::transformSoundData(
            m_readFileBuffer.data(), m_transformBuffer.data(), bytes, ratio, m_channels);
        // The last floats stand for the sample after the data. The next read begins with that very sample:
        // handed on, they would double it, and have left and right change sides every two seconds.
        m_playbackQue->writeFloat32Data(m_transformBuffer.data(),
                                        std::min(count, SoundTransform::floats(bytes, ratio, m_channels)));
    }
    // A recording in progress may have grown since its end was met.
    m_endOfSoundFile = got < static_cast<std::int64_t>(wanted);
}

void VmPlayer::dispPositionTimer() {
    if (m_endReached && !m_endlessPlay && !m_isDraining) {
        // What was handed out last is still on its way through the output, and would not be heard if that were
        // stopped now. It gets until the next time.
        m_isDraining = true;
    } else if (m_endReached.exchange(false)) {
        m_isDraining = false;
        endOfPlayback();
        if (!m_playing)
            return;
    }
    redrawPositionLine();
    setSliderPosition(readPos());
    dispRecordTime();
    armDisplay();
}

void VmPlayer::endOfPlayback() {
    if (m_endlessPlay && readPos() > headPosition()) {
        resetReadPosition(headPosition());
        readSoundFileTimer();
        if (m_playbackQue->remain() > 0)
            return;
    }
    // Also when there is nothing to be heard at the head: it would end again at once, and for ever.
    m_playButton.setOn(false);
    actPlayButton();
}

// --- I/O thread ----------------------------------------------------------------------------------------------

OSStatus VmPlayer::playbackIOForDevice(KaCoreAudioDevice&, const AudioTimeStamp*, const AudioBufferList*,
                                       const AudioTimeStamp*, AudioBufferList* outputData,
                                       const AudioTimeStamp*, void*) noexcept {
    if (!m_playbacking.load(std::memory_order_relaxed) || m_endReached.load(std::memory_order_relaxed) ||
        outputData == nullptr || outputData->mNumberBuffers == 0)
        return audioHardwareNoError;
    const std::int64_t position = m_readPos.load(std::memory_order_relaxed);
    // The bytes of this cycle do not matter: who is at the tail is also beyond it with them.
    if (position >= m_cycleTail.load(std::memory_order_relaxed) ||
        (m_endOfSoundFile.load(std::memory_order_relaxed) && m_playbackQue->remain() == 0)) {
        sayEnd();
        return audioHardwareNoError;
    }
    const unsigned delivered = fill(*outputData);
    const double played = static_cast<double>(m_channels) * delivered * static_cast<double>(m_sampleRate);
    m_readPos.store(position + static_cast<std::int64_t>(played / (m_cycleRate * 4.0)),
                    std::memory_order_relaxed);
    return audioHardwareNoError;
}

void VmPlayer::sayEnd() noexcept {
    m_endOfSoundFile.store(false, std::memory_order_relaxed);
    m_endReached.store(true, std::memory_order_relaxed);
}

unsigned VmPlayer::fill(AudioBufferList& output) noexcept {
    AudioBuffer& first = output.mBuffers[0];
    if (first.mNumberChannels == 2)
        return m_playbackQue->readFloat32Data(static_cast<float*>(first.mData),
                                              first.mDataByteSize / static_cast<unsigned>(sizeof(float)));
    if (first.mNumberChannels == 0)
        return 0;
    // Another shape of output: left and right go to the first two channels, or both to the only one.
    constexpr unsigned pieceFrames = 256;
    std::array<float, std::size_t{pieceFrames} * 2> piece{};
    const bool apart = first.mNumberChannels == 1 && output.mNumberBuffers > 1;
    const unsigned step = first.mNumberChannels;
    const unsigned frames = first.mDataByteSize / static_cast<unsigned>(sizeof(float)) / step;
    auto* const left = static_cast<float*>(first.mData);
    float* const right = apart ? static_cast<float*>(output.mBuffers[1].mData) : left + 1;
    unsigned delivered = 0;
    for (unsigned begin = 0; begin < frames; begin += pieceFrames) {
        const unsigned count = std::min(pieceFrames, frames - begin);
        const unsigned bytes = m_playbackQue->readFloat32Data(piece.data(), count * 2);
        delivered += bytes;
        for (unsigned frame = 0; frame < bytes / 8; ++frame) {
            const std::size_t at = std::size_t{begin + frame} * step;
            const float one = piece[std::size_t{frame} * 2];
            const float other = piece[std::size_t{frame} * 2 + 1];
            if (step == 1 && !apart) {
                left[at] = (one + other) * 0.5F;
                continue;
            }
            left[at] = one;
            right[at] = other;
        }
        if (bytes < count * 8)
            break;
    }
    return delivered;
}
