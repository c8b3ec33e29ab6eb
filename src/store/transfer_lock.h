// SPDX-License-Identifier: GPL-3.0-or-later
// One transfer at a time per message store.
//
// Two transfers working on one store (two `velkan send-get`, `velkan watch` and the desktop
// program) would both read the same Outbox and send its messages twice. Every transfer holds
// an exclusive advisory lock (flock) on a lock file for its whole run; backup and restore take
// the same lock. The kernel drops the lock when its holder ends, however it ends, so a killed
// transfer never leaves a stale lock behind. The file itself holds nothing.
//
// The lock file lives in the user's runtime folder, $XDG_RUNTIME_DIR/velkan-tessiver (mode
// 0700), as "transfer-HASH.lock", HASH naming the store file, so that every program of the
// user that works on one store meets the same lock and separate stores never contend. Without
// a usable runtime folder (unset, not absolute, not a folder of this user) the lock file is
// "velkan.sqlite3.transfer-lock" beside the store.
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

// The lock file of the store file as it resolves now; empty when there is no store file.
// The runtime folder's "velkan-tessiver" folder is made here when it is missing.
std::string TransferLockPath();
