// SPDX-License-Identifier: GPL-3.0-or-later
// Helpers for the store tests: a private data folder per test, a settable local clock, and a
// way to run code without the administrator's right to ignore file permissions.
#pragma once

#include <linux/capability.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "common/file_time.h"
#include "store/object_store.h"

// A fresh folder under the temporary directory, used as the data folder while it lives.
class TempDataDir {
  public:
    TempDataDir() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velkan-store-XXXXXX").string();
        char* made = mkdtemp(pattern.data());
        path_ = made != nullptr ? made : "";
        data_ = path_ + "/data";
        SetStoreDataDirectory(data_);
        TakeStoreNotices();
    }
    ~TempDataDir() {
        SetStoreDataDirectory("");
        TakeStoreNotices();
        std::error_code ec;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ec);
        std::filesystem::permissions(data_, std::filesystem::perms::owner_all, ec);
        std::filesystem::remove_all(path_, ec);
    }
    TempDataDir(const TempDataDir&) = delete;
    TempDataDir& operator=(const TempDataDir&) = delete;

    const std::string& Root() const { return path_; }
    const std::string& Data() const { return data_; }
    std::string File() const { return data_ + "/velkan.sqlite3"; }

  private:
    std::string path_;
    std::string data_;
};

// Replaces the local wall clock: every reading returns the current value and then moves it on
// by `stepMs` milliseconds.
class FakeLocalTime {
  public:
    explicit FakeLocalTime(SystemTime start, std::uint32_t stepMs = 0) : step_(stepMs * 10'000ull) {
        FileTime ft = 0;
        SystemTimeToFileTime(start, &ft);
        now_.store(ft);
        SetLocalTimeSource(&FakeLocalTime::Read, this);
    }
    ~FakeLocalTime() { SetLocalTimeSource(nullptr, nullptr); }
    FakeLocalTime(const FakeLocalTime&) = delete;
    FakeLocalTime& operator=(const FakeLocalTime&) = delete;

    FileTime Now() const { return now_.load(); }
    void AdvanceMs(std::uint64_t ms) { now_.fetch_add(ms * 10'000ull); }

  private:
    static SystemTime Read(void* self) {
        auto* c = static_cast<FakeLocalTime*>(self);
        const FileTime value = c->now_.fetch_add(c->step_);
        SystemTime t{};
        FileTimeToSystemTime(value, &t);
        return t;
    }
    std::atomic<FileTime> now_{0};
    std::uint64_t step_;
};

// Runs `body` in a child process that has given up every capability, so that file permissions
// apply even when the tests run as root. Returns the child's result (its exit status), or -1.
inline int RunWithoutPrivileges(const std::function<int()>& body) {
    const pid_t pid = fork();
    if (pid < 0) return -1;
    if (pid == 0) {
        __user_cap_header_struct header{};
        header.version = _LINUX_CAPABILITY_VERSION_3;
        header.pid = 0;
        __user_cap_data_struct data[2]{};
        if (syscall(SYS_capset, &header, data) != 0) _exit(100);
        _exit(body());
    }
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}
