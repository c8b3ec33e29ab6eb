// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/progress_line.h"

#include <unistd.h>

#include <cstdio>

namespace {

// Below these a log gets no progress lines: the work is over at once.
constexpr std::uint64_t kLongBytes = 1024 * 1024;
constexpr std::uint64_t kLongCount = 10'000;

std::string Amount(std::uint64_t n, bool bytes) {
    char text[32];
    if (!bytes) {
        std::snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(n));
    } else if (n >= 1024 * 1024) {
        std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(n) / (1024.0 * 1024.0));
    } else if (n >= 10 * 1024) {
        std::snprintf(text, sizeof text, "%llu KB", static_cast<unsigned long long>(n / 1024));
    } else {
        std::snprintf(text, sizeof text, "%llu bytes", static_cast<unsigned long long>(n));
    }
    return text;
}

}  // namespace

ProgressLine::ProgressLine(std::string what, bool bytes)
    : what_(std::move(what)), bytes_(bytes), terminal_(isatty(STDERR_FILENO) == 1) {}

bool ProgressLine::Show(std::uint64_t done, std::uint64_t total) {
    const int percent = total == 0 ? -1 : static_cast<int>(done * 100 / total);
    const std::string amount = Amount(done, bytes_) +
                               (total == 0 ? std::string() : " of " + Amount(total, bytes_)) +
                               (bytes_ ? "" : " messages");
    if (terminal_) {
        if (percent == lastPercent_ && percent >= 0) return true;
        lastPercent_ = percent;
        if (percent >= 0) {
            std::fprintf(stderr, "\rvelkan: %s: %3d%% (%s)\x1b[K", what_.c_str(), percent,
                         amount.c_str());
        } else {
            std::fprintf(stderr, "\rvelkan: %s: %s\x1b[K", what_.c_str(), amount.c_str());
        }
        shown_ = true;
    } else if (percent >= 0 && percent / 10 != lastTenth_ &&
               total >= (bytes_ ? kLongBytes : kLongCount)) {
        lastTenth_ = percent / 10;
        std::fprintf(stderr, "velkan: %s: %d%% (%s)\n", what_.c_str(), lastTenth_ * 10,
                     amount.c_str());
    }
    std::fflush(stderr);
    return true;
}

void ProgressLine::Finish() {
    if (terminal_ && shown_) std::fputc('\n', stderr);
    shown_ = false;
}
