// system/AudibleDesk.h — the application's controllers on real time, playing to a sound server of a test's own.
#pragma once
#include "app/VmControler.h"
#include "audio/hardware/pulse/PulseHardware.h"
#include "base/NotificationCenter.h"
#include "base/QtRunLoop.h"
#include "base/SystemClock.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "library/VmPlayer.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/ScriptedAdministratorRight.h"
#include "rehearsal/ScriptedAlert.h"
#include "rehearsal/ScriptedSavePanel.h"
#include "rehearsal/ScriptedWorkspace.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "system/PrivatePulseServer.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <QCoreApplication>
#include <span>
#include <string>
#include <string_view>

/// Main thread only.
class AudibleDesk {
public:
    AudibleDesk(const PrivatePulseServer& server, const std::string& folder)
        : m_folder(folder),
          m_defaults(folder + "/settings.json", m_log),
          m_hardware(m_clock, PulseOptions{"Velmoratide", server.address()}) {
        std::filesystem::create_directories(recordFolder());
        VmControler::registerDefaults(m_defaults);
        m_defaults.set("DirectoryPath", std::string_view(recordFolder()));
        m_defaults.set("EndressPlayMode", false);
        m_controler = std::make_unique<VmControler>(Seams{m_clock, m_runLoop, m_notifications, m_defaults,
                                                          m_log, m_alert, m_texts, m_hardware, m_volume,
                                                          m_right, m_savePanel, m_workspace});
        m_controler->applicationDidFinishLaunching();
    }
    ~AudibleDesk() { m_controler.reset(); }
    AudibleDesk(const AudibleDesk&) = delete;
    AudibleDesk& operator=(const AudibleDesk&) = delete;

    std::string recordFolder() const { return m_folder + "/record"; }
    VmPlayer& player() const { return m_controler->player(); }
    /// Writes a sound file beside the recordings; its path, empty when it could not be written.
    std::string write(const std::string& name, double rate, unsigned channels,
                      std::span<const std::int16_t> samples) {
        const std::string path = recordFolder() + "/" + name;
        const SoundFile::Opened made = SoundFile::create(m_volume, path, rate, channels);
        const bool written = made.file && made.file->writeSamples(0, samples) && made.file->close();
        return written ? path : std::string();
    }
    /// Lets the main thread work for a moment.
    static void attend() { QCoreApplication::processEvents(QEventLoop::AllEvents, 5); }
    std::string faults() const {
        std::string all;
        for (const std::string& line : m_log.lines())
            all += line + "\n";
        return all;
    }

private:
    int m_count = 1;
    char m_name[2] = "x";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application{m_count, m_arguments};
    const std::string m_folder;
    SystemClock m_clock;
    QtRunLoop m_runLoop{m_application};
    NotificationCenter m_notifications;
    RecordedSystemLog m_log;
    ScriptedAlert m_alert;
    const Texts m_texts = Texts::forLanguage("en");
    UserDefaults m_defaults;
    PulseHardware m_hardware;
    PosixVolume m_volume;
    ScriptedAdministratorRight m_right;
    ScriptedSavePanel m_savePanel;
    ScriptedWorkspace m_workspace;
    std::unique_ptr<VmControler> m_controler;
};
