#include "app/Application.h"

#include "app/ConsoleUser.h"
#include "app/DemonstrationDesk.h"
#include "app/ExitGuard.h"
#include "app/RecordForDuty.h"
#include "app/TerminationSignals.h"
#include "app/VmControler.h"
#include "app/window/LogBookWindow.h"
#include "app/window/MainWindow.h"
#include "app/window/QtAlert.h"
#include "app/window/SessionEnd.h"
#include "audio/hardware/pulse/PulseHardware.h"
#include "audio/hardware/simulated/SimulatedHardware.h"
#include "audio/SourceList.h"
#include "audio/VmDevice.h"
#include "base/EndOfLinks.h"
#include "base/QtRunLoop.h"
#include "base/UserDefaults.h"
#include "desktop/DesktopNotifier.h"
#include "desktop/LogindSleep.h"
#include "dutylog/VmDutyLog.h"
#include "recorder/VmRecorder.h"
#include "storage/Paths.h"
#include "storage/PosixVolume.h"
#include "storage/VmMechanic.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <unistd.h>

namespace {
/// Nothing if the current folder is gone, which has no path any more.
std::optional<std::string> absolutePath(const std::string& path) {
    std::error_code fault;
    const auto whole =
        path.starts_with('/') ? std::filesystem::path(path) : std::filesystem::absolute(path, fault);
    if (fault)
        return std::nullopt;
    return Paths::trimmed(whole.lexically_normal().string());
}

std::string usualSettingsPath() {
    const char* configured = std::getenv("XDG_CONFIG_HOME");
    const bool usable = configured != nullptr && configured[0] == '/'; // as the base directory rules have it
    return (usable ? configured : Paths::expandingTilde("~/.config")) + "/velmoratide/settings.json";
}

/// What lies at `place` beside the folder of the program.
std::string installed(const char* place) {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../") +
                           QLatin1String(place))
        .toStdString();
}

/// A person's own sounds, then the bundled ones, which lie beside the folder of the program.
std::vector<std::string> usualSoundFolders() {
    const char* configured = std::getenv("XDG_DATA_HOME");
    const bool usable = configured != nullptr && configured[0] == '/';
    const std::string own = usable ? configured : Paths::expandingTilde("~/.local/share");
    return {own + "/velmoratide/sounds", installed("share/velmoratide/sounds")};
}

/// Reads `text` as a value of the type of `registered`; undefined when it is none.
QJsonValue valueLike(const QJsonValue& registered, const std::string& text) {
    const QString value = QString::fromStdString(text);
    if (registered.isString())
        return value;
    if (registered.isDouble()) {
        bool isNumber = false;
        const double number = value.toDouble(&isNumber);
        return isNumber && std::isfinite(number) ? QJsonValue(number) : QJsonValue(QJsonValue::Undefined);
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
    m_sleep.reset();
    m_sessionEnd.reset();
    m_logBook.reset();
    m_window.reset();
    m_recordFor.reset();
    m_controler.reset();
}

bool Application::refuse(int exitCode, const std::string& text) {
    m_errors.write("velmoratide: " + text);
    m_exitCode = exitCode;
    return false;
}

int Application::run() {
    if (!prepare())
        return m_exitCode;
    if (m_termination.arrived()) {
        if (m_line.recordFor)
            refuse(1, "the program was told to end, nothing is recorded");
        return m_exitCode;
    }
    if (m_line.listSources)
        return listSources();
    if (!chooseSource() || !checkFolder())
        return m_exitCode;
    return runDuty();
}

bool Application::prepare() {
    const auto givenSettings = absolutePath(m_line.settings.empty() ? usualSettingsPath() : m_line.settings);
    const auto givenFolder = m_line.folder.empty() ? std::string() : absolutePath(m_line.folder);
    if (!givenSettings || !givenFolder)
        return refuse(2, "the current folder is gone: change to another one, or give whole paths");
    std::string settings = *givenSettings;
    std::string folder = *givenFolder;
    if (!checkArguments(settings, folder))
        return false;
    if (m_line.demo && (m_line.settings.empty() || m_line.folder.empty())) {
        QTemporaryDir desk(QDir::tempPath() + QStringLiteral("/velmoratide-demo-XXXXXX"));
        if (!desk.isValid())
            return refuse(1, "no temporary folder can be made (" + desk.errorString().toStdString() + ")");
        desk.setAutoRemove(false); // what was recorded stays
        const std::string place = desk.path().toStdString();
        settings = m_line.settings.empty() ? place + "/settings.json" : settings;
        folder = m_line.folder.empty() ? place + "/record" : folder;
        if (!m_line.listSources)
            m_errors.write("velmoratide: demonstration; recordings go to " + folder);
    }
    if (!m_line.listSources && !lockSettings(settings))
        return false;
    m_defaults = std::make_unique<UserDefaults>(settings, m_log);
    VmControler::registerDefaults(*m_defaults);
    applyOverrides(folder);
    if (m_line.demo)
        m_hardware = std::make_unique<SimulatedHardware>(m_clock, demonstrationDesk());
    else
        m_hardware = std::make_unique<PulseHardware>(
            m_clock, PulseOptions{.applicationName = "Velmoratide", .server = {}});
    return true;
}

bool Application::checkArguments(const std::string& settings, const std::string& folder) {
    for (const std::string* path : {&settings, &folder})
        if (QString::fromStdString(*path).toStdString() != *path)
            return refuse(2, "paths must be written in UTF-8");
    std::error_code missing;
    const auto kind = std::filesystem::status(settings, missing).type();
    if (kind != std::filesystem::file_type::not_found && kind != std::filesystem::file_type::none &&
        kind != std::filesystem::file_type::regular)
        return refuse(2, "--settings: " + settings + " is no file");
    UserDefaults known({}, m_log);
    VmControler::registerDefaults(known);
    for (const auto& [key, text] : m_line.overrides) {
        const QJsonValue registered = known.registeredDefault(key);
        if (registered.isUndefined())
            return refuse(2, "--set: there is no setting \"" + key + "\"");
        if (registered.isArray() || registered.isObject())
            return refuse(2, "--set: " + key + " is a list, which cannot be given here");
        if (valueLike(registered, text).isUndefined())
            return refuse(2, "--set: \"" + text + "\" is no " + (registered.isBool() ? "yes or no" : "number") +
                                 ", as " + key + " needs it");
    }
    return true;
}

bool Application::lockSettings(const std::string& settings) {
    std::error_code ignored; // where nothing can be written nothing is to be locked
    std::filesystem::create_directories(std::filesystem::path(settings).parent_path(), ignored);
    // One lock however the file is reached.
    const std::string file = endOfLinks(settings);
    const std::filesystem::path real = std::filesystem::weakly_canonical(file, ignored);
    const auto outcome = m_settingsLock.lockFile((real.empty() ? file : real.string()) + ".lock");
    if (outcome == InstanceLock::Outcome::heldByAnother)
        return refuseBeside("another recorder is running with the settings " + settings);
    if (outcome == InstanceLock::Outcome::impossible)
        m_log.log(std::string("Application: the settings cannot be locked (") +
                  std::strerror(m_settingsLock.error()) +
                  "); another recorder with them would not be noticed.");
    return true;
}

void Application::applyOverrides(const std::string& folder) {
    const auto forThisRun = [this](const std::string& key, const QJsonValue& value) {
        m_defaults->overrideForThisRun(key, value);
        m_defaults->keepOutOfFile(key);
    };
    if (!folder.empty())
        forThisRun("DirectoryPath", QString::fromStdString(folder));
    for (const auto& [key, text] : m_line.overrides)
        forThisRun(key, valueLike(m_defaults->registeredDefault(key), text));
    if (m_line.recordFor) {
        forThisRun("RecordMode", 0);
        forThisRun("RecordSwitch", false);
    }
}

int Application::listSources() {
    KaCoreAudioSystem system(*m_hardware);
    const auto sources = audioSources(system, AudioDirection::input);
    for (std::size_t index = 0; index < sources.size(); ++index)
        std::printf("%zu\t%s\t%s\t%g Hz\n", index, sources[index].name.c_str(),
                    sources[index].deviceName.c_str(), m_hardware->nominalSampleRate(sources[index].device));
    if (sources.empty())
        m_errors.write("velmoratide: no sound input was found");
    return std::fflush(stdout) == 0 ? 0 : 1;
}

bool Application::chooseSource() {
    const bool unattended = m_line.headless || m_line.recordFor;
    if (m_line.source.empty() && !unattended)
        return true; // the window says it
    KaCoreAudioSystem system(*m_hardware);
    const auto sources = audioSources(system, AudioDirection::input);
    if (sources.empty() && unattended)
        return refuse(1, "there is no sound input: connect one, or start the sound server");
    if (m_line.source.empty())
        return true;
    const int index = indexOfAudioSource(sources, m_line.source);
    if (index < 0)
        return refuse(2, "--source: \"" + m_line.source +
                             "\" is not exactly one of the inputs (--list-sources shows them)");
    m_defaults->overrideForThisRun("recordSourceDevice", index);
    return true;
}

bool Application::claimFolder(const std::string& folder) {
    if (m_folderLock != nullptr && m_folderLock->isOn(folder))
        return true;
    auto lock = std::make_unique<InstanceLock>();
    if (lock->lockFolder(folder) == InstanceLock::Outcome::heldByAnother)
        return false;
    m_folderLock = std::move(lock);
    return true;
}

bool Application::checkFolder() {
    const std::string folder = Paths::expandingTilde(m_defaults->stringForKey("DirectoryPath"));
    if (!folder.starts_with('/')) // no place of its own: the record folder's own rules find one
        return true;
    std::error_code fault;
    std::filesystem::create_directories(folder, fault);
    if (!fault || m_volume->isFolder(folder)) {
        if (!claimFolder(folder))
            return refuseBeside("another recorder is recording into the folder " + folder);
        const std::string probe = folder + "/.velmoratide-write-test";
        fault = {};
        errno = 0;
        if (m_volume->create(probe) == nullptr)
            fault = std::error_code(errno, std::generic_category());
        else
            m_volume->remove(probe);
    }
    // Without a duty of its own, the record folder's own rules find another place.
    if (!fault || (m_line.folder.empty() && !m_line.recordFor))
        return true;
    return refuse(1, "recordings cannot be written to the folder " + folder + " (" + fault.message() + ")");
}

void Application::printFinishedFiles() {
    m_finishedFiles =
        m_notifications.observe(VmSoundFileFinished_Notification, [this](const Notification& notification) {
            m_output.write(notification.userInfo.at("SoundFilePath"));
        });
}

void Application::watchSleep() {
    VmRecorder& recorder = m_controler->recorder();
    m_sleep = std::make_unique<LogindSleep>(
        m_clock, *m_runLoop, m_log,
        SleepHandlers{[&recorder] { recorder.willSleepHandle(); }, [&recorder] { recorder.didWakeHandle(); }});
    for (Button* button : {&recorder.recordButton(), &recorder.reserveButton()})
        button->observe([this] { tellDuty(); });
    tellDuty();
}

void Application::tellDuty() {
    if (m_sleep == nullptr)
        return; // the program ends
    VmRecorder& recorder = m_controler->recorder();
    m_sleep->setOnDuty(recorder.recordButton().isOn() || recorder.reserveButton().isOn());
}

int Application::runDuty() {
    makeDesktop();
    if (m_line.headless || m_line.recordFor)
        printFinishedFiles();
    m_termination.setHandler([this] {
        if (m_qtAlert != nullptr)
            m_qtAlert->dismissQuestion();
        m_runLoop->quit(0);
    });
    m_controler = std::make_unique<VmControler>(Seams{
        m_clock, *m_runLoop, m_notifications, *m_defaults, m_log, *m_alert, m_texts, *m_hardware, *m_volume,
        *m_administratorRight, *m_savePanel, *m_workspace, usualSoundFolders(), ConsoleUser::name(),
        [this](const std::string& folder) { return claimFolder(folder); },
        installed("share/doc/velmoratide/guide"), installed("libexec/velmoratide/authtool"), &m_folderWatch});
    if (m_line.headless)
        m_controler->recorder().setShown(false);
    else
        showWindow();
    auto exitGuard = std::make_unique<ExitGuard>([this] { endWithDisplay(); });
    m_controler->applicationDidFinishLaunching();
    watchSleep();
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
    exitGuard.reset();
    if (m_recordFor != nullptr)
        m_recordFor->giveUp("the program was told to end");
    m_sleep->endDuty();
    m_controler->applicationWillTerminate();
    m_sleep.reset(); // only now may the machine sleep: the last file is finished
    if (!fault.empty())
        refuse(1, fault);
    // Whoever asked for the paths gets a moment to take them.
    if (!m_output.flush(1.0))
        m_log.log("Application: finished files were not read from standard output.");
    m_log.flush(0.2);
    m_errors.flush(0.2);
    return m_exitCode;
}
