#include "rehearsal/VirtualClock.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace {
constexpr auto laterFirst = [](const auto& left, const auto& right) { return right < left; };
}

struct VirtualClock::VirtualBeat final : Beat {
    VirtualBeat(VirtualClock& owner, std::function<HostTime()> beatCall)
        : clock(owner), call(std::move(beatCall)) {}
    ~VirtualBeat() override {
        const std::lock_guard guard(clock.m_mutex);
        std::erase_if(clock.m_events, [this](const Event& event) { return event.beat == this; });
        std::make_heap(clock.m_events.begin(), clock.m_events.end(), laterFirst);
    }
    VirtualClock& clock;
    std::function<HostTime()> call;
};

/// Ending a nap brings the napping thread's event forward to now.
class VirtualClock::VirtualNap final : public Nap {
public:
    explicit VirtualNap(VirtualClock& clock) : m_clock(clock) {}

    void sleepUntil(HostTime until) override {
        std::unique_lock lock(m_clock.m_mutex);
        if (std::exchange(m_ended, false) || m_clock.m_ending)
            return;
        Sleeper self;
        m_sleeper = &self;
        m_clock.addEvent(until, &self, nullptr);
        m_clock.m_driverHasBaton = true;
        m_clock.m_batonBack.notify_one();
        self.wake.wait(lock, [&self] { return self.mayRun; });
        m_sleeper = nullptr;
        m_ended = false;
    }

    void end() override {
        const std::lock_guard guard(m_clock.m_mutex);
        m_ended = true;
        for (Event& event : m_clock.m_events)
            if (m_sleeper != nullptr && event.sleeper == m_sleeper) {
                event.due = m_clock.m_hostTime;
                event.order = ++m_clock.m_order;
            }
        std::make_heap(m_clock.m_events.begin(), m_clock.m_events.end(), laterFirst);
    }

private:
    VirtualClock& m_clock;
    Sleeper* m_sleeper = nullptr; // guarded by the clock's mutex, as the next
    bool m_ended = false;
};

std::unique_ptr<Nap> VirtualClock::makeNap() {
    return std::make_unique<VirtualNap>(*this);
}

VirtualClock::VirtualClock(QTimeZone zone, Date start) : Clock(std::move(zone)), m_start(start) {}

VirtualClock::~VirtualClock() {
    {
        const std::lock_guard guard(m_mutex);
        m_ending = true;
        for (const Event& event : m_events)
            if (event.sleeper != nullptr) {
                event.sleeper->mayRun = true;
                event.sleeper->wake.notify_all();
            }
    }
    // A thread that was let go may start another.
    for (std::unique_lock lock(m_mutex); !m_threads.empty(); lock.lock()) {
        std::vector<std::thread> threads = std::exchange(m_threads, {});
        lock.unlock();
        for (std::thread& thread : threads)
            thread.join();
    }
}

Date VirtualClock::now() const {
    return {m_start.microseconds + m_hostTime / 1000};
}

void VirtualClock::jump(double seconds) {
    m_start = m_start.addingSeconds(seconds);
}

void VirtualClock::addEvent(HostTime due, Sleeper* sleeper, VirtualBeat* beat) {
    m_events.push_back({std::max(due, m_hostTime.load()), ++m_order, sleeper, beat});
    std::push_heap(m_events.begin(), m_events.end(), laterFirst);
}

void VirtualClock::sleepUntil(HostTime wake) {
    if (std::this_thread::get_id() == m_driver) {
        runUntil(wake, [] { return false; });
        return;
    }
    std::unique_lock lock(m_mutex);
    if (m_ending)
        return;
    Sleeper self;
    addEvent(wake, &self, nullptr);
    m_driverHasBaton = true;
    m_batonBack.notify_one();
    self.wake.wait(lock, [&self] { return self.mayRun; });
}

void VirtualClock::detachThread(const std::string&, std::function<void()> body) {
    std::unique_lock lock(m_mutex);
    auto self = std::make_shared<Sleeper>();
    if (m_ending)
        self->mayRun = true; // nobody drives the time any more
    else
        addEvent(m_hostTime, self.get(), nullptr);
    m_threads.emplace_back([this, self, body = std::move(body)] {
        {
            std::unique_lock threadLock(m_mutex);
            self->wake.wait(threadLock, [&self] { return self->mayRun; });
        }
        body();
        const std::lock_guard threadLock(m_mutex);
        m_driverHasBaton = true;
        m_batonBack.notify_one();
    });
}

std::unique_ptr<Beat> VirtualClock::startBeat(const std::string&, HostTime first,
                                              std::function<HostTime()> call) {
    auto beat = std::make_unique<VirtualBeat>(*this, std::move(call));
    const std::lock_guard guard(m_mutex);
    addEvent(first, nullptr, beat.get());
    return beat;
}

void VirtualClock::runEvent(const Event& event) {
    if (event.beat != nullptr) {
        const HostTime next = event.beat->call();
        const std::lock_guard guard(m_mutex);
        addEvent(next, nullptr, event.beat);
        return;
    }
    std::unique_lock lock(m_mutex);
    m_driverHasBaton = false;
    event.sleeper->mayRun = true;
    event.sleeper->wake.notify_one();
    m_batonBack.wait(lock, [this] { return m_driverHasBaton; });
}

void VirtualClock::runUntil(HostTime limit, const std::function<bool()>& interrupted) {
    assert(std::this_thread::get_id() == m_driver);
    while (!interrupted()) {
        Event event{};
        {
            const std::lock_guard guard(m_mutex);
            if (m_events.empty() || m_events.front().due > limit) {
                m_hostTime = std::max(limit, m_hostTime.load());
                return;
            }
            std::pop_heap(m_events.begin(), m_events.end(), laterFirst);
            event = m_events.back();
            m_events.pop_back();
        }
        m_hostTime = event.due;
        runEvent(event);
    }
}
