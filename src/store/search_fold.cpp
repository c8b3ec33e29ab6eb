// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/search_fold.h"

#include <cstddef>

namespace {

// The folded form of U+00C0 to U+024F and of U+1E00 to U+1EFF: the lower-case base letter of
// every Latin letter that is a base letter with accents (canonical decomposition), and of the
// letters with a stroke (đ, ħ, ł, ø, ŧ) and the dotless i; other letters in lower case; other
// characters as they are. One code unit each.
constexpr char16_t kLatin[] =
    u"aaaaaa\u00E6ceeeeiiii"                 // U+00C0
    u"\u00F0nooooo\u00D7ouuuuy\u00FE\u00DF"  // U+00D0
    u"aaaaaa\u00E6ceeeeiiii"                 // U+00E0
    u"\u00F0nooooo\u00F7ouuuuy\u00FEy"       // U+00F0
    u"aaaaaaccccccccdd"                      // U+0100
    u"ddeeeeeeeeeegggg"                      // U+0110
    u"gggghhhhiiiiiiii"                      // U+0120
    u"ii\u0133\u0133jjkk\u0138llllll\u0140"  // U+0130
    u"\u0140llnnnnnn\u0149\u014B\u014Boooo"  // U+0140
    u"oo\u0153\u0153rrrrrrssssss"            // U+0150
    u"ssttttttuuuuuuuu"                      // U+0160
    u"uuuuwwyyyzzzzzz\u017F"                 // U+0170
    u"\u0180\u0253\u0183\u0183\u0185\u0185\u0254\u0188\u0188\u0256\u0257\u018C\u018C\u018D"
    u"\u01DD\u0259"  // U+0180
    u"\u025B\u0192\u0192\u0260\u0263\u0195\u0269\u0268\u0199\u0199\u019A\u019B\u026F\u0272"
    u"\u019E\u0275"                                                                       // U+0190
    u"oo\u01A3\u01A3\u01A5\u01A5\u0280\u01A8\u01A8\u0283\u01AA\u01AB\u01AD\u01AD\u0288u"  // U+01A0
    u"u\u028A\u028B\u01B4\u01B4\u01B6\u01B6\u0292\u01B9\u01B9\u01BA\u01BB\u01BD\u01BD\u01BE"
    u"\u01BF"                                                                             // U+01B0
    u"\u01C0\u01C1\u01C2\u01C3\u01C6\u01C6\u01C6\u01C9\u01C9\u01C9\u01CC\u01CC\u01CCaai"  // U+01C0
    u"ioouuuuuuuuuu\u01DDaa"                                                              // U+01D0
    u"aa\u00E6\u00E6\u01E5\u01E5ggkkoooo\u0292\u0292"                                     // U+01E0
    u"j\u01F3\u01F3\u01F3gg\u0195\u01BFnnaa\u00E6\u00E6oo"                                // U+01F0
    u"aaaaeeeeiiiioooo"                                                                   // U+0200
    u"rrrruuuusstt\u021D\u021Dhh"                                                         // U+0210
    u"\u019E\u0221\u0223\u0223\u0225\u0225aaeeoooooo"                                     // U+0220
    u"ooyy\u0234\u0235\u0236\u0237\u0238\u0239\u2C65\u023C\u023C\u019A\u2C66\u023F"       // U+0230
    u"\u0240\u0242\u0242\u0180\u0289\u028C\u0247\u0247\u0249\u0249\u024B\u024B\u024D\u024D"
    u"\u024F\u024F";  // U+0240
constexpr char16_t kLatinAdditional[] =
    u"aabbbbbbccdddddd"                                 // U+1E00
    u"ddddeeeeeeeeeeff"                                 // U+1E10
    u"gghhhhhhhhhhiiii"                                 // U+1E20
    u"kkkkkkllllllllmm"                                 // U+1E30
    u"mmmmnnnnnnnnoooo"                                 // U+1E40
    u"oooopppprrrrrrrr"                                 // U+1E50
    u"sssssssssstttttt"                                 // U+1E60
    u"ttuuuuuuuuuuvvvv"                                 // U+1E70
    u"wwwwwwwwwwxxxxyy"                                 // U+1E80
    u"zzzzzzhtwy\u1E9A\u017F\u1E9C\u1E9D\u00DF\u1E9F"   // U+1E90
    u"aaaaaaaaaaaaaaaa"                                 // U+1EA0
    u"aaaaaaaaeeeeeeee"                                 // U+1EB0
    u"eeeeeeeeiiiioooo"                                 // U+1EC0
    u"oooooooooooooooo"                                 // U+1ED0
    u"oooouuuuuuuuuuuu"                                 // U+1EE0
    u"uuyyyyyyyy\u1EFB\u1EFB\u1EFD\u1EFD\u1EFF\u1EFF";  // U+1EF0
static_assert(sizeof kLatin / sizeof kLatin[0] == 0x250 - 0xC0 + 1);
static_assert(sizeof kLatinAdditional / sizeof kLatinAdditional[0] == 0x100 + 1);

bool IsCombiningMark(char16_t c) {
    return c >= 0x0300 && c <= 0x036F;
}

// A Latin letter, after folding.
bool IsLatinLetter(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= 0xDF && c <= 0x24F && c != 0xF7) ||
           (c >= 0x1E00 && c <= 0x1EFF);
}

}  // namespace

char16_t FoldSearchChar(char16_t c) {
    if (c >= u'A' && c <= u'Z') return static_cast<char16_t>(c - u'A' + u'a');
    if (c >= 0xC0 && c < 0x250) return kLatin[c - 0xC0];
    if (c >= 0x1E00 && c < 0x1F00) return kLatinAdditional[c - 0x1E00];
    return c;
}

std::u16string FoldForSearch(std::u16string_view text) {
    std::u16string out;
    out.reserve(text.size());
    bool afterLatin = false;
    for (const char16_t c : text) {
        // Accents written as combining marks after a Latin letter go, as the precomposed ones do.
        if (afterLatin && IsCombiningMark(c)) continue;
        const char16_t folded = FoldSearchChar(c);
        afterLatin = IsLatinLetter(folded);
        out.push_back(folded);
    }
    return out;
}

namespace {

bool IsBlank(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\v' || c == u'\f' ||
           c == 0x00A0 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 ||
           c == 0x202F || c == 0x205F || c == 0x3000;
}

}  // namespace

std::vector<std::u16string> SearchWords(std::u16string_view query) {
    std::vector<std::u16string> words;
    std::size_t i = 0;
    while (i < query.size()) {
        while (i < query.size() && IsBlank(query[i])) ++i;
        std::size_t end = i;
        while (end < query.size() && !IsBlank(query[end])) ++end;
        if (end > i) {
            std::u16string word = FoldForSearch(query.substr(i, end - i));
            if (!word.empty()) words.push_back(std::move(word));
        }
        i = end;
    }
    return words;
}

std::size_t CodePoints(std::u16string_view text) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF) {
            ++i;
        }
        ++n;
    }
    return n;
}
