#include "audio/KaByteBuffer.h"

#include <cstring>
#include <new>

KaByteBuffer::KaByteBuffer(unsigned bytes, std::unique_ptr<std::byte[]> storage)
    : KaBuffer(bytes), m_myBuffer(std::move(storage)) {}

std::unique_ptr<KaByteBuffer> KaByteBuffer::initWithCapacity(unsigned bytes) {
    try {
        std::unique_ptr<std::byte[]> storage(new std::byte[bytes]);
        return std::unique_ptr<KaByteBuffer>(new KaByteBuffer(bytes, std::move(storage)));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

unsigned KaByteBuffer::writeFromBytes(const void* bytes, unsigned count, bool waitForRoom) {
    auto cursor = static_cast<const std::byte*>(bytes);
    return writeFromContext(&cursor, count, waitForRoom);
}

unsigned KaByteBuffer::readToBytes(void* bytes, unsigned count, bool waitForData) {
    auto cursor = static_cast<std::byte*>(bytes);
    return readToContext(&cursor, count, waitForData);
}

void KaByteBuffer::performWriteFromContext(void* context, unsigned offset, unsigned count) {
    auto& cursor = *static_cast<const std::byte**>(context);
    std::memcpy(m_myBuffer.get() + offset, cursor, count);
    cursor += count;
}

void KaByteBuffer::performReadToContext(void* context, unsigned offset, unsigned count) {
    auto& cursor = *static_cast<std::byte**>(context);
    std::memcpy(cursor, m_myBuffer.get() + offset, count);
    cursor += count;
}
