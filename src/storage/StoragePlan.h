// storage/StoragePlan.h — how much disk space a choice of recording settings needs.
#pragma once

/// The figures behind the preferences. Plain arithmetic in double precision; a rate of 0 needs nothing. Any
/// thread.
class StoragePlan {
public:
    /// What is chosen.
    struct Choice {
        double rate = 0.0;           ///< Hz
        int channels = 1;            ///< 1 or 2
        double maxRecordTime = 3600; ///< seconds, above 0
        double maxTotalDays = 1.0;   ///< days
    };
    static constexpr double headerBytes = 4096.0;
    static constexpr double bytesPerSample = 2.0;
    static constexpr double secondsPerDay = 86400.0;
    static constexpr double bytesPerGigabyte = 1073741824.0;

    explicit StoragePlan(const Choice& choice) : m_choice(choice) {}

    /// Bytes per second of sound.
    double needPerSecond() const;
    /// Bytes per second with the share of the header of a file of full length.
    double needRecordSpacePerSecond() const;
    /// Bytes of one file of full length.
    double needRecordSpace() const;
    /// Bytes of the whole total time.
    double needTotalSpace() const;
    /// Bytes that are still to be filled: `maxTotalTime` is allowed, `presentTotalTime` is there (seconds).
    double reserveSpace(double maxTotalTime, double presentTotalTime) const;
    /// Whole hours of sound for which `freeSpace` (bytes) lasts, rounded; 0 when nothing is needed.
    long freeHours(double freeSpace) const;

    /// Whether one file of full length takes more than half of `freeSpace` (bytes).
    bool isRecordTooBig(double freeSpace) const;
    /// Whether the whole total time takes more than `freeSpace` (bytes).
    bool isTotalTooLong(double freeSpace) const;

    struct KeepRoom {
        double freeSpace = 0.0;      ///< bytes on the volume of the keep folder
        double reserveSpace = 0.0;   ///< bytes that the recordings will still take
        double totalKeepSpace = 0.0; ///< bytes that the kept files take
    };
    /// Seconds of sound that the keep folder can hold; 0 when `needPerSecond` (bytes) or `compressRatio` is.
    static double maxKeepTimeWithReserveSpace(const KeepRoom& room, double needPerSecond, double compressRatio);

private:
    Choice m_choice;
};
