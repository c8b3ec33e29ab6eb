// SPDX-License-Identifier: GPL-3.0-or-later
// One direction of a simulated serial line at a fixed byte rate.
#pragma once

#include <chrono>
#include <cstddef>

namespace phone_sim {

// Models a UART without a FIFO: a byte queued while the line is idle starts at once and has
// arrived one byte-time later; the bytes behind it follow back to back. While bytes keep
// waiting, the line keeps its own schedule, so a late wake-up of the program passes everything
// that is due at once instead of losing line time. Nothing is saved up while the line is idle.
//
// Times are passed in, so the pacing can be checked without waiting for it.
class LinePacer {
  public:
    using Clock = std::chrono::steady_clock;

    // 0 bytes a second: no limit (everything is always due).
    explicit LinePacer(double bytesPerSecond) : rate_(bytesPerSecond) {}

    bool limited() const { return rate_ > 0; }

    // Bytes now wait where nothing waited before: the line starts on them at `now`. (While
    // bytes wait, more may join them without a call: they follow back to back.)
    void Queued(Clock::time_point now);

    // How many of the waiting bytes have arrived by `now`.
    std::size_t Due(Clock::time_point now) const;

    // `bytes` of the due ones were passed on.
    void Spend(std::size_t bytes);

    // How long until the next waiting byte is due: zero if one is due already.
    Clock::duration Wait(Clock::time_point now) const;

  private:
    double rate_;
    bool started_ = false;
    Clock::time_point start_;  // when the byte now at the front began to cross the line
    double spent_ = 0;         // bytes passed on since `start_` was set
    Clock::time_point After(double bytes) const;  // when that many bytes from `start_` are over
};

}  // namespace phone_sim
