// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the CSV reader of the import (store/csv_reader.h).
//
// Input: the bytes of a CSV file. Beyond "no crash": a record has at least one field, records
// begin on lines that never go back, a failure says where and stays, and every record read, written
// out again with each field quoted, reads back as the same fields (what the export writes, the
// import reads).
#include <cstdint>
#include <string>
#include <vector>

#include "common/text_convert.h"
#include "import_fuzz_input.h"
#include "store/csv_reader.h"
#include "store/import_input.h"

namespace {

std::string Quoted(const std::vector<std::u16string>& fields) {
    std::string out;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (i != 0) out += ',';
        out += '"';
        for (char c : Utf16ToUtf8(fields[i])) {
            if (c == '"') out += '"';
            out += c;
        }
        out += '"';
    }
    return out + "\r\n";
}

bool IsWellFormed(const std::u16string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF) {
            if (i + 1 >= text.size() || text[i + 1] < 0xDC00 || text[i + 1] > 0xDFFF) return false;
            ++i;
        } else if (c >= 0xDC00 && c <= 0xDFFF) {
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
    CsvReader reader(input);
    std::vector<std::vector<std::u16string>> records;
    std::vector<std::u16string> fields;
    std::uint64_t lastLine = 0;
    while (reader.Next(&fields)) {
        Check(!fields.empty());
        // Lines are counted at line feeds; a record may also end at a lone carriage return, so
        // two records can begin on one counted line.
        Check(reader.Line() >= lastLine && reader.Line() >= 1);
        lastLine = reader.Line();
        records.push_back(fields);
        Check(records.size() <= size);
    }
    const bool failed = !reader.Error().empty();
    if (failed) {
        Check(reader.Error().rfind("line ", 0) == 0);
        Check(!reader.Next(&fields) && fields.empty());
    }

    // The records again, every field quoted.
    std::string written;
    bool wellFormed = true;
    for (const auto& record : records) {
        for (const auto& field : record) wellFormed = wellFormed && IsWellFormed(field);
        written += Quoted(record);
    }
    if (!wellFormed) return 0;
    FuzzInputFile again(reinterpret_cast<const std::uint8_t*>(written.data()), written.size());
    if (again.Get() == nullptr) return 0;
    ImportInput input2(again.Get());
    CsvReader reader2(input2);
    std::size_t n = 0;
    while (reader2.Next(&fields)) {
        Check(n < records.size() && fields == records[n]);
        ++n;
    }
    Check(reader2.Error().empty() && n == records.size());
    return 0;
}
