// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the single-instance hand-over as the running instance reads it: the
// bytes a second start sends, cut into requests by HandOverReader, each command line taken with
// TakeCommandLine and read with ParseSmsTo, as the message list does before it opens the compose
// dialog.
//
// Input: one control octet that chooses the sizes of the pieces in which the bytes arrive (as
// in line_cutter: a fixed pseudo-random sequence of sizes up to (low five bits + 1), or 0xFF for
// one piece), then the bytes of the connection.
//
// The requests must not depend on the pieces and must equal those of an independent reading of
// the wire format; once the reader has refused the connection it stays refused.
#include <cstdint>
#include <string>
#include <vector>

#include "framework/text_buffer.h"
#include "shell/hand_over.h"
#include "shell/smsto.h"

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

struct Outcome {
    std::vector<HandOverRequest> requests;
    bool bad = false;
};

bool SameRequests(const std::vector<HandOverRequest>& a, const std::vector<HandOverRequest>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i].message != b[i].message || a[i].wParam != b[i].wParam || a[i].data != b[i].data) {
            return false;
        }
    }
    return true;
}

std::uint32_t Le32(const std::uint8_t* p) {
    return p[0] | p[1] << 8 | p[2] << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

// The wire format read in one go: header, size check, data.
Outcome Reference(const std::uint8_t* bytes, std::size_t n) {
    Outcome out;
    std::size_t at = 0;
    while (n - at >= 12) {
        const std::uint32_t message = Le32(bytes + at);
        const std::uint32_t size = Le32(bytes + at + 8);
        if ((message != 6 && message != 74) || size > 64 * 1024) {
            out.bad = true;
            break;
        }
        if (n - at - 12 < size) break;
        HandOverRequest request;
        request.message = message;
        request.wParam = Le32(bytes + at + 4);
        request.data.assign(bytes + at + 12, bytes + at + 12 + size);
        out.requests.push_back(std::move(request));
        at += 12 + size;
    }
    return out;
}

// The running instance's side of one request (the answer it would write back).
std::uint32_t Answer(const HandOverRequest& request, TextBuffer& commandLine) {
    Check(request.message == kHandOverActivate || request.message == kHandOverCopyData);
    Check(request.data.size() <= kMaxHandOverData);
    if (request.message == kHandOverActivate) return kHandOverAnswer;

    const auto size = static_cast<std::uint32_t>(request.data.size());
    const std::u16string before = commandLine.ToU16();
    const bool taken = TakeCommandLine(request.data.data(), size, commandLine);
    Check(taken == (size >= 5));
    if (!taken) {
        Check(commandLine.ToU16() == before);  // an ignored request leaves the last one
        return kHandOverAnswer;
    }
    // (size - 1) / 2 code units, up to the first zero among them.
    const std::u16string text = commandLine.ToU16();
    const std::size_t chars = (size - 1) / 2;
    Check(text.size() <= chars);
    for (std::size_t i = 0; i < chars; ++i) {
        const char16_t unit =
            static_cast<char16_t>(request.data[2 * i] | request.data[2 * i + 1] << 8);
        if (i == text.size()) {
            Check(unit == 0);
            break;
        }
        Check(text[i] == unit);
    }

    // Later, the message list reads the recipient from it.
    TextBuffer number, name;
    if (ParseSmsTo(commandLine, number, name)) {
        const std::u16string digits = number.ToU16();
        for (std::size_t i = 0; i < digits.size(); ++i) {
            Check((digits[i] >= u'0' && digits[i] <= u'9') || (digits[i] == u'+' && i == 0));
        }
        Check(digits != u"+");
        Check(name.Length() < text.size());
    }
    return kHandOverAnswer;
}

Outcome Read(const std::uint8_t* bytes, std::size_t n, std::uint8_t control) {
    HandOverReader reader;
    Outcome out;
    TextBuffer commandLine;
    std::uint32_t state = control | 1u;
    std::size_t offset = 0;
    while (offset < n && !out.bad) {
        std::size_t step = n - offset;
        if (control != 0xFF) {
            state = state * 1103515245u + 12345u;
            step = 1 + (state >> 16) % (1 + (control & 0x1F));
            if (step > n - offset) step = n - offset;
        }
        reader.Feed(bytes + offset, step);
        offset += step;
        for (;;) {
            HandOverRequest request;
            const HandOverReader::Status status = reader.Next(request);
            if (status == HandOverReader::Status::kNeedMore) break;
            if (status == HandOverReader::Status::kBad) {
                out.bad = true;
                break;
            }
            Check(Answer(request, commandLine) == kHandOverAnswer);
            out.requests.push_back(std::move(request));
        }
    }
    if (out.bad) {
        // The connection ends; whatever else arrives is not read.
        const std::uint8_t activate[12] = {6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        reader.Feed(activate, sizeof activate);
        HandOverRequest request;
        Check(reader.Next(request) == HandOverReader::Status::kBad);
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 200000) return 0;
    const std::uint8_t control = data[0];
    const std::uint8_t* bytes = data + 1;
    const std::size_t n = size - 1;

    const Outcome pieces = Read(bytes, n, control);
    const Outcome whole = Read(bytes, n, 0xFF);
    const Outcome expected = Reference(bytes, n);
    Check(pieces.bad == expected.bad && whole.bad == expected.bad);
    Check(SameRequests(pieces.requests, expected.requests));
    Check(SameRequests(whole.requests, expected.requests));
    return 0;
}
