// faults/FaultyDuty.h — a short duty on a volume on which something fails.
#pragma once
#include "faults/NthFaultVolume.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// A duty of 40 seconds, and another launch after it that finds a volume without fault.
class FaultyDuty {
public:
    enum class Kind {
        always,   ///< across a full hour
        slowDisk, ///< the same, where each block takes seconds to reach the disk
        relay,    ///< sound of the next file has come into the one before when the main thread wakes up
        timetable ///< an entry that ends five seconds before the duty
    };
    /// What a duty without fault is.
    struct Usual {
        std::array<int, NthFaultVolume::operations> counts{};
        std::int64_t first = 0; ///< device frame
        std::int64_t end = 0;
        std::size_t lines = 0;     ///< of the system log
        std::int64_t gapFirst = 0; ///< what the input itself did not hear; device frames
        std::int64_t gapEnd = 0;
    };

    FaultyDuty(Kind kind, const NthFaultVolume::Fault& fault) : m_kind(kind), m_fault(fault) {}

    static Usual usual(Kind kind);
    /// Runs it in a process of its own, so that a crash or a hang is one complaint among others. Returns what
    /// is wrong; empty when nothing is.
    std::string complaint(const Usual& usual) const;

private:
    struct Outcome {
        std::array<int, NthFaultVolume::operations> counts{};
        double struck = -1.0; ///< seconds after the launch; negative: not at all
        std::vector<std::string> lines;
        std::vector<std::string> events;
    };

    Outcome run(const std::string& folder) const;
    void rescue(const std::string& folder) const;
    std::string judge(const std::string& folder, const Outcome& outcome, const Usual& usual) const;

    const Kind m_kind;
    const NthFaultVolume::Fault m_fault;
};
