// The application's window, the desktop that it stands on, and how it ends with them.
#include "app/Application.h"
#include "app/TerminationSignals.h"
#include "app/VmControler.h"
#include "app/window/LogBookWindow.h"
#include "app/window/MainWindow.h"
#include "app/window/QtAlert.h"
#include "app/window/QtSavePanel.h"
#include "app/window/QtWorkspace.h"
#include "app/window/SessionEnd.h"
#include "app/WindowAssembly.h"
#include "base/HeadlessAlert.h"
#include "base/RunLoop.h"
#include "desktop/DesktopNotifier.h"
#include "desktop/LogindSleep.h"
#include "desktop/PolkitRight.h"
#include "dutylog/VmDutyLog.h"
#include "recorder/VmRecorder.h"

#include <QCoreApplication>
#include <QStringList>

/// Where nobody sits before a screen, nobody can be asked.
void Application::makeDesktop() {
    if (m_line.headless) {
        m_alert = std::make_unique<HeadlessAlert>(m_log, m_texts);
        m_administratorRight = std::make_unique<NoAdministratorRight>();
        m_savePanel = std::make_unique<NoSavePanel>();
        m_workspace = std::make_unique<NoWorkspace>();
        return;
    }
    m_notifier = std::make_unique<DesktopNotifier>(m_log, QStringLiteral("org.velmoratide.Velmoratide"));
    auto alert = std::make_unique<QtAlert>(*m_runLoop, m_texts);
    alert->setUnseenHandler(
        [this](const QString& message, const QString& text) { m_notifier->show(message, text); });
    m_qtAlert = alert.get();
    m_alert = std::move(alert);
    m_administratorRight = std::make_unique<PolkitRight>(m_log);
    auto savePanel = std::make_unique<QtSavePanel>(m_texts);
    m_qtSavePanel = savePanel.get();
    m_savePanel = std::move(savePanel);
    m_workspace = std::make_unique<QtWorkspace>();
}

bool Application::refuseBeside(const std::string& text) {
    refuse(1, text);
    if (m_line.headless || m_line.recordFor)
        return false;
    m_errors.flush(0.2);
    QtAlert alert(*m_runLoop, m_texts);
    m_termination.setHandler([&alert] { alert.dismissQuestion(); });
    alert.ask({"AnotherRecorder", "AnotherRecorderInfo", "Understand"});
    m_termination.setHandler([] {});
    return false;
}

void Application::showWindow() {
    m_controler->setTerminateReplyHandler([this] { m_runLoop->quit(0); });
    m_window = assembleWindow(*m_controler, m_texts, [this] {
        const VmControler::TerminateReply reply = m_controler->applicationShouldTerminate();
        if (reply == VmControler::TerminateReply::now)
            m_runLoop->quit(0);
        if (reply == VmControler::TerminateReply::later && m_logBook != nullptr)
            m_logBook->hide(); // with the whole application
        return reply != VmControler::TerminateReply::cancel;
    });
    m_window->addCommand(QString::fromStdString(m_texts("ShowLogBook")), Qt::CTRL | Qt::Key_L,
                         [this] { showLogBook(); });
    m_qtAlert->setParentWindow(m_window.get());
    m_qtSavePanel->setParentWindow(m_window.get());
    QStringList restart;
    if (!m_line.recordFor) { // which is done once
        restart << QCoreApplication::applicationFilePath();
        for (const std::string& argument : m_line.repeated())
            restart << QString::fromStdString(argument);
    }
    m_sessionEnd = std::make_unique<SessionEnd>(
        SessionHandlers{[this] { storeForSession(); }, [this] { endWithSession(); }}, restart);
}

/// The session may be about to end: nothing that was recorded until now may depend on what comes.
void Application::storeForSession() {
    m_log.log("Application: the desktop session is stored.");
    m_controler->recorder().beginNewFile();
    m_controler->saveUserDefaults();
}

/// A person who logs out is not asked. The switches stay as they are stored, so that the next session's
/// recorder goes on.
void Application::endWithSession() {
    m_log.log("Application: the desktop session ends.");
    m_qtAlert->dismissQuestion();
    m_runLoop->quit(0);
}

/// Called when the toolkit ends the process from within the loop, as it does without a display.
void Application::endWithDisplay() {
    m_log.log("Application: the display is gone; the duty ends here.");
    if (m_sleep != nullptr)
        m_sleep->endDuty();
    m_controler->applicationWillTerminate();
    m_output.flush(1.0);
    m_log.flush(0.2);
}

void Application::showLogBook() {
    if (m_logBook == nullptr)
        m_logBook = std::make_unique<LogBookWindow>(*m_volume, m_texts,
                                                    [this] { return m_controler->dutylog().logBookPath(); });
    m_logBook->present();
}
