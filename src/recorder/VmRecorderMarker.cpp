// The marker sound: its switch, its file, and when it is due.
#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/UserDefaults.h"
#include "recorder/MarkerSound.h"
#include "recorder/MarkerSounds.h"
#include "recorder/VmRecorder.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {
constexpr int markerOptions = 5;
constexpr double aheadTime =
    2.0; // seconds; no longer than the planned end of a file is settled before it comes

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
    initMarkerBuffer();
    armMarkerAnew();
}

void VmRecorder::cancelSoundMarker() {
    const bool emergency = std::exchange(m_emergency, true);
    m_markerButton.setOn(false);
    actMarkerButton();
    m_emergency = emergency;
}

void VmRecorder::setMarkerOption(int option) {
    m_markerOption = option;
    checkMarkerOption();
    armMarkerAnew();
}

void VmRecorder::checkMarkerOption() {
    const bool isKnown = m_markerOption >= 0 && m_markerOption < markerOptions;
    if (isKnown)
        m_unknownOptionSaid.reset();
    else if (m_markerSwitch && std::exchange(m_unknownOptionSaid, m_markerOption) != m_markerOption)
        say("SomeErrorHappen",
            formatted("VmRecorder: marker interval %d is unknown, the marker does not sound.", m_markerOption));
}

void VmRecorder::setMarkerSound(const std::string& name) {
    m_markerSound = name;
    initMarkerBuffer();
    armMarkerAnew();
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
    if (!m_pipeline.marker().hasBegun())
        endMarker(); // it is armed anew, if the marker is on
    m_pipeline.marker().disarm();
    checkMarkerOption();
    const double rate = m_controler.devicer().recordSampleRate();
    m_markerRate = 0.0;
    if (!m_markerSwitch || m_controler.devicer().recordSource() < 0 || rate <= 0.0)
        return; // loaded when it is switched on, and there is an input
    const std::string path = MarkerSounds(m_controler.seams().soundFolders).pathOf(m_markerSound);
    MarkerSound::Loaded sound = MarkerSound::load(path, rate);
    m_pipeline.marker().setSound(std::move(sound.samples));
    m_markerRate = rate;
    if (sound.outcome == MarkerSound::Outcome::loaded)
        return;
    say("SomeErrorHappen", messageOf(sound.outcome));
    cancelSoundMarker();
}

void VmRecorder::fitMarkerToInput() {
    if (m_markerRate && m_controler.devicer().recordSampleRate() != *m_markerRate)
        initMarkerBuffer();
}

// --- when it is due ------------------------------------------------------------------------------------------

int VmRecorder::markerIntervalWithNumber(int number) {
    static constexpr int minutes[markerOptions] = {1, 3, 5, 15, 30};
    return number >= 0 && number < markerOptions ? minutes[number] : 30;
}

bool VmRecorder::isMarkerDue(int option, int minute) {
    return option >= 0 && option < markerOptions && minute % markerIntervalWithNumber(option) == 0;
}

Date VmRecorder::presentMinute() const {
    const Date date = now();
    const CalendarDate calendar = m_controler.seams().clock.calendarDate(date);
    return date.addingSeconds(-calendar.second - calendar.microsecond * 1e-6);
}

std::int64_t VmRecorder::frameOfMinute(Date minute) const {
    // Never in the file that ends with this minute, although the clocks moved since its end was planned; and
    // whole in the next one, if the file ends soon after the minute.
    constexpr double same = 0.01; // seconds
    const double near = m_controler.devicer().recordSampleRate() * aheadTime;
    std::int64_t frame = std::max(momentAt(minute).frame, m_pipeline.startFrame());
    for (const std::optional<PlannedEnd>* planned : {&m_boundary, &m_scheduleEnd}) {
        if (!*planned)
            continue;
        const std::int64_t end = (*planned)->moment.frame;
        const bool endsThen = std::abs((*planned)->moment.date.secondsSince(minute)) < same;
        if (endsThen || (end > frame && static_cast<double>(end - frame) < near))
            frame = end;
    }
    return frame;
}

void VmRecorder::armMarker() {
    const Date minute = presentMinute();
    const double since = now().secondsSince(minute);
    constexpr double sinceLatest = 1.1; // seconds; an unseen tick later than the minute
    if (since < sinceLatest)
        armMarkerFor(minute); // the file began with it
    else if (since > 60.0 - aheadTime)
        armMarkerFor(minute.addingSeconds(60.0)); // ahead: the disk may be slow when it comes
}

void VmRecorder::armMarkerFor(Date minute) {
    const int number = m_controler.seams().clock.calendarDate(minute).minute;
    // Repeats of a long sound that reach into the next minutes are not cut off.
    if (!m_markerSwitch || !isMarkerDue(m_markerOption, number) || m_pipeline.marker().writeMarker() != 0)
        return;
    constexpr double latest = 30.0; // seconds; a marker that comes later than that tells a wrong time
    const double sinceLast = m_markerMinute ? minute.secondsSince(*m_markerMinute) : 60.0;
    if (now().secondsSince(minute) > latest || (sinceLast < 1.0 && sinceLast > -90.0))
        return; // the clock was moved, or another file was begun
    const std::int64_t frame = frameOfMinute(minute);
    if (ownEnd() <= frame)
        return; // left to the file that follows, if one does
    m_markerMinute = minute;
    m_pipeline.marker().arm(frame, number == 0 ? 2U : number == 30 ? 1U : 0U);
}

void VmRecorder::armMarkerAnew() {
    const MarkerMixer& marker = m_pipeline.marker();
    if (marker.writeMarker() != 0 && !marker.hasBegun())
        endMarker();
    // A minute that began without it stays without: a late marker tells a wrong time.
    m_markerMinute = std::max(m_markerMinute.value_or(Date{}), presentMinute());
    if (condition() == RecordCondition::recording)
        armMarker();
}

void VmRecorder::endMarker() {
    if (m_pipeline.marker().writeMarker() != 0)
        m_markerMinute.reset(); // a file that begins in this very second shall have it
    m_pipeline.marker().disarm();
}

void VmRecorder::forgetMarkerMinute() {
    m_pipeline.marker().disarm();
    m_markerMinute.reset();
}
