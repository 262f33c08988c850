// app/VmPrefer.h — the preferences.
#pragma once
#include "app/PreferControls.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "storage/HidingRename.h"
#include "storage/StoragePlan.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class UserDefaults;
class VmControler;

/// Runs the preferences drawer: shows every setting of every controller while it is open, and on "OK" hands the
/// changed ones to the controllers that own them. It decides nothing about recording.
///
/// While it is open nobody can begin to record by hand; while a recording or the timetable is on, it cannot be
/// opened, and nothing can be applied. Main thread only.
class VmPrefer final : public PreferControls {
public:
    explicit VmPrefer(VmControler& controler);
    ~VmPrefer();
    static void registerDefaults(UserDefaults& defaults);

    /// The preferences button.
    void actExecPrefer();
    /// Opens the drawer as it is.
    void execPrefer();
    void exitPrefer();
    void actCanceledPrefer();
    /// Applies what was changed.
    void actChangePrefer();
    /// False while something is recorded, or is going to be.
    void setControlEnabled(bool enabled);

    // Edits
    /// Refuses a length of file that takes more than half of the free space.
    void actMaxRecordTime();
    /// Refuses a total time that takes more than the free space.
    void actMaxTotalText();
    /// Shows the window with the chosen opacity at once.
    void actOpacitySlider();
    /// Asks before recordings are hidden: hidden ones do not outlive the next launch.
    void actHideCheck();
    /// Tries the compression command on a sample; a result comes as a notification.
    void actCheckKeepAction();
    /// A compress ratio was measured.
    void compressRatioHandle(const Notification& notification);

    // Display
    void dispDiskInfo();
    void resetControlState();
    /// What is played stays on its output: there is no other choice meanwhile.
    void setPlaySourceEnabled(bool enabled);

    /// Asked before another record folder, an existing one, is taken into use: false keeps the present one.
    void setFolderGuard(std::function<bool(const std::string&)> guard) { m_folderGuard = std::move(guard); }

    /// What the recording settings chosen in the controls need.
    StoragePlan plan() const;
    /// Bytes that are still to be filled by recordings.
    double reserveSpace() const;
    /// Whether files are still being hidden or shown.
    bool isRenaming() const { return m_renaming != nullptr; }

private:
    void setActions();
    void observeKeeper();
    void onMainThread(std::function<void()> call) const;
    void edited();

    // Opening
    void readSettings();
    void readRecorder();
    void readDevices();
    void readStorage();
    void readMarker();
    void readReserver();
    void readKeeper();
    void readProgram();
    void renewRates();

    // Applying, in this order
    void applyFormat();
    void applySources();
    void applyRecorder();
    void applyMarker();
    void applyHiding();
    void applyStorage();
    void applyFolder(const std::string& folder);
    void applyProgram();
    void applyReserver();
    void applyQuality();
    void applyKeeper();
    void applyAdvice();
    /// The place of the chosen source in the present list: sources may have come and gone meanwhile. Nothing,
    /// and a line in the system log, when it is gone.
    std::optional<int> presentSource(const Popup& popup, const std::vector<std::string>& present) const;
    void post(const char* event) const;
    void reportError(const std::string& message) const;

    /// Goes on hiding or showing: to the end if `isLast`, else for a moment at a time.
    void proceedRenaming(bool isLast);
    void renewRecordList() const;

    /// The key of the text that says why the choice cannot be applied; empty when it can.
    std::string_view faultKey() const;
    std::string_view keepFaultKey() const;
    std::string_view commandFaultKey() const;
    bool isFolderPath(const std::string& path) const;
    std::optional<double> freeSpace() const;
    void dispKeepTime();
    void checkKeepActionEnded();

    VmControler& m_controler;
    bool m_controlEnabled = true;
    bool m_playSourceEnabled = true;
    bool m_checkingKeep = false;
    float m_opacity = 1.0f;         ///< in force when the drawer was opened
    double m_recordedSeconds = 0.0; ///< of sound in the record folder, when the drawer was opened
    double m_keptBytes = 0.0;       ///< of the keep folder, then
    std::function<bool(const std::string&)> m_folderGuard;
    std::unique_ptr<HidingRename> m_renaming;
    std::unique_ptr<Timer> m_renameTimer;
    std::unique_ptr<Timer> m_figuresTimer;                        // while the drawer is open
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); // for calls posted from another thread
    NotificationCenter::Observation m_compressRatios;
    NotificationCenter::Observation m_compressEnds;
};
