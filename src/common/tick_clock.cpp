// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/tick_clock.h"

#include <atomic>
#include <chrono>

namespace {

std::atomic<TickSource> g_source{nullptr};
std::atomic<void*> g_context{nullptr};

std::uint32_t RealTicks() {
    using namespace std::chrono;
    return static_cast<std::uint32_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace

std::uint32_t GetTickCount() {
    TickSource fn = g_source.load(std::memory_order_acquire);
    if (fn == nullptr) return RealTicks();
    return fn(g_context.load(std::memory_order_acquire));
}

void SetTickSource(TickSource source, void* context) {
    g_context.store(context, std::memory_order_release);
    g_source.store(source, std::memory_order_release);
}
