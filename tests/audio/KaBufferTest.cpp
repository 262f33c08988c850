#include "audio/CrankedHardware.h"
#include "audio/KaAudioBuffer.h"
#include "audio/KaByteBuffer.h"

#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <thread>

namespace {
using Samples = std::vector<float>;

/// Notes the chunks that transfers are cut into.
class ChunkBuffer final : public KaBuffer {
public:
    struct Chunk {
        char kind;
        unsigned offset;
        unsigned count;
        bool operator==(const Chunk&) const = default;
    };

    explicit ChunkBuffer(unsigned capacity) : KaBuffer(capacity) {}
    std::vector<Chunk> chunks;
    unsigned emptied = 0;

private:
    void performWriteFromContext(void* context, unsigned offset, unsigned count) override {
        EXPECT_EQ(context, this);
        chunks.push_back({'w', offset, count});
    }
    void performReadToContext(void* context, unsigned offset, unsigned count) override {
        EXPECT_EQ(context, this);
        chunks.push_back({'r', offset, count});
    }
    void bufferDidEmpty() override { ++emptied; }
};

using Chunks = std::vector<ChunkBuffer::Chunk>;

unsigned write(KaAudioBuffer& buffer, const Samples& samples, double rateScalar = 1.0) {
    TestList list({1}, static_cast<std::uint32_t>(samples.size()));
    list.samples[0] = samples;
    list.buffers[0].mData = list.samples[0].data();
    return buffer.writeFromAudioBufferList(list.list, 1000, rateScalar, false);
}
} // namespace

TEST(KaBufferTest, writesWhatFits_whenNotWaiting) {
    ChunkBuffer buffer(8);
    EXPECT_EQ(buffer.writeFromContext(&buffer, 10, false), 8U);
    EXPECT_EQ(buffer.writeFromContext(&buffer, 10, false), 0U);
    EXPECT_EQ(buffer.count(), 8U);
    EXPECT_EQ(buffer.capacity(), 8U);
    EXPECT_EQ(buffer.chunks, (Chunks{{'w', 0, 8}}));
}

TEST(KaBufferTest, cutsTransfersAtTheEndOfStorage) {
    ChunkBuffer buffer(8);
    buffer.writeFromContext(&buffer, 6, false);
    buffer.readToContext(&buffer, 6, false);
    buffer.writeFromContext(&buffer, 4, false); // held: 6, 7, 0, 1
    buffer.chunks.clear();
    EXPECT_EQ(buffer.writeFromContext(&buffer, 3, false), 3U);
    EXPECT_EQ(buffer.chunks, (Chunks{{'w', 2, 3}}));
    buffer.chunks.clear();
    EXPECT_EQ(buffer.readToContext(&buffer, 4, false), 4U);
    EXPECT_EQ(buffer.chunks, (Chunks{{'r', 6, 2}, {'r', 0, 2}}));
    buffer.chunks.clear();
    EXPECT_EQ(buffer.writeFromContext(&buffer, 5, false), 5U);
    EXPECT_EQ(buffer.chunks, (Chunks{{'w', 5, 3}, {'w', 0, 2}}));
}

TEST(KaBufferTest, readsNothingFromAnEmptyBuffer_whenNotWaiting) {
    ChunkBuffer buffer(8);
    EXPECT_EQ(buffer.readToContext(&buffer, 4, false), 0U);
    EXPECT_EQ(buffer.writeFromContext(&buffer, 0, true), 0U);
    EXPECT_EQ(buffer.readToContext(&buffer, 0, true), 0U);
    EXPECT_TRUE(buffer.chunks.empty());
}

TEST(KaBufferTest, tellsWhenItIsEmptied_andKeepsItsPlaceInTheRing) {
    ChunkBuffer buffer(8);
    buffer.writeFromContext(&buffer, 5, false);
    buffer.readToContext(&buffer, 4, false);
    EXPECT_EQ(buffer.emptied, 0U);
    buffer.readToContext(&buffer, 4, false);
    EXPECT_EQ(buffer.emptied, 1U);
    buffer.chunks.clear();
    buffer.writeFromContext(&buffer, 2, false);
    EXPECT_EQ(buffer.chunks, (Chunks{{'w', 5, 2}}));
}

TEST(KaBufferTest, isEmptyAfterAFlush_andTakesWaitingWritesAgain) {
    ChunkBuffer buffer(4);
    buffer.writeFromContext(&buffer, 4, false);
    buffer.flush();
    EXPECT_EQ(buffer.count(), 0U);
    EXPECT_EQ(buffer.emptied, 1U);
    EXPECT_EQ(buffer.readToContext(&buffer, 1, false), 0U);
    EXPECT_EQ(buffer.writeFromContext(&buffer, 4, true), 4U);
    EXPECT_EQ(buffer.readToContext(&buffer, 4, true), 4U);
}

TEST(KaBufferTest, hasABaseThatOnlyCounts) {
    const auto buffer = KaBuffer::initWithCapacity(8);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer->writeFromContext(nullptr, 10, false), 8U);
    EXPECT_EQ(buffer->readToContext(nullptr, 3, false), 3U);
    EXPECT_EQ(buffer->count(), 5U);
}

TEST(KaBufferTest, returnsFromAWaitingReadOnlyWithAllUnits) {
    const auto buffer = KaByteBuffer::initWithCapacity(8);
    std::string got(20, ' ');
    unsigned read = 0;
    std::thread reader([&] { read = buffer->readToBytes(got.data(), 20, true); });
    const std::string sent = "abcdefghijklmnopqrst";
    EXPECT_EQ(buffer->writeFromBytes(sent.data(), 3, true), 3U);
    EXPECT_EQ(buffer->writeFromBytes(sent.data() + 3, 17, true), 17U); // more than fits at once
    reader.join();
    EXPECT_EQ(read, 20U);
    EXPECT_EQ(got, sent);
    EXPECT_EQ(buffer->count(), 0U);
}

TEST(KaBufferTest, letsAWaitingWriteGoOn_whenItIsFlushed) {
    const auto buffer = KaByteBuffer::initWithCapacity(4);
    EXPECT_EQ(buffer->writeFromBytes("abcd", 4, true), 4U);
    unsigned written = 0;
    std::thread writer([&] { written = buffer->writeFromBytes("efgh", 4, true); });
    buffer->flush();
    writer.join();
    EXPECT_EQ(written, 4U);
    char got[4] = {};
    EXPECT_EQ(buffer->readToBytes(got, 4, true), 4U);
    EXPECT_EQ(std::string(got, 4), "efgh");
}

TEST(KaByteBufferTest, movesBytesAroundTheRing) {
    const auto buffer = KaByteBuffer::initWithCapacity(5);
    ASSERT_TRUE(buffer);
    char got[5] = {};
    EXPECT_EQ(buffer->writeFromBytes("abcd", 4, false), 4U);
    EXPECT_EQ(buffer->readToBytes(got, 3, false), 3U);
    EXPECT_EQ(std::string(got, 3), "abc");
    EXPECT_EQ(buffer->writeFromBytes("efghi", 5, false), 4U);
    EXPECT_EQ(buffer->readToBytes(got, 5, false), 5U);
    EXPECT_EQ(std::string(got, 5), "defgh");
}

TEST(KaAudioBufferTest, isMadeWithChannelsAndFramesOnly) {
    EXPECT_EQ(KaAudioBuffer::init()->capacity(), 44100U);
    EXPECT_EQ(KaAudioBuffer::init()->channels(), 2U);
    EXPECT_EQ(KaAudioBuffer::initWithCapacity(7)->channels(), 2U);
    EXPECT_EQ(KaAudioBuffer::initWithCapacityFrames(7, 3, true)->channels(), 3U);
    EXPECT_EQ(KaAudioBuffer::initWithCapacityFrames(7, 0), nullptr);
    EXPECT_EQ(KaAudioBuffer::initWithCapacityFrames(0, 2), nullptr);
}

TEST(KaAudioBufferTest, writesNoMoreThanTheListOrTheLimit) {
    const auto buffer = KaAudioBuffer::initWithCapacityFrames(8, 1);
    TestList list({1}, 6);
    std::iota(list.samples[0].begin(), list.samples[0].end(), 1.0F);
    EXPECT_EQ(buffer->writeFromAudioBufferList(list.list, 2, 1.0, false), 2U);
    EXPECT_EQ(buffer->writeFromAudioBufferList(list.list, 100, 1.0, false), 6U);
    EXPECT_EQ(buffer->writeFromAudioBufferList(list.list, 100, 1.0, false), 0U);
    TestList read({1}, 10, -1.0F);
    EXPECT_EQ(buffer->readToAudioBufferList(read.list, 3, false), 3U);
    EXPECT_EQ(read.samples[0], (Samples{1, 2, 1, -1, -1, -1, -1, -1, -1, -1}));
    EXPECT_EQ(buffer->readToAudioBufferList(read.list, 100, false), 5U);
    EXPECT_EQ(read.samples[0], (Samples{2, 3, 4, 5, 6, -1, -1, -1, -1, -1}));
    EXPECT_EQ(buffer->readToAudioBufferList(read.list, 100, false), 0U);
    EXPECT_EQ(read.samples[0][0], 2.0F);
}

TEST(KaAudioBufferTest, keepsTheMeanRateScalarOfWhatItHolds) {
    const auto buffer = KaAudioBuffer::initWithCapacityFrames(16, 1);
    EXPECT_EQ(buffer->rateScalar(), 1.0);
    write(*buffer, {1, 2, 3, 4}, 1.0);
    write(*buffer, {5, 6, 7, 8}, 0.5);
    EXPECT_EQ(buffer->scaledCount(), 6.0);
    EXPECT_EQ(buffer->rateScalar(), 0.75);
    TestList list({1}, 2);
    buffer->readToAudioBufferList(list.list, 2, false);
    EXPECT_EQ(buffer->scaledCount(), 4.5);
    EXPECT_EQ(buffer->rateScalar(), 0.75);
}

TEST(KaAudioBufferTest, forgetsTheRateScalar_whenItIsEmptied) {
    const auto buffer = KaAudioBuffer::initWithCapacityFrames(8, 1);
    write(*buffer, {1, 2, 3, 4}, 0.5);
    TestList list({1}, 4);
    buffer->readToAudioBufferList(list.list, 4, false);
    EXPECT_EQ(buffer->rateScalar(), 1.0);
    EXPECT_EQ(buffer->scaledCount(), 0.0);
    write(*buffer, {1, 2}, 0.5);
    buffer->flush();
    EXPECT_EQ(buffer->rateScalar(), 1.0);
    EXPECT_EQ(buffer->scaledCount(), 0.0);
}

TEST(KaAudioBufferTest, allocatesNothingInATransfer) {
    const auto buffer = KaAudioBuffer::initWithCapacityFrames(700, 2);
    TestList in({2}, 512, 0.5F);
    TestList out({2}, 512);
    unsigned moved = 0;
    const RealtimeScope scope;
    for (int i = 0; i < 100; ++i) {
        buffer->writeFromAudioBufferList(in.list, 512, 1.0, false);
        moved += buffer->readToAudioBufferList(out.list, 512, false);
    }
    EXPECT_EQ(moved, 51200U);
}

TEST(KaAudioBufferThreadTest, handsAMillionFramesOverOnceEach_waitingOnBothSides) {
    constexpr unsigned total = 1'000'000;
    const auto buffer = KaAudioBuffer::initWithCapacityFrames(1021, 1);
    std::thread writer([&] {
        std::mt19937 dice(1);
        TestList list({1}, 3000);
        for (unsigned at = 0; at < total;) {
            const unsigned count = std::min<unsigned>(1 + dice() % 3000, total - at);
            for (unsigned i = 0; i < count; ++i)
                list.samples[0][i] = static_cast<float>(at + i);
            EXPECT_EQ(buffer->writeFromAudioBufferList(list.list, count, 1.0, true), count);
            at += count;
        }
    });
    std::mt19937 dice(2);
    TestList list({1}, 3000);
    unsigned wrong = 0;
    for (unsigned at = 0; at < total;) {
        const unsigned count = std::min<unsigned>(1 + dice() % 3000, total - at);
        EXPECT_EQ(buffer->readToAudioBufferList(list.list, count, true), count);
        for (unsigned i = 0; i < count; ++i)
            wrong += list.samples[0][i] == static_cast<float>(at + i) ? 0 : 1;
        at += count;
    }
    writer.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(buffer->count(), 0U);
}

TEST(KaAudioBufferThreadTest, dropsOnlyWhatItSays_whenTheWriterDoesNotWait) {
    const auto buffer = KaAudioBuffer::initWithCapacityFrames(509, 2);
    std::atomic<bool> ended{false};
    std::uint64_t written = 0;
    std::thread writer([&] {
        TestList list({2}, 64);
        std::mt19937 dice(3);
        for (int cycle = 0; cycle < 20'000; ++cycle) {
            // The frames that fitted carry on with the next number; those dropped are numbered again.
            for (unsigned i = 0; i < 64; ++i)
                list.samples[0][2 * i] = list.samples[0][2 * i + 1] = static_cast<float>((written + i) % 65536);
            written += buffer->writeFromAudioBufferList(list.list, 1 + dice() % 64, 1.0, false);
        }
        ended = true;
    });
    TestList list({1, 1}, 100);
    std::uint64_t at = 0;
    std::uint64_t wrong = 0;
    for (bool last = false; !last;) {
        last = ended;
        while (const unsigned count = buffer->readToAudioBufferList(list.list, 100, false)) {
            for (unsigned i = 0; i < count; ++i, ++at) {
                const auto expected = static_cast<float>(at % 65536);
                wrong += list.samples[0][i] == expected && list.samples[1][i] == expected ? 0 : 1;
            }
        }
    }
    writer.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(at, written);
}
