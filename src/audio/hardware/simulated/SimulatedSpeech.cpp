#include "audio/hardware/simulated/SimulatedSpeech.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>

namespace {
constexpr double loopSeconds = 20.0;

/// A small generator of its own: those of the library may differ between platforms.
class Dice {
public:
    double between(double low, double high) {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return low + (high - low) * static_cast<double>(m_state >> 11) * 0x1p-53;
    }
    std::size_t below(std::size_t count) {
        return static_cast<std::size_t>(between(0.0, static_cast<double>(count)));
    }

private:
    std::uint64_t m_state = 20220307;
};

/// Hz of the first three formants of a, e, i, o, u.
constexpr std::array<std::array<double, 3>, 5> vowels{{
    {730.0, 1090.0, 2440.0},
    {530.0, 1840.0, 2480.0},
    {270.0, 2290.0, 3010.0},
    {570.0, 840.0, 2410.0},
    {300.0, 870.0, 2240.0},
}};

/// Response of a formant of `centre` and `width` Hz at `frequency`.
double resonance(double frequency, double centre, double width) {
    const double distance = (frequency - centre) / width;
    return 1.0 / std::sqrt(1.0 + distance * distance);
}

void addHarmonic(std::span<float> syllable, double rate, double pitch, unsigned number, double level) {
    // The pitch falls by a tenth over a syllable, as in plain statements.
    const double length = static_cast<double>(syllable.size());
    double phase = 0.0;
    for (std::size_t i = 0; i < syllable.size(); ++i) {
        const double fall = 1.0 - 0.1 * static_cast<double>(i) / length;
        phase += 2.0 * std::numbers::pi * pitch * number * fall / rate;
        syllable[i] += static_cast<float>(level * std::sin(phase));
    }
}

/// Adds one syllable whose peak is `peak`.
void speakSyllable(std::span<float> syllable, double rate, double pitch, const std::array<double, 3>& formants,
                   double peak) {
    for (unsigned number = 1; number * pitch < std::min(4000.0, rate / 2.2); ++number) {
        const double frequency = number * pitch;
        const double level = resonance(frequency, formants[0], 90.0) +
                             0.5 * resonance(frequency, formants[1], 110.0) +
                             0.25 * resonance(frequency, formants[2], 170.0);
        addHarmonic(syllable, rate, pitch, number, level / std::sqrt(number));
    }
    const double length = static_cast<double>(syllable.size());
    float loudest = 1e-9F;
    for (std::size_t i = 0; i < syllable.size(); ++i) {
        syllable[i] *= static_cast<float>(std::sin(std::numbers::pi * static_cast<double>(i) / length));
        loudest = std::max(loudest, std::abs(syllable[i]));
    }
    for (float& sample : syllable)
        sample *= static_cast<float>(peak) / loudest;
}
} // namespace

std::vector<float> simulatedSpeech(double rate) {
    std::vector<float> voice(static_cast<std::size_t>(loopSeconds * rate), 0.0F);
    Dice dice;
    const auto frames = [rate](double seconds) { return static_cast<std::size_t>(seconds * rate); };
    std::size_t at = frames(0.3);
    while (true) {
        const std::size_t syllables = 2 + dice.below(5);
        const double pitch = dice.between(105.0, 150.0);
        for (std::size_t i = 0; i < syllables; ++i) {
            const std::size_t length = frames(dice.between(0.12, 0.26));
            if (at + length > voice.size())
                return voice;
            speakSyllable(std::span(voice).subspan(at, length), rate, pitch * dice.between(0.92, 1.1),
                          vowels[dice.below(vowels.size())], dice.between(0.3, 0.6));
            at += length + frames(dice.between(0.01, 0.05));
        }
        at += frames(dice.below(4) == 0 ? dice.between(1.2, 2.4) : dice.between(0.25, 0.6));
    }
}
