#include "app/CommandLine.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace {
// A year: whoever asks for more has mistyped.
constexpr double longestRecordFor = 366.0 * 86400.0;

std::optional<double> seconds(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(value) || value <= 0.0 || value > longestRecordFor)
        return std::nullopt;
    return value;
}

// As all toolkits have it, with one dash.
constexpr const char* sessionOption = "-session";

bool isOptionWithValue(const std::string& name) {
    for (const char* known : {"--source", "--settings", "--folder", "--record-for", "--set", sessionOption})
        if (name == known)
            return true;
    return false;
}

/// Steps through the arguments; knows "--name value" and "--name=value".
class Arguments {
public:
    explicit Arguments(const std::vector<std::string>& arguments) : m_arguments(arguments) {}

    bool next() {
        if (m_next == m_arguments.size())
            return false;
        m_name = m_arguments[m_next++];
        m_attached.reset();
        if (const auto equals = m_name.find('='); m_name.starts_with("--") && equals != std::string::npos) {
            m_attached = m_name.substr(equals + 1);
            m_name.resize(equals);
        }
        return true;
    }
    const std::string& name() const { return m_name; }
    bool hasAttachedValue() const { return m_attached.has_value(); }
    std::optional<std::string> value() {
        if (m_attached)
            return m_attached;
        if (m_next == m_arguments.size() || m_arguments[m_next].starts_with("--"))
            return std::nullopt;
        return m_arguments[m_next++];
    }

private:
    const std::vector<std::string>& m_arguments;
    std::size_t m_next = 0;
    std::string m_name;
    std::optional<std::string> m_attached;
};

bool* flagNamed(CommandLine& line, const std::string& name) {
    if (name == "--headless")
        return &line.headless;
    if (name == "--demo")
        return &line.demo;
    if (name == "--list-sources")
        return &line.listSources;
    if (name == "--version")
        return &line.version;
    if (name == "--help" || name == "-h")
        return &line.help;
    return nullptr;
}

std::string takeValue(CommandLine& line, const std::string& name, const std::string& value) {
    if (value.empty())
        return name + " needs a value that is not empty";
    if (name == "--source") {
        line.source = value;
    } else if (name == "--settings") {
        line.settings = value;
    } else if (name == "--folder") {
        line.folder = value;
    } else if (name == sessionOption) {
        line.session = value;
    } else if (name == "--record-for") {
        line.recordFor = seconds(value);
        if (!line.recordFor)
            return "--record-for needs a number of seconds above 0 and up to a year, not \"" + value + "\"";
    } else {
        const auto equals = value.find('=');
        if (equals == 0 || equals == std::string::npos)
            return "--set needs KEY=VALUE, not \"" + value + "\"";
        line.overrides.emplace_back(value.substr(0, equals), value.substr(equals + 1));
    }
    return {};
}
} // namespace

std::optional<CommandLine> CommandLine::parse(const std::vector<std::string>& arguments, std::string& error) {
    CommandLine line;
    Arguments rest(arguments);
    while (rest.next()) {
        const std::string name = rest.name();
        if (bool* flag = flagNamed(line, name); flag != nullptr) {
            if (rest.hasAttachedValue()) {
                error = name + " takes no value";
                return std::nullopt;
            }
            *flag = true;
            continue;
        }
        if (!isOptionWithValue(name)) {
            error = "unknown argument \"" + name + "\" (--help lists what there is)";
            return std::nullopt;
        }
        const auto value = rest.value();
        error = value ? takeValue(line, name, *value) : name + " needs a value";
        if (!error.empty())
            return std::nullopt;
    }
    return line;
}

std::vector<std::string> CommandLine::repeated() const {
    const auto whole = [](const std::string& path) {
        std::error_code gone; // the current folder
        const std::filesystem::path found = std::filesystem::absolute(path, gone);
        return gone ? path : found.string();
    };
    std::vector<std::string> arguments;
    for (const auto& [flag, isGiven] : {std::pair{"--headless", headless}, std::pair{"--demo", demo}})
        if (isGiven)
            arguments.emplace_back(flag);
    if (recordFor)
        arguments.insert(arguments.end(), {"--record-for", std::to_string(*recordFor)});
    if (!source.empty())
        arguments.insert(arguments.end(), {"--source", source});
    if (!settings.empty())
        arguments.insert(arguments.end(), {"--settings", whole(settings)});
    if (!folder.empty())
        arguments.insert(arguments.end(), {"--folder", whole(folder)});
    for (const auto& [key, value] : overrides) {
        arguments.emplace_back("--set");
        arguments.push_back(key);
        arguments.back().append("=").append(value);
    }
    return arguments;
}

std::string CommandLine::helpText() {
    return "Usage: velmoratide [OPTION...]\n"
           "Stands watch over a sound input and turns it into a folder of dated sound files.\n"
           "\n"
           "  --headless              run without a window; SIGTERM or SIGINT finishes the file and quits\n"
           "  --record-for SECONDS    record at once, in always mode, for that long, then quit; prints the "
           "full\n"
           "                          path of each finished file\n"
           "  --source NAME-OR-INDEX  record from this input (see --list-sources)\n"
           "  --list-sources          print index, name, device and rate of every input, then quit\n"
           "  --settings FILE         keep the settings in FILE\n"
           "  --folder DIR            put the recordings into DIR, for this run only\n"
           "  --set KEY=VALUE         use this setting, for this run only; may be repeated\n"
           "  --demo                  use a simulated desk with a speaking voice instead of real devices; "
           "settings\n"
           "                          and recordings go to a temporary folder unless given\n"
           "  --version               print the version, then quit\n"
           "  --help                  print this text, then quit\n"
           "\n"
           "Exit status: 0 all went well, 1 nothing or not everything could be recorded, 2 the arguments are "
           "wrong.\n";
}
