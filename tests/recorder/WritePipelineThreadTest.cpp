// Recordings that begin while cycles come in on another thread.
#include "base/NotificationCenter.h"
#include "recorder/WritePipeline.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/VirtualClock.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "support/Counting.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {
constexpr double rate = 8000.0;
constexpr unsigned cycleFrames = 64;

/// Captures the counting signal on a thread of its own as fast as it can, up to the frame that is allowed.
class Producer {
public:
    explicit Producer(WritePipeline& pipeline) : m_thread([this, &pipeline] { run(pipeline); }) {}
    ~Producer() {
        m_ends = true;
        m_thread.join();
    }
    void allowUntil(std::int64_t frame) { m_allowed = frame; }

private:
    void run(WritePipeline& pipeline) {
        std::vector<float> cycle(std::size_t{cycleFrames} * 2);
        for (std::int64_t next = 0; !m_ends;) {
            if (next >= m_allowed) {
                std::this_thread::yield();
                continue;
            }
            for (unsigned i = 0; i < cycleFrames; ++i) {
                cycle[std::size_t{i} * 2] = counting::left(next + i);
                cycle[std::size_t{i} * 2 + 1] = counting::right(next + i);
            }
            pipeline.capture(cycle.data(), cycleFrames * 2,
                             hostTimeFromSeconds(static_cast<double>(next) / rate), true);
            next += cycleFrames;
        }
    }

    std::atomic<bool> m_ends{false};
    std::atomic<std::int64_t> m_allowed{0};
    std::thread m_thread; // last: it uses what is above
};

class WritePipelineThread : public testing::TestWithParam<unsigned> {
protected:
    void SetUp() override { ASSERT_TRUE(pipeline.initSoundQue(rate)); }
    void awaitFrame(std::int64_t frame) const {
        while (pipeline.frameCount() < frame)
            std::this_thread::yield();
    }
    std::vector<std::int16_t> recorded() {
        const auto opened = SoundFile::openForReading(volume, path);
        EXPECT_EQ(opened.error, SoundFileError::none);
        if (opened.file == nullptr)
            return {};
        std::vector<std::int16_t> all(static_cast<std::size_t>(opened.file->byteCount()) / 2);
        opened.file->readSamples(0, all);
        return all;
    }

    TemporaryFolder folder;
    const std::string path = folder.path() + "/sound.aif";
    VirtualClock clock{QTimeZone::utc(), {}};
    RecordedSystemLog log;
    NotificationCenter notifications;
    PosixVolume volume;
    WritePipeline pipeline{clock, log, notifications};
};
} // namespace

TEST_P(WritePipelineThread, beginsEachRecordingWithTheFrameThatWasAskedFor) {
    const unsigned ratio = GetParam();
    constexpr int recordings = 40;
    constexpr int preparations = 500;
    constexpr std::int64_t length = 1600;  // frames of the device
    constexpr std::int64_t ahead = 40'000; // what the queue holds with ease
    std::int64_t stop = 0;
    std::int64_t wrong = 0;
    Producer producer(pipeline);
    for (int i = 0; i < recordings; ++i) {
        producer.allowUntil(stop + ahead);
        awaitFrame(stop + 256);
        std::int64_t first = 0;
        // Many a time, since a cycle has to come in the midst of it.
        for (int j = 0; j < preparations; ++j) {
            const std::int64_t wished = std::max(stop, pipeline.frameCount() - 5);
            producer.allowUntil(wished + ahead);
            first = pipeline.prepare(wished, ratio);
            ASSERT_EQ(first, wished - wished % ratio) << "of recording " << i;
        }
        const auto made = SoundFile::create(volume, path, rate / ratio, 2);
        ASSERT_NE(made.file, nullptr);
        pipeline.start(*made.file, {rate, rate / ratio, 2});
        stop = first + length;
        awaitFrame(stop);
        const auto account = pipeline.finish(stop, static_cast<double>(length) / rate);
        EXPECT_EQ(account.overflowCount, 0);
        EXPECT_EQ(account.frames, length);
        ASSERT_TRUE(made.file->close());
        const auto samples = recorded();
        ASSERT_EQ(static_cast<std::int64_t>(samples.size()), length / ratio * 2) << "in recording " << i;
        for (std::size_t frame = 0; frame * 2 < samples.size(); ++frame)
            wrong +=
                samples[frame * 2] != counting::low(first + static_cast<std::int64_t>(frame) * ratio) ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(Ratios, WritePipelineThread, testing::Values(1U, 2U, 4U));
