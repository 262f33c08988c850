// app/Application.h — the real program: real time, real devices, real files.
#pragma once
#include "app/CommandLine.h"
#include "app/InstanceLock.h"
#include "base/AdministratorRight.h"
#include "base/Alert.h"
#include "base/LineWriter.h"
#include "base/NotificationCenter.h"
#include "base/QtFolderWatch.h"
#include "base/SavePanel.h"
#include "base/SystemClock.h"
#include "base/SystemLog.h"
#include "base/Texts.h"
#include "base/Workspace.h"

#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

class AudioHardware;
class DesktopNotifier;
class ExitGuard;
class LogBookWindow;
class LogindSleep;
class MainWindow;
class QCoreApplication;
class QtAlert;
class QtSavePanel;
class RecordForDuty;
class RunLoop;
class SessionEnd;
class TerminationSignals;
class UserDefaults;
class VmControler;
class Volume;

/// Puts the program together as the command line asks, and runs it. Main thread only.
class Application {
public:
    /// The Qt application object must be a QApplication unless `line.headless`.
    Application(CommandLine line, QCoreApplication& qt, TerminationSignals& termination);
    ~Application();

    /// Runs to the end; returns the exit status.
    int run();

private:
    int listSources();
    bool prepare();
    bool checkArguments(const std::string& settings, const std::string& folder);
    bool lockSettings(const std::string& settings);
    void applyOverrides(const std::string& folder);
    bool chooseSource();
    bool checkFolder();
    bool claimFolder(const std::string& folder);
    void printFinishedFiles();
    /// Says in one line why not; always false.
    bool refuse(int exitCode, const std::string& text);
    /// Refuses, and tells a person who may have started the program without a terminal.
    bool refuseBeside(const std::string& text);
    int runDuty();
    void showWindow();
    void storeForSession();
    void endWithSession();
    void endWithDisplay();
    void showLogBook();
    void watchSleep();
    void makeDesktop();
    void tellDuty();

    const CommandLine m_line;
    QCoreApplication& m_qt;
    TerminationSignals& m_termination;
    int m_exitCode = 0;

    InstanceLock m_settingsLock;
    std::unique_ptr<InstanceLock> m_folderLock;
    LineWriter m_output{STDOUT_FILENO};
    LineWriter m_errors{STDERR_FILENO};
    SystemClock m_clock;
    DescriptorSystemLog m_log;
    NotificationCenter m_notifications;
    const Texts m_texts;
    std::unique_ptr<AdministratorRight> m_administratorRight;
    std::unique_ptr<SavePanel> m_savePanel;
    std::unique_ptr<Workspace> m_workspace;
    std::unique_ptr<DesktopNotifier> m_notifier; // when there is a window
    QtFolderWatch m_folderWatch;
    std::unique_ptr<RunLoop> m_runLoop;
    std::unique_ptr<Volume> m_volume;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<AudioHardware> m_hardware;
    QtAlert* m_qtAlert = nullptr; // when there is a window
    QtSavePanel* m_qtSavePanel = nullptr;
    std::unique_ptr<Alert> m_alert;
    std::unique_ptr<VmControler> m_controler;
    std::unique_ptr<MainWindow> m_window;
    std::unique_ptr<SessionEnd> m_sessionEnd; // when there is a window
    std::unique_ptr<LogBookWindow> m_logBook; // once it was asked for
    std::unique_ptr<RecordForDuty> m_recordFor;
    std::unique_ptr<LogindSleep> m_sleep;
    NotificationCenter::Observation m_finishedFiles;
};
