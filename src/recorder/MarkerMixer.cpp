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

void MarkerMixer::arm(std::int64_t notBefore) {
    Sound* const sound = m_sound.load(std::memory_order_relaxed);
    if (sound == nullptr)
        return;
    sound->notBefore.store(notBefore, std::memory_order_relaxed);
    sound->writeMarker.store(static_cast<std::int32_t>(sound->samples.size()), std::memory_order_release);
}

void MarkerMixer::disarm() {
    if (Sound* const sound = m_sound.load(std::memory_order_relaxed); sound != nullptr)
        sound->writeMarker.store(0, std::memory_order_release);
}

void MarkerMixer::mixInto(float* data, unsigned count, std::int64_t firstFrame) noexcept {
    Sound* const sound = m_sound.load();
    m_read.store(sound);
    if (sound == nullptr || sound != m_sound.load()) {
        m_read.store(nullptr, std::memory_order_release);
        return; // replaced at this moment, and the new one is not armed yet
    }
    std::int32_t left = sound->writeMarker.load(std::memory_order_acquire);
    const std::int64_t wait =
        std::max<std::int64_t>(sound->notBefore.load(std::memory_order_relaxed) - firstFrame, 0) * 2;
    if (left != 0 && wait < count) {
        const std::int16_t* marker =
            sound->samples.data() + (sound->samples.size() - static_cast<std::size_t>(left));
        const std::int32_t before = left;
        for (auto i = static_cast<unsigned>(wait); i < count && left != 0; ++i, --left)
            data[i] += static_cast<float>(*marker++ / 32767.0);
        // A new arming since the load above wins.
        std::int32_t expected = before;
        sound->writeMarker.compare_exchange_strong(expected, left, std::memory_order_relaxed);
    }
    m_read.store(nullptr, std::memory_order_release);
}
