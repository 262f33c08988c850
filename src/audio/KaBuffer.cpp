#include "audio/KaBuffer.h"

#include <algorithm>
#include <cstdint>

KaBuffer::KaBuffer(unsigned capacity) : m_bufferSize(capacity) {}

std::unique_ptr<KaBuffer> KaBuffer::initWithCapacity(unsigned capacity) {
    return std::unique_ptr<KaBuffer>(new KaBuffer(capacity));
}

unsigned KaBuffer::writeFromContext(void* context, unsigned count, bool waitForRoom) {
    unsigned written = 0;
    while (written < count) {
        if (waitForRoom)
            m_writeLock.lockWhenCondition(hasRoom);
        else
            m_writeLock.lock();
        {
            const std::lock_guard guard(m_generalLock);
            written += writeChunks(context, count - written);
            m_readLock.setCondition(hasData);
            m_writeLock.unlockWithCondition(m_framesInBuffer == m_bufferSize ? isFull : hasRoom);
        }
        if (!waitForRoom)
            break;
    }
    return written;
}

unsigned KaBuffer::writeChunks(void* context, unsigned count) {
    unsigned written = 0;
    std::uint64_t position = std::uint64_t{m_bufferHead} + m_framesInBuffer;
    while (m_framesInBuffer < m_bufferSize && written < count) {
        if (position >= m_bufferSize)
            position -= m_bufferSize;
        const auto offset = static_cast<unsigned>(position);
        const unsigned chunk =
            std::min({count - written, m_bufferSize - m_framesInBuffer, m_bufferSize - offset});
        performWriteFromContext(context, offset, chunk);
        position += chunk;
        written += chunk;
        m_framesInBuffer += chunk;
    }
    return written;
}

unsigned KaBuffer::readToContext(void* context, unsigned count, bool waitForData) {
    unsigned read = 0;
    while (read < count) {
        if (waitForData)
            m_readLock.lockWhenCondition(hasData);
        else
            m_readLock.lock();
        {
            const std::lock_guard guard(m_generalLock);
            read += readChunks(context, count - read);
            m_writeLock.setCondition(hasRoom);
            const bool empty = m_framesInBuffer == 0;
            if (empty)
                bufferDidEmpty();
            m_readLock.unlockWithCondition(empty ? isEmpty : hasData);
        }
        if (!waitForData)
            break;
    }
    return read;
}

unsigned KaBuffer::readChunks(void* context, unsigned count) {
    unsigned read = 0;
    while (m_framesInBuffer > 0 && read < count) {
        const unsigned chunk = std::min(
            {count - read, m_framesInBuffer.load(std::memory_order_relaxed), m_bufferSize - m_bufferHead});
        performReadToContext(context, m_bufferHead, chunk);
        m_framesInBuffer -= chunk;
        read += chunk;
        m_bufferHead += chunk;
        if (m_bufferHead == m_bufferSize)
            m_bufferHead = 0;
    }
    return read;
}

void KaBuffer::flush() {
    const std::lock_guard guard(m_generalLock);
    m_framesInBuffer = 0;
    bufferDidEmpty();
    m_writeLock.setCondition(hasRoom);
    m_readLock.setCondition(isEmpty);
}

void KaBuffer::performWriteFromContext(void*, unsigned, unsigned) {}

void KaBuffer::performReadToContext(void*, unsigned, unsigned) {}

void KaBuffer::bufferDidEmpty() {}
