// Finds out which frames of a noisy input a recording holds.
#pragma once
#include "audio/hardware/simulated/SimulatedSignal.h"
#include "base/Clock.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Noise never repeats: a few samples of it say which frame of the input they are. Recordings are stereo at the
/// device's rate. Keeps the first fault that it finds.
class NoiseCheck {
public:
    struct Piece {
        std::string name;
        std::int64_t first = 0;
        std::int64_t end = 0;
    };

    NoiseCheck(const Clock& clock, Date launch, const SimulatedDevice& input)
        : m_clock(clock),
          m_launch(launch),
          m_rate(input.rates.front()),
          m_signal(input.signal, 2, input.rates.front()) {}

    /// Checks the next file.
    void add(const std::string& path) {
        const std::string name = std::filesystem::path(path).filename().string();
        PosixVolume volume;
        const auto opened = SoundFile::openForReading(volume, path);
        if (opened.file == nullptr || opened.file->channels() != 2 || opened.file->frames() < probe)
            return fail(name + " cannot be read");
        std::vector<std::int16_t> samples(static_cast<std::size_t>(opened.file->byteCount()) / 2);
        opened.file->readSamples(0, samples);
        const auto first = find(name, samples);
        if (!first)
            return fail(name + " begins with no sound of the time in its name");
        const Piece piece{name, *first, *first + opened.file->frames()};
        if (!m_pieces.empty() && piece.first < m_pieces.back().end)
            fail(name + " begins before the end of " + m_pieces.back().name);
        for (std::int64_t frame = 0; frame < opened.file->frames(); frame += blockFrames)
            compare(piece, frame, samples);
        m_pieces.push_back(piece);
    }
    const std::string& fault() const { return m_fault; }
    const std::vector<Piece>& pieces() const { return m_pieces; }
    /// Runs of files that follow one another without a gap.
    std::vector<Piece> runs() const {
        std::vector<Piece> merged;
        for (const Piece& piece : m_pieces) {
            if (!merged.empty() && merged.back().end == piece.first)
                merged.back().end = piece.end;
            else
                merged.push_back(piece);
        }
        return merged;
    }
    double rate() const { return m_rate; }

private:
    static constexpr std::int64_t probe = 16;
    static constexpr std::int64_t blockFrames = 4096;

    void fail(const std::string& what) {
        if (m_fault.empty())
            m_fault = what;
    }
    /// What the input hears, as 16-bit samples.
    std::vector<std::int16_t> heard(std::int64_t first, std::int64_t frames) const {
        std::vector<float> sound(static_cast<std::size_t>(frames) * 2);
        m_signal.render(static_cast<std::uint64_t>(first), static_cast<std::uint32_t>(frames), sound.data());
        std::vector<std::int16_t> samples(sound.size());
        std::transform(sound.begin(), sound.end(), samples.begin(), [](float sample) {
            return static_cast<std::int16_t>(std::trunc(static_cast<double>(sample) * 32767.0));
        });
        return samples;
    }
    std::optional<std::int64_t> find(const std::string& name, const std::vector<std::int16_t>& samples) const {
        CalendarDate local;
        if (std::sscanf(name.c_str() + 13, "%4d%2d%2d_%2d%2d%2d~", &local.year, &local.month, &local.day,
                        &local.hour, &local.minute, &local.second) != 6)
            return std::nullopt;
        const double seconds = m_clock.dateFromLocal(local).secondsSince(m_launch);
        const auto from = std::max<std::int64_t>(std::llround((seconds - 1.0) * m_rate), 0);
        const auto window = heard(from, std::llround(3.0 * m_rate));
        const auto found =
            std::search(window.begin(), window.end(), samples.begin(), samples.begin() + probe * 2);
        if (found == window.end())
            return std::nullopt;
        return from + (found - window.begin()) / 2;
    }
    void compare(const Piece& piece, std::int64_t frame, const std::vector<std::int16_t>& samples) {
        const std::int64_t count = std::min(blockFrames, piece.end - piece.first - frame);
        const auto expected = heard(piece.first + frame, count);
        const auto wrong = std::mismatch(expected.begin(), expected.end(), samples.begin() + frame * 2).first;
        if (wrong != expected.end())
            fail(piece.name + " does not hold the sound of device frame " +
                 std::to_string(piece.first + frame + (wrong - expected.begin()) / 2));
    }

    const Clock& m_clock;
    const Date m_launch;
    const double m_rate;
    const SimulatedSignal m_signal;
    std::string m_fault;
    std::vector<Piece> m_pieces;
};
