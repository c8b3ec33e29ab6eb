// SPDX-License-Identifier: GPL-3.0-or-later
#include "phonelink/port_lock.h"

#include <dirent.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

// The device's name as lock files spell it: the path after "/dev/", slashes as underscores.
bool LockName(const char* devicePath, char* out, std::size_t size) {
    const char* name = std::strncmp(devicePath, "/dev/", 5) == 0 ? devicePath + 5 : devicePath;
    const int written = std::snprintf(out, size, "LCK..%s", name);
    if (written <= 0 || static_cast<std::size_t>(written) >= size) return false;
    for (char* c = out + 5; *c != '\0'; ++c) {
        if (*c == '/') *c = '_';
    }
    return true;
}

bool Alive(int pid) {
    return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM);
}

// The pid in a lock file: ten ASCII digits (HDB style) or a binary int (old style).
int PidInLockFile(const char* path) {
    std::FILE* f = std::fopen(path, "rb");
    if (f == nullptr) return 0;
    char text[32] = {};
    const std::size_t got = std::fread(text, 1, sizeof text - 1, f);
    std::fclose(f);
    if (got == sizeof(int) && (text[0] < '0' || text[0] > '9') && text[0] != ' ') {
        int pid = 0;
        std::memcpy(&pid, text, sizeof pid);
        return pid;
    }
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

void ProcessName(int pid, char* out, std::size_t size) {
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/comm", pid);
    out[0] = '\0';
    std::FILE* f = std::fopen(path, "r");
    if (f == nullptr) return;
    if (std::fgets(out, static_cast<int>(size), f) != nullptr) {
        out[std::strcspn(out, "\n")] = '\0';
    }
    std::fclose(f);
}

// A process, other than this one, with an open descriptor on the device; 0 when none is seen.
int ProcessWithDeviceOpen(const char* devicePath) {
    char target[PATH_MAX];
    if (::realpath(devicePath, target) == nullptr) return 0;
    DIR* proc = ::opendir("/proc");
    if (proc == nullptr) return 0;
    const int self = static_cast<int>(::getpid());
    int found = 0;
    while (found == 0) {
        dirent* entry = ::readdir(proc);
        if (entry == nullptr) break;
        char* end = nullptr;
        const long pid = std::strtol(entry->d_name, &end, 10);
        if (*end != '\0' || pid <= 0 || pid == self) continue;
        char fdDir[64];
        std::snprintf(fdDir, sizeof fdDir, "/proc/%ld/fd", pid);
        DIR* fds = ::opendir(fdDir);
        if (fds == nullptr) continue;  // another user's, or gone
        while (dirent* fd = ::readdir(fds)) {
            char link[64 + sizeof fd->d_name];
            char points[PATH_MAX];
            std::snprintf(link, sizeof link, "%s/%s", fdDir, fd->d_name);
            const ssize_t n = ::readlink(link, points, sizeof points - 1);
            if (n <= 0) continue;
            points[n] = '\0';
            if (std::strcmp(points, target) == 0) {
                found = static_cast<int>(pid);
                break;
            }
        }
        ::closedir(fds);
    }
    ::closedir(proc);
    return found;
}

}  // namespace

bool PortLockFileHolder(const char* devicePath, int* pid) {
    char name[128];
    if (!LockName(devicePath, name, sizeof name)) return false;
    for (const char* dir : {"/run/lock", "/var/lock"}) {
        char path[256];
        std::snprintf(path, sizeof path, "%s/%s", dir, name);
        const int holder = PidInLockFile(path);
        // A lock whose process is gone is stale: it holds nothing.
        if (holder != static_cast<int>(::getpid()) && Alive(holder)) {
            *pid = holder;
            return true;
        }
    }
    return false;
}

void PortHolderDescription(const char* devicePath, int knownPid, char* out, std::size_t size) {
    if (size == 0) return;
    out[0] = '\0';
    const int pid = knownPid > 0 ? knownPid : ProcessWithDeviceOpen(devicePath);
    if (pid <= 0) return;
    char name[64];
    ProcessName(pid, name, sizeof name);
    if (name[0] != '\0') {
        std::snprintf(out, size, "%s (pid %d)", name, pid);
    } else {
        std::snprintf(out, size, "pid %d", pid);
    }
}

bool TakePortFlock(int fd) {
    return ::flock(fd, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}
