// storage/FileRate.h — the setting "SamplingRateNumber".
#pragma once

/// What a rate number makes of the record device's rate. Any thread.
struct FileRate {
    /// Every how many frames one is written.
    static constexpr unsigned decimation(int rateNumber) {
        return rateNumber == 0 ? 4 : rateNumber == 1 ? 2 : 1;
    }
    /// Hz of the file for `recordSampleRate` Hz of the device.
    static constexpr double of(double recordSampleRate, int rateNumber) {
        return recordSampleRate / decimation(rateNumber);
    }
};
