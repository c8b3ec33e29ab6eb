// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/progress_line.h"

#include <unistd.h>

#include <cstdio>

#include "resources/translations.h"

namespace {

// Below these a log gets no progress lines: the work is over at once.
constexpr std::uint64_t kLongBytes = 1024 * 1024;
constexpr std::uint64_t kLongCount = 10'000;

QString Amount(std::uint64_t n, bool bytes) {
    if (!bytes) return QString::number(n);
    if (n >= 1024 * 1024) {
        return Translate("velkan", "%1 MB")
            .arg(QString::number(static_cast<double>(n) / (1024.0 * 1024.0), 'f', 1));
    }
    if (n >= 10 * 1024) return Translate("velkan", "%1 KB").arg(n / 1024);
    return Translate("velkan", "%1 bytes").arg(n);
}

}  // namespace

ProgressLine::ProgressLine(std::string what, bool bytes)
    : what_(std::move(what)), bytes_(bytes), terminal_(isatty(STDERR_FILENO) == 1) {}

bool ProgressLine::Show(std::uint64_t done, std::uint64_t total) {
    const int percent = total == 0 ? -1 : static_cast<int>(done * 100 / total);
    QString counted =
        total == 0
            ? Amount(done, bytes_)
            : Translate("velkan", "%1 of %2").arg(Amount(done, bytes_), Amount(total, bytes_));
    if (!bytes_) counted = Translate("velkan", "%1 messages").arg(counted);
    const std::string amount = counted.toStdString();
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
