// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/csv_reader.h"

bool CsvReader::Fail(const std::string& what) {
    error_ = in_.Failed() ? "the file could not be read: " + in_.ReadError()
                          : "line " + std::to_string(in_.Line()) + ": " + what;
    return false;
}

bool CsvReader::Next(std::vector<std::u16string>* fields) {
    fields->clear();
    if (!error_.empty()) return false;
    if (!started_) {
        started_ = true;
        if (in_.Peek() == 0xEF) {
            in_.Get();
            if (in_.Get() != 0xBB || in_.Get() != 0xBF) return Fail("the file is not UTF-8");
        }
    }
    // Blank lines between records.
    while (in_.Peek() == '\r' || in_.Peek() == '\n') in_.Get();
    if (in_.Peek() < 0) {
        if (in_.Failed()) return Fail("");
        return false;
    }
    line_ = in_.Line();
    for (;;) {
        std::u16string field;
        if (in_.Peek() == '"') {
            const std::uint64_t opened = in_.Line();
            in_.Get();
            for (;;) {
                const int c = in_.Get();
                if (c < 0) {
                    return Fail("the file ends inside the quoted field begun on line " +
                                std::to_string(opened));
                }
                if (c == '"') {
                    if (in_.Peek() != '"') break;
                    in_.Get();
                    field.push_back(u'"');
                } else if (!in_.AppendUtf8(c, &field)) {
                    return Fail("a field that is not UTF-8");
                }
            }
            const int after = in_.Peek();
            if (after != ',' && after != '\r' && after != '\n' && after >= 0) {
                return Fail("text after the closing quote of a field");
            }
        } else {
            for (;;) {
                const int c = in_.Peek();
                if (c < 0 || c == ',' || c == '\r' || c == '\n') break;
                in_.Get();
                if (c == '"') return Fail("a quote inside a field that does not begin with one");
                if (!in_.AppendUtf8(c, &field)) return Fail("a field that is not UTF-8");
            }
        }
        fields->push_back(std::move(field));
        const int c = in_.Get();
        if (c == ',') continue;
        if (c == '\r' && in_.Peek() == '\n') in_.Get();
        if (c < 0 && in_.Failed()) return Fail("");
        return true;
    }
}
