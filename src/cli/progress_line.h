// SPDX-License-Identifier: GPL-3.0-or-later
// The progress of a long verb on stderr: on a terminal one line that rewrites itself, else (for
// a megabyte or 10,000 messages and more) a line at every tenth of the work, so that a log
// shows it too.
#pragma once

#include <cstdint>
#include <string>

class ProgressLine {
  public:
    // `what`: "importing messages.xml"; `bytes`: the work is counted in bytes (else messages).
    ProgressLine(std::string what, bool bytes);
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Shows `done` of `total` (0: unknown); always true (the work goes on).
    bool Show(std::uint64_t done, std::uint64_t total);
    // Ends a rewritten line, so that what follows starts on a line of its own.
    void Finish();

  private:
    std::string what_;
    bool bytes_;
    bool terminal_;
    bool shown_ = false;
    int lastTenth_ = -1;
    int lastPercent_ = -1;
};
