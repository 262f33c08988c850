#include "support/RealtimeGuard.h"

#include "base/Realtime.h"
#include "support/Sanitizer.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string_view>
#include <unistd.h>

// A sanitizer needs `malloc` for itself, and the thread sanitizer `new` too: it tells by the caller which
// library allocates.
#if defined(__GLIBC__) && !defined(WATCHED_BY_A_SANITIZER)
#define GUARDS_MALLOC
#endif

namespace {
[[maybe_unused]] void checkThatNoCycleRuns() {
    if (!RealtimeScope::active())
        return;
    // Nothing that might allocate: this is what is forbidden here.
    constexpr std::string_view text = "allocation inside an I/O cycle\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    std::abort();
}

#ifndef WATCHED_BY_THE_THREAD_SANITIZER
void* allocate(std::size_t size, std::size_t alignment) {
    checkThatNoCycleRuns();
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
#endif
} // namespace

#ifdef GUARDS_MALLOC
// The C library's own functions under their other names. Its `free` stays in place: what it takes was made by
// them. Libraries that are loaded with the program find these too.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size) noexcept {
    checkThatNoCycleRuns();
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    checkThatNoCycleRuns();
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept {
    checkThatNoCycleRuns();
    return __libc_realloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    checkThatNoCycleRuns();
    return __libc_memalign(alignment, size);
}
}

bool RealtimeGuard::seesMalloc() noexcept {
    return true;
}
#else
bool RealtimeGuard::seesMalloc() noexcept {
    return false;
}
#endif

#ifndef WATCHED_BY_THE_THREAD_SANITIZER
bool RealtimeGuard::seesNew() noexcept {
    return true;
}

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
#else
bool RealtimeGuard::seesNew() noexcept {
    return false;
}
#endif
