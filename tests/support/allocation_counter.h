// SPDX-License-Identifier: GPL-3.0-or-later
// Counting the heap allocations of one stretch of code, for the tests and benchmarks that hold
// the codec and the AT engine to allocating nothing on their hot paths.
//
// A program that links allocation_counter.cpp gets its own malloc, calloc, realloc,
// aligned_alloc, posix_memalign, memalign and every form of the global operator new and
// delete. They forward to glibc's allocator (__libc_malloc and friends) and, while counting is
// on for the calling thread, add one for every block they hand out. Other threads, and the
// calling thread outside Start()/Stop(), are not counted.
//
// AddressSanitizer and ThreadSanitizer bring an allocator of their own, which must not be
// replaced. In their builds (and wherever VELKAN_NO_ALLOCATION_COUNTING is defined) the
// replacements are left out, CountingAvailable() is false and the tests skip.
#pragma once

#include <cstdint>

#if defined(VELKAN_NO_ALLOCATION_COUNTING) || defined(__SANITIZE_ADDRESS__) || \
    defined(__SANITIZE_THREAD__)
#define VELKAN_COUNTS_ALLOCATIONS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define VELKAN_COUNTS_ALLOCATIONS 0
#endif
#endif
#ifndef VELKAN_COUNTS_ALLOCATIONS
#define VELKAN_COUNTS_ALLOCATIONS 1
#endif

namespace allocations {

// False in the sanitizer builds, where nothing is counted.
bool CountingAvailable();
// Why counting is not available, for the skip message; empty when it is.
const char* WhyNotAvailable();

// Starts counting from 0 on the calling thread.
void Start();
// Stops counting on the calling thread and returns the allocations since Start().
std::uint64_t Stop();

// Keeps the compiler from dropping an allocation whose result is never looked at.
inline void KeepAlive(const void* pointer) {
    asm volatile("" : : "g"(pointer) : "memory");
}

// The allocations made by the calling thread while `work` runs.
template <typename Work>
std::uint64_t During(Work&& work) {
    Start();
    work();
    return Stop();
}

}  // namespace allocations
