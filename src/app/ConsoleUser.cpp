#include "app/ConsoleUser.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

std::string ConsoleUser::name() {
    std::vector<char> room(16384);
    if (::getlogin_r(room.data(), room.size()) == 0 && room.front() != '\0')
        return room.data();
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, room.data(), room.size(), &found) == 0 && found != nullptr)
        return found->pw_name;
    const char* const user = std::getenv("USER");
    return user != nullptr && *user != '\0' ? user : "unknown";
}
