// schedule/VmReserverElement.h — one line of the timetable.
#pragma once
#include <cstdint>
#include <memory>
#include <QJsonArray>
#include <string>

class Texts;

/// A named daily time span with the recording settings to use while it runs, and optional filters by month, day
/// and weekday. A plain value: setters store without checks.
///
/// A span whose start is not before its stop runs across midnight. Not tied to a thread.
class VmReserverElement {
public:
    /// A disabled entry from 00:00 to 00:00 with the name that `texts` has for an unnamed one.
    explicit VmReserverElement(const Texts& texts);
    /// The entry that `valueArray` wrote. Nothing when `values` has fewer than 11 elements, one of another
    /// type, or a number that its field cannot hold.
    static std::unique_ptr<VmReserverElement> initWithValueArray(const QJsonArray& values);

    /// The persisted form: name, enabled, start, stop, mode, sample, channels, device, month, day, week.
    QJsonArray valueArray() const;
    std::unique_ptr<VmReserverElement> clone() const;
    /// Whether all fields but `sample` are equal.
    bool isEqualElement(const VmReserverElement& other) const;

    const std::string& name() const { return m_name; }
    std::int8_t enabled() const { return m_enabled; } ///< takes part in scheduling unless 0
    std::int32_t start() const { return m_start; }    ///< seconds since local midnight
    std::int32_t stop() const { return m_stop; }      ///< seconds since local midnight, 86400 at most
    std::int32_t mode() const { return m_mode; }      ///< 0 records always, any other value by the level
    std::int32_t sample() const { return m_sample; }  ///< index of a rate, as "SamplingRateNumber"
    std::int32_t channels() const { return m_channels; }
    std::int32_t device() const { return m_device; } ///< index of a record source
    std::int32_t month() const { return m_month; }   ///< 1 to 12, 0 is every month
    std::int32_t day() const { return m_day; }       ///< 1 to 31, 0 is every day
    std::int32_t week() const { return m_week; }     ///< 1 is Sunday, 7 is Saturday, 0 is every day

    void setName(std::string name) { m_name = std::move(name); }
    void setEnabled(std::int8_t enabled) { m_enabled = enabled; }
    void setStart(std::int32_t seconds) { m_start = seconds; }
    void setStop(std::int32_t seconds) { m_stop = seconds; }
    void setMode(std::int32_t mode) { m_mode = mode; }
    void setSample(std::int32_t sample) { m_sample = sample; }
    void setChannels(std::int32_t channels) { m_channels = channels; }
    void setDevice(std::int32_t device) { m_device = device; }
    void setMonth(std::int32_t month) { m_month = month; }
    void setDay(std::int32_t day) { m_day = day; }
    void setWeek(std::int32_t week) { m_week = week; }

    // A start is compared to the minute only, so there are no seconds of it.
    std::int32_t startHour() const { return m_start / 3600; }
    std::int32_t startMinute() const { return m_start % 3600 / 60; }
    std::int32_t stopHour() const { return m_stop / 3600; }
    std::int32_t stopMinute() const { return m_stop % 3600 / 60; }
    std::int32_t stopSecond() const { return m_stop % 60; }

private:
    VmReserverElement() = default;

    std::string m_name;
    std::int8_t m_enabled = 0;
    std::int32_t m_start = 0;
    std::int32_t m_stop = 0;
    std::int32_t m_mode = 0;
    std::int32_t m_sample = 1;
    std::int32_t m_channels = 1;
    std::int32_t m_device = 0;
    std::int32_t m_month = 0;
    std::int32_t m_day = 0;
    std::int32_t m_week = 0;
};
