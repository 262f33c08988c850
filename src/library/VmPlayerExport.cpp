#include "app/VmControler.h"
#include "base/Alert.h"
#include "base/NotificationCenter.h"
#include "base/SavePanel.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "library/ExportName.h"
#include "library/PlayerControls.h"
#include "library/VmPlayerFiles.h"
#include "library/VmPlayList.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/SoundFileNames.h"
#include "storage/VmMechanic.h"
#include "storage/Volume.h"

#include <cerrno>
#include <cstring>
#include <limits>

namespace {
constexpr SoundFileCopier::Range everything{.head = 0, .tail = std::numeric_limits<std::int64_t>::max()};
} // namespace

void VmPlayerFiles::actCopy() {
    if (selectedName().empty() || m_exporter.isCopying())
        return;
    const std::string before = selectedName();
    const std::string chosen = chosenDestination(before);
    if (chosen.empty())
        return;
    // While the panel was open, the recording in progress may have got another name; its row stays selected.
    const std::string source = selectedName().empty() ? before : selectedName();
    copy(orderFor(chosen, source), isSelectedInProgress());
}

std::string VmPlayerFiles::chosenDestination(const std::string& source) {
    Button& addDate = m_controls.addDateCheck();
    Button& addNote = m_controls.addNoteCheck();
    UserDefaults& defaults = m_controler.seams().defaults;
    addDate.setOn(defaults.boolForKey("AddDateName"));
    addNote.setOn(defaults.boolForKey("AddNoteName"));
    SaveRequest request{
        .titleKey = "ExportFileTitle",
        .promptKey = "Export",
        .folder = {},
        // Its own name, not hidden; with the date to be added, only what stands before it.
        .suggestedName = addDate.isOn() ? "Velmoratide.aif" : source.substr(1),
        .fileType = std::string(SoundFileNames::soundExtension),
        .options = {{.titleKey = "AddDateName", .helpKey = "AddDateNameHelp", .on = addDate.isOn()},
                    {.titleKey = "AddNoteName", .helpKey = "AddNoteNameHelp", .on = addNote.isOn()}}};
    const auto chosen = m_controler.seams().savePanel.choose(request);
    if (!chosen)
        return {};
    addDate.setOn(request.options.at(0).on);
    addNote.setOn(request.options.at(1).on);
    defaults.set("AddDateName", addDate.isOn());
    defaults.set("AddNoteName", addNote.isOn());
    defaults.synchronize();
    return *chosen;
}

std::string VmPlayerFiles::namedDestination(const std::string& chosen, const std::string& source,
                                            const Selection& selection) const {
    std::string named = chosen;
    if (m_controls.addDateCheck().isOn()) {
        std::optional<ExportName::Times> times;
        if (selection.length > 0.0) // the second time is that of the length, taken as a point
            times = {.start = secondsAtPoint(selection.start), .end = secondsAtPoint(selection.length)};
        named = ExportName::withPart(named, ExportName::datePart(source, times));
    }
    if (m_controls.addNoteCheck().isOn())
        named = ExportName::withNote(named, m_list.noteStringAtRow(m_list.rowOfFileName(source)));
    if (named == chosen)
        return named;
    // The person has agreed to replace a file of the chosen name at most.
    Volume& volume = m_controler.seams().volume;
    const std::string folder = Paths::folderOf(named);
    const auto exists = [&](const std::string& name) { return volume.exists(Paths::inFolder(folder, name)); };
    return Paths::inFolder(folder,
                           SoundFileNames::freeName(std::string(RecordFolder::bareName(named)), exists));
}

SoundFileCopier::Order VmPlayerFiles::orderFor(const std::string& chosen, const std::string& source) const {
    const Selection selection = m_host.selection();
    SoundFileCopier::Order order;
    order.source = pathOf(source);
    order.destination = namedDestination(chosen, source, selection);
    order.mayReplace = order.destination == chosen;
    if (selection.length > 0.0)
        order.range = selection.range;
    else if (isSelectedInProgress()) // what has been written so far, with a header that fits it
        order.range = everything;
    return order;
}

bool VmPlayerFiles::isWorkFile(const std::string& path) const {
    const std::string name(RecordFolder::bareName(path));
    Volume& volume = m_controler.seams().volume;
    const std::string inRecordFolder = pathOf(name);
    for (const std::string& work : {m_mechanic.temporaryFilePath(), m_mechanic.relayFilePath(),
                                    m_controler.seams().defaults.stringForKey("ProgressSoundFileName")})
        if (!work.empty() && (path == work || (inRecordFolder == work && volume.isSameFile(path, work))))
            return true;
    return false;
}

void VmPlayerFiles::copy(const SoundFileCopier::Order& order, bool isProgress) {
    if (isWorkFile(order.destination)) {
        copyFailed(order, EINVAL);
        return;
    }
    m_exporter.start(order, [this, order, isProgress](const SoundFileCopier::Result& result) {
        const std::string progress = m_controler.seams().defaults.stringForKey("ProgressSoundFileName");
        SoundFileCopier::Order again = order;
        again.source = progress;
        // Just when it was to be opened it got the name of the next minute.
        if (isProgress && result.error == ENOENT && !progress.empty() && progress != order.source)
            copy(again, false);
        else
            copyEnded(order, result);
    });
    renewButtons();
}

void VmPlayerFiles::copyEnded(const SoundFileCopier::Order& order, const SoundFileCopier::Result& result) {
    renewButtons();
    if (result.outcome == SoundFileCopier::Outcome::cancelled)
        return;
    if (result.outcome == SoundFileCopier::Outcome::failed) {
        copyFailed(order, result.error);
        return;
    }
    const std::string folder = Paths::folderOf(order.destination);
    if (folder == Paths::trimmed(m_mechanic.recordFolder()) ||
        m_controler.seams().volume.isSameFile(folder, m_mechanic.recordFolder()))
        m_host.renewListAndControl();
    m_originalFile = RecordFolder::bareName(order.source);
    m_destinationFile = RecordFolder::bareName(order.destination);
    m_controler.seams().notifications.postLogEvent("SoundFileCopy");
}

void VmPlayerFiles::copyFailed(const SoundFileCopier::Order& order, int error) {
    const bool isOther =
        error != EINVAL && error != EPERM && error != EISDIR && error != EEXIST && error != ENAMETOOLONG;
    m_controler.seams().alert.tell(
        {"FileCopyError", isOther ? "CheckAndRetry" : "ChooseOtherName", "Understand"});
    m_controler.seams().log.log("VmPlayer: " + order.destination + ": " + std::strerror(error));
    reportError("VmPlayer: file copy error.");
}
