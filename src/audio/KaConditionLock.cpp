#include "audio/KaConditionLock.h"

void KaConditionLock::lock() {
    std::unique_lock guard(m_mutex);
    m_changed.wait(guard, [this] { return !m_held; });
    m_held = true;
}

void KaConditionLock::lockWhenCondition(int condition) {
    std::unique_lock guard(m_mutex);
    m_changed.wait(guard, [this, condition] { return !m_held && m_condition == condition; });
    m_held = true;
}

void KaConditionLock::unlockWithCondition(int condition) {
    {
        const std::lock_guard guard(m_mutex);
        m_held = false;
        m_condition = condition;
    }
    m_changed.notify_all();
}

void KaConditionLock::setCondition(int condition) {
    {
        const std::lock_guard guard(m_mutex);
        m_condition = condition;
    }
    m_changed.notify_all();
}

int KaConditionLock::condition() const {
    const std::lock_guard guard(m_mutex);
    return m_condition;
}
