// SPDX-License-Identifier: GPL-3.0-or-later
// Where the transfer lock lives (the user's runtime folder, one lock file per store, beside the
// store without a usable runtime folder) and that it keeps out a transfer of another process.
#include "store/transfer_lock.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "store/object_store.h"

namespace fs = std::filesystem;

namespace {

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

class TransferLockTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "velkan-lock-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root_ = pattern;
        runtime_ = root_ + "/run";
        ASSERT_EQ(mkdir(runtime_.c_str(), 0700), 0);
        setenv("XDG_RUNTIME_DIR", runtime_.c_str(), 1);
        setenv("VELKAN_DATA_DIR", (root_ + "/data").c_str(), 1);
    }
    void TearDown() override {
        unsetenv("XDG_RUNTIME_DIR");
        unsetenv("VELKAN_DATA_DIR");
        std::error_code ec;
        fs::remove_all(root_, ec);
    }

    std::string root_;
    std::string runtime_;
};

}  // namespace

TEST_F(TransferLockTest, TheLockLivesInTheRuntimeFolderOnePerStore) {
    TransferLock lock;
    std::string error;
    ASSERT_EQ(lock.TryTake(&error), TransferLock::Outcome::kTaken) << error;
    const std::string path = TransferLockPath();
    EXPECT_TRUE(StartsWith(path, runtime_ + "/velkan-tessiver/transfer-")) << path;
    EXPECT_EQ(path.substr(path.size() - 5), ".lock");
    EXPECT_TRUE(fs::exists(path));
    EXPECT_FALSE(fs::exists(StoreFilePath() + ".transfer-lock"));
    struct stat st;
    ASSERT_EQ(stat((runtime_ + "/velkan-tessiver").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0700u);

    // Another store has a lock of its own, free while this one is held.
    setenv("VELKAN_DATA_DIR", (root_ + "/other").c_str(), 1);
    EXPECT_NE(TransferLockPath(), path);
    TransferLock other;
    EXPECT_EQ(other.TryTake(&error), TransferLock::Outcome::kTaken) << error;

    // The same store under another spelling meets the same lock.
    fs::create_directory_symlink(root_ + "/data", root_ + "/link");
    setenv("VELKAN_DATA_DIR", (root_ + "/link").c_str(), 1);
    EXPECT_EQ(TransferLockPath(), path);
    TransferLock same;
    EXPECT_EQ(same.TryTake(&error), TransferLock::Outcome::kBusy);
}

TEST_F(TransferLockTest, AFolderLeftOpenToOthersIsClosedAgain) {
    ASSERT_EQ(mkdir((runtime_ + "/velkan-tessiver").c_str(), 0777), 0);
    ASSERT_EQ(chmod((runtime_ + "/velkan-tessiver").c_str(), 0777), 0);
    const std::string path = TransferLockPath();
    EXPECT_TRUE(StartsWith(path, runtime_ + "/velkan-tessiver/")) << path;
    struct stat st;
    ASSERT_EQ(stat((runtime_ + "/velkan-tessiver").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0700u);
}

// Without a usable runtime folder the lock file is beside the store, as before.
TEST_F(TransferLockTest, WithoutARuntimeFolderTheLockIsBesideTheStore) {
    const std::string beside = root_ + "/data/velkan.sqlite3.transfer-lock";
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(TransferLockPath(), beside);
    setenv("XDG_RUNTIME_DIR", "", 1);
    EXPECT_EQ(TransferLockPath(), beside);
    setenv("XDG_RUNTIME_DIR", "run", 1);  // relative: not a runtime folder
    EXPECT_EQ(TransferLockPath(), beside);
    setenv("XDG_RUNTIME_DIR", (root_ + "/missing").c_str(), 1);
    EXPECT_EQ(TransferLockPath(), beside);
    std::ofstream(root_ + "/file") << "not a folder";
    setenv("XDG_RUNTIME_DIR", (root_ + "/file").c_str(), 1);
    EXPECT_EQ(TransferLockPath(), beside);
    // A "velkan-tessiver" that is a file, not a folder.
    std::ofstream(runtime_ + "/velkan-tessiver") << "in the way";
    setenv("XDG_RUNTIME_DIR", runtime_.c_str(), 1);
    EXPECT_EQ(TransferLockPath(), beside);

    TransferLock lock;
    std::string error;
    ASSERT_EQ(lock.TryTake(&error), TransferLock::Outcome::kTaken) << error;
    EXPECT_TRUE(fs::exists(beside));
}

// A lock held by another process keeps this one out until that process lets go (here: ends).
TEST_F(TransferLockTest, ALockHeldByAnotherProcessKeepsThisOneOut) {
    int toChild[2], fromChild[2];
    ASSERT_EQ(pipe(toChild), 0);
    ASSERT_EQ(pipe(fromChild), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(toChild[1]);
        close(fromChild[0]);
        TransferLock held;
        std::string error;
        const char taken = held.TryTake(&error) == TransferLock::Outcome::kTaken ? 'y' : 'n';
        (void)!write(fromChild[1], &taken, 1);
        char go = 0;
        (void)!read(toChild[0], &go, 1);  // held until the test says
        _exit(0);
    }
    close(toChild[0]);
    close(fromChild[1]);
    char taken = 0;
    ASSERT_EQ(read(fromChild[0], &taken, 1), 1);
    ASSERT_EQ(taken, 'y');

    TransferLock lock;
    std::string error;
    EXPECT_EQ(lock.TryTake(&error), TransferLock::Outcome::kBusy);
    EXPECT_FALSE(lock.Held());

    close(toChild[1]);  // the child ends
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    close(fromChild[0]);
    EXPECT_EQ(lock.TryTake(&error), TransferLock::Outcome::kTaken) << error;
}
