#include "rehearsal/ScriptedAlert.h"

AlertAnswer ScriptedAlert::ask(const AlertRequest& request) {
    Shown shown{request, AlertAnswer::defaultButton};
    {
        const std::lock_guard guard(m_mutex);
        if (const auto scripted = m_answers.find(request.messageKey); scripted != m_answers.end()) {
            shown.answer = scripted->second;
            m_answers.erase(scripted);
        }
        m_shown.push_back(shown);
    }
    if (m_listener)
        m_listener(shown);
    return shown.answer;
}

std::vector<ScriptedAlert::Shown> ScriptedAlert::shown() const {
    const std::lock_guard guard(m_mutex);
    return m_shown;
}
