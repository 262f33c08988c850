// The part of VmKeeper that is the keep tab.
#include "app/VmControler.h"
#include "base/Alert.h"
#include "base/Formatted.h"
#include "base/RunLoop.h"
#include "base/SavePanel.h"
#include "base/SystemLog.h"
#include "base/VmTableView.h"
#include "base/Workspace.h"
#include "keeper/VmKeeper.h"
#include "storage/Paths.h"
#include "storage/Volume.h"

#include <cerrno>
#include <cstring>

namespace {
constexpr int keepTabIndex = 3;
constexpr double bytesPerMegabyte = 1048576.0;
} // namespace

void VmKeeper::initDataSource() {
    VmTableView& table = m_controler.keepTable();
    reportUnreadable(m_dataSource.initWithDirPath(m_keepFolder));
    if (!table.sortDescriptor().column.empty())
        m_dataSource.sort(table.sortDescriptor());
    if (table.source() != &m_dataSource)
        table.setSource(&m_dataSource);
    table.setDoubleAction([this] { doubleAction(); });
}

void VmKeeper::renewListAndControl() {
    VmTableView& table = m_controler.keepTable();
    const std::string selected = m_dataSource.fileNameAtRow(table.selectedRow());
    initDataSource();
    m_totalFilesText.setText(std::to_string(m_dataSource.totalFiles()));
    m_totalTimeText.setText(m_dataSource.totalPeriodString());
    m_totalSizeText.setText(formatted("%.1f", m_dataSource.totalSize() / bytesPerMegabyte));
    table.selectRow(m_dataSource.rowOfFile(selected));
    table.reloadData();
    changeSelectRow();
}

void VmKeeper::renewIfShown() {
    if (m_controler.mainTab().selected() == keepTabIndex)
        renewListAndControl();
}

void VmKeeper::changeSelectRow() {
    const bool isSelected = m_controler.keepTable().selectedRow() >= 0;
    m_playButton.setEnabled(isSelected);
    m_copyButton.setEnabled(isSelected && !m_cancelCopyButton.enabled());
    m_deleteButton.setEnabled(isSelected);
}

bool VmKeeper::validateMenuItem() const {
    return m_controler.mainTab().selected() == keepTabIndex;
}

std::string VmKeeper::selectedFile() const {
    const std::string name = m_dataSource.fileNameAtRow(m_controler.keepTable().selectedRow());
    return name.empty() ? std::string() : Paths::inFolder(m_keepFolder, name);
}

void VmKeeper::actPlayback() {
    const Seams& seams = m_controler.seams();
    const std::string path = selectedFile();
    if (path.empty() || (seams.volume.exists(path) && seams.workspace.openFile(path)))
        return;
    reportError("VmKeeper: kept file cannot be opened: " + path);
    seams.alert.ask({"FileOpenError", "CheckAndRetry", "Understand"});
}

void VmKeeper::actCopy() {
    const std::string path = selectedFile();
    if (path.empty() || m_exports.isRunning())
        return;
    SaveRequest request{.titleKey = "ExportFileTitle",
                        .promptKey = "Export",
                        .folder = m_controler.seams().volume.isFolder(m_expandFolder) ? m_expandFolder : "",
                        .suggestedName = path.substr(path.rfind('/') + 1),
                        .fileType = std::string(KeepName::extensionOf(path.substr(path.rfind('/') + 1))),
                        .options = {}};
    const auto chosen = m_controler.seams().savePanel.choose(request);
    if (!chosen)
        return;
    m_copyCancelled = false;
    m_cancelCopyButton.setEnabled(true);
    m_copyProgressText.setText("0 %");
    changeSelectRow();
    m_exports.append({.from = path, .to = *chosen});
}

/// Export thread.
void VmKeeper::copyOut(Export& wish) {
    int shown = 0;
    const auto progress = [this, &shown](double part) {
        const int percent = static_cast<int>(part * 100.0);
        if (percent == shown)
            return;
        shown = percent;
        onMainThread([this, percent] { m_copyProgressText.setText(std::to_string(percent) + " %"); });
    };
    const FileCopier::Result result =
        FileCopier(m_controler.seams().volume)
            .copy(wish.from, wish.to, {.replace = true, .cancelled = &m_copyCancelled, .progress = progress});
    if (!result.fault.empty())
        reportError("VmKeeper: kept file cannot be exported: " + result.fault + ": " + wish.to);
    onMainThread([this, result] { copyEnded(result); });
}

void VmKeeper::copyEnded(const FileCopier::Result& result) {
    m_cancelCopyButton.setEnabled(false);
    m_copyProgressText.setText("");
    changeSelectRow();
    if (result.outcome == FileCopier::Outcome::failed)
        m_controler.seams().alert.ask({"FileCopyError", "CheckAndRetry", "Understand"});
}

void VmKeeper::actDelete() {
    const Seams& seams = m_controler.seams();
    const std::string path = selectedFile();
    if (path.empty() ||
        seams.alert.ask({"RemoveCaution", "RemoveInfo", "ExecRemove", "Cancel"}) != AlertAnswer::defaultButton)
        return;
    if (const int error = seams.volume.isLocked(path) ? EPERM : seams.volume.remove(path); error != 0) {
        reportError("VmKeeper: kept file cannot be deleted (" + std::string(std::strerror(error)) +
                    "): " + path);
        seams.alert.ask({"FileRemoveError", "CheckAndRetry", "Understand"});
    } else {
        seams.log.log("VmKeeper: kept file deleted by hand: " + path);
    }
    renewListAndControl();
}
