// The check itself: it must see what is wrong.
#include "support/DutyCheck.h"

#include "rehearsal/VirtualClock.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "support/Counting.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {
/// Recordings of the counting signal, made by the rules of the files and damaged on purpose.
class DutyCheckTest : public testing::TestWithParam<std::pair<int, int>> {
protected:
    unsigned ratio() const { return rateNumber == 0 ? 4 : rateNumber == 1 ? 2 : 1; }
    std::vector<std::int16_t> samplesFrom(std::int64_t first, std::int64_t count) const {
        std::vector<std::int16_t> samples;
        for (std::int64_t frame = first; frame < first + count * ratio(); frame += ratio()) {
            samples.push_back(counting::low(frame));
            if (channels == 2)
                samples.push_back(ratio() == 1 ? counting::high(frame) : counting::low(frame + ratio() / 2));
        }
        return samples;
    }
    void write(const std::string& times, const std::vector<std::int16_t>& samples) {
        const std::string path = folder.path() + "/_Velmoratide_20071024_" + times + ".aif";
        const auto created =
            SoundFile::create(volume, path, 44100.0 / ratio(), static_cast<unsigned>(channels));
        ASSERT_EQ(created.error, SoundFileError::none);
        ASSERT_TRUE(created.file->writeSamples(0, samples) && created.file->close());
    }
    std::string faultOfFolder() {
        DutyCheck check(clock, {.launch = launch, .rateNumber = rateNumber, .channels = channels});
        check.expectStart(launch.addingSeconds(1.0));
        check.addFolder(folder.path());
        frames = check.frames();
        return check.fault();
    }

    const int rateNumber = GetParam().first;
    const int channels = GetParam().second;
    const std::int64_t second = 44100 / ratio(); // frames of a file
    TemporaryFolder folder;
    PosixVolume volume;
    VirtualClock clock{QTimeZone("Asia/Tokyo"), {}};
    Date launch = clock.dateFromLocal({.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 30});
    std::int64_t frames = 0;
};

INSTANTIATE_TEST_SUITE_P(RateNumberAndChannels, DutyCheckTest,
                         testing::Values(std::pair{0, 1}, std::pair{0, 2}, std::pair{1, 1}, std::pair{1, 2},
                                         std::pair{2, 1}, std::pair{2, 2}));
} // namespace

TEST_P(DutyCheckTest, findsNothingWrong_whenAllIsThere) {
    write("093001~093011", samplesFrom(44100, second * 10));
    write("093011~093013", samplesFrom(44100 * 11, second * 2));
    EXPECT_EQ(faultOfFolder(), "");
    EXPECT_EQ(frames, 44100 * 12);
}

TEST_P(DutyCheckTest, findsALostFrame) {
    auto samples = samplesFrom(44100, second * 10);
    const std::ptrdiff_t place = second * 7 * channels;
    samples.erase(samples.begin() + place, samples.begin() + place + channels);
    write("093001~093011", samples);
    EXPECT_NE(faultOfFolder().find("frame " + std::to_string(second * 7) + " of"), std::string::npos);
}

TEST_P(DutyCheckTest, findsADoubledFrame) {
    auto samples = samplesFrom(44100, second * 10);
    const std::ptrdiff_t place = second * 7 * channels;
    const std::vector<std::int16_t> frame(samples.begin() + place, samples.begin() + place + channels);
    samples.insert(samples.begin() + place, frame.begin(), frame.end());
    write("093001~093011", samples);
    EXPECT_NE(faultOfFolder().find("frame " + std::to_string(second * 7 + 1) + " of"), std::string::npos);
}

TEST_P(DutyCheckTest, findsAFrameLostOrDoubledFromFileToFile) {
    write("093001~093011", samplesFrom(44100, second * 10));
    write("093011~093013", samplesFrom(44100 * 11 + ratio(), second * 2));
    EXPECT_NE(faultOfFolder().find("093011~093013.aif: begins at frame"), std::string::npos);
    write("093011~093013", samplesFrom(44100 * 11 - ratio(), second * 2));
    EXPECT_NE(faultOfFolder().find("093011~093013.aif: begins at frame"), std::string::npos);
}

TEST_P(DutyCheckTest, findsANameThatItsSoundDoesNotKeep) {
    write("093001~093013", samplesFrom(44100, second * 10));
    EXPECT_NE(faultOfFolder().find("its sound ends at"), std::string::npos);
}

TEST_P(DutyCheckTest, findsAHeaderThatDoesNotFit) {
    write("093001~093011", samplesFrom(44100, second * 10));
    std::filesystem::resize_file(folder.path() + "/_Velmoratide_20071024_093001~093011.aif", 4096 + 4000);
    EXPECT_NE(faultOfFolder().find("its header does not fit"), std::string::npos);
}
