// What is played is heard at the sink's monitor, sample by sample.
#include "system/AudibleDesk.h"
#include "system/PulseHardwareFixture.h"

#include <ctime>
#include <functional>

namespace {
constexpr std::size_t rate = 44100;

/// No sample is silent, and none is like one nearby.
std::vector<std::int16_t> markedSamples(std::size_t count) {
    std::vector<std::int16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::int16_t>(1 + (i * 7919) % 32749);
    return samples;
}

HostTime monotonicTime() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<HostTime>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

/// What the server's sink played, from the first sound on.
class PlaybackHeardTest : public PulseHardwareFixture {
protected:
    void SetUp() override {
        PulseHardwareFixture::SetUp();
        if (m_server == nullptr)
            return;
        m_desk = std::make_unique<AudibleDesk>(*m_server, m_server->folder() / "desk");
        ASSERT_EQ(record(deviceWithUID("duty.monitor"), m_recorder), audioHardwareNoError);
    }
    void TearDown() override {
        if (m_server != nullptr)
            stopRecording(deviceWithUID("duty.monitor"));
        m_desk.reset();
        PulseHardwareFixture::TearDown();
    }
    /// Plays a file to its end.
    void play(const std::string& path) {
        ASSERT_FALSE(path.empty());
        m_desk->player().startPlayback(path);
        ASSERT_TRUE(m_desk->player().isOpen()) << m_desk->faults();
        const HostTime pressed = monotonicTime();
        m_desk->player().playButton().press(true);
        ASSERT_TRUE(m_desk->player().playbacking()) << m_desk->faults();
        EXPECT_TRUE(await(20.0, [this] {
            AudibleDesk::attend();
            return !m_desk->player().playButton().isOn();
        }));
        const std::size_t end = m_recorder.frames() + rate / 2; // the sink's buffer too
        EXPECT_TRUE(await(10.0, [&] { return m_recorder.frames() > end; }));
        while (m_first < m_recorder.frames() && m_recorder.sample(m_first, 0) == 0.0F)
            ++m_first;
        ASSERT_LT(m_first, m_recorder.frames()) << "nothing was heard";
        std::size_t at = 0;
        std::size_t index = 0;
        while (at + m_recorder.cycle(index).frames <= m_first)
            at += m_recorder.cycle(index++).frames;
        RecordProperty("millisecondsFromPressToSound",
                       static_cast<int>((m_recorder.cycle(index).arrival - pressed) / 1'000'000));
    }
    /// Expects that frame f is `sampleOf(f, channel)`, for `frames` frames, each of them once and nothing else.
    /// On a machine that is busy the server may run out of sound: it goes on after a silence then.
    void expectHeard(std::size_t frames,
                     const std::function<std::int16_t(std::size_t, std::uint32_t)>& sampleOf) {
        std::size_t frame = 0;
        int silent = 0;
        for (std::size_t at = m_first; at < m_recorder.frames(); ++at) {
            if (m_recorder.sample(at, 0) == 0.0F && m_recorder.sample(at, 1) == 0.0F) {
                silent += frame < frames ? 1 : 0;
                continue;
            }
            ASSERT_LT(frame, frames) << "sound after the end";
            for (std::uint32_t channel = 0; channel < 2; ++channel)
                ASSERT_EQ(m_recorder.sample(at, channel),
                          static_cast<float>(sampleOf(frame, channel)) / 32768.0F)
                    << "frame " << frame << " of " << frames << ", side " << channel;
            ++frame;
        }
        EXPECT_EQ(frame, frames) << "the end is missing";
        RecordProperty("silentFramesBetween", silent);
    }

    CycleRecorder m_recorder{2, 60 * rate};
    std::unique_ptr<AudibleDesk> m_desk;
    std::size_t m_first = 0; ///< frame of the recorder
};
} // namespace

TEST_F(PlaybackHeardTest, isEveryFrameOfAStereoFileOfTheOutputsRate) {
    const auto samples = markedSamples(3 * rate * 2);
    play(m_desk->write("_Velmoratide_20260302_090000~090003.aif", 44100.0, 2, samples));
    expectHeard(samples.size() / 2,
                [&](std::size_t frame, std::uint32_t channel) { return samples[frame * 2 + channel]; });
}

TEST_F(PlaybackHeardTest, isEachSampleOfAMonoFileOfHalfTheRate_twiceOnBothSides) {
    const auto samples = markedSamples(std::size_t{22050} * 3);
    play(m_desk->write("_Velmoratide_20260302_100000~100003.aif", 22050.0, 1, samples));
    expectHeard(samples.size() * 2, [&](std::size_t frame, std::uint32_t) { return samples[frame / 2]; });
}
