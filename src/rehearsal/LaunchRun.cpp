#include "rehearsal/LaunchRun.h"

#include "app/VmControler.h"
#include "keeper/VmKeeper.h"
#include "recorder/VmRecorder.h"

std::vector<RehearsalDesk::Setting> LaunchRun::settingsOf(const Scenario& scenario, std::size_t number) {
    std::vector<RehearsalDesk::Setting> settings;
    if (number == 0) // later launches go on with what the one before left
        for (auto setting = scenario.settings.begin(); setting != scenario.settings.end(); ++setting)
            settings.push_back({setting.key().toStdString(), setting.value()});
    return settings;
}

LaunchRun::LaunchRun(const Scenario& scenario, std::size_t number, const std::string& folder,
                     const VolumeRoom& room, std::function<void(HostTime)> progress)
    : m_launch(scenario.launches[number]),
      m_desk(folder, scenario.zone, m_launch.start, scenario.devices, settingsOf(scenario, number)),
      m_records(m_desk),
      m_account(m_desk),
      m_actions(m_desk) {
    if (number == 0)
        m_desk.bringFoldersHome(scenario.settings);
    m_desk.makeFolders();
    m_desk.defaults.synchronize();
    m_desk.texts = Texts::forLanguage("en");
    m_desk.volume.limitRoom(folder, room);
    m_desk.runLoop.setAfterEach([this, progress = std::move(progress)] {
        m_records.look();
        quitWhileCompressing();
        progress(m_desk.clock.hostTime());
    });
}

LaunchReport LaunchRun::play() {
    m_desk.makeControllers();
    m_desk.controler->setTerminateReplyHandler([this] { m_desk.runLoop.quit(0); });
    m_records.beginStates();
    m_desk.launch();
    m_records.look();
    for (const ScenarioEvent& event : m_launch.events) {
        m_desk.runLoop.runUntil(hostTimeFromSeconds(event.at));
        if (m_desk.runLoop.hasQuit())
            break; // the application ended by itself
        const End end = playEvent(event);
        m_records.look();
        if (end == End::crash || end == End::misuse)
            return report();
        if (end == End::quit)
            break;
    }
    if (m_desk.controler != nullptr) {
        stopEverything();
        terminate();
    }
    return report();
}

LaunchRun::End LaunchRun::playEvent(const ScenarioEvent& event) {
    if (event.action == "crash") {
        m_account.crash();
        return End::crash;
    }
    if (event.action == "quit" && event.has("compressing")) {
        m_quitAnswers.push_back(event.text("compressing"));
        return End::none;
    }
    if (event.action == "quit")
        return quit() ? End::quit : End::none;
    if (event.action == "terminate") {
        terminate();
        return End::quit;
    }
    const std::string fault = m_actions.perform(event);
    if (fault.empty())
        return End::none;
    m_misuse = event.place + "." + fault;
    return End::misuse;
}

bool LaunchRun::quit() {
    // A quit that waits for the keeper ends the loop when it is done; the launch goes on until then.
    if (m_desk.controler->applicationShouldTerminate() != VmControler::TerminateReply::now)
        return false;
    terminate();
    return true;
}

void LaunchRun::quitWhileCompressing() {
    while (!m_quitAnswers.empty() && !m_desk.runLoop.hasQuit() && m_desk.controler != nullptr &&
           m_desk.controler->keeper().isCompressing()) {
        m_desk.alert.answerNext("CompressingCaution", EventActions::answerNamed(m_quitAnswers.front()));
        m_quitAnswers.pop_front();
        if (m_desk.controler->applicationShouldTerminate() == VmControler::TerminateReply::now)
            m_desk.runLoop.quit(0);
    }
}

void LaunchRun::terminate() {
    m_desk.controler->applicationWillTerminate();
    m_account.close();
    m_records.look();
    m_desk.controler.reset();
}

void LaunchRun::stopEverything() {
    if (m_desk.runLoop.hasQuit())
        return; // an application that ends by itself stops nothing before
    constexpr int patience = 60;
    VmRecorder& recorder = m_desk.controler->recorder();
    auto reply = VmControler::TerminateReply::cancel;
    for (int attempt = 0; attempt < patience && !m_desk.runLoop.hasQuit(); ++attempt) {
        // A switch that was refused to go off, or that another one holds, is tried again.
        for (Button* button : {&recorder.reserveButton(), &recorder.recordButton()})
            if (button->isOn())
                button->press(false);
        m_records.look();
        const bool stopped = recorder.condition() != RecordCondition::recording;
        if (stopped && reply == VmControler::TerminateReply::cancel)
            reply = m_desk.controler->applicationShouldTerminate();
        if (reply == VmControler::TerminateReply::now)
            return;
        m_desk.runFor(stopped ? 1.0 : 0.1);
    }
}

LaunchReport LaunchRun::report() const {
    LaunchReport report;
    report.simulatedSeconds = static_cast<double>(m_desk.clock.hostTime()) * 1e-9;
    report.counts = m_account.counts();
    report.room = m_desk.volume.room();
    report.misuse = m_misuse;
    if (!m_records.areWhole())
        report.fault = "the logs in " + m_desk.folder + " cannot be written";
    return report;
}
