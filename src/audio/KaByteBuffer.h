// audio/KaByteBuffer.h — a ring of bytes.
#pragma once
#include "audio/KaBuffer.h"

#include <cstddef>

class KaByteBuffer final : public KaBuffer {
public:
    /// Nothing without memory.
    static std::unique_ptr<KaByteBuffer> initWithCapacity(unsigned bytes);

    // Writing thread
    unsigned writeFromBytes(const void* bytes, unsigned count, bool waitForRoom);

    // Reading thread
    unsigned readToBytes(void* bytes, unsigned count, bool waitForData);

private:
    KaByteBuffer(unsigned bytes, std::unique_ptr<std::byte[]> storage);

    void performWriteFromContext(void* context, unsigned offset, unsigned count) override;
    void performReadToContext(void* context, unsigned offset, unsigned count) override;

    const std::unique_ptr<std::byte[]> m_myBuffer;
};
