// SPDX-License-Identifier: GPL-3.0-or-later
#include "at/response_parsers.h"

#include "phonelink/response_buffer.h"

bool ParseCpmsLine(const std::uint8_t* line, std::uint32_t length, std::int32_t* used,
                   std::int32_t* total) {
    if (line == nullptr) return false;
    TokenCursor tokens{line, length};
    std::int32_t readUsed;
    std::int32_t readTotal;
    if (ExpectLiteral(&tokens, "+CPMS:") != kTokenOk ||
        ReadNumber(&tokens, &readUsed) != kTokenOk || ExpectLiteral(&tokens, ",") != kTokenOk ||
        ReadNumber(&tokens, &readTotal) != kTokenOk) {
        return false;
    }
    *used = readUsed;
    *total = readTotal;
    return true;
}

bool ParseCmglHeader(const std::uint8_t* line, std::uint32_t length, CmglHeader* header) {
    if (line == nullptr) return false;
    TokenCursor tokens{line, length};
    CmglHeader read;
    if (ExpectLiteral(&tokens, "+CMGL:") != kTokenOk ||
        ReadNumber(&tokens, &read.index) != kTokenOk || ExpectLiteral(&tokens, ",") != kTokenOk ||
        ReadNumber(&tokens, &read.status) != kTokenOk || ExpectLiteral(&tokens, ",") != kTokenOk) {
        return false;
    }
    (void)SkipQuotedString(&tokens);  // the alpha field may be empty
    if (ExpectLiteral(&tokens, ",") != kTokenOk || ReadNumber(&tokens, &read.length) != kTokenOk) {
        return false;
    }
    *header = read;
    return true;
}
