#include "app/VmControler.h"

#include "audio/VmDevice.h"
#include "base/AdministratorRight.h"
#include "base/Alert.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "base/VmTableView.h"
#include "dutylog/VmDutyLog.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserver.h"
#include "storage/VmMechanic.h"

void VmControler::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault("AuthorizationRequired", false);
    VmDutyLog::registerDefaults(defaults);
    VmMechanic::registerDefaults(defaults);
    VmReserver::registerDefaults(defaults);
    VmReserveList::registerDefaults(defaults);
    VmRecorder::registerDefaults(defaults);
    VmLevelMeter::registerDefaults(defaults);
    VmDevice::registerDefaults(defaults);
}

VmControler::VmControler(const Seams& seams)
    : m_seams(seams),
      m_authorization(seams.defaults.boolForKey("AuthorizationRequired")),
      m_mainTab(std::make_unique<TabView>()),
      m_recordTable(std::make_unique<VmTableView>()),
      m_keepTable(std::make_unique<VmTableView>()) {
    m_dutylog = std::make_unique<VmDutyLog>(*this);
    m_mechanic = std::make_unique<VmMechanic>(m_seams);
    m_reserver = std::make_unique<VmReserver>(*this);
    m_reservelist = std::make_unique<VmReserveList>(*this);
    m_devicer = std::make_unique<VmDevice>(*this);
    m_recorder = std::make_unique<VmRecorder>(*this);
    m_meter = std::make_unique<VmLevelMeter>(*this);
    m_devicer->awake();
    m_reservelist->awake();
}

VmControler::~VmControler() {
    // The cycles end before anything that they reach.
    m_devicer->stopDevices();
}

int VmControler::VmAuthorization() const {
    return m_seams.administratorRight.obtain() ? 0 : -1;
}

void VmControler::applicationDidFinishLaunching() {
    if (m_devicer->awakeError())
        m_seams.runLoop.post([this] { m_seams.runLoop.quit(1); });
    m_recorder->dispRecordMode();
    m_recorder->recordSourceChanged();
    m_recorder->monitorSourceChanged();
    m_devicer->recordDeviceStart();
    if (m_seams.defaults.isOfLaterVersion())
        m_seams.alert.tell({"SettingsOfLaterVersion", "LaterSettingsKept", "Understand"});
    m_seams.notifications.postLogEvent("DutyStart");
    m_recorder->initMarkerBuffer(); // the book is open, should the sound be missing
    m_recorder->rescueTempFile();
    m_recorder->deleteProgressSoundFile();
    m_recorder->reviveRecordCondition();
    if (m_recorder->autoStartup())
        m_recorder->autoRecordStart();
    else if (m_reserver->reserveAutoStartup())
        m_recorder->autoReserveStart();
}

VmControler::TerminateReply VmControler::applicationShouldTerminate() {
    if (m_recorder->recordButton().isOn() || m_recorder->reserveButton().isOn()) {
        m_seams.alert.ask({"UnableExit", "StopRecording", "Understand"});
        return TerminateReply::cancel;
    }
    if (m_authorization && VmAuthorization() != 0)
        return TerminateReply::cancel;
    return TerminateReply::now;
}

void VmControler::applicationWillTerminate() {
    m_recorder->finishForTermination();
    m_seams.log.log("---applicationWillTerminate---");
    m_seams.notifications.postLogEvent("DutyFinish");
    saveUserDefaults();
}

void VmControler::saveUserDefaults() {
    m_recorder->saveUserDefaults();
    m_mechanic->saveUserDefaults();
    m_reserver->saveUserDefaults();
    m_reservelist->saveUserDefaults();
    m_dutylog->saveUserDefaults();
    m_devicer->saveUserDefaults();
    m_seams.defaults.synchronize();
}
