// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/json_escape.h"

#include <cstdio>

#include "common/text_convert.h"

void AppendJsonCharacter(std::string* out, std::uint32_t codePoint) {
    switch (codePoint) {
        case '"':
            *out += "\\\"";
            return;
        case '\\':
            *out += "\\\\";
            return;
        case '\n':
            *out += "\\n";
            return;
        case '\r':
            *out += "\\r";
            return;
        case '\t':
            *out += "\\t";
            return;
        default:
            break;
    }
    if (codePoint < 0x20 || codePoint == 0x7F) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(codePoint));
        *out += escape;
    } else {
        AppendUtf8(out, codePoint);
    }
}
