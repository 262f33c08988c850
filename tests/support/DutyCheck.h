// support/DutyCheck.h — proves by counting that a duty's files hold what was heard.
#pragma once
#include "base/Clock.h"
#include "base/Date.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Checks recordings of the counting signal, one after the other, and keeps the first fault that it finds.
///
/// Frames are frames of the device, counted from the launch: frame k was captured k / rate seconds after it. A
/// file of ratio r holds every r-th of them. Its samples give the frames back modulo 32767 (modulo 32767
/// squared for stereo at the device's rate); where a file is not expected to follow the one before it, the
/// start time in its name says which multiple is meant. A name must agree with its sound to within one second.
class DutyCheck {
public:
    struct Signal {
        Date launch;
        double rate = 44100.0; ///< of the device, Hz
        int rateNumber = 2;    ///< 0: a quarter of that in the files, 1: half, else all
        int channels = 2;      ///< of the files
    };
    /// A file that was checked, with the device frames from `first` up to but without `end`.
    struct Piece {
        std::string name;
        std::int64_t first = 0;
        std::int64_t end = 0;
        std::int64_t bytes = 0; ///< of the whole file
        std::string information;
    };

    DutyCheck(const Clock& clock, const Signal& signal);

    /// The next file begins somewhere after the end of the last one, not at it.
    void expectGap() { m_gap = true; }
    /// The next file begins about then: within a third of a second, where its name alone may not tell enough.
    void expectStart(Date start) {
        m_gap = true;
        m_start = start;
    }
    /// Checks the next file.
    void add(const std::string& path);
    /// Checks all recordings of a folder, in the order of their names.
    void addFolder(const std::string& folder);

    /// What is wrong at the first failing place; empty while nothing is.
    const std::string& fault() const { return m_fault; }
    const std::vector<Piece>& pieces() const { return m_pieces; }
    /// Frames of the device that all files stand for.
    std::int64_t frames() const;
    unsigned ratio() const { return m_ratio; }
    /// The device frame that is captured at `date`, as if it ran on for ever.
    std::int64_t frameAt(Date date) const;
    Date dateOf(std::int64_t frame) const;

private:
    class Reader;

    bool readHeader(Reader& reader, const std::string& name);
    bool findFirst(Reader& reader, const std::string& name, std::int64_t& first);
    bool readSound(Reader& reader, const std::string& name, std::int64_t first);
    bool checkName(const Piece& piece);
    std::optional<Date> startInName(const std::string& name) const;
    const std::byte* expected(std::int64_t frame, std::int64_t count, std::int64_t& available);
    bool fail(const std::string& name, const std::string& what);

    const Clock& m_clock;
    const Signal m_signal;
    const unsigned m_ratio;
    const unsigned m_frameBytes; // of the files
    bool m_gap = true;           // before the first file too
    std::optional<Date> m_start; // of the next file
    std::string m_fault;
    std::vector<Piece> m_pieces;
    std::vector<std::byte> m_table;    // one lap of the counter as the files hold it
    std::int64_t m_tableHigh = -1;     // the right channel that the table holds, where that is the high count
    std::vector<std::int64_t> m_place; // in the table, of a left sample
};
