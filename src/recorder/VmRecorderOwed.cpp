// Sound of a recording that has ended, which the disk does not take yet.
#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Alert.h"
#include "base/Clock.h"
#include "base/NotificationCenter.h"
#include "recorder/VmRecorder.h"
#include "storage/SoundFile.h"
#include "storage/VmMechanic.h"

#include <cmath>
#include <utility>

StreamMoment VmRecorder::soundEnd() const {
    return m_inputLoss ? StreamMoment{m_inputLoss->frame, m_inputLoss->date} : present();
}

void VmRecorder::noteUnwritten(const StreamMoment& from, const StreamMoment& to) {
    if (m_interruption && !m_isSettling) {
        m_interruption->from = from;
        return;
    }
    m_owed.push_front({from, to, m_label, m_fileRate});
    armRetry();
    if (!m_recordState && !m_isSettling)
        m_controler.seams().alert.tell({"FileWriteError", "CheckAndRetry", "Understand"});
}

void VmRecorder::owe(const StreamMoment& from, const StreamMoment& to) {
    if (m_asleep || from.frame >= to.frame) // what is heard during a sleep belongs to nobody
        return;
    // An interruption that nobody could write a file in: what it would have been.
    const bool isKnown = m_fileRate > 0.0;
    m_owed.push_back({from, to, isKnown ? m_label : fileLabel(), isKnown ? m_fileRate : sampleRate()});
    armRetry();
}

bool VmRecorder::settleOwed() {
    if (m_isSettling)
        return false;
    m_isSettling = true;
    bool isTaken = true;
    while (isTaken && !m_owed.empty()) {
        const OwedSound owed = m_owed.front();
        m_owed.pop_front();
        isTaken = writeOwed(owed);
    }
    m_isSettling = false;
    return isTaken;
}

bool VmRecorder::writeOwed(const OwedSound& owed) {
    const double rate = m_controler.devicer().recordSampleRate();
    const auto ratio = static_cast<unsigned>(rate / owed.rate);
    const bool isCarried = m_overRecordBytes != 0 && m_overRecordFrame <= owed.from.frame;
    const std::int64_t first = m_pipeline.prepare(owed.from.frame, ratio, owed.to.frame);
    if (first >= owed.to.frame && !isCarried) { // the queue holds nothing of it any more
        m_dutyFrames.captured += owed.to.frame - owed.from.frame;
        reportInterruption(owed.from, owed.to.date, "ends");
        return true;
    }
    const double needed = static_cast<double>(owed.to.frame - first) / rate * owed.rate * owed.label.channels;
    if (!m_controler.mechanic().isWritable(needed * 2.0) ||
        !createFile(owed.from, owed.label, owed.rate, owed.to.frame)) {
        m_owed.push_front(owed);
        return false;
    }
    if (m_recordStartDate.secondsSince(owed.from.date) * rate > ratio)
        reportInterruption(owed.from, m_recordStartDate);
    StreamMoment stop = owed.to;
    if (const Date boundary = boundaryAfter(m_recordStartDate); boundary < stop.date) {
        const double seconds = boundary.secondsSince(m_recordStartDate);
        stop = {m_pipeline.startFrame() + std::llround(seconds * rate), boundary};
        m_owed.push_front({stop, owed.to, owed.label, owed.rate});
    }
    const std::size_t before = m_owed.size();
    const int method = std::exchange(m_actionMethod, usualMethod());
    beginWriting(stop.frame);
    m_controler.seams().notifications.postLogEvent("RecordingStart");
    _stopRecording(stop, "RecordingStop");
    m_actionMethod = method;
    return m_owed.size() == before;
}

void VmRecorder::loseOwed() {
    for (const OwedSound& owed : std::exchange(m_owed, {})) {
        m_dutyFrames.captured += owed.to.frame - owed.from.frame;
        reportInterruption(owed.from, owed.to.date, "ends");
    }
    if (!m_interruption)
        m_retryTimer.reset();
}
