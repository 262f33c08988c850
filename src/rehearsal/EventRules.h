// rehearsal/EventRules.h — which events a scenario may hold, and what each of them needs.
#pragma once
#include "rehearsal/JsonPlace.h"
#include "rehearsal/Scenario.h"

#include <string>
#include <vector>

class UserDefaults;

/// Checks events against one table. Any thread.
class EventRules {
public:
    /// `uids` are the devices of the scenario; `known` has every setting registered.
    EventRules(std::vector<std::string> uids, const UserDefaults& known)
        : m_uids(std::move(uids)), m_known(known) {}

    /// Reads one event. What is wrong with it is said by the places.
    ScenarioEvent read(const JsonPlace& place) const;
    /// Reads settings: each must be known, and of the type of its default.
    static QJsonObject readSettings(const JsonPlace& place, const UserDefaults& known);

    static constexpr double longest = 1e9; ///< seconds; nobody rehearses thirty years

private:
    void checkField(const JsonPlace& place, int kind) const;
    void checkPreferences(const JsonPlace& place) const;
    static void checkTimer(const JsonPlace& place);
    static void checkTimeOfDay(const JsonPlace& place);

    const std::vector<std::string> m_uids;
    const UserDefaults& m_known;
};
