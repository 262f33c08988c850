// base/JobThread.h — jobs on a thread of their own, their results on the main thread.
#pragma once
#include <functional>
#include <memory>
#include <string>

class Clock;
class RunLoop;

/// One thread that does one job after the other, so that a slow disk never holds the main thread up. The thread
/// begins with the first job.
class JobThread {
public:
    /// What the main thread does with a job's result.
    using Report = std::function<void()>;
    using Job = std::function<Report()>;

    JobThread(Clock& clock, RunLoop& runLoop, std::string name);
    /// Main thread. Jobs that have not begun are dropped and no report is made any more; waits for the job in
    /// progress, which its owner has told to hurry.
    ~JobThread();
    JobThread(const JobThread&) = delete;
    JobThread& operator=(const JobThread&) = delete;

    // Main thread
    /// Reports come in the order of the jobs.
    void perform(Job job);

private:
    struct State;
    static void run(State& state);

    Clock& m_clock;
    const std::string m_name;
    std::shared_ptr<State> m_state;
    bool m_started = false;
};
