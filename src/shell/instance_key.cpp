// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/instance_key.h"

#include <sys/socket.h>
#include <sys/stat.h>

std::string SingleInstanceKey(uid_t uid) {
    return std::string(kFrameClassName) + "-" + std::to_string(static_cast<unsigned long>(uid));
}

bool IsPrivateDirectory(const std::string& dir, uid_t uid) {
    if (dir.empty()) return false;
    struct stat st {};
    if (stat(dir.c_str(), &st) != 0) return false;
    return S_ISDIR(st.st_mode) && st.st_uid == uid && (st.st_mode & 077) == 0;
}

std::string SingleInstanceSocketPath(const std::string& runtimeDir, uid_t uid) {
    if (!IsPrivateDirectory(runtimeDir, uid)) return {};
    std::string path = runtimeDir;
    if (path.back() != '/') path.push_back('/');
    return path + SingleInstanceKey(uid);
}

PeerCheck CheckPeerUser(int fd, uid_t expectedUid) {
    if (fd < 0) return PeerCheck::kUnknown;
    struct ucred cred {};
    socklen_t length = sizeof cred;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &length) != 0 || length != sizeof cred) {
        return PeerCheck::kUnknown;
    }
    // A socket that was never connected reports no process.
    if (cred.pid == 0) return PeerCheck::kUnknown;
    return cred.uid == expectedUid ? PeerCheck::kSameUser : PeerCheck::kOtherUser;
}
