// Marker sound files of all kinds, and the picking of their samples.
#include "recorder/MarkerSound.h"

#include "recorder/SoundFolder.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace {
using Samples = std::vector<std::int16_t>;
using Outcome = MarkerSound::Outcome;

Samples counted(std::size_t count) {
    Samples samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::int16_t>(i * 7 % 60000 - 30000);
    return samples;
}

std::vector<float> sine(int rate, int channels, double seconds) {
    std::vector<float> samples;
    for (int frame = 0; frame < static_cast<int>(seconds * rate); ++frame)
        for (int channel = 0; channel < channels; ++channel)
            samples.push_back(static_cast<float>((channel < 2 ? 0.5 : 0.9) * std::sin(frame * 2764.6 / rate)));
    return samples;
}

int peakOf(const Samples& samples) {
    int peak = 0;
    for (const std::int16_t sample : samples)
        peak = std::max(peak, std::abs(int{sample}));
    return peak;
}

class MarkerSoundTest : public testing::Test {
protected:
    static Outcome outcomeOf(const std::string& path) { return MarkerSound::load(path, 44100.0).outcome; }
    TemporaryFolder folder;
    SoundFolder sounds{folder.path()};
};
} // namespace

TEST(MarkerSoundPicking, copiesSampleBySample_whenTheRatesAreEqual) {
    const Samples source = counted(1000);
    Samples picked(2000, 1);
    const std::size_t count = MarkerSound::transformSoundDataSInt16(source, picked, 2000, 1.0, 2);
    EXPECT_EQ(count, 1001U); // as many as the limit, and one
    EXPECT_TRUE(std::equal(source.begin(), source.end(), picked.begin()));
    EXPECT_EQ(picked[1000], 0); // behind the end there is silence
    EXPECT_EQ(picked[1001], 1); // not touched
}

TEST(MarkerSoundPicking, takesTheSampleAtTheTruncatedPosition_withoutInterpolation) {
    const Samples source{10, 20, 30, 40, 50, 60, 70, 80};
    Samples picked(64, -1);
    ASSERT_EQ(MarkerSound::transformSoundDataSInt16(source, picked, 16, 2.0, 2), 5U); // trunc(16 / 2) / 2 + 1
    EXPECT_EQ(Samples(picked.begin(), picked.begin() + 5), (Samples{10, 30, 50, 70, 0}));
    ASSERT_EQ(MarkerSound::transformSoundDataSInt16(source, picked, 16, 1.5, 2), 6U); // trunc(10.67) / 2 + 1
    EXPECT_EQ(Samples(picked.begin(), picked.begin() + 6), (Samples{10, 20, 40, 50, 70, 80}));
    ASSERT_EQ(MarkerSound::transformSoundDataSInt16(source, picked, 8, 0.5, 2), 9U); // trunc(16) / 2 + 1
    EXPECT_EQ(Samples(picked.begin(), picked.begin() + 9), (Samples{10, 10, 20, 20, 30, 30, 40, 40, 50}));
}

TEST(MarkerSoundPicking, doublesOneChannelIntoLeftAndRight) {
    const Samples source{10, 20, 30, 40};
    Samples picked(64, -1);
    ASSERT_EQ(MarkerSound::transformSoundDataSInt16(source, picked, 8, 1.0, 1), 10U); // 8 is still counted
    EXPECT_EQ(Samples(picked.begin(), picked.begin() + 10), (Samples{10, 10, 20, 20, 30, 30, 40, 40, 0, 0}));
    ASSERT_EQ(MarkerSound::transformSoundDataSInt16(source, picked, 8, 2.0, 1), 6U);
    EXPECT_EQ(Samples(picked.begin(), picked.begin() + 6), (Samples{10, 10, 30, 30, 0, 0}));
}

TEST(MarkerSoundPicking, staysInsideTheDestination) {
    const Samples source = counted(100);
    Samples picked(11, -1);
    EXPECT_EQ(MarkerSound::transformSoundDataSInt16(source, picked, 200, 1.0, 2), 11U);
    EXPECT_EQ(MarkerSound::transformSoundDataSInt16(source, picked, 200, 1.0, 1), 10U);
    EXPECT_EQ(MarkerSound::transformSoundDataSInt16(source, {}, 200, 1.0, 2), 0U);
    EXPECT_EQ(MarkerSound::transformSoundDataSInt16({}, picked, 0, 1.0, 2), 1U);
    EXPECT_EQ(picked[0], 0);
}

TEST_F(MarkerSoundTest, isCopiedSampleBySample_whenItsRateIsTheDevices) {
    const Samples source = counted(22050 * 2);
    const auto stereo = MarkerSound::load(sounds.writeAiff("s.aiff", 44100, 2, source), 44100.0);
    ASSERT_EQ(stereo.outcome, Outcome::loaded);
    ASSERT_GE(stereo.samples.size(), source.size());
    EXPECT_TRUE(std::equal(source.begin(), source.end(), stereo.samples.begin()));
    EXPECT_LE(stereo.samples.size(), source.size() + 1);
}

TEST_F(MarkerSoundTest, isHeardOnBothSides_whenItHasOneChannel) {
    const Samples source = counted(22050);
    const auto mono = MarkerSound::load(sounds.writeAiff("m.aiff", 44100, 1, source), 44100.0);
    ASSERT_EQ(mono.outcome, Outcome::loaded);
    ASSERT_GE(mono.samples.size(), 2 * source.size());
    for (std::size_t i = 0; i < source.size(); ++i) {
        ASSERT_EQ(mono.samples[2 * i], source[i]);
        ASSERT_EQ(mono.samples[2 * i + 1], source[i]);
    }
    EXPECT_LE(mono.samples.size(), 2 * source.size() + 2);
}

TEST_F(MarkerSoundTest, keepsLeftAndRightApart_atAnotherRate) {
    Samples source(48000);
    for (std::size_t i = 0; i < source.size(); i += 2)
        source[i] = 16384;
    const auto loaded = MarkerSound::load(sounds.writeAiff("l.aiff", 48000, 2, source), 44100.0);
    ASSERT_EQ(loaded.outcome, Outcome::loaded);
    ASSERT_GT(loaded.samples.size(), 44000U);
    for (std::size_t i = 0; i + 4 < loaded.samples.size(); ++i)
        ASSERT_EQ(loaded.samples[i], i % 2 == 0 ? 16384 : 0) << i;
}

TEST_F(MarkerSoundTest, lastsAsLongAsItsFile_atEveryRateAndChannelCount) {
    for (const int rate : {8000, 11025, 22050, 32000, 44100, 48000, 96000, 192000})
        for (const int channels : {1, 2, 3, 4, 5, 6})
            for (const double deviceRate : {8000.0, 44100.0, 48000.0, 192000.0}) {
                const std::string path = sounds.write("s.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, rate,
                                                      channels, sine(rate, channels, 0.3));
                const auto loaded = MarkerSound::load(path, deviceRate);
                ASSERT_EQ(loaded.outcome, Outcome::loaded) << rate << " " << channels;
                EXPECT_NEAR(static_cast<double>(loaded.samples.size()) / 2.0 / deviceRate, 0.3, 0.001)
                    << rate << " " << channels << " " << deviceRate;
                EXPECT_NEAR(peakOf(loaded.samples), 16384, 700) << rate << " " << channels;
            }
}

TEST_F(MarkerSoundTest, readsEveryFormat) {
    const std::pair<const char*, int> formats[] = {
        {"a.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8}, {"b.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24},
        {"c.aifc", SF_FORMAT_AIFF | SF_FORMAT_FLOAT},  {"d.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8},
        {"e.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},   {"f.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32},
        {"g.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT},    {"h.wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE},
        {"i.wav", SF_FORMAT_WAV | SF_FORMAT_ULAW},     {"j.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
        {"k.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},   {"l.au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
        {"m.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_24},   {"n.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16},
        {"o.rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16}};
    for (const auto& [name, format] : formats) {
        const auto loaded =
            MarkerSound::load(sounds.write(name, format, 44100, 2, sine(44100, 2, 0.5)), 44100.0);
        ASSERT_EQ(loaded.outcome, Outcome::loaded) << name;
        EXPECT_NEAR(static_cast<double>(loaded.samples.size()), 44100.0, 4.0) << name;
        EXPECT_NEAR(peakOf(loaded.samples), 16384, 900) << name;
    }
}

TEST_F(MarkerSoundTest, clipsWhatIsBeyondFullScale) {
    const std::vector<float> loud{2.0F, -2.0F, NAN, 0.5F};
    const auto loaded =
        MarkerSound::load(sounds.write("l.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 44100, 2, loud), 44100.0);
    ASSERT_EQ(loaded.outcome, Outcome::loaded);
    EXPECT_EQ(Samples(loaded.samples.begin(), loaded.samples.begin() + 4), (Samples{32767, -32768, 0, 16384}));
}

TEST_F(MarkerSoundTest, saysWhyThereIsNone) {
    EXPECT_EQ(outcomeOf(""), Outcome::missing);
    EXPECT_EQ(outcomeOf(sounds.path("none.aiff")), Outcome::missing);
    EXPECT_EQ(outcomeOf(sounds.writeBytes("text.aiff", "not a sound")), Outcome::noSound);
    EXPECT_EQ(outcomeOf(sounds.path("text.aiff/x.aiff")), Outcome::missing);
    EXPECT_EQ(outcomeOf(sounds.writeBytes("nothing.aiff", "")), Outcome::noSound);
    EXPECT_EQ(outcomeOf(sounds.writeAiff("empty.aiff", 44100, 1, {})), Outcome::empty);
    EXPECT_EQ(outcomeOf(folder.path()), Outcome::noFile);
    const std::string locked = sounds.writeAiff("locked.aiff", 44100, 1, counted(100));
    std::filesystem::permissions(locked, std::filesystem::perms::none);
    EXPECT_EQ(outcomeOf(locked), geteuid() == 0 ? Outcome::loaded : Outcome::unreadable);
    std::filesystem::create_symlink(sounds.path("gone"), sounds.path("link.aiff"));
    EXPECT_EQ(outcomeOf(sounds.path("link.aiff")), Outcome::missing);
}

TEST_F(MarkerSoundTest, saysThatThereIsNoMemory) {
    const std::string path = sounds.writeAiff("s.aiff", 44100, 1, counted(44100));
    for (const std::size_t room : {0U, 1000U, 10000U, 60000U}) {
        std::vector<std::byte> bytes(room + 1);
        std::pmr::monotonic_buffer_resource small(bytes.data(), room + 1, std::pmr::null_memory_resource());
        const auto loaded = MarkerSound::load(path, 44100.0, small);
        EXPECT_EQ(loaded.outcome, Outcome::noMemory) << room;
        EXPECT_TRUE(loaded.samples.empty());
    }
    std::vector<std::byte> bytes(200000);
    std::pmr::monotonic_buffer_resource enough(bytes.data(), bytes.size(), std::pmr::null_memory_resource());
    EXPECT_EQ(MarkerSound::load(path, 44100.0, enough).outcome, Outcome::loaded);
}

TEST_F(MarkerSoundTest, doesNotWaitForAPipe) {
    ASSERT_EQ(mkfifo(sounds.path("pipe.aiff").c_str(), 0600), 0);
    EXPECT_EQ(outcomeOf(sounds.path("pipe.aiff")), Outcome::noFile);
}

TEST_F(MarkerSoundTest, refusesAFileThatIsTooLong) {
    EXPECT_EQ(outcomeOf(sounds.writeAiff("60.aiff", 8000, 1, Samples(60 * 8000))), Outcome::loaded);
    EXPECT_EQ(outcomeOf(sounds.writeAiff("61.aiff", 8000, 1, Samples(60 * 8000 + 1))), Outcome::tooLong);
    EXPECT_EQ(outcomeOf(sounds.write("61.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 8000, 1,
                                     std::vector<float>(61 * 8000))),
              Outcome::tooLong);
    // Two gigabytes, of which the disk has only the header.
    const std::string huge = sounds.writeAiff("huge.aiff", 44100, 2, Samples(100));
    std::string bytes = SoundFolder::bytesOf(huge);
    const auto put = [&bytes](std::size_t at, std::uint32_t number) {
        for (unsigned i = 0; i < 4; ++i)
            bytes[at + i] = static_cast<char>(number >> (24 - 8 * i));
    };
    put(4, 0x7FFFFFF0U);
    put(bytes.find("COMM") + 10, 0x1FFFFFF0U);
    put(bytes.find("SSND") + 4, 0x7FFFFF00U);
    sounds.writeBytes("huge.aiff", bytes);
    std::filesystem::resize_file(huge, 0x7FFFFFF8);
    EXPECT_EQ(outcomeOf(huge), Outcome::tooLong);
}

TEST_F(MarkerSoundTest, refusesAFileThatIsShorterThanItSays) {
    for (const auto& [name, format] : {std::pair("s.wav", SF_FORMAT_WAV), std::pair("s.aiff", SF_FORMAT_AIFF)})
        for (const int bits : {SF_FORMAT_PCM_16, SF_FORMAT_FLOAT}) {
            const std::string path = sounds.write(name, format | bits, 44100, 1, sine(44100, 1, 0.5));
            const std::string bytes = SoundFolder::bytesOf(path);
            EXPECT_EQ(outcomeOf(path), Outcome::loaded) << name;
            EXPECT_EQ(outcomeOf(sounds.writeBytes(name, bytes.substr(0, bytes.size() / 2))),
                      Outcome::readFailed);
            EXPECT_EQ(outcomeOf(sounds.writeBytes(name, bytes + "more")), Outcome::loaded) << name;
        }
}

TEST_F(MarkerSoundTest, isReadToItsEnd_whenItsWriterDidNotKnowItsSize) {
    std::string bytes = SoundFolder::bytesOf(
        sounds.write("s.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 1, sine(44100, 1, 0.1)));
    bytes.replace(bytes.find("data") + 4, 4, 4, '\xff');
    EXPECT_EQ(outcomeOf(sounds.writeBytes("s.wav", bytes)), Outcome::loaded);
}

TEST_F(MarkerSoundTest, keepsItsSidesApart_alsoAtAnotherRate) {
    for (const int rate : {8000, 22050, 44100, 48000, 96000})
        for (const double deviceRate : {8000.0, 44100.0, 48000.0}) {
            Samples left(static_cast<std::size_t>(rate));
            for (std::size_t i = 0; i < left.size(); i += 2)
                left[i] = 9000;
            const auto loaded = MarkerSound::load(sounds.writeAiff("l.aiff", rate, 2, left), deviceRate);
            ASSERT_EQ(loaded.outcome, Outcome::loaded);
            for (std::size_t i = 0; i + 4 < loaded.samples.size(); ++i)
                ASSERT_EQ(loaded.samples[i], i % 2 == 0 ? 9000 : 0) << rate << " " << deviceRate << " " << i;
        }
}

TEST_F(MarkerSoundTest, refusesAHeaderThatMakesNoSense) {
    std::string bytes = SoundFolder::bytesOf(
        sounds.write("s.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 1, sine(44100, 1, 0.1)));
    const auto withRate = [&](std::uint32_t rate) {
        std::string changed = bytes;
        for (unsigned i = 0; i < 4; ++i)
            changed[24 + i] = static_cast<char>(rate >> (8 * i));
        return sounds.writeBytes("changed.wav", changed);
    };
    EXPECT_EQ(outcomeOf(withRate(44100)), Outcome::loaded);
    EXPECT_EQ(outcomeOf(withRate(1)), Outcome::noSound);
    EXPECT_EQ(outcomeOf(withRate(0x7FFFFFFF)), Outcome::noSound);
    bytes[22] = 0; // channels
    EXPECT_EQ(outcomeOf(withRate(44100)), Outcome::noSound);
}

TEST_F(MarkerSoundTest, neverFailsOtherwise_whereverTheFileIsTorn) {
    const std::pair<const char*, int> formats[] = {{"t.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
                                                   {"t.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT},
                                                   {"t.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                                                   {"t.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_24}};
    for (const auto& [name, format] : formats) {
        const std::string whole = SoundFolder::bytesOf(sounds.write(name, format, 8000, 1, sine(8000, 1, 0.2)));
        const std::size_t most = MarkerSound::load(sounds.path(name), 8000.0).samples.size();
        for (std::size_t length = 0; length < whole.size(); length += length < 150 ? 1 : 131) {
            const auto torn = MarkerSound::load(sounds.writeBytes("torn", whole.substr(0, length)), 8000.0);
            EXPECT_EQ(torn.samples.empty(), torn.outcome != Outcome::loaded) << name << " " << length;
            EXPECT_LE(torn.samples.size(), most) << name << " " << length;
        }
    }
}

TEST_F(MarkerSoundTest, givesUpSoon_whenAFileIsNothingButEmptyChunks) {
    const std::string heads[] = {
        std::string("RIFF\xff\xff\xff\x7fWAVE", 12),
        std::string("RIFF\xff\xff\xff\x7fWAVEfmt \x10\0\0\0\1\0\1\0@\x1f\0\0\x80>\0\0\2\0\x10\0", 36),
        std::string("FORM\x7f\xff\xff\xff"
                    "AIFF",
                    12),
        std::string("FORM\x7f\xff\xff\xff"
                    "8SVX",
                    12),
        std::string("caff\0\1\0\0", 8),
        std::string("Creative Voice File\x1a\x1a\0\x0a\1\x29\x11", 26)};
    for (const std::string& head : heads) {
        const std::string path = sounds.writeBytes("chunks", head);
        // A gigabyte, of which the disk has only the begin.
        std::filesystem::resize_file(path, 1024 * 1024 * 1024);
        std::clock_t begin = std::clock();
        EXPECT_EQ(outcomeOf(path), Outcome::noSound) << head;
        EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, 2.0) << head;
        std::string chunks = head;
        while (chunks.size() < 16 * 1024 * 1024)
            chunks += std::string("junk\0\0\0\0", 8);
        begin = std::clock();
        EXPECT_EQ(outcomeOf(sounds.writeBytes("chunks", chunks)), Outcome::noSound) << head;
        EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, 2.0) << head;
    }
}
