#include "library/WaveformEnvelope.h"

#include "SoundOfATest.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>

namespace {
using Column = WaveformEnvelope::Column;

const WaveformEnvelope::Progress toTheEnd = [](double) { return true; };

/// The rule, word for word.
std::vector<Column> plainColumns(const std::vector<std::int16_t>& samples, std::int64_t width) {
    const auto perColumn = static_cast<std::int64_t>(samples.size()) / width;
    std::vector<Column> columns;
    for (std::int64_t x = 0; x < width; ++x) {
        const std::int16_t* column = samples.data() + x * perColumn;
        Column found{column[0], column[0]};
        for (std::int64_t i = 1; i < perColumn / 8; ++i) {
            const std::int16_t sample = column[1 + 8 * (i - 1)];
            if (sample > found.maximum)
                found.maximum = sample;
            else
                found.minimum = std::min(found.minimum, sample);
        }
        columns.push_back(found);
    }
    return columns;
}

class WaveformEnvelopeTest : public testing::Test {
protected:
    std::vector<Column> columnsOf(const std::vector<std::int16_t>& samples, int width) {
        writeSound(path, samples);
        const auto file = openSound(path);
        WaveformEnvelope envelope(file->byteCount(), width);
        EXPECT_EQ(envelope.read(*file, toTheEnd), WaveformEnvelope::Outcome::done);
        return {envelope.columns().begin(), envelope.columns().end()};
    }
    TemporaryFolder folder;
    const std::string path = folder.path() + "/sound.aif";
};
} // namespace

TEST_F(WaveformEnvelopeTest, looksAt1250Of10000Samples_when8000000BytesStandIn400Columns) {
    const WaveformEnvelope envelope(8'000'000, 400);
    EXPECT_EQ(envelope.samplesPerColumn(), 10000);
    EXPECT_EQ(envelope.columnBytes(), 20000);
    EXPECT_EQ(envelope.examinedPerColumn(), 1250);
    EXPECT_EQ(envelope.columns().size(), 400U);
}

TEST_F(WaveformEnvelopeTest, looksAtTheFirstSampleAndAtEveryEighthFromTheSecondOn) {
    std::vector<std::int16_t> samples(80, 0);
    samples[0] = 5;
    samples[1] = -700;  // the first of the nine
    samples[65] = 300;  // the last: 1 + 8 * 8
    samples[73] = 9999; // one more step would be the tenth
    samples[2] = samples[8] = samples[64] = 9999;
    EXPECT_EQ(columnsOf(samples, 1), (std::vector<Column>{{-700, 300}}));
}

TEST_F(WaveformEnvelopeTest, agreesWithTheRuleAtEveryLengthOfColumn) {
    for (const int perColumn : {1, 2, 7, 8, 9, 15, 16, 17, 31, 64, 127, 128, 129, 136, 1000, 1009}) {
        const auto samples = noise(static_cast<std::size_t>(perColumn) * 6);
        EXPECT_EQ(columnsOf(samples, 6), plainColumns(samples, 6)) << perColumn;
    }
}

TEST_F(WaveformEnvelopeTest, agreesWithTheRule_whenAColumnIsReadInSeveralPieces) {
    const auto samples = noise(3 * 200'006);
    EXPECT_EQ(columnsOf(samples, 3), plainColumns(samples, 3));
}

TEST_F(WaveformEnvelopeTest, keepsTheFirstSample_whenAColumnHasFewerThanEight) {
    EXPECT_EQ(columnsOf({100, 900, -900, 7, 200, 900, -900, 7}, 2),
              (std::vector<Column>{{100, 100}, {200, 200}}));
}

TEST_F(WaveformEnvelopeTest, isSilent_whenTheFileHasFewerSamplesThanColumns) {
    EXPECT_EQ(columnsOf({100, 900, -900, 7}, 8), std::vector<Column>(8));
    EXPECT_EQ(columnsOf({}, 3), std::vector<Column>(3));
}

TEST_F(WaveformEnvelopeTest, reachesFullScaleBothWays) {
    std::vector<std::int16_t> samples(64, 0);
    samples[1] = 32767;
    samples[9] = -32768;
    EXPECT_EQ(columnsOf(samples, 1), (std::vector<Column>{{-32768, 32767}}));
}

TEST_F(WaveformEnvelopeTest, namesTheColumnThatCannotBeRead_whenTheFileIsCutWhileItIsRead) {
    writeSound(path, noise(40'000));
    const auto file = openSound(path);
    std::filesystem::resize_file(path, 4096 + 50'000);
    WaveformEnvelope envelope(file->byteCount(), 4);
    EXPECT_EQ(envelope.read(*file, toTheEnd), WaveformEnvelope::Outcome::readFailed);
    EXPECT_EQ(envelope.failedAt(), 40'000);
    EXPECT_EQ(envelope.columnBytes(), 20'000);
}

TEST_F(WaveformEnvelopeTest, tellsItsProgressRisingToOne) {
    writeSound(path, std::vector<std::int16_t>(4 << 20));
    const auto file = openSound(path);
    std::vector<double> told;
    WaveformEnvelope envelope(file->byteCount(), 100);
    envelope.read(*file, [&](double progress) {
        told.push_back(progress);
        return true;
    });
    EXPECT_GE(told.size(), 4U);
    EXPECT_TRUE(std::ranges::is_sorted(told));
    EXPECT_GT(told.front(), 0.0);
    EXPECT_EQ(told.back(), 1.0);
}

TEST_F(WaveformEnvelopeTest, endsEarly_whenItIsCancelled) {
    writeSound(path, std::vector<std::int16_t>(4 << 20));
    const auto file = openSound(path);
    WaveformEnvelope envelope(file->byteCount(), 100);
    int reports = 0;
    EXPECT_EQ(envelope.read(*file, [&](double) { return ++reports < 2; }),
              WaveformEnvelope::Outcome::cancelled);
    EXPECT_EQ(reports, 2);
}
