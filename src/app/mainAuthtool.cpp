// The program authtool: takes a granted administrator right and one command from its standard input.
//
// The recorder's rights end at its own files, and no command asks for more. So the helper checks that it was
// handed a whole right and a whole command that it knows, and says with its exit status whether that was so.
#include "app/AuthorizationTool.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {
/// Reads until `size` bytes are there or the input ends; how many there were.
std::size_t readAll(std::uint8_t* bytes, std::size_t size) {
    std::size_t had = 0;
    while (had < size) {
        const ssize_t got = read(STDIN_FILENO, bytes + had, size - had);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        had += static_cast<std::size_t>(got);
    }
    return had;
}

int refuse(const char* why) {
    std::fprintf(stderr, "authtool: %s\n", why);
    return 1;
}
} // namespace

int main() {
    AdministratorRight::ExternalForm right{};
    AuthorizationTool::CommandRecord record{};
    std::uint8_t surplus = 0;
    if (readAll(right.data(), right.size()) != right.size())
        return refuse("no administrator right was handed over");
    if (readAll(record.data(), record.size()) != record.size())
        return refuse("no whole command was handed over");
    if (readAll(&surplus, 1) != 0)
        return refuse("more than one command was handed over");
    std::int32_t command = 0;
    std::memcpy(&command, record.data(), sizeof command);
    if (command != AuthorizationTool::command)
        return refuse("the command is unknown");
    if (std::memchr(record.data() + sizeof command, 0, record.size() - sizeof command) == nullptr)
        return refuse("the command's path has no end");
    return 0;
}
