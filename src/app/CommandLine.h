// app/CommandLine.h — the arguments of the program.
#pragma once
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What the program was asked to do.
struct CommandLine {
    bool headless = false;
    bool demo = false;
    bool listSources = false;
    bool version = false;
    bool help = false;
    std::optional<double> recordFor; ///< seconds
    std::string source;
    std::string settings;
    std::string folder;
    std::string session; ///< what the desktop's session manager knows the program by; given by it alone
    std::vector<std::pair<std::string, std::string>> overrides; ///< setting and value

    /// Reads the arguments after the program's name. On a mistake returns nothing and says in one line in
    /// `error` what is wrong.
    static std::optional<CommandLine> parse(const std::vector<std::string>& arguments, std::string& error);
    static std::string helpText();

    /// The arguments, but for `session`, that ask for the same from any folder.
    std::vector<std::string> repeated() const;
};
