// SPDX-License-Identifier: GPL-3.0-or-later
// The fuzz input as the importers' readers take a file: a stream over the bytes in memory.
#pragma once

#include <cstdint>
#include <cstdio>

inline void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// A read-only stream over `size` bytes at `data` (an empty stream for no bytes); null only when
// the C library cannot make one.
class FuzzInputFile {
  public:
    FuzzInputFile(const std::uint8_t* data, std::size_t size) {
        static char empty[1];
        file_ = size == 0 ? fmemopen(empty, 1, "r")
                          : fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
        // The empty stream holds one byte; it is read past at once.
        if (file_ != nullptr && size == 0) std::fseek(file_, 0, SEEK_END);
    }
    ~FuzzInputFile() {
        if (file_ != nullptr) std::fclose(file_);
    }
    FuzzInputFile(const FuzzInputFile&) = delete;
    FuzzInputFile& operator=(const FuzzInputFile&) = delete;

    std::FILE* Get() const { return file_; }

  private:
    std::FILE* file_ = nullptr;
};
