// The program velmoratide-rehearse.
#include "rehearsal/Rehearsal.h"
#include "rehearsal/RehearseCommandLine.h"

#include <cstdio>
#include <string>

namespace {
/// One line, whatever a scenario's texts hold.
void sayError(std::string text) {
    for (char& letter : text)
        if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F)
            letter = '?';
    std::fprintf(stderr, "velmoratide-rehearse: %s\n", text.c_str());
}
} // namespace

int main(int argc, char* argv[]) {
    std::string error;
    const auto line = RehearseCommandLine::parse({argv + 1, argv + argc}, error);
    if (!line) {
        sayError(error);
        return static_cast<int>(Rehearsal::Outcome::unusable);
    }
    if (line->help || line->version) {
        std::fputs(line->help ? RehearseCommandLine::helpText().c_str()
                              : "velmoratide-rehearse " VELMORATIDE_VERSION "\n",
                   stdout);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    Rehearsal rehearsal;
    const Rehearsal::Outcome outcome = rehearsal.run(line->scenario, line->out, error);
    if (outcome != Rehearsal::Outcome::done) {
        sayError(error);
        return static_cast<int>(outcome);
    }
    std::printf("%s\n", rehearsal.summary().c_str());
    return std::fflush(stdout) == 0 ? 0 : 1;
}
