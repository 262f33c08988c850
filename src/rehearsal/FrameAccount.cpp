#include "rehearsal/FrameAccount.h"

#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RehearsalDesk.h"
#include "storage/VmMechanic.h"

namespace {
constexpr std::int64_t headerBytes = 4096;
} // namespace

FrameAccount::FrameAccount(RehearsalDesk& desk) : m_desk(desk) {
    m_watch = desk.notifications.observe(VmSoundFileFinished_Notification,
                                         [this](const Notification&) { ++m_counts.filesMade; });
}

void FrameAccount::close() {
    const DutyFrames frames = m_desk.controler->recorder().dutyFrames();
    m_counts.framesCaptured += frames.captured;
    m_counts.framesWritten += frames.written;
}

void FrameAccount::crash() {
    close();
    const VmRecorder& recorder = m_desk.controler->recorder();
    const std::int64_t captured = recorder.openFrames();
    if (captured == 0)
        return;
    const auto size = m_desk.volume.fileSize(m_desk.controler->mechanic().temporaryFilePath());
    const auto ratio =
        static_cast<std::int64_t>(m_desk.controler->devicer().recordSampleRate() / recorder.sampleRate());
    const std::int64_t bytes = size.value_or(headerBytes) - headerBytes;
    m_counts.framesCaptured += captured;
    m_counts.framesWritten += bytes / (2 * recorder.channels()) * ratio;
}
