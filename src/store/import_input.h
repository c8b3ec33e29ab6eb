// SPDX-License-Identifier: GPL-3.0-or-later
// A file read byte by byte through a buffer, for the importers: it counts the bytes taken
// (for the progress) and the line and column of each byte (for what is wrong and where), and
// decodes UTF-8 into the program's UTF-16. Memory stays the size of its buffer whatever the
// file's size.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

class ImportInput {
  public:
    explicit ImportInput(std::FILE* file)
        : file_(file), buffer_(std::make_unique<unsigned char[]>(kBufferSize)) {}
    ImportInput(const ImportInput&) = delete;
    ImportInput& operator=(const ImportInput&) = delete;

    // The next byte without taking it; -1 at the end of the file (or after a read error).
    int Peek() {
        if (pos_ == len_ && !Fill()) return -1;
        return buffer_[pos_];
    }
    // Takes the next byte; -1 at the end.
    int Get() {
        const int c = Peek();
        if (c < 0) return c;
        ++pos_;
        ++consumed_;
        if (c == '\n') {
            ++line_;
            column_ = 1;
        } else {
            ++column_;
        }
        return c;
    }

    // A UTF-8 character whose first byte, `first`, was taken: its code units are appended.
    // False for a byte sequence that is not UTF-8 (nothing is appended).
    bool AppendUtf8(int first, std::u16string* out);

    // A read of the file failed (not the end of it); ReadError() says why.
    bool Failed() const { return failed_; }
    const std::string& ReadError() const { return readError_; }

    std::uint64_t Consumed() const { return consumed_; }
    // Where the next byte stands, from 1.
    std::uint64_t Line() const { return line_; }
    std::uint64_t Column() const { return column_; }

  private:
    bool Fill();

    static constexpr std::size_t kBufferSize = 1 << 16;
    std::FILE* file_;
    std::unique_ptr<unsigned char[]> buffer_;
    std::size_t pos_ = 0;
    std::size_t len_ = 0;
    bool ended_ = false;
    bool failed_ = false;
    std::string readError_;
    std::uint64_t consumed_ = 0;
    std::uint64_t line_ = 1;
    std::uint64_t column_ = 1;
};
