// Recordings as other programs see them.
#include "storage/FileFolder.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"

#include <array>
#include <cstdio>
#include <sndfile.h>
#include <sstream>
#include <tuple>
#include <vector>

namespace {
struct Answer {
    int status = -1;
    std::string text; ///< standard output and standard error
};

Answer run(const std::string& command) {
    Answer answer;
    FILE* const pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr)
        return answer;
    std::array<char, 4096> part{};
    for (std::size_t got = 0; (got = std::fread(part.data(), 1, part.size(), pipe)) > 0;)
        answer.text.append(part.data(), got);
    answer.status = ::pclose(pipe);
    return answer;
}

bool installed(const std::string& program) {
    return run("command -v " + program).status == 0;
}
} // namespace

class SoundFileProgramsTest : public testing::TestWithParam<std::tuple<int, unsigned>> {
protected:
    void SetUp() override {
        const auto [file, error] = SoundFile::create(volume, path, rate, channels);
        ASSERT_EQ(error, SoundFileError::none);
        ASSERT_TRUE(file->writeSamples(0, samples));
        ASSERT_TRUE(file->close());
        const auto raw = disk.openForUpdating(path);
        const std::string_view information = "_Velmoratide_20071024_093000~10150022050MI";
        ASSERT_EQ(raw->writeAt(AiffHeader::recordInformationAt, std::as_bytes(std::span(information))), 0);
    }
    static std::vector<std::int16_t> noise() {
        std::vector<std::int16_t> result(frames * channelsOfParameter());
        std::uint32_t state = 1;
        for (std::int16_t& sample : result) {
            state = state * 1664525u + 1013904223u;
            sample = static_cast<std::int16_t>(state >> 16);
        }
        return result;
    }
    static unsigned channelsOfParameter() { return std::get<1>(GetParam()); }

    static constexpr std::size_t frames = 12'345;
    const int rate = std::get<0>(GetParam());
    const unsigned channels = channelsOfParameter();
    const std::vector<std::int16_t> samples = noise();
    FileFolder folder;
    PosixVolume disk;
    Volume& volume = disk;
    const std::string path = folder / "a.aif";
};

TEST_P(SoundFileProgramsTest, isReadBySox) {
    if (!installed("sox"))
        GTEST_SKIP() << "sox is not installed";
    const auto asked = [&](const std::string& what) {
        const Answer answer = run("sox --i -" + what + " " + path);
        EXPECT_EQ(answer.status, 0) << answer.text;
        return answer.text;
    };
    EXPECT_EQ(asked("r"), std::to_string(rate) + "\n");
    EXPECT_EQ(asked("c"), std::to_string(channels) + "\n");
    EXPECT_EQ(asked("s"), std::to_string(frames) + "\n");
    EXPECT_EQ(asked("b"), "16\n");
    const Answer converted = run("sox " + path + " -t raw -e signed -b 16 -L " + (folder / "raw"));
    EXPECT_EQ(converted.status, 0);
    EXPECT_EQ(converted.text, "") << "not even a warning";
    EXPECT_EQ(folder.read("raw"),
              std::string(reinterpret_cast<const char*>(samples.data()), samples.size() * 2));
}

TEST_P(SoundFileProgramsTest, isReadByFfprobe) {
    if (!installed("ffprobe"))
        GTEST_SKIP() << "ffprobe is not installed";
    const Answer answer = run("ffprobe -v warning -of csv=p=0 -show_entries "
                              "stream=codec_name,sample_rate,channels,duration_ts " +
                              path);
    EXPECT_EQ(answer.status, 0);
    std::ostringstream expected;
    expected << "pcm_s16be," << rate << ',' << channels << ',' << frames << '\n';
    EXPECT_EQ(answer.text, expected.str()) << "not even a warning";
}

TEST_P(SoundFileProgramsTest, isReadByLibsndfile) {
    SF_INFO info{};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    EXPECT_EQ(info.samplerate, rate);
    EXPECT_EQ(info.channels, static_cast<int>(channels));
    EXPECT_EQ(info.frames, static_cast<sf_count_t>(frames));
    EXPECT_EQ(info.format & SF_FORMAT_TYPEMASK, SF_FORMAT_AIFF);
    EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_16);
    std::vector<std::int16_t> read(samples.size());
    EXPECT_EQ(sf_readf_short(file, read.data(), static_cast<sf_count_t>(frames)),
              static_cast<sf_count_t>(frames));
    EXPECT_EQ(read, samples);
    sf_close(file);
}

TEST_P(SoundFileProgramsTest, isReadBySox_whenItWasNeverClosed) {
    if (!installed("sox"))
        GTEST_SKIP() << "sox is not installed";
    {
        const auto [file, error] = SoundFile::create(volume, path, rate, channels);
        ASSERT_TRUE(file->writeSamples(0, samples));
    }
    ASSERT_EQ(SoundFile::repairHeader(volume, path, channels), SoundFileError::none);
    EXPECT_EQ(run("sox --i -s " + path).text, std::to_string(frames) + "\n");
}

INSTANTIATE_TEST_SUITE_P(EveryRate, SoundFileProgramsTest,
                         testing::Combine(testing::Values(8000, 11025, 22050, 44100, 48000, 96000),
                                          testing::Values(1u, 2u)),
                         [](const auto& parameter) {
                             return std::to_string(std::get<0>(parameter.param)) +
                                    (std::get<1>(parameter.param) == 1 ? "Mono" : "Stereo");
                         });
