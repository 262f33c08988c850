// rehearsal/LaunchRun.h — plays one launch of a scenario.
#pragma once
#include "rehearsal/DutyRecords.h"
#include "rehearsal/EventActions.h"
#include "rehearsal/FrameAccount.h"
#include "rehearsal/LaunchReport.h"
#include "rehearsal/RehearsalDesk.h"
#include "rehearsal/Scenario.h"

#include <deque>
#include <functional>
#include <string>

/// The thread that makes it stands for the main thread. After a crash nothing may be done with it any more, not
/// even to destroy it: the process has to end there.
class LaunchRun {
public:
    /// `folder` exists and is absolute. `room` holds for the first launch as the scenario has it, later as the
    /// launch before reported it. `progress` is called with the host time as time passes.
    LaunchRun(const Scenario& scenario, std::size_t number, const std::string& folder, const VolumeRoom& room,
              std::function<void(HostTime)> progress);

    /// Plays all of it.
    LaunchReport play();

private:
    enum class End { none, quit, crash, misuse };
    End playEvent(const ScenarioEvent& event);
    bool quit();
    /// Makes the quit requests that wait for the keeper to compress, once it does.
    void quitWhileCompressing();
    void stopEverything();
    void terminate();
    LaunchReport report() const;
    static std::vector<RehearsalDesk::Setting> settingsOf(const Scenario& scenario, std::size_t number);

    const ScenarioLaunch& m_launch;
    RehearsalDesk m_desk;
    DutyRecords m_records;
    FrameAccount m_account;
    EventActions m_actions;
    std::string m_misuse;
    std::deque<std::string> m_quitAnswers; // of the requests to be made once the keeper compresses
};
