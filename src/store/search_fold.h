// SPDX-License-Identifier: GPL-3.0-or-later
// How the search compares texts: Latin letters without regard to case or accents.
//
// A text and the words looked for are both folded: A to Z become a to z; the Latin letters
// of U+00C0 to U+024F and U+1E00 to U+1EFF become their lower-case base letter when they are a
// base letter with accents (é, Ä, ŵ, ỹ ...) or carry a stroke (đ, ħ, ł, ø, ŧ; the dotless ı
// becomes i), and other Latin letters their lower case (Æ æ, ß stays); combining accents
// (U+0300 to U+036F) after a Latin letter are dropped, so that "e" with a combining acute
// reads as "e", as "é" does. Every other character, in other scripts too, stays as it is.
// A message matches a word when the folded word is part of its folded text, name or number.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// One code unit folded (no combining marks dropped).
char16_t FoldSearchChar(char16_t c);

// The folded text.
std::u16string FoldForSearch(std::u16string_view text);

// The words of a query, folded: the query split at blanks (spaces, tabs, line breaks and the
// other Unicode spaces); no word is empty.
std::vector<std::u16string> SearchWords(std::u16string_view query);

// The number of Unicode characters (a surrogate pair counts once).
std::size_t CodePoints(std::u16string_view text);
