// Aborts on allocation inside an I/O cycle. Linked into every test.
#include "base/Realtime.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {
void* allocate(std::size_t size, std::size_t alignment) {
    if (RealtimeScope::active()) {
        std::fputs("allocation inside an I/O cycle\n", stderr);
        std::abort();
    }
    if (size == 0)
        size = 1;
    return alignment <= alignof(std::max_align_t)
               ? std::malloc(size)
               : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* allocateOrThrow(std::size_t size, std::size_t alignment) {
    void* memory = allocate(size, alignment);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
} // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
