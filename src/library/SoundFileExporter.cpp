#include "library/SoundFileExporter.h"

#include "base/RunLoop.h"

#include <utility>

namespace {
constexpr double showSeconds = 0.2;
}

SoundFileExporter::SoundFileExporter(Clock& clock, RunLoop& runLoop, Volume& volume)
    : m_runLoop(runLoop), m_volume(volume), m_thread(clock, runLoop, "export") {
    m_progressBar.setEnabled(false);
    m_cancelButton.setEnabled(false);
    m_cancelButton.setAction([this] { cancel(); });
}

SoundFileExporter::~SoundFileExporter() {
    cancel();
}

bool SoundFileExporter::start(const SoundFileCopier::Order& order, Done done) {
    if (isCopying())
        return false;
    m_done = std::move(done);
    m_progress = std::make_shared<SoundFileCopier::Progress>();
    m_progressBar.setEnabled(true);
    m_cancelButton.setEnabled(true);
    showProgress();
    m_timer = m_runLoop.schedule({.interval = showSeconds, .repeats = true}, [this] { showProgress(); });
    m_thread.perform([this, order, progress = m_progress, &volume = m_volume]() -> JobThread::Report {
        const SoundFileCopier::Result result = SoundFileCopier(volume, *progress).copy(order);
        return [this, result] { finish(result); };
    });
    return true;
}

void SoundFileExporter::cancel() {
    if (m_progress != nullptr)
        m_progress->cancelled = true;
}

double SoundFileExporter::progress() const {
    return m_progress == nullptr ? 0.0 : m_progress->done.load();
}

void SoundFileExporter::showProgress() {
    m_progressBar.setValue(static_cast<int>(progress() * wholeProgress));
}

void SoundFileExporter::finish(const SoundFileCopier::Result& result) {
    m_timer.reset();
    m_progress.reset();
    m_progressBar.setEnabled(false);
    m_cancelButton.setEnabled(false);
    showProgress();
    if (const Done done = std::exchange(m_done, nullptr))
        done(result);
}
