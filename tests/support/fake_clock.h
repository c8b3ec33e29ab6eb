// SPDX-License-Identifier: GPL-3.0-or-later
// A tick clock for tests: time stands still unless the test moves it, or moves by a fixed step
// at every reading, so that loops that poll the clock reach a 20 s deadline in a few thousand
// iterations instead of 20 real seconds.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "common/tick_clock.h"

class FakeClock {
  public:
    explicit FakeClock(std::uint32_t start = 1000, std::uint32_t stepPerRead = 0)
        : now_(start), step_(stepPerRead) {
        SetTickSource(&FakeClock::Read, this);
    }
    ~FakeClock() { SetTickSource(nullptr, nullptr); }
    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;

    void Advance(std::uint32_t ms) { now_.fetch_add(ms); }
    void Set(std::uint32_t ms) { now_.store(ms); }
    void SetStep(std::uint32_t ms) { step_.store(ms); }
    std::uint32_t Now() const { return now_.load(); }
    std::uint64_t Reads() const { return reads_.load(); }

  private:
    static std::uint32_t Read(void* self) {
        auto* c = static_cast<FakeClock*>(self);
        c->reads_.fetch_add(1);
        return c->now_.fetch_add(c->step_.load());
    }
    std::atomic<std::uint32_t> now_;
    std::atomic<std::uint32_t> step_;
    std::atomic<std::uint64_t> reads_{0};
};

// A tick clock that runs `factor` times as fast as real time: for a transfer against a phone
// that paces its bytes in real time, where a 20 s deadline has to fall in the middle of a long
// answer but pass in 20 / factor real seconds.
class ScaledClock {
  public:
    explicit ScaledClock(std::uint32_t factor, std::uint32_t start = 1000)
        : factor_(factor), start_(start), origin_(std::chrono::steady_clock::now()) {
        SetTickSource(&ScaledClock::Read, this);
    }
    ~ScaledClock() { SetTickSource(nullptr, nullptr); }
    ScaledClock(const ScaledClock&) = delete;
    ScaledClock& operator=(const ScaledClock&) = delete;

  private:
    static std::uint32_t Read(void* self) {
        auto* c = static_cast<ScaledClock*>(self);
        const auto real = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - c->origin_);
        return c->start_ + static_cast<std::uint32_t>(real.count()) * c->factor_;
    }
    std::uint32_t factor_;
    std::uint32_t start_;
    std::chrono::steady_clock::time_point origin_;
};
