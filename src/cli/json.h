// SPDX-License-Identifier: GPL-3.0-or-later
// A small writer for the one-line JSON objects that the verbs print.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class JsonObject {
  public:
    JsonObject& Add(std::string_view key, std::string_view utf8);
    JsonObject& Add(std::string_view key, const std::u16string& text);
    JsonObject& Add(std::string_view key, const char* utf8) {
        return Add(key, std::string_view(utf8));
    }
    JsonObject& Add(std::string_view key, std::int64_t value);
    JsonObject& Add(std::string_view key, int value) {
        return Add(key, static_cast<std::int64_t>(value));
    }
    JsonObject& Add(std::string_view key, unsigned value) {
        return Add(key, static_cast<std::int64_t>(value));
    }
    JsonObject& Add(std::string_view key, bool value);
    JsonObject& AddRaw(std::string_view key, std::string_view json);  // an already-built value
    std::string Str() const { return body_.empty() ? "{}" : "{" + body_ + "}"; }

  private:
    void Key(std::string_view key);
    std::string body_;
};

// A JSON string literal (quotes included) of UTF-8 text; control characters are escaped.
std::string JsonString(std::string_view utf8);
