#include "rehearsal/RehearseCommandLine.h"

std::optional<RehearseCommandLine> RehearseCommandLine::parse(const std::vector<std::string>& arguments,
                                                              std::string& error) {
    RehearseCommandLine line;
    bool onlyPaths = false;
    bool outGiven = false;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (!onlyPaths && *argument == "--") {
            onlyPaths = true;
        } else if (!onlyPaths && (*argument == "--help" || *argument == "-h")) {
            line.help = true;
        } else if (!onlyPaths && *argument == "--version") {
            line.version = true;
        } else if (!onlyPaths && argument->starts_with("--out=")) {
            line.out = argument->substr(6);
            outGiven = true;
        } else if (!onlyPaths && *argument == "--out") {
            outGiven = argument + 1 != arguments.end() && !(argument + 1)->starts_with("--");
            line.out = outGiven ? *++argument : "";
        } else if (!onlyPaths && argument->starts_with('-')) {
            error = "unknown argument \"" + *argument + "\" (--help lists what there is)";
            return std::nullopt;
        } else if (!line.scenario.empty()) {
            error = "one scenario at a time, not \"" + *argument + "\" too";
            return std::nullopt;
        } else {
            line.scenario = *argument;
        }
    }
    if (line.help || line.version)
        return line;
    if (line.scenario.empty())
        error = "which scenario? (--help tells more)";
    else if (!outGiven || line.out.empty())
        error = "--out needs the folder that takes what the rehearsal leaves";
    if (!error.empty())
        return std::nullopt;
    return line;
}

std::string RehearseCommandLine::helpText() {
    return "Usage: velmoratide-rehearse SCENARIO.json --out FOLDER\n"
           "Runs Velmoratide against scripted hardware in virtual time: a whole duty in seconds, with real "
           "files.\n"
           "\n"
           "  --out FOLDER  put recordings, settings and logs there; what a former rehearsal left is carried "
           "on\n"
           "  --version     print the version, then quit\n"
           "  --help        print this text, then quit\n"
           "\n"
           "The last line of standard output is one of JSON: simulatedSeconds, realSeconds, launches, "
           "filesMade,\n"
           "framesCaptured, framesWritten and framesLost.\n"
           "\n"
           "FOLDER then holds record/, preserve/, expand/, settings.json, system-log.txt, "
           "notifications.jsonl,\n"
           "alerts.jsonl and states.jsonl. The same scenario leaves the same bytes, every time.\n"
           "\n"
           "Exit status: 0 the rehearsal ran to its end, 2 the scenario or the arguments are unusable, 3 the\n"
           "application misbehaved; one line on standard error says why.\n";
}
