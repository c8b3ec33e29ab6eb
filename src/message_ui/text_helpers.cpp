// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/text_helpers.h"

#include <cstring>

namespace {

constexpr char16_t kCr = u'\r';
constexpr char16_t kLf = u'\n';

bool IsDecimalDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

bool Contains(const char16_t* set, char16_t c) {
    for (; *set != u'\0'; ++set) {
        if (*set == c) return true;
    }
    return false;
}

}  // namespace

void NormalizePhoneNumber(TextBuffer& number) {
    if (number.IsEmpty()) return;
    const char16_t* in = number.Text();
    const std::size_t length = number.Length();
    TextBuffer kept;
    char16_t* out = kept.Reserve(length);
    if (out == nullptr) {
        number.Clear();
        return;
    }
    std::size_t n = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const char16_t c = in[i];
        // A "+" counts only in front of everything kept, even after dropped characters.
        if (IsDecimalDigit(c) || (c == u'+' && n == 0)) out[n++] = c;
    }
    if (n == 0 || (n == 1 && out[0] == u'+')) {
        number.Clear();
        return;
    }
    number.Assign(out, n);
}

unsigned CountedText(TextBuffer& dest, TextBuffer& source) {
    if (source.IsEmpty()) {
        dest.Clear();
        return 0;
    }
    const char16_t* in = source.Text();
    char16_t counted[kMaxMessageChars];
    std::size_t n = 0;
    std::size_t consumed = 0;  // source characters read, up to the one that made the last kept
    while (in[consumed] != u'\0' && n < kMaxMessageChars) {
        const char16_t c = in[consumed++];
        if (c != kCr) counted[n++] = c;
    }
    const bool full = n == kMaxMessageChars;
    // Build the result before touching the source: dest and source may be the same buffer.
    TextBuffer result;
    result.Assign(counted, n);
    if (full && in[consumed] != u'\0') {
        // Everything after the character that produced the last counted one is dropped.
        source.Reserve(consumed);
    }
    dest.MoveFrom(result);
    return static_cast<unsigned>(n);
}

void LineBreaksToCrLf(TextBuffer& dest, const TextBuffer& source) {
    const char16_t* in = source.Text();
    const std::size_t length = source.Length();
    TextBuffer result;
    // Each character becomes at most two.
    char16_t* out = length == 0 ? nullptr : result.Reserve(2 * length);
    if (out == nullptr) {
        dest.Clear();
        return;
    }
    std::size_t n = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const char16_t c = in[i];
        if (c == kCr || c == kLf) {
            out[n++] = kCr;
            out[n++] = kLf;
            if (c == kCr && in[i + 1] == kLf) ++i;
        } else {
            out[n++] = c;
        }
    }
    dest.Assign(out, n);
}

void RemoveCharacters(TextBuffer& text, const char16_t* set) {
    if (text.IsEmpty() || set == nullptr || set[0] == u'\0') return;
    const char16_t* in = text.Text();
    const std::size_t length = text.Length();
    TextBuffer kept;
    char16_t* out = kept.Reserve(length);
    if (out == nullptr) {
        text.Clear();
        return;
    }
    std::size_t n = 0;
    for (std::size_t i = 0; i < length; ++i) {
        if (!Contains(set, in[i])) out[n++] = in[i];
    }
    if (n == length) return;  // nothing removed: keep the buffer as it is
    text.Assign(out, n);
}

void Wrap(TextBuffer& text, char16_t first, char16_t last) {
    const char16_t* in = text.Text();
    const std::size_t length = text.Length();
    // Both ends are judged on the text as it was, so an empty text gets both characters.
    const bool addFirst = length == 0 || in[0] != first;
    const bool addLast = length == 0 || in[length - 1] != last;
    if (!addFirst && !addLast) return;
    TextBuffer result;
    char16_t* out = result.Reserve(length + (addFirst ? 1 : 0) + (addLast ? 1 : 0));
    if (out == nullptr) {
        text.Clear();
        return;
    }
    std::size_t n = 0;
    if (addFirst) out[n++] = first;
    std::memcpy(out + n, in, length * sizeof(char16_t));
    n += length;
    if (addLast) out[n++] = last;
    out[n] = u'\0';
    text.MoveFrom(result);
}

void Unwrap(TextBuffer& text, char16_t first, char16_t last) {
    const char16_t* in = text.Text();
    std::size_t begin = 0;
    std::size_t end = text.Length();
    if (end > begin && in[begin] == first) ++begin;
    // The character dropped as the first one is not available as the last one any more.
    if (end > begin && in[end - 1] == last) --end;
    if (begin == 0 && end == text.Length()) return;
    text.Assign(in + begin, end - begin);
}

void NormalizePhoneNumber(std::u16string& number) {
    TextBuffer buffer = TextBuffer::FromU16(number);
    NormalizePhoneNumber(buffer);
    number = buffer.ToU16();
}

unsigned CountedText(std::u16string& dest, std::u16string& source) {
    TextBuffer counted;
    TextBuffer buffer = TextBuffer::FromU16(source);
    const unsigned n = CountedText(counted, buffer);
    source = buffer.ToU16();
    dest = counted.ToU16();
    return n;
}

void LineBreaksToCrLf(std::u16string& dest, std::u16string_view source) {
    TextBuffer converted;
    LineBreaksToCrLf(converted, TextBuffer::FromU16(source));
    dest = converted.ToU16();
}
