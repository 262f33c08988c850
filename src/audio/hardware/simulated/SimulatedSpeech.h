// audio/hardware/simulated/SimulatedSpeech.h — a voice for demonstrations.
#pragma once
#include <vector>

/// Twenty seconds of one channel at `rate` Hz that can be played in a loop: words of a few syllables, each a
/// burst of voice harmonics shaped by three formants, with pauses between; peaks of 0.3 to 0.6. Always the
/// same.
std::vector<float> simulatedSpeech(double rate);
