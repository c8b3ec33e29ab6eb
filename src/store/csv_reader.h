// SPDX-License-Identifier: GPL-3.0-or-later
// The records of a CSV file (RFC 4180, UTF-8) one at a time, streamed: fields separated by
// commas, records by CRLF or LF, a field in double quotes may hold commas, line breaks and
// doubled quotes. A byte order mark at the start is passed over, and so are blank lines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/import_input.h"

class CsvReader {
  public:
    explicit CsvReader(ImportInput& in) : in_(in) {}

    // The fields of the next record. False at the end of the file (Error() empty) or for a
    // record that is not CSV (Error() says what and where).
    bool Next(std::vector<std::u16string>* fields);
    // The line the last record began on.
    std::uint64_t Line() const { return line_; }
    const std::string& Error() const { return error_; }

  private:
    bool Fail(const std::string& what);

    ImportInput& in_;
    bool started_ = false;
    std::uint64_t line_ = 0;
    std::string error_;
};
