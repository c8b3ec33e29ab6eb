// SPDX-License-Identifier: GPL-3.0-or-later
// The one monotonic millisecond clock of the phone side.
//
// Every deadline, drain window and poll interval reads GetTickCount(). The value is a 32-bit
// millisecond count that wraps after about 49.7 days, so deadlines are compared as signed
// differences (TickPassed) and never with a plain "<".
//
// Tests replace the source with SetTickSource() so that a 20 s time-out runs in microseconds.
#pragma once

#include <cstdint>

using TickSource = std::uint32_t (*)(void* context);

// Milliseconds from an arbitrary origin, wrapping at 2^32.
std::uint32_t GetTickCount();

// Replaces the clock for the whole process; a null source restores the real monotonic clock.
void SetTickSource(TickSource source, void* context);

// True once `now` is later than `deadline`, surviving the wrap of the counter.
inline bool TickPassed(std::uint32_t now, std::uint32_t deadline) {
    return static_cast<std::int32_t>(now - deadline) > 0;
}

// Milliseconds from `start` to `now`, surviving the wrap of the counter.
inline std::uint32_t TickElapsed(std::uint32_t now, std::uint32_t start) {
    return now - start;
}
