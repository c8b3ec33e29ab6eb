// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/instance_key.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "temp_dir.h"

namespace {

TEST(SingleInstanceKey, ClassNameAndUser) {
    EXPECT_EQ(SingleInstanceKey(1000), "VkMainWnd-1000");
    EXPECT_EQ(SingleInstanceKey(0), "VkMainWnd-0");
}

TEST(PrivateDirectory, OnlyTheOwnersFolderWithoutGroupOrOtherBits) {
    TempDir dir;
    ASSERT_FALSE(dir.Path().empty());
    ASSERT_EQ(chmod(dir.Path().c_str(), 0700), 0);
    EXPECT_TRUE(IsPrivateDirectory(dir.Path(), getuid()));
    EXPECT_FALSE(IsPrivateDirectory(dir.Path(), getuid() + 1));  // someone else's
    ASSERT_EQ(chmod(dir.Path().c_str(), 0750), 0);
    EXPECT_FALSE(IsPrivateDirectory(dir.Path(), getuid()));
    ASSERT_EQ(chmod(dir.Path().c_str(), 0701), 0);
    EXPECT_FALSE(IsPrivateDirectory(dir.Path(), getuid()));
    ASSERT_EQ(chmod(dir.Path().c_str(), 0700), 0);
    WriteTextFile(dir / "file", "x");
    chmod((dir / "file").c_str(), 0600);
    EXPECT_FALSE(IsPrivateDirectory(dir / "file", getuid()));  // not a folder
    EXPECT_FALSE(IsPrivateDirectory(dir / "missing", getuid()));
    EXPECT_FALSE(IsPrivateDirectory("", getuid()));
}

TEST(SocketPath, InsideAPrivateFolderOnly) {
    TempDir dir;
    ASSERT_EQ(chmod(dir.Path().c_str(), 0700), 0);
    const uid_t uid = getuid();
    EXPECT_EQ(SingleInstanceSocketPath(dir.Path(), uid), dir / SingleInstanceKey(uid));
    EXPECT_EQ(SingleInstanceSocketPath(dir.Path() + "/", uid), dir / SingleInstanceKey(uid));
    ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
    EXPECT_EQ(SingleInstanceSocketPath(dir.Path(), uid), "");
}

TEST(PeerCheck, ConnectedPeerOfTheSameUser) {
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    EXPECT_EQ(CheckPeerUser(fds[0], getuid()), PeerCheck::kSameUser);
    EXPECT_EQ(CheckPeerUser(fds[1], getuid()), PeerCheck::kSameUser);
    close(fds[0]);
    close(fds[1]);
}

TEST(PeerCheck, PeerOfAnotherUserIsRefused) {
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    // The peer runs as the current user, so it is another user for anyone else.
    EXPECT_EQ(CheckPeerUser(fds[0], getuid() + 1), PeerCheck::kOtherUser);
    close(fds[0]);
    close(fds[1]);
}

TEST(PeerCheck, NoCredentialsWithoutAConnectedLocalSocket) {
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    EXPECT_EQ(CheckPeerUser(pipeFds[0], getuid()), PeerCheck::kUnknown);
    close(pipeFds[0]);
    close(pipeFds[1]);
    EXPECT_EQ(CheckPeerUser(-1, getuid()), PeerCheck::kUnknown);
    const int unconnected = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(unconnected, 0);
    EXPECT_EQ(CheckPeerUser(unconnected, getuid()), PeerCheck::kUnknown);
    close(unconnected);
}

// A process that really runs as another user connects to a listening socket; the listener
// sees it as another user. Needs the right to change the user id (root).
TEST(PeerCheck, ProcessOfAnotherUserSeenByTheListener) {
    if (geteuid() != 0) GTEST_SKIP() << "changing the user id needs root";
    TempDir dir;
    ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
    const std::string path = dir / "probe.sock";
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(chmod(path.c_str(), 0777), 0);
    ASSERT_EQ(listen(listener, 1), 0);

    const uid_t other = 65534;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (setgid(other) != 0 || setuid(other) != 0) _exit(3);
        const int s = socket(AF_UNIX, SOCK_STREAM, 0);
        if (s < 0 || connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            _exit(4);
        char byte = 0;
        if (read(s, &byte, 1) < 0) _exit(5);  // wait until the listener has looked
        _exit(0);
    }
    const int accepted = accept(listener, nullptr, nullptr);
    ASSERT_GE(accepted, 0);
    EXPECT_EQ(CheckPeerUser(accepted, getuid()), PeerCheck::kOtherUser);
    EXPECT_EQ(CheckPeerUser(accepted, other), PeerCheck::kSameUser);
    close(accepted);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    close(listener);
}

}  // namespace
