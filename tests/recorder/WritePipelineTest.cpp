#include "recorder/WritePipeline.h"

#include "base/NotificationCenter.h"
#include "recorder/SampleConversion.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/ScriptedVolume.h"
#include "rehearsal/VirtualClock.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "support/Counting.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace {
/// A pipeline fed with the counting signal in virtual time.
class Rig {
public:
    explicit Rig(double deviceRate = 44100.0, unsigned cycleFrames = 512)
        : rate(deviceRate), frames(cycleFrames) {
        EXPECT_TRUE(pipeline.initSoundQue(rate));
        cycle.resize(std::size_t{frames} * 2);
        beat = clock.startBeat("device", dueOf(frames), [this] { return deliver(); });
        observation = notifications.observe(VmLogEventNotification, [this](const Notification& event) {
            const auto text = event.userInfo.find(std::string(ErrorMessageString));
            events.push_back(event.object + ": " + (text == event.userInfo.end() ? "" : text->second));
        });
    }
    ~Rig() { beat.reset(); }

    void runFor(double seconds) {
        clock.runUntil(clock.hostTime() + hostTimeFromSeconds(seconds), [] { return false; });
    }
    void start(double fileRate, int channels, double prior = 0.0) {
        startTime = clock.hostTime();
        deliveredAtStart = delivered;
        const std::int64_t present = pipeline.frameAt(startTime);
        const auto wished = present - static_cast<std::int64_t>(prior * rate);
        priorTaken = std::max(
            0.0,
            static_cast<double>(present - pipeline.prepare(wished, static_cast<unsigned>(rate / fileRate))) /
                rate);
        file =
            SoundFile::create(volume, folder.path() + "/sound.aif", fileRate, static_cast<unsigned>(channels))
                .file;
        ASSERT_NE(file, nullptr);
        pipeline.start(*file, {rate, fileRate, channels});
        recording = true;
    }
    WritePipeline::Account stop() {
        const HostTime now = clock.hostTime();
        const auto account =
            pipeline.finish(pipeline.frameAt(now), static_cast<double>(now - startTime) * 1e-9);
        deliveredAtStop = delivered;
        recording = false;
        closed = file->close();
        file.reset();
        return account;
    }
    std::vector<std::int16_t> samples() {
        const auto opened = SoundFile::openForReading(files, folder.path() + "/sound.aif");
        EXPECT_EQ(opened.error, SoundFileError::none);
        if (opened.file == nullptr)
            return {};
        std::vector<std::int16_t> all(static_cast<std::size_t>(opened.file->byteCount()) / 2);
        EXPECT_EQ(opened.file->readSamples(0, all), static_cast<std::int64_t>(all.size()));
        return all;
    }
    bool hasEvent(const std::string& event) const {
        return std::find(events.begin(), events.end(), event) != events.end();
    }
    /// Of the last recording, whole cycles.
    double capturedSeconds() const { return static_cast<double>(deliveredAtStop - deliveredAtStart) / rate; }
    std::int64_t frameAt(HostTime time) const { return std::llround(static_cast<double>(time) * 1e-9 * rate); }

    const double rate;
    const unsigned frames;
    TemporaryFolder folder;
    VirtualClock clock{QTimeZone::utc(), {}};
    RecordedSystemLog log;
    NotificationCenter notifications;
    std::vector<std::string> events;
    NotificationCenter::Observation observation;
    PosixVolume files;
    ScriptedVolume volume{files, clock};
    WritePipeline pipeline{clock, log, notifications};
    std::unique_ptr<SoundFile> file;
    std::unique_ptr<Beat> beat;
    bool recording = false;
    bool closed = false;
    HostTime startTime = 0;
    double priorTaken = 0.0;

private:
    HostTime dueOf(std::int64_t frame) const {
        return static_cast<HostTime>(std::ceil(static_cast<double>(frame) / rate * 1e9));
    }
    HostTime deliver() {
        const std::int64_t first = delivered;
        for (std::size_t frame = 0; frame < frames; ++frame, ++delivered) {
            cycle[frame * 2] = counting::left(delivered);
            cycle[frame * 2 + 1] = counting::right(delivered);
        }
        {
            const RealtimeScope scope;
            pipeline.capture(cycle.data(), frames * 2, dueOf(first), recording);
        }
        return dueOf(delivered + frames);
    }

    std::vector<float> cycle;
    std::int64_t delivered = 0;
    std::int64_t deliveredAtStart = 0;
    std::int64_t deliveredAtStop = 0;
};
} // namespace

TEST(SampleConversion, truncatesTowardZeroAndWrapsBeyondFullScale) {
    EXPECT_EQ(sampleFromFloat(0.0F), 0);
    EXPECT_EQ(sampleFromFloat(1.0F), 32767);
    EXPECT_EQ(sampleFromFloat(-1.0F), -32767);
    EXPECT_EQ(sampleFromFloat(0.9999F), static_cast<std::int16_t>(0.9999F * 32767.0));
    EXPECT_EQ(sampleFromFloat(-0.00002F), 0);
    EXPECT_EQ(sampleFromFloat(1.5F), -16386);
    EXPECT_EQ(sampleFromFloat(-1.5F), 16386);
    EXPECT_EQ(sampleFromFloat(std::nanf("")), sampleFromFloat(-1e30F));
}

TEST(SampleConversion, givesBackEveryCountOfTheCountingSignal) {
    for (std::int64_t frame = 0; frame < counting::period; ++frame)
        ASSERT_EQ(sampleFromFloat(counting::left(frame)), frame);
}

TEST(SampleConversion, takesTheRightChannelRatioSamplesAfterTheLeft) {
    const float in[] = {0.1F, -0.1F, 0.2F, -0.2F, 0.3F, -0.3F, 0.4F, -0.4F};
    std::int16_t out[4];
    reduceToFile(in, 2, 2, 2, out);
    EXPECT_EQ(out[0], sampleFromFloat(0.1F));
    EXPECT_EQ(out[1], sampleFromFloat(0.2F)); // the next frame's left sample
    EXPECT_EQ(out[2], sampleFromFloat(0.3F));
    EXPECT_EQ(out[3], sampleFromFloat(0.4F));
    reduceToFile(in, 1, 4, 2, out);
    EXPECT_EQ(out[1], sampleFromFloat(0.3F));
    reduceToFile(in, 4, 1, 1, out);
    EXPECT_EQ(out[3], sampleFromFloat(0.4F));
}

TEST(WritePipeline, queueHoldsEightySecondsOfStereoFloats) {
    EXPECT_EQ(WritePipeline::preBufferSizeAtRate(44100.0), 28'224'000U);
    EXPECT_EQ(WritePipeline::preBufferSizeAtRate(-1.0), 0U);
    EXPECT_EQ(WritePipeline::preBufferSizeAtRate(1e9), 4294967295U);
}

TEST(WritePipeline, writesEveryFrameOnceBetweenStartAndStop) {
    for (const unsigned cycle : {14U, 441U, 512U, 4096U}) {
        Rig rig(44100.0, cycle);
        rig.runFor(3.217);
        rig.start(44100.0, 2);
        rig.runFor(21.4321);
        const HostTime stop = rig.clock.hostTime();
        rig.stop();
        const auto samples = rig.samples();
        EXPECT_EQ(samples.size() / 2, static_cast<std::size_t>(rig.frameAt(stop) - rig.frameAt(rig.startTime)));
        EXPECT_EQ(counting::breaks(samples, rig.frameAt(rig.startTime)), 0) << cycle;
        EXPECT_TRUE(rig.events.empty());
    }
}

TEST(WritePipeline, keepsTheDecimationPhaseOverBlocksOfAnySize) {
    for (const unsigned ratio : {2U, 4U}) {
        Rig rig(44100.0, 441);
        rig.runFor(1.0);
        rig.start(44100.0 / ratio, 1);
        rig.runFor(33.3333);
        rig.stop();
        const auto samples = rig.samples();
        ASSERT_GT(samples.size(), 33.3 * 44100.0 / ratio);
        for (std::size_t i = 1; i < samples.size(); ++i)
            ASSERT_EQ((samples[i] - samples[i - 1] + counting::period) % counting::period, ratio) << i;
    }
}

TEST(WritePipeline, joinsTwoRecordingsWithoutLossOrOverlap) {
    Rig rig(44100.0, 441);
    rig.runFor(1.0);
    rig.start(22050.0, 1);
    rig.runFor(7.7);
    rig.stop(); // the stop itself takes time, in which sound goes on
    const auto first = rig.samples();
    rig.start(22050.0, 1, 30.0); // reaches back as far as the first one lets it
    rig.runFor(7.7);
    rig.stop();
    const auto second = rig.samples();
    EXPECT_EQ((second.front() - first.back() + counting::period) % counting::period, 2);
}

TEST(WritePipeline, takesThePriorSecondsFromTheQueue) {
    Rig rig;
    rig.runFor(10.0);
    rig.start(44100.0, 2, 3.0);
    EXPECT_DOUBLE_EQ(rig.priorTaken, 3.0);
    rig.runFor(2.0);
    rig.stop();
    const auto samples = rig.samples();
    EXPECT_EQ(samples.size() / 2, 5U * 44100U);
    EXPECT_EQ(counting::breaks(samples, 7 * 44100), 0);
}

TEST(WritePipeline, takesNoMorePriorSecondsThanThereAre) {
    Rig rig;
    rig.runFor(1.0);
    rig.start(44100.0, 2, 3.0);
    EXPECT_DOUBLE_EQ(rig.priorTaken, 1.0);
    rig.runFor(2.0);
    rig.stop();
    EXPECT_EQ(counting::breaks(rig.samples(), 0), 0);
}

TEST(WritePipeline, writesAShortRecordingByTheFinalFlushAlone) {
    Rig rig;
    rig.runFor(1.0);
    rig.start(44100.0, 2);
    rig.runFor(0.5);
    EXPECT_EQ(rig.file->byteCount(), 0);
    const auto account = rig.stop();
    EXPECT_EQ(account.writeCount, 0.5 * 44100 * 4);
    EXPECT_EQ(rig.samples().size(), 44100U);
}

TEST(WritePipeline, writesAboutEveryFiveSeconds) {
    Rig rig;
    rig.runFor(1.0);
    rig.start(44100.0, 2);
    rig.runFor(4.9);
    EXPECT_EQ(rig.file->byteCount(), 0);
    rig.runFor(0.2);
    EXPECT_NEAR(static_cast<double>(rig.file->byteCount()), 5.0 * 44100 * 4, 1024 * 4);
    rig.stop();
}

TEST(WritePipeline, endsTheWriteThreadWithinASecondOfTheStop) {
    Rig rig;
    rig.runFor(1.0);
    rig.start(44100.0, 2);
    rig.runFor(1.3);
    EXPECT_TRUE(rig.pipeline.fileWriteing());
    const HostTime before = rig.clock.hostTime();
    rig.stop();
    EXPECT_FALSE(rig.pipeline.fileWriteing());
    EXPECT_LE(rig.clock.hostTime() - before, hostTimeFromSeconds(1.1));
}

TEST(WritePipeline, losesNothing_whenTheDiskStallsForAMinute) {
    Rig rig;
    rig.runFor(1.0);
    rig.start(44100.0, 2);
    rig.runFor(4.0);
    rig.volume.setWriteSeconds(60.0);
    rig.runFor(2.0);
    rig.volume.setWriteSeconds(0.0); // from the next block on
    rig.runFor(75.0);
    rig.stop();
    EXPECT_EQ(counting::breaks(rig.samples(), 44100), 0);
    EXPECT_EQ(rig.samples().size() / 2, 81U * 44100U);
    EXPECT_TRUE(rig.events.empty());
}

TEST(WritePipeline, keepsTheNewestEightySecondsAndReportsTheRest_whenTheDiskStallsForLonger) {
    Rig rig;
    rig.runFor(1.0);
    rig.start(44100.0, 2);
    rig.runFor(4.0);
    rig.volume.setWriteSeconds(100.0);
    rig.runFor(2.0);
    rig.volume.setWriteSeconds(0.0);
    rig.runFor(
        102.0); // the stalled block was taken 5 s into the recording, the next one 106 s into it or later
    const auto account = rig.stop();
    const auto samples = rig.samples();

    // One break, where the oldest sound was overwritten; before and after it every frame follows the last.
    EXPECT_EQ(counting::breaks(samples, 44100), 1);
    std::size_t gap = 2;
    while (gap < samples.size() && counting::frameOf(samples[gap], samples[gap + 1]) ==
                                       counting::frameOf(samples[gap - 2], samples[gap - 1]) + 1)
        gap += 2;
    ASSERT_LT(gap, samples.size());
    const std::int64_t lost = counting::frameOf(samples[gap], samples[gap + 1]) -
                              counting::frameOf(samples[gap - 2], samples[gap - 1]) - 1;
    EXPECT_GT(lost, 0);
    EXPECT_EQ(account.overflowCount, lost * 8);
    EXPECT_EQ(static_cast<std::int64_t>(samples.size() / 2) + lost, 108 * 44100);
    const std::string text = "VmRecorder: sound que buffer overflow " + std::to_string(lost * 8) + " bytes.";
    EXPECT_TRUE(rig.hasEvent("SomeErrorHappen: " + text));
    EXPECT_EQ(rig.log.lines(), std::vector<std::string>{text});
}

TEST(WritePipeline, countsNoOverflowBeforeARecording) {
    Rig rig;
    rig.runFor(200.0);
    rig.start(44100.0, 2);
    rig.runFor(7.0);
    EXPECT_EQ(rig.stop().overflowCount, 0);
    EXPECT_TRUE(rig.events.empty());
}

TEST(WritePipeline, endsAfterAWriteErrorAndKeepsWhatWasWrittenReadable) {
    Rig rig;
    bool told = false;
    rig.pipeline.setErrorHandler([&told] { told = true; });
    rig.runFor(1.0);
    rig.start(44100.0, 2);
    rig.runFor(7.0);
    rig.volume.setWriteError(true);
    rig.runFor(5.0);
    EXPECT_TRUE(told);
    EXPECT_TRUE(rig.pipeline.writeThreadError());
    EXPECT_FALSE(rig.pipeline.fileWriteing());
    const std::vector<std::string> twice(2, "VmRecorder: audio file write error.");
    EXPECT_EQ(rig.log.lines(), twice);
    rig.stop();
    EXPECT_EQ(counting::breaks(rig.samples(), 44100), 0);
    const double kept = static_cast<double>(rig.samples().size() / 2) / 44100.0;
    EXPECT_NEAR(kept, 5.0, 512.0 / 44100.0);
    // The input figure depends on how long the last block was tried.
    char lost[80];
    std::snprintf(lost, sizeof lost, ", write=%fseconds", 12.0 - kept);
    EXPECT_TRUE(rig.events.back().starts_with("SomeReportHappen: VmRecorder: data lost input=-")) << lost;
    EXPECT_TRUE(rig.events.back().ends_with(lost)) << rig.events.back();
}

TEST(WritePipeline, writesTheFailedBlockAfterAll_whenTheDiskHasRecovered) {
    Rig rig;
    rig.runFor(1.0);
    rig.start(44100.0, 2);
    rig.runFor(7.0);
    rig.volume.setWriteError(true);
    rig.runFor(5.0);
    EXPECT_TRUE(rig.pipeline.writeThreadError());
    rig.volume.setWriteError(false);
    rig.stop();
    EXPECT_EQ(counting::breaks(rig.samples(), 44100), 0);
    EXPECT_EQ(rig.samples().size() / 2, 12U * 44100U);
}

TEST(WritePipeline, mixesAnArmedMarkerIntoTheInterleavedStream) {
    Rig rig;
    rig.pipeline.marker().setSound({1000, 2000, 3000});
    rig.runFor(1.0);
    rig.start(44100.0, 2);
    rig.runFor(1.0);
    rig.pipeline.marker().arm();
    rig.runFor(1.0);
    rig.stop();
    EXPECT_EQ(rig.pipeline.marker().writeMarker(), 0);
    const auto samples = rig.samples();
    // Three samples of the stream, left, right, left, are louder by the marker; all others are untouched.
    std::vector<std::size_t> changed;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::int64_t frame = 44100 + static_cast<std::int64_t>(i / 2);
        if (samples[i] != (i % 2 == 0 ? counting::low(frame) : counting::high(frame)))
            changed.push_back(i);
    }
    ASSERT_EQ(changed.size(), 3U);
    EXPECT_EQ(changed[0] % 2, 0U);
    EXPECT_EQ(changed[2], changed[0] + 2);
    const std::int64_t frame = 44100 + static_cast<std::int64_t>(changed[0] / 2);
    EXPECT_NEAR(samples[changed[0]], counting::low(frame) + 1000, 1);
    EXPECT_NEAR(samples[changed[1]], counting::high(frame) + 2000, 1);
}
