#include "recorder/MarkerMixer.h"

#include <algorithm>

void MarkerMixer::setSound(std::vector<std::int16_t> samples) {
    auto sound = std::make_unique<Sound>();
    sound->samples = std::move(samples);
    m_sounds.push_back(std::move(sound));
    // Sequentially consistent, as is what the I/O thread does: either it sees the new sound, or it is seen
    // here.
    m_sound.store(m_sounds.back().get());
    const Sound* const read = m_read.load();
    std::erase_if(m_sounds, [this, read](const std::unique_ptr<Sound>& each) {
        return each.get() != read && each != m_sounds.back();
    });
}

void MarkerMixer::arm(std::int64_t notBefore, unsigned repeats) {
    if (m_sounds.empty())
        return;
    Sound& sound = *m_sounds.back();
    const auto size = static_cast<std::uint32_t>(sound.samples.size());
    sound.notBefore.store(notBefore, std::memory_order_relaxed);
    sound.rest.store(size == 0 ? Rest() : Rest{size, static_cast<std::uint8_t>(repeats), 0, ++m_arming},
                     std::memory_order_release);
}

void MarkerMixer::disarm() {
    if (!m_sounds.empty())
        m_sounds.back()->rest.store(Rest(), std::memory_order_release);
}

std::int32_t MarkerMixer::writeMarker() const {
    return m_sounds.empty()
               ? 0
               : static_cast<std::int32_t>(m_sounds.back()->rest.load(std::memory_order_relaxed).samples);
}

std::int32_t MarkerMixer::markerSize() const {
    return m_sounds.empty() ? 0 : static_cast<std::int32_t>(m_sounds.back()->samples.size());
}

bool MarkerMixer::hasBegun() const {
    if (m_sounds.empty())
        return false;
    const Rest rest = m_sounds.back()->rest.load(std::memory_order_relaxed);
    return rest.isBegun != 0 && rest.samples != 0;
}

bool MarkerMixer::mixInto(float* data, unsigned count, std::int64_t firstFrame) noexcept {
    Sound* const sound = m_sound.load();
    m_read.store(sound);
    bool isMixed = false;
    // When it was replaced at this moment, the new one is not armed yet.
    if (sound != nullptr && sound == m_sound.load())
        isMixed = mix(*sound, data, count, firstFrame);
    m_read.store(nullptr, std::memory_order_release);
    return isMixed;
}

bool MarkerMixer::mix(Sound& sound, float* data, unsigned count, std::int64_t firstFrame) noexcept {
    Rest expected = sound.rest.load(std::memory_order_acquire);
    Rest rest = expected;
    const std::int64_t wait =
        std::max<std::int64_t>(sound.notBefore.load(std::memory_order_relaxed) - firstFrame, 0) * 2;
    if (rest.samples == 0 || wait >= count)
        return false;
    rest.isBegun = 1;
    const auto end = sound.samples.data() + sound.samples.size();
    for (auto i = static_cast<unsigned>(wait); i < count && rest.samples != 0;) {
        data[i++] += static_cast<float>(*(end - rest.samples--) / 32767.0);
        if (rest.samples == 0 && rest.repeats != 0) {
            --rest.repeats;
            rest.samples = static_cast<std::uint32_t>(sound.samples.size());
            i += i % 2; // left is left, also after a sound of an odd number of samples
        }
    }
    // A new arming since the load above wins.
    sound.rest.compare_exchange_strong(expected, rest, std::memory_order_relaxed);
    return true;
}
