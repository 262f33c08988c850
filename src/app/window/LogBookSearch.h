// app/window/LogBookSearch.h — finds a word in a text that grows at both ends, a page at a time.
#pragma once
#include <cstddef>
#include <deque>
#include <QString>

/// Knows the pages of a text that is shown, and the places where a query stands in them, whatever the case of
/// its letters. A page is searched at each `scan`, the last page first, so that nobody waits for a long text.
/// No place crosses the end of a line, and pages are whole lines.
///
/// Main thread only.
class LogBookSearch {
public:
    /// No text; the query stays.
    void clear();
    void append(const QString& lines);
    /// Puts lines before the others.
    void prepend(const QString& lines);
    /// Begins anew with another query; the empty one stands nowhere.
    void setQuery(const QString& query);
    const QString& query() const { return m_query; }

    /// Searches one more page; its places come before those found already. False when there is none left.
    bool scan();
    bool isDone() const { return m_query.isEmpty() || m_unscanned == 0; }

    /// Places found so far, in the order of the text.
    std::size_t count() const { return m_places.size(); }
    /// Where a place begins in the text, in letters.
    int position(std::size_t place) const { return static_cast<int>(m_places[place] + m_before); }
    /// The first place at `position` or behind it; the last one when there is none. There must be a place.
    std::size_t placeFrom(int position) const;

private:
    struct Page {
        QString text;
        qint64 begin = 0; ///< counted from where the first page that came began
    };
    /// Where the query stands in `text`, which begins at `begin`.
    std::deque<qint64> placesIn(const QString& text, qint64 begin) const;

    QString m_query;
    std::deque<Page> m_pages;
    std::deque<qint64> m_places; // counted as the pages' begins are: they stay when lines come before
    std::size_t m_unscanned = 0; // pages, from the first one on
    qint64 m_before = 0;         // letters of the pages that were put before the first that came
};
