// audio/hardware/pulse/PulseDeviceTable.h — the server's devices, kept up to date, under lasting IDs.
#pragma once
#include "audio/hardware/pulse/PulseDevice.h"

#include <mutex>
#include <optional>

/// A device keeps its ID for the life of the process, also while it is away.
class PulseDeviceTable {
public:
    // Any thread
    /// Takes the server's list in place of the last one. True when devices came or went.
    bool replace(const std::vector<PulseDevice>& devices);
    /// The device of `direction` that the server uses where none is named; 0 when it names none.
    AudioDeviceID defaultDevice(AudioDirection direction) const;
    void setActivePort(AudioDeviceID device, const std::string& port);

    /// Devices that are present, in the server's order, sources first.
    std::vector<AudioDeviceID> devices() const;
    /// The device, if it is present.
    std::optional<PulseDevice> find(AudioDeviceID device) const;
    /// Empty for an ID that was never given out. Names and unique IDs outlast the device's presence.
    std::string name(AudioDeviceID device) const;
    std::string uniqueId(AudioDeviceID device) const;
    bool isKnown(AudioDeviceID device) const;
    /// A port's ID, not 0; 0 for a device that was never seen. A port keeps its ID as a device does.
    std::uint32_t portId(AudioDeviceID device, const std::string& port) const;

private:
    struct Entry {
        PulseDevice device;
        std::string uniqueId;
        std::vector<std::string> portsSeen; ///< a port's ID is its place, from 1
        bool present = false;
    };
    Entry& entryFor(const PulseDevice& device, AudioDeviceID& id);
    const Entry* entry(AudioDeviceID device) const;

    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries; ///< an ID is its place, from 1
    std::vector<AudioDeviceID> m_present;
};
