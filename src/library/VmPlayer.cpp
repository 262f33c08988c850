#include "library/VmPlayer.h"

#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Alert.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "library/SoundTransform.h"
#include "library/VmPlayList.h"
#include "library/VmWaveView.h"
#include "recorder/VmQueBuffer.h"
#include "storage/SoundFile.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <cmath>
#include <limits>

void VmPlayer::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault("StepFast", 10.0);
    defaults.registerDefault("EndressPlayMode", true);
    defaults.registerDefault("VerifyDelete", true);
    defaults.registerDefault("AddDateName", false);
    defaults.registerDefault("AddNoteName", false);
}

VmPlayer::VmPlayer(VmControler& controler)
    : m_controler(controler),
      m_dataSource(std::make_unique<VmPlayList>(controler)),
      m_waveView(std::make_unique<VmWaveView>(controler.seams().notifications, controler.seams().log)),
      m_playbackQue(VmQueBuffer::initQueWithLength(0)) {}

VmPlayer::~VmPlayer() {
    m_controler.mechanic().setFolderHandler(nullptr);
}

void VmPlayer::awake() {
    const UserDefaults& defaults = m_controler.seams().defaults;
    m_endlessPlay = defaults.boolForKey("EndressPlayMode");
    m_endlessCheck.setOn(m_endlessPlay);
    m_playButton.setImage("PlayButton.png");
    const double steps = defaults.doubleForKey("StepFast");
    showStepFast(static_cast<int>(std::clamp(std::isfinite(steps) ? steps : 10.0, 0.0, double{largestStep})));
    bindControls();
    awakeList();
    enablePlayback();
    takeRow();
}

void VmPlayer::bindControls() {
    m_playButton.setAction([this] { actPlayButton(); });
    m_headButton.setAction([this] { actHeadButton(); });
    m_tailButton.setAction([this] { actTailButton(); });
    m_backButton.setAction([this] { actBackButton(); });
    m_fastButton.setAction([this] { actFastButton(); });
    m_pointSlider.setAction([this](int) { actPointSlider(); });
    m_stepFastField.setAction([this] { actStepFastField(); });
    m_stepFastStepper.setAction([this](int) { actStepFastStepper(); });
    m_endlessCheck.setAction([this] { actEndlessCheck(); });
}

void VmPlayer::saveUserDefaults() {
    UserDefaults& defaults = m_controler.seams().defaults;
    defaults.set("StepFast", static_cast<double>(m_stepFast));
    defaults.set("EndressPlayMode", m_endlessPlay);
    defaults.set("VerifyDelete", verifyDelete());
    defaults.synchronize();
}

void VmPlayer::reportError(const std::string& text) const {
    m_controler.seams().log.log(text);
    m_controler.seams().notifications.postLogEvent("SomeErrorHappen", text);
}

// --- file ----------------------------------------------------------------------------------------------------

bool VmPlayer::openFile(const std::string& path) {
    stopPlaying();
    forgetFile();
    VmMechanic& mechanic = m_controler.mechanic();
    std::unique_ptr<SoundFile> file = mechanic.openAIFFFileWithPath(path);
    if (!file || file->channels() > 2) {
        m_controler.seams().alert.tell({"FileOpenError", "CheckAndRetry", "Understand"});
        reportError("VmPlayer: file open error.");
        return false;
    }
    m_playbackFile = std::move(file);
    m_playbackPath = path;
    m_sampleRate = static_cast<float>(m_playbackFile->rate());
    m_channels = static_cast<int>(m_playbackFile->channels());
    m_numDatas = mechanic.numDatas();
    fitToDevice();
    resetReadPosition(headPosition());
    showLength();
    enablePlayback();
    return true;
}

void VmPlayer::forgetFile() {
    m_playbackFile.reset();
    m_playbackPath.clear();
    m_sampleRate = 0.0F;
    m_channels = 0;
    m_numDatas = 0;
    m_fastSize = 0;
    resetReadPosition(0);
    showLength();
    enablePlayback();
}

void VmPlayer::enablePlayback() {
    for (Button* button : {&m_playButton, &m_headButton, &m_tailButton, &m_backButton, &m_fastButton})
        button->setEnabled(isOpen());
    m_pointSlider.setEnabled(isOpen());
}

void VmPlayer::showLength() {
    // A file of others may be longer than a slider reaches; it is played to its end all the same.
    m_pointSlider.setRange(
        0, static_cast<int>(std::min<std::int64_t>(m_numDatas, std::numeric_limits<int>::max())));
    setSliderPosition(readPos());
    m_cycleTail.store(tailPosition(), std::memory_order_relaxed);
}

void VmPlayer::refreshLength() {
    // A recording in progress grows. One that can no longer be read keeps the length that it had.
    if (!m_playbackFile || !m_playbackFile->refresh() || isSelected())
        return; // a range keeps the sound that it was drawn around
    if (m_numDatas == m_playbackFile->byteCount())
        return;
    m_numDatas = m_playbackFile->byteCount();
    showLength();
}

bool VmPlayer::reopenIfReplaced() {
    // Renamed or removed, a file is still there for who has it open; but another one under its name is another
    // recording.
    if (!m_playbackFile || m_playbackFile->isAt(m_playbackPath) ||
        !m_controler.seams().volume.exists(m_playbackPath))
        return false;
    const std::string path = m_playbackPath; // openFile forgets it first
    openFile(path);
    return true;
}

// --- play device ---------------------------------------------------------------------------------------------

void VmPlayer::fitToDevice() {
    const VmDevice& devicer = m_controler.devicer();
    const double deviceRate = devicer.playSampleRate();
    const ReadPlan plan = ReadPlan::make(m_sampleRate, m_channels, deviceRate);
    if (plan.readSize == 0)
        return;
    m_fastSize = static_cast<int>(2.0 * devicer.playBufferSize() *
                                  (m_channels * static_cast<double>(m_sampleRate)) / deviceRate);
    // A read is made as soon as there is room for it. Room for three keeps at least two seconds of sound in the
    // queue at every tick, so that a main thread that is busy for a while is not heard.
    const std::int64_t length = plan.neededSpace * 3;
    m_readFileBuffer.resize(static_cast<std::size_t>(plan.readSize / 2) + 1); // and the sample after
    m_transformBuffer.resize(static_cast<std::size_t>(plan.neededSpace / 4) + 2);
    if (!m_playbackQue->setQueLength(static_cast<unsigned>(length)))
        reportError("VmPlayer: no memory for playback.");
    m_cycleRate = deviceRate;
}

void VmPlayer::setPlayIOTargetWithDevice(KaCoreAudioDevice& device) {
    device.setDelegate(this);
    device.setIOTarget(*this, &VmPlayer::playbackIOForDevice, nullptr);
    m_playbacking = false;
}

void VmPlayer::playSourceChanged() {
    const VmDevice& devicer = m_controler.devicer();
    m_playDevicePicture.setImage(devicer.playDevice() == nullptr   ? "NoOutput.png"
                                 : devicer.isPresentInternalPlay() ? "Speaker.png"
                                                                   : "LineOut.png");
    m_playDevicePicture.setToolTip(devicer.playDevice() == nullptr ? "" : devicer.presentJapanPlaySourceName());
    if (!isOpen())
        return;
    // What waits in the queue was made for the rate of the old device.
    const bool resumes = m_playing && !m_paused;
    if (resumes)
        pausePlayback(true);
    fitToDevice();
    resetReadPosition(adjustReadPosition(readPos()));
    if (!m_playing)
        return;
    if (devicer.playDevice() == nullptr) {
        stopForFault();
        return;
    }
    m_playbacking = true;
    if (resumes)
        pausePlayback(false);
}

void VmPlayer::playOutputLost() {
    if (!m_playing)
        return;
    reportError("VmPlayer: sound output \"" + m_controler.devicer().presentJapanPlaySourceName() +
                "\" is gone.");
    stopForFault();
}

void VmPlayer::audioDeviceStartDidFail(KaCoreAudioDevice& device, OSStatus reason) {
    reportError("VmPlayer: sound output \"" + device.deviceName() + "\" cannot be started (" +
                std::to_string(reason) + ").");
}

void VmPlayer::stopForFault() {
    m_playButton.setOn(false);
    actPlayButton();
    m_controler.seams().alert.tell({"PlayOutputGone", "CheckOutput", "Understand"});
}
