// rehearsal/RehearsalDesk.h — the whole application on virtual time, with scripted surroundings.
#pragma once
#include "audio/hardware/simulated/SimulatedHardware.h"
#include "base/NotificationCenter.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "rehearsal/ManualFolderWatch.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/ScriptedAdministratorRight.h"
#include "rehearsal/ScriptedAlert.h"
#include "rehearsal/ScriptedSavePanel.h"
#include "rehearsal/ScriptedVolume.h"
#include "rehearsal/ScriptedWorkspace.h"
#include "rehearsal/VirtualClock.h"
#include "rehearsal/VirtualRunLoop.h"
#include "storage/PosixVolume.h"

#include <memory>
#include <QJsonObject>
#include <string>
#include <vector>

class VmControler;

/// One launch of the application. All files are real and lie in `folder`.
class RehearsalDesk {
public:
    struct Setting {
        std::string key;
        QJsonValue value;
    };

    /// `start` is local time in `zone`. Settings that an earlier launch left in `folder` are carried on; the
    /// folders among them that were never set lie under `folder`, and so does a relative one among `settings`.
    RehearsalDesk(std::string folder, QTimeZone zone, const CalendarDate& start,
                  std::vector<SimulatedDevice> devices, const std::vector<Setting>& settings = {});
    /// Ends without the quit sequence; what was not written is lost.
    ~RehearsalDesk();

    /// Folders from elsewhere become those under `folder`, except the ones that `chosen` has: settings may have
    /// been made when the folder had another place.
    void bringFoldersHome(const QJsonObject& chosen);
    /// The value of a setting as it is stored: a relative folder lies under `folder`.
    QJsonValue stored(const std::string& key, const QJsonValue& value) const;
    /// Makes the folders of the settings that lie under `folder`.
    void makeFolders();
    /// Makes the controllers. A launch does it unless it was done before.
    void makeControllers();
    /// Runs the start-up sequence.
    void launch();
    /// Ends the duty as a clean quit does.
    void terminate();
    void runFor(double seconds) { runLoop.runFor(seconds); }
    std::string recordFolder() const { return folder + "/record"; }

    const std::string folder;
    VirtualClock clock;
    VirtualRunLoop runLoop{clock};
    NotificationCenter notifications;
    RecordedSystemLog log;
    ScriptedAlert alert;
    Texts texts;
    UserDefaults defaults;
    SimulatedHardware hardware;
    PosixVolume files;
    ScriptedVolume volume{files, clock};
    ScriptedAdministratorRight administratorRight;
    ScriptedSavePanel savePanel;
    ManualFolderWatch folderWatch;
    ScriptedWorkspace workspace;
    /// Where marker sounds are looked for: under `folder`, then among the bundled ones.
    std::vector<std::string> soundFolders;
    std::unique_ptr<VmControler> controler;

private:
    static Date startDate(const QTimeZone& zone, const CalendarDate& start);
};
