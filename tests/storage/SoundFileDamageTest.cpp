// A recording that was cut off anywhere, and what repair makes of it.
#include "storage/BigEndian.h"
#include "storage/FileFolder.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"

#include <vector>

namespace {
std::uint32_t wordAt(const std::string& file, std::size_t at) {
    return BigEndian::get32(reinterpret_cast<const std::byte*>(file.data()) + at);
}

std::vector<std::int16_t> ramp(std::size_t count) {
    std::vector<std::int16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::int16_t>(i * 3 + 1);
    return samples;
}
} // namespace

class SoundFileDamageTest : public testing::Test {
protected:
    /// A file of `samples` samples; `closed` or left with a header of no sound.
    std::string recording(unsigned channels, std::size_t samples, bool closed) {
        auto [file, error] = SoundFile::create(volume, folder / "whole.aif", 22050.0, channels);
        EXPECT_EQ(error, SoundFileError::none);
        EXPECT_TRUE(file->writeSamples(0, ramp(samples)));
        EXPECT_TRUE(!closed || file->close());
        file.reset();
        return folder.read("whole.aif");
    }
    void expectFrames(const std::string& name, std::int64_t frames, unsigned channels) {
        const auto [file, error] = SoundFile::openForReading(volume, folder / name);
        ASSERT_EQ(error, SoundFileError::none);
        ASSERT_EQ(file->frames(), frames);
        ASSERT_EQ(file->channels(), channels);
        std::vector<std::int16_t> samples(static_cast<std::size_t>(frames * channels) + 1);
        ASSERT_EQ(file->readSamples(0, samples), frames * channels);
        samples.pop_back();
        ASSERT_EQ(samples, ramp(samples.size()));
    }

    FileFolder folder;
    PosixVolume volume;
};

TEST_F(SoundFileDamageTest, isOpenedOrRefusedCleanly_cutAtAnyLength) {
    for (const unsigned channels : {1u, 2u})
        for (const bool closed : {true, false}) {
            const std::string whole = recording(channels, 600, closed);
            ASSERT_EQ(whole.size(), 4096u + 1200u);
            for (std::size_t length = 0; length <= 5000; ++length) {
                SCOPED_TRACE(length);
                folder.write("cut.aif", whole.substr(0, length));
                const auto [file, error] = SoundFile::openForReading(volume, folder / "cut.aif");
                const SoundFileError expected = length < 12     ? SoundFileError::notAiff
                                                : length < 38   ? SoundFileError::noFormat
                                                : length < 4096 ? SoundFileError::noSound
                                                                : SoundFileError::none;
                ASSERT_EQ(error, expected);
                ASSERT_EQ(file != nullptr, error == SoundFileError::none);
                const std::int64_t frames =
                    closed ? (static_cast<std::int64_t>(length) - 4096) / 2 / channels : 0;
                if (file) {
                    ASSERT_NO_FATAL_FAILURE(expectFrames("cut.aif", frames, channels));
                }
            }
        }
}

TEST_F(SoundFileDamageTest, isRepairedCleanly_cutAtAnyLength) {
    for (const unsigned channels : {1u, 2u})
        for (const bool closed : {true, false}) {
            const std::string whole = recording(channels, 600, closed);
            for (std::size_t length = 0; length <= 5000; ++length) {
                SCOPED_TRACE(length);
                folder.write("cut.aif", whole.substr(0, length));
                const SoundFileError error = SoundFile::repairHeader(volume, folder / "cut.aif", channels);
                const std::string repaired = folder.read("cut.aif");
                ASSERT_EQ(repaired.size(), length);
                if (length < 4096) {
                    ASSERT_EQ(error, SoundFileError::foreignLayout);
                    ASSERT_EQ(repaired, whole.substr(0, length)) << "what cannot be repaired stays as it is";
                    continue;
                }
                ASSERT_EQ(error, SoundFileError::none);
                ASSERT_EQ(wordAt(repaired, 4), length - 8);
                ASSERT_EQ(wordAt(repaired, 22), (length - 4096) / 2 / channels);
                ASSERT_EQ(wordAt(repaired, 4084), length - 4088);
                ASSERT_NO_FATAL_FAILURE(
                    expectFrames("cut.aif", static_cast<std::int64_t>(length - 4096) / 2 / channels, channels));
            }
        }
}

TEST_F(SoundFileDamageTest, isRepairedByOpeningAndClosing_cutAtAnyLength) {
    const std::string whole = recording(2, 600, false);
    for (std::size_t length = 4096; length <= 5000; ++length) {
        SCOPED_TRACE(length);
        folder.write("cut.aif", whole.substr(0, length));
        {
            const auto [file, error] = SoundFile::openForUpdating(volume, folder / "cut.aif");
            ASSERT_EQ(error, SoundFileError::none);
            ASSERT_TRUE(file->close());
        }
        ASSERT_NO_FATAL_FAILURE(expectFrames("cut.aif", static_cast<std::int64_t>(length - 4096) / 4, 2));
    }
}

TEST_F(SoundFileDamageTest, hasTheRightFrameCountAfterRepair) {
    const std::string whole = recording(2, 44100, false);
    ASSERT_EQ(whole.size(), 4096u + 88200u);
    ASSERT_EQ(SoundFile::repairHeader(volume, folder / "whole.aif", 2), SoundFileError::none);
    EXPECT_EQ(wordAt(folder.read("whole.aif"), 22), 22050u);
    expectFrames("whole.aif", 22050, 2);
}

TEST_F(SoundFileDamageTest, isRepairedAfterAWrongLength) {
    for (const char* const wrong : {"\0\0\0\0", "\xFF\xFF\xFF\xFF", "\x7F\xFF\xFF\xFF", "\0\0\0\1"})
        for (const std::size_t at : {4u, 22u, 4084u}) {
            std::string damaged = recording(1, 600, true);
            damaged.replace(at, 4, wrong, 4);
            folder.write("cut.aif", damaged);
            ASSERT_EQ(SoundFile::repairHeader(volume, folder / "cut.aif", 1), SoundFileError::none);
            EXPECT_EQ(folder.read("cut.aif"), recording(1, 600, true));
        }
}

TEST_F(SoundFileDamageTest, isRepairedWhileItIsBeingWritten) {
    auto [file, error] = SoundFile::create(volume, folder / "whole.aif", 22050.0, 2);
    ASSERT_TRUE(file->writeSamples(0, ramp(600)));
    ASSERT_EQ(volume.makeLink(folder / "whole.aif", folder / "progress.aif"), 0);
    ASSERT_EQ(SoundFile::repairHeader(volume, folder / "progress.aif", 2), SoundFileError::none);
    expectFrames("progress.aif", 300, 2);
    std::vector<std::int16_t> more = ramp(1000);
    ASSERT_TRUE(file->writeSamples(1200, std::span(more).subspan(600)));
    ASSERT_TRUE(file->close());
    expectFrames("progress.aif", 500, 2);
}

TEST_F(SoundFileDamageTest, repairsNothingThatIsNotThere) {
    EXPECT_EQ(SoundFile::repairHeader(volume, folder / "none", 1), SoundFileError::cannotOpen);
    const std::string whole = recording(1, 600, false);
    EXPECT_EQ(SoundFile::repairHeader(volume, folder / "whole.aif", 0), SoundFileError::foreignLayout);
    folder.write("text", std::string(5000, 'x'));
    EXPECT_EQ(SoundFile::repairHeader(volume, folder / "text", 1), SoundFileError::notAiff);
    EXPECT_EQ(folder.read("text"), std::string(5000, 'x'));
}
