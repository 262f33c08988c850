// The examples of docs/rehearsals.md leave what the page says.
#include "rehearsal/RehearsedFolder.h"

#include <algorithm>

namespace {
/// Plays an example; its recordings, its totals and its scenario must stand in the page.
void playDocumented(RehearsedFolder& folder, const std::string& name) {
    const std::string documents = VELMORATIDE_DOCUMENTS;
    const std::string file = documents + "/rehearsals/" + name + ".json";
    ASSERT_EQ(folder.run("'" + file + "' --out '" + folder.folder() + "'"), 0) << folder.errors().at(0);
    const std::string page = RehearsedFolder::contentsOf(documents + "/rehearsals.md");
    EXPECT_NE(page.find(RehearsedFolder::contentsOf(file)), std::string::npos) << name;
    EXPECT_FALSE(folder.recordings().empty());
    for (const std::string& recording : folder.recordings())
        EXPECT_NE(page.find(recording + " "), std::string::npos) << recording;
    const std::string totals = folder.output().back();
    const std::string steady = totals.substr(totals.find("\"launches\""));
    EXPECT_NE(page.find(steady), std::string::npos) << steady;
}
} // namespace

TEST(DocumentedRehearsalsTest, splitsAtTheHour_withoutLosingAFrame) {
    RehearsedFolder folder;
    playDocumented(folder, "always");
    ASSERT_EQ(folder.recordings().size(), 2U);
    auto all = folder.samples(folder.recordings()[0]);
    const auto second = folder.samples(folder.recordings()[1]);
    all.insert(all.end(), second.begin(), second.end());
    const auto frame = [&all](std::size_t i) { return std::int64_t{all[2 * i]} + 32767LL * all[2 * i + 1]; };
    for (std::size_t i = 1; i < all.size() / 2; ++i)
        ASSERT_EQ(frame(i), frame(i - 1) + 1) << i;
}

TEST(DocumentedRehearsalsTest, keepsTheSecondsBeforeABurst) {
    RehearsedFolder folder;
    playDocumented(folder, "auto");
    const auto samples = folder.samples(folder.recordings().at(0));
    const auto first = std::ranges::find_if(samples, [](std::int16_t sample) { return sample != 0; });
    const double silence = static_cast<double>(first - samples.begin()) / 8000.0;
    EXPECT_GT(silence, 2.4); // three seconds before the trigger, which comes within half a second of the burst
    EXPECT_LE(silence, 3.0);
}

TEST(DocumentedRehearsalsTest, goesOnWithAnEntry_afterACrash) {
    RehearsedFolder folder;
    playDocumented(folder, "timetable");
    EXPECT_EQ(folder.recordings().size(), 2U);
    EXPECT_GT(folder.total("framesLost"), 0.0);
    EXPECT_LE(folder.total("framesLost"), 6.0 * 44100.0);
}

TEST(DocumentedRehearsalsTest, showsTheHelpTextInThePage) {
    RehearsedFolder folder;
    ASSERT_EQ(folder.run("--help"), 0);
    const std::string page = RehearsedFolder::contentsOf(std::string(VELMORATIDE_DOCUMENTS) + "/rehearsals.md");
    EXPECT_NE(page.find(RehearsedFolder::contentsOf(folder.path("stdout"))), std::string::npos);
}
