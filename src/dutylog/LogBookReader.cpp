#include "dutylog/LogBookReader.h"

#include "storage/Volume.h"

#include <algorithm>
#include <span>

namespace {
constexpr std::int64_t markSize = 512; // bytes: at least a whole block with its date
}

std::string LogBookReader::read(std::int64_t from, std::int64_t to) const {
    const std::unique_ptr<VolumeFile> file = m_volume.openForReading(m_path);
    if (file == nullptr || to <= from)
        return {};
    std::string text(static_cast<std::size_t>(to - from), '\0');
    const std::int64_t got = file->readAt(from, std::as_writable_bytes(std::span(text)));
    text.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    return text;
}

bool LogBookReader::isSameBook(std::int64_t size) const {
    const auto length = static_cast<std::int64_t>(m_lastBytes.size());
    return size >= m_end && read(m_end - length, m_end) == m_lastBytes;
}

LogBookReader::Look LogBookReader::missing() {
    const bool had = m_hasBook;
    m_hasBook = false;
    return {had ? Change::missing : Change::none, {}};
}

LogBookReader::Look LogBookReader::look(const std::string& path) {
    if (path != m_path) {
        m_path = path;
        m_hasBook = false;
    }
    const std::unique_ptr<VolumeFile> file = m_volume.openForReading(m_path);
    const std::int64_t size = file == nullptr ? -1 : file->size();
    if (size < 0)
        return missing();
    if (!m_hasBook || !isSameBook(size) || size - m_end > pageSize)
        return readTail(size);
    std::string text = read(m_end, size);
    text.resize(text.rfind('\n') + 1); // npos + 1 is 0: no line is whole yet
    if (text.empty())
        return {};
    m_end += static_cast<std::int64_t>(text.size());
    m_lastBytes = (m_lastBytes + text);
    m_lastBytes.erase(0, m_lastBytes.size() - std::min<std::size_t>(m_lastBytes.size(), markSize));
    return {Change::added, std::move(text)};
}

LogBookReader::Look LogBookReader::readTail(std::int64_t size) {
    m_begin = std::max<std::int64_t>(size - pageSize, 0);
    std::string text = read(m_begin, size);
    text.resize(text.rfind('\n') + 1);
    if (m_begin > 0) { // at the begin of a line
        const std::size_t line = std::min(text.find('\n') + 1, text.size());
        m_begin += static_cast<std::int64_t>(line);
        text.erase(0, line);
    }
    m_hasBook = true;
    m_end = m_begin + static_cast<std::int64_t>(text.size());
    m_lastBytes = text.substr(text.size() - std::min<std::size_t>(text.size(), markSize));
    return {Change::anew, std::move(text)};
}

std::string LogBookReader::earlier() {
    const std::int64_t from = std::max<std::int64_t>(m_begin - pageSize, 0);
    std::string text = read(from, m_begin);
    if (static_cast<std::int64_t>(text.size()) != m_begin - from)
        return {}; // the book is another one by now: the next look tells
    if (from > 0)
        text.erase(0, text.find('\n') + 1);
    m_begin -= static_cast<std::int64_t>(text.size());
    return text;
}
