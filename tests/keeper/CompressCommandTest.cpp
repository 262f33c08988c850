#include "keeper/CompressCommand.h"

#include <gtest/gtest.h>

namespace {
using Words = std::vector<std::string>;

Words words(const std::string& argument, const std::string& target = "/k/a.aiff") {
    return CompressCommand{"/bin/compressor", argument}.argumentsFor(target);
}
} // namespace

TEST(CompressCommand, givesTwoArgumentsByDefault) {
    EXPECT_EQ(words("-f %@"), (Words{"-f", "/k/a.aiff"}));
}

TEST(CompressCommand, usesThePathUpToFourTimes) {
    EXPECT_EQ(words("%@ %@ %@ %@ %@"), (Words{"/k/a.aiff", "/k/a.aiff", "/k/a.aiff", "/k/a.aiff", "%@"}));
    EXPECT_EQ(words("-o %@.xz %@"), (Words{"-o", "/k/a.aiff.xz", "/k/a.aiff"}));
}

TEST(CompressCommand, splitsAtEverySingleSpace) {
    EXPECT_EQ(words("-a  %@ "), (Words{"-a", "", "/k/a.aiff", ""}));
    EXPECT_EQ(words("-f %@", "/my keep/a.aif"), (Words{"-f", "/my", "keep/a.aif"}));
    EXPECT_EQ(words(""), Words{""});
}

TEST(CompressCommand, readsADoubledPercentAsOne) {
    EXPECT_EQ(words("-9%% %%@ %@ 50%"), (Words{"-9%", "%@", "/k/a.aiff", "50%"}));
}

TEST(CompressCommand, neverReadsThePathAsATemplate) {
    EXPECT_EQ(words("%@", "/k/%@%%.aif"), Words{"/k/%@%%.aif"});
}
