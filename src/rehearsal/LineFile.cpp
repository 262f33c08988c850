#include "rehearsal/LineFile.h"

#include "base/Clock.h"
#include "base/Formatted.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {
/// Whether a path may begin after `letter`.
bool separates(char letter) {
    return std::isalnum(static_cast<unsigned char>(letter)) == 0 &&
           std::string_view("/._-~").find(letter) == std::string_view::npos;
}

void removePrefix(std::string& line, const std::string& prefix) {
    for (std::size_t at = line.find(prefix); at != std::string::npos; at = line.find(prefix, at))
        if (at == 0 || separates(line[at - 1]))
            line.erase(at, prefix.size());
        else
            ++at;
}
} // namespace

LineFile::LineFile(const std::string& path, std::string folder)
    : m_prefix(std::move(folder) + "/"),
      m_descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644)),
      m_whole(m_descriptor >= 0) {}

LineFile::~LineFile() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void LineFile::write(std::string line) {
    std::ranges::replace(line, '\n', ' ');
    removePrefix(line, m_prefix);
    line += '\n';
    std::string_view rest = line;
    while (m_whole && !rest.empty()) {
        const ssize_t written = ::write(m_descriptor, rest.data(), rest.size());
        if (written > 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            m_whole = false;
    }
}

std::string LineFile::timeText(const Clock& clock) {
    const CalendarDate now = clock.calendarDate(clock.now());
    return formatted("%04d-%02d-%02d %02d:%02d:%02d.%03d", now.year, now.month, now.day, now.hour, now.minute,
                     now.second, now.microsecond / 1000);
}
