// base/Seams.h — everything outside that the application is given.
#pragma once
#include <functional>
#include <string>
#include <vector>

class AdministratorRight;
class Alert;
class AudioHardware;
class Clock;
class FolderWatch;
class NotificationCenter;
class RunLoop;
class SavePanel;
class SystemLog;
class Texts;
class UserDefaults;
class Volume;
class Workspace;

/// What the application stands on; real in the product, virtual and scripted in a rehearsal.
struct Seams {
    Clock& clock;
    RunLoop& runLoop;
    NotificationCenter& notifications;
    UserDefaults& defaults;
    SystemLog& log;
    Alert& alert;
    const Texts& texts;
    AudioHardware& hardware;
    Volume& volume;
    AdministratorRight& administratorRight;
    SavePanel& savePanel;
    Workspace& workspace;
    /// Full paths of the folders of sounds: a person's own first, the bundled ones last.
    std::vector<std::string> soundFolders{};
    std::string consoleUser = {}; ///< the name of whoever is logged in at the machine
    /// Takes a folder for this recorder alone, in place of the one taken before; false when another one has
    /// it. Without, there is no other.
    std::function<bool(const std::string& folder)> claimFolder = {};
    std::string helpFolder = {};        ///< full path of the user guide
    std::string authorizationTool = {}; ///< full path of the helper that takes a granted right; empty: none
    FolderWatch* recordFolderWatch = nullptr; ///< none where nothing tells of changes
};
