#include "rehearsal/ScriptedAlert.h"

#include <utility>

void ScriptedAlert::answerNext(const std::string& messageKey, AlertAnswer answer) {
    const std::lock_guard guard(m_mutex);
    m_answers[messageKey] = answer;
}

void ScriptedAlert::setListener(std::function<void(const Shown&)> listener) {
    const std::lock_guard guard(m_mutex);
    m_listener = std::move(listener);
}

AlertAnswer ScriptedAlert::ask(const AlertRequest& request) {
    Shown shown{request, AlertAnswer::defaultButton};
    std::function<void(const Shown&)> listener;
    {
        const std::lock_guard guard(m_mutex);
        if (const auto scripted = m_answers.find(request.messageKey); scripted != m_answers.end()) {
            shown.answer = scripted->second;
            m_answers.erase(scripted);
        }
        m_shown.push_back(shown);
        listener = m_listener;
    }
    if (listener)
        listener(shown);
    return shown.answer;
}

std::vector<ScriptedAlert::Shown> ScriptedAlert::shown() const {
    const std::lock_guard guard(m_mutex);
    return m_shown;
}
