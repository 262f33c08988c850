// audio/KaBuffer.h — a ring between one writing and one reading thread, waiting or not.
#pragma once
#include "audio/KaConditionLock.h"

#include <atomic>
#include <memory>
#include <mutex>

/// Counts units (frames or bytes) and cuts transfers into contiguous chunks; the storage is the subclass's.
///
/// Locks. A side's own condition lock comes first and keeps a second thread of that side out; then the general
/// lock, held for the copies, guards counters and storage. The read lock's condition is 0 while the buffer is
/// empty and 1 while it holds data; the write lock's is 2 while there is room and 3 while it is full. Each
/// transfer sets both, so that the other side's waiting is over. Nothing is allocated after creation.
class KaBuffer {
public:
    static std::unique_ptr<KaBuffer> initWithCapacity(unsigned capacity);
    virtual ~KaBuffer() = default;
    KaBuffer(const KaBuffer&) = delete;
    KaBuffer& operator=(const KaBuffer&) = delete;

    // Writing thread
    /// Writes up to `count` units and returns how many. Waiting, it returns when all are written; else what
    /// does not fit is dropped and only other transfers in progress are waited for. `context` goes to every
    /// chunk.
    unsigned writeFromContext(void* context, unsigned count, bool waitForRoom);

    // Reading thread
    /// The same, from the oldest unit on.
    unsigned readToContext(void* context, unsigned count, bool waitForData);

    // Any thread
    void flush();
    unsigned capacity() const { return m_bufferSize; }
    /// Units held. Never waits; may be late by one transfer.
    unsigned count() const { return m_framesInBuffer.load(std::memory_order_relaxed); }

protected:
    explicit KaBuffer(unsigned capacity);

    // Any thread, with the general lock held
    virtual void performWriteFromContext(void* context, unsigned offset, unsigned count);
    virtual void performReadToContext(void* context, unsigned offset, unsigned count);
    virtual void bufferDidEmpty();

private:
    enum Condition : int { isEmpty = 0, hasData = 1, hasRoom = 2, isFull = 3 };

    unsigned writeChunks(void* context, unsigned count);
    unsigned readChunks(void* context, unsigned count);

    KaConditionLock m_readLock{isEmpty};
    KaConditionLock m_writeLock{hasRoom};
    std::mutex m_generalLock;
    unsigned m_bufferHead = 0;
    std::atomic<unsigned> m_framesInBuffer{0};
    const unsigned m_bufferSize;
};
