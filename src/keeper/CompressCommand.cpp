#include "keeper/CompressCommand.h"

#include <string_view>

std::vector<std::string> CompressCommand::argumentsFor(const std::string& target) const {
    constexpr int mostTargets = 4;
    std::string line;
    int targets = 0;
    for (std::size_t at = 0; at < argument.size(); ++at) {
        const std::string_view rest = std::string_view(argument).substr(at);
        if (rest.starts_with("%@") && targets < mostTargets) {
            line += target;
            ++targets;
            ++at;
        } else {
            line += argument[at];
            at += rest.starts_with("%%") ? 1 : 0;
        }
    }
    std::vector<std::string> arguments;
    std::size_t begin = 0;
    for (std::size_t space = line.find(' '); space != std::string::npos; space = line.find(' ', begin)) {
        arguments.push_back(line.substr(begin, space - begin));
        begin = space + 1;
    }
    arguments.push_back(line.substr(begin));
    return arguments;
}
