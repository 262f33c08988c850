// The window's tabs, the gate, and the ways to quit.
#include "app/AuthorizationTool.h"
#include "app/KeeperWait.h"
#include "app/MainWindowModel.h"
#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "base/AdministratorRight.h"
#include "base/Alert.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "base/Workspace.h"
#include "keeper/VmKeeper.h"
#include "library/VmPlayer.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserver.h"
#include "storage/VmMechanic.h"

#include <array>

namespace {
struct Size {
    int width;
    int height;
};
/// Of the window, in pixels, with the record, play, timer and keep tab.
constexpr std::array<Size, 4> tabSizes{{{352, 262}, {510, 318}, {706, 318}, {376, 318}}};
} // namespace

int VmControler::VmAuthorization() const {
    AdministratorRight& right = m_seams.administratorRight;
    if (!right.obtain())
        return -1;
    // The right was granted, whatever the helper makes of it.
    if (const auto form = right.externalForm())
        AuthorizationTool(m_seams.authorizationTool, m_seams.log).pass(*form);
    return 0;
}

void VmControler::tabViewDidSelectTabViewItem(int index) {
    if (index < 0 || index >= static_cast<int>(tabSizes.size()))
        return;
    if (index != 0 && isRefusedAtGate()) {
        m_mainTab->select(0);
        tabViewDidSelectTabViewItem(0);
        return;
    }
    m_mainTab->select(index); // another choice may have been refused meanwhile
    m_authorizationButton->setEnabled(index == 0);
    tellTabs(index);
    const Size& size = tabSizes[static_cast<std::size_t>(index)];
    m_mainWindow->setSize(size.width, size.height);
}

void VmControler::tellTabs(int index) {
    if (index != 0)
        m_recorder->mainTabUnselected();
    if (index != 1)
        m_player->mainTabUnselected();
    if (index != 2)
        m_reserver->mainTabUnselected();
    if (index != 3)
        m_keeper->mainTabUnselected();
    switch (index) {
    case 0:
        m_recorder->mainTabSelected();
        m_meter->renewLEDDisplay();
        break;
    case 1:
        m_player->mainTabSelected();
        break;
    case 2:
        m_reserver->mainTabSelected();
        break;
    default:
        m_keeper->mainTabSelected();
    }
}

void VmControler::applicationDidBecomeActive() {
    if (m_mainTab->selected() == 0)
        m_meter->renewLEDDisplay();
}

void VmControler::actAuthorization() {
    if (isRefusedAtGate())
        m_authorizationButton->setOn(true);
    else
        m_authorization = m_authorizationButton->isOn();
}

VmControler::TerminateReply VmControler::applicationShouldTerminate() {
    if (m_recorder->recordButton().isOn() || m_recorder->reserveButton().isOn()) {
        m_seams.alert.ask({"UnableExit", "StopRecording", "Understand"});
        return TerminateReply::cancel;
    }
    if (isRefusedAtGate())
        return TerminateReply::cancel;
    return m_keeper->isCompressing() ? quitWhileCompressing() : TerminateReply::now;
}

VmControler::TerminateReply VmControler::quitWhileCompressing() {
    switch (m_seams.alert.ask(
        {"CompressingCaution", "CompressingCautionInfo", "StopAfterCompress", "Cancel", "ApplicationStop"})) {
    case AlertAnswer::alternateButton:
        return TerminateReply::cancel;
    case AlertAnswer::defaultButton:
        m_seams.log.log("standing by complete keeping.");
        m_keeperWait = std::make_unique<KeeperWait>(KeeperWait{
            m_seams.notifications.observe("DataKeepCompleteNotification", [this](const Notification&) {
                m_seams.runLoop.post([this] { dataKeepCompletedHandler(); });
            })});
        m_mainWindow->close();
        // The work may have come to its end while the person read.
        if (!m_keeper->isCompressing())
            m_seams.runLoop.post([this] { dataKeepCompletedHandler(); });
        return TerminateReply::later;
    case AlertAnswer::otherButton:
        break;
    }
    if (!m_mainWindow->isVisible())
        dataKeepCompletedHandler();
    m_mechanic->deleteDotFileInFolder(m_mechanic->recordFolder());
    m_mechanic->deleteDotFileInFolder(m_keeper->keepFolder());
    return TerminateReply::now;
}

void VmControler::dataKeepCompletedHandler() {
    if (m_keeperWait == nullptr)
        return; // told already
    m_seams.log.log("---dataKeepCompletedHandler---");
    m_keeperWait.reset();
    if (m_terminateReply)
        m_terminateReply();
}

void VmControler::actVersionButton() {
    if (m_seams.alert.ask({"SupportPage", "NeedInternet", "Go", "Cancel"}) == AlertAnswer::defaultButton)
        openHelp("support.html");
}

void VmControler::actCopyrightButton() {
    if (m_seams.alert.ask({"SendMessage", "NeedInetToSend", "Send", "Cancel"}) == AlertAnswer::defaultButton)
        openHelp("feedback.html");
}

void VmControler::openHelp(const std::string& page) {
    if (!m_seams.workspace.openFile(m_seams.helpFolder + "/" + page))
        m_seams.alert.tell({"HelpMissing", "HelpMissingInfo", "Understand"});
}

float VmControler::opacity() const {
    return m_mainWindow->opacity();
}

void VmControler::setOpacity(float opacity) {
    m_mainWindow->setOpacity(opacity);
}
