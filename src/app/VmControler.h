// app/VmControler.h — the application controller, as its peers see it.
#pragma once
#include "base/Seams.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

class Button;
struct KeeperWait;
class MainWindowModel;
class TabView;
class VmAnalyzer;
class VmDevice;
class VmDutyLog;
class VmKeeper;
class VmLevelMeter;
class VmMechanic;
class VmPlayer;
class VmPrefer;
class VmRecorder;
class VmReserveList;
class VmReserver;
class VmTableView;

/// Owns every other controller for the whole life of the process. Controllers reach each other only through the
/// accessors. Main thread only.
class VmControler {
public:
    /// Registers every controller's settings; done before the first one is read.
    static void registerDefaults(UserDefaults& defaults);

    explicit VmControler(const Seams& seams);
    ~VmControler();
    VmControler(const VmControler&) = delete;
    VmControler& operator=(const VmControler&) = delete;

    const Seams& seams() const { return m_seams; }
    VmAnalyzer& analyzer() const { return *m_analyzer; }
    VmDevice& devicer() const { return *m_devicer; }
    VmDutyLog& dutylog() const { return *m_dutylog; }
    VmKeeper& keeper() const { return *m_keeper; }
    VmMechanic& mechanic() const { return *m_mechanic; }
    VmLevelMeter& meter() const { return *m_meter; }
    VmPlayer& player() const { return *m_player; }
    VmPrefer& prefer() const { return *m_prefer; }
    VmRecorder& recorder() const { return *m_recorder; }
    VmReserver& reserver() const { return *m_reserver; }
    VmReserveList& reservelist() const { return *m_reservelist; }

    MainWindowModel& mainWindow() const { return *m_mainWindow; }
    TabView& mainTab() const { return *m_mainTab; }             ///< 0 record, 1 play, 2 timer, 3 keep
    VmTableView& recordTable() const { return *m_recordTable; } ///< the recordings on the play tab
    VmTableView& keepTable() const { return *m_keepTable; }     ///< the kept files on the keep tab
    /// Mirrors `authorization`.
    Button& authorizationButton() const { return *m_authorizationButton; }

    bool authorization() const { return m_authorization; }
    /// Asks for the administrator right: 0 when it was granted, else -1.
    int VmAuthorization() const;

    float opacity() const; ///< of the main window, 0..1
    /// Shows the main window with this opacity at once.
    void setOpacity(float opacity);

    /// The start-up sequence, in its order.
    void applicationDidFinishLaunching();
    /// The window came to the front.
    void applicationDidBecomeActive();
    enum class TerminateReply { now, cancel, later };
    /// After `later` the reply handler is called once, unless another request was answered with `now` before.
    TerminateReply applicationShouldTerminate();
    /// What is called when a quit that waited for the keeper may go on.
    void setTerminateReplyHandler(std::function<void()> handler) { m_terminateReply = std::move(handler); }
    void applicationWillTerminate();
    /// Has every controller store its settings.
    void saveUserDefaults();

    /// The handler of the main tabs: asks at the gate, tells the controllers, sizes the window.
    void tabViewDidSelectTabViewItem(int index);
    void actAuthorization();
    void actVersionButton();
    void actCopyrightButton();
    /// Opens a page of the user guide, such as "index.html".
    void openHelp(const std::string& page);

private:
    bool isRefusedAtGate() const { return m_authorization && VmAuthorization() != 0; }
    void observeSettings();
    void tellTabs(int selected);
    TerminateReply quitWhileCompressing();
    void dataKeepCompletedHandler();

    const Seams m_seams;
    bool m_authorization = false;
    std::function<void()> m_terminateReply;
    std::unique_ptr<KeeperWait> m_keeperWait;      // while a quit waits
    std::unique_ptr<MainWindowModel> m_mainWindow; // these controls outlive the controllers
    std::unique_ptr<Button> m_authorizationButton;
    std::unique_ptr<TabView> m_mainTab;
    std::unique_ptr<VmTableView> m_recordTable;
    std::unique_ptr<VmTableView> m_keepTable;
    std::unique_ptr<VmDutyLog> m_dutylog; // first: the threads of all others report to it
    std::unique_ptr<VmMechanic> m_mechanic;
    std::unique_ptr<VmReserver> m_reserver;
    std::unique_ptr<VmReserveList> m_reservelist;
    std::unique_ptr<VmRecorder> m_recorder;
    std::unique_ptr<VmLevelMeter> m_meter;
    std::unique_ptr<VmPlayer> m_player;
    std::unique_ptr<VmAnalyzer> m_analyzer;
    std::unique_ptr<VmKeeper> m_keeper;
    std::unique_ptr<VmPrefer> m_prefer;
    std::unique_ptr<VmDevice> m_devicer;
};
