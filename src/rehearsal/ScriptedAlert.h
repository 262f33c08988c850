// rehearsal/ScriptedAlert.h — alerts answered by a script.
#pragma once
#include "base/Alert.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// Answers each alert as scripted for its message key, else with the default button, and remembers it.
class ScriptedAlert final : public Alert {
public:
    struct Shown {
        AlertRequest request;
        AlertAnswer answer;
    };

    // Main thread
    /// Used once, by the next alert with that message key.
    void answerNext(const std::string& messageKey, AlertAnswer answer);
    AlertAnswer ask(const AlertRequest& request) override;

    // Any thread
    void tell(const AlertRequest& request) override { ask(request); }
    std::vector<Shown> shown() const;
    /// Called with each alert, on its thread.
    void setListener(std::function<void(const Shown&)> listener);

private:
    mutable std::mutex m_mutex; // guards all below
    std::map<std::string, AlertAnswer> m_answers;
    std::vector<Shown> m_shown;
    std::function<void(const Shown&)> m_listener;
};
