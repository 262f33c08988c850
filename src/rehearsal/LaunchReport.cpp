#include "rehearsal/LaunchReport.h"

#include <cstdlib>
#include <sstream>

namespace {
constexpr char endMark[] = "whole"; // what comes before it was written to its end
}

std::string LaunchReport::toText() const {
    std::ostringstream text;
    text << std::hexfloat << simulatedSeconds << ' ' << counts.filesMade << ' ' << counts.framesCaptured << ' '
         << counts.framesWritten << ' ' << room.freeBytes << ' ' << room.usedBytes << ' ' << endMark << '\n'
         << misuse << '\n'
         << fault;
    return text.str();
}

std::optional<LaunchReport> LaunchReport::fromText(std::string_view text) {
    LaunchReport report;
    std::istringstream words{std::string(text)};
    // Streams read no hexadecimal fractions; strtod does.
    const auto real = [&words] {
        std::string word;
        words >> word;
        return std::strtod(word.c_str(), nullptr);
    };
    report.simulatedSeconds = real();
    words >> report.counts.filesMade >> report.counts.framesCaptured >> report.counts.framesWritten;
    report.room.freeBytes = real();
    report.room.usedBytes = real();
    std::string mark;
    words >> mark;
    words.get();
    std::getline(words, report.misuse);
    std::getline(words, report.fault);
    if (mark != endMark)
        return std::nullopt;
    return report;
}
