#include "system/PrivateDisplay.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace {
std::string at(PrivateDisplay::Point point) {
    return "mousemove " + std::to_string(point.x) + " " + std::to_string(point.y);
}

std::string textOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}
} // namespace

std::string PrivateDisplay::whyNot() {
    for (const char* program : {"Xvfb", "xdotool"})
        if (!ChildProcess::isInstalled(program))
            return std::string(program) + " is not installed";
    return {};
}

PrivateDisplay::PrivateDisplay() {
    const std::string number = m_folder.path() + "/number";
    // The server itself finds a free number.
    m_server = std::make_unique<ChildProcess>(
        std::vector<std::string>{
            "sh", "-c", "exec Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>'" + number + "'"},
        ChildProcess::Environment{}, m_folder.path() + "/server.log");
    for (int attempt = 0; attempt < 200 && m_server->isRunning(); ++attempt) {
        if (const std::string text = textOf(number); text.ends_with('\n')) {
            m_name = ":" + text.substr(0, text.size() - 1);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    throw std::runtime_error("the display does not answer: " + textOf(m_folder.path() + "/server.log"));
}

ChildProcess::Environment PrivateDisplay::environment() const {
    // Windows appear here and nowhere else; no desktop's bus is asked.
    return {{"DISPLAY", m_name},
            {"WAYLAND_DISPLAY", ""},
            {"QT_QPA_PLATFORM", "xcb"},
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + m_folder.path() + "/no-bus"}};
}

std::string PrivateDisplay::tool(const std::string& arguments) const {
    const std::string output = m_folder.path() + "/output";
    ChildProcess({"sh", "-c", "xdotool " + arguments}, environment(), output).wait();
    return textOf(output);
}

void PrivateDisplay::click(Point point) const {
    tool(at(point) + " click 1");
}

void PrivateDisplay::doubleClick(Point point) const {
    tool(at(point) + " click --repeat 2 --delay 60 1");
}

void PrivateDisplay::drag(Point from, Point to) const {
    std::string path = at(from) + " mousedown 1";
    for (int step = 1; step <= 8; ++step)
        path += " " + at({from.x + (to.x - from.x) * step / 8, from.y + (to.y - from.y) * step / 8}) +
                " sleep 0.03";
    tool(path + " mouseup 1");
}

void PrivateDisplay::press(const std::string& key) const {
    tool("key " + key);
}

void PrivateDisplay::type(const std::string& text) const {
    tool("type --delay 15 '" + text + "'");
}

int PrivateDisplay::windows(const std::string& title) const {
    const std::string found = tool("search --onlyvisible --name '" + title + "' 2>/dev/null");
    return static_cast<int>(std::count(found.begin(), found.end(), '\n'));
}

std::string PrivateDisplay::geometry(const std::string& title) const {
    const std::string shell =
        tool("search --onlyvisible --name '" + title + "' getwindowgeometry --shell %1 2>/dev/null");
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    const auto begin = shell.find("X=");
    if (begin == std::string::npos ||
        std::sscanf(shell.c_str() + begin, "X=%d\nY=%d\nWIDTH=%d\nHEIGHT=%d", &x, &y, &width, &height) != 4)
        return {};
    return std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(width) + " " +
           std::to_string(height);
}

void PrivateDisplay::keepPicture(const std::string& name) const {
    const char* folder = std::getenv("VELMORATIDE_PICTURES");
    if (folder == nullptr || folder[0] == '\0' || !ChildProcess::isInstalled("import"))
        return;
    ChildProcess({"import", "-window", "root", std::string(folder) + "/" + name + ".png"}, environment())
        .wait();
}
