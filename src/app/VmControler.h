// app/VmControler.h — the application controller, as its peers see it.
#pragma once
#include "base/Seams.h"

#include <memory>

class TabView;
class VmAnalyzer;
class VmDevice;
class VmDutyLog;
class VmLevelMeter;
class VmMechanic;
class VmPlayer;
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
    VmMechanic& mechanic() const { return *m_mechanic; }
    VmLevelMeter& meter() const { return *m_meter; }
    VmPlayer& player() const { return *m_player; }
    VmRecorder& recorder() const { return *m_recorder; }
    VmReserver& reserver() const { return *m_reserver; }
    VmReserveList& reservelist() const { return *m_reservelist; }

    TabView& mainTab() const { return *m_mainTab; }             ///< 0 record, 1 play, 2 timer, 3 keep
    VmTableView& recordTable() const { return *m_recordTable; } ///< the recordings on the play tab
    VmTableView& keepTable() const { return *m_keepTable; }     ///< the kept files on the keep tab

    bool authorization() const { return m_authorization; }
    /// Asks for the administrator right: 0 when it was granted, else -1.
    int VmAuthorization() const;

    /// The start-up sequence, in its order.
    void applicationDidFinishLaunching();
    enum class TerminateReply { now, cancel };
    TerminateReply applicationShouldTerminate();
    void applicationWillTerminate();

private:
    void saveUserDefaults();

    const Seams m_seams;
    bool m_authorization = false;
    std::unique_ptr<TabView> m_mainTab; // these controls outlive the controllers
    std::unique_ptr<VmTableView> m_recordTable;
    std::unique_ptr<VmTableView> m_keepTable;
    std::unique_ptr<VmDutyLog> m_dutylog; // first: the threads of all others report to it
    std::unique_ptr<VmMechanic> m_mechanic;
    std::unique_ptr<VmReserver> m_reserver;
    std::unique_ptr<VmReserveList> m_reservelist;
    std::unique_ptr<VmRecorder> m_recorder;
    std::unique_ptr<VmLevelMeter> m_meter;
    std::unique_ptr<VmPlayer> m_player;
    std::unique_ptr<VmAnalyzer> m_analyzer; // draws into the player's view
    std::unique_ptr<VmDevice> m_devicer;
};
