#include "base/SystemLog.h"

#include "base/Clock.h"

#include <cstdio>
#include <string>
#include <unistd.h>

void DescriptorSystemLog::log(std::string_view line) {
    const Date now = m_clock.now();
    char milliseconds[8];
    std::snprintf(milliseconds, sizeof milliseconds, ".%03d ", m_clock.calendarDate(now).microsecond / 1000);
    const std::string text =
        m_clock.format(now, "%Y-%m-%d %H:%M:%S") + milliseconds + std::string(line) + "\n";
    // A log that cannot be written has nowhere left to say so.
    [[maybe_unused]] const auto written = ::write(m_descriptor, text.data(), text.size());
}
