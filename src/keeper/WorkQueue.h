// keeper/WorkQueue.h — things done one after the other on a thread of their own.
#pragma once
#include "base/Clock.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

/// A queue whose thread lives while there is something in it. One lock guards the queue and the flag that says
/// whether the thread runs, so nothing that is added can be left lying.
template <typename Item>
class WorkQueue {
public:
    /// `work` is called on the thread. `clock` outlives the queue.
    WorkQueue(Clock& clock, std::string threadName, std::function<void(Item&)> work)
        : m_clock(clock), m_name(std::move(threadName)), m_state(std::make_shared<State>()) {
        m_state->work = std::move(work);
    }
    /// Waits for the work in hand; what comes after it is left undone.
    ~WorkQueue() {
        {
            const std::lock_guard guard(m_state->mutex);
            m_state->ending = true;
            m_state->items.clear();
        }
        for (double wait = 0.0; isRunning();
             wait = 0.01) // at first only as long as a thread that is idle needs
            m_clock.sleep(wait);
    }
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    // Any thread. Never waits for the work.
    void append(Item item) {
        {
            const std::lock_guard guard(m_state->mutex);
            if (m_state->ending)
                return;
            m_state->items.push_back(std::move(item));
            if (std::exchange(m_state->running, true))
                return;
        }
        m_clock.detachThread(m_name, [state = m_state] { run(*state); });
    }
    bool isRunning() const {
        const std::lock_guard guard(m_state->mutex);
        return m_state->running;
    }
    /// Nothing is left but what is in hand.
    bool isEmpty() const {
        const std::lock_guard guard(m_state->mutex);
        return m_state->items.empty();
    }
    /// Whether an item that is not in hand yet satisfies `condition`.
    bool has(const std::function<bool(const Item&)>& condition) const {
        const std::lock_guard guard(m_state->mutex);
        for (const Item& item : m_state->items)
            if (condition(item))
                return true;
        return false;
    }

private:
    struct State {
        std::function<void(Item&)> work;
        std::mutex mutex; // guards all below
        std::deque<Item> items;
        bool running = false;
        bool ending = false;
    };

    static void run(State& state) {
        for (;;) {
            std::unique_lock lock(state.mutex);
            if (state.items.empty()) {
                state.running = false;
                return;
            }
            Item item = std::move(state.items.front());
            state.items.pop_front();
            lock.unlock();
            state.work(item);
        }
    }

    Clock& m_clock;
    const std::string m_name;
    const std::shared_ptr<State> m_state;
};
