#include "rehearsal/SignalFile.h"

#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"

#include <cmath>
#include <samplerate.h>

namespace {
/// The middle of what becomes `sample` when it is cut to 16 bits; silence stays silence.
float floatOf(std::int16_t sample) {
    if (sample == 0)
        return 0.0F;
    return (static_cast<float>(sample) + (sample > 0 ? 0.5F : -0.5F)) / 32767.0F;
}

std::vector<float> resampled(const std::vector<float>& samples, std::uint32_t channels, double ratio,
                             std::string& fault) {
    const auto frames = static_cast<long>(samples.size() / channels);
    const auto room = static_cast<long>(std::ceil(static_cast<double>(frames) * ratio)) + 1;
    std::vector<float> result(static_cast<std::size_t>(room) * channels);
    SRC_DATA data{};
    data.data_in = samples.data();
    data.input_frames = frames;
    data.data_out = result.data();
    data.output_frames = room;
    data.src_ratio = ratio;
    if (const int error = src_simple(&data, SRC_SINC_BEST_QUALITY, static_cast<int>(channels)); error != 0)
        fault = std::string("cannot be resampled (") + src_strerror(error) + ")";
    result.resize(static_cast<std::size_t>(data.output_frames_gen) * channels);
    return result;
}
} // namespace

SignalFile SignalFile::read(const std::string& beside, const std::string& written, double rate) {
    SignalFile signal;
    PosixVolume volume;
    const std::string path = written.starts_with('/') ? written : beside;
    if (!volume.exists(path)) {
        signal.fault = "there is no file \"" + written + "\"";
        return signal;
    }
    const SoundFile::Opened opened = SoundFile::openForReading(volume, path);
    if (opened.file == nullptr || opened.file->byteCount() == 0) {
        signal.fault = "\"" + written + "\" is no AIFF file of 16-bit sound";
        return signal;
    }
    signal.channels = opened.file->channels();
    std::vector<std::int16_t> samples(static_cast<std::size_t>(opened.file->byteCount()) / 2);
    const auto read = opened.file->readSamples(0, samples);
    if (read != static_cast<std::int64_t>(samples.size())) {
        signal.fault = "\"" + written + "\" cannot be read";
        return signal;
    }
    for (const std::int16_t sample : samples)
        signal.samples.push_back(floatOf(sample));
    if (opened.file->rate() != rate)
        signal.samples = resampled(signal.samples, signal.channels, rate / opened.file->rate(), signal.fault);
    return signal;
}
