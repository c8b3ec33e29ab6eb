// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the response line cutter and the field tokenisers.
//
// Input: one control octet that chooses how the rest is split into reads, then the response bytes
// (at most the buffer size, so that the same bytes also fit in one read). The lines must not
// depend on the split, must equal those of a plain reference cutter, and must never hold a CR LF.
// Every line then goes through the tokenisers, whose positions must stay inside the line.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "phonelink/response_buffer.h"

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

using Lines = std::vector<std::string>;

// Feeds `bytes` in reads whose sizes follow `control`, cutting and compacting as the exchange does.
Lines CutInReads(const std::uint8_t* bytes, std::size_t n, std::uint8_t control) {
    static std::uint8_t buffer[kResponseBufferSize];
    ResponseCursor cursor;
    ResetCursor(&cursor, buffer, sizeof buffer);
    Lines lines;
    std::uint32_t state = control | 1u;
    std::size_t offset = 0;
    while (offset < n) {
        std::size_t step = n - offset;
        if (control != 0xFF) {
            state = state * 1103515245u + 12345u;
            step = 1 + (state >> 16) % (1 + (control & 0x1F));
            if (step > n - offset) step = n - offset;
        }
        std::uint32_t room = CursorFreeSpace(&cursor);
        Check(room >= step);  // never more than one partial line plus this read
        std::memcpy(cursor.writePos, bytes + offset, step);
        CursorCommit(&cursor, static_cast<std::uint32_t>(step));
        offset += step;
        const std::uint8_t* line;
        std::uint32_t length;
        while (CutLine(&cursor, &line, &length)) {
            Check(line >= buffer && line + length <= buffer + sizeof buffer);
            lines.emplace_back(reinterpret_cast<const char*>(line), length);
        }
        CompactCursor(&cursor);
        Check(cursor.parsePos == buffer);
        Check(cursor.writePos == buffer + cursor.filled);
        Check(cursor.unparsed == cursor.filled);
    }
    return lines;
}

Lines ReferenceLines(const std::uint8_t* bytes, std::size_t n) {
    std::string text(reinterpret_cast<const char*>(bytes), n);
    std::size_t start = text.compare(0, 2, "\r\n") == 0 ? 2 : 0;
    Lines lines;
    for (;;) {
        std::size_t end = text.find("\r\n", start);
        if (end == std::string::npos) break;
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

void Tokenise(const std::string& line) {
    const auto* begin = reinterpret_cast<const std::uint8_t*>(line.data());
    const auto* end = begin + line.size();
    TokenCursor tokens{begin, static_cast<std::uint32_t>(line.size())};
    auto inside = [&] { Check(tokens.pos >= begin && tokens.pos + tokens.remaining == end); };
    std::int32_t number;
    std::uint8_t octets[kResponseBufferSize / 2];
    std::uint32_t count;
    // The header shapes the engine reads, then whatever is left as hex.
    ExpectLiteral(&tokens, "+CMGL:");
    inside();
    ReadNumber(&tokens, &number);
    inside();
    ExpectLiteral(&tokens, ",");
    SkipQuotedString(&tokens);
    inside();
    ReadNumber(&tokens, &number);
    inside();
    if (ReadHexBytes(&tokens, octets, sizeof octets, &count) == kErrNone) {
        Check(count <= sizeof octets);
    }
    inside();
    SkipBlanks(&tokens);
    inside();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::uint8_t control = data[0];
    const std::uint8_t* bytes = data + 1;
    std::size_t n = size - 1;
    if (n > kResponseBufferSize) n = kResponseBufferSize;

    Lines split = CutInReads(bytes, n, control);
    Lines whole = CutInReads(bytes, n, 0xFF);
    Check(split == whole);
    Check(whole == ReferenceLines(bytes, n));
    for (const std::string& line : whole) {
        Check(line.find("\r\n") == std::string::npos);
        Tokenise(line);
    }
    return 0;
}
