#include "support/DutyCheck.h"

#include "support/Counting.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <unistd.h>
#include <utility>

namespace {
constexpr std::int64_t headerBytes = 4096;
constexpr std::size_t stemLength = 35; // "_Velmoratide_YYYYmmdd_HHMMSS~HHMMSS"

void store(std::byte* into, std::int64_t sample) {
    into[0] = static_cast<std::byte>(sample >> 8);
    into[1] = static_cast<std::byte>(sample);
}

std::int64_t wordAt(const std::byte* from, int bytes) {
    std::int64_t word = 0;
    for (int i = 0; i < bytes; ++i)
        word = word << 8 | static_cast<std::int64_t>(from[i]);
    return word;
}

unsigned ratioOf(int rateNumber) {
    return rateNumber == 0 ? 4 : rateNumber == 1 ? 2 : 1;
}
} // namespace

/// A file, read from front to back in large pieces.
class DutyCheck::Reader {
public:
    explicit Reader(const std::string& path) : m_file(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        std::error_code missing;
        m_size = static_cast<std::int64_t>(std::filesystem::file_size(path, missing));
        if (missing)
            m_size = -1;
        fill();
    }
    ~Reader() {
        if (m_file >= 0)
            ::close(m_file);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    std::int64_t size() const { return m_file < 0 ? -1 : m_size; }
    /// What was read and not yet taken; empty at the end.
    const std::byte* data() const { return m_buffer.data() + m_begin; }
    std::int64_t held() const { return static_cast<std::int64_t>(m_end - m_begin); }
    void take(std::int64_t bytes) {
        m_begin += static_cast<std::size_t>(bytes);
        if (m_end - m_begin < lowest)
            fill();
    }

private:
    static constexpr std::size_t lowest = 8192; // the header, and at least a frame

    void fill() {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
        while (m_file >= 0 && m_end < m_buffer.size()) {
            const ssize_t got = ::read(m_file, m_buffer.data() + m_end, m_buffer.size() - m_end);
            if (got <= 0)
                break;
            m_end += static_cast<std::size_t>(got);
        }
    }

    const int m_file;
    std::int64_t m_size = 0;
    std::vector<std::byte> m_buffer = std::vector<std::byte>(std::size_t{1} << 20);
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

DutyCheck::DutyCheck(const Clock& clock, const Signal& signal)
    : m_clock(clock),
      m_signal(signal),
      m_ratio(ratioOf(signal.rateNumber)),
      m_frameBytes(signal.channels >= 2 ? 4 : 2),
      m_table(std::size_t{counting::period} * m_frameBytes),
      m_place(counting::period) {
    // The period is odd: every ratio visits each number once in a lap.
    for (std::int64_t place = 0; place < counting::period; ++place) {
        const std::int64_t left = place * m_ratio % counting::period;
        std::byte* const frame = m_table.data() + place * m_frameBytes;
        store(frame, left);
        // The right sample of a reduced stereo file lies as many floats after the left one as the ratio says.
        if (signal.channels >= 2 && m_ratio > 1)
            store(frame + 2, (left + m_ratio / 2) % counting::period);
        m_place[static_cast<std::size_t>(left)] = place;
    }
}

bool DutyCheck::fail(const std::string& name, const std::string& what) {
    if (m_fault.empty())
        m_fault = name + ": " + what;
    return false;
}

std::int64_t DutyCheck::frames() const {
    std::int64_t sum = 0;
    for (const Piece& piece : m_pieces)
        sum += piece.end - piece.first;
    return sum;
}

std::int64_t DutyCheck::frameAt(Date date) const {
    return std::llround(date.secondsSince(m_signal.launch) * m_signal.rate);
}

Date DutyCheck::dateOf(std::int64_t frame) const {
    return m_signal.launch.addingSeconds(static_cast<double>(frame) / m_signal.rate);
}

/// The bytes that a file holds from device frame `frame` on, and how many of its frames lie there in a row.
const std::byte* DutyCheck::expected(std::int64_t frame, std::int64_t count, std::int64_t& available) {
    const std::int64_t place = m_place[static_cast<std::size_t>(frame % counting::period)];
    available = std::min(count, counting::period - place);
    if (m_ratio == 1 && m_frameBytes == 4) {
        if (const std::int64_t high = counting::high(frame); high != m_tableHigh) {
            for (std::int64_t each = 0; each < counting::period; ++each)
                store(m_table.data() + each * 4 + 2, high);
            m_tableHigh = high;
        }
    }
    return m_table.data() + place * m_frameBytes;
}

bool DutyCheck::readHeader(Reader& reader, const std::string& name) {
    if (reader.size() < headerBytes)
        return fail(name, "is no sound file");
    const std::int64_t frames = (reader.size() - headerBytes) / m_frameBytes;
    const std::byte* const header = reader.data();
    if (std::memcmp(header, "FORM", 4) != 0 || wordAt(header + 4, 4) != reader.size() - 8 ||
        wordAt(header + 20, 2) != m_signal.channels || wordAt(header + 22, 4) != frames ||
        wordAt(header + 4084, 4) != reader.size() - 4088)
        return fail(name, "its header does not fit its size of " + std::to_string(reader.size()));
    if ((reader.size() - headerBytes) % m_frameBytes != 0 || frames == 0)
        return fail(name, "holds no whole number of frames");
    const char* const text = reinterpret_cast<const char*>(header) + 256;
    m_pieces.push_back({name, 0, 0, reader.size(), std::string(text, strnlen(text, 256))});
    reader.take(headerBytes);
    return true;
}

std::optional<Date> DutyCheck::startInName(const std::string& name) const {
    CalendarDate local;
    if (name.size() < stemLength ||
        std::sscanf(name.c_str() + 13, "%4d%2d%2d_%2d%2d%2d~", &local.year, &local.month, &local.day,
                    &local.hour, &local.minute, &local.second) != 6)
        return std::nullopt;
    Date start = m_clock.dateFromLocal(local);
    // Of a repeated hour the second is meant when the first would lie before the file before.
    if (m_pieces.size() > 1 && start < dateOf(m_pieces[m_pieces.size() - 2].end).addingSeconds(-2.0)) {
        const Date later = start.addingSeconds(3600.0);
        if (m_clock.format(later, "%H%M%S") == m_clock.format(start, "%H%M%S"))
            start = later;
    }
    return start;
}

bool DutyCheck::findFirst(Reader& reader, const std::string& name, std::int64_t& first) {
    const std::int64_t left = wordAt(reader.data(), 2);
    const bool numbered = m_ratio == 1 && m_frameBytes == 4;
    const std::int64_t right = numbered ? wordAt(reader.data() + 2, 2) : 0;
    if (left >= counting::period || right >= counting::period)
        return fail(name, "its first frame holds no count");
    const auto start = startInName(name);
    if (!start)
        return fail(name, "bears no start time");
    const std::int64_t lap = numbered ? counting::period * counting::period : counting::period;
    const std::int64_t count = right * counting::period + left;
    const std::int64_t before = m_pieces.size() > 1 ? m_pieces[m_pieces.size() - 2].end : 0;
    // A name is cut down to the second: the middle of that second is the best guess.
    const Date likely = std::exchange(m_start, std::nullopt).value_or(start->addingSeconds(0.5));
    const std::int64_t guess = m_gap ? frameAt(likely) : before;
    first = count + lap * std::llround(static_cast<double>(guess - count) / static_cast<double>(lap));
    if (m_gap && first < before)
        return fail(name, "begins at frame " + std::to_string(first) + ", the file before ends at " +
                              std::to_string(before));
    if (!m_gap && first != before)
        return fail(name, "begins at frame " + std::to_string(first) + ", expected " + std::to_string(before));
    return true;
}

bool DutyCheck::readSound(Reader& reader, const std::string& name, std::int64_t first) {
    const std::int64_t total = (reader.size() - headerBytes) / m_frameBytes;
    for (std::int64_t frame = 0; frame < total;) {
        std::int64_t count = std::min(total - frame, reader.held() / m_frameBytes);
        if (count == 0)
            return fail(name, "cannot be read to its end");
        const std::byte* const pattern = expected(first + frame * m_ratio, count, count);
        const auto bytes = static_cast<std::size_t>(count) * m_frameBytes;
        if (std::memcmp(reader.data(), pattern, bytes) != 0) {
            const auto wrong = std::mismatch(pattern, pattern + bytes, reader.data()).first - pattern;
            const std::int64_t at = wrong / m_frameBytes;
            return fail(name, "frame " + std::to_string(frame + at) + " of " + std::to_string(total) +
                                  " holds " + std::to_string(wordAt(reader.data() + at * m_frameBytes, 2)) +
                                  ", expected is device frame " +
                                  std::to_string(first + (frame + at) * m_ratio) + ", counted as " +
                                  std::to_string(wordAt(pattern + at * m_frameBytes, 2)));
        }
        reader.take(static_cast<std::int64_t>(bytes));
        frame += count;
    }
    return true;
}

bool DutyCheck::checkName(const Piece& piece) {
    const auto agrees = [this](const std::string& text, std::int64_t frame, const char* pattern) {
        for (const double off : {0.0, -1.0, 1.0})
            if (m_clock.format(dateOf(frame).addingSeconds(off), pattern) == text)
                return true;
        return false;
    };
    if (!agrees(piece.name.substr(13, 15), piece.first, "%Y%m%d_%H%M%S"))
        return fail(piece.name, "its sound begins at " + m_clock.format(dateOf(piece.first), "%Y%m%d_%H%M%S"));
    if (!agrees(piece.name.substr(29, 6), piece.end, "%H%M%S"))
        return fail(piece.name, "its sound ends at " + m_clock.format(dateOf(piece.end), "%Y%m%d_%H%M%S"));
    return true;
}

void DutyCheck::add(const std::string& path) {
    const std::string name = std::filesystem::path(path).filename().string();
    Reader reader(path);
    std::int64_t first = 0;
    if (!readHeader(reader, name) || !findFirst(reader, name, first))
        return;
    Piece& piece = m_pieces.back();
    piece.first = first;
    piece.end = first + (reader.size() - headerBytes) / m_frameBytes * m_ratio;
    m_gap = false;
    if (readSound(reader, name, first))
        checkName(piece);
}

void DutyCheck::addFolder(const std::string& folder) {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".aif" && entry.path().filename().string()[0] == '_')
            paths.push_back(entry.path().string());
    std::sort(paths.begin(), paths.end());
    for (const std::string& path : paths)
        add(path);
}
