// rehearsal/DutyRecords.h — the logs that a rehearsal leaves in its folder.
#pragma once
#include "base/NotificationCenter.h"
#include "rehearsal/LineFile.h"

#include <memory>
#include <string>

class RehearsalDesk;
class StateLog;

/// Writes system-log.txt, notifications.jsonl, alerts.jsonl and states.jsonl of one launch behind what former
/// launches left there. Main thread only.
class DutyRecords {
public:
    /// Records from now on; what the desk's log holds already is written too.
    explicit DutyRecords(RehearsalDesk& desk);
    ~DutyRecords();
    DutyRecords(const DutyRecords&) = delete;
    DutyRecords& operator=(const DutyRecords&) = delete;

    /// To be called once the desk has its controllers.
    void beginStates();
    /// Writes what changed without telling; does nothing once the controllers are gone.
    void look();
    /// False once a line could not be written.
    bool areWhole() const;

private:
    RehearsalDesk& m_desk;
    LineFile m_systemFile;
    LineFile m_notificationFile;
    LineFile m_alertFile;
    LineFile m_stateFile;
    LineFileLog m_systemLog;
    std::unique_ptr<StateLog> m_states;
    NotificationCenter::Observation m_watch;
};
