// A simulated desk with a marker sound of its own.
#pragma once
#include "recorder/SoundFolder.h"
#include "support/DeskOfATest.h"

#include <algorithm>

inline constexpr CalendarDate beforeTen{
    .year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 58, .second = 20};

inline SimulatedDevice silentInput(double rate, std::uint32_t channels = 2) {
    SimulatedDevice device = countingInput();
    device.rates = {rate};
    device.channels = channels;
    device.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::silence}};
    return device;
}

/// A desk with the sound "Test" in the person's folder: a quarter of a second of 1000, its first 5 ms twice as
/// loud.
class MarkedDesk : public Desk {
public:
    MarkedDesk(std::vector<RehearsalDesk::Setting> settings, std::vector<SimulatedDevice> devices,
               const CalendarDate& start, bool isLaunched = true)
        : Desk(with(std::move(settings)), std::move(devices), start) {
        std::vector<std::int16_t> samples(2000, 1000);
        std::fill_n(samples.begin(), 40, std::int16_t{2000});
        sounds.writeAiff("Test.aiff", 8000, 1, samples);
        if (isLaunched)
            desk.launch();
    }
    void record(double seconds) {
        recorder().recordButton().press(true);
        desk.runFor(seconds);
        recorder().recordButton().press(false);
        desk.runFor(2.0);
    }
    /// When markers begin: seconds since the first recording's start date. `channels` of the recordings.
    std::vector<double> onsets(int channels = 1) const {
        std::vector<double> found;
        double before = 0.0;
        for (const std::string& name : recordings()) {
            const auto all = samples(name);
            const double rate = desk.controler->recorder().sampleRate();
            bool isLoud = false;
            for (std::size_t i = 0; i < all.size(); i += static_cast<std::size_t>(channels)) {
                if (all[i] > 1500 && !isLoud)
                    found.push_back(before + static_cast<double>(i) / channels / rate);
                isLoud = all[i] > 1500;
            }
            before += static_cast<double>(all.size()) / channels / rate;
        }
        return found;
    }

    SoundFolder sounds{desk.folder + "/sounds"};

private:
    static std::vector<RehearsalDesk::Setting> with(std::vector<RehearsalDesk::Setting> settings) {
        std::vector<RehearsalDesk::Setting> all{{"SamplingRateNumber", 2},
                                                {"ChannelsNumber", 1},
                                                {"MarkerSoundSwitch", true},
                                                {"MarkerSoundName", "Test"}};
        all.insert(all.end(), settings.begin(), settings.end());
        return all;
    }
};
