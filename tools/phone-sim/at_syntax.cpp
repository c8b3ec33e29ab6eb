// SPDX-License-Identifier: GPL-3.0-or-later
#include "at_syntax.h"

#include <charconv>

namespace phone_sim {
namespace {

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

}  // namespace

char Upper(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string UpperOutsideQuotes(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    bool quoted = false;
    for (char c : text) {
        if (c == '"') quoted = !quoted;
        out.push_back(quoted ? c : Upper(c));
    }
    return out;
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

std::vector<std::string_view> SplitOutsideQuotes(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    bool quoted = false;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') quoted = !quoted;
        if (text[i] == separator && !quoted) {
            parts.push_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    parts.push_back(text.substr(start));
    return parts;
}

bool ParseNumber(std::string_view text, unsigned* value) {
    text = Trim(text);
    if (text.empty() || text.size() > 9) return false;
    unsigned v = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size()) return false;
    *value = v;
    return true;
}

bool Unquote(std::string_view text, std::string* out) {
    text = Trim(text);
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        text = text.substr(1, text.size() - 2);
        if (text.find('"') != std::string_view::npos) return false;
    } else if (text.find('"') != std::string_view::npos) {
        return false;
    }
    out->assign(text);
    return true;
}

std::string ToCharacterSet(std::string_view text, std::string_view set) {
    static const char kDigits[] = "0123456789ABCDEF";
    const std::size_t width = set == "UCS2" ? 4 : set == "HEX" ? 2 : 0;
    if (width == 0) return std::string(text);
    std::string out;
    out.reserve(text.size() * width);
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (width == 4) out += "00";
        out.push_back(kDigits[byte >> 4]);
        out.push_back(kDigits[byte & 0x0F]);
    }
    return out;
}

bool FromCharacterSet(std::string_view text, std::string_view set, std::string* out) {
    const std::size_t width = set == "UCS2" ? 4 : set == "HEX" ? 2 : 0;
    out->clear();
    if (width == 0) {
        for (char c : text) {
            if (static_cast<unsigned char>(c) > 0x7F) return false;
        }
        out->assign(text);
        return true;
    }
    if (text.size() % width != 0) return false;
    for (std::size_t i = 0; i < text.size(); i += width) {
        unsigned value = 0;
        for (std::size_t j = 0; j < width; ++j) {
            const int digit = HexDigit(text[i + j]);
            if (digit < 0) return false;
            value = value << 4 | static_cast<unsigned>(digit);
        }
        if (value > 0x7F) return false;
        out->push_back(static_cast<char>(value));
    }
    return true;
}

}  // namespace phone_sim
