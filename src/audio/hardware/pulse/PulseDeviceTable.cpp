#include "audio/hardware/pulse/PulseDeviceTable.h"

#include <algorithm>

bool PulseDeviceTable::replace(const std::vector<PulseDevice>& devices) {
    const std::lock_guard guard(m_mutex);
    for (Entry& known : m_entries)
        known.present = false;
    std::vector<AudioDeviceID> present;
    for (const PulseDevice& device : devices) {
        AudioDeviceID id = 0;
        Entry& known = entryFor(device, id);
        known.device = device;
        known.present = true;
        for (const PulsePort& port : device.ports)
            if (std::find(known.portsSeen.begin(), known.portsSeen.end(), port.name) == known.portsSeen.end())
                known.portsSeen.push_back(port.name);
        present.push_back(id);
    }
    const bool changed = present != m_present;
    m_present = std::move(present);
    return changed;
}

PulseDeviceTable::Entry& PulseDeviceTable::entryFor(const PulseDevice& device, AudioDeviceID& id) {
    std::string uniqueId = device.name;
    for (std::size_t index = 0; index < m_entries.size(); ++index) {
        Entry& known = m_entries[index];
        if (known.device.name != device.name)
            continue;
        if (known.device.direction == device.direction) {
            id = static_cast<AudioDeviceID>(index + 1);
            return known;
        }
        // Some servers give the two halves of a duplex device one name.
        uniqueId = (device.direction == AudioDirection::input ? "source:" : "sink:") + device.name;
    }
    m_entries.push_back({device, std::move(uniqueId), {}, false});
    id = static_cast<AudioDeviceID>(m_entries.size());
    return m_entries.back();
}

const PulseDeviceTable::Entry* PulseDeviceTable::entry(AudioDeviceID device) const {
    return device == 0 || device > m_entries.size() ? nullptr : &m_entries[device - 1];
}

AudioDeviceID PulseDeviceTable::defaultDevice(AudioDirection direction) const {
    const std::lock_guard guard(m_mutex);
    const auto found = std::ranges::find_if(m_present, [&](AudioDeviceID present) {
        const PulseDevice& device = m_entries[present - 1].device;
        return device.isDefault && device.direction == direction;
    });
    return found == m_present.end() ? 0 : *found;
}

void PulseDeviceTable::setActivePort(AudioDeviceID device, const std::string& port) {
    const std::lock_guard guard(m_mutex);
    if (device != 0 && device <= m_entries.size())
        m_entries[device - 1].device.activePort = port;
}

std::vector<AudioDeviceID> PulseDeviceTable::devices() const {
    const std::lock_guard guard(m_mutex);
    return m_present;
}

std::optional<PulseDevice> PulseDeviceTable::find(AudioDeviceID device) const {
    const std::lock_guard guard(m_mutex);
    const Entry* known = entry(device);
    if (known == nullptr || !known->present)
        return std::nullopt;
    return known->device;
}

std::string PulseDeviceTable::name(AudioDeviceID device) const {
    const std::lock_guard guard(m_mutex);
    const Entry* known = entry(device);
    return known == nullptr ? std::string() : known->device.description;
}

std::string PulseDeviceTable::uniqueId(AudioDeviceID device) const {
    const std::lock_guard guard(m_mutex);
    const Entry* known = entry(device);
    return known == nullptr ? std::string() : known->uniqueId;
}

bool PulseDeviceTable::isKnown(AudioDeviceID device) const {
    const std::lock_guard guard(m_mutex);
    return entry(device) != nullptr;
}

std::uint32_t PulseDeviceTable::portId(AudioDeviceID device, const std::string& port) const {
    const std::lock_guard guard(m_mutex);
    const Entry* known = entry(device);
    if (known == nullptr)
        return 0;
    const auto place = std::find(known->portsSeen.begin(), known->portsSeen.end(), port);
    return place == known->portsSeen.end() ? 0
                                           : static_cast<std::uint32_t>(place - known->portsSeen.begin()) + 1;
}
