#include "base/NotificationCenter.h"

#include <algorithm>
#include <utility>

NotificationCenter::Observation& NotificationCenter::Observation::operator=(Observation&& other) noexcept {
    if (this != &other) {
        end();
        m_center = std::exchange(other.m_center, nullptr);
        m_token = other.m_token;
    }
    return *this;
}

void NotificationCenter::Observation::end() {
    if (m_center != nullptr)
        std::exchange(m_center, nullptr)->remove(m_token);
}

NotificationCenter::Observation NotificationCenter::observe(std::string_view name, Handler handler) {
    const std::lock_guard guard(m_mutex);
    m_observers.push_back(
        {++m_lastToken, std::string(name), std::make_shared<const Handler>(std::move(handler))});
    return {*this, m_lastToken};
}

void NotificationCenter::post(const Notification& notification) const {
    std::vector<Observer> observers;
    {
        const std::lock_guard guard(m_mutex);
        for (const Observer& observer : m_observers)
            if (observer.name.empty() || observer.name == notification.name)
                observers.push_back(observer);
    }
    // A handler may end what comes after it.
    for (const Observer& observer : observers)
        if (observes(observer.token))
            (*observer.handler)(notification);
}

bool NotificationCenter::observes(unsigned token) const {
    const std::lock_guard guard(m_mutex);
    return std::ranges::any_of(m_observers,
                               [token](const Observer& observer) { return observer.token == token; });
}

void NotificationCenter::postLogEvent(std::string_view event, std::string_view message) const {
    Notification notification{std::string(VmLogEventNotification), std::string(event), {}};
    if (!message.empty())
        notification.userInfo.emplace(ErrorMessageString, message);
    post(notification);
}

void NotificationCenter::remove(unsigned token) {
    const std::lock_guard guard(m_mutex);
    std::erase_if(m_observers, [token](const Observer& observer) { return observer.token == token; });
}
