// support/ManualClock.h — time that moves when a test says so.
#pragma once
#include "base/Clock.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>
#include <vector>

/// Beats run inside `advance`, on the thread that calls it. One thread drives the clock and starts and ends
/// beats.
class ManualClock final : public Clock {
public:
    explicit ManualClock(QTimeZone zone = QTimeZone::utc(), Date start = {})
        : Clock(std::move(zone)), m_start(start) {}
    ~ManualClock() override {
        for (std::thread& thread : m_threads)
            thread.join();
    }

    Date now() const override { return {m_start.microseconds + m_time / 1000}; }
    HostTime hostTime() const override { return m_time; }
    void sleepUntil(HostTime wake) override { advanceTo(wake); }
    std::unique_ptr<Nap> makeNap() override { return std::make_unique<ManualNap>(*this); }
    void detachThread(const std::string&, std::function<void()> body) override {
        m_threads.emplace_back(std::move(body));
    }
    std::unique_ptr<Beat> startBeat(const std::string&, HostTime first,
                                    std::function<HostTime()> call) override {
        auto beat = std::make_unique<ManualBeat>(*this, first, std::move(call));
        m_beats.push_back(beat.get());
        return beat;
    }

    void advance(double seconds) { advanceTo(m_time + hostTimeFromSeconds(seconds)); }
    void advanceTo(HostTime end) {
        while (ManualBeat* const beat = earliest()) {
            if (beat->m_next > end)
                break;
            m_time = std::max<HostTime>(m_time, beat->m_next);
            beat->m_next = beat->m_call();
        }
        m_time = std::max<HostTime>(m_time, end);
    }
    std::size_t beats() const { return m_beats.size(); }

private:
    /// Nobody can end a nap while the one thread that drives the clock naps.
    class ManualNap final : public Nap {
    public:
        explicit ManualNap(ManualClock& clock) : m_clock(clock) {}
        void sleepUntil(HostTime until) override {
            if (!std::exchange(m_ended, false))
                m_clock.advanceTo(until);
        }
        void end() override { m_ended = true; }

    private:
        ManualClock& m_clock;
        bool m_ended = false;
    };
    struct ManualBeat final : Beat {
        ManualBeat(ManualClock& clock, HostTime first, std::function<HostTime()> call)
            : m_clock(clock), m_next(first), m_call(std::move(call)) {}
        ~ManualBeat() override { std::erase(m_clock.m_beats, this); }
        ManualClock& m_clock;
        HostTime m_next;
        std::function<HostTime()> m_call;
    };

    ManualBeat* earliest() const {
        const auto found =
            std::ranges::min_element(m_beats, {}, [](const ManualBeat* beat) { return beat->m_next; });
        return found == m_beats.end() ? nullptr : *found;
    }

    const Date m_start; // at host time 0
    std::atomic<HostTime> m_time{0};
    std::vector<ManualBeat*> m_beats; // in order of starting
    std::vector<std::thread> m_threads;
};
