// dutylog/LogBookReader.h — the text of a log book that is still being written.
#pragma once
#include <cstdint>
#include <string>

class Volume;

/// Reads the end of a file of whole lines and follows what is added to it, a page at a time: a book may be as
/// large as it likes. A last line without its end waits until it is whole. Main thread only.
class LogBookReader {
public:
    static constexpr std::int64_t pageSize = 256 * 1024; ///< bytes; shown within a blink

    /// How the text changed.
    enum class Change {
        none,
        added,  ///< `text` continues what was read before
        anew,   ///< `text` replaces it: it is another book, or too much was added at once
        missing ///< there is no book that can be read
    };
    struct Look {
        Change change = Change::none;
        std::string text;
    };

    explicit LogBookReader(Volume& volume) : m_volume(volume) {}

    /// Looks at the book at `path`. Another path than before is another book.
    Look look(const std::string& path);
    /// Whether there are lines before those that were read.
    bool hasEarlier() const { return m_begin > 0; }
    /// The page before what was read, or a part of it that ends a line; empty when it cannot be read.
    std::string earlier();

private:
    Look readTail(std::int64_t size);
    Look missing();
    std::string read(std::int64_t from, std::int64_t to) const;
    bool isSameBook(std::int64_t size) const;

    Volume& m_volume;
    std::string m_path;
    bool m_hasBook = false;
    std::int64_t m_begin = 0; ///< of what was read
    std::int64_t m_end = 0;
    std::string m_lastBytes; ///< just before the end: another book of the same length has others
};
