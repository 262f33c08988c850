// A recording that nothing else splits goes on in the next file before its file is full.
#include "support/Counting.h"
#include "support/DeskOfATest.h"

#include <gtest/gtest.h>

namespace {
struct Ends {
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::int64_t frames = 0;
};

Ends endsOf(const std::string& path) {
    PosixVolume volume;
    const auto opened = SoundFile::openForReading(volume, path);
    EXPECT_EQ(opened.error, SoundFileError::none) << path;
    std::int16_t frame[2] = {};
    Ends ends;
    ends.frames = opened.file->frames();
    EXPECT_EQ(opened.file->readSamples(0, frame), 2);
    ends.first = counting::frameOf(frame[0], frame[1]);
    EXPECT_EQ(opened.file->readSamples((ends.frames - 1) * 4, frame), 2);
    ends.last = counting::frameOf(frame[0], frame[1]);
    return ends;
}
} // namespace

TEST(LargestFile, isFollowedByTheNextWithoutALostFrame) {
    SimulatedDevice device = countingInput();
    device.rates = {192000.0};
    Desk it(fullRateStereo, {device, deskOutput()});
    it.desk.launch();
    it.desk.runFor(1.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(50.0 * 60.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(3.0);
    ASSERT_EQ(it.recordings().size(), 2U);
    const Ends before = endsOf(it.desk.recordFolder() + "/" + it.recordings()[0]);
    const Ends after = endsOf(it.desk.recordFolder() + "/" + it.recordings()[1]);
    EXPECT_LT(before.frames * 4 + 4096, SoundFile::largestFile);
    EXPECT_EQ(before.last - before.first + 1, before.frames);
    EXPECT_EQ(after.first, before.last + 1);
    EXPECT_EQ(after.last - after.first + 1, after.frames);
    EXPECT_NEAR(static_cast<double>(before.frames + after.frames) / 192000.0, 50.0 * 60.0, 0.1);
    EXPECT_TRUE(it.desk.log.lines().empty());
}
