// rehearsal/Rehearsal.h — plays a scenario into a folder.
#pragma once
#include "rehearsal/LaunchReport.h"
#include "rehearsal/Scenario.h"

#include <string>

/// Main thread only, while it is the only one.
class Rehearsal {
public:
    enum class Outcome { done = 0, unusable = 2, misbehaved = 3 }; ///< the program's exit status

    /// Reads the scenario at `path`, makes `folder` unless it is there, and plays all launches in it. Says in
    /// one line in `fault` what is wrong, if it is.
    Outcome run(const std::string& path, const std::string& folder, std::string& fault);

    /// The totals of all launches, as one line of JSON. After `run`.
    std::string summary() const;

private:
    Outcome prepare(const std::string& path, const std::string& folder, std::string& fault);
    bool takeFolder(const std::string& folder, std::string& fault);
    Outcome play(const std::string& path, std::string& fault);

    Scenario m_scenario;
    std::string m_folder; // absolute
    LaunchReport m_totals;
    std::size_t m_launches = 0;
    double m_realSeconds = 0.0;
};
