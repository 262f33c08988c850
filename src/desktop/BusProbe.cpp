#include "desktop/BusProbe.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
std::string pathOfSystemBus() {
    const char* const configured = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    const std::string address =
        configured != nullptr ? configured : "unix:path=/var/run/dbus/system_bus_socket";
    constexpr std::string_view scheme = "unix:path=";
    if (address.rfind(scheme, 0) != 0 || address.find('%') != std::string::npos)
        return {};
    return address.substr(scheme.size(), address.find_first_of(",;") - scheme.size());
}
} // namespace

std::string whySystemBusIsSilent(double seconds) {
    const std::string path = pathOfSystemBus();
    sockaddr_un place{};
    if (path.empty() || path.size() >= sizeof place.sun_path)
        return {};
    place.sun_family = AF_UNIX;
    path.copy(place.sun_path, path.size());
    const int bus = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (bus < 0)
        return std::strerror(errno);
    std::string why;
    constexpr std::string_view question("\0AUTH\r\n", 7); // which ways to log in are there?
    if (::connect(bus, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
        ::send(bus, question.data(), question.size(), MSG_NOSIGNAL) < 0) {
        why = std::strerror(errno);
    } else {
        pollfd answer{bus, POLLIN, 0};
        int answers = 0;
        do
            answers = ::poll(&answer, 1, static_cast<int>(seconds * 1000.0));
        while (answers < 0 && errno == EINTR);
        if (answers <= 0)
            why = "it does not answer";
    }
    ::close(bus);
    return why;
}
