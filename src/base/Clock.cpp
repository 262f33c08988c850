#include "base/Clock.h"

#include "base/Formatted.h"

#include <QDateTime>
#include <utility>

Clock::Clock(QTimeZone zone) : m_zone(std::move(zone)) {}

namespace {
std::int64_t floorDiv(std::int64_t value, std::int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}
} // namespace

CalendarDate Clock::calendarDate(Date date) const {
    const std::int64_t seconds = floorDiv(date.microseconds, 1'000'000);
    const QDateTime utc = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    const int offset = m_zone.offsetFromUtc(utc);
    const QDateTime shifted = utc.addSecs(offset);
    CalendarDate local;
    local.year = shifted.date().year();
    local.month = shifted.date().month();
    local.day = shifted.date().day();
    local.hour = shifted.time().hour();
    local.minute = shifted.time().minute();
    local.second = shifted.time().second();
    local.microsecond = static_cast<int>(date.microseconds - seconds * 1'000'000);
    local.dayOfWeek = shifted.date().dayOfWeek() % 7;
    local.utcOffset = offset;
    return local;
}

Date Clock::dateFromLocal(const CalendarDate& local) const {
    const QDate day = QDate(local.year, 1, 1).addMonths(local.month - 1).addDays(local.day - 1);
    const std::int64_t wall = QDateTime(day, QTime(0, 0), Qt::UTC).toSecsSinceEpoch() + local.hour * 3600LL +
                              local.minute * 60LL + local.second;
    // The earlier of the two readings is right in a repeated hour; in a skipped one the older offset is used.
    const int before = m_zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(wall - 86400, Qt::UTC));
    const int after = m_zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(wall + 86400, Qt::UTC));
    std::int64_t seconds = wall - before;
    if (m_zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC)) != before) {
        const std::int64_t other = wall - after;
        if (m_zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(other, Qt::UTC)) == after)
            seconds = other;
    }
    return {seconds * 1'000'000 + local.microsecond};
}

std::string Clock::format(Date date, const char* pattern) const {
    const CalendarDate local = calendarDate(date);
    std::string text;
    const auto number = [&text](int value, int digits) { text += formatted("%0*d", digits, value); };
    for (const char* at = pattern; *at != '\0'; ++at) {
        if (*at != '%' || at[1] == '\0') {
            text += *at;
            continue;
        }
        switch (*++at) {
        case 'Y':
            number(local.year, 4);
            break;
        case 'm':
            number(local.month, 2);
            break;
        case 'd':
            number(local.day, 2);
            break;
        case 'H':
            number(local.hour, 2);
            break;
        case 'M':
            number(local.minute, 2);
            break;
        case 'S':
            number(local.second, 2);
            break;
        default:
            text += *at;
        }
    }
    return text;
}
