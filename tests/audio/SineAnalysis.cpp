#include "audio/SineAnalysis.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <numbers>

namespace {
using Spectrum = std::vector<std::complex<double>>;

/// Fourier transform in place; the length is a power of two.
void transform(Spectrum& values) {
    const std::size_t size = values.size();
    for (std::size_t i = 1, j = 0; i < size; ++i) {
        std::size_t bit = size >> 1;
        for (; (j & bit) != 0; bit >>= 1)
            j ^= bit;
        j ^= bit;
        if (i < j)
            std::swap(values[i], values[j]);
    }
    for (std::size_t length = 2; length <= size; length *= 2)
        for (std::size_t k = 0; k < length / 2; ++k) {
            const auto turn =
                std::polar(1.0, -2.0 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(length));
            for (std::size_t begin = k; begin < size; begin += length) {
                const auto odd = values[begin + length / 2] * turn;
                values[begin + length / 2] = values[begin] - odd;
                values[begin] += odd;
            }
        }
}

/// Power of each line of `values` under a window whose side lobes are below -90 dB.
std::vector<double> linesOf(std::span<const double> values) {
    Spectrum spectrum(values.size());
    const double step = 2.0 * std::numbers::pi / static_cast<double>(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double x = step * static_cast<double>(i);
        const double window =
            0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2.0 * x) - 0.01168 * std::cos(3.0 * x);
        spectrum[i] = values[i] * window;
    }
    transform(spectrum);
    std::vector<double> lines(values.size() / 2);
    std::ranges::transform(std::span(spectrum).first(lines.size()), lines.begin(),
                           [](std::complex<double> line) { return std::norm(line); });
    return lines;
}

double decibels(double power) {
    return 10.0 * std::log10(power);
}
} // namespace

SineAnalysis analyseSine(std::span<const float> samples, double frequency, double rate, double limit) {
    assert(std::has_single_bit(samples.size()));
    const double step = 2.0 * std::numbers::pi * frequency / rate;
    // The normal equations of samples = a sin + b cos.
    double ss = 0.0, sc = 0.0, cc = 0.0, sy = 0.0, cy = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double s = std::sin(step * static_cast<double>(i));
        const double c = std::cos(step * static_cast<double>(i));
        ss += s * s, sc += s * c, cc += c * c, sy += s * samples[i], cy += c * samples[i];
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (sy * cc - cy * sc) / determinant;
    const double b = (cy * ss - sy * sc) / determinant;

    std::vector<double> sine(samples.size());
    std::vector<double> rest(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        sine[i] = a * std::sin(step * static_cast<double>(i)) + b * std::cos(step * static_cast<double>(i));
        rest[i] = samples[i] - sine[i];
    }
    const std::vector<double> sineLines = linesOf(sine);
    const std::vector<double> restLines = linesOf(rest);
    double sinePower = 0.0;
    for (const double line : sineLines)
        sinePower += line;
    const auto last = std::min(
        restLines.size(), static_cast<std::size_t>(limit / rate * static_cast<double>(samples.size())) + 1);
    double restPower = 0.0;
    for (std::size_t line = 0; line < last; ++line)
        restPower += restLines[line];
    const double loudestSine = *std::ranges::max_element(sineLines);
    const double loudestRest =
        *std::max_element(restLines.begin(), restLines.begin() + static_cast<std::ptrdiff_t>(last));
    return {std::hypot(a, b), std::atan2(b, a), decibels(restPower / sinePower),
            decibels(loudestRest / loudestSine)};
}
