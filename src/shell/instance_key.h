// SPDX-License-Identifier: GPL-3.0-or-later
// Where the running instance of the program can be found, and who may talk to it.
//
// One instance runs per user. It listens on a local socket named after its frame window class
// and the user ("VkMainWnd-1000"), inside the user's runtime folder, which only the user can
// enter. Both sides also check the other's user id on the connected socket, so that neither a
// socket planted by someone else nor a process of another user is ever talked to.
#pragma once

#include <sys/types.h>

#include <string>

// The frame window's class name, which names the instance.
inline constexpr char kFrameClassName[] = "VkMainWnd";

// "VkMainWnd-<uid>".
std::string SingleInstanceKey(uid_t uid);

// True when `dir` exists, is a folder, belongs to `uid` and nobody else may read, write or
// enter it (no group or other permission bits).
bool IsPrivateDirectory(const std::string& dir, uid_t uid);

// The full socket path of the running instance of user `uid` inside `runtimeDir`; empty when
// the folder is not private (IsPrivateDirectory), in which case the program runs without
// single-instance hand-over rather than use a folder others can reach.
std::string SingleInstanceSocketPath(const std::string& runtimeDir, uid_t uid);

enum class PeerCheck { kSameUser, kOtherUser, kUnknown };

// The user id of the process at the other end of the connected local socket `fd`
// (SO_PEERCRED), compared with `expectedUid`. kUnknown when the credentials cannot be read
// (not a local socket, not connected).
PeerCheck CheckPeerUser(int fd, uid_t expectedUid);
