// The queue between two threads.
#include "recorder/VmQueBuffer.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sys/mman.h>
#include <thread>
#include <vector>

namespace {
/// Samples in a test; their numbers are exact in a float.
constexpr unsigned sequenceLength = 10'000'000;

/// Memory that costs a page fault for each block copied to it, so that the producer overtakes whoever copies.
class SlowMemory {
public:
    explicit SlowMemory(std::size_t floats) : m_bytes(floats * sizeof(float)) {
        m_memory = mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(m_memory, MAP_FAILED);
    }
    ~SlowMemory() { munmap(m_memory, m_bytes); }
    SlowMemory(const SlowMemory&) = delete;
    SlowMemory& operator=(const SlowMemory&) = delete;
    float* forget() const {
        EXPECT_EQ(madvise(m_memory, m_bytes, MADV_DONTNEED), 0);
        return static_cast<float*>(m_memory);
    }

private:
    const std::size_t m_bytes;
    void* m_memory;
};

/// Appends samples that carry their position as a bit pattern, until the queue has seen `atLeast` of them and
/// `enough` says so.
void writePositions(VmQueBuffer& queue, std::uint64_t atLeast, unsigned largestWrite,
                    const std::function<bool()>& enough) {
    std::mt19937 random(3);
    std::vector<float> block(largestWrite);
    for (std::uint32_t next = 0; next < atLeast || !enough();) {
        const auto count = static_cast<unsigned>(1 + random() % largestWrite);
        for (unsigned i = 0; i < count; ++i)
            block[i] = std::bit_cast<float>(next + i);
        queue.writeFloat32Data(block.data(), count);
        next += count;
    }
}

/// Reads what `writePositions` wrote and looks at its order.
struct PositionReader {
    std::uint64_t read = 0;
    std::uint64_t disordered = 0;
    std::uint64_t gaps = 0;
    std::uint32_t next = 0;
    std::atomic<unsigned> fruitfulReads{0};

    void take(VmQueBuffer& queue, float* buffer, unsigned count) {
        const unsigned got = queue.readFloat32Data(buffer, count) / 4;
        for (unsigned i = 0; i < got; ++i) {
            const auto position = std::bit_cast<std::uint32_t>(buffer[i]);
            disordered += position - next >= 0x80000000u;
            gaps += i > 0 && position != next;
            next = position + 1;
        }
        read += got;
        fruitfulReads += got > 0;
    }
};
} // namespace

TEST(VmQueBufferThread, handsOverEverySampleOnce_betweenTwoThreads) {
    constexpr unsigned slots = 50'001;
    const auto queue = VmQueBuffer::initQueWithLength(slots * 4);
    std::thread writer([&] {
        std::mt19937 random(1);
        std::vector<float> block(3000);
        for (unsigned next = 0; next < sequenceLength;) {
            const auto count = std::min<unsigned>(1 + random() % 3000, sequenceLength - next);
            if (queue->empty() < count * 4) {
                std::this_thread::yield();
                continue;
            }
            for (unsigned i = 0; i < count; ++i)
                block[i] = static_cast<float>(next + i);
            queue->writeFloat32Data(block.data(), count);
            next += count;
        }
    });
    std::mt19937 random(2);
    std::vector<float> buffer(5000);
    unsigned expected = 0;
    unsigned wrong = 0;
    while (expected < sequenceLength) {
        const unsigned got = queue->readFloat32Data(buffer.data(), 1 + random() % 5000) / 4;
        for (unsigned i = 0; i < got; ++i)
            wrong += buffer[i] != static_cast<float>(expected++);
        if (got == 0)
            std::this_thread::yield();
    }
    writer.join();
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(queue->droppedSamples(), 0u);
    EXPECT_EQ(queue->remain(), 0u);
}

TEST(VmQueBufferThread, losesOnlyWhatItCounts_whenTheReaderIsOvertaken) {
    const SlowMemory slow(6000);
    for (const unsigned slots : {1u, 100u, 1023u, 4096u, 9001u}) {
        SCOPED_TRACE(slots);
        const auto queue = VmQueBuffer::initQueWithLength(slots * 4);
        PositionReader reader;
        std::atomic<bool> done{false};
        std::thread writer([&] {
            writePositions(*queue, sequenceLength, 4000, [&] { return reader.fruitfulReads > 1000; });
            done = true;
        });
        std::mt19937 random(4);
        std::uint64_t lastDropped = 0;
        std::uint64_t fallingCounts = 0;
        while (!done) {
            reader.take(*queue, slow.forget(), 1 + random() % 6000);
            const std::uint64_t dropped = queue->droppedSamples();
            fallingCounts += dropped < lastDropped;
            lastDropped = dropped;
        }
        writer.join();
        EXPECT_EQ(queue->droppedSamples() + reader.read + queue->remain() / 4, queue->writtenSamples());
        while (queue->remain() > 0)
            reader.take(*queue, slow.forget(), 6000);
        EXPECT_EQ(reader.disordered, 0u);
        EXPECT_EQ(reader.gaps, 0u) << "the samples of one read are consecutive";
        EXPECT_EQ(fallingCounts, 0u);
        EXPECT_EQ(reader.next, static_cast<std::uint32_t>(queue->writtenSamples()));
        EXPECT_EQ(queue->droppedSamples() + reader.read, queue->writtenSamples());
    }
}

TEST(VmQueBufferThread, isClearedWhileTheProducerRuns) {
    const auto queue = VmQueBuffer::initQueWithLength(5000 * 4);
    PositionReader reader;
    std::atomic<bool> done{false};
    std::thread writer([&] {
        writePositions(*queue, 1'000'000, 512, [&] { return reader.fruitfulReads > 1000; });
        done = true;
    });
    std::vector<float> buffer(1000);
    unsigned keptTooMuch = 0;
    while (!done) {
        queue->clearData();
        std::this_thread::yield();
        keptTooMuch += queue->clearDataWithLeftLengthFloat32(300) > 300 * 4;
        reader.take(*queue, buffer.data(), 1000);
    }
    writer.join();
    EXPECT_EQ(reader.disordered, 0u);
    EXPECT_EQ(reader.gaps, 0u);
    EXPECT_EQ(keptTooMuch, 0u);
    queue->clearData();
    EXPECT_EQ(queue->readSamples(), queue->writtenSamples());
}
