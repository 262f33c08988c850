#include "storage/SoundFileNames.h"

#include <algorithm>

namespace {
constexpr std::string_view header = SoundFileNames::headerString;
/// Start date, tilde, stop time, ".aif".
constexpr std::size_t bytesAfterHeader = 15 + 1 + 6 + 4;

std::size_t dotOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == 0 ? std::string_view::npos : dot;
}

std::string_view extensionOf(std::string_view name) {
    const std::size_t dot = dotOf(name);
    return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

/// The first character is not compared: it tells hidden from visible.
bool bearsHeader(std::string_view name) {
    const std::string_view rest = header.substr(1);
    return name.size() > rest.size() && name.substr(1, rest.size()) == rest;
}
} // namespace

std::string SoundFileNames::finalName(std::string_view leading, std::string_view start, std::string_view stop,
                                      std::optional<std::string_view> extension) {
    std::string name(leading);
    name.append(start).append("~").append(stop);
    if (extension)
        name.append(".").append(*extension);
    return name;
}

std::string SoundFileNames::freeName(std::string name, const std::function<bool(const std::string&)>& exists) {
    if (name.size() > longestName) // no file has it
        return name;
    const std::size_t end = std::min(dotOf(name), name.size());
    for (std::string free = name; free.size() <= longestName; free.insert(end, 1, '+'))
        if (!exists(free))
            return free;
    for (std::size_t number = longestName - name.size() + 1;; ++number) {
        std::string free = name;
        free.insert(end, "+" + std::to_string(number));
        if (!exists(free))
            return free;
    }
}

bool SoundFileNames::isSoundFile(std::string_view name) {
    return name.size() == header.size() + bytesAfterHeader && bearsHeader(name) &&
           extensionOf(name) == soundExtension;
}

bool SoundFileNames::isImageFile(std::string_view name) {
    return name.size() >= header.size() && bearsHeader(name) && extensionOf(name) == imageExtension;
}
