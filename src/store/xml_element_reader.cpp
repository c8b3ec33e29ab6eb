// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/xml_element_reader.h"

#include <cstdio>

namespace {

bool IsBlank(int c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsNameStart(int c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80;
}

bool IsNameChar(int c) {
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

std::string Shown(int c) {
    if (c < 0) return "the end of the file";
    if (c >= 0x21 && c < 0x7F) return std::string("'") + static_cast<char>(c) + "'";
    char text[16];
    std::snprintf(text, sizeof text, "byte 0x%02X", static_cast<unsigned>(c));
    return text;
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

}  // namespace

const std::u16string* XmlElementReader::Attribute(std::string_view name) const {
    for (const XmlAttribute& a : attributes_) {
        if (a.name == name) return &a.value;
    }
    return nullptr;
}

XmlElementReader::Event XmlElementReader::Fail(const std::string& what) {
    return FailAt(in_.Line(), in_.Column(), what);
}

XmlElementReader::Event XmlElementReader::FailAt(std::uint64_t line, std::uint64_t column,
                                                 const std::string& what) {
    if (!failed_) {
        failed_ = true;
        if (in_.Failed()) {
            error_ = "the file could not be read: " + in_.ReadError();
        } else {
            error_ =
                "line " + std::to_string(line) + ", column " + std::to_string(column) + ": " + what;
        }
    }
    return Event::kError;
}

bool XmlElementReader::Expect(std::string_view text) {
    for (char ch : text) {
        if (in_.Peek() != static_cast<unsigned char>(ch)) return false;
        in_.Get();
    }
    return true;
}

bool XmlElementReader::SkipUntil(std::string_view end) {
    // The last bytes read, as many as `end` has.
    std::string last;
    for (;;) {
        const int c = in_.Get();
        if (c < 0) return false;
        last.push_back(static_cast<char>(c));
        if (last.size() > end.size()) last.erase(0, 1);
        if (last == end) return true;
    }
}

bool XmlElementReader::ReadName(std::string* name) {
    name->clear();
    if (!IsNameStart(in_.Peek())) return false;
    while (IsNameChar(in_.Peek())) name->push_back(static_cast<char>(in_.Get()));
    return true;
}

void XmlElementReader::SkipBlanks() {
    while (IsBlank(in_.Peek())) in_.Get();
}

bool XmlElementReader::ReadReference(std::u16string* out) {
    std::string ref;
    for (;;) {
        const int c = in_.Get();
        if (c == ';') break;
        if (c < 0 || ref.size() > 12 || IsBlank(c) || c == '<' || c == '&') return false;
        ref.push_back(static_cast<char>(c));
    }
    if (ref == "lt") {
        out->push_back(u'<');
    } else if (ref == "gt") {
        out->push_back(u'>');
    } else if (ref == "amp") {
        out->push_back(u'&');
    } else if (ref == "quot") {
        out->push_back(u'"');
    } else if (ref == "apos") {
        out->push_back(u'\'');
    } else if (ref.size() >= 2 && ref[0] == '#') {
        const bool hex = ref[1] == 'x';
        const std::size_t first = hex ? 2 : 1;
        if (first >= ref.size()) return false;
        std::uint32_t cp = 0;
        for (std::size_t i = first; i < ref.size(); ++i) {
            const char d = ref[i];
            std::uint32_t v;
            if (d >= '0' && d <= '9') {
                v = static_cast<std::uint32_t>(d - '0');
            } else if (hex && d >= 'a' && d <= 'f') {
                v = static_cast<std::uint32_t>(d - 'a' + 10);
            } else if (hex && d >= 'A' && d <= 'F') {
                v = static_cast<std::uint32_t>(d - 'A' + 10);
            } else {
                return false;
            }
            cp = cp * (hex ? 16 : 10) + v;
            if (cp > 0x10FFFF) return false;
        }
        // A surrogate stands for itself: the backup apps write a character beyond the
        // Basic Multilingual Plane as the references of its two halves.
        if (cp < 0x10000) {
            out->push_back(static_cast<char16_t>(cp));
        } else {
            cp -= 0x10000;
            out->push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
            out->push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        }
    } else {
        return false;
    }
    return true;
}

bool XmlElementReader::ReadDeclaration() {
    // "<?" taken. The declaration at the very start may name the encoding; only UTF-8 is read.
    std::string target;
    if (!ReadName(&target)) return false;
    std::string body;
    for (;;) {
        const int c = in_.Get();
        if (c < 0) return false;
        if (c == '?' && in_.Peek() == '>') {
            in_.Get();
            break;
        }
        body.push_back(static_cast<char>(c));
    }
    if (target == "xml") {
        const std::size_t at = body.find("encoding");
        if (at != std::string::npos) {
            const std::size_t open = body.find_first_of("\"'", at);
            const std::size_t close =
                open == std::string::npos ? open : body.find(body[open], open + 1);
            if (close == std::string::npos) return false;
            const std::string encoding = body.substr(open + 1, close - open - 1);
            if (!EqualIgnoringCase(encoding, "UTF-8") && !EqualIgnoringCase(encoding, "UTF8")) {
                error_ = "the file is in " + encoding + "; only UTF-8 is read";
                return false;
            }
        }
    }
    return true;
}

bool XmlElementReader::SkipMarkup() {
    // "<!" taken.
    const std::uint64_t line = in_.Line(), column = in_.Column() - 2;
    if (Expect("--")) {
        if (!SkipUntil("-->")) FailAt(line, column, "the comment is never closed");
        return !failed_;
    }
    if (Expect("[CDATA[")) {
        if (open_.empty()) {
            FailAt(line, column, "a CDATA section outside the elements");
        } else if (!SkipUntil("]]>")) {
            FailAt(line, column, "the CDATA section is never closed");
        }
        return !failed_;
    }
    if (Expect("DOCTYPE")) {
        FailAt(line, column, "a document type declaration is not read");
    } else {
        FailAt(line, column, "'<!' that begins no comment");
    }
    return false;
}

XmlElementReader::Event XmlElementReader::ReadEndTag() {
    // "</" taken.
    const std::uint64_t line = in_.Line(), column = in_.Column() - 2;
    std::string name;
    if (!ReadName(&name)) return Fail("an end tag without a name");
    SkipBlanks();
    if (in_.Get() != '>') return Fail("the end tag </" + name + " is not closed with '>'");
    if (open_.empty()) return FailAt(line, column, "</" + name + "> closes no element");
    if (name != open_.back()) {
        return FailAt(line, column,
                      "</" + name + "> does not close <" + open_.back() + "> (opened on line " +
                          std::to_string(openLines_.back()) + ")");
    }
    name_ = name;
    depth_ = open_.size();
    line_ = line;
    column_ = column;
    open_.pop_back();
    openLines_.pop_back();
    if (open_.empty()) rootClosed_ = true;
    return Event::kEnd;
}

XmlElementReader::Event XmlElementReader::ReadStartTag() {
    // "<" taken.
    const std::uint64_t line = in_.Line(), column = in_.Column() - 1;
    std::string name;
    if (!ReadName(&name)) return Fail("'<' that begins no tag");
    if (rootClosed_) return FailAt(line, column, "<" + name + "> after the end of the document");
    attributes_.clear();
    auto cut = [&]() {
        return FailAt(line, column, "the file ends inside the tag <" + name + ">");
    };
    for (;;) {
        const bool blank = IsBlank(in_.Peek());
        SkipBlanks();
        const int c = in_.Peek();
        if (c < 0) return cut();
        if (c == '>' || c == '/') break;
        if (!blank) return Fail("a blank must come before an attribute");
        XmlAttribute attribute;
        if (!ReadName(&attribute.name)) {
            return Fail(Shown(c) + " where an attribute of <" + name + "> was expected");
        }
        for (const XmlAttribute& a : attributes_) {
            if (a.name == attribute.name) {
                return Fail("the attribute " + attribute.name + " is given twice");
            }
        }
        SkipBlanks();
        if (in_.Peek() < 0) return cut();
        if (in_.Get() != '=') return Fail("'=' must follow the attribute " + attribute.name);
        SkipBlanks();
        if (in_.Peek() < 0) return cut();
        const int quote = in_.Get();
        if (quote != '"' && quote != '\'') {
            return Fail("the value of " + attribute.name + " is not in quotes");
        }
        for (;;) {
            const int v = in_.Get();
            if (v < 0) return cut();
            if (v == quote) break;
            if (v == '<') return Fail("'<' in the value of " + attribute.name);
            if (v == '&') {
                if (!ReadReference(&attribute.value)) {
                    return Fail("a reference in the value of " + attribute.name +
                                " that is no entity or character");
                }
            } else if (v == '\r') {
                if (in_.Peek() == '\n') in_.Get();
                attribute.value.push_back(u' ');
            } else if (v == '\n' || v == '\t') {
                attribute.value.push_back(u' ');
            } else if (!in_.AppendUtf8(v, &attribute.value)) {
                return Fail("the value of " + attribute.name + " is not UTF-8");
            }
        }
        attributes_.push_back(std::move(attribute));
    }
    const bool empty = in_.Peek() == '/';
    if (empty) in_.Get();
    if (in_.Peek() < 0) return cut();
    if (in_.Get() != '>') return Fail("the tag <" + name + " is not closed with '>'");
    rootSeen_ = true;
    open_.push_back(name);
    openLines_.push_back(line);
    name_ = name;
    depth_ = open_.size();
    line_ = line;
    column_ = column;
    if (empty) pendingEnd_ = true;
    return Event::kStart;
}

XmlElementReader::Event XmlElementReader::Next() {
    if (failed_) return Event::kError;
    if (pendingEnd_) {
        pendingEnd_ = false;
        open_.pop_back();
        openLines_.pop_back();
        if (open_.empty()) rootClosed_ = true;
        return Event::kEnd;
    }
    if (!started_) {
        started_ = true;
        // A byte order mark.
        if (in_.Peek() == 0xEF) {
            if (!Expect("\xEF\xBB\xBF")) return Fail("the file is not UTF-8");
        }
    }
    std::u16string scratch;
    for (;;) {
        const int c = in_.Get();
        if (c < 0) {
            if (in_.Failed()) return Fail("");
            if (!open_.empty()) {
                return Fail("the file ends inside <" + open_.back() + "> (opened on line " +
                            std::to_string(openLines_.back()) + ")");
            }
            if (!rootSeen_) return Fail("the file holds no element");
            return Event::kEndOfDocument;
        }
        if (c == '<') {
            const int next = in_.Peek();
            if (next == '/') {
                in_.Get();
                return ReadEndTag();
            }
            if (next == '!') {
                in_.Get();
                if (!SkipMarkup()) return Event::kError;
                continue;
            }
            if (next == '?') {
                const std::uint64_t line = in_.Line(), column = in_.Column() - 1;
                in_.Get();
                if (!ReadDeclaration()) {
                    return FailAt(
                        line, column,
                        error_.empty() ? "a processing instruction that is never closed" : error_);
                }
                continue;
            }
            return ReadStartTag();
        }
        if (open_.empty()) {
            if (!IsBlank(c)) {
                return Fail(Shown(c) + (rootClosed_ ? " after the end of the document"
                                                    : " before the first element"));
            }
            continue;
        }
        // Text inside an element: checked and passed over.
        scratch.clear();
        if (c == '&') {
            if (!ReadReference(&scratch)) return Fail("a reference that is no entity or character");
        } else if (c >= 0x80 && !in_.AppendUtf8(c, &scratch)) {
            return Fail("text that is not UTF-8");
        }
    }
}
