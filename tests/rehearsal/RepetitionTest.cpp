// A rehearsal is the same every time: what a duty leaves in its record folder, byte for byte.
#include "support/DeskOfATest.h"

#include <map>
#include <sstream>

namespace {
using Contents = std::map<std::string, std::string>;

struct Outcome {
    Contents files;
    std::vector<std::string> events;
    std::vector<std::string> lines;
};

/// Noise with pauses, so that no two moments sound alike.
SimulatedDevice talkingInput() {
    using Kind = SimulatedSegment::Kind;
    SimulatedDevice device = countingInput();
    device.rates = {44100.0, 48000.0};
    device.signal = {{.at = 0.0, .kind = Kind::silence},
                     {.at = 20.0, .kind = Kind::noise, .level = 0.5, .seed = 7},
                     {.at = 50.0, .kind = Kind::silence},
                     {.at = 80.0, .kind = Kind::speech},
                     {.at = 160.0, .kind = Kind::sine, .level = 0.7, .frequency = 440.0}};
    return device;
}

Outcome duty(int recordMode) {
    Desk it({{"SamplingRateNumber", 2},
             {"ChannelsNumber", 2},
             {"RecordMode", recordMode},
             {"AutoStartLevel", 5},
             {"MonitorSwitch", true},
             {"RecordSwitch", true}},
            {talkingInput(), deskOutput()});
    it.desk.launch();
    it.desk.runFor(33.3);
    it.desk.volume.setWriteSeconds(1.7);
    it.desk.runFor(40.0);
    it.desk.hardware.stall("desk-in", 0.5);
    it.desk.runFor(30.0);
    it.desk.hardware.unplug("desk-in");
    it.desk.runFor(12.3);
    it.desk.hardware.replug("desk-in");
    it.desk.clock.jump(2.5);
    it.desk.volume.setWriteSeconds(0.0);
    it.desk.runFor(80.0);
    it.desk.terminate();

    Outcome outcome{{}, it.events, it.desk.log.lines()};
    for (const std::string& name : it.recordings()) {
        std::ifstream file(it.desk.recordFolder() + "/" + name, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        outcome.files[name] = text.str();
    }
    return outcome;
}

struct RepetitionTest : testing::TestWithParam<int> {};
} // namespace

TEST_P(RepetitionTest, leavesTheSameRecordFolder) {
    const Outcome first = duty(GetParam());
    const Outcome second = duty(GetParam());
    ASSERT_GE(first.files.size(), 2U);
    ASSERT_EQ(first.files.size(), second.files.size());
    for (const auto& [name, contents] : first.files) {
        ASSERT_TRUE(second.files.contains(name)) << name;
        EXPECT_TRUE(contents == second.files.at(name)) << name; // megabytes are not to be printed
        EXPECT_GT(contents.size(), 44100U) << name;
    }
    EXPECT_EQ(first.events, second.events);
    EXPECT_EQ(first.lines, second.lines);
}

INSTANTIATE_TEST_SUITE_P(Rehearsal, RepetitionTest, testing::Values(0, 1));
