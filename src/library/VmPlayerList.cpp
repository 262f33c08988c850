// The list of recordings, the selected one, and its picture.
#include "app/VmControler.h"
#include "base/UserDefaults.h"
#include "base/VmTableView.h"
#include "library/TimeStrings.h"
#include "library/VmAnalyzer.h"
#include "library/VmPlayer.h"
#include "library/VmPlayerFiles.h"
#include "library/VmPlayList.h"
#include "library/VmWaveView.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/SoundFile.h"
#include "storage/VmMechanic.h"
#include "storage/Volume.h"

#include <array>
#include <cstdio>
#include <optional>
#include <utility>

void VmPlayer::awakeList() {
    VmTableView& table = m_controler.recordTable();
    m_files = std::make_unique<VmPlayerFiles>(m_controler, *m_dataSource, *this, filesHost());
    m_dataSource->attach(table);
    m_dataSource->setRenewedHandler([this] { listRenewed(); });
    table.setRowAction([this] { selectionDidChange(); });
    m_controler.mechanic().setFolderHandler([this] { renewListAndControl(); });
    NotificationCenter& center = m_controler.seams().notifications;
    m_observations.push_back(
        center.observe(VmSelectRangeStart_Notification, [this](const Notification& change) {
            m_controler.analyzer().erasePositionLine();
            dispSelectedRangeText(change);
        }));
    m_observations.push_back(center.observe(
        VmSelectRangeDrag_Notification, [this](const Notification& change) { dispSelectedRangeText(change); }));
    m_observations.push_back(center.observe(VmSelectRangeEnd_Notification, [this](const Notification& change) {
        m_controler.analyzer().erasePositionLine(); // with Shift it was still there, under the mark
        redrawPositionLine();
        dispSelectedRangeText(change);
    }));
    m_observations.push_back(center.observe(VmSelectRangeRelease_Notification, [this](const Notification&) {
        m_controler.analyzer().erasePositionLine();
        redrawPositionLine();
        clearSelectRangeText();
    }));
    m_observations.push_back(center.observe(VmCreateImageFile_Notification, [this](const Notification& made) {
        const auto path = made.userInfo.find(std::string(ImageFilePath));
        if (path == made.userInfo.end())
            return;
        // It comes on a worker's thread.
        m_controler.seams().runLoop.post([this, alive = std::weak_ptr<bool>(m_alive), drawn = path->second] {
            if (!alive.expired() && drawn == selectedPath())
                showImage();
        });
    }));
}

VmPlayerFiles::Host VmPlayer::filesHost() {
    return {.stopPlayback = [this] { stopPlayback(); },
            .reopen =
                [this] {
                    if (m_controler.seams().volume.exists(presentPath()))
                        openFile(presentPath());
                    dispRecordTime();
                },
            .renewListAndControl = [this] { renewListAndControl(); },
            .selection =
                [this] {
                    refreshLength(); // what a growing recording holds by now
                    const Range range = selection();
                    return VmPlayerFiles::Selection{.start = range.start,
                                                    .length = range.length,
                                                    .width = range.width,
                                                    .range = {headPosition(), tailPosition()}};
                },
            .deleteImageFile =
                [this](const std::string& soundPath) {
                    return VmAnalyzer::deleteImageFile(m_controler.seams().volume, soundPath);
                }};
}

void VmPlayer::mainTabSelected() {
    m_dataSource->setShown(true);
    renewListAndControl();
}

void VmPlayer::mainTabUnselected() {
    // What is heard can be stopped on this tab only.
    m_playButton.setOn(false);
    actPlayButton();
    m_dataSource->setShown(false);
}

void VmPlayer::initDataSource() {
    m_dataSource->initWithDirPath(m_controler.mechanic().recordFolder());
}

void VmPlayer::renewListAndControl() {
    m_dataSource->renewWithDirPath(m_controler.mechanic().recordFolder());
    listRenewed(); // the controls at once; again when the folder has been read
}

std::string VmPlayer::selectedPath() const {
    return m_selectedName.empty() ? std::string() : Paths::inFolder(m_dataSource->folder(), m_selectedName);
}

std::string VmPlayer::presentPath() const {
    // The recording in progress gets another name every minute; the list learns it a little later.
    constexpr std::size_t startLength = 28; // of a name, up to the time at which the recording began
    const std::string path = selectedPath();
    const std::string progress =
        m_controler.seams().defaults.stringForKey("ProgressSoundFileName"); // full path
    const bool renamed =
        RecordFolder::bareName(progress).substr(0, startLength) == m_selectedName.substr(0, startLength);
    return renamed && !m_controler.seams().volume.exists(path) ? progress : path;
}

void VmPlayer::selectionDidChange() {
    const std::string name = m_dataSource->fileNameAtRow(m_controler.recordTable().selectedRow());
    if (!name.empty() && name == m_selectedName && isOpen())
        return;
    m_selectedName = name;
    stopPlayback();
    m_waveView->clearSelectedRange();
    takeRow();
    showImage();
    if (!m_selectedName.empty())
        openFile(presentPath());
    m_pictureDatas = m_numDatas; // the picture that is shown or asked for
    dispRecordTime();
}

void VmPlayer::listRenewed() {
    const int row = m_controler.recordTable().selectedRow();
    const std::string name = m_dataSource->fileNameAtRow(row);
    if (name != m_selectedName) {
        const std::string path = name.empty() ? name : Paths::inFolder(m_dataSource->folder(), name);
        if (!name.empty() && m_playbackFile && m_playbackFile->isAt(path)) {
            m_selectedName = name; // the recording in progress has got another name
            m_playbackPath = path;
            if (m_waveView->shownImage().isNull())
                showImage(); // one that was waited for was to come under the old name
        } else if (name.empty() && m_playing) {
            m_selectedName.clear(); // it was removed: it is heard to its end
        } else {
            selectionDidChange();
        }
    } else if (!m_playing && reopenIfReplaced()) {
        showImage();
    }
    takeRow();
    m_totalTimeText.setText(m_dataSource->totalPeriodString());
    std::array<char, 32> size{};
    std::snprintf(size.data(), size.size(), "%.1f", m_dataSource->totalSize());
    m_totalSizeText.setText(size.data());
    m_totalFilesText.setText(std::to_string(m_dataSource->totalFiles()));
    if (m_dataSource->isInProgressAtRow(row))
        followProgress();
    else if (std::exchange(m_followsProgress, false))
        takeFinished();
}

void VmPlayer::followProgress() {
    m_followsProgress = true;
    refreshLength();
    // The picture of a growing recording is drawn again when a tenth has come to it.
    if (!isSelected() && m_numDatas > m_pictureDatas + m_pictureDatas / 10) {
        m_pictureDatas = m_numDatas;
        m_controler.analyzer().createImageFileWithSoundFile(selectedPath());
    }
}

void VmPlayer::takeFinished() {
    refreshLength();
    // Its last picture is of a shorter recording, and nothing that is kept.
    if (isOpen() && m_numDatas != m_pictureDatas)
        showImage();
}

void VmPlayer::takeRow() {
    const int row = m_selectedName.empty() ? -1 : m_dataSource->rowOfFileName(m_selectedName);
    m_startSecond = TimeStrings::secondsWithTimeString(m_dataSource->startTimeStringAtRow(row));
    m_files->renewButtons();
    if (!isSelected())
        clearSelectRangeText();
}

void VmPlayer::showImage() {
    VmAnalyzer& analyzer = m_controler.analyzer();
    const std::string path = selectedPath();
    m_waveView->setImage({});
    analyzer.initPositionLine();
    if (path.empty())
        return;
    if (const auto image = analyzer.imageWithSoundFile(path)) {
        m_waveView->setImage(*image);
        m_pictureDatas = m_numDatas;
        redrawPositionLine();
    } else {
        analyzer.createImageFileWithSoundFile(path);
    }
}

// --- the range -----------------------------------------------------------------------------------------------

VmPlayer::Range VmPlayer::selection() const {
    const WaveRange range = m_waveView->selectedRange();
    return {static_cast<double>(range.location), static_cast<double>(range.length),
            static_cast<double>(m_waveView->bounds().width())};
}

void VmPlayer::dispSelectedRangeText(const Notification& change) {
    const auto text = change.userInfo.find(std::string(SelectedRange));
    const auto range = text == change.userInfo.end() ? std::nullopt : WaveRange::fromText(text->second);
    if (!range)
        return;
    const double head = secondsAtPoint(range->location);
    const double tail = secondsAtPoint(range->end());
    m_headText.setText(TimeStrings::timeStringWithSeconds(head));
    m_tailText.setText(TimeStrings::timeStringWithSeconds(tail));
    m_lengthText.setText(TimeStrings::periodStringWithSeconds(tail - head));
}

void VmPlayer::clearSelectRangeText() {
    const int row = m_selectedName.empty() ? -1 : m_dataSource->rowOfFileName(m_selectedName);
    m_headText.setText(m_dataSource->startTimeStringAtRow(row));
    m_tailText.setText(m_dataSource->endTimeStringAtRow(row));
    m_lengthText.setText(m_dataSource->spendTimeStringAtRow(row));
}

void VmPlayer::redrawPositionLine() {
    const std::int64_t width = m_waveView->bounds().width();
    // Not by the mechanic's count of bytes, which is that of the file opened last by anybody.
    const int x = m_numDatas > 0 ? static_cast<int>(readPos() * width / m_numDatas) : 0;
    VmAnalyzer& analyzer = m_controler.analyzer();
    if (analyzer.savePoint() == x)
        return;
    analyzer.erasePositionLine();
    if (isOpen())
        analyzer.drawPositionLine(x);
}

// --- work on the selected recording --------------------------------------------------------------------------

void VmPlayer::actLock() {
    m_files->actLock();
}

void VmPlayer::actNote() {
    m_files->actNote();
}

void VmPlayer::editNoteEndHandler(const std::string& text) {
    m_files->editNoteEndHandler(text);
}

bool VmPlayer::writeNoteWithPath(const std::string& path, const std::string& note) {
    return m_files->writeNoteWithPath(path, note);
}

void VmPlayer::actDelete() {
    m_files->actDelete();
}

void VmPlayer::actCopy() {
    m_files->actCopy();
}

double VmPlayer::secondsAtPoint(double x) const {
    return m_files->secondsAtPoint(x);
}

void VmPlayer::onlyCopyButtonSetEnable() {
    m_files->onlyCopyButtonSetEnable();
}

bool VmPlayer::verifyDelete() const {
    return m_files->verifyDelete();
}

void VmPlayer::setVerifyDelete(bool verifyDelete) {
    m_files->setVerifyDelete(verifyDelete);
}

const std::string& VmPlayer::deleteFile() const {
    return m_files->deleteFile();
}

const std::string& VmPlayer::deleteImage() const {
    return m_files->deleteImage();
}

const std::string& VmPlayer::originalFile() const {
    return m_files->originalFile();
}

const std::string& VmPlayer::destinationFile() const {
    return m_files->destinationFile();
}
