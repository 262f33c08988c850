// recorder/VmQueBuffer.h — the sample queue between an I/O thread and one reader.
#pragma once
#include "base/Realtime.h"

#include <atomic>
#include <cstdint>
#include <memory>

/// A single-producer, single-consumer queue of 32-bit float samples that overwrites its oldest samples when
/// full.
///
/// Capacity and fill level are bytes, lengths handed in are samples (floats), `getPoint` and `putPoint` are
/// float slots. A capacity that is no multiple of 4 is rounded down to one.
///
/// Design. Samples have absolute positions, counted from 0 at the last `setQueLength`: the producer alone
/// advances `m_committed`, the reader alone advances `m_read`. What lies more than a capacity behind
/// `m_committed` is lost, so the queue begins at max(m_read, m_committed - capacity), and overwriting needs no
/// write to the reader's index.
///
/// The samples lie in blocks of 1024 (B); block number N holds the positions from N*B on. A ring of K atomic
/// pointers, K = capacity/B rounded up + 2, holds block N in slot N mod K. Ownership decides who may touch a
/// block:
/// - The producer appends to its current block through a pointer of its own. To begin block N it exchanges a
/// spare
///   into slot N mod K and keeps what comes out, block N-K, as a spare. It publishes `m_committed` after at
///   most B samples, so at most one such exchange is unpublished; block N-K then ends at or before m_committed
///   + B - (K-1)*B <= m_committed - capacity: it was lost already.
/// - The reader takes a block out of its slot by exchanging in a null pointer, copies, and puts it back if the
/// slot
///   is still empty. If the producer has filled the slot meanwhile, the block goes onto the stack `m_returned`,
///   which the producer empties each time that it begins a block. A block with another number than was looked
///   for tells the reader that it has been overtaken; it puts that block back and looks where the queue begins
///   now.
/// - The reader may take the producer's current block too. It reads only positions below `m_committed`, the
///   producer writes only those from `m_committed` on, through its own pointer. When the producer later comes
///   round to that slot and finds it empty, it gets no spare back at that time.
///
/// There are K + 2 blocks, and the producer always finds a spare: the reader holds at most one block, and a
/// slot is empty only while it does. So the spares are 2 + empty slots - blocks held - blocks returned. At an
/// exchange at most one block is on the stack: a block can only be refused by its slot after an earlier
/// exchange, the stack was emptied since then, and the reader held only one such block. If one is on the stack
/// and the reader holds another, then it took that one after the last exchange, and its slot is still empty: 2
/// + 1 - 1 - 1 = 1 spare. In every other case there is at least one as well.
///
/// All memory is allocated and touched in `setQueLength`. The producer never waits; its longest step is one
/// block.
class VmQueBuffer {
public:
    // Main thread, while neither producer nor reader runs
    /// A queue of `bytes`; nothing when there is no memory for it.
    static std::unique_ptr<VmQueBuffer> initQueWithLength(unsigned bytes);
    VmQueBuffer(const VmQueBuffer&) = delete;
    VmQueBuffer& operator=(const VmQueBuffer&) = delete;
    ~VmQueBuffer();
    /// The present capacity keeps the contents; any other empties the queue and restarts all positions and
    /// counts at 0. False when there is no memory: the capacity is 0 then, and every sample written is dropped.
    bool setQueLength(unsigned bytes);

    // I/O thread (producer)
    /// Appends `samples` floats; returns their bytes, also when they overwrote older ones. Never waits.
    unsigned writeFloat32Data(const float* data, unsigned samples) noexcept KA_REALTIME;

    // Reading thread; the main thread may act as the reader while no reader runs
    /// Moves at most `samples` floats to `into`, consecutive ones; returns their bytes. Fewer than are held
    /// come out only if the producer overtakes the reader during the call. Never waits.
    unsigned readFloat32Data(float* into, unsigned samples) noexcept KA_REALTIME;
    /// Position behind the last sample that was read or cleared: what `readFloat32Data` returned ends here,
    /// also when more has been overwritten since.
    std::uint64_t readPosition() const noexcept { return m_read.load(std::memory_order_relaxed); }
    /// Empties the queue.
    void clearData() noexcept;
    /// Keeps the newest `samples` only; returns the bytes held afterwards. Holding fewer, it changes nothing.
    unsigned clearDataWithLeftLengthFloat32(unsigned samples) noexcept;
    /// Forgets the samples before `position`. Unlike a count of the newest, it means the same whatever comes in
    /// meanwhile.
    void clearDataBefore(std::uint64_t position) noexcept;

    // Any thread
    unsigned empty() const noexcept KA_REALTIME { return queLength() - remain(); }
    unsigned remain() const noexcept KA_REALTIME;
    unsigned queLength() const noexcept KA_REALTIME { return m_slots * 4u; }
    /// Slot of the oldest sample held and slot of the next one to come, counted from the last `clearData`.
    unsigned getPoint() const noexcept;
    unsigned putPoint() const noexcept;
    /// Position of the next sample to be written: the number of all samples written.
    std::uint64_t writtenSamples() const noexcept KA_REALTIME;
    /// Position of the oldest sample held.
    std::uint64_t readSamples() const noexcept KA_REALTIME;

    // Any thread but an I/O thread
    /// Samples that were overwritten before they were read or cleared.
    std::uint64_t droppedSamples() const noexcept;

    /// Advances an index by one slot; behind the last slot comes 0.
    void incPutFloat32Point(unsigned& point) const noexcept { point = (point + 1 >= m_slots) ? 0 : point + 1; }
    void incGetFloat32Point(unsigned& point) const noexcept { incPutFloat32Point(point); }

private:
    static constexpr unsigned blockSamples = 1024;
    struct Block {
        std::uint64_t number;
        Block* next; ///< in the stack of returned blocks or the list of spares
        float samples[blockSamples];
    };

    VmQueBuffer() = default;
    bool allocate(unsigned slots);
    std::atomic<Block*>& slotOf(std::uint64_t number) noexcept { return m_ring[number % m_ringSize]; }
    std::uint64_t firstHeld(std::uint64_t read, std::uint64_t committed) const noexcept {
        return committed - read > m_slots ? committed - m_slots : read;
    }
    void append(const float* data, unsigned samples, std::uint64_t position) noexcept;
    void beginBlock(std::uint64_t number) noexcept;
    void keepSpare(Block* block) noexcept;
    unsigned copyOut(std::uint64_t position, unsigned samples, float* into) noexcept;
    void putBack(Block* block, std::atomic<Block*>& slot) noexcept;
    void advanceRead(std::uint64_t oldest, std::uint64_t next) noexcept;

    unsigned m_slots = 0; ///< capacity in samples
    std::unique_ptr<Block[]> m_blocks;
    unsigned m_ringSize = 0;
    std::unique_ptr<std::atomic<Block*>[]> m_ring;
    std::atomic<std::uint64_t> m_origin{0}; ///< position of the last `clearData`

    // Producer
    alignas(64) std::atomic<std::uint64_t> m_committed{0};
    Block* m_current = nullptr;
    Block* m_spares = nullptr;

    // Reader
    alignas(64) std::atomic<std::uint64_t> m_read{0};
    std::atomic<std::uint64_t> m_dropped{0};
    std::atomic<std::uint64_t> m_readVersion{0}; ///< odd while `m_read` and `m_dropped` do not fit together

    alignas(64) std::atomic<Block*> m_returned{nullptr}; ///< pushed by the reader, emptied by the producer
};
