// storage/MechanicDesk.h — what a VmMechanic stands on in a test.
#pragma once
#include "base/AdministratorRight.h"
#include "base/NotificationCenter.h"
#include "base/SavePanel.h"
#include "base/Seams.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "base/Workspace.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/VirtualRunLoop.h"
#include "storage/FileFolder.h"
#include "storage/PosixVolume.h"
#include "storage/VmMechanic.h"
#include "support/FaultVolume.h"

#include <cstddef>
#include <string>
#include <vector>

/// Stands where a seam is demanded that the tested class has no business with. Using it would crash.
template <typename Seam>
class Absent {
public:
    Seam& seam() { return reinterpret_cast<Seam&>(m_nothing); }

private:
    alignas(std::max_align_t) std::byte m_nothing[64] = {};
};

class MechanicDesk {
public:
    MechanicDesk() {
        VmMechanic::registerDefaults(defaults);
        defaults.set("DirectoryPath", std::string_view(folder.path()));
    }

    /// The texts of the log events "SomeErrorHappen" so far.
    const std::vector<std::string>& errors() const { return m_errors; }

    FileFolder folder;
    RecordedSystemLog log;
    UserDefaults defaults{"", log};
    VirtualClock clock{QTimeZone("UTC"),
                       Date{.microseconds = 4'102'444'800'000'000}}; // 2100: files are old by then
    VirtualRunLoop runLoop{clock};
    PosixVolume disk;
    FaultVolume volume{disk};
    NotificationCenter notifications;

private:
    Texts m_texts;
    Absent<Alert> m_alert;
    Absent<AudioHardware> m_hardware;
    NoAdministratorRight m_right;
    NoSavePanel m_savePanel;
    NoWorkspace m_workspace;
    std::vector<std::string> m_errors;
    NotificationCenter::Observation m_observation =
        notifications.observe(VmLogEventNotification, [this](const Notification& notification) {
            if (notification.object == "SomeErrorHappen")
                m_errors.push_back(notification.userInfo.at(std::string(ErrorMessageString)));
        });

public:
    const Seams seams{clock,   runLoop,           notifications, defaults, log,         m_alert.seam(),
                      m_texts, m_hardware.seam(), volume,        m_right,  m_savePanel, m_workspace};
};
