// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/hand_over.h"

void PutU32(std::vector<std::uint8_t>& out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

std::uint32_t GetU32(const std::uint8_t* in) {
    return static_cast<std::uint32_t>(in[0]) | static_cast<std::uint32_t>(in[1]) << 8 |
           static_cast<std::uint32_t>(in[2]) << 16 | static_cast<std::uint32_t>(in[3]) << 24;
}

std::vector<std::uint8_t> EncodeHandOverRequest(std::uint32_t message, std::uint32_t wParam,
                                                const void* data, std::uint32_t size) {
    std::vector<std::uint8_t> out;
    out.reserve(kHandOverHeaderSize + size);
    PutU32(out, message);
    PutU32(out, wParam);
    PutU32(out, size);
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    if (size > 0 && bytes != nullptr) out.insert(out.end(), bytes, bytes + size);
    return out;
}

std::vector<std::uint8_t> CommandLinePayload(const TextBuffer& commandLine) {
    const std::size_t chars = commandLine.Length();
    std::vector<std::uint8_t> out;
    out.reserve((chars + 1) * 2);
    const char16_t* text = commandLine.Text();
    for (std::size_t i = 0; i <= chars; ++i) {  // the terminating zero included
        out.push_back(static_cast<std::uint8_t>(text[i] & 0xFF));
        out.push_back(static_cast<std::uint8_t>(text[i] >> 8));
    }
    return out;
}

bool TakeCommandLine(const void* data, std::uint32_t size, TextBuffer& commandLine) {
    // Less than two characters and a terminator: nothing worth taking.
    if (size < 5 || data == nullptr) return false;
    const std::size_t chars = (size - 1) / 2;
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    std::u16string text(chars, u'\0');
    for (std::size_t i = 0; i < chars; ++i) {
        text[i] = static_cast<char16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    }
    commandLine.Assign(text.data(), chars);
    return true;
}

void HandOverReader::Feed(const void* bytes, std::size_t n) {
    if (bad_ || n == 0) return;
    const auto* in = static_cast<const std::uint8_t*>(bytes);
    // Requests already handed out are dropped here, once per arrival, rather than one by one
    // in Next: a peer that sends thousands of requests in one go would otherwise have the
    // rest of the buffer moved after each of them.
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(start_));
    start_ = 0;
    buffer_.insert(buffer_.end(), in, in + n);
}

HandOverReader::Status HandOverReader::Next(HandOverRequest& request) {
    if (bad_) return Status::kBad;
    const std::size_t available = buffer_.size() - start_;
    if (available < kHandOverHeaderSize) return Status::kNeedMore;
    const std::uint8_t* head = buffer_.data() + start_;
    const std::uint32_t message = GetU32(head);
    const std::uint32_t size = GetU32(head + 8);
    if ((message != kHandOverActivate && message != kHandOverCopyData) || size > kMaxHandOverData) {
        bad_ = true;
        buffer_.clear();
        start_ = 0;
        return Status::kBad;
    }
    if (available < kHandOverHeaderSize + size) return Status::kNeedMore;
    request.message = message;
    request.wParam = GetU32(head + 4);
    request.data.assign(head + kHandOverHeaderSize, head + kHandOverHeaderSize + size);
    start_ += kHandOverHeaderSize + size;
    return Status::kRequest;
}
