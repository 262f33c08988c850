#include "storage/SoundFile.h"

#include "storage/BigEndian.h"
#include "storage/ExtendedFloat.h"
#include "storage/FileFolder.h"
#include "storage/PosixVolume.h"
#include "support/FaultVolume.h"

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <vector>

namespace {
std::uint32_t wordAt(const std::string& file, std::size_t at) {
    return BigEndian::get32(reinterpret_cast<const std::byte*>(file.data()) + at);
}

std::vector<std::int16_t> counting(std::size_t count, int first = 0) {
    std::vector<std::int16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::int16_t>((first + static_cast<int>(i)) * 7);
    return samples;
}

std::vector<std::int16_t> readAll(SoundFile& file) {
    std::vector<std::int16_t> samples(static_cast<std::size_t>(file.byteCount() / 2) + 10);
    const std::int64_t got = file.readSamples(0, samples);
    samples.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return samples;
}

std::string word(std::uint32_t value) {
    std::string text(4, '\0');
    BigEndian::put32(reinterpret_cast<std::byte*>(text.data()), value);
    return text;
}

std::string chunk(const std::string& id, const std::string& data) {
    return id + word(static_cast<std::uint32_t>(data.size())) + data + (data.size() % 2 != 0 ? "\1" : "");
}

std::string common(unsigned channels, std::uint32_t frames, unsigned bits = 16, double rate = 44100.0) {
    const auto extended = ExtendedFloat::fromDouble(rate);
    std::string data = {static_cast<char>(channels >> 8), static_cast<char>(channels)};
    data += word(frames) + std::string{'\0', static_cast<char>(bits)};
    data.append(reinterpret_cast<const char*>(extended.data()), extended.size());
    return chunk("COMM", data);
}

std::string sound(const std::string& samples, std::uint32_t offset = 0) {
    return chunk("SSND", word(offset) + word(0) + std::string(offset, 'o') + samples);
}

std::string form(const std::string& chunks) {
    return "FORM" + word(static_cast<std::uint32_t>(chunks.size() + 4)) + "AIFF" + chunks;
}
} // namespace

class SoundFileTest : public testing::Test {
protected:
    SoundFile::Opened create(double rate = 44100.0, unsigned channels = 2) {
        return SoundFile::create(volume, path, rate, channels);
    }
    SoundFile::Opened openText(const std::string& contents) {
        folder.write("foreign.aif", contents);
        return SoundFile::openForReading(volume, folder / "foreign.aif");
    }

    FileFolder folder;
    PosixVolume disk;
    FaultVolume volume{disk};
    const std::string path = folder / "a.aif";
};

TEST_F(SoundFileTest, laysOutItsHeader) {
    const auto [file, error] = create(22050.0, 2);
    ASSERT_EQ(error, SoundFileError::none);
    ASSERT_TRUE(file->writeSamples(0, counting(100)));
    ASSERT_TRUE(file->close());
    const std::string contents = folder.read("a.aif");
    ASSERT_EQ(contents.size(), 4096u + 200u);
    EXPECT_EQ(contents.substr(0, 4), "FORM");
    EXPECT_EQ(wordAt(contents, 4), contents.size() - 8);
    EXPECT_EQ(contents.substr(8, 8), "AIFFCOMM");
    EXPECT_EQ(wordAt(contents, 16), 18u);
    EXPECT_EQ(contents.substr(20, 2), std::string("\0\2", 2));
    EXPECT_EQ(wordAt(contents, 22), 50u);
    EXPECT_EQ(contents.substr(26, 2), std::string("\0\20", 2));
    EXPECT_EQ(contents.substr(28, 10), std::string("\x40\x0D\xAC\x44\0\0\0\0\0\0", 10));
    EXPECT_EQ(contents.substr(38, 4), "APPL");
    EXPECT_EQ(38 + 8 + wordAt(contents, 42), 4080u);
    EXPECT_EQ(contents.substr(4080, 4), "SSND");
    EXPECT_EQ(wordAt(contents, 4084), contents.size() - 4088);
    EXPECT_EQ(wordAt(contents, 4088), 0u);
    EXPECT_EQ(wordAt(contents, 4092), 0u);
    EXPECT_EQ(contents.substr(4096, 4), std::string("\0\0\0\7", 4)) << "samples are big-endian";
}

TEST_F(SoundFileTest, returnsEverySampleUnchanged) {
    std::vector<std::int16_t> samples(200'003 * 2);
    std::iota(samples.begin(), samples.end(), std::int16_t{-32768});
    {
        const auto [file, error] = create(48000.0, 2);
        ASSERT_EQ(error, SoundFileError::none);
        // odd block lengths, larger and smaller than a piece
        std::size_t at = 0;
        for (std::size_t count = 1; at < samples.size(); count = count * 3 + 1) {
            const auto block = std::span(samples).subspan(at, std::min(count, samples.size() - at));
            ASSERT_TRUE(file->writeSamples(static_cast<std::int64_t>(at) * 2, block));
            at += block.size();
        }
        EXPECT_EQ(file->frames(), 200'003);
        EXPECT_EQ(file->byteCount(), 200'003 * 4);
        ASSERT_TRUE(file->close());
        EXPECT_TRUE(file->close());
    }
    const auto [file, error] = SoundFile::openForReading(volume, path);
    ASSERT_EQ(error, SoundFileError::none);
    EXPECT_EQ(file->rate(), 48000.0);
    EXPECT_EQ(file->channels(), 2u);
    EXPECT_EQ(file->frames(), 200'003);
    EXPECT_EQ(readAll(*file), samples);
    std::vector<std::int16_t> three(3);
    EXPECT_EQ(file->readSamples(200'003 * 4 - 4, three), 2);
    EXPECT_EQ(three[1], samples.back());
    EXPECT_EQ(file->readSamples(200'003 * 4, three), 0);
    EXPECT_EQ(file->readSamples(-2, three), -1);
}

TEST_F(SoundFileTest, replacesAnExistingFile) {
    folder.write("a.aif", std::string(10'000, 'x'));
    const auto [file, error] = create();
    ASSERT_EQ(error, SoundFileError::none);
    EXPECT_EQ(disk.fileSize(path), 4096);
}

TEST_F(SoundFileTest, isReadableWithoutBeingClosed_afterEachHeaderUpdate) {
    auto [file, error] = create(44100.0, 1);
    ASSERT_TRUE(file->writeSamples(0, counting(1000)));
    ASSERT_TRUE(file->updateHeader());
    ASSERT_TRUE(file->synchronize());
    ASSERT_TRUE(file->writeSamples(2000, counting(500, 1000)));
    file.reset(); // as if killed here
    const auto reopened = SoundFile::openForReading(volume, path);
    ASSERT_NE(reopened.file, nullptr);
    EXPECT_EQ(readAll(*reopened.file), counting(1000));
}

TEST_F(SoundFileTest, countsAllThatTheFileHolds_whenOpenedForUpdating) {
    auto created = create(44100.0, 2);
    ASSERT_TRUE(created.file->writeSamples(0, counting(1001)));
    created.file.reset(); // the header still says 0, and half a frame is at the end
    {
        const auto [file, error] = SoundFile::openForUpdating(volume, path);
        ASSERT_EQ(error, SoundFileError::none);
        EXPECT_EQ(file->frames(), 500);
        ASSERT_TRUE(file->writeSamples(2000, counting(10, 1000)));
        ASSERT_TRUE(file->close());
    }
    const auto [file, error] = SoundFile::openForReading(volume, path);
    ASSERT_EQ(error, SoundFileError::none);
    EXPECT_EQ(readAll(*file), counting(1010));
}

TEST_F(SoundFileTest, refusesToUpdateAFileOfAnotherLayout) {
    folder.write("a.aif", form(common(1, 2) + sound("abcd")));
    const std::string before = folder.read("a.aif");
    EXPECT_EQ(SoundFile::openForUpdating(volume, path).error, SoundFileError::foreignLayout);
    EXPECT_EQ(SoundFile::repairHeader(volume, path, 1), SoundFileError::foreignLayout);
    folder.write("long.aif", form(common(1, 2500) + sound(std::string(5000, 'x'))));
    EXPECT_EQ(SoundFile::repairHeader(volume, folder / "long.aif", 1), SoundFileError::foreignLayout);
    EXPECT_EQ(folder.read("a.aif"), before);
}

TEST_F(SoundFileTest, refusesWhatCannotBeAFormat) {
    EXPECT_EQ(create(0.0, 2).error, SoundFileError::unsupportedFormat);
    EXPECT_EQ(create(-1.0, 2).error, SoundFileError::unsupportedFormat);
    EXPECT_EQ(create(44100.0, 0).error, SoundFileError::unsupportedFormat);
    EXPECT_FALSE(folder.has("a.aif"));
}

TEST_F(SoundFileTest, doesNotGrowPastTwoGigabytes) {
    const auto [file, error] = create(44100.0, 2);
    ASSERT_EQ(error, SoundFileError::none);
    const std::int64_t lastFrame = (SoundFile::largestFile - 4096) / 4 * 4 - 4;
    EXPECT_TRUE(file->writeSamples(lastFrame, counting(2))) << "a sparse file";
    EXPECT_FALSE(file->writeSamples(lastFrame, counting(4)));
    EXPECT_EQ(file->error(), SoundFileError::tooLarge);
    EXPECT_EQ(file->systemError(), 0);
    ASSERT_TRUE(file->close());
    EXPECT_LE(*disk.fileSize(path), SoundFile::largestFile);
    const auto reopened = SoundFile::openForReading(volume, path);
    ASSERT_NE(reopened.file, nullptr);
    EXPECT_EQ(reopened.file->byteCount(), lastFrame + 4);
    std::vector<std::int16_t> last(2);
    EXPECT_EQ(reopened.file->readSamples(lastFrame, last), 2);
    EXPECT_EQ(last, counting(2));
}

TEST_F(SoundFileTest, keepsWhatWasWritten_whenTheDiskIsFull) {
    const auto [file, error] = create(44100.0, 2);
    ASSERT_TRUE(file->writeSamples(0, counting(2000)));
    ASSERT_TRUE(file->updateHeader());
    volume.setRoom(1001);
    EXPECT_FALSE(file->writeSamples(4000, counting(2000, 2000)));
    EXPECT_EQ(file->error(), SoundFileError::writeFailed);
    EXPECT_EQ(file->systemError(), ENOSPC);
    ASSERT_TRUE(file->updateHeader());
    {
        const auto [reader, failure] = SoundFile::openForReading(volume, path);
        ASSERT_EQ(failure, SoundFileError::none);
        EXPECT_EQ(readAll(*reader), counting(2000));
    }
    volume.setRoom(1'000'000);
    EXPECT_TRUE(file->writeSamples(4000, counting(2000, 2000))) << "the same block may be written again";
    ASSERT_TRUE(file->close());
    const auto [reader, failure] = SoundFile::openForReading(volume, path);
    ASSERT_EQ(failure, SoundFileError::none);
    EXPECT_EQ(readAll(*reader), counting(4000));
}

TEST_F(SoundFileTest, staysReadable_whicheverWriteFails) {
    // Header, then per block one write of samples and three header words, then three words at closing.
    constexpr int writesInAll = 1 + 4 * 4 + 3;
    for (int failing = 1; failing <= writesInAll; ++failing) {
        SCOPED_TRACE(failing);
        volume.failWrite(failing, EIO);
        const auto [file, error] = create(44100.0, 2);
        if (failing == 1) {
            EXPECT_EQ(error, SoundFileError::writeFailed);
            EXPECT_EQ(file, nullptr);
            continue;
        }
        std::int64_t written = 0;
        int failures = 0;
        for (int block = 0; block < 4; ++block) {
            const bool good = file->writeSamples(written, counting(500, static_cast<int>(written / 2)));
            written += good ? 1000 : 0;
            failures += !good;
            failures += !file->updateHeader();
        }
        failures += !file->close();
        EXPECT_EQ(failures, 1);
        EXPECT_EQ(file->error(), SoundFileError::writeFailed);
        EXPECT_EQ(file->systemError(), EIO);
        const auto [reader, failure] = SoundFile::openForReading(volume, path);
        ASSERT_EQ(failure, SoundFileError::none);
        EXPECT_EQ(readAll(*reader), counting(static_cast<std::size_t>(written / 2)));
    }
    const int before = volume.writes();
    auto [file, error] = create();
    for (int block = 0; block < 4; ++block) {
        ASSERT_TRUE(file->writeSamples(block * 1000, counting(500)));
        ASSERT_TRUE(file->updateHeader());
    }
    ASSERT_TRUE(file->close());
    EXPECT_EQ(volume.writes() - before, writesInAll) << "the loop above failed each write once";
}

TEST_F(SoundFileTest, reportsAFailedSynchronisation) {
    const auto [file, error] = create();
    ASSERT_TRUE(file->writeSamples(0, counting(10)));
    volume.failSynchronizing(EIO);
    EXPECT_FALSE(file->synchronize());
    EXPECT_EQ(file->systemError(), EIO);
    EXPECT_FALSE(file->close());
    EXPECT_GT(volume.synchronizations(), 1);
    EXPECT_FALSE(file->updateHeader()) << "nothing works on a closed file";
}

TEST_F(SoundFileTest, reportsFailedReadsAndOpens) {
    auto created = create();
    ASSERT_TRUE(created.file->writeSamples(0, counting(10)));
    ASSERT_TRUE(created.file->close());
    const auto [file, error] = SoundFile::openForReading(volume, path);
    ASSERT_EQ(error, SoundFileError::none);
    volume.failReading(true);
    std::vector<std::int16_t> into(4);
    EXPECT_EQ(file->readSamples(0, into), -1);
    EXPECT_EQ(file->error(), SoundFileError::readFailed);
    EXPECT_EQ(SoundFile::openForReading(volume, path).error, SoundFileError::readFailed);
    volume.failOpening(true);
    EXPECT_EQ(SoundFile::openForReading(volume, path).error, SoundFileError::cannotOpen);
    EXPECT_EQ(SoundFile::openForUpdating(volume, path).error, SoundFileError::cannotOpen);
    EXPECT_EQ(create().error, SoundFileError::cannotCreate);
}

TEST_F(SoundFileTest, readsForeignFiles_inAnyOrderOfChunks) {
    const std::string samples("\0\1\0\2\0\3\0\4", 8);
    const std::string odd = chunk("NAME", "odd");
    for (const std::string& contents :
         {form(common(2, 2) + sound(samples)), form(sound(samples) + common(2, 2)),
          form(odd + common(2, 2) + odd + sound(samples) + odd), form(common(2, 2) + sound(samples, 6)),
          form(chunk("COMT", "") + sound(samples, 3) + odd + common(2, 2))}) {
        const auto [file, error] = openText(contents);
        ASSERT_EQ(error, SoundFileError::none);
        EXPECT_EQ(file->channels(), 2u);
        EXPECT_EQ(file->frames(), 2);
        EXPECT_EQ(readAll(*file), (std::vector<std::int16_t>{1, 2, 3, 4}));
    }
}

TEST_F(SoundFileTest, trustsNoLengthBeyondTheFile) {
    const std::string samples("\0\1\0\2\0\3", 6);
    std::string huge = form(common(1, 0xFFFFFFFFu) + sound(samples));
    EXPECT_EQ(openText(huge).file->frames(), 3);
    huge.replace(huge.find("SSND") + 4, 4, word(0xFFFFFFFFu));
    EXPECT_EQ(openText(huge).file->frames(), 3);
    huge.replace(huge.find("SSND") + 8, 4, word(0xFFFFFFF0u));
    EXPECT_EQ(openText(huge).file->frames(), 0);
    huge.replace(huge.find("SSND") + 4, 4, word(0));
    EXPECT_EQ(openText(huge).file->frames(), 0);
    huge.replace(4, 4, word(0));
    EXPECT_EQ(openText(huge).error, SoundFileError::none) << "a file that was never closed";
    EXPECT_EQ(openText(form(common(1, 2) + sound(samples))).file->frames(), 2);
}

TEST_F(SoundFileTest, saysWhatIsWrongWithAFile) {
    const std::string samples(8, '\0');
    EXPECT_EQ(openText("").error, SoundFileError::notAiff);
    EXPECT_EQ(openText("FORM").error, SoundFileError::notAiff);
    EXPECT_EQ(openText("RIFF" + word(4) + "WAVE" + common(1, 1)).error, SoundFileError::notAiff);
    EXPECT_EQ(openText("FORM" + word(4) + "AIFC" + common(1, 1)).error, SoundFileError::notAiff);
    EXPECT_EQ(openText(form("")).error, SoundFileError::noFormat);
    EXPECT_EQ(openText(form(sound(samples))).error, SoundFileError::noFormat);
    EXPECT_EQ(openText(form(chunk("COMM", "short") + sound(samples))).error, SoundFileError::noFormat);
    EXPECT_EQ(openText(form(common(1, 4))).error, SoundFileError::noSound);
    EXPECT_EQ(openText(form(common(1, 4, 24) + sound(samples))).error, SoundFileError::unsupportedFormat);
    EXPECT_EQ(openText(form(common(0, 4) + sound(samples))).error, SoundFileError::unsupportedFormat);
    EXPECT_EQ(openText(form(common(1, 4, 16, 0.0) + sound(samples))).error, SoundFileError::unsupportedFormat);
    EXPECT_EQ(SoundFile::openForReading(volume, folder / "none").error, SoundFileError::cannotOpen);
}

TEST_F(SoundFileTest, givesUp_inAFileOfCountlessEmptyChunks) {
    std::string empty;
    for (int i = 0; i < 100'000; ++i)
        empty += chunk("NULL", "");
    EXPECT_EQ(openText(form(empty + common(1, 0) + sound(""))).error, SoundFileError::noFormat);
}
