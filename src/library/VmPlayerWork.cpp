// The work on the selected recording, handed on to what does it.
#include "app/VmControler.h"
#include "library/VmAnalyzer.h"
#include "library/VmPlayer.h"
#include "library/VmPlayerFiles.h"
#include "library/VmPlayList.h"

void VmPlayer::awakeFiles() {
    m_files = std::make_unique<VmPlayerFiles>(
        m_controler, *m_dataSource, *this,
        VmPlayerFiles::Host{.stopPlayback = [this] { stopPlayback(); },
                            .renewListAndControl = [this] { renewListAndControl(); },
                            .selection =
                                [this] {
                                    const Range range = selection();
                                    return VmPlayerFiles::Selection{
                                        .start = range.start,
                                        .length = range.length,
                                        .width = range.width,
                                        .range = {.head = headPosition(), .tail = tailPosition()}};
                                },
                            .deleteImageFile =
                                [&volume = m_controler.seams().volume](const std::string& path) {
                                    return VmAnalyzer::deleteImageFile(volume, path);
                                }});
}

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
