// library/SoundFileExporter.h — one copy at a time, beside everything else.
#pragma once
#include "base/Controls.h"
#include "base/JobThread.h"
#include "library/SoundFileCopier.h"

#include <functional>
#include <memory>

class Clock;
class RunLoop;
class Timer;
class Volume;

/// Has a `SoundFileCopier` work on a thread of its own, and shows how far it is. Main thread only.
class SoundFileExporter {
public:
    using Done = std::function<void(const SoundFileCopier::Result&)>;
    static constexpr int wholeProgress = 1000;

    SoundFileExporter(Clock& clock, RunLoop& runLoop, Volume& volume);
    /// Breaks a copy off; nothing is left of it.
    ~SoundFileExporter();
    SoundFileExporter(const SoundFileExporter&) = delete;
    SoundFileExporter& operator=(const SoundFileExporter&) = delete;

    bool isCopying() const { return m_progress != nullptr; }
    /// Calls `done` at the end. False, and nothing done, while another copy is made.
    bool start(const SoundFileCopier::Order& order, Done done);
    /// `done` hears of it when the copy has ended. The cancel button does the same.
    void cancel();
    double progress() const; ///< 0 to 1

    /// 0 to `wholeProgress`; enabled during a copy.
    Slider& progressBar() { return m_progressBar; }
    Button& cancelButton() { return m_cancelButton; }

private:
    void showProgress();
    void finish(const SoundFileCopier::Result& result);

    RunLoop& m_runLoop;
    Volume& m_volume;
    Slider m_progressBar{0, wholeProgress};
    Button m_cancelButton;
    Done m_done;
    std::shared_ptr<SoundFileCopier::Progress> m_progress; // of the copy that is made
    std::unique_ptr<Timer> m_timer;
    JobThread m_thread; // last: it reports to what is above
};
