#include "rehearsal/VirtualRunLoop.h"

#include <algorithm>
#include <limits>
#include <utility>

class VirtualRunLoop::VirtualTimer final : public Timer {
public:
    explicit VirtualTimer(VirtualRunLoop& loop) : m_loop(loop) {}
    ~VirtualTimer() override {
        std::erase_if(m_loop.m_entries, [this](const Entry& entry) { return entry.timer == this; });
    }
    void fireNow() override {
        for (Entry& entry : m_loop.m_entries)
            if (entry.timer == this)
                entry.due = m_loop.m_clock.hostTime();
    }

private:
    VirtualRunLoop& m_loop;
};

std::unique_ptr<Timer> VirtualRunLoop::schedule(TimerOptions options, std::function<void()> handler) {
    auto timer = std::make_unique<VirtualTimer>(*this);
    m_entries.push_back({timer.get(), m_clock.hostTime() + hostTimeFromSeconds(options.interval), ++m_order,
                         options, std::make_shared<std::function<void()>>(std::move(handler))});
    return timer;
}

int VirtualRunLoop::run() {
    runUntil(std::numeric_limits<HostTime>::max());
    return m_exitCode;
}

void VirtualRunLoop::runFor(double seconds) {
    runUntil(m_clock.hostTime() + hostTimeFromSeconds(seconds));
}

void VirtualRunLoop::quit(int exitCode) {
    m_exitCode = exitCode;
    m_quit = true;
    m_quitAhead = !m_running;
}

void VirtualRunLoop::post(std::function<void()> call) {
    const std::lock_guard guard(m_mutex);
    m_posted.push_back(std::move(call));
}

bool VirtualRunLoop::hasPosted() {
    const std::lock_guard guard(m_mutex);
    return !m_posted.empty();
}

bool VirtualRunLoop::runPosted() {
    std::function<void()> call;
    {
        const std::lock_guard guard(m_mutex);
        if (m_posted.empty())
            return false;
        call = std::move(m_posted.front());
        m_posted.pop_front();
    }
    call();
    return true;
}

VirtualRunLoop::Entry* VirtualRunLoop::earliest() {
    Entry* first = nullptr;
    for (Entry& entry : m_entries)
        if (first == nullptr || entry.due < first->due ||
            (entry.due == first->due && entry.order < first->order))
            first = &entry;
    return first;
}

void VirtualRunLoop::fire(Entry& entry) {
    const auto handler = entry.handler; // the handler may end its own timer
    if (entry.options.repeats) {
        entry.due += hostTimeFromSeconds(entry.options.interval);
        entry.due = std::max(entry.due, m_clock.hostTime());
        entry.order = ++m_order;
    } else {
        m_entries.remove_if([&entry](const Entry& other) { return &other == &entry; });
    }
    (*handler)();
}

void VirtualRunLoop::runUntil(HostTime limit) {
    if (std::exchange(m_quitAhead, false))
        return;
    m_quit = false;
    m_running = true;
    passTime(limit);
    m_running = false;
}

void VirtualRunLoop::passTime(HostTime limit) {
    const auto afterEach = [this] {
        if (m_afterEach)
            m_afterEach();
    };
    while (!m_quit) {
        if (runPosted()) {
            afterEach();
            continue;
        }
        Entry* next = earliest();
        if (next != nullptr && next->due <= m_clock.hostTime() && next->due <= limit) {
            fire(*next);
            afterEach();
            continue;
        }
        // A posted call may have interrupted the clock at the end, with more that is due there.
        const bool atEnd = m_clock.hostTime() >= limit;
        m_clock.runUntil(next != nullptr ? std::min(next->due, limit) : limit, [this] { return hasPosted(); });
        if (atEnd && !hasPosted())
            return;
    }
}
