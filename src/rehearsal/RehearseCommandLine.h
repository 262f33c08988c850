// rehearsal/RehearseCommandLine.h — the arguments of the program velmoratide-rehearse.
#pragma once
#include <optional>
#include <string>
#include <vector>

struct RehearseCommandLine {
    std::string scenario;
    std::string out;
    bool help = false;
    bool version = false;

    /// Reads the arguments after the program's name. On a mistake returns nothing and says in one line in
    /// `error` what is wrong.
    static std::optional<RehearseCommandLine> parse(const std::vector<std::string>& arguments,
                                                    std::string& error);
    static std::string helpText();
};
