#include "app/CommandLine.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {
using Arguments = std::vector<std::string>;
using Settings = std::vector<std::pair<std::string, std::string>>;

CommandLine parsed(const Arguments& arguments) {
    std::string error;
    const auto line = CommandLine::parse(arguments, error);
    EXPECT_TRUE(line) << error;
    return line.value_or(CommandLine{});
}

std::string mistake(const Arguments& arguments) {
    std::string error;
    EXPECT_FALSE(CommandLine::parse(arguments, error));
    return error;
}

struct FlagsTest : testing::TestWithParam<std::pair<const char*, bool CommandLine::*>> {};
struct TextsTest : testing::TestWithParam<std::pair<const char*, std::string CommandLine::*>> {};
struct NoSecondsTest : testing::TestWithParam<const char*> {};
} // namespace

TEST(CommandLine, asksForNothing_withoutArguments) {
    const CommandLine line = parsed({});
    EXPECT_FALSE(line.headless || line.demo || line.listSources || line.version || line.help);
    EXPECT_FALSE(line.recordFor);
    EXPECT_EQ(line.source + line.settings + line.folder, "");
    EXPECT_TRUE(line.overrides.empty());
}

TEST(CommandLine, takesAllOptionsTogether) {
    const CommandLine line =
        parsed({"--headless", "--demo", "--record-for", "60", "--source=Line In", "--settings", "s.json",
                "--folder", "~/Sound", "--set", "RecordMode=1", "--set=DelayTime=5"});
    EXPECT_TRUE(line.headless);
    EXPECT_TRUE(line.demo);
    EXPECT_EQ(line.recordFor, 60.0);
    EXPECT_EQ(line.source, "Line In");
    EXPECT_EQ(line.settings, "s.json");
    EXPECT_EQ(line.folder, "~/Sound");
    EXPECT_EQ(line.overrides, (Settings{{"RecordMode", "1"}, {"DelayTime", "5"}}));
}

// --- flags ---------------------------------------------------------------------------------------------------

TEST_P(FlagsTest, areTaken_alone) {
    const auto [name, field] = GetParam();
    EXPECT_TRUE(parsed({name}).*field);
    EXPECT_TRUE(parsed({name, name}).*field);
}

TEST_P(FlagsTest, takeNoValue) {
    const std::string name = GetParam().first;
    if (name.starts_with("--")) {
        EXPECT_EQ(mistake({name + "=1"}), name + " takes no value");
        EXPECT_EQ(mistake({name + "="}), name + " takes no value");
    }
    EXPECT_EQ(mistake({name, "1"}), "unknown argument \"1\" (--help lists what there is)");
}

INSTANTIATE_TEST_SUITE_P(CommandLine, FlagsTest,
                         testing::Values(std::pair("--headless", &CommandLine::headless),
                                         std::pair("--demo", &CommandLine::demo),
                                         std::pair("--list-sources", &CommandLine::listSources),
                                         std::pair("--version", &CommandLine::version),
                                         std::pair("--help", &CommandLine::help),
                                         std::pair("-h", &CommandLine::help)));

// --- options with a text -------------------------------------------------------------------------------------

TEST_P(TextsTest, areTakenInBothForms) {
    const auto [name, field] = GetParam();
    EXPECT_EQ(parsed({name, "a b"}).*field, "a b");
    EXPECT_EQ(parsed({std::string(name) + "=a b"}).*field, "a b");
    EXPECT_EQ(parsed({std::string(name) + "=a=b"}).*field, "a=b");
    EXPECT_EQ(parsed({std::string(name) + "=--headless"}).*field, "--headless");
    EXPECT_EQ(parsed({name, "-1"}).*field, "-1");
    EXPECT_EQ(parsed({name, "first", name, "last"}).*field, "last");
}

TEST_P(TextsTest, needAValue) {
    const std::string name = GetParam().first;
    EXPECT_EQ(mistake({name}), name + " needs a value");
    EXPECT_EQ(mistake({name, "--headless"}), name + " needs a value");
    EXPECT_EQ(mistake({name, ""}), name + " needs a value that is not empty");
    EXPECT_EQ(mistake({name + "="}), name + " needs a value that is not empty");
}

INSTANTIATE_TEST_SUITE_P(CommandLine, TextsTest,
                         testing::Values(std::pair("--source", &CommandLine::source),
                                         std::pair("--settings", &CommandLine::settings),
                                         std::pair("--folder", &CommandLine::folder)));

// --- seconds -------------------------------------------------------------------------------------------------

TEST(CommandLine, takesSeconds_withAFractionAndUpToAYear) {
    EXPECT_EQ(parsed({"--record-for", "0.5"}).recordFor, 0.5);
    EXPECT_EQ(parsed({"--record-for=3600"}).recordFor, 3600.0);
    EXPECT_EQ(parsed({"--record-for=1e3"}).recordFor, 1000.0);
    EXPECT_EQ(parsed({"--record-for=31622400"}).recordFor, 31622400.0);
}

TEST_P(NoSecondsTest, areRefused) {
    EXPECT_EQ(mistake({"--record-for", GetParam()}),
              "--record-for needs a number of seconds above 0 and up to a year, not \"" +
                  std::string(GetParam()) + "\"");
}

INSTANTIATE_TEST_SUITE_P(CommandLine, NoSecondsTest,
                         testing::Values("0", "-1", "-0", "nan", "inf", "1e999", "31622401", "10s", "ten", " ",
                                         "1 2", "1,5"));

TEST(CommandLine, needsSeconds_whereNoneFollow) {
    EXPECT_EQ(mistake({"--record-for"}), "--record-for needs a value");
    EXPECT_EQ(mistake({"--record-for="}), "--record-for needs a value that is not empty");
    EXPECT_EQ(mistake({"--record-for", "--demo"}), "--record-for needs a value");
}

// --- settings ------------------------------------------------------------------------------------------------

TEST(CommandLine, takesSettingsInTheirOrder) {
    EXPECT_EQ(parsed({"--set", "B=1", "--set=A=2", "--set", "B=3"}).overrides,
              (Settings{{"B", "1"}, {"A", "2"}, {"B", "3"}}));
}

TEST(CommandLine, takesEverythingBehindTheFirstEqualsSignAsTheSettingsValue) {
    EXPECT_EQ(parsed({"--set", "A=b=c"}).overrides, (Settings{{"A", "b=c"}}));
    EXPECT_EQ(parsed({"--set", "A="}).overrides, (Settings{{"A", ""}}));
    EXPECT_EQ(parsed({"--set=A=="}).overrides, (Settings{{"A", "="}}));
}

TEST(CommandLine, refusesSettingsWithoutKeyOrValue) {
    EXPECT_EQ(mistake({"--set", "A"}), "--set needs KEY=VALUE, not \"A\"");
    EXPECT_EQ(mistake({"--set", "=1"}), "--set needs KEY=VALUE, not \"=1\"");
    EXPECT_EQ(mistake({"--set=A"}), "--set needs KEY=VALUE, not \"A\"");
    EXPECT_EQ(mistake({"--set"}), "--set needs a value");
    EXPECT_EQ(mistake({"--set", ""}), "--set needs a value that is not empty");
    EXPECT_EQ(mistake({"--set="}), "--set needs a value that is not empty");
}

// --- what is not known ---------------------------------------------------------------------------------------

TEST(CommandLine, refusesWhatItDoesNotKnow) {
    for (const char* argument : {"", "-", "--", "=", "file.aif", "-x", "--Headless", "--record", "-headless"})
        EXPECT_EQ(mistake({argument}),
                  "unknown argument \"" + std::string(argument) + "\" (--help lists what there is)");
    EXPECT_EQ(mistake({"--record=5"}), "unknown argument \"--record\" (--help lists what there is)");
    EXPECT_EQ(mistake({"--="}), "unknown argument \"--\" (--help lists what there is)");
    EXPECT_EQ(mistake({"--headless", "", "--demo"}), "unknown argument \"\" (--help lists what there is)");
}

TEST(CommandLine, saysTheFirstOfSeveralMistakes) {
    EXPECT_EQ(mistake({"--set", "A", "--what"}), "--set needs KEY=VALUE, not \"A\"");
}

TEST(CommandLine, describesEveryOptionInItsHelp) {
    const std::string help = CommandLine::helpText();
    for (const char* option :
         {"--headless", "--record-for SECONDS", "--source NAME-OR-INDEX", "--list-sources", "--settings FILE",
          "--folder DIR", "--set KEY=VALUE", "--demo", "--version", "--help"})
        EXPECT_NE(help.find(std::string("\n  ") + option + " "), std::string::npos) << option;
    EXPECT_TRUE(help.ends_with("\n"));
}

TEST(CommandLine, takesTheNameOfItsSession_withOneDashAsToolkitsHaveIt) {
    EXPECT_EQ(parsed({"--demo", "-session", "2a0f_1795"}).session, "2a0f_1795");
    EXPECT_NE(mistake({"-session"}), "");
}

TEST(CommandLine, repeatsWhatWasAsked_fromAnyFolder) {
    const Arguments given = {"--headless", "--demo",     "--source", "Line In", "--settings", "/tmp/s.json",
                             "--folder",   "/tmp/sound", "--set",    "A=1",     "--set",      "B="};
    EXPECT_EQ(parsed(given).repeated(), given);
    const CommandLine timed = parsed({"--record-for", "2.5", "-session", "2a0f_1795"});
    EXPECT_EQ(parsed(timed.repeated()).recordFor, 2.5);
    EXPECT_EQ(timed.repeated().size(), 2U) << "a session gives its name itself";
    const Arguments near = parsed({"--settings", "s.json", "--folder=sound"}).repeated();
    EXPECT_EQ(near, (Arguments{"--settings", std::filesystem::absolute("s.json"), "--folder",
                               std::filesystem::absolute("sound")}));
    EXPECT_TRUE(parsed({}).repeated().empty());
}
