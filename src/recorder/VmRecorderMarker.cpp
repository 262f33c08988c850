// The marker sound: its switch, its file, and when it is due.
#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Clock.h"
#include "base/UserDefaults.h"
#include "recorder/MarkerSound.h"
#include "recorder/MarkerSounds.h"
#include "recorder/VmRecorder.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {
const char* messageOf(MarkerSound::Outcome outcome) {
    switch (outcome) {
    case MarkerSound::Outcome::loaded:
        return "";
    case MarkerSound::Outcome::missing:
    case MarkerSound::Outcome::unreadable:
    case MarkerSound::Outcome::noFile:
    case MarkerSound::Outcome::noSound:
        return "VmRecorder: marker sound file open error.";
    case MarkerSound::Outcome::empty:
    case MarkerSound::Outcome::tooLong:
    case MarkerSound::Outcome::readFailed:
        return "VmRecorder: marker sound file read error.";
    case MarkerSound::Outcome::noMemory:
        return "VmRecorder: no enough memory for marker sound buffer.";
    }
    return "";
}
} // namespace

// --- switch --------------------------------------------------------------------------------------------------

void VmRecorder::readMarkerDefaults() {
    const UserDefaults& defaults = m_controler.seams().defaults;
    m_markerSwitch = defaults.boolForKey("MarkerSoundSwitch");
    m_markerOption = defaults.integerForKey("MarkerSoundOption");
    m_markerSound = defaults.stringForKey("MarkerSoundName");
    m_markerMonitor = defaults.boolForKey("MarkerSoundMonitor");
    m_markerButton.setOn(m_markerSwitch);
    m_markerButton.setAction([this] { actMarkerButton(); });
}

void VmRecorder::saveMarkerDefaults() {
    UserDefaults& defaults = m_controler.seams().defaults;
    defaults.set("MarkerSoundSwitch", m_markerSwitch);
    defaults.set("MarkerSoundOption", m_markerOption);
    defaults.set("MarkerSoundName", m_markerSound);
    defaults.set("MarkerSoundMonitor", m_markerMonitor);
}

void VmRecorder::actMarkerButton() {
    if (!m_emergency && gateRefuses()) {
        m_markerButton.setOn(!m_markerButton.isOn());
        return;
    }
    m_markerSwitch = m_markerButton.isOn();
    storeSwitch("MarkerSoundSwitch", m_markerSwitch);
    m_controler.seams().notifications.postLogEvent("MarkerSwitchChange");
    m_markerRepeat.reset();
    initMarkerBuffer();
}

void VmRecorder::cancelSoundMarker() {
    const bool emergency = std::exchange(m_emergency, true);
    m_markerButton.setOn(false);
    actMarkerButton();
    m_emergency = emergency;
}

void VmRecorder::setMarkerSound(const std::string& name) {
    m_markerSound = name;
    initMarkerBuffer();
}

void VmRecorder::setMarkerMonitor(bool markerMonitor) {
    m_markerMonitor = markerMonitor;
    updateMarkerMonitor();
}

void VmRecorder::updateMarkerMonitor() {
    m_markerHeard.store(m_markerMonitor && m_monitorButton.isOn(), std::memory_order_relaxed);
}

// --- sound ---------------------------------------------------------------------------------------------------

std::vector<std::string> VmRecorder::markerSounds() const {
    return MarkerSounds(m_controler.seams().soundFolders).names();
}

void VmRecorder::initMarkerBuffer() {
    const double rate = m_controler.devicer().recordSampleRate();
    m_markerRate = 0.0;
    if (!m_markerSwitch || m_controler.devicer().recordSource() < 0 || rate <= 0.0)
        return; // loaded when it is switched on, and there is an input
    const std::string path = MarkerSounds(m_controler.seams().soundFolders).pathOf(m_markerSound);
    MarkerSound::Loaded sound = MarkerSound::load(path, rate);
    m_markerRepeat.reset();
    m_pipeline.marker().setSound(std::move(sound.samples));
    m_markerRate = rate;
    if (sound.outcome == MarkerSound::Outcome::loaded)
        return;
    say("SomeErrorHappen", messageOf(sound.outcome));
    cancelSoundMarker();
}

void VmRecorder::fitMarkerToInput() {
    if (m_controler.devicer().recordSampleRate() != m_markerRate)
        initMarkerBuffer();
}

// --- when it is due ------------------------------------------------------------------------------------------

int VmRecorder::markerIntervalWithNumber(int number) {
    static constexpr int minutes[] = {1, 3, 5, 15, 30};
    return number >= 0 && number < 5 ? minutes[number] : 30;
}

bool VmRecorder::isMarkerDue(int option, int minute) {
    return option >= 0 && option < 5 && minute % markerIntervalWithNumber(option) == 0;
}

Date VmRecorder::presentMinute() const {
    const Date date = now();
    const CalendarDate calendar = m_controler.seams().clock.calendarDate(date);
    return date.addingSeconds(-calendar.second - calendar.microsecond * 1e-6);
}

std::int64_t VmRecorder::frameOfMinute(Date minute) const {
    // Never in the file that ends with this minute, although the clocks moved since its end was planned.
    const double near = m_controler.devicer().recordSampleRate() / 10.0;
    std::int64_t frame = std::max(momentAt(minute).frame, m_pipeline.startFrame());
    for (const std::optional<PlannedEnd>* planned : {&m_boundary, &m_scheduleEnd})
        if (*planned && static_cast<double>(std::abs((*planned)->moment.frame - frame)) < near)
            frame = std::max(frame, (*planned)->moment.frame);
    return frame;
}

void VmRecorder::armMarkerAtTheStart() {
    // An entry of the timetable begins with its minute: nobody saw that one come.
    const double late = m_recordStartDate.secondsSince(presentMinute());
    if (late > -0.5 && late < 1.0)
        armMarker();
}

void VmRecorder::armMarker() {
    const Date date = presentMinute();
    const int minute = m_controler.seams().clock.calendarDate(date).minute;
    // Repeats of a long sound that reach into the next minutes are not cut off.
    if (!m_markerSwitch || m_markerRepeat != nullptr || !isMarkerDue(m_markerOption, minute))
        return;
    constexpr double latest = 30.0; // seconds; a marker that comes later than that tells a wrong time
    const double sinceLast = m_markerMinute ? date.secondsSince(*m_markerMinute) : 60.0;
    if (now().secondsSince(date) > latest || (sinceLast < 1.0 && sinceLast > -90.0))
        return; // the clock was moved, or another file was begun
    const std::int64_t frame = frameOfMinute(date);
    if (m_scheduleEnd && m_scheduleEnd->moment.frame <= frame)
        return; // left to the file that follows, if one does
    m_markerMinute = date;
    m_pipeline.marker().arm(frame);
    m_markerRepeats = minute == 0 ? 2 : minute == 30 ? 1 : 0;
    if (m_markerRepeats == 0)
        return;
    constexpr double interval = 0.1; // seconds
    m_markerRepeat = m_controler.seams().runLoop.schedule({.interval = interval, .repeats = true},
                                                          [this] { repeatMarker(); });
}

void VmRecorder::repeatMarker() {
    if (m_pipeline.marker().writeMarker() != 0)
        return;
    m_pipeline.marker().arm();
    if (--m_markerRepeats == 0)
        m_markerRepeat.reset();
}

void VmRecorder::endMarker() {
    if (m_markerRepeat != nullptr || m_pipeline.marker().writeMarker() != 0)
        m_markerMinute.reset(); // a file that begins in this very second shall have it
    m_markerRepeat.reset();
    m_pipeline.marker().disarm();
}
