// audio/SineAnalysis.h — what a signal holds beside one sine.
#pragma once
#include <complex>
#include <span>
#include <vector>

struct SineAnalysis {
    double amplitude = 0.0;
    double phase = 0.0; ///< radians, of the first sample
    /// Everything but the sine, from 0 Hz to the limit, as a level below the sine's, in dB.
    double rest = 0.0;
    /// The loudest single line of it, in dB below the sine.
    double loudestLine = 0.0;
};

/// Fits a sine of exactly `frequency` Hz by least squares, in double precision, and measures what is left over
/// up to `limit` Hz. `samples` is a power of two long.
SineAnalysis analyseSine(std::span<const float> samples, double frequency, double rate, double limit = 20000.0);
