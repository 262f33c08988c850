// rehearsal/PlayTabActions.h — what a person does on the play tab.
#pragma once
#include <string>

class RehearsalDesk;
struct ScenarioEvent;

/// Each does what a person would; controls that are disabled ignore it. Main thread only.
struct PlayTabActions {
    /// Selects the recording of a row. Says why it cannot.
    static std::string select(RehearsalDesk& desk, const ScenarioEvent& event);
    static void play(RehearsalDesk& desk, const ScenarioEvent& event);
    static void stop(RehearsalDesk& desk, const ScenarioEvent& event);
    /// Drags the slider to a place `to` seconds from the beginning of the recording, or to its end.
    static void seek(RehearsalDesk& desk, const ScenarioEvent& event);
    /// A drag of the mouse over the waveform; an empty one takes the selection away.
    static void range(RehearsalDesk& desk, const ScenarioEvent& event);
    /// Without "on" the other way round than it is.
    static void lock(RehearsalDesk& desk, const ScenarioEvent& event);
    static void note(RehearsalDesk& desk, const ScenarioEvent& event);
    static void remove(RehearsalDesk& desk, const ScenarioEvent& event);
    /// With the check boxes of the panel as they are.
    static void exportSound(RehearsalDesk& desk, const ScenarioEvent& event);
};
