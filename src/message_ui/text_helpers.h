// SPDX-License-Identifier: GPL-3.0-or-later
// Number and text helpers shared by the compose dialog, the preferences dialog, the message
// store, the "/smsto:" builder and parser, and the `velkan` command.
#pragma once

#include <string>
#include <string_view>

#include "framework/text_buffer.h"

constexpr unsigned kMaxMessageChars = 160;

// Keeps decimal digits and one leading "+"; a lone "+" becomes empty.
void NormalizePhoneNumber(TextBuffer& number);

// The 160-character rule: copies `source` into `dest` without carriage returns, up to 160
// characters; when 160 are reached, `source` is cut right after the character that produced
// the 160th. Returns the number of characters in `dest`.
unsigned CountedText(TextBuffer& dest, TextBuffer& source);

// Every LF, CR and CR LF becomes CR LF.
void LineBreaksToCrLf(TextBuffer& dest, const TextBuffer& source);

// Deletes every character of `text` that occurs in `set`.
void RemoveCharacters(TextBuffer& text, const char16_t* set);

// Puts `first` in front unless the text begins with it; appends `last` unless it ends with it.
void Wrap(TextBuffer& text, char16_t first, char16_t last);

// Drops the first character if it is `first` and the last if it is `last`.
void Unwrap(TextBuffer& text, char16_t first, char16_t last);

// The same rules for code that holds std::u16string (the message store, the `velkan` command).
// As with TextBuffer, a text ends at its first zero character.
void NormalizePhoneNumber(std::u16string& number);
unsigned CountedText(std::u16string& dest, std::u16string& source);
void LineBreaksToCrLf(std::u16string& dest, std::u16string_view source);
