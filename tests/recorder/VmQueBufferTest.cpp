#include "recorder/VmQueBuffer.h"

#include "support/Sanitizer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <sys/resource.h>
#include <vector>

namespace {
/// Writes the numbers from `first` on.
unsigned writeNumbers(VmQueBuffer& queue, unsigned first, unsigned count) {
    std::vector<float> numbers(count);
    std::iota(numbers.begin(), numbers.end(), static_cast<float>(first));
    return queue.writeFloat32Data(numbers.data(), count);
}

std::vector<float> readUpTo(VmQueBuffer& queue, unsigned count) {
    std::vector<float> read(count);
    const unsigned bytes = queue.readFloat32Data(read.data(), count);
    read.resize(bytes / 4);
    return read;
}

std::vector<float> numbers(unsigned first, unsigned count) {
    std::vector<float> result(count);
    std::iota(result.begin(), result.end(), static_cast<float>(first));
    return result;
}

/// What the queue must do, in the plainest words.
class QueueModel {
public:
    explicit QueueModel(unsigned slots) : m_slots(slots) {}
    void write(const std::vector<float>& data) {
        for (const float sample : data) {
            m_held.push_back(sample);
            ++written;
            if (m_held.size() > m_slots) {
                m_held.pop_front();
                ++dropped;
            }
        }
    }
    std::vector<float> read(unsigned count) {
        count = std::min<unsigned>(count, held());
        std::vector<float> result(m_held.begin(), m_held.begin() + count);
        m_held.erase(m_held.begin(), m_held.begin() + count);
        return result;
    }
    unsigned keepNewest(unsigned count) {
        if (count < held())
            m_held.erase(m_held.begin(), m_held.end() - count);
        return held() * 4;
    }
    unsigned held() const { return static_cast<unsigned>(m_held.size()); }
    std::uint64_t written = 0;
    std::uint64_t dropped = 0;

private:
    const unsigned m_slots;
    std::deque<float> m_held;
};

void expectSame(const VmQueBuffer& queue, const QueueModel& model) {
    ASSERT_EQ(queue.remain(), model.held() * 4);
    ASSERT_EQ(queue.empty(), queue.queLength() - model.held() * 4);
    ASSERT_EQ(queue.writtenSamples(), model.written);
    ASSERT_EQ(queue.readSamples(), model.written - model.held());
    ASSERT_EQ(queue.droppedSamples(), model.dropped);
}
} // namespace

TEST(VmQueBuffer, keepsTheNewestSamples_whenFull) {
    constexpr unsigned capacity = 4000;
    const auto queue = VmQueBuffer::initQueWithLength(capacity);
    EXPECT_EQ(writeNumbers(*queue, 0, capacity / 4 + 10), capacity + 40);
    EXPECT_EQ(queue->remain(), capacity);
    EXPECT_EQ(queue->empty(), 0u);
    EXPECT_EQ(queue->droppedSamples(), 10u);
    EXPECT_EQ(queue->getPoint(), queue->putPoint());
    EXPECT_EQ(readUpTo(*queue, capacity / 4), numbers(10, capacity / 4));
    EXPECT_EQ(queue->remain(), 0u);
}

TEST(VmQueBuffer, readsOnlyWhatItHolds) {
    const auto queue = VmQueBuffer::initQueWithLength(4000);
    writeNumbers(*queue, 0, 40);
    std::vector<float> into(100);
    EXPECT_EQ(queue->readFloat32Data(into.data(), 100), 160u);
    EXPECT_EQ(queue->remain(), 0u);
    EXPECT_EQ(queue->readFloat32Data(into.data(), 100), 0u);
    EXPECT_EQ(queue->readSamples(), 40u);
}

TEST(VmQueBuffer, changesNothing_whenMoreIsToBeKeptThanIsHeld) {
    const auto queue = VmQueBuffer::initQueWithLength(4000);
    writeNumbers(*queue, 0, 40);
    EXPECT_EQ(queue->clearDataWithLeftLengthFloat32(41), 160u);
    EXPECT_EQ(queue->clearDataWithLeftLengthFloat32(0xFFFFFFFFu), 160u);
    EXPECT_EQ(readUpTo(*queue, 100), numbers(0, 40));
}

TEST(VmQueBuffer, isEmptied_whenNothingIsToBeKept) {
    const auto queue = VmQueBuffer::initQueWithLength(4000);
    writeNumbers(*queue, 0, 40);
    EXPECT_EQ(queue->clearDataWithLeftLengthFloat32(0), 0u);
    EXPECT_EQ(queue->remain(), 0u);
    EXPECT_EQ(queue->getPoint(), 40u);
    EXPECT_EQ(queue->putPoint(), 40u);
    EXPECT_EQ(queue->droppedSamples(), 0u) << "a cut on purpose is no loss";
}

TEST(VmQueBuffer, cutsToTheNewestSamples_acrossTheWrapPoint) {
    const auto queue = VmQueBuffer::initQueWithLength(400);
    writeNumbers(*queue, 0, 90);
    readUpTo(*queue, 80);
    writeNumbers(*queue, 90, 50);
    ASSERT_EQ(queue->getPoint(), 80u);
    ASSERT_EQ(queue->putPoint(), 40u);
    EXPECT_EQ(queue->clearDataWithLeftLengthFloat32(30), 120u);
    EXPECT_EQ(queue->getPoint(), 80u + 30u - 100u);
    EXPECT_EQ(queue->putPoint(), 40u) << "the cut leaves the write index alone";
    EXPECT_EQ(readUpTo(*queue, 100), numbers(110, 30));
}

TEST(VmQueBuffer, keepsItsContents_whenTheCapacityStaysTheSame) {
    const auto queue = VmQueBuffer::initQueWithLength(400);
    writeNumbers(*queue, 0, 10);
    EXPECT_TRUE(queue->setQueLength(400));
    EXPECT_EQ(queue->remain(), 40u);
    EXPECT_EQ(readUpTo(*queue, 10), numbers(0, 10));
}

TEST(VmQueBuffer, startsEmpty_afterAChangeOfCapacity) {
    const auto queue = VmQueBuffer::initQueWithLength(400);
    writeNumbers(*queue, 0, 150);
    EXPECT_TRUE(queue->setQueLength(800));
    EXPECT_EQ(queue->queLength(), 800u);
    EXPECT_EQ(queue->remain(), 0u);
    EXPECT_EQ(queue->getPoint(), 0u);
    EXPECT_EQ(queue->putPoint(), 0u);
    EXPECT_EQ(queue->writtenSamples(), 0u);
    EXPECT_EQ(queue->droppedSamples(), 0u);
    writeNumbers(*queue, 7, 200);
    EXPECT_EQ(readUpTo(*queue, 300), numbers(7, 200));
}

TEST(VmQueBuffer, wrapsAnIndex_atTheLastSlot) {
    const auto queue = VmQueBuffer::initQueWithLength(400);
    unsigned put = 98;
    queue->incPutFloat32Point(put);
    EXPECT_EQ(put, 99u);
    queue->incPutFloat32Point(put);
    EXPECT_EQ(put, 0u);
    unsigned get = 99;
    queue->incGetFloat32Point(get);
    EXPECT_EQ(get, 0u);
    writeNumbers(*queue, 0, 100);
    EXPECT_EQ(queue->putPoint(), 0u);
}

TEST(VmQueBuffer, countsPointsFromTheLastClear_butPositionsOn) {
    const auto queue = VmQueBuffer::initQueWithLength(400);
    writeNumbers(*queue, 0, 130);
    queue->clearData();
    EXPECT_EQ(queue->remain(), 0u);
    EXPECT_EQ(queue->getPoint(), 0u);
    EXPECT_EQ(queue->putPoint(), 0u);
    EXPECT_EQ(queue->writtenSamples(), 130u);
    EXPECT_EQ(queue->readSamples(), 130u);
    EXPECT_EQ(queue->droppedSamples(), 30u);
    writeNumbers(*queue, 0, 7);
    EXPECT_EQ(queue->putPoint(), 7u);
    EXPECT_EQ(queue->getPoint(), 0u);
    EXPECT_EQ(queue->writtenSamples(), 137u);
}

TEST(VmQueBuffer, dropsEverything_withoutCapacity) {
    const auto queue = VmQueBuffer::initQueWithLength(0);
    ASSERT_NE(queue, nullptr);
    EXPECT_EQ(writeNumbers(*queue, 0, 10), 40u);
    EXPECT_EQ(queue->remain(), 0u);
    EXPECT_EQ(queue->droppedSamples(), 10u);
    EXPECT_TRUE(readUpTo(*queue, 10).empty());
    EXPECT_TRUE(queue->setQueLength(40));
    writeNumbers(*queue, 0, 10);
    EXPECT_EQ(readUpTo(*queue, 10), numbers(0, 10));
}

TEST(VmQueBuffer, roundsItsCapacityDownToWholeSamples) {
    const auto queue = VmQueBuffer::initQueWithLength(43);
    EXPECT_EQ(queue->queLength(), 40u);
    writeNumbers(*queue, 0, 11);
    EXPECT_EQ(readUpTo(*queue, 20), numbers(1, 10));
}

TEST(VmQueBuffer, isNotMade_withoutMemory) {
    if (watchedBySanitizer)
        GTEST_SKIP() << "a sanitizer cannot run with little address space";
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    const auto queue = VmQueBuffer::initQueWithLength(400);
    rlimit tight = before;
    tight.rlim_cur = 2'000'000'000;
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    const auto none = VmQueBuffer::initQueWithLength(0xFFFFFFF0u);
    const bool changed = queue->setQueLength(0xFFFFFFF0u);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(none, nullptr);
    EXPECT_FALSE(changed);
    EXPECT_EQ(queue->queLength(), 0u);
    EXPECT_EQ(writeNumbers(*queue, 0, 10), 40u) << "the producer still may write";
    EXPECT_TRUE(queue->setQueLength(400));
}

TEST(VmQueBuffer, holdsEightySeconds_at192000Hz) {
    constexpr unsigned slots = 192000 * 80 * 2;
    const auto queue = VmQueBuffer::initQueWithLength(slots * 4);
    ASSERT_NE(queue, nullptr);
    std::vector<float> block(65536);
    unsigned value = 0;
    for (unsigned written = 0; written < slots + 1'000'000; written += 65536) {
        for (float& sample : block)
            sample = static_cast<float>(value++ % 16'777'216);
        queue->writeFloat32Data(block.data(), 65536);
    }
    EXPECT_EQ(queue->remain(), slots * 4);
    EXPECT_EQ(queue->droppedSamples(), value - slots);
    unsigned next = value - slots;
    unsigned wrong = 0;
    while (queue->remain() > 0) {
        const unsigned got = queue->readFloat32Data(block.data(), 60000) / 4;
        for (unsigned i = 0; i < got; ++i)
            wrong += block[i] != static_cast<float>(next++ % 16'777'216);
    }
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(next, value);
}

TEST(VmQueBuffer, doesWhatTheModelDoes_atAnyCapacityAndSize) {
    std::mt19937 random(20071024);
    for (const unsigned slots : {1u, 2u, 3u, 7u, 100u, 1023u, 1024u, 1025u, 2047u, 4096u, 5003u, 20001u}) {
        SCOPED_TRACE(slots);
        const auto queue = VmQueBuffer::initQueWithLength(slots * 4);
        QueueModel model(slots);
        float value = 0.0f;
        for (int step = 0; step < 1500; ++step) {
            const unsigned largest = random() % 4 == 0 ? slots * 2 + 5000 : slots / 2 + 3;
            const auto count = static_cast<unsigned>(random() % (largest + 1));
            switch (random() % 8) {
            case 0:
                ASSERT_EQ(queue->clearDataWithLeftLengthFloat32(count), model.keepNewest(count));
                break;
            case 1:
            case 2:
            case 3:
                ASSERT_EQ(readUpTo(*queue, count), model.read(count));
                break;
            default: {
                std::vector<float> data(count);
                for (float& sample : data)
                    sample = value = std::fmod(value + 1.0f, 16'000'000.0f);
                ASSERT_EQ(queue->writeFloat32Data(data.data(), count), count * 4);
                model.write(data);
            }
            }
            ASSERT_NO_FATAL_FAILURE(expectSame(*queue, model));
        }
    }
}
