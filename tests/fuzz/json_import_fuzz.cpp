// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the JSON lines reader of the import (store/json_line_reader.h).
//
// Input: the bytes of a JSON lines file. Beyond "no crash": objects begin on lines that never go
// back, with no key twice, a failure says where and stays, and every object read, written out again
// (strings escaped, numbers as written), reads back as the same fields.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "common/text_convert.h"
#include "import_fuzz_input.h"
#include "store/import_input.h"
#include "store/json_line_reader.h"

namespace {

void AppendString(std::u16string_view text, std::string* out) {
    *out += '"';
    for (char16_t c : text) {
        if (c >= 0x20 && c < 0x7F && c != '"' && c != '\\') {
            *out += static_cast<char>(c);
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
            *out += escape;
        }
    }
    *out += '"';
}

bool SameFields(const std::vector<JsonField>& a, const std::vector<JsonField>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i].key != b[i].key || a[i].kind != b[i].kind || a[i].text != b[i].text ||
            a[i].number != b[i].number) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536) return 0;
    FuzzInputFile file(data, size);
    if (file.Get() == nullptr) return 0;
    ImportInput input(file.Get());
    JsonLineReader reader(input);
    std::vector<std::vector<JsonField>> objects;
    std::vector<JsonField> fields;
    std::uint64_t lastLine = 0;
    while (reader.Next(&fields)) {
        // Lines are counted at line feeds; an object may also end at a lone carriage return.
        Check(reader.Line() >= lastLine && reader.Line() >= 1);
        lastLine = reader.Line();
        for (std::size_t i = 0; i < fields.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) Check(fields[i].key != fields[j].key);
        }
        objects.push_back(fields);
        Check(objects.size() <= size);
    }
    if (!reader.Error().empty()) {
        Check(reader.Error().rfind("line ", 0) == 0);
        Check(!reader.Next(&fields) && fields.empty());
    }

    // The objects again, one a line.
    std::string written;
    for (const auto& object : objects) {
        written += '{';
        for (std::size_t i = 0; i < object.size(); ++i) {
            const JsonField& f = object[i];
            const std::u16string key = Utf8ToUtf16(f.key);
            // A key whose text did not survive the way to UTF-8 cannot be written back as such.
            if (Utf16ToUtf8(key) != f.key) return 0;
            if (i != 0) written += ',';
            AppendString(key, &written);
            written += ':';
            switch (f.kind) {
                case JsonField::Kind::kString:
                    AppendString(f.text, &written);
                    break;
                case JsonField::Kind::kNumber:
                    written += f.number;
                    break;
                case JsonField::Kind::kTrue:
                    written += "true";
                    break;
                case JsonField::Kind::kFalse:
                    written += "false";
                    break;
                case JsonField::Kind::kNull:
                    written += "null";
                    break;
            }
        }
        written += "}\n";
    }
    FuzzInputFile again(reinterpret_cast<const std::uint8_t*>(written.data()), written.size());
    if (again.Get() == nullptr) return 0;
    ImportInput input2(again.Get());
    JsonLineReader reader2(input2);
    std::size_t n = 0;
    while (reader2.Next(&fields)) {
        Check(n < objects.size() && SameFields(fields, objects[n]));
        ++n;
    }
    Check(reader2.Error().empty() && n == objects.size());
    return 0;
}
