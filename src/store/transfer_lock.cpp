// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/transfer_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "store/object_store.h"

namespace {

constexpr char kRuntimeFolderName[] = "velkan-tessiver";

// FNV-1a: a stable name for a path, the same in every process and every build.
std::uint64_t PathHash(const std::string& text) {
    std::uint64_t hash = 14695981039346656037ull;
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 1099511628211ull;
    }
    return hash;
}

// The store file under its one real name, so that two spellings of one folder (a symbolic
// link, "..") meet the same lock. A folder not made yet keeps the name it was given.
std::string CanonicalStorePath() {
    const std::string dir = StoreDataDirectory();
    const std::string file = StoreFilePath();
    char resolved[PATH_MAX];
    if (realpath(dir.c_str(), resolved) == nullptr) return file;
    return std::string(resolved) + file.substr(dir.size());
}

// A folder of this user only: a real folder (no link), owned by the user.
bool OwnFolder(const std::string& path) {
    struct stat st;
    return lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == geteuid();
}

// $XDG_RUNTIME_DIR/velkan-tessiver, made with mode 0700 when missing; empty when the runtime
// folder cannot be used.
std::string RuntimeLockFolder() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    // Relative values are invalid and ignored, as the base-directory rules ask.
    if (runtime == nullptr || runtime[0] != '/') return {};
    const std::string base = runtime;
    if (!OwnFolder(base) || access(base.c_str(), W_OK | X_OK) != 0) return {};
    const std::string folder = base + "/" + kRuntimeFolderName;
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return {};
    if (!OwnFolder(folder)) return {};
    struct stat st;
    if (stat(folder.c_str(), &st) != 0) return {};
    // Nobody else has any business in it.
    if ((st.st_mode & 07777) != 0700 && chmod(folder.c_str(), 0700) != 0) return {};
    return folder;
}

}  // namespace

std::string TransferLockPath() {
    const std::string store = StoreFilePath();
    if (store.empty()) return {};
    const std::string folder = RuntimeLockFolder();
    if (folder.empty()) return store + ".transfer-lock";
    char name[64];
    std::snprintf(name, sizeof name, "/transfer-%016" PRIx64 ".lock",
                  PathHash(CanonicalStorePath()));
    return folder + name;
}

TransferLock::~TransferLock() {
    Release();
}

TransferLock::Outcome TransferLock::TryTake(std::string* error) {
    if (fd_ >= 0) return Outcome::kTaken;
    if (StoreFilePath().empty()) {
        if (error != nullptr) *error = "there is no folder for the message store";
        return Outcome::kFailed;
    }
    // The folder is made the way the store makes it (mode 0700, parents too), so that the
    // first transfer of a new user can lock, and so that the lock's name, which follows the
    // folder's real path, is the one every later transfer computes.
    const std::string dir = StoreDataDirectory();
    for (std::size_t slash = dir.find('/', 1);; slash = dir.find('/', slash + 1)) {
        const std::string part = dir.substr(0, slash);
        if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) {
            if (error != nullptr) *error = part + ": " + std::strerror(errno);
            return Outcome::kFailed;
        }
        if (slash == std::string::npos) break;
    }
    const std::string path = TransferLockPath();
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
