// SPDX-License-Identifier: GPL-3.0-or-later
// The JSON objects of a file of JSON lines (one object a line, as `velkan list --json` and
// `velkan export --format json` write them) one at a time, streamed. An object's values are
// strings, numbers, true, false or null; nested arrays and objects are not read. A \u escape of
// one half of a surrogate pair stands for that code unit. Blank lines are passed over.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/import_input.h"

struct JsonField {
    enum class Kind { kString, kNumber, kTrue, kFalse, kNull };
    std::string key;
    Kind kind = Kind::kNull;
    std::u16string text;  // kString
    std::string number;   // kNumber, as written
};

class JsonLineReader {
  public:
    explicit JsonLineReader(ImportInput& in) : in_(in) {}

    // The fields of the next object. False at the end of the file (Error() empty) or for a
    // line that is no JSON object (Error() says what and where).
    bool Next(std::vector<JsonField>* fields);
    // The line of the last object.
    std::uint64_t Line() const { return line_; }
    const std::string& Error() const { return error_; }

  private:
    bool Fail(const std::string& what);
    void SkipSpaces();
    bool ReadString(std::u16string* out);
    bool ReadValue(JsonField* field);

    ImportInput& in_;
    std::uint64_t line_ = 0;
    std::string error_;
};
