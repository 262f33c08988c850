#include "storage/Paths.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace {
std::string homeFolder() {
    if (const char* const home = std::getenv("HOME"); home != nullptr && *home != '\0')
        return home;
    std::vector<char> room(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, room.data(), room.size(), &found) == 0 && found != nullptr)
        return found->pw_dir;
    return "/";
}
} // namespace

std::string Paths::expandingTilde(std::string_view path) {
    if (path == "~")
        return homeFolder();
    if (path.substr(0, 2) == "~/")
        return inFolder(homeFolder(), path.substr(2));
    return std::string(path);
}

std::string Paths::inFolder(std::string_view folder, std::string_view name) {
    std::string path(folder);
    if (path.empty() || path.back() != '/')
        path += '/';
    return path.append(name);
}

std::string Paths::folderOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return ".";
    return slash == 0 ? "/" : std::string(path.substr(0, slash));
}

std::string Paths::trimmed(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return std::string(path);
}
