// Where a file ends by itself: at the full hour, at its greatest length, at the end of a timetable entry.
#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "recorder/SplitRule.h"
#include "recorder/VmRecorder.h"
#include "storage/SoundFile.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {
constexpr double settleTime = 2.0;   // seconds before a planned end from which on it does not move
constexpr double patience = 3.0;     // seconds after it for which its sound is waited for
constexpr double longestSeam = 80.0; // seconds: what the queue holds
} // namespace

Date VmRecorder::now() const {
    return m_controler.seams().clock.now().addingSeconds(m_clockShift);
}

StreamMoment VmRecorder::momentAt(Date date) const {
    const HostTime time = m_controler.seams().clock.hostTime() + hostTimeFromSeconds(date.secondsSince(now()));
    return {m_pipeline.frameAt(time), date};
}

StreamMoment VmRecorder::stopMoment() const {
    if (m_inputLoss)
        return {m_inputLoss->frame, m_inputLoss->date};
    const StreamMoment moment = present();
    if (m_fixedLength && ownEnd() < moment.frame)
        return {ownEnd(), m_recordStartDate.addingSeconds(*m_fixedLength)};
    if (m_scheduleEnd && m_scheduleEnd->moment.frame < moment.frame)
        return m_scheduleEnd->moment;
    return moment;
}

double VmRecorder::longestFile() const {
    // Whole seconds, so that the names tell the truth to the second.
    const double bytesPerSecond = m_label.sampleRate * m_label.channels * 2.0;
    return std::max(1.0, std::floor(static_cast<double>(SoundFile::largestFile - 4096) / bytesPerSecond) - 1.0);
}

void VmRecorder::follow(std::optional<PlannedEnd>& planned, Date date) const {
    const HostTime now = m_controler.seams().clock.hostTime();
    if (planned && planned->time - now < hostTimeFromSeconds(settleTime))
        return;
    // An end that a slow seam has left behind already is still ahead of what was written. One that is passed
    // because the clock was set is now.
    const double left = std::max(date.secondsSince(this->now()), planned ? 0.0 : -longestSeam);
    const HostTime time = now + hostTimeFromSeconds(left);
    planned = PlannedEnd{{m_pipeline.frameAt(time), this->now().addingSeconds(left)}, time};
}

void VmRecorder::planAgain() {
    m_boundaryDate = boundaryAfter(now());
    if (m_boundary && m_boundary->time > m_controler.seams().clock.hostTime()) // the write thread is before it
        m_boundary.reset();
    planBoundary();
}

std::int64_t VmRecorder::ownEnd() const {
    std::int64_t end = std::numeric_limits<std::int64_t>::max();
    if (m_scheduleEnd)
        end = m_scheduleEnd->moment.frame;
    const double rate = m_controler.devicer().recordSampleRate();
    if (m_fixedLength)
        end = std::min<std::int64_t>(end, m_pipeline.startFrame() + std::llround(*m_fixedLength * rate));
    return end;
}

void VmRecorder::endAfter(double seconds) {
    m_fixedLength = seconds;
    planBoundary();
}

Date VmRecorder::boundaryAfter(Date date) const {
    const bool timetable = m_recordTimer != nullptr;
    const double limit = longestFile();
    const SplitRule rule{.onTheHour = m_startOnTheHour && !timetable,
                         .longest =
                             timetable ? limit : std::min(m_controler.mechanic().maxRecordTime(), limit)};
    return rule.boundaryAfter(m_recordStartDate, date, m_controler.seams().clock);
}

void VmRecorder::planBoundary() {
    follow(m_boundary, m_boundaryDate);
    // Counted in frames too: neither a clock that is set back nor one that drifts lets a file overflow.
    const double rate = m_controler.devicer().recordSampleRate();
    const std::int64_t fullFrame = m_pipeline.startFrame() + std::llround(longestFile() * rate);
    if (m_boundary->moment.frame > fullFrame) {
        const double early = static_cast<double>(m_boundary->moment.frame - fullFrame) / rate;
        m_boundary->moment = {fullFrame, m_boundary->moment.date.addingSeconds(-early)};
        m_boundary->time -= hostTimeFromSeconds(early);
    }
    if (m_runningElement != nullptr)
        follow(m_scheduleEnd, m_timerStartDate.addingSeconds(m_recordPeriod));
    m_pipeline.setStopFrame(std::min(m_boundary->moment.frame, ownEnd()));
}

void VmRecorder::crossBoundariesBefore(const StreamMoment& stop) {
    const int method = m_actionMethod;
    // They may have passed since anybody looked.
    while (m_boundary && condition() == RecordCondition::recording && stop.frame > m_boundary->moment.frame)
        restartRecording(m_boundary->moment);
    m_actionMethod = method;
}

void VmRecorder::crossBoundary() {
    planBoundary();
    const bool isCaptured = m_pipeline.frameCount() >= m_boundary->moment.frame;
    // Sound that comes late after a stall is waited for, as long as it comes.
    const HostTime silentSince = std::max(m_boundary->time, m_lastFrameTime);
    const bool isLate = m_controler.seams().clock.hostTime() - silentSince > hostTimeFromSeconds(patience);
    if ((!isCaptured && !isLate) || m_boundary->moment.frame >= ownEnd())
        return;
    const int method = m_actionMethod;
    restartRecording(m_boundary->moment);
    if (!m_recordState) // switched off already: the stop that follows is for that reason
        m_actionMethod = method;
}

void VmRecorder::beginNewFile() {
    if (condition() != RecordCondition::recording || m_fixedLength)
        return;
    const StreamMoment seam = stopMoment();
    crossBoundariesBefore(seam);
    if (m_writeFile == nullptr || condition() != RecordCondition::recording || seam.frame >= ownEnd())
        return; // it ends by itself
    restartRecording(seam);
}

bool VmRecorder::takeOverRecord() {
    m_carriedBytes = 0;
    if (m_overRecordBytes == 0)
        return true;
    const auto carried = m_workFiles.relay().addOverRecordData(*m_writeFile);
    if (!carried) { // it stays where it is, until a file takes it
        m_writeFile.reset();
        m_workFiles.discardTempFile();
        return false;
    }
    m_overRecordBytes = 0;
    m_carriedBytes = *carried;
    if (m_carriedBytes == 0) {
        m_workFiles.rescueRelayFile();
        const double later = static_cast<double>(m_pipeline.startFrame() - m_overRecordFrame);
        m_recordStartDate = m_recordStartDate.addingSeconds(later / m_controler.devicer().recordSampleRate());
    }
    return true;
}

void VmRecorder::carryOverRecord(const WritePipeline::Account& account) {
    const double rate = m_controler.devicer().recordSampleRate();
    const double bytesPerSecond = m_label.sampleRate * m_label.channels * 2.0;
    constexpr double longest = 60.0; // seconds
    double over = static_cast<double>(account.overRecordBytes) / bytesPerSecond;
    std::int64_t bytes = account.overRecordBytes;
    if (over > longest) {
        say("SomeErrorHappen", "RecordTime over 60sec");
        bytes = static_cast<std::int64_t>(longest * m_label.sampleRate) * m_label.channels * 2;
        m_recordStopDate = m_recordStopDate.addingSeconds(over - longest);
        over = longest;
    }
    if (over >= 1.0)
        m_controler.seams().notifications.postLogEvent(
            "SomeReportHappen",
            formatted("VmRecorder: over record %fseconds(=%dbytes)", over, static_cast<int>(bytes)));
    if (!m_workFiles.relay().delOverRecordData(bytes, static_cast<std::int64_t>(account.writeCount),
                                               m_label.channels)) {
        m_recordStopDate = m_recordStopDate.addingSeconds(over); // it stays, so the name covers it
        return;
    }
    m_overRecordBytes = bytes;
    const auto ratio = static_cast<std::int64_t>(rate / m_label.sampleRate);
    m_overRecordFrame = m_pipeline.startFrame() + account.frames;
    m_overRecordFrame += (account.overRecordBytes - bytes) / (2 * m_label.channels) * ratio;
    m_beginWith = StreamMoment{m_overRecordFrame, m_recordStopDate};
}

void VmRecorder::onTheMinuteTime() {
    armMarkerFor(presentMinute()); // if nobody could see it come
    m_workFiles.progress().renewalProgressSoundFile(m_label.channels);
}
