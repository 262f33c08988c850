#include "base/JobThread.h"

#include "base/Clock.h"
#include "base/RunLoop.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <utility>

struct JobThread::State : std::enable_shared_from_this<State> {
    State(Clock& ofClock, RunLoop& loop) : clock(ofClock), runLoop(loop), nap(ofClock.makeNap()) {}

    /// Empty when there is none; a job that is handed out is in progress.
    Job nextJob() {
        const std::lock_guard guard(mutex);
        busy = !ended && !jobs.empty();
        if (!busy)
            return nullptr;
        Job job = std::move(jobs.front());
        jobs.pop_front();
        return job;
    }
    void report(Report made) {
        const std::lock_guard guard(mutex);
        if (!ended && made)
            runLoop.post([self = shared_from_this(), made = std::move(made)] {
                if (!self->ended)
                    made();
            });
    }

    Clock& clock;
    RunLoop& runLoop;
    const std::unique_ptr<Nap> nap;
    std::mutex mutex; // guards the jobs
    std::deque<Job> jobs;
    std::atomic<bool> busy{false};
    std::atomic<bool> ended{false}; // set with the mutex held
};

JobThread::JobThread(Clock& clock, RunLoop& runLoop, std::string name)
    : m_clock(clock), m_name(std::move(name)), m_state(std::make_shared<State>(clock, runLoop)) {}

JobThread::~JobThread() {
    {
        const std::lock_guard guard(m_state->mutex);
        m_state->ended = true;
        m_state->jobs.clear();
    }
    m_state->nap->end();
    while (m_state->busy)
        m_clock.sleep(0.001);
}

void JobThread::perform(Job job) {
    {
        const std::lock_guard guard(m_state->mutex);
        m_state->jobs.push_back(std::move(job));
    }
    if (m_started) {
        m_state->nap->end();
        return;
    }
    m_started = true;
    m_clock.detachThread(m_name, [state = m_state] { run(*state); });
}

void JobThread::run(State& state) {
    constexpr double longestNap = 86400.0; // seconds
    while (!state.ended) {
        if (Job job = state.nextJob()) {
            Report report = job();
            job = nullptr;
            state.report(std::move(report));
        } else {
            state.nap->sleepUntil(state.clock.hostTime() + hostTimeFromSeconds(longestNap));
        }
    }
    state.busy = false;
}
