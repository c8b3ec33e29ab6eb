// SPDX-License-Identifier: GPL-3.0-or-later
// One transfer at a time per message store.
//
// Two transfers working on one store (two `velkan send-get`, or the command and the desktop
// program) would both read the same Outbox and send its messages twice. Every transfer holds
// an exclusive advisory lock (flock) on a file beside the store, "velkan.sqlite3.transfer-lock",
// for its whole run. The kernel drops the lock when its holder ends, however it ends, so a
// killed transfer never leaves a stale lock behind. The file itself holds nothing.
#pragma once

#include <string>

class TransferLock {
  public:
    TransferLock() = default;
    ~TransferLock();
    TransferLock(const TransferLock&) = delete;
    TransferLock& operator=(const TransferLock&) = delete;

    enum class Outcome { kTaken, kBusy, kFailed };
    // One attempt, without waiting. kFailed (with *error saying why) when the lock file cannot
    // be opened, e.g. no data folder.
    Outcome TryTake(std::string* error);
    bool Held() const { return fd_ >= 0; }
    void Release();

  private:
    int fd_ = -1;
};

// The lock file of the store file as it resolves now.
std::string TransferLockPath();
