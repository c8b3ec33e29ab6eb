// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/transfer_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "store/object_store.h"

std::string TransferLockPath() {
    const std::string store = StoreFilePath();
    return store.empty() ? std::string() : store + ".transfer-lock";
}

TransferLock::~TransferLock() {
    Release();
}

TransferLock::Outcome TransferLock::TryTake(std::string* error) {
    if (fd_ >= 0) return Outcome::kTaken;
    const std::string path = TransferLockPath();
    if (path.empty()) {
        if (error != nullptr) *error = "there is no folder for the message store";
        return Outcome::kFailed;
    }
    // The folder is made the way the store makes it (mode 0700, parents too), so that the
    // first transfer of a new user can lock.
    const std::string dir = StoreDataDirectory();
    for (std::size_t slash = dir.find('/', 1);; slash = dir.find('/', slash + 1)) {
        const std::string part = dir.substr(0, slash);
        if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) {
            if (error != nullptr) *error = part + ": " + std::strerror(errno);
            return Outcome::kFailed;
        }
        if (slash == std::string::npos) break;
    }
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (error != nullptr) *error = path + ": " + std::strerror(errno);
        return Outcome::kFailed;
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int err = errno;
        close(fd);
        if (err == EWOULDBLOCK) return Outcome::kBusy;
        if (error != nullptr) *error = path + ": " + std::strerror(err);
        return Outcome::kFailed;
    }
    fd_ = fd;
    return Outcome::kTaken;
}

void TransferLock::Release() {
    if (fd_ < 0) return;
    close(fd_);  // closing the only descriptor of the open file drops its lock
    fd_ = -1;
}
