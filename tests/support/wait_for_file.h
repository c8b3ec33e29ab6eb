// SPDX-License-Identifier: GPL-3.0-or-later
// Waiting for a file that another process creates (the simulated phone's "--hold-on" announces
// a held answer with FILE.held), woken by changes of its folder rather than by a sleep.
#pragma once

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <chrono>
#include <string>

// Blocks until `path` exists (or a minute has passed), woken by changes of its folder.
inline bool WaitForFile(const std::string& path) {
    const int watch = inotify_init1(IN_CLOEXEC);
    const std::string dir = path.substr(0, path.rfind('/'));
    if (watch >= 0) inotify_add_watch(watch, dir.c_str(), IN_CREATE | IN_MOVED_TO);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    bool found = false;
    while (!(found = access(path.c_str(), F_OK) == 0) && std::chrono::steady_clock::now() < end) {
        pollfd p{watch, POLLIN, 0};
        if (poll(&p, 1, 1000) > 0) {
            char events[4096];
            [[maybe_unused]] ssize_t n = read(watch, events, sizeof events);
        }
    }
    if (watch >= 0) close(watch);
    return found;
}
