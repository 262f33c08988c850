#include "base/SystemLog.h"

#include "base/Clock.h"
#include "base/Formatted.h"

#include <string>
#include <unistd.h>

void DescriptorSystemLog::log(std::string_view line) {
    const Date now = m_clock.now();
    const std::string text = m_clock.format(now, "%Y-%m-%d %H:%M:%S") +
                             formatted(".%03d ", m_clock.calendarDate(now).microsecond / 1000) +
                             std::string(line) + "\n";
    // A log that cannot be written has nowhere left to say so.
    [[maybe_unused]] const auto written = ::write(m_descriptor, text.data(), text.size());
}
