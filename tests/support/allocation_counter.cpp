// SPDX-License-Identifier: GPL-3.0-or-later
#include "allocation_counter.h"

#include <cerrno>
#include <cstddef>
#include <new>

#if VELKAN_COUNTS_ALLOCATIONS

// glibc's own allocator under its second name. Forwarding there (and never to malloc) keeps the
// replacements below from calling themselves.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* pointer, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* pointer);
}

namespace {

// Per thread, so that a helper thread of the test framework or of the program does not count.
// Both are zero-initialised thread-locals of the program itself: reading them allocates nothing
// and needs no initialisation call, even from inside malloc.
thread_local bool t_counting = false;
thread_local std::uint64_t t_count = 0;

inline void Note() {
    if (t_counting) ++t_count;
}

void* Allocate(std::size_t size) {
    Note();
    return __libc_malloc(size == 0 ? 1 : size);
}

void* AllocateAligned(std::size_t size, std::align_val_t alignment) {
    Note();
    return __libc_memalign(static_cast<std::size_t>(alignment), size == 0 ? 1 : size);
}

bool IsPowerOfTwo(std::size_t value) {
    return value != 0 && (value & (value - 1)) == 0;
}

}  // namespace

namespace allocations {

bool CountingAvailable() {
    return true;
}

const char* WhyNotAvailable() {
    return "";
}

void Start() {
    t_count = 0;
    t_counting = true;
}

std::uint64_t Stop() {
    t_counting = false;
    return t_count;
}

}  // namespace allocations

// ---- the C allocator ----

extern "C" {

void* malloc(std::size_t size) noexcept {
    Note();
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    Note();
    return __libc_calloc(count, size);
}

void* realloc(void* pointer, std::size_t size) noexcept {
    // realloc(p, 0) releases; anything else may hand out a new block and counts.
    if (size != 0 || pointer == nullptr) Note();
    return __libc_realloc(pointer, size);
}

void free(void* pointer) noexcept {
    __libc_free(pointer);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
    Note();
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    Note();
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** result, std::size_t alignment, std::size_t size) noexcept {
    if (!IsPowerOfTwo(alignment) || alignment % sizeof(void*) != 0) return EINVAL;
    Note();
    void* block = __libc_memalign(alignment, size);
    if (block == nullptr) return ENOMEM;
    *result = block;
    return 0;
}

}  // extern "C"

// ---- the global operator new and delete ----

void* operator new(std::size_t size) {
    void* block = Allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* operator new[](std::size_t size) {
    void* block = Allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    void* block = AllocateAligned(size, alignment);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
    void* block = AllocateAligned(size, alignment);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return AllocateAligned(size, alignment);
}

void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return AllocateAligned(size, alignment);
}

void operator delete(void* pointer) noexcept {
    __libc_free(pointer);
}

void operator delete[](void* pointer) noexcept {
    __libc_free(pointer);
}

void operator delete(void* pointer, std::size_t) noexcept {
    __libc_free(pointer);
}

void operator delete[](void* pointer, std::size_t) noexcept {
    __libc_free(pointer);
}

void operator delete(void* pointer, const std::nothrow_t&) noexcept {
    __libc_free(pointer);
}

void operator delete[](void* pointer, const std::nothrow_t&) noexcept {
    __libc_free(pointer);
}

void operator delete(void* pointer, std::align_val_t) noexcept {
    __libc_free(pointer);
}

void operator delete[](void* pointer, std::align_val_t) noexcept {
    __libc_free(pointer);
}

void operator delete(void* pointer, std::size_t, std::align_val_t) noexcept {
    __libc_free(pointer);
}

void operator delete[](void* pointer, std::size_t, std::align_val_t) noexcept {
    __libc_free(pointer);
}

void operator delete(void* pointer, std::align_val_t, const std::nothrow_t&) noexcept {
    __libc_free(pointer);
}

void operator delete[](void* pointer, std::align_val_t, const std::nothrow_t&) noexcept {
    __libc_free(pointer);
}

#else  // !VELKAN_COUNTS_ALLOCATIONS

namespace allocations {

bool CountingAvailable() {
    return false;
}

const char* WhyNotAvailable() {
    return "heap allocations are not counted in sanitizer builds: the sanitizer's runtime owns "
           "malloc and operator new";
}

void Start() {}

std::uint64_t Stop() {
    return 0;
}

}  // namespace allocations

#endif  // VELKAN_COUNTS_ALLOCATIONS
