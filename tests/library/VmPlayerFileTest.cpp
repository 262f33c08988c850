// Files that cannot be played.
#include "library/PlayerDesk.h"

#include <filesystem>
#include <fstream>

namespace {
const std::string errorEvent = "SomeErrorHappen: VmPlayer: file open error.";

/// Changes two bytes of a file's header.
void patch(const std::string& path, std::int64_t offset, char high, char low) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(offset);
    file.put(high).put(low);
}

void expectRefusal(PlayerDesk& it, const std::string& path) {
    it.player().startPlayback(path);
    ASSERT_EQ(it.desk.alert.shown().size(), 1U) << path;
    const AlertRequest request = it.desk.alert.shown()[0].request;
    EXPECT_EQ(request.messageKey, "FileOpenError");
    EXPECT_EQ(request.informativeKey, "CheckAndRetry");
    EXPECT_EQ(request.defaultKey, "Understand");
    EXPECT_TRUE(it.logged("VmPlayer: file open error."));
    EXPECT_TRUE(it.happened(errorEvent));
    EXPECT_FALSE(it.player().isOpen());
    EXPECT_FALSE(it.player().playButton().enabled());
    it.player().playButton().press(true);
    it.desk.runFor(1.0);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_TRUE(it.sounds().empty());
}
} // namespace

TEST(VmPlayerFile, tellsThatThereIsNoSuchFile) {
    PlayerDesk it;
    expectRefusal(it, it.desk.recordFolder() + "/none.aif");
}

TEST(VmPlayerFile, refusesAFolderAndAnEmptyAndACutFile) {
    for (const char* kind : {"folder", "empty", "cut"}) {
        PlayerDesk it;
        const std::string path = it.write("odd.aif", 44100.0, 2, markedSamples(1000));
        if (std::string(kind) == "folder") {
            std::filesystem::remove(path);
            std::filesystem::create_directory(path);
        } else {
            std::filesystem::resize_file(path, std::string(kind) == "empty" ? 0 : 30);
        }
        expectRefusal(it, path);
    }
}

TEST(VmPlayerFile, refusesSamplesOfEightAndTwentyFourBits) {
    for (const char bits : {char{8}, char{24}}) {
        PlayerDesk it;
        const std::string path = it.write("bits.aif", 44100.0, 2, markedSamples(1000));
        patch(path, 26, 0, bits);
        expectRefusal(it, path);
    }
}

TEST(VmPlayerFile, refusesMoreThanTwoChannels) {
    PlayerDesk it;
    expectRefusal(it, it.write("six.aif", 44100.0, 6, markedSamples(6000)));
}

TEST(VmPlayerFile, playsAfterARefusal) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{44100} * 2);
    const std::string good = it.write("good.aif", 44100.0, 2, samples);
    expectRefusal(it, it.desk.recordFolder() + "/none.aif");
    it.play(good);
    it.desk.runFor(2.0);
    EXPECT_EQ(wrongSounds(it.sounds(), samples), 0U);
    EXPECT_EQ(it.sounds().size(), samples.size());
}

TEST(VmPlayerFile, stopsWhatIsPlayed_whenAnotherFileIsOpened) {
    PlayerDesk it;
    const std::string one = it.write("one.aif", 44100.0, 2, markedSamples(std::size_t{44100} * 2 * 5));
    const std::string other = it.write("other.aif", 22050.0, 1, markedSamples(22050));
    it.play(one);
    it.desk.runFor(1.0);
    it.player().startPlayback(other);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_FALSE(it.player().playbacking());
    EXPECT_EQ(it.player().channels(), 1);
    EXPECT_EQ(it.player().sampleRate(), 22050.0F);
    EXPECT_EQ(it.player().numDatas(), 44100);
    EXPECT_EQ(it.player().readPos(), 0);
    it.player().stopPlayback();
    EXPECT_FALSE(it.player().isOpen());
}
