// audio/KaConditionLock.h — a lock with a number that others can wait for.
#pragma once
#include <condition_variable>
#include <mutex>

/// A lock that carries a condition. A thread can take it when the condition has a value, and any thread,
/// holding it or not, can set the condition: so one side of a buffer signals the other. Any thread.
class KaConditionLock {
public:
    explicit KaConditionLock(int condition) : m_condition(condition) {}

    /// Waits only for another holder.
    void lock();
    /// Waits until no one holds it and the condition is `condition`.
    void lockWhenCondition(int condition);
    void unlockWithCondition(int condition);
    /// Releases who waits for `condition`; whoever holds the lock keeps it.
    void setCondition(int condition);
    int condition() const;

private:
    mutable std::mutex m_mutex; // held for a few instructions only
    std::condition_variable m_changed;
    bool m_held = false;
    int m_condition;
};
