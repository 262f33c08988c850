#include "library/VmPlayerFiles.h"

#include "app/VmControler.h"
#include "base/Alert.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "base/VmTableView.h"
#include "dutylog/VmDutyLog.h"
#include "library/PlayerControls.h"
#include "library/RecordNote.h"
#include "library/TimeStrings.h"
#include "library/VmPlayList.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/VmMechanic.h"
#include "storage/Volume.h"

#include <utility>

namespace {
constexpr char noteColumn[] = "Remark";
}

VmPlayerFiles::VmPlayerFiles(VmControler& controler, VmPlayList& list, PlayerControls& controls, Host host)
    : m_controler(controler),
      m_mechanic(controler.mechanic()),
      m_table(controler.recordTable()),
      m_list(list),
      m_controls(controls),
      m_host(std::move(host)),
      m_verifyDelete(controler.seams().defaults.boolForKey("VerifyDelete")),
      m_exporter(controler.seams().clock, controler.seams().runLoop, controler.seams().volume) {
    const UserDefaults& defaults = controler.seams().defaults;
    controls.addDateCheck().setOn(defaults.boolForKey("AddDateName"));
    controls.addNoteCheck().setOn(defaults.boolForKey("AddNoteName"));
    controls.lockButton().setAction([this] { actLock(); });
    controls.noteButton().setAction([this] { actNote(); });
    controls.deleteButton().setAction([this] { actDelete(); });
    controls.copyButton().setAction([this] { actCopy(); });
    controler.dutylog().setPlayerFilesHook([this] {
        return VmDutyLog::PlayerFiles{.originalFile = m_originalFile,
                                      .destinationFile = m_destinationFile,
                                      .deleteFile = m_deleteFile,
                                      .deleteImage = m_deleteImage};
    });
    renewButtons();
}

VmPlayerFiles::~VmPlayerFiles() {
    m_controler.dutylog().setPlayerFilesHook(nullptr);
}

int VmPlayerFiles::selectedRow() const {
    return m_table.selectedRow();
}

std::string VmPlayerFiles::selectedName() const {
    return m_list.fileNameAtRow(selectedRow());
}

bool VmPlayerFiles::isSelectedInProgress() const {
    const std::string progress = m_controler.seams().defaults.stringForKey("ProgressSoundFileName");
    return m_list.isInProgressAtRow(selectedRow()) ||
           (!progress.empty() && RecordFolder::bareName(progress) == selectedName());
}

std::string VmPlayerFiles::pathOf(const std::string& name) const {
    return Paths::inFolder(m_mechanic.recordFolder(), name);
}

void VmPlayerFiles::reportError(const std::string& message) const {
    m_controler.seams().log.log(message);
    m_controler.seams().notifications.postLogEvent("SomeErrorHappen", message);
}

// --- buttons -------------------------------------------------------------------------------------------------

void VmPlayerFiles::setWorkEnabled(bool others, bool copy) {
    m_controls.lockButton().setEnabled(others);
    m_controls.noteButton().setEnabled(others);
    m_controls.deleteButton().setEnabled(others);
    m_controls.copyButton().setEnabled(copy && !m_exporter.isCopying());
}

void VmPlayerFiles::onlyCopyButtonSetEnable() {
    setWorkEnabled(false, true);
}

void VmPlayerFiles::renewButtons() {
    const bool hasRow = !selectedName().empty();
    m_controls.lockButton().setOn(hasRow && m_list.isLockedAtRow(selectedRow()));
    if (hasRow && isSelectedInProgress())
        onlyCopyButtonSetEnable();
    else
        setWorkEnabled(hasRow, hasRow);
}

// --- lock ----------------------------------------------------------------------------------------------------

void VmPlayerFiles::actLock() {
    const std::string name = selectedName();
    if (name.empty() || isSelectedInProgress())
        return;
    if (m_mechanic.isLockedFile(name))
        m_mechanic.unlockFile(name); // the mechanic says what fails
    else
        m_mechanic.lockFile(name);
    m_list.renewRow(name);
    renewButtons(); // a lock that failed leaves the button as it was
    m_host.renewListAndControl();
}

// --- note ----------------------------------------------------------------------------------------------------

void VmPlayerFiles::tellLocked() const {
    m_controler.seams().alert.tell({"FileLockedError", "UnlockAndRetry", "Understand"});
}

void VmPlayerFiles::actNote() {
    const std::string name = selectedName();
    if (name.empty() || isSelectedInProgress())
        return;
    if (m_mechanic.isLockedFile(name)) {
        tellLocked();
        return;
    }
    m_editedName = name;
    m_table.editCell(selectedRow(), noteColumn, [this](const std::string& text) { editNoteEndHandler(text); });
}

void VmPlayerFiles::editNoteEndHandler(const std::string& text) {
    const std::string name = std::exchange(m_editedName, {});
    if (name.empty())
        return;
    if (m_mechanic.isLockedFile(name)) // since the editing began
        tellLocked();
    else if (!writeNoteWithPath(pathOf(name), text))
        m_controler.seams().alert.tell({"NoteWriteError", "CheckAndRetry", "Understand"});
    m_list.renewRow(name);
    m_host.renewListAndControl();
}

bool VmPlayerFiles::writeNoteWithPath(const std::string& path, const std::string& note) {
    const bool written = RecordNote::write(m_controler.seams().volume, path, note) == 0;
    if (!written)
        reportError("VmPlayer: note write error.");
    return written;
}

// --- delete --------------------------------------------------------------------------------------------------

void VmPlayerFiles::actDelete() {
    const std::string name = selectedName();
    if (name.empty() || isSelectedInProgress())
        return;
    const Seams& seams = m_controler.seams();
    if (m_verifyDelete &&
        seams.alert.ask({"RemoveCaution", "RemoveInfo", "ExecRemove", "Cancel"}) != AlertAnswer::defaultButton)
        return;
    m_host.stopPlayback();
    const std::string path = pathOf(name);
    // A lock that is made of permissions alone would not keep the system from removing the file.
    if (m_mechanic.isLockedFile(name) || seams.volume.remove(path) != 0) {
        seams.alert.tell({"FileRemoveError", "CheckAndRetry", "Understand"});
        m_host.reopen(); // it stays selected, and can be played as before
        return;
    }
    m_list.renewRow(name);
    m_host.renewListAndControl();
    m_deleteFile = name;
    m_deleteImage = RecordFolder::bareName(m_host.deleteImageFile(path));
    seams.notifications.postLogEvent("SoundFileDelete");
}

double VmPlayerFiles::secondsAtPoint(double x) const {
    const double start = TimeStrings::secondsWithTimeString(m_list.startTimeStringAtRow(selectedRow()));
    const double width = m_host.selection().width;
    return width > 0.0 ? start + m_list.spendTimeAtRow(selectedRow()) * x / width : start;
}
