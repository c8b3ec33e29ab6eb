// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/json.h"

#include "common/json_escape.h"
#include "common/text_convert.h"

std::string JsonString(std::string_view utf8) {
    std::string out = "\"";
    for (char ch : utf8) {
        const auto c = static_cast<unsigned char>(ch);
        // The bytes of a multi-byte character pass as they are.
        if (c < 0x80) {
            AppendJsonCharacter(&out, c);
        } else {
            out.push_back(ch);
        }
    }
    out += '"';
    return out;
}

void JsonObject::Key(std::string_view key) {
    if (!body_.empty()) body_ += ',';
    body_ += JsonString(key);
    body_ += ':';
}

JsonObject& JsonObject::Add(std::string_view key, std::string_view utf8) {
    Key(key);
    body_ += JsonString(utf8);
    return *this;
}

JsonObject& JsonObject::Add(std::string_view key, const std::u16string& text) {
    return Add(key, std::string_view(Utf16ToUtf8(text)));
}

JsonObject& JsonObject::Add(std::string_view key, std::int64_t value) {
    Key(key);
    body_ += std::to_string(value);
    return *this;
}

JsonObject& JsonObject::Add(std::string_view key, bool value) {
    Key(key);
    body_ += value ? "true" : "false";
    return *this;
}

JsonObject& JsonObject::AddRaw(std::string_view key, std::string_view json) {
    Key(key);
    body_ += json;
    return *this;
}
