// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/import_input.h"

#include <cerrno>
#include <cstring>

bool ImportInput::Fill() {
    if (ended_) return false;
    pos_ = 0;
    len_ = std::fread(buffer_.get(), 1, kBufferSize, file_);
    if (len_ == 0) {
        ended_ = true;
        if (std::ferror(file_)) {
            failed_ = true;
            readError_ = std::strerror(errno);
        }
        return false;
    }
    return true;
}

bool ImportInput::AppendUtf8(int first, std::u16string* out) {
    std::uint32_t cp;
    int more;
    std::uint32_t least;
    if (first < 0x80) {
        out->push_back(static_cast<char16_t>(first));
        return true;
    } else if ((first & 0xE0) == 0xC0) {
        cp = static_cast<std::uint32_t>(first & 0x1F);
        more = 1;
        least = 0x80;
    } else if ((first & 0xF0) == 0xE0) {
        cp = static_cast<std::uint32_t>(first & 0x0F);
        more = 2;
        least = 0x800;
    } else if ((first & 0xF8) == 0xF0) {
        cp = static_cast<std::uint32_t>(first & 0x07);
        more = 3;
        least = 0x10000;
    } else {
        return false;
    }
    for (int i = 0; i < more; ++i) {
        const int c = Peek();
        if (c < 0 || (c & 0xC0) != 0x80) return false;
        Get();
        cp = cp << 6 | static_cast<std::uint32_t>(c & 0x3F);
    }
    // Overlong forms, surrogates and values beyond Unicode are not UTF-8.
    if (cp < least || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) return false;
    if (cp < 0x10000) {
        out->push_back(static_cast<char16_t>(cp));
    } else {
        cp -= 0x10000;
        out->push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
        out->push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    }
    return true;
}
