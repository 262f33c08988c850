#include "system/SettableWallClock.h"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utility>

namespace {
/// A sanitizer's runtime has to come before whatever else is preloaded.
std::string withSanitizerFirst(const std::string& library) {
    std::ifstream file("/proc/self/maps");
    for (std::string line; std::getline(file, line);)
        if (line.find("/libasan.so") != std::string::npos || line.find("/libtsan.so") != std::string::npos)
            return line.substr(line.find('/')) + ":" + library;
    return library;
}
} // namespace

SettableWallClock::SettableWallClock(std::string path) : m_path(std::move(path)) {
    setAhead(0);
}

void SettableWallClock::setAhead(std::int64_t seconds) const {
    // In one write, and in place: programs have the file mapped.
    const int file = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    EXPECT_EQ(::pwrite(file, &seconds, sizeof(seconds), 0), static_cast<ssize_t>(sizeof(seconds))) << m_path;
    ::close(file);
}

ChildProcess::Environment SettableWallClock::environment() const {
    return {{"LD_PRELOAD", withSanitizerFirst(VELMORATIDE_TEST_CLOCK_LIBRARY)},
            {"VELMORATIDE_TEST_CLOCK", m_path}};
}
