#include "rehearsal/Rehearsal.h"

#include "app/VmControler.h"
#include "base/UserDefaults.h"
#include "rehearsal/EventActions.h"
#include "rehearsal/JsonLine.h"
#include "rehearsal/LaunchProcess.h"
#include "rehearsal/LaunchRun.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/ScenarioReader.h"
#include "storage/Paths.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <unistd.h>

namespace {
/// The first event that this version cannot rehearse, as a fault; empty when there is none.
std::string unsupportedEvent(const Scenario& scenario) {
    for (const ScenarioLaunch& launch : scenario.launches)
        for (const ScenarioEvent& event : launch.events)
            if (const std::string field = EventActions::unsupportedField(event); !field.empty()) {
                const QString value = event.fields.value(QString::fromStdString(field)).toVariant().toString();
                return event.place + "." + field + ": this version cannot rehearse \"" + value.toStdString() +
                       "\" yet";
            }
    return {};
}
} // namespace

Rehearsal::Outcome Rehearsal::run(const std::string& path, const std::string& folder, std::string& fault) {
    const auto begin = std::chrono::steady_clock::now();
    Outcome outcome = prepare(path, folder, fault);
    if (outcome == Outcome::done)
        outcome = play(path, fault);
    m_realSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return outcome;
}

Rehearsal::Outcome Rehearsal::prepare(const std::string& path, const std::string& folder, std::string& fault) {
    RecordedSystemLog log;
    UserDefaults known({}, log);
    VmControler::registerDefaults(known);
    for (const char* key : {"KeepFileKeepFolder", "KeepFileExpandFolder"})
        if (known.registeredDefault(key).isUndefined())
            known.registerDefault(key, QString());
    const auto scenario = ScenarioReader(known).read(path, fault);
    if (!scenario)
        return Outcome::unusable;
    m_scenario = *scenario;
    if (const std::string unsupported = unsupportedEvent(m_scenario); !unsupported.empty()) {
        fault = path + ": " + unsupported;
        return Outcome::unusable;
    }
    return takeFolder(folder, fault) ? Outcome::done : Outcome::unusable;
}

bool Rehearsal::takeFolder(const std::string& folder, std::string& fault) {
    if (QString::fromStdString(folder).toStdString() != folder) {
        fault = "--out: paths must be written in UTF-8";
        return false;
    }
    std::error_code error;
    m_folder = Paths::trimmed(std::filesystem::absolute(folder, error).lexically_normal().string());
    if (!error)
        std::filesystem::create_directories(m_folder, error);
    // The lock goes with the process; the launches' processes share it.
    const int descriptor = error ? -1 : ::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (error || descriptor < 0 || ::access(m_folder.c_str(), R_OK | W_OK | X_OK) != 0) {
        fault = "--out: nothing can be written to the folder " + folder + " (" +
                (error ? error.message() : std::string(std::strerror(errno))) + ")";
        return false;
    }
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return true;
    fault = "--out: another rehearsal is running in the folder " + folder;
    return false;
}

Rehearsal::Outcome Rehearsal::play(const std::string& path, std::string& fault) {
    m_totals.room = {m_scenario.freeBytes, ScriptedVolume::usedBytes(m_folder)};
    for (std::size_t number = 0; number < m_scenario.launches.size(); ++number) {
        const auto ended = LaunchProcess::run([this, number](const LaunchProcess::Progress& progress) {
            ::setenv("HOME", m_folder.c_str(), 1); // a rehearsal never touches its person's own files
            // Never destroyed: after a crash there is no clean-up, and its process ends at once anyway.
            auto* const launch = new LaunchRun(m_scenario, number, m_folder, m_totals.room, progress);
            return launch->play().toText();
        });
        const std::string place = path + ": launches[" + std::to_string(number) + "]: ";
        const auto report = LaunchReport::fromText(ended.report);
        if (!ended.fault.empty() || !report || !report->fault.empty()) {
            fault = place + (!ended.fault.empty() ? "the application " + ended.fault
                             : report             ? report->fault
                                                  : "the application ended without a report");
            return Outcome::misbehaved;
        }
        if (!report->misuse.empty()) {
            fault = path + ": " + report->misuse;
            return Outcome::unusable;
        }
        ++m_launches;
        m_totals.room = report->room;
        m_totals.simulatedSeconds += report->simulatedSeconds;
        m_totals.counts.filesMade += report->counts.filesMade;
        m_totals.counts.framesCaptured += report->counts.framesCaptured;
        m_totals.counts.framesWritten += report->counts.framesWritten;
    }
    return Outcome::done;
}

std::string Rehearsal::summary() const {
    const FrameAccount::Counts& counts = m_totals.counts;
    return JsonLine()
        .number("simulatedSeconds", m_totals.simulatedSeconds)
        .number("realSeconds", std::round(m_realSeconds * 1e3) / 1e3)
        .number("launches", static_cast<double>(m_launches))
        .number("filesMade", static_cast<double>(counts.filesMade))
        .number("framesCaptured", static_cast<double>(counts.framesCaptured))
        .number("framesWritten", static_cast<double>(counts.framesWritten))
        .number("framesLost", static_cast<double>(counts.framesCaptured - counts.framesWritten))
        .finished();
}
