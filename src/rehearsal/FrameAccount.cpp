#include "rehearsal/FrameAccount.h"

#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RehearsalDesk.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr std::int64_t headerBytes = 4096;
} // namespace

FrameAccount::FrameAccount(RehearsalDesk& desk) : m_desk(desk) {
    m_watch = desk.notifications.observe({}, [this](const Notification& notification) { heard(notification); });
}

void FrameAccount::heard(const Notification& notification) {
    if (notification.name == VmSoundFileFinished_Notification)
        ++m_counts.filesMade;
    else if (notification.name == VmLogEventNotification && notification.object == "RecordingStart")
        begin();
    else if (notification.name == VmLogEventNotification &&
             (notification.object == "RecordingStop" || notification.object == "RecordingSleep"))
        end();
}

void FrameAccount::begin() {
    const VmRecorder& recorder = m_desk.controler->recorder();
    const double prior = m_desk.clock.now().secondsSince(recorder.recordStartDate());
    const double deviceRate = m_desk.controler->devicer().recordSampleRate();
    m_open = Open{m_desk.clock.hostTime() - hostTimeFromSeconds(prior), deviceRate,
                  std::max(1.0, std::trunc(deviceRate / recorder.sampleRate())), recorder.channels()};
}

void FrameAccount::end() {
    const VmRecorder& recorder = m_desk.controler->recorder();
    const double past = m_desk.clock.now().secondsSince(recorder.recordStopDate());
    count(m_desk.clock.hostTime() - hostTimeFromSeconds(past), recorder.lastWrite());
}

void FrameAccount::crash() {
    const auto size = m_desk.volume.fileSize(m_desk.controler->mechanic().temporaryFilePath());
    count(m_desk.clock.hostTime(), static_cast<double>(size.value_or(headerBytes) - headerBytes));
}

void FrameAccount::count(HostTime stop, double fileBytes) {
    if (!m_open)
        return;
    const Open open = *std::exchange(m_open, std::nullopt);
    const auto written = std::llround(std::max(fileBytes, 0.0) / (open.channels * 2.0) * open.ratio);
    auto captured =
        std::llround(static_cast<double>(std::max<HostTime>(stop - open.start, 0)) * 1e-9 * open.deviceRate);
    // Dates know microseconds, and files hold whole file frames: that much more or less is no loss.
    if (static_cast<double>(std::abs(captured - written)) <= 2.0 * open.ratio + 2.0)
        captured = written;
    m_counts.framesCaptured += std::max(captured, written);
    m_counts.framesWritten += written;
}
