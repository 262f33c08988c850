#include "app/window/LogBookSearch.h"

#include <algorithm>

namespace {
constexpr qsizetype pageLetters = 256 * 1024;
}

void LogBookSearch::clear() {
    m_pages.clear();
    m_places.clear();
    m_unscanned = 0;
    m_before = 0;
}

void LogBookSearch::append(const QString& lines) {
    const qint64 end = m_pages.empty() ? 0 : m_pages.back().begin + m_pages.back().text.size();
    const bool isScanned = m_unscanned < m_pages.size();
    if (isScanned) { // the last page is the first to be; what came before it is left to the next scans
        const std::deque<qint64> found = placesIn(lines, end);
        m_places.insert(m_places.end(), found.begin(), found.end());
    }
    if (!m_pages.empty() && m_pages.back().text.size() + lines.size() <= pageLetters) {
        m_pages.back().text += lines;
        return;
    }
    m_pages.push_back({lines, end});
    if (!isScanned)
        m_unscanned = m_pages.size();
}

void LogBookSearch::prepend(const QString& lines) {
    m_before += lines.size();
    m_pages.push_front({lines, -m_before});
    ++m_unscanned;
}

void LogBookSearch::setQuery(const QString& query) {
    m_query = query;
    m_places.clear();
    m_unscanned = m_pages.size();
}

bool LogBookSearch::scan() {
    if (isDone())
        return false;
    const Page& page = m_pages[--m_unscanned];
    const std::deque<qint64> found = placesIn(page.text, page.begin);
    m_places.insert(m_places.begin(), found.begin(), found.end());
    return true;
}

std::deque<qint64> LogBookSearch::placesIn(const QString& text, qint64 begin) const {
    std::deque<qint64> places;
    if (m_query.isEmpty())
        return places;
    for (qsizetype at = text.indexOf(m_query, 0, Qt::CaseInsensitive); at >= 0;
         at = text.indexOf(m_query, at + m_query.size(), Qt::CaseInsensitive))
        places.push_back(begin + at);
    return places;
}

std::size_t LogBookSearch::placeFrom(int position) const {
    const auto place = std::ranges::lower_bound(m_places, position - m_before);
    return static_cast<std::size_t>((place == m_places.end() ? m_places.end() - 1 : place) - m_places.begin());
}
