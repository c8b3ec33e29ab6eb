// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/text_buffer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace {

// Counts every release of owned memory, so tests can see when a buffer frees.
class CountingBuffer : public TextBuffer {
  public:
    explicit CountingBuffer(int* releases) : releases_(releases) {}
    ~CountingBuffer() override { Clear(); }

  protected:
    void ReleaseText(char16_t* text) noexcept override {
        ++*releases_;
        TextBuffer::ReleaseText(text);
    }

  private:
    int* releases_;
};

char16_t* HeapCopy(const char16_t* text) {
    const std::size_t n = std::char_traits<char16_t>::length(text);
    auto* block = static_cast<char16_t*>(std::malloc((n + 1) * sizeof(char16_t)));
    std::memcpy(block, text, (n + 1) * sizeof(char16_t));
    return block;
}

TEST(TextBuffer, EmptyBufferPointsToTheSharedEmptyString) {
    TextBuffer a;
    TextBuffer b;
    ASSERT_NE(a.Text(), nullptr);
    EXPECT_EQ(a.Text(), TextBuffer::EmptyText());
    EXPECT_EQ(a.Text(), b.Text());
    EXPECT_EQ(a.Length(), 0u);
    EXPECT_TRUE(a.IsEmpty());
    EXPECT_TRUE(a.IsShared());
    EXPECT_EQ(TextBuffer::EmptyText()[0], u'\0');
}

TEST(TextBuffer, ConstructFromNullOrEmptyIsEmpty) {
    TextBuffer fromNull(static_cast<const char16_t*>(nullptr));
    TextBuffer fromEmpty(u"");
    EXPECT_EQ(fromNull.Text(), TextBuffer::EmptyText());
    EXPECT_EQ(fromEmpty.Text(), TextBuffer::EmptyText());
}

TEST(TextBuffer, ConstructFromTextCopiesIt) {
    const char16_t* source = u"Hello";
    TextBuffer text(source);
    EXPECT_NE(text.Text(), source);
    EXPECT_EQ(text.ToU16(), u"Hello");
    EXPECT_EQ(text.Length(), 5u);
    EXPECT_FALSE(text.IsShared());
}

TEST(TextBuffer, CopyConstructionCopiesOrStaysShared) {
    TextBuffer empty;
    TextBuffer emptyCopy(empty);
    EXPECT_TRUE(emptyCopy.IsShared());

    TextBuffer text(u"abc");
    TextBuffer copy(text);
    EXPECT_NE(copy.Text(), text.Text());
    EXPECT_EQ(copy.ToU16(), u"abc");
}

TEST(TextBuffer, CopyAssignmentAssigns) {
    TextBuffer text(u"abc");
    TextBuffer other(u"something longer");
    other = text;
    EXPECT_EQ(other.ToU16(), u"abc");
    EXPECT_NE(other.Text(), text.Text());
    other = TextBuffer();
    EXPECT_TRUE(other.IsShared());
    TextBuffer& self = text;
    text = self;
    EXPECT_EQ(text.ToU16(), u"abc");
}

TEST(TextBuffer, MoveTakesThePointerAndLeavesTheSourceEmpty) {
    TextBuffer text(u"abc");
    const char16_t* pointer = text.Text();
    TextBuffer moved(std::move(text));
    EXPECT_EQ(moved.Text(), pointer);
    EXPECT_TRUE(text.IsShared());  // NOLINT(bugprone-use-after-move): the rule under test

    TextBuffer target(u"old");
    target = std::move(moved);
    EXPECT_EQ(target.Text(), pointer);
    EXPECT_TRUE(moved.IsShared());  // NOLINT(bugprone-use-after-move)
}

TEST(TextBuffer, AssigningTheEmptyStringFreesOnceAndThenDoesNothing) {
    int releases = 0;
    CountingBuffer text(&releases);
    text.Assign(u"message");
    ASSERT_FALSE(text.IsShared());
    EXPECT_EQ(text.Assign(u""), TextBuffer::EmptyText());
    EXPECT_EQ(releases, 1);
    EXPECT_TRUE(text.IsShared());
    text.Assign(u"");
    EXPECT_EQ(releases, 1);
    text.Assign(static_cast<const char16_t*>(nullptr));
    EXPECT_EQ(releases, 1);
    EXPECT_EQ(text.Text(), TextBuffer::EmptyText());
}

TEST(TextBuffer, AssignReplacesTheTextAndReleasesTheOldBlock) {
    int releases = 0;
    CountingBuffer text(&releases);
    text.Assign(u"first");
    text.Assign(u"second text");
    EXPECT_EQ(text.ToU16(), u"second text");
    EXPECT_EQ(releases, 1);
    TextBuffer other(u"third");
    text.Assign(other);
    EXPECT_EQ(text.ToU16(), u"third");
    EXPECT_NE(text.Text(), other.Text());
    text.Assign(TextBuffer());
    EXPECT_TRUE(text.IsShared());
}

TEST(TextBuffer, AssignFromItsOwnCharacters) {
    TextBuffer text(u"abcdef");
    text.Assign(text.Text());
    EXPECT_EQ(text.ToU16(), u"abcdef");
    text.Assign(text.Text() + 2);
    EXPECT_EQ(text.ToU16(), u"cdef");
    text.Assign(text.Text() + 1, 2);
    EXPECT_EQ(text.ToU16(), u"de");
}

TEST(TextBuffer, AssignCountCopiesEmbeddedZeros) {
    const char16_t source[] = {u'a', u'\0', u'b', u'c'};
    TextBuffer text;
    text.Assign(source, 3);
    const char16_t* t = text.Text();
    EXPECT_EQ(t[0], u'a');
    EXPECT_EQ(t[1], u'\0');
    EXPECT_EQ(t[2], u'b');
    EXPECT_EQ(t[3], u'\0');  // terminated at n, the 'c' is not copied
    EXPECT_EQ(text.Length(), 1u);
    EXPECT_FALSE(text.IsShared());

    text.Assign(source, 0);
    EXPECT_TRUE(text.IsShared());
}

TEST(TextBuffer, FromU16AndToU16RoundTrip) {
    const std::u16string value = u"Gr\u00FC\u00DFe \u20AC";
    EXPECT_EQ(TextBuffer::FromU16(value).ToU16(), value);
    EXPECT_TRUE(TextBuffer::FromU16(u"").IsShared());
}

TEST(TextBuffer, ClearReleasesAndReturnsTheEmptyText) {
    int releases = 0;
    CountingBuffer text(&releases);
    EXPECT_EQ(text.Clear(), TextBuffer::EmptyText());
    EXPECT_EQ(releases, 0);  // nothing owned, nothing released
    text.Assign(u"x");
    EXPECT_EQ(text.Clear(), TextBuffer::EmptyText());
    EXPECT_EQ(releases, 1);
}

TEST(TextBuffer, AppendingTheEmptyStringChangesAndAllocatesNothing) {
    int releases = 0;
    CountingBuffer text(&releases);
    text.Append(u"");
    text.Append(static_cast<const char16_t*>(nullptr));
    EXPECT_TRUE(text.IsShared());

    text.Assign(u"abc");
    const char16_t* before = text.Text();
    EXPECT_EQ(text.Append(u""), before);
    text.Append(TextBuffer());
    EXPECT_EQ(text.Text(), before);
    EXPECT_EQ(releases, 0);
    EXPECT_EQ(text.ToU16(), u"abc");
}

TEST(TextBuffer, AppendBuildsTheCombinedText) {
    TextBuffer text;
    text.Append(u"Success");
    EXPECT_FALSE(text.IsShared());
    text.Append(u"\n");
    text.Append(TextBuffer(u"2 message(s) sent"));
    EXPECT_EQ(text.ToU16(), u"Success\n2 message(s) sent");
}

TEST(TextBuffer, AppendItsOwnText) {
    TextBuffer text(u"ab");
    text.Append(text.Text());
    EXPECT_EQ(text.ToU16(), u"abab");
    text.Append(text);
    EXPECT_EQ(text.ToU16(), u"abababab");
}

TEST(TextBuffer, AttachTakesOwnershipOfAHeapBlock) {
    char16_t* block = HeapCopy(u"owned");
    TextBuffer text;
    text.Attach(block);
    EXPECT_EQ(text.Text(), block);
    EXPECT_EQ(text.ToU16(), u"owned");  // freed by the destructor (checked by the sanitizer)

    text.Attach(nullptr);
    EXPECT_TRUE(text.IsShared());
}

TEST(TextBuffer, AttachingAnEmptyBlockFreesItAndStaysShared) {
    int releases = 0;
    CountingBuffer text(&releases);
    text.Attach(HeapCopy(u""));
    EXPECT_TRUE(text.IsShared());
    EXPECT_EQ(releases, 1);
    text.Attach(TextBuffer::Widen(""));  // the shared empty string itself
    EXPECT_TRUE(text.IsShared());
    EXPECT_EQ(releases, 1);
}

TEST(TextBuffer, MoveFromTakesThePointer) {
    TextBuffer source(u"abc");
    TextBuffer target(u"old");
    const char16_t* pointer = source.Text();
    target.MoveFrom(source);
    EXPECT_EQ(target.Text(), pointer);
    EXPECT_TRUE(source.IsShared());
    target.MoveFrom(target);
    EXPECT_EQ(target.Text(), pointer);
}

TEST(TextBuffer, DetachHandsTheTextToANewBuffer) {
    TextBuffer text(u"abc");
    const char16_t* pointer = text.Text();
    std::unique_ptr<TextBuffer> holder = text.Detach();
    ASSERT_NE(holder, nullptr);
    EXPECT_EQ(holder->Text(), pointer);
    EXPECT_TRUE(text.IsShared());

    std::unique_ptr<TextBuffer> empty = text.Detach();
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(empty->IsShared());
}

TEST(TextBuffer, ReserveOnAnEmptyBufferGivesATerminatedBlock) {
    TextBuffer text;
    char16_t* chars = text.Reserve(4);
    ASSERT_NE(chars, nullptr);
    EXPECT_EQ(chars[0], u'\0');
    EXPECT_FALSE(text.IsShared());
    chars[0] = u'a';
    chars[1] = u'b';
    chars[2] = u'c';
    chars[3] = u'd';
    chars[4] = u'\0';
    EXPECT_EQ(text.ToU16(), u"abcd");
}

TEST(TextBuffer, ReserveKeepsTheTextAndTerminatesWhenShrinking) {
    TextBuffer text(u"abc");
    char16_t* chars = text.Reserve(10);
    ASSERT_NE(chars, nullptr);
    EXPECT_EQ(text.ToU16(), u"abc");
    chars[3] = u'd';
    chars[4] = u'\0';
    EXPECT_EQ(text.ToU16(), u"abcd");

    text.Reserve(2);
    EXPECT_EQ(text.ToU16(), u"ab");
}

TEST(TextBuffer, ReserveZeroOrTooMuchClears) {
    TextBuffer text(u"abc");
    EXPECT_EQ(text.Reserve(0), nullptr);
    EXPECT_TRUE(text.IsShared());
    text.Assign(u"abc");
    EXPECT_EQ(text.Reserve(static_cast<std::size_t>(-1)), nullptr);
    EXPECT_TRUE(text.IsShared());
}

TEST(TextBuffer, LoadResourceStringLoadsTheText) {
    TextBuffer text;
    EXPECT_EQ(text.LoadResourceString(2), 15u);
    EXPECT_EQ(text.ToU16(), u"Velkan Tessiver");
    EXPECT_EQ(text.LoadResourceString(3150), 65u);
    EXPECT_EQ(text.ToU16(), u"A timeout occurred during connection/operation.\nOperation failed.");
}

TEST(TextBuffer, MissingResourceStringLeavesTheBufferEmpty) {
    TextBuffer text(u"previous");
    EXPECT_EQ(text.LoadResourceString(1), 0u);
    EXPECT_TRUE(text.IsShared());
    EXPECT_EQ(text.Length(), 0u);
    EXPECT_EQ(text.LoadResourceString(65535), 0u);
    EXPECT_TRUE(text.IsShared());
}

TEST(TextBuffer, WidenSignExtendsHighBytes) {
    char16_t* wide = TextBuffer::Widen("\xA3");
    EXPECT_EQ(wide[0], char16_t{0xFFA3});
    EXPECT_EQ(wide[1], u'\0');
    TextBuffer::FreeText(wide);

    wide = TextBuffer::Widen("A\x80\xFF\x7F", 4);
    EXPECT_EQ(wide[0], u'A');
    EXPECT_EQ(wide[1], char16_t{0xFF80});
    EXPECT_EQ(wide[2], char16_t{0xFFFF});
    EXPECT_EQ(wide[3], char16_t{0x007F});
    EXPECT_EQ(wide[4], u'\0');
    TextBuffer::FreeText(wide);
}

TEST(TextBuffer, WidenCountIncludesEmbeddedZeros) {
    TextBuffer text;
    text.Attach(TextBuffer::Widen("a\0b", 3));
    EXPECT_EQ(text.Text()[0], u'a');
    EXPECT_EQ(text.Text()[1], u'\0');
    EXPECT_EQ(text.Text()[2], u'b');
    EXPECT_EQ(text.Text()[3], u'\0');
}

TEST(TextBuffer, WidenOfNothingIsTheSharedEmptyString) {
    EXPECT_EQ(TextBuffer::Widen(nullptr), TextBuffer::EmptyText());
    EXPECT_EQ(TextBuffer::Widen(""), TextBuffer::EmptyText());
    EXPECT_EQ(TextBuffer::Widen("abc", 0), TextBuffer::EmptyText());
    EXPECT_EQ(TextBuffer::Widen(nullptr, 3), TextBuffer::EmptyText());
    TextBuffer::FreeText(TextBuffer::Widen(""));  // freeing the shared string is ignored
    EXPECT_EQ(TextBuffer::EmptyText()[0], u'\0');
}

TEST(TextBuffer, DuplicateOfEmptyIsTheSharedEmptyString) {
    EXPECT_EQ(TextBuffer::Duplicate(u""), TextBuffer::EmptyText());
    EXPECT_EQ(TextBuffer::Duplicate(nullptr), TextBuffer::EmptyText());
    char16_t* copy = TextBuffer::Duplicate(u"xy");
    EXPECT_EQ(std::u16string(copy), u"xy");
    TextBuffer::FreeText(copy);
}

TEST(TextBuffer, FindLastPointsAtTheLastOccurrence) {
    const char16_t* text = u"abcab";
    EXPECT_EQ(TextBuffer::FindLast(text, u"ab"), text + 3);
    EXPECT_EQ(TextBuffer::FindLast(text, u"abc"), text);
    EXPECT_EQ(TextBuffer::FindLast(text, u"b"), text + 4);
    EXPECT_EQ(TextBuffer::FindLast(text, u"abcab"), text);
}

TEST(TextBuffer, FindLastWithoutAMatch) {
    const char16_t* text = u"abcab";
    EXPECT_EQ(TextBuffer::FindLast(text, u"ba"), nullptr);
    EXPECT_EQ(TextBuffer::FindLast(text, u"abcabc"), nullptr);
    EXPECT_EQ(TextBuffer::FindLast(u"", u"a"), nullptr);
    EXPECT_EQ(TextBuffer::FindLast(nullptr, u"a"), nullptr);
}

TEST(TextBuffer, FindLastOfAnEmptyPatternIsTheEnd) {
    const char16_t* text = u"abcab";
    EXPECT_EQ(TextBuffer::FindLast(text, u""), text + 5);
    EXPECT_EQ(TextBuffer::FindLast(text, nullptr), text + 5);
}

}  // namespace
