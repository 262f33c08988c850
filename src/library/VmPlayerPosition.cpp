// Where playback stands: positions, the slider, the step buttons, and the texts of times.
#include "app/VmControler.h"
#include "audio/KaCoreAudioDevice.h"
#include "audio/VmDevice.h"
#include "base/UserDefaults.h"
#include "base/VmTableView.h"
#include "library/TimeStrings.h"
#include "library/VmPlayer.h"
#include "recorder/VmQueBuffer.h"
#include "storage/SoundFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>

// --- positions -----------------------------------------------------------------------------------------------

std::int64_t VmPlayer::adjustReadPosition(std::int64_t position) const {
    const std::int64_t frame = m_channels == 1 ? 2 : 4; // bytes
    return position / frame * frame;
}

bool VmPlayer::isSelected() const {
    const Range range = selection();
    return range.length > 0.0 && range.width > 0.0;
}

std::int64_t VmPlayer::positionAt(double point, double width) const {
    return adjustReadPosition(static_cast<std::int64_t>(static_cast<double>(m_numDatas) * point / width));
}

std::int64_t VmPlayer::headPosition() const {
    const Range range = selection();
    return isSelected() ? positionAt(range.start, range.width) : 0;
}

std::int64_t VmPlayer::tailPosition() const {
    const Range range = selection();
    return isSelected() ? positionAt(range.start + range.length, range.width) : m_numDatas;
}

void VmPlayer::resetReadPosition(std::int64_t position) {
    m_stopReadFile = true;
    // The queue is emptied by its reader: no cycle may read meanwhile.
    KaCoreAudioDevice* const device = m_paused ? nullptr : m_controler.devicer().playDevice();
    if (device != nullptr)
        device->setDevicePaused(true);
    m_playbackQue->clearData();
    m_fileReadPos = position;
    m_readPos = position;
    m_endOfSoundFile = false;
    m_endReached = false;
    m_isDraining = false;
    if (device != nullptr)
        device->setDevicePaused(false);
    redrawPositionLine();
    m_stopReadFile = false;
}

void VmPlayer::resetPlaybackPoint(bool keepPaused) {
    if (m_playing)
        pausePlayback(true);
    resetReadPosition(adjustReadPosition(m_pointSlider.value()));
    dispRecordTime();
    if (m_playing && !keepPaused)
        pausePlayback(false);
}

// --- controls ------------------------------------------------------------------------------------------------

void VmPlayer::setSliderPosition(std::int64_t position) {
    m_pointSlider.setValue(
        static_cast<int>(std::clamp<std::int64_t>(position, m_pointSlider.minimum(), m_pointSlider.maximum())));
}

void VmPlayer::moveTo(std::int64_t position, Button& button) {
    if (m_pointSlider.value() == position)
        return;
    button.setOn(false);
    setSliderPosition(position);
    resetPlaybackPoint(button.isOn());
}

void VmPlayer::actHeadButton() {
    moveTo(headPosition(), m_headButton);
}

void VmPlayer::actTailButton() {
    moveTo(tailPosition(), m_tailButton);
}

void VmPlayer::actBackButton() {
    // One buffer more than forwards: that much is played between two presses.
    const std::int64_t position =
        m_pointSlider.value() - std::int64_t{m_fastSize} * m_stepFast - std::int64_t{m_fastSize};
    setSliderPosition(std::min(position, tailPosition()));
    resetPlaybackPoint(false);
    m_backButton.setOn(true);
}

void VmPlayer::actFastButton() {
    const std::int64_t position = m_pointSlider.value() + std::int64_t{m_fastSize} * m_stepFast;
    setSliderPosition(std::max(position, headPosition()));
    resetPlaybackPoint(false);
    m_fastButton.setOn(true);
}

void VmPlayer::actPointSlider() {
    const std::int64_t tail = std::max(tailPosition(), headPosition());
    const std::int64_t position = std::clamp(adjustReadPosition(m_pointSlider.value()), headPosition(), tail);
    setSliderPosition(position);
    resetPlaybackPoint(position != m_lastPoint);
    m_lastPoint = static_cast<int>(position);
}

void VmPlayer::showStepFast(int steps) {
    m_stepFast = std::clamp(steps, 0, largestStep);
    m_stepFastField.setText(std::to_string(m_stepFast));
    m_stepFastStepper.setValue(m_stepFast);
}

void VmPlayer::actStepFastField() {
    const std::string text = m_stepFastField.text();
    double steps = m_stepFast;
    std::from_chars(text.data(), text.data() + text.size(), steps);
    showStepFast(static_cast<int>(std::clamp(std::isfinite(steps) ? steps : 0.0, 0.0, double{largestStep})));
    saveUserDefaults();
}

void VmPlayer::actStepFastStepper() {
    showStepFast(m_stepFastStepper.value());
    saveUserDefaults();
}

void VmPlayer::actEndlessCheck() {
    m_endlessPlay = m_endlessCheck.isOn();
}

// --- texts ---------------------------------------------------------------------------------------------------

std::int64_t VmPlayer::bytesPerSecond() const {
    return static_cast<std::int64_t>(m_sampleRate) * m_channels * 2;
}

void VmPlayer::dispRecordTime() {
    if (!isOpen()) {
        m_positionText.setText("");
        return;
    }
    constexpr double day = 86400.0; // seconds
    const double played =
        static_cast<double>(readPos()) / static_cast<double>(std::max<std::int64_t>(1, bytesPerSecond()));
    m_positionText.setText(TimeStrings::timeStringWithSeconds(std::fmod(m_startSecond + played, day)));
}
