// Where marker sounds are found.
#include "recorder/MarkerSounds.h"

#include "recorder/MarkerSound.h"
#include "recorder/SoundFolder.h"

#include <algorithm>

namespace {
using Names = std::vector<std::string>;

class MarkerSoundsTest : public testing::Test {
protected:
    TemporaryFolder folder;
    SoundFolder own{folder.path() + "/own"};
    SoundFolder bundled{folder.path() + "/bundled"};
    MarkerSounds sounds{{folder.path() + "/own", folder.path() + "/bundled"}};
};

std::string bundledFolder() {
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    return (program.parent_path().parent_path() / "share/velmoratide/sounds").string();
}
} // namespace

TEST_F(MarkerSoundsTest, namesTheSoundsOfAllFoldersOnce_withoutExtension) {
    own.writeBytes("Zither.wav", "");
    own.writeBytes("Blow.flac", "");
    own.writeBytes("Air.v2.OGG", "");
    own.writeBytes("notes.txt", "");
    own.writeBytes(".hidden.wav", "");
    std::filesystem::create_directory(own.path("folder.wav"));
    bundled.writeBytes("Blow.aiff", "");
    bundled.writeBytes("Drop.aiff", "");
    EXPECT_EQ(sounds.names(), (Names{"Air.v2", "Blow", "Drop", "Zither"}));
}

TEST_F(MarkerSoundsTest, takesAPersonsOwnSoundFirst_andTheAiffFileOfSeveral) {
    bundled.writeBytes("Blow.aiff", "");
    EXPECT_EQ(sounds.pathOf("Blow"), bundled.path("Blow.aiff"));
    own.writeBytes("Blow.flac", "");
    EXPECT_EQ(sounds.pathOf("Blow"), own.path("Blow.flac"));
    own.writeBytes("Blow.WAV", "");
    EXPECT_EQ(sounds.pathOf("Blow"), own.path("Blow.WAV"));
    own.writeBytes("Blow.aiff", "");
    EXPECT_EQ(sounds.pathOf("Blow"), own.path("Blow.aiff"));
}

TEST_F(MarkerSoundsTest, takesTheFirstBundledSound_whenNoneIsNamed) {
    own.writeBytes("Air.aiff", "");
    EXPECT_EQ(sounds.pathOf(""), "");
    bundled.writeBytes("Drop.aiff", "");
    bundled.writeBytes("Chime.aiff", "");
    EXPECT_EQ(sounds.pathOf(""), bundled.path("Chime.aiff"));
}

TEST_F(MarkerSoundsTest, findsNothing_whereThereIsNothing) {
    own.writeBytes("Blow.aiff", "");
    EXPECT_EQ(sounds.pathOf("blow"), "");
    EXPECT_EQ(sounds.pathOf("Blow.aiff"), "");
    EXPECT_EQ(sounds.pathOf("../own/Blow"), "");
    EXPECT_EQ(MarkerSounds({}).pathOf(""), "");
    EXPECT_EQ(MarkerSounds({folder.path() + "/none"}).pathOf("Blow"), "");
    EXPECT_TRUE(MarkerSounds({folder.path() + "/none", ""}).names().empty());
}

TEST(BundledSounds, areSixShortSoundsWithoutClicks_oneOfThemBlow) {
    const MarkerSounds sounds({bundledFolder()});
    const Names names = sounds.names();
    EXPECT_EQ(names.size(), 6U);
    EXPECT_EQ(std::count(names.begin(), names.end(), "Blow"), 1);
    EXPECT_EQ(sounds.pathOf("Blow"), bundledFolder() + "/Blow.aiff");
    for (const std::string& name : names) {
        const auto loaded = MarkerSound::load(sounds.pathOf(name), 44100.0);
        ASSERT_EQ(loaded.outcome, MarkerSound::Outcome::loaded) << name;
        const double seconds = static_cast<double>(loaded.samples.size()) / 2.0 / 44100.0;
        EXPECT_GE(seconds, 0.2) << name;
        EXPECT_LE(seconds, 1.5) << name;
        int peak = 0;
        for (const std::int16_t sample : loaded.samples)
            peak = std::max(peak, std::abs(int{sample}));
        EXPECT_EQ(peak, 8231) << name; // 12 dB below full scale
        for (std::size_t edge = 0; edge < 4; ++edge) {
            EXPECT_LT(std::abs(int{loaded.samples[edge]}), 100) << name;
            EXPECT_LT(std::abs(int{loaded.samples[loaded.samples.size() - 1 - edge]}), 100) << name;
        }
    }
}
