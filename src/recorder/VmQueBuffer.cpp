#include "recorder/VmQueBuffer.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>

namespace {
constexpr std::uint64_t noBlock = ~std::uint64_t{0};
} // namespace

std::unique_ptr<VmQueBuffer> VmQueBuffer::initQueWithLength(unsigned bytes) {
    std::unique_ptr<VmQueBuffer> queue(new (std::nothrow) VmQueBuffer);
    if (!queue || !queue->setQueLength(bytes))
        return nullptr;
    return queue;
}

VmQueBuffer::~VmQueBuffer() = default;

bool VmQueBuffer::setQueLength(unsigned bytes) {
    const unsigned slots = bytes / 4;
    if (slots == m_slots)
        return true;
    m_slots = 0;
    m_ring.reset();
    m_blocks.reset();
    m_current = nullptr;
    m_spares = nullptr;
    m_returned = nullptr;
    m_committed = 0;
    m_dropped = 0;
    m_read = 0;
    m_origin = 0;
    if (slots == 0)
        return true;
    if (!allocate(slots))
        return false;
    m_slots = slots;
    return true;
}

bool VmQueBuffer::allocate(unsigned slots) {
    const unsigned ringSize = slots / blockSamples + (slots % blockSamples != 0 ? 1 : 0) + 2;
    const std::size_t blocks = ringSize + std::size_t{2};
    m_blocks.reset(new (std::nothrow) Block[blocks]);
    m_ring.reset(new (std::nothrow) std::atomic<Block*>[ringSize]);
    if (!m_blocks || !m_ring)
        return false;
    m_ringSize = ringSize;
    // Touches every page now, so that the first lap costs the producer no page faults.
    std::memset(static_cast<void*>(m_blocks.get()), 0, blocks * sizeof(Block));
    for (unsigned slot = 0; slot < ringSize; ++slot) {
        m_blocks[slot].number = noBlock;
        m_ring[slot].store(&m_blocks[slot], std::memory_order_relaxed);
    }
    m_blocks[0].number = 0;
    m_current = &m_blocks[0];
    keepSpare(&m_blocks[ringSize]);
    keepSpare(&m_blocks[ringSize + 1]);
    return true;
}

unsigned VmQueBuffer::writeFloat32Data(const float* data, unsigned samples) noexcept {
    std::uint64_t position = m_committed.load(std::memory_order_relaxed);
    if (m_slots == 0) {
        m_committed.store(position + samples, std::memory_order_release);
        return samples * 4;
    }
    // Steps of a whole block length keep every published position on a frame boundary.
    for (unsigned left = samples; left > 0;) {
        const unsigned step = std::min(left, blockSamples);
        append(data, step, position);
        position += step;
        m_committed.store(position, std::memory_order_release);
        data += step;
        left -= step;
    }
    return samples * 4;
}

void VmQueBuffer::append(const float* data, unsigned samples, std::uint64_t position) noexcept {
    while (samples > 0) {
        const std::uint64_t number = position / blockSamples;
        const auto offset = static_cast<unsigned>(position % blockSamples);
        if (number != m_current->number)
            beginBlock(number);
        const unsigned count = std::min(samples, blockSamples - offset);
        std::memcpy(m_current->samples + offset, data, count * sizeof(float));
        position += count;
        data += count;
        samples -= count;
    }
}

void VmQueBuffer::beginBlock(std::uint64_t number) noexcept {
    for (Block* block = m_returned.exchange(nullptr, std::memory_order_acquire); block != nullptr;) {
        Block* const next = block->next;
        keepSpare(block);
        block = next;
    }
    Block* const fresh = m_spares;
    assert(fresh != nullptr);
    m_spares = fresh->next;
    fresh->number = number;
    m_current = fresh;
    Block* const oldest = slotOf(number).exchange(fresh, std::memory_order_acq_rel);
    if (oldest != nullptr)
        keepSpare(oldest);
}

void VmQueBuffer::keepSpare(Block* block) noexcept {
    block->next = m_spares;
    m_spares = block;
}

unsigned VmQueBuffer::readFloat32Data(float* into, unsigned samples) noexcept {
    for (;;) {
        const std::uint64_t read = m_read.load(std::memory_order_relaxed);
        const std::uint64_t committed = m_committed.load(std::memory_order_acquire);
        const std::uint64_t oldest = firstHeld(read, committed);
        const auto wanted = static_cast<unsigned>(std::min<std::uint64_t>(samples, committed - oldest));
        const unsigned copied = copyOut(oldest, wanted, into);
        if (copied == 0 && wanted != 0)
            continue; // overtaken by the whole ring: the queue begins further on now
        advanceRead(oldest, oldest + copied);
        return copied * 4;
    }
}

unsigned VmQueBuffer::copyOut(std::uint64_t position, unsigned samples, float* into) noexcept {
    unsigned copied = 0;
    while (copied < samples) {
        const std::uint64_t number = position / blockSamples;
        const auto offset = static_cast<unsigned>(position % blockSamples);
        std::atomic<Block*>& slot = slotOf(number);
        Block* const block = slot.exchange(nullptr, std::memory_order_acq_rel);
        assert(block != nullptr);
        const bool found = block->number == number;
        const unsigned count = std::min(samples - copied, blockSamples - offset);
        if (found)
            std::memcpy(into + copied, block->samples + offset, count * sizeof(float));
        putBack(block, slot);
        if (!found)
            break;
        position += count;
        copied += count;
    }
    return copied;
}

void VmQueBuffer::putBack(Block* block, std::atomic<Block*>& slot) noexcept {
    Block* expected = nullptr;
    if (slot.compare_exchange_strong(expected, block, std::memory_order_release, std::memory_order_relaxed))
        return;
    block->next = m_returned.load(std::memory_order_relaxed);
    while (!m_returned.compare_exchange_weak(block->next, block, std::memory_order_release,
                                             std::memory_order_relaxed)) {
    }
}

void VmQueBuffer::advanceRead(std::uint64_t oldest, std::uint64_t next) noexcept {
    const std::uint64_t lost = oldest - m_read.load(std::memory_order_relaxed);
    if (lost == 0) {
        m_read.store(next, std::memory_order_release);
        return;
    }
    const std::uint64_t version = m_readVersion.load(std::memory_order_relaxed);
    m_readVersion.store(version + 1, std::memory_order_relaxed);
    m_dropped.store(m_dropped.load(std::memory_order_relaxed) + lost, std::memory_order_release);
    m_read.store(next, std::memory_order_release);
    m_readVersion.store(version + 2, std::memory_order_release);
}

void VmQueBuffer::clearData() noexcept {
    const std::uint64_t committed = m_committed.load(std::memory_order_acquire);
    advanceRead(firstHeld(m_read.load(std::memory_order_relaxed), committed), committed);
    m_origin.store(committed, std::memory_order_relaxed);
}

unsigned VmQueBuffer::clearDataWithLeftLengthFloat32(unsigned samples) noexcept {
    const std::uint64_t committed = m_committed.load(std::memory_order_acquire);
    const std::uint64_t oldest = firstHeld(m_read.load(std::memory_order_relaxed), committed);
    const std::uint64_t held = committed - oldest;
    if (samples > held)
        return static_cast<unsigned>(held) * 4;
    advanceRead(oldest, committed - samples);
    return samples * 4;
}

void VmQueBuffer::clearDataBefore(std::uint64_t position) noexcept {
    const std::uint64_t committed = m_committed.load(std::memory_order_acquire);
    const std::uint64_t oldest = firstHeld(m_read.load(std::memory_order_relaxed), committed);
    if (position > oldest)
        advanceRead(oldest, std::min(position, committed));
}

unsigned VmQueBuffer::remain() const noexcept {
    const std::uint64_t read = m_read.load(std::memory_order_acquire);
    const std::uint64_t committed = m_committed.load(std::memory_order_acquire);
    return static_cast<unsigned>(std::min<std::uint64_t>(committed - read, m_slots)) * 4;
}

unsigned VmQueBuffer::getPoint() const noexcept {
    if (m_slots == 0)
        return 0;
    const std::uint64_t origin = m_origin.load(std::memory_order_relaxed);
    return static_cast<unsigned>((std::max(readSamples(), origin) - origin) % m_slots);
}

unsigned VmQueBuffer::putPoint() const noexcept {
    if (m_slots == 0)
        return 0;
    const std::uint64_t origin = m_origin.load(std::memory_order_relaxed);
    return static_cast<unsigned>((std::max(writtenSamples(), origin) - origin) % m_slots);
}

std::uint64_t VmQueBuffer::writtenSamples() const noexcept {
    return m_committed.load(std::memory_order_acquire);
}

std::uint64_t VmQueBuffer::readSamples() const noexcept {
    const std::uint64_t read = m_read.load(std::memory_order_acquire);
    return firstHeld(read, m_committed.load(std::memory_order_acquire));
}

std::uint64_t VmQueBuffer::droppedSamples() const noexcept {
    for (;;) {
        const std::uint64_t version = m_readVersion.load(std::memory_order_acquire);
        const std::uint64_t dropped = m_dropped.load(std::memory_order_acquire);
        const std::uint64_t read = m_read.load(std::memory_order_acquire);
        if (version % 2 != 0 || m_readVersion.load(std::memory_order_relaxed) != version)
            continue;
        return dropped + firstHeld(read, m_committed.load(std::memory_order_acquire)) - read;
    }
}
