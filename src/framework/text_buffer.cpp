// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/text_buffer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "resources/string_table.h"

namespace {

// The one empty string shared by every empty buffer. It lives in read-only memory on purpose:
// nothing may ever write through it.
const char16_t kEmptyText[1] = {u'\0'};

char16_t* SharedEmpty() noexcept {
    return const_cast<char16_t*>(kEmptyText);
}

constexpr std::size_t kMaxChars = std::numeric_limits<std::size_t>::max() / sizeof(char16_t) - 1;

std::size_t ScanLength(const char16_t* text) noexcept {
    return std::char_traits<char16_t>::length(text);
}

// A block of n + 1 characters, or null when n is too large or the allocation fails.
char16_t* AllocateChars(std::size_t n) noexcept {
    if (n > kMaxChars) return nullptr;
    return static_cast<char16_t*>(std::malloc((n + 1) * sizeof(char16_t)));
}

// A byte as a signed 8-bit value in a 16-bit code unit: 0x80-0xFF become 0xFF80-0xFFFF.
char16_t WidenByte(char byte) noexcept {
    return static_cast<char16_t>(static_cast<signed char>(byte));
}

// ---------------------------------------------------------------------------------------------
// The bounded formatter behind Format(). It writes into a fixed block and never past `limit`
// characters; the first character that does not fit marks the output as overflowed, and so
// does anything it does not understand.

struct Sink {
    char16_t* out;
    std::size_t limit;
    std::size_t pos = 0;
    bool overflow = false;

    void Put(char16_t c) noexcept {
        if (overflow) return;
        if (pos >= limit) {
            overflow = true;
            return;
        }
        out[pos++] = c;
    }
    void Repeat(char16_t c, std::size_t count) noexcept {
        // Padding wider than the room left overflows at once instead of looping.
        if (count > limit - pos) {
            overflow = true;
            return;
        }
        for (std::size_t i = 0; i < count; ++i) Put(c);
    }
};

struct Directive {
    bool left = false;
    bool zero = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    std::size_t width = 0;
    bool hasPrecision = false;
    std::size_t precision = 0;
};

enum class Length { kNone, kShort, kChar, kLong, kLongLong, kSize };

bool IsDigit(char16_t c) noexcept {
    return c >= u'0' && c <= u'9';
}

// Reads a run of decimal digits, saturating instead of wrapping on absurd values.
std::size_t ReadNumber(const char16_t*& f) noexcept {
    std::size_t value = 0;
    while (IsDigit(*f)) {
        if (value < 100'000'000) value = value * 10 + static_cast<std::size_t>(*f - u'0');
        ++f;
    }
    return value;
}

// Text with the width and the '-' flag; `count` characters produced by `at`.
template <typename At>
void EmitPadded(Sink& sink, const Directive& directive, std::size_t count, At at) noexcept {
    const std::size_t pad = directive.width > count ? directive.width - count : 0;
    if (!directive.left) sink.Repeat(u' ', pad);
    for (std::size_t i = 0; i < count && !sink.overflow; ++i) sink.Put(at(i));
    if (directive.left) sink.Repeat(u' ', pad);
}

void EmitWide(Sink& sink, const Directive& directive, const char16_t* text) noexcept {
    if (text == nullptr) text = u"(null)";
    std::size_t count = 0;
    // With a precision, never look beyond it: the argument need not be terminated there.
    while ((!directive.hasPrecision || count < directive.precision) && text[count] != u'\0')
        ++count;
    EmitPadded(sink, directive, count, [text](std::size_t i) { return text[i]; });
}

void EmitNarrow(Sink& sink, const Directive& directive, const char* text) noexcept {
    if (text == nullptr) {
        EmitWide(sink, directive, nullptr);
        return;
    }
    std::size_t count = 0;
    while ((!directive.hasPrecision || count < directive.precision) && text[count] != '\0') ++count;
    EmitPadded(sink, directive, count, [text](std::size_t i) { return WidenByte(text[i]); });
}

void EmitInteger(Sink& sink, const Directive& directive, bool negative, std::uint64_t magnitude,
                 unsigned base, bool upper, bool isSigned) noexcept {
    char16_t digits[24];
    std::size_t ndigits = 0;
    const char16_t* alphabet = upper ? u"0123456789ABCDEF" : u"0123456789abcdef";
    // Precision 0 with the value 0 prints no digits at all, as printf does.
    if (!(directive.hasPrecision && directive.precision == 0 && magnitude == 0)) {
        do {
            digits[ndigits++] = alphabet[magnitude % base];
            magnitude /= base;
        } while (magnitude != 0);
    }

    char16_t prefix[2];
    std::size_t nprefix = 0;
    if (isSigned) {
        if (negative) {
            prefix[nprefix++] = u'-';
        } else if (directive.plus) {
            prefix[nprefix++] = u'+';
        } else if (directive.space) {
            prefix[nprefix++] = u' ';
        }
    } else if (base == 16 && directive.alternate && ndigits > 0 &&
               !(ndigits == 1 && digits[0] == u'0')) {
        prefix[nprefix++] = u'0';
        prefix[nprefix++] = upper ? u'X' : u'x';
    }

    const std::size_t precisionZeros =
        directive.hasPrecision && directive.precision > ndigits ? directive.precision - ndigits : 0;
    const std::size_t body = nprefix + precisionZeros + ndigits;
    const std::size_t pad = directive.width > body ? directive.width - body : 0;
    const bool zeroPad = directive.zero && !directive.left && !directive.hasPrecision;

    if (!directive.left && !zeroPad) sink.Repeat(u' ', pad);
    for (std::size_t i = 0; i < nprefix; ++i) sink.Put(prefix[i]);
    if (zeroPad) sink.Repeat(u'0', pad);
    sink.Repeat(u'0', precisionZeros);
    while (ndigits > 0) sink.Put(digits[--ndigits]);
    if (directive.left) sink.Repeat(u' ', pad);
}

std::int64_t ReadSigned(Length length, std::va_list& args) noexcept {
    switch (length) {
        case Length::kChar:
            return static_cast<signed char>(va_arg(args, int));
        case Length::kShort:
            return static_cast<short>(va_arg(args, int));
        case Length::kLong:
            return va_arg(args, long);
        case Length::kLongLong:
            return va_arg(args, long long);
        case Length::kSize:
            return va_arg(args, std::ptrdiff_t);
        case Length::kNone:
            break;
    }
    return va_arg(args, int);
}

std::uint64_t ReadUnsigned(Length length, std::va_list& args) noexcept {
    switch (length) {
        case Length::kChar:
            return static_cast<unsigned char>(va_arg(args, unsigned));
        case Length::kShort:
            return static_cast<unsigned short>(va_arg(args, unsigned));
        case Length::kLong:
            return va_arg(args, unsigned long);
        case Length::kLongLong:
            return va_arg(args, unsigned long long);
        case Length::kSize:
            return va_arg(args, std::size_t);
        case Length::kNone:
            break;
    }
    return va_arg(args, unsigned);
}

// Formats into sink; returns false on overflow or an unsupported conversion.
bool FormatInto(Sink& sink, const char16_t* f, std::va_list& args) noexcept {
    while (*f != u'\0' && !sink.overflow) {
        if (*f != u'%') {
            sink.Put(*f++);
            continue;
        }
        ++f;
        if (*f == u'%') {
            sink.Put(u'%');
            ++f;
            continue;
        }

        Directive directive;
        for (bool more = true; more;) {
            switch (*f) {
                case u'-':
                    directive.left = true;
                    break;
                case u'0':
                    directive.zero = true;
                    break;
                case u'+':
                    directive.plus = true;
                    break;
                case u' ':
                    directive.space = true;
                    break;
                case u'#':
                    directive.alternate = true;
                    break;
                default:
                    more = false;
                    continue;
            }
            ++f;
        }

        if (*f == u'*') {
            ++f;
            const int w = va_arg(args, int);
            if (w < 0) {
                directive.left = true;
                directive.width = static_cast<std::size_t>(-static_cast<long long>(w));
            } else {
                directive.width = static_cast<std::size_t>(w);
            }
        } else {
            directive.width = ReadNumber(f);
        }

        if (*f == u'.') {
            ++f;
            directive.hasPrecision = true;
            if (*f == u'*') {
                ++f;
                const int p = va_arg(args, int);
                // A negative precision counts as none, as in printf.
                directive.hasPrecision = p >= 0;
                directive.precision = p >= 0 ? static_cast<std::size_t>(p) : 0;
            } else {
                directive.precision = ReadNumber(f);
            }
        }

        Length length = Length::kNone;
        if (*f == u'h') {
            ++f;
            length = Length::kShort;
            if (*f == u'h') {
                ++f;
                length = Length::kChar;
            }
        } else if (*f == u'l') {
            ++f;
            length = Length::kLong;
            if (*f == u'l') {
                ++f;
                length = Length::kLongLong;
            }
        } else if (*f == u'z') {
            ++f;
            length = Length::kSize;
        }

        const char16_t conversion = *f;
        if (conversion == u'\0') return false;  // the format ends inside a conversion
        ++f;
        switch (conversion) {
            case u's':
                if (length == Length::kShort) {
                    EmitNarrow(sink, directive, va_arg(args, const char*));
                } else if (length == Length::kNone || length == Length::kLong) {
                    EmitWide(sink, directive, va_arg(args, const char16_t*));
                } else {
                    return false;
                }
                break;
            case u'S':
                if (length != Length::kNone) return false;
                EmitNarrow(sink, directive, va_arg(args, const char*));
                break;
            case u'c':
            case u'C': {
                const int value = va_arg(args, int);
                const bool narrow = conversion == u'C' || length == Length::kShort;
                if (!narrow && length != Length::kNone && length != Length::kLong) return false;
                if (conversion == u'C' && length != Length::kNone) return false;
                const char16_t c =
                    narrow ? WidenByte(static_cast<char>(value)) : static_cast<char16_t>(value);
                EmitPadded(sink, directive, 1, [c](std::size_t) { return c; });
                break;
            }
            case u'd':
            case u'i': {
                const std::int64_t value = ReadSigned(length, args);
                const std::uint64_t magnitude = value < 0 ? 0 - static_cast<std::uint64_t>(value)
                                                          : static_cast<std::uint64_t>(value);
                EmitInteger(sink, directive, value < 0, magnitude, 10, false, true);
                break;
            }
            case u'u':
                EmitInteger(sink, directive, false, ReadUnsigned(length, args), 10, false, false);
                break;
            case u'x':
            case u'X':
                EmitInteger(sink, directive, false, ReadUnsigned(length, args), 16,
                            conversion == u'X', false);
                break;
            default:
                return false;
        }
    }
    return !sink.overflow;
}

}  // namespace

// ---------------------------------------------------------------------------------------------

TextBuffer::TextBuffer() noexcept : text_(SharedEmpty()) {}

TextBuffer::TextBuffer(const char16_t* text) : text_(SharedEmpty()) {
    Assign(text);
}

TextBuffer::TextBuffer(const TextBuffer& other) : text_(SharedEmpty()) {
    Assign(other);
}

TextBuffer::TextBuffer(TextBuffer&& other) noexcept : text_(SharedEmpty()) {
    MoveFrom(other);
}

TextBuffer& TextBuffer::operator=(const TextBuffer& other) {
    if (this != &other) Assign(other);
    return *this;
}

TextBuffer& TextBuffer::operator=(TextBuffer&& other) noexcept {
    MoveFrom(other);
    return *this;
}

TextBuffer& TextBuffer::operator=(const char16_t* text) {
    Assign(text);
    return *this;
}

TextBuffer::~TextBuffer() {
    if (!IsShared()) ReleaseText(text_);
}

void TextBuffer::ReleaseText(char16_t* text) noexcept {
    std::free(text);
}

void TextBuffer::ReleaseOwned() noexcept {
    if (!IsShared()) {
        char16_t* old = text_;
        text_ = SharedEmpty();
        ReleaseText(old);
    }
}

void TextBuffer::Replace(char16_t* block) noexcept {
    ReleaseOwned();
    if (block != nullptr) text_ = block;
}

std::size_t TextBuffer::Length() const noexcept {
    return ScanLength(text_);
}

const char16_t* TextBuffer::Clear() noexcept {
    ReleaseOwned();
    return text_;
}

const char16_t* TextBuffer::Assign(const char16_t* text) noexcept {
    if (text == nullptr || text[0] == u'\0') return Clear();
    if (text == text_) return text_;
    return Assign(text, ScanLength(text));
}

const char16_t* TextBuffer::Assign(const TextBuffer& other) noexcept {
    if (&other == this) return text_;
    return Assign(other.text_);
}

const char16_t* TextBuffer::Assign(const char16_t* text, std::size_t n) noexcept {
    if (n == 0 || text == nullptr) return Clear();
    // A fresh block (rather than resizing in place) keeps this correct when `text` points into
    // the buffer's own characters.
    char16_t* block = AllocateChars(n);
    if (block != nullptr) {
        std::memcpy(block, text, n * sizeof(char16_t));
        block[n] = u'\0';
    }
    Replace(block);
    return text_;
}

const char16_t* TextBuffer::Attach(char16_t* heapText) noexcept {
    if (heapText == text_) return text_;
    if (heapText == nullptr || heapText == kEmptyText) return Clear();
    if (heapText[0] == u'\0') {
        // An empty text never owns memory.
        ReleaseText(heapText);
        return Clear();
    }
    Replace(heapText);
    return text_;
}

void TextBuffer::MoveFrom(TextBuffer& other) noexcept {
    if (&other == this) return;
    ReleaseOwned();
    text_ = other.text_;
    other.text_ = SharedEmpty();
}

std::unique_ptr<TextBuffer> TextBuffer::Detach() noexcept {
    std::unique_ptr<TextBuffer> holder(new (std::nothrow) TextBuffer());
    if (holder) holder->MoveFrom(*this);
    return holder;
}

char16_t* TextBuffer::Reserve(std::size_t n) noexcept {
    if (n == 0 || n > kMaxChars) {
        Clear();
        return nullptr;
    }
    const std::size_t bytes = (n + 1) * sizeof(char16_t);
    if (IsShared()) {
        auto* block = static_cast<char16_t*>(std::malloc(bytes));
        if (block == nullptr) return nullptr;
        block[0] = u'\0';
        text_ = block;
        return text_;
    }
    auto* block = static_cast<char16_t*>(std::realloc(text_, bytes));
    if (block == nullptr) {
        Clear();
        return nullptr;
    }
    // Growing keeps the old terminator; shrinking needs a new one at n.
    block[n] = u'\0';
    text_ = block;
    return text_;
}

const char16_t* TextBuffer::Append(const char16_t* text) noexcept {
    if (text == nullptr || text[0] == u'\0') return text_;
    const std::size_t oldLength = Length();
    const std::size_t addLength = ScanLength(text);
    if (addLength > kMaxChars - oldLength) return Clear();
    // A new block, filled before the old one is released, so that appending the buffer's own
    // text (or a part of it) works.
    char16_t* block = AllocateChars(oldLength + addLength);
    if (block != nullptr) {
        std::memcpy(block, text_, oldLength * sizeof(char16_t));
        std::memcpy(block + oldLength, text, addLength * sizeof(char16_t));
        block[oldLength + addLength] = u'\0';
    }
    Replace(block);
    return text_;
}

const char16_t* TextBuffer::Append(const TextBuffer& other) noexcept {
    return Append(other.text_);
}

std::size_t TextBuffer::LoadResourceString(unsigned id) noexcept {
    std::size_t length = 0;
    const char16_t* text = FindResourceString(id, &length);
    if (text == nullptr || length == 0) {
        Clear();
        return 0;
    }
    Assign(text, length);
    return IsShared() ? 0 : length;
}

const char16_t* TextBuffer::Format(std::size_t limit, const char16_t* format, ...) noexcept {
    std::va_list args;
    va_start(args, format);
    FormatV(limit, format, args);
    va_end(args);
    return text_;
}

const char16_t* TextBuffer::FormatV(std::size_t limit, const char16_t* format,
                                    std::va_list args) noexcept {
    if (format == nullptr || limit == 0) return Clear();
    // Format into a separate block first: the arguments may point into this buffer.
    char16_t* block = AllocateChars(limit);
    if (block == nullptr) return Clear();
    Sink sink{block, limit};
    std::va_list copy;
    va_copy(copy, args);
    const bool fits = FormatInto(sink, format, copy);
    va_end(copy);
    if (!fits || sink.pos == 0) {
        // Over-long output is never shown cut short: it disappears.
        std::free(block);
        return Clear();
    }
    block[sink.pos] = u'\0';
    // Exact fit: give back what the output did not use.
    if (sink.pos < limit) {
        if (auto* fitted =
                static_cast<char16_t*>(std::realloc(block, (sink.pos + 1) * sizeof(char16_t)))) {
            block = fitted;
        }
    }
    Replace(block);
    return text_;
}

TextBuffer TextBuffer::FromU16(std::u16string_view text) noexcept {
    TextBuffer buffer;
    if (!text.empty()) buffer.Assign(text.data(), text.size());
    return buffer;
}

const char16_t* TextBuffer::EmptyText() noexcept {
    return kEmptyText;
}

char16_t* TextBuffer::Widen(const char* bytes) noexcept {
    if (bytes == nullptr || bytes[0] == '\0') return SharedEmpty();
    return Widen(bytes, std::strlen(bytes));
}

char16_t* TextBuffer::Widen(const char* bytes, std::size_t n) noexcept {
    if (n == 0 || bytes == nullptr) return SharedEmpty();
    char16_t* block = AllocateChars(n);
    if (block == nullptr) return SharedEmpty();
    for (std::size_t i = 0; i < n; ++i) block[i] = WidenByte(bytes[i]);
    block[n] = u'\0';
    return block;
}

char16_t* TextBuffer::Duplicate(const char16_t* text) noexcept {
    if (text == nullptr || text[0] == u'\0') return SharedEmpty();
    const std::size_t n = ScanLength(text);
    char16_t* block = AllocateChars(n);
    if (block == nullptr) return SharedEmpty();
    std::memcpy(block, text, (n + 1) * sizeof(char16_t));
    return block;
}

void TextBuffer::FreeText(char16_t* text) noexcept {
    if (text != nullptr && text != kEmptyText) std::free(text);
}

const char16_t* TextBuffer::FindLast(const char16_t* text, const char16_t* pattern) noexcept {
    if (text == nullptr) return nullptr;
    const std::size_t length = ScanLength(text);
    if (pattern == nullptr || pattern[0] == u'\0') return text + length;
    const std::size_t patternLength = ScanLength(pattern);
    if (patternLength > length) return nullptr;
    for (std::size_t start = length - patternLength + 1; start-- > 0;) {
        if (std::char_traits<char16_t>::compare(text + start, pattern, patternLength) == 0) {
            return text + start;
        }
    }
    return nullptr;
}
