// The questions; the editing is in VmReserverEditing.cpp.
#include "schedule/VmReserver.h"

#include "app/VmControler.h"
#include "base/Clock.h"
#include "schedule/DayTime.h"
#include "schedule/VmReserveList.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace {
bool contains(const VmReserverElement& element, std::int32_t second) {
    if (element.start() < element.stop())
        return element.start() <= second && second <= element.stop();
    return second <= element.stop() || second >= element.start();
}

bool mayRunOn(const VmReserverElement& element, const CalendarDate& day) {
    return (element.month() == 0 || element.month() == day.month) &&
           (element.day() == 0 || element.day() == day.day) &&
           (element.week() == 0 || element.week() == day.dayOfWeek + 1);
}

/// Measures the way from one moment to the starts of many entries.
class StartDistance {
public:
    StartDistance(const Clock& clock, Date now)
        : m_clock(clock), m_now(now), m_local(clock.calendarDate(now)) {}

    /// Seconds to the start of `element`, on the day that its filters name or on the day after that if its time
    /// has passed today; nothing when that is a day or more away, or its weekday is not today's.
    std::optional<std::int64_t> to(const VmReserverElement& element) {
        if (element.week() != 0 && element.week() != m_local.dayOfWeek + 1)
            return std::nullopt;
        const int month = element.month() == 0 ? m_local.month : element.month();
        if (month < 1 || month > 12)
            return std::nullopt;
        const std::int32_t nowSeconds = DayTime::seconds(m_local);
        const std::int64_t day = (element.day() == 0 ? m_local.day : std::int64_t{element.day()}) +
                                 (nowSeconds > element.start() ? 1 : 0);
        const std::int64_t target = DayTime::dayNumber(m_local.year, month, day);
        const std::int64_t days = target - DayTime::dayNumber(m_local.year, m_local.month, m_local.day);
        const std::int64_t byTheHands = days * DayTime::secondsPerDay + element.start() - nowSeconds;
        if (std::abs(byTheHands) >= DayTime::secondsPerDay)
            return std::nullopt;
        if (clockIsSteady())
            return byTheHands;
        const std::int64_t start = DayTime::reached(m_clock, target, element.start()).microseconds;
        return (start - (m_now.microseconds - m_local.microsecond)) / 1'000'000;
    }

private:
    /// Whether the clock changes neither in the day before nor in the day after; looked up once.
    bool clockIsSteady() {
        if (!m_steady) {
            const auto offset = [this](double seconds) {
                return m_clock.calendarDate(m_now.addingSeconds(seconds)).utcOffset;
            };
            constexpr double twoDays = 2.0 * DayTime::secondsPerDay;
            m_steady = offset(-twoDays) == m_local.utcOffset && offset(twoDays) == m_local.utcOffset;
        }
        return *m_steady;
    }

    const Clock& m_clock;
    const Date m_now;
    const CalendarDate m_local;
    std::optional<bool> m_steady;
};
} // namespace

const VmReserverElement* VmReserver::elementStartingNow(Ending ending) const {
    const Clock& clock = m_controler.seams().clock;
    const CalendarDate now = clock.calendarDate(clock.now());
    for (const VmReserverElement& element : m_controler.reservelist().timers()) {
        if (element.enabled() == 0 || !mayRunOn(element, now) || element.startHour() != now.hour ||
            element.startMinute() != now.minute)
            continue;
        const bool hasEnded = element.start() < element.stop() && DayTime::seconds(now) >= element.stop();
        if (!hasEnded || ending == Ending::counts)
            return &element;
    }
    return nullptr;
}

const VmReserverElement* VmReserver::startElement() const {
    return elementStartingNow(Ending::counts);
}

const VmReserverElement* VmReserver::unfinishedStartElement() const {
    return elementStartingNow(Ending::passedOver);
}

const VmReserverElement* VmReserver::elementContainingNow(Ending ending) const {
    const Clock& clock = m_controler.seams().clock;
    const std::int32_t now = DayTime::seconds(clock.calendarDate(clock.now()));
    for (const VmReserverElement& element : m_controler.reservelist().timers()) {
        if (element.enabled() == 0 || !contains(element, now))
            continue;
        const bool ends = element.stop() == now && element.start() != element.stop();
        if (!ends || ending == Ending::counts)
            return &element;
    }
    return nullptr;
}

const VmReserverElement* VmReserver::withinElement() const {
    return elementContainingNow(Ending::counts);
}

const VmReserverElement* VmReserver::unfinishedWithinElement() const {
    return elementContainingNow(Ending::passedOver);
}

VmReserver::NextElement VmReserver::nextElementSecond() const {
    const Clock& clock = m_controler.seams().clock;
    StartDistance distance(clock, clock.now());
    NextElement next;
    for (const VmReserverElement& element : m_controler.reservelist().timers()) {
        if (element.enabled() == 0)
            continue;
        if (const std::optional<std::int64_t> seconds = distance.to(element); seconds && *seconds < next.second)
            next = {&element, static_cast<std::int32_t>(*seconds)};
    }
    return next;
}

Date VmReserver::stopDate(const VmReserverElement& element) const {
    const Clock& clock = m_controler.seams().clock;
    return DayTime::nextShown(clock, clock.now(), element.stop());
}

Date VmReserver::startDate(const VmReserverElement& element) const {
    const Clock& clock = m_controler.seams().clock;
    return DayTime::lastReached(clock, clock.now(), element.start());
}

int VmReserver::validReserves() const {
    const auto& timers = m_controler.reservelist().timers();
    return static_cast<int>(
        std::ranges::count_if(timers, [](const VmReserverElement& each) { return each.enabled() == 1; }));
}

int VmReserver::enables() const {
    const auto& timers = m_controler.reservelist().timers();
    return static_cast<int>(
        std::ranges::count_if(timers, [](const VmReserverElement& each) { return each.enabled() != 0; }));
}

int VmReserver::count() const {
    return static_cast<int>(m_controler.reservelist().timers().size());
}

const VmReserverElement* VmReserver::elementAtIndex(int index) const {
    const auto& timers = m_controler.reservelist().timers();
    return index >= 0 && index < count() ? &timers[static_cast<std::size_t>(index)] : nullptr;
}
