// schedule/EntryCalendar.h — on which dates an entry of the timetable holds.
#pragma once
#include "base/Date.h"

#include <optional>

class Clock;
class VmReserverElement;

/// What an entry's times and filters come to in the calendar. Any thread.
namespace EntryCalendar {
struct Span {
    Date start;
    Date stop;
    bool operator==(const Span&) const = default;
};

/// The first span of `element` that does not start before `now`. A start that the clock skips is at the moment
/// of the change; a span that it skips as a whole does not take place.
std::optional<Span> nextSpan(const VmReserverElement& element, const Clock& clock, Date now);
/// Whether no date of any year passes the filters, such as 30 February.
bool neverStarts(const VmReserverElement& element);
/// Whether the two run at the same time on some date. One that begins when the other ends does not.
bool overlap(const VmReserverElement& one, const VmReserverElement& other);
} // namespace EntryCalendar
