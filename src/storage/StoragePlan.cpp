#include "storage/StoragePlan.h"

#include <cmath>

namespace {
/// Whole bytes. The share of a header per second is no round number: what it lacks when it is multiplied again
/// is no byte less.
double wholeBytes(double bytes) {
    constexpr double rounding = 1e-12;
    return std::floor(bytes * (1.0 + rounding));
}
} // namespace

double StoragePlan::needPerSecond() const {
    return m_choice.rate * m_choice.channels * bytesPerSample;
}

double StoragePlan::needRecordSpacePerSecond() const {
    const double length = m_choice.maxRecordTime;
    return (m_choice.rate * length * m_choice.channels * bytesPerSample + headerBytes) / length;
}

double StoragePlan::needRecordSpace() const {
    return m_choice.maxRecordTime * needRecordSpacePerSecond();
}

double StoragePlan::needTotalSpace() const {
    return m_choice.maxTotalDays * secondsPerDay / m_choice.maxRecordTime * needRecordSpace();
}

double StoragePlan::reserveSpace(double maxTotalTime, double presentTotalTime) const {
    return (maxTotalTime - presentTotalTime) * needPerSecond();
}

long StoragePlan::freeHours(double freeSpace) const {
    if (!(m_choice.rate > 0.0))
        return 0;
    return static_cast<long>(freeSpace / needRecordSpacePerSecond() / 3600.0 + 0.5);
}

bool StoragePlan::isRecordTooBig(double freeSpace) const {
    return freeSpace / 2.0 < wholeBytes(needRecordSpacePerSecond() * m_choice.maxRecordTime);
}

bool StoragePlan::isTotalTooLong(double freeSpace) const {
    return freeSpace < wholeBytes(needRecordSpacePerSecond() * m_choice.maxTotalDays * secondsPerDay);
}

double StoragePlan::maxKeepTimeWithReserveSpace(const KeepRoom& room, double needPerSecond,
                                                double compressRatio) {
    if (!(needPerSecond > 0.0) || !(compressRatio > 0.0))
        return 0.0;
    return (room.freeSpace - room.reserveSpace + room.totalKeepSpace) / needPerSecond / compressRatio;
}
