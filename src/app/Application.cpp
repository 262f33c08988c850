#include "app/Application.h"

#include "app/DemonstrationDesk.h"
#include "app/RecordForDuty.h"
#include "app/TerminationSignals.h"
#include "app/VmControler.h"
#include "app/window/MainWindow.h"
#include "app/window/QtAlert.h"
#include "audio/hardware/pulse/PulseHardware.h"
#include "audio/hardware/simulated/SimulatedHardware.h"
#include "audio/SourceList.h"
#include "audio/VmDevice.h"
#include "base/HeadlessAlert.h"
#include "base/QtRunLoop.h"
#include "base/UserDefaults.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "storage/Paths.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "storage/VmMechanic.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <unistd.h>

namespace {
std::string absolutePath(const std::string& path) {
    return QDir::cleanPath(QDir().absoluteFilePath(QString::fromStdString(path))).toStdString();
}

std::string usualSettingsPath() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return (folder + QStringLiteral("/velmoratide/settings.json")).toStdString();
}

/// Reads `text` as a value of the type of `registered`; undefined when it is none.
QJsonValue valueLike(const QJsonValue& registered, const std::string& text) {
    const QString value = QString::fromStdString(text);
    if (registered.isString())
        return value;
    if (registered.isDouble()) {
        bool isNumber = false;
        const double number = value.toDouble(&isNumber);
        return isNumber ? QJsonValue(number) : QJsonValue(QJsonValue::Undefined);
    }
    if (registered.isBool()) {
        const QString word = value.toLower();
        for (const char* yes : {"true", "yes", "on", "1"})
            if (word == QLatin1String(yes))
                return true;
        for (const char* no : {"false", "no", "off", "0"})
            if (word == QLatin1String(no))
                return false;
    }
    return QJsonValue::Undefined;
}
} // namespace

Application::Application(CommandLine line, QCoreApplication& qt, TerminationSignals& termination)
    : m_line(std::move(line)),
      m_qt(qt),
      m_termination(termination),
      m_log(m_clock, STDERR_FILENO),
      m_texts(Texts::forLanguage(Texts::wishedLanguage())),
      m_runLoop(std::make_unique<QtRunLoop>(qt)),
      m_volume(std::make_unique<PosixVolume>()) {}

Application::~Application() {
    m_window.reset();
    m_recordFor.reset();
    m_controler.reset();
}

int Application::fail(int exitCode, const std::string& text) {
    std::fprintf(stderr, "velmoratide: %s\n", text.c_str());
    m_exitCode = exitCode;
    return exitCode;
}

int Application::run() {
    if (!prepare())
        return m_exitCode;
    if (m_line.listSources)
        return listSources();
    if (!chooseSource() || !checkFolder())
        return m_exitCode;
    return runDuty();
}

bool Application::prepare() {
    std::string settings = m_line.settings.empty() ? usualSettingsPath() : absolutePath(m_line.settings);
    std::string folder = m_line.folder.empty() ? "" : absolutePath(m_line.folder);
    if (m_line.demo && (m_line.settings.empty() || m_line.folder.empty())) {
        QTemporaryDir desk(QDir::tempPath() + QStringLiteral("/velmoratide-demo-XXXXXX"));
        if (!desk.isValid())
            return fail(1, "no temporary folder can be made (" + desk.errorString().toStdString() + ")"), false;
        desk.setAutoRemove(false); // what was recorded stays
        const std::string place = desk.path().toStdString();
        settings = m_line.settings.empty() ? place + "/settings.json" : settings;
        folder = m_line.folder.empty() ? place + "/record" : folder;
        std::fprintf(stderr, "velmoratide: demonstration; recordings go to %s\n", folder.c_str());
    }
    m_defaults = std::make_unique<UserDefaults>(settings, m_log);
    VmControler::registerDefaults(*m_defaults);
    if (!folder.empty())
        m_defaults->overrideForThisRun("DirectoryPath", QString::fromStdString(folder));
    if (!applyOverrides())
        return false;
    if (m_line.demo)
        m_hardware = std::make_unique<SimulatedHardware>(m_clock, demonstrationDesk());
    else
        m_hardware = std::make_unique<PulseHardware>(
            m_clock, PulseOptions{.applicationName = "Velmoratide", .server = {}});
    return true;
}

bool Application::applyOverrides() {
    for (const auto& [key, text] : m_line.overrides) {
        const QJsonValue registered = m_defaults->registeredDefault(key);
        if (registered.isUndefined())
            return fail(2, "--set: there is no setting \"" + key + "\""), false;
        const QJsonValue value = valueLike(registered, text);
        if (value.isUndefined())
            return fail(2, "--set: \"" + text + "\" is no " + (registered.isBool() ? "yes or no" : "number") +
                               ", as " + key + " needs it"),
                   false;
        m_defaults->overrideForThisRun(key, value);
    }
    if (m_line.recordFor) {
        m_defaults->overrideForThisRun("RecordMode", 0);
        m_defaults->keepOutOfFile("RecordSwitch");
        m_defaults->overrideForThisRun("RecordSwitch", false);
    }
    return true;
}

int Application::listSources() {
    KaCoreAudioSystem system(*m_hardware);
    const auto sources = audioSources(system, AudioDirection::input);
    for (std::size_t index = 0; index < sources.size(); ++index)
        std::printf("%zu\t%s\t%s\t%g Hz\n", index, sources[index].name.c_str(),
                    sources[index].deviceName.c_str(), m_hardware->nominalSampleRate(sources[index].device));
    if (sources.empty())
        std::fprintf(stderr, "velmoratide: no sound input was found\n");
    return std::fflush(stdout) == 0 ? 0 : 1;
}

bool Application::chooseSource() {
    const bool unattended = m_line.headless || m_line.recordFor;
    if (m_line.source.empty() && !unattended)
        return true; // the window says it
    KaCoreAudioSystem system(*m_hardware);
    const auto sources = audioSources(system, AudioDirection::input);
    if (sources.empty() && unattended)
        return fail(1, "there is no sound input: connect one, or start the sound server"), false;
    if (m_line.source.empty())
        return true;
    const int index = indexOfAudioSource(sources, m_line.source);
    if (index < 0)
        return fail(2, "--source: \"" + m_line.source +
                           "\" is not exactly one of the inputs (--list-sources shows them)"),
               false;
    m_defaults->overrideForThisRun("recordSourceDevice", index);
    return true;
}

bool Application::checkFolder() {
    if (m_line.folder.empty() && !m_line.recordFor)
        return true; // the record folder's own rules find another one
    const std::string folder = Paths::expandingTilde(m_defaults->stringForKey("DirectoryPath"));
    const std::string probe = folder + "/.velmoratide-write-test";
    if (m_volume->isFolder(folder) || m_volume->makeFolder(folder)) {
        const auto file = m_volume->create(probe);
        const bool written = file != nullptr;
        if (written && m_volume->remove(probe) == 0)
            return true;
    }
    return fail(1, "recordings cannot be written to the folder " + folder + " (" + std::strerror(errno) + ")"),
           false;
}

void Application::printFinishedFiles() {
    m_finishedFiles =
        m_notifications.observe(VmSoundFileFinished_Notification, [](const Notification& notification) {
            std::printf("%s\n", notification.userInfo.at("SoundFilePath").c_str());
            std::fflush(stdout); // whoever reads along has it at once; a closed pipe does not end a duty
        });
}

void Application::showWindow() {
    VmRecorder& recorder = m_controler->recorder();
    const RecordTabControls controls{
        recorder.recordButton(),    recorder.reserveButton(),     recorder.monitorButton(),
        recorder.hourButton(),      recorder.markerButton(),      recorder.conditionField(),
        recorder.modeField(),       recorder.sourceField(),       recorder.rateField(),
        recorder.recordTimeField(), recorder.totalTimeField(),    recorder.messageField(),
        recorder.levelSlider(),     m_controler->meter().lamps(), recorder.sourcePopup(),
        recorder.writeIndicator()};
    m_window = std::make_unique<MainWindow>(controls, m_texts, [this] {
        if (m_controler->applicationShouldTerminate() == VmControler::TerminateReply::cancel)
            return false;
        m_runLoop->quit(0);
        return true;
    });
    m_qtAlert->setParentWindow(m_window.get());
    m_window->show();
}

int Application::runDuty() {
    if (m_line.headless) {
        m_alert = std::make_unique<HeadlessAlert>(m_log, m_texts);
    } else {
        auto alert = std::make_unique<QtAlert>(*m_runLoop, m_texts);
        m_qtAlert = alert.get();
        m_alert = std::move(alert);
    }
    if (m_line.headless || m_line.recordFor)
        printFinishedFiles();
    m_termination.setHandler([this] { m_runLoop->quit(0); });
    m_controler = std::make_unique<VmControler>(Seams{m_clock, *m_runLoop, m_notifications, *m_defaults, m_log,
                                                      *m_alert, m_texts, *m_hardware, *m_volume});
    if (m_line.headless)
        m_controler->recorder().setShown(false);
    else
        showWindow();
    m_controler->applicationDidFinishLaunching();
    std::string fault;
    if (m_line.recordFor) {
        m_recordFor =
            std::make_unique<RecordForDuty>(*m_controler, *m_line.recordFor, [this, &fault](std::string why) {
                fault = std::move(why);
                m_runLoop->quit(fault.empty() ? 0 : 1);
            });
        m_recordFor->begin();
    }
    m_exitCode = m_runLoop->run();
    m_controler->applicationWillTerminate();
    if (!fault.empty())
        fail(1, fault);
    return m_exitCode;
}
