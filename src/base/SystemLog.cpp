#include "base/SystemLog.h"

#include "base/Clock.h"
#include "base/Formatted.h"

#include <algorithm>
#include <string>

void DescriptorSystemLog::log(std::string_view line) {
    const Date now = m_clock.now();
    std::string text(line);
    std::ranges::replace(text, '\n', ' '); // a file's name may hold anything
    m_writer.write(m_clock.format(now, "%Y-%m-%d %H:%M:%S") +
                   formatted(".%03d ", m_clock.calendarDate(now).microsecond / 1000) + text);
}
