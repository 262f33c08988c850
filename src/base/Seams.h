// base/Seams.h — everything outside that the application is given.
#pragma once
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
    std::string consoleUser = {};             ///< the name of whoever is logged in at the machine
    FolderWatch* recordFolderWatch = nullptr; ///< none where nothing tells of changes
};
