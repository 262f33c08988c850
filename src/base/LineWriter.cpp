#include "base/LineWriter.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>
#include <utility>

void LineWriter::write(std::string line) {
    const std::lock_guard guard(m_mutex);
    m_lines.push_back(std::move(line) + "\n");
    if (m_lines.size() > longestQueue) {
        m_lines.pop_front();
        ++m_dropped;
    }
    drain(0);
}

bool LineWriter::flush(double seconds) {
    const std::lock_guard guard(m_mutex);
    return drain(static_cast<int>(seconds * 1000.0));
}

bool LineWriter::drain(int timeoutMilliseconds) {
    // A pipe that is ready takes this much at once, so that a write does not block.
    constexpr std::size_t piece = 512;
    while (!m_lines.empty()) {
        if (m_dropped > 0)
            m_lines.push_front("(" + std::to_string(std::exchange(m_dropped, 0)) + " lines were dropped)\n");
        pollfd ready{m_descriptor, POLLOUT, 0};
        const int count = poll(&ready, 1, timeoutMilliseconds);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 || (ready.revents & POLLOUT) == 0) {
            if ((ready.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0)
                m_lines.clear(); // nobody will ever read them
            return m_lines.empty();
        }
        std::string& line = m_lines.front();
        const auto written = ::write(m_descriptor, line.data(), std::min(line.size(), piece));
        if (written < 0 && errno != EINTR && errno != EAGAIN)
            m_lines.pop_front(); // the file takes no more: this line cannot be said
        else if (written >= 0)
            line.erase(0, static_cast<std::size_t>(written));
        if (!m_lines.empty() && m_lines.front().empty())
            m_lines.pop_front();
    }
    return true;
}
