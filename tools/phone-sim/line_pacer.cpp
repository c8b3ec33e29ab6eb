// SPDX-License-Identifier: GPL-3.0-or-later
#include "line_pacer.h"

#include <cmath>
#include <cstdint>

namespace phone_sim {

// The line's schedule is kept as a start time and a byte count rather than a running time
// point, so rounding to the clock's resolution does not add up over a long transfer. Times are
// rounded up, so that at the time Wait() names the byte really is due.
LinePacer::Clock::time_point LinePacer::After(double bytes) const {
    const double nanoseconds = std::ceil(bytes / rate_ * 1e9);
    return start_ + std::chrono::duration_cast<Clock::duration>(
                        std::chrono::nanoseconds(static_cast<std::int64_t>(nanoseconds)));
}

void LinePacer::Queued(Clock::time_point now) {
    if (!limited()) return;
    started_ = true;
    start_ = now;
    spent_ = 0;
}

std::size_t LinePacer::Due(Clock::time_point now) const {
    if (!limited()) return SIZE_MAX;
    if (!started_ || now < start_) return 0;
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    // The small allowance absorbs the floating-point error at exactly the due time.
    const double arrived = std::floor(elapsed * rate_ + 1e-6);
    return arrived <= spent_ ? 0 : static_cast<std::size_t>(arrived - spent_);
}

void LinePacer::Spend(std::size_t bytes) {
    if (limited()) spent_ += static_cast<double>(bytes);
}

LinePacer::Clock::duration LinePacer::Wait(Clock::time_point now) const {
    if (!limited()) return Clock::duration::zero();
    // Nothing queued yet: a byte queued now would arrive one byte-time from now.
    if (!started_) return After(1) - start_;
    const Clock::time_point next = After(spent_ + 1);
    return next <= now ? Clock::duration::zero() : next - now;
}

}  // namespace phone_sim
