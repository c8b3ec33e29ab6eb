// SPDX-License-Identifier: GPL-3.0-or-later
// TextBuffer: the one UTF-16 string of the user interface and the settings.
//
// Rules that callers can observe and rely on:
//
// - The text is zero-terminated and has no length or capacity field: Length() scans for the
//   terminator, and every change reallocates the memory to exactly (length + 1) characters.
// - An empty buffer points to one shared, static, read-only empty string and owns no memory.
//   Every operation that leaves the text empty (assigning an empty or null string, Clear, a
//   failed allocation, a failed resource load, a formatting overflow) releases what the buffer
//   owned and points it back to that shared string. Text() is therefore never null.
// - Owned memory always comes from malloc/realloc. Releasing it is virtual (ReleaseText) so that
//   a derived holder can account for or wipe it; note that C++ calls the base version from the
//   base destructor, so a derived class that overrides ReleaseText should call Clear() in its
//   own destructor.
// - Allocation failures never throw: the buffer silently becomes empty.
//
// Formatting (Format, FormatV) is printf-style over char16_t format strings with a fixed
// character limit; the output is never truncated: when it needs more than `limit` characters
// the buffer becomes empty. Output of exactly `limit` characters is kept and terminated.
// Supported conversions:
//   %s, %ls   const char16_t* (null prints "(null)")
//   %hs, %S   const char* 8-bit text, widened by sign extension like Widen()
//   %c        a UTF-16 code unit (passed as int); %hc, %C an 8-bit char, sign-extended
//   %d %i     signed integers; %u %x %X unsigned; length modifiers h, hh, l, ll, z
//   %%        a percent sign
// Flags '-', '0', '+', ' ' and '#' (0x / 0X prefix for %x / %X); a width and a precision, each
// given as digits or '*' (an int argument). The precision is the maximum number of characters
// for %s and the minimum number of digits for integers (which then ignore the '0' flag). Any
// other conversion, or a format ending inside a conversion, counts as an overflow: the result
// is the empty text.
//
// Dates and times (FormatDate, FormatTime) use the locale that Qt reports as the default
// (QLocale(), which is the user's system locale unless the program sets another default). The
// FileTime is shown as stored: stored times are local times and are never converted between
// time zones.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "common/file_time.h"

// Date flags: 0 or DATE_SHORTDATE give the locale's short date; DATE_LONGDATE the long one.
constexpr unsigned DATE_SHORTDATE = 0x00000001;
constexpr unsigned DATE_LONGDATE = 0x00000002;
// Time flags: 0 gives hours, minutes and seconds; TIME_NOSECONDS leaves the seconds out.
constexpr unsigned TIME_NOSECONDS = 0x00000002;

class TextBuffer {
  public:
    TextBuffer() noexcept;
    // Null or empty gives the empty buffer; otherwise a copy.
    TextBuffer(const char16_t* text);  // NOLINT(google-explicit-constructor): used like a string
    TextBuffer(const TextBuffer& other);
    TextBuffer(TextBuffer&& other) noexcept;
    TextBuffer& operator=(const TextBuffer& other);      // Assign
    TextBuffer& operator=(TextBuffer&& other) noexcept;  // MoveFrom
    TextBuffer& operator=(const char16_t* text);         // Assign
    virtual ~TextBuffer();

    // The characters, zero-terminated; never null.
    const char16_t* Text() const noexcept { return text_; }
    // Characters before the terminator (found by scanning).
    std::size_t Length() const noexcept;
    bool IsEmpty() const noexcept { return text_[0] == u'\0'; }
    // True while the buffer holds the shared empty string (owns no memory).
    bool IsShared() const noexcept { return text_ == EmptyText(); }

    // Releases the memory and points to the shared empty string; returns the (empty) text.
    const char16_t* Clear() noexcept;
    // Null or empty → Clear; otherwise an exact-fit copy. Returns the text.
    const char16_t* Assign(const char16_t* text) noexcept;
    const char16_t* Assign(const TextBuffer& other) noexcept;
    // Copies exactly n characters, embedded zeros included, and terminates at n; n = 0 → Clear.
    // `text` must hold at least n characters.
    const char16_t* Assign(const char16_t* text, std::size_t n) noexcept;
    // Takes ownership of a malloc'ed, zero-terminated block. Null, the shared empty string or a
    // block that holds the empty text (which is then freed) leave the buffer empty.
    const char16_t* Attach(char16_t* heapText) noexcept;
    // Releases its own memory, takes the other's text and leaves the other empty.
    void MoveFrom(TextBuffer& other) noexcept;
    // Hands the characters to a newly allocated TextBuffer and becomes empty. Returns null (and
    // keeps the text) only when the new holder cannot be allocated.
    std::unique_ptr<TextBuffer> Detach() noexcept;
    // n = 0 → Clear and null. Otherwise resizes the block to n + 1 characters: a new block with
    // the first character 0 when the buffer was empty, else a reallocation that keeps the text
    // (cut and terminated at n when it was longer). Returns the writable characters, of which
    // the caller may fill n and must keep a terminator; null (and the buffer empty) when the
    // allocation fails.
    char16_t* Reserve(std::size_t n) noexcept;
    // Null or empty → unchanged, nothing allocated. Otherwise a block of the combined length
    // holds the old text followed by the new one. Returns the text.
    const char16_t* Append(const char16_t* text) noexcept;
    const char16_t* Append(const TextBuffer& other) noexcept;

    // Loads string resource `id`; returns its length, 0 (and the buffer empty) when missing.
    std::size_t LoadResourceString(unsigned id) noexcept;

    // printf-style formatting bounded by `limit` characters (see the conventions above).
    const char16_t* Format(std::size_t limit, const char16_t* format, ...) noexcept;
    const char16_t* FormatV(std::size_t limit, const char16_t* format, std::va_list args) noexcept;

    // The date or time of a stored FileTime in the user's locale. On any failure (a value out
    // of range, unknown flags) the buffer keeps its previous text. Returns the text.
    const char16_t* FormatDate(FileTime time, unsigned flags) noexcept;
    const char16_t* FormatTime(FileTime time, unsigned flags) noexcept;

    // Conversions for code that holds std::u16string.
    std::u16string ToU16() const { return std::u16string(text_); }
    static TextBuffer FromU16(std::u16string_view text) noexcept;

    // The shared empty string that every empty buffer points to.
    static const char16_t* EmptyText() noexcept;

    // 8-bit text to a new malloc'ed UTF-16 string, each byte widened as a signed value (bytes
    // 0x80-0xFF become 0xFF80-0xFFFF). For n = 0 (or a null or empty input in the form without
    // n), and when the allocation fails, returns the shared empty string. Hand the result to
    // Attach() or release it with FreeText(); never write through the shared empty string.
    static char16_t* Widen(const char* bytes) noexcept;
    static char16_t* Widen(const char* bytes, std::size_t n) noexcept;
    // A malloc'ed copy of UTF-16 text; the shared empty string when it would be empty.
    static char16_t* Duplicate(const char16_t* text) noexcept;
    // Frees a string from Widen or Duplicate; ignores null and the shared empty string.
    static void FreeText(char16_t* text) noexcept;

    // The last occurrence of `pattern` in `text`, null if none (or `text` is null). An empty or
    // null pattern yields the end of `text` (its terminator).
    static const char16_t* FindLast(const char16_t* text, const char16_t* pattern) noexcept;

  protected:
    // Releases a block that this buffer owned.
    virtual void ReleaseText(char16_t* text) noexcept;

  private:
    // Releases what the buffer owns (if anything) and points to the shared empty string.
    void ReleaseOwned() noexcept;
    // Replaces the buffer's memory by `block` (owned, non-empty) or clears for null.
    void Replace(char16_t* block) noexcept;

    char16_t* text_;
};
