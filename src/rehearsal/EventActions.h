// rehearsal/EventActions.h — what each event of a scenario does to the application.
#pragma once
#include "base/Alert.h"
#include "rehearsal/Scenario.h"

#include <string>

class RehearsalDesk;

/// Main thread only. The end of a launch ("quit", "terminate", "crash") is not among the actions.
class EventActions {
public:
    explicit EventActions(RehearsalDesk& desk) : m_desk(desk) {}

    /// The field of `event` that this version cannot rehearse yet; empty when it can.
    static std::string unsupportedField(const ScenarioEvent& event);
    /// Performs a supported event. Says which field of it makes no sense at this moment, and why ("row: ...");
    /// empty when it was done.
    std::string perform(const ScenarioEvent& event);
    /// "default", "alternate", or any other word for the third button.
    static AlertAnswer answerNamed(const std::string& word);

private:
    RehearsalDesk& m_desk;
};
