#include "app/VmControler.h"

#include "app/KeeperWait.h"
#include "app/MainWindowModel.h"
#include "app/VmPrefer.h"
#include "audio/VmDevice.h"
#include "base/Alert.h"
#include "base/Controls.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "base/VmTableView.h"
#include "dutylog/VmDutyLog.h"
#include "keeper/VmKeeper.h"
#include "library/VmAnalyzer.h"
#include "library/VmPlayer.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserver.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <string_view>

namespace {
constexpr double longestPictureWait = 2.0; ///< seconds; what is missing is drawn when somebody looks
}

void VmControler::registerDefaults(UserDefaults& defaults) {
    defaults.registerDefault("AuthorizationRequired", false);
    defaults.registerDefault("WindowOpacity", 1.0);
    defaults.registerDefault("MainWindow", "");
    VmDutyLog::registerDefaults(defaults);
    VmMechanic::registerDefaults(defaults);
    VmReserver::registerDefaults(defaults);
    VmReserveList::registerDefaults(defaults);
    VmRecorder::registerDefaults(defaults);
    VmLevelMeter::registerDefaults(defaults);
    VmPlayer::registerDefaults(defaults);
    VmDevice::registerDefaults(defaults);
    VmPrefer::registerDefaults(defaults);
    VmKeeper::registerDefaults(defaults);
}

VmControler::VmControler(const Seams& seams)
    : m_seams(seams),
      m_authorization(seams.defaults.boolForKey("AuthorizationRequired")),
      m_mainWindow(std::make_unique<MainWindowModel>()),
      m_authorizationButton(std::make_unique<Button>()),
      m_mainTab(std::make_unique<TabView>()),
      m_recordTable(std::make_unique<VmTableView>()),
      m_keepTable(std::make_unique<VmTableView>()) {
    observeSettings();
    setOpacity(static_cast<float>(seams.defaults.doubleForKey("WindowOpacity")));
    m_mainWindow->setFrame(seams.defaults.stringForKey("MainWindow"));
    m_authorizationButton->setAction([this] { actAuthorization(); });
    m_mainTab->setAction([this](int index) { tabViewDidSelectTabViewItem(index); });
    m_dutylog = std::make_unique<VmDutyLog>(*this);
    m_mechanic = std::make_unique<VmMechanic>(m_seams);
    m_reserver = std::make_unique<VmReserver>(*this);
    m_reservelist = std::make_unique<VmReserveList>(*this);
    m_devicer = std::make_unique<VmDevice>(*this);
    m_recorder = std::make_unique<VmRecorder>(*this);
    m_meter = std::make_unique<VmLevelMeter>(*this);
    m_player = std::make_unique<VmPlayer>(*this);
    m_analyzer = std::make_unique<VmAnalyzer>(*this, m_player->waveView());
    m_keeper = std::make_unique<VmKeeper>(*this);
    m_prefer = std::make_unique<VmPrefer>(*this);
    m_devicer->awake();
    m_player->awake();
    m_reservelist->awake();
    m_reserver->awake();
    m_keeper->awake();
}

VmControler::~VmControler() {
    m_seams.defaults.setFaultHandler({});
    // The cycles end before anything that they reach.
    m_devicer->stopDevices();
}

/// Settings that cannot be read or stored are told when the launch is done: the log book is open then.
void VmControler::observeSettings() {
    m_seams.defaults.setFaultHandler([&seams = m_seams](const std::string& fault) {
        seams.runLoop.post([&notifications = seams.notifications, fault] {
            notifications.postLogEvent("SomeErrorHappen", fault);
        });
    });
}

void VmControler::applicationDidFinishLaunching() {
    if (m_devicer->awakeError())
        m_seams.runLoop.post([this] { m_seams.runLoop.quit(1); });
    m_authorizationButton->setOn(m_authorization);
    m_recorder->setControlState();
    m_recorder->dispRecordMode();
    m_recorder->mainTabSelected();
    m_player->mainTabUnselected();
    m_reserver->mainTabUnselected();
    m_recorder->recordSourceChanged();
    m_recorder->monitorSourceChanged();
    m_player->playSourceChanged();
    m_devicer->recordDeviceStart();
    m_mainTab->select(0);
    tabViewDidSelectTabViewItem(0);
    m_mainWindow->show();
    if (m_seams.defaults.isOfLaterVersion())
        m_seams.alert.tell({"SettingsOfLaterVersion", "LaterSettingsKept", "Understand"});
    if (m_seams.defaults.wasUnreadable())
        m_seams.alert.tell({"SettingsUnreadable", "SettingsUnreadableInfo", "Understand"});
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

void VmControler::applicationWillTerminate() {
    m_recorder->finishForTermination();
    m_analyzer->awaitPictures(longestPictureWait);
    m_seams.log.log("---applicationWillTerminate---");
    m_seams.notifications.postLogEvent("DutyFinish");
    saveUserDefaults();
}

void VmControler::saveUserDefaults() {
    m_recorder->saveUserDefaults();
    m_mechanic->saveUserDefaults();
    m_player->saveUserDefaults();
    m_reserver->saveUserDefaults();
    m_reservelist->saveUserDefaults();
    m_dutylog->saveUserDefaults();
    m_devicer->saveUserDefaults();
    UserDefaults& defaults = m_seams.defaults;
    defaults.set("MainWindow", std::string_view(m_mainWindow->frame()));
    defaults.set("AuthorizationRequired", m_authorization);
    defaults.set("WindowOpacity", static_cast<double>(opacity()));
    defaults.synchronize();
}
