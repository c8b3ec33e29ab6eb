// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/json_line_reader.h"

#include "common/text_convert.h"

namespace {

int HexValue(int c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

bool JsonLineReader::Fail(const std::string& what) {
    error_ = in_.Failed() ? "the file could not be read: " + in_.ReadError()
                          : "line " + std::to_string(in_.Line()) + ", column " +
                                std::to_string(in_.Column()) + ": " + what;
    return false;
}

void JsonLineReader::SkipSpaces() {
    while (in_.Peek() == ' ' || in_.Peek() == '\t') in_.Get();
}

bool JsonLineReader::ReadString(std::u16string* out) {
    // The opening quote is taken.
    for (;;) {
        if (in_.Peek() < 0 || in_.Peek() == '\n') return Fail("the string is never closed");
        const int c = in_.Get();
        if (c == '"') return true;
        if (c < 0x20) return Fail("a control character in a string (it must be escaped)");
        if (c != '\\') {
            if (!in_.AppendUtf8(c, out)) return Fail("a string that is not UTF-8");
            continue;
        }
        const int e = in_.Get();
        switch (e) {
            case '"':
                out->push_back(u'"');
                break;
            case '\\':
                out->push_back(u'\\');
                break;
            case '/':
                out->push_back(u'/');
                break;
            case 'b':
                out->push_back(u'\b');
                break;
            case 'f':
                out->push_back(u'\f');
                break;
            case 'n':
                out->push_back(u'\n');
                break;
            case 'r':
                out->push_back(u'\r');
                break;
            case 't':
                out->push_back(u'\t');
                break;
            case 'u': {
                int v = 0;
                for (int i = 0; i < 4; ++i) {
                    const int h = HexValue(in_.Get());
                    if (h < 0) return Fail("\\u must be followed by four hexadecimal digits");
                    v = v * 16 + h;
                }
                out->push_back(static_cast<char16_t>(v));
                break;
            }
            default:
                return Fail("an unknown escape in a string");
        }
    }
}

bool JsonLineReader::ReadValue(JsonField* field) {
    const int c = in_.Peek();
    auto word = [&](const char* w, JsonField::Kind kind) {
        for (const char* p = w; *p; ++p) {
            if (in_.Get() != *p) return Fail(std::string("a value that is not JSON (") + w + "?)");
        }
        field->kind = kind;
        return true;
    };
    if (c == '"') {
        in_.Get();
        field->kind = JsonField::Kind::kString;
        return ReadString(&field->text);
    }
    if (c == 't') return word("true", JsonField::Kind::kTrue);
    if (c == 'f') return word("false", JsonField::Kind::kFalse);
    if (c == 'n') return word("null", JsonField::Kind::kNull);
    if (c == '{' || c == '[') return Fail("a nested object or array in \"" + field->key + "\"");
    if (c == '-' || (c >= '0' && c <= '9')) {
        // -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
        std::string& n = field->number;
        auto digits = [&]() {
            const std::size_t before = n.size();
            while (in_.Peek() >= '0' && in_.Peek() <= '9')
                n.push_back(static_cast<char>(in_.Get()));
            return n.size() > before;
        };
        if (in_.Peek() == '-') n.push_back(static_cast<char>(in_.Get()));
        if (in_.Peek() == '0') {
            n.push_back(static_cast<char>(in_.Get()));
        } else if (!digits()) {
            return Fail("a number without digits");
        }
        if (in_.Peek() == '.') {
            n.push_back(static_cast<char>(in_.Get()));
            if (!digits()) return Fail("digits must follow the decimal point");
        }
        if (in_.Peek() == 'e' || in_.Peek() == 'E') {
            n.push_back(static_cast<char>(in_.Get()));
            if (in_.Peek() == '+' || in_.Peek() == '-') n.push_back(static_cast<char>(in_.Get()));
            if (!digits()) return Fail("digits must follow the exponent");
        }
        field->kind = JsonField::Kind::kNumber;
        return true;
    }
    return Fail("a value was expected");
}

bool JsonLineReader::Next(std::vector<JsonField>* fields) {
    fields->clear();
    if (!error_.empty()) return false;
    for (;;) {
        SkipSpaces();
        const int c = in_.Peek();
        if (c < 0) {
            if (in_.Failed()) return Fail("");
            return false;
        }
        if (c == '\r' || c == '\n') {
            in_.Get();
            continue;
        }
        if (c == 0xEF && in_.Consumed() == 0) {
            in_.Get();
            if (in_.Get() != 0xBB || in_.Get() != 0xBF) return Fail("the file is not UTF-8");
            continue;
        }
        break;
    }
    line_ = in_.Line();
    if (in_.Get() != '{') return Fail("each line must be one JSON object");
    SkipSpaces();
    if (in_.Peek() == '}') {
        in_.Get();
    } else {
        for (;;) {
            SkipSpaces();
            if (in_.Get() != '"') return Fail("a key in quotes was expected");
            JsonField field;
            std::u16string key;
            if (!ReadString(&key)) return false;
            field.key = Utf16ToUtf8(key);
            for (const JsonField& f : *fields) {
                if (f.key == field.key) return Fail("\"" + field.key + "\" is given twice");
            }
            SkipSpaces();
            if (in_.Get() != ':') return Fail("':' must follow the key \"" + field.key + "\"");
            SkipSpaces();
            if (!ReadValue(&field)) return false;
            fields->push_back(std::move(field));
            SkipSpaces();
            const int c = in_.Get();
            if (c == '}') break;
            if (c != ',') return Fail("',' or '}' was expected");
        }
    }
    SkipSpaces();
    const int end = in_.Get();
    if (end == '\r' && in_.Peek() == '\n') in_.Get();
    if (end != '\n' && end != '\r' && end >= 0) return Fail("more after the object on its line");
    if (end < 0 && in_.Failed()) return Fail("");
    return true;
}
