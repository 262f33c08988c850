// base/Seams.h — everything outside that the application is given.
#pragma once
#include <string>

class AdministratorRight;
class Alert;
class AudioHardware;
class Clock;
class NotificationCenter;
class RunLoop;
class SystemLog;
class Texts;
class UserDefaults;
class Volume;

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
    std::string consoleUser = {}; ///< the name of whoever is logged in at the machine
};
