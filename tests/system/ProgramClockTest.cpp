// The built program while its wall clock is set.
#include "system/CountedDuty.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {
/// Preloaded into the program; what the file says is added to the wall clock.
std::string clockLibrary() {
    for (const char* folder : {"/usr/lib/x86_64-linux-gnu/faketime", "/usr/lib/aarch64-linux-gnu/faketime",
                               "/usr/lib/faketime", "/usr/local/lib/faketime", "/usr/lib64/faketime"})
        if (const std::string path = std::string(folder) + "/libfaketimeMT.so.1"; std::filesystem::exists(path))
            return path;
    return {};
}

/// A sanitizer's runtime has to come before whatever else is preloaded.
std::string withSanitizerFirst(const std::string& library) {
    std::ifstream file("/proc/self/maps");
    for (std::string line; std::getline(file, line);)
        if (line.find("/libasan.so") != std::string::npos || line.find("/libtsan.so") != std::string::npos)
            return line.substr(line.find('/')) + ":" + library;
    return library;
}

class ProgramClock : public testing::TestWithParam<int> {
protected:
    void set(int seconds) const {
        const std::string renewed = place.path() + "/offset.new";
        std::ofstream(renewed) << (seconds < 0 ? "" : "+") << seconds << "\n";
        std::filesystem::rename(renewed, offset);
    }

    TemporaryFolder place;
    const std::string offset = place.path() + "/offset";
};

std::string nameOf(const testing::TestParamInfo<int>& by) {
    return std::to_string(std::abs(by.param)) + (by.param < 0 ? "_back" : "_forth");
}
} // namespace

TEST_P(ProgramClock, losesNoFrameAndSaysSo_whenTheWallClockIsSet) {
    if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
        GTEST_SKIP() << why;
    if (clockLibrary().empty())
        GTEST_SKIP() << "libfaketime is not installed";
    const int by = GetParam();
    PrivatePulseServer server;
    CountedDuty duty(server, place.path() + "/record", 45.0);
    set(0);
    ASSERT_TRUE(duty.launch({}, {{"LD_PRELOAD", withSanitizerFirst(clockLibrary())},
                                 {"FAKETIME_TIMESTAMP_FILE", offset},
                                 {"FAKETIME_NO_CACHE", "1"},
                                 {"FAKETIME_DONT_FAKE_MONOTONIC", "1"}}));
    duty.pauseFor(7.0);
    set(by);
    ASSERT_TRUE(duty.awaitLines("the clock was set by", 1, 4.0)) << duty.log();
    duty.pauseFor(7.0);
    set(0);
    ASSERT_TRUE(duty.awaitLines("the clock was set by", 2, 4.0)) << duty.log();
    duty.pauseFor(7.0);
    const double seconds = duty.elapsed();
    EXPECT_EQ(duty.end(), 0) << duty.log();
    duty.expectEveryFrameOnce(seconds);
    EXPECT_EQ(duty.census().pieces().size(), 3U) << duty.log();
    const auto told = duty.linesWith("the clock was set by");
    ASSERT_EQ(told.size(), 2U) << duty.log();
    const auto number = [](const std::string& line) { return std::atof(line.c_str() + line.find(" by ") + 4); };
    EXPECT_NEAR(number(told[0]), by, 0.15);
    EXPECT_NEAR(number(told[1]), -by, 0.15);
}

INSTANTIATE_TEST_SUITE_P(BySeconds, ProgramClock, testing::Values(3600, -3600, 86400, 3, -3), nameOf);
