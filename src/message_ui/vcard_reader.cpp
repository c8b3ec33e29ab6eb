// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/vcard_reader.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "common/text_convert.h"

namespace {

char Upper(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (Upper(a[i]) != Upper(b[i])) return false;
    }
    return true;
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
    return s.size() >= prefix.size() && EqualsNoCase(s.substr(0, prefix.size()), prefix);
}

bool ContainsNoCase(std::string_view s, std::string_view word) {
    if (word.empty()) return true;
    for (std::size_t i = 0; i + word.size() <= s.size(); ++i) {
        if (EqualsNoCase(s.substr(i, word.size()), word)) return true;
    }
    return false;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view Trim(std::string_view s) {
    while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
    while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
    return s;
}

bool IsBlank16(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n';
}

std::u16string Trim16(std::u16string s) {
    std::size_t first = 0;
    while (first < s.size() && IsBlank16(s[first])) ++first;
    std::size_t last = s.size();
    while (last > first && IsBlank16(s[last - 1])) --last;
    return s.substr(first, last - first);
}

// The position of the first `c` outside double quotes, or npos.
std::size_t FindUnquoted(std::string_view s, char c, std::size_t from = 0) {
    bool quoted = false;
    for (std::size_t i = from; i < s.size(); ++i) {
        if (s[i] == '"') {
            quoted = !quoted;
        } else if (s[i] == c && !quoted) {
            return i;
        }
    }
    return std::string_view::npos;
}

// Pieces of `s` between unquoted `separator`s.
std::vector<std::string_view> SplitUnquoted(std::string_view s, char separator) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t at = FindUnquoted(s, separator, start);
        if (at == std::string_view::npos) {
            parts.push_back(s.substr(start));
            return parts;
        }
        parts.push_back(s.substr(start, at - start));
        start = at + 1;
    }
}

std::string_view Unquote(std::string_view s) {
    s = Trim(s);
    if (s.size() >= 2 && s.front() == '"' && s.back() == '"') return s.substr(1, s.size() - 2);
    return s;
}

// --- Lines ---------------------------------------------------------------------------------

// The logical lines of a text: physical lines joined where a folded line continues or a
// quoted-printable value breaks softly.
class LineCursor {
  public:
    explicit LineCursor(std::string_view text) : text_(text) {}

    bool AtEnd() const { return pos_ >= text_.size(); }
    std::size_t Position() const { return pos_; }
    // Version 2.1 folds before the blank and keeps it; later versions fold with an extra blank
    // that unfolding removes.
    void SetKeepFoldBlank(bool keep) { keepFoldBlank_ = keep; }

    bool Next(std::string* line) {
        if (AtEnd()) return false;
        line->assign(NextPhysical());
        bool quotedPrintable = false;
        bool checked = false;
        for (;;) {
            if (!line->empty() && line->back() == '=' && !AtEnd()) {
                if (!checked) {
                    const std::size_t colon = FindUnquoted(*line, ':');
                    const std::string_view head = std::string_view(*line).substr(
                        0, colon == std::string::npos ? line->size() : colon);
                    quotedPrintable = ContainsNoCase(head, "QUOTED-PRINTABLE");
                    checked = colon != std::string::npos;
                }
                if (quotedPrintable) {
                    line->pop_back();
                    line->append(NextPhysical());
                    continue;
                }
            }
            if (pos_ < text_.size() && IsBlank(text_[pos_])) {
                std::string_view more = NextPhysical();
                if (!keepFoldBlank_) more.remove_prefix(1);
                line->append(more);
                continue;
            }
            return true;
        }
    }

  private:
    std::string_view NextPhysical() {
        const std::size_t start = pos_;
        std::size_t i = start;
        while (i < text_.size() && text_[i] != '\r' && text_[i] != '\n') ++i;
        const std::string_view line = text_.substr(start, i - start);
        if (i < text_.size() && text_[i] == '\r') ++i;
        if (i < text_.size() && text_[i] == '\n') ++i;
        pos_ = i;
        return line;
    }

    std::string_view text_;
    std::size_t pos_ = 0;
    bool keepFoldBlank_ = false;
};

// --- Properties ----------------------------------------------------------------------------

struct Param {
    std::string name;  // upper case
    std::vector<std::string> values;
};

struct Property {
    std::string name;  // upper case, without its group
    std::vector<Param> params;
    std::string_view value;  // raw, into the line
};

bool IsEncodingWord(std::string_view word) {
    return EqualsNoCase(word, "QUOTED-PRINTABLE") || EqualsNoCase(word, "BASE64") ||
           EqualsNoCase(word, "B") || EqualsNoCase(word, "8BIT") || EqualsNoCase(word, "7BIT");
}

std::string UpperCopy(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = Upper(c);
    return out;
}

// The name of a property line (upper case, group dropped) and its raw value; false for a line
// without a colon.
bool SplitLine(std::string_view line, std::string_view* head, std::string_view* value) {
    const std::size_t colon = FindUnquoted(line, ':');
    if (colon == std::string_view::npos) return false;
    *head = line.substr(0, colon);
    *value = line.substr(colon + 1);
    return true;
}

std::string NameOf(std::string_view head) {
    std::string_view name = Trim(head.substr(0, FindUnquoted(head, ';')));
    const std::size_t dot = name.rfind('.');
    if (dot != std::string_view::npos) name.remove_prefix(dot + 1);
    return UpperCopy(name);
}

bool ParseProperty(std::string_view line, Property* p) {
    std::string_view head;
    if (!SplitLine(line, &head, &p->value)) return false;
    p->name = NameOf(head);
    p->params.clear();
    const std::vector<std::string_view> parts = SplitUnquoted(head, ';');
    for (std::size_t i = 1; i < parts.size(); ++i) {
        const std::string_view part = Trim(parts[i]);
        if (part.empty()) continue;
        Param param;
        const std::size_t eq = part.find('=');
        if (eq == std::string_view::npos) {
            // A bare version 2.1 parameter: an encoding word or a type.
            param.name = IsEncodingWord(part) ? "ENCODING" : "TYPE";
            param.values.emplace_back(part);
        } else {
            param.name = UpperCopy(Trim(part.substr(0, eq)));
            for (std::string_view v : SplitUnquoted(part.substr(eq + 1), ',')) {
                v = Unquote(v);
                // A quoted list ("cell,voice") holds several types in one value.
                if (param.name == "TYPE") {
                    for (std::string_view t : SplitUnquoted(v, ',')) {
                        t = Trim(t);
                        if (!t.empty()) param.values.emplace_back(t);
                    }
                } else {
                    param.values.emplace_back(v);
                }
            }
        }
        p->params.push_back(std::move(param));
    }
    return true;
}

bool HasParamValue(const Property& p, std::string_view name, std::string_view value) {
    for (const Param& param : p.params) {
        if (param.name != name) continue;
        for (const std::string& v : param.values) {
            if (EqualsNoCase(v, value)) return true;
        }
    }
    return false;
}

std::string_view ParamValue(const Property& p, std::string_view name) {
    for (const Param& param : p.params) {
        if (param.name == name && !param.values.empty()) return param.values.front();
    }
    return {};
}

// --- Value decoding ------------------------------------------------------------------------

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

std::string DecodeQuotedPrintable(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] != '=') {
            out.push_back(s[i]);
            continue;
        }
        if (i + 1 == s.size()) break;  // a soft break at the very end
        const int hi = i + 2 < s.size() ? HexValue(s[i + 1]) : -1;
        const int lo = i + 2 < s.size() ? HexValue(s[i + 2]) : -1;
        if (hi < 0 || lo < 0) {
            out.push_back('=');  // not an escape: kept as written
            continue;
        }
        out.push_back(static_cast<char>(hi * 16 + lo));
        i += 2;
    }
    return out;
}

bool IsValidUtf8(std::string_view s) {
    std::size_t i = 0;
    while (i < s.size()) {
        const auto c = static_cast<unsigned char>(s[i]);
        std::size_t extra = 0;
        std::uint32_t cp = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if (c >= 0xC2 && c <= 0xDF) {
            extra = 1;
            cp = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            extra = 2;
            cp = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3;
            cp = c & 0x07;
        } else {
            return false;
        }
        if (i + extra >= s.size()) return false;
        for (std::size_t k = 1; k <= extra; ++k) {
            const auto cc = static_cast<unsigned char>(s[i + k]);
            if ((cc & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (cc & 0x3F);
        }
        if ((extra == 2 && (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF))) ||
            (extra == 3 && (cp < 0x10000 || cp > 0x10FFFF))) {
            return false;
        }
        i += extra + 1;
    }
    return true;
}

// Windows-1252 in 0x80-0x9F; elsewhere it agrees with ISO-8859-1.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

std::u16string FromLatin1(std::string_view s, bool windows1252) {
    std::u16string out;
    out.reserve(s.size());
    for (char ch : s) {
        const auto c = static_cast<unsigned char>(ch);
        if (windows1252 && c >= 0x80 && c <= 0x9F) {
            out.push_back(kCp1252High[c - 0x80]);
        } else {
            out.push_back(static_cast<char16_t>(c));
        }
    }
    return out;
}

std::u16string ToUtf16(std::string_view bytes, std::string_view charset) {
    if (EqualsNoCase(charset, "UTF-8") || EqualsNoCase(charset, "UTF8")) {
        return Utf8ToUtf16(bytes);
    }
    if (EqualsNoCase(charset, "ISO-8859-1") || EqualsNoCase(charset, "ISO8859-1") ||
        EqualsNoCase(charset, "LATIN1") || EqualsNoCase(charset, "US-ASCII") ||
        EqualsNoCase(charset, "ASCII")) {
        return FromLatin1(bytes, false);
    }
    if (EqualsNoCase(charset, "WINDOWS-1252") || EqualsNoCase(charset, "CP1252")) {
        return FromLatin1(bytes, true);
    }
    // No character set, or one this reader does not know: UTF-8 when the bytes are valid
    // UTF-8, else the common 8-bit set of older exports.
    return IsValidUtf8(bytes) ? Utf8ToUtf16(bytes) : FromLatin1(bytes, true);
}

// The value of a property as text, before unescaping.
std::u16string DecodeValue(const Property& p) {
    const bool quotedPrintable = HasParamValue(p, "ENCODING", "QUOTED-PRINTABLE");
    if (quotedPrintable) return ToUtf16(DecodeQuotedPrintable(p.value), ParamValue(p, "CHARSET"));
    return ToUtf16(p.value, ParamValue(p, "CHARSET"));
}

// \\ \; \, and \n (\N) become the characters they stand for; another backslash is kept.
std::u16string Unescape(std::u16string_view s) {
    std::u16string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == u'\\' && i + 1 < s.size()) {
            const char16_t next = s[i + 1];
            if (next == u'\\' || next == u';' || next == u',') {
                out.push_back(next);
                ++i;
                continue;
            }
            if (next == u'n' || next == u'N') {
                out.push_back(u'\n');
                ++i;
                continue;
            }
        }
        out.push_back(s[i]);
    }
    return out;
}

// Pieces of `s` between `separator`s that no backslash escapes.
std::vector<std::u16string_view> SplitEscaped(std::u16string_view s, char16_t separator) {
    std::vector<std::u16string_view> parts;
    std::size_t start = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == u'\\') {
            ++i;
        } else if (s[i] == separator) {
            parts.push_back(s.substr(start, i - start));
            start = i + 1;
        }
    }
    parts.push_back(s.substr(std::min(start, s.size())));
    return parts;
}

// The number of a TEL property of that type (CELL, HOME, WORK), or empty when it is not one.
std::u16string TelNumber(const Property& p, const char* type) {
    if (!HasParamValue(p, "TYPE", type)) return {};
    std::u16string value = DecodeValue(p);
    const bool uri = HasParamValue(p, "VALUE", "URI") || StartsWithNoCase(Trim(p.value), "tel:");
    if (uri) {
        value = Trim16(std::move(value));
        if (value.size() >= 4 && (value[0] == u't' || value[0] == u'T') &&
            (value[1] == u'e' || value[1] == u'E') && (value[2] == u'l' || value[2] == u'L') &&
            value[3] == u':') {
            value.erase(0, 4);
        }
        const std::size_t semicolon = value.find(u';');
        if (semicolon != std::u16string::npos) value.resize(semicolon);
        return Trim16(std::move(value));
    }
    return Trim16(Unescape(value));
}

std::u16string MobileNumber(const Property& p) {
    return TelNumber(p, "CELL");
}

std::u16string NameFromParts(const Property& p) {
    const std::u16string decoded = DecodeValue(p);
    const std::vector<std::u16string_view> parts = SplitEscaped(decoded, u';');
    // Family; Given; Additional; Prefix; Suffix, shown as Prefix Given Additional Family Suffix.
    static constexpr std::size_t kOrder[] = {3, 1, 2, 0, 4};
    std::u16string name;
    for (std::size_t index : kOrder) {
        if (index >= parts.size()) continue;
        // Several values of one part are separated by commas.
        std::u16string part;
        for (std::u16string_view v : SplitEscaped(parts[index], u',')) {
            const std::u16string one = Trim16(Unescape(v));
            if (one.empty()) continue;
            if (!part.empty()) part.push_back(u' ');
            part += one;
        }
        if (part.empty()) continue;
        if (!name.empty()) name.push_back(u' ');
        name += part;
    }
    return name;
}

std::u16string FirstPart(const Property& p) {
    const std::u16string decoded = DecodeValue(p);
    return Trim16(Unescape(SplitEscaped(decoded, u';').front()));
}

// Where a logical line sits in the card structure.
enum class LineKind { kOther, kBegin, kEnd };

LineKind KindOf(std::string_view line, std::string* name) {
    std::string_view head, value;
    if (!SplitLine(line, &head, &value)) {
        name->clear();
        return LineKind::kOther;
    }
    *name = NameOf(head);
    if (*name == "BEGIN" && EqualsNoCase(Trim(value), "VCARD")) return LineKind::kBegin;
    if (*name == "END" && EqualsNoCase(Trim(value), "VCARD")) return LineKind::kEnd;
    return LineKind::kOther;
}

// Walks the cards of a text and calls `onProperty` for each property line of a card's own
// level and `onCard` when a card ends. Shared by the index and the reader so that both see
// the same cards.
template <typename OnStart, typename OnProperty, typename OnCard>
void WalkCards(std::string_view text, OnStart onStart, OnProperty onProperty, OnCard onCard) {
    LineCursor cursor(text);
    std::string line;
    std::string name;
    bool inCard = false;
    int depth = 0;
    bool afterEmptyAgent = false;
    std::size_t start = 0;
    for (;;) {
        const std::size_t lineStart = cursor.Position();
        if (!cursor.Next(&line)) break;
        const LineKind kind = KindOf(line, &name);
        if (kind == LineKind::kBegin) {
            if (inCard && (depth > 1 || afterEmptyAgent)) {
                ++depth;  // a card embedded in an AGENT property
            } else {
                // A new card; one still open before it never ended and is dropped.
                inCard = true;
                depth = 1;
                start = lineStart;
                cursor.SetKeepFoldBlank(false);
                onStart();
            }
            afterEmptyAgent = false;
            continue;
        }
        if (!inCard) continue;
        if (kind == LineKind::kEnd) {
            if (--depth == 0) {
                inCard = false;
                onCard(start, cursor.Position() - start);
            }
            afterEmptyAgent = false;
            continue;
        }
        if (depth != 1) continue;
        std::string_view head, value;
        afterEmptyAgent = name == "AGENT" && SplitLine(line, &head, &value) && Trim(value).empty();
        if (name == "VERSION" && SplitLine(line, &head, &value)) {
            cursor.SetKeepFoldBlank(Trim(value) == "2.1");
        }
        onProperty(name, line);
    }
}

}  // namespace

void IndexMobileCards(std::string_view text, std::vector<VCardSpan>* spans) {
    bool hasMobile = false;
    Property p;
    WalkCards(
        text, [&] { hasMobile = false; },
        [&](const std::string& name, const std::string& line) {
            if (hasMobile || name != "TEL") return;
            if (ParseProperty(line, &p) && !MobileNumber(p).empty()) hasMobile = true;
        },
        [&](std::size_t offset, std::size_t length) {
            if (hasMobile) spans->push_back({offset, length});
        });
}

namespace {

// The name and the numbers of the first card in `card`; false when it never ends.
bool ReadCard(std::string_view card, VCardContact* contact) {
    std::u16string formatted, fromParts, organisation, mobile, home, work;
    bool complete = false;
    int cards = 0;
    Property p;
    WalkCards(
        card,
        [&] {
            // Only the first card of the text counts.
            ++cards;
        },
        [&](const std::string& name, const std::string& line) {
            if (cards != 1 || complete) return;
            if (name == "TEL") {
                if (!ParseProperty(line, &p)) return;
                if (mobile.empty()) mobile = MobileNumber(p);
                if (home.empty()) home = TelNumber(p, "HOME");
                if (work.empty()) work = TelNumber(p, "WORK");
            } else if (name == "FN") {
                if (formatted.empty() && ParseProperty(line, &p)) {
                    formatted = Trim16(Unescape(DecodeValue(p)));
                }
            } else if (name == "N") {
                if (fromParts.empty() && ParseProperty(line, &p)) fromParts = NameFromParts(p);
            } else if (name == "ORG") {
                if (organisation.empty() && ParseProperty(line, &p)) organisation = FirstPart(p);
            }
        },
        [&](std::size_t, std::size_t) {
            if (cards == 1) complete = true;
        });
    *contact = VCardContact{};
    if (!complete) return false;
    if (!formatted.empty()) {
        contact->name = std::move(formatted);
    } else if (!fromParts.empty()) {
        contact->name = std::move(fromParts);
    } else {
        contact->name = std::move(organisation);
    }
    contact->mobile = std::move(mobile);
    contact->home = std::move(home);
    contact->work = std::move(work);
    return true;
}

}  // namespace

bool ReadVCard(std::string_view card, VCardContact* contact) {
    if (ReadCard(card, contact) && !contact->mobile.empty()) return true;
    *contact = VCardContact{};
    return false;
}

void IndexPhoneCards(std::string_view text, std::vector<VCardSpan>* spans) {
    bool hasNumber = false;
    Property p;
    WalkCards(
        text, [&] { hasNumber = false; },
        [&](const std::string& name, const std::string& line) {
            if (hasNumber || name != "TEL" || !ParseProperty(line, &p)) return;
            hasNumber = !MobileNumber(p).empty() || !TelNumber(p, "HOME").empty() ||
                        !TelNumber(p, "WORK").empty();
        },
        [&](std::size_t offset, std::size_t length) {
            if (hasNumber) spans->push_back({offset, length});
        });
}

bool ReadVCardPhones(std::string_view card, VCardContact* contact) {
    if (ReadCard(card, contact) &&
        !(contact->mobile.empty() && contact->home.empty() && contact->work.empty())) {
        return true;
    }
    *contact = VCardContact{};
    return false;
}

bool PrepareVCardText(std::string* bytes) {
    std::string& b = *bytes;
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(b[i]); };
    if (b.size() >= 3 && at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF) {
        b.erase(0, 3);
    } else if (b.size() >= 2 &&
               ((at(0) == 0xFF && at(1) == 0xFE) || (at(0) == 0xFE && at(1) == 0xFF))) {
        const bool little = at(0) == 0xFF;
        std::u16string wide;
        wide.reserve(b.size() / 2);
        for (std::size_t i = 2; i + 1 < b.size(); i += 2) {
            const unsigned lo = little ? at(i) : at(i + 1);
            const unsigned hi = little ? at(i + 1) : at(i);
            wide.push_back(static_cast<char16_t>((hi << 8) | lo));
        }
        b = Utf16ToUtf8(wide);
    }
    return b.find('\0') == std::string::npos;
}
