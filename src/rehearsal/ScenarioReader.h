// rehearsal/ScenarioReader.h — reads the file of a scenario.
#pragma once
#include "rehearsal/JsonPlace.h"
#include "rehearsal/Scenario.h"

#include <optional>
#include <string>

class UserDefaults;

/// Strict: whatever is not understood makes the scenario unusable, so that a rehearsal never plays something
/// else than was meant. Any thread.
class ScenarioReader {
public:
    /// `known` has every setting of the application registered.
    explicit ScenarioReader(const UserDefaults& known) : m_known(known) {}

    /// Nothing if the file at `path` is unusable; `fault` then says in one line, "file: JSON path: what is
    /// wrong". Sound files of signals are looked up beside the file.
    std::optional<Scenario> read(const std::string& path, std::string& fault) const;

private:
    Scenario readScenario(const JsonPlace& root, const std::string& folder) const;
    static std::vector<SimulatedDevice> readDevices(const JsonPlace& place, const std::string& folder);
    static SimulatedDevice readDevice(const JsonPlace& place, const std::string& folder);
    static SimulatedSegment readSegment(const JsonPlace& place, double rate, const std::string& folder);
    std::vector<ScenarioLaunch> readLaunches(const JsonPlace& place, const Scenario& scenario) const;

    const UserDefaults& m_known;
};
