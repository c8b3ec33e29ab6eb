// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the "+CMGL:" listing: header lines, PDU lines and the decoding of
// what they announce, driven through ListMessages against an in-memory phone.
//
// Input: one control octet (low four bits + 1: bytes per read; bit 7: the per-message callback
// cancels at the third message), then the phone's answer to "AT+CMGL=4\r".
#include <cstdint>
#include <cstring>

#include "at/phone_commands.h"
#include "fuzz_phone.h"

namespace {

struct Seen {
    int messages = 0;
    bool cancelAtThird = false;
};

TransferError OnMessage(PduRecord* record, void* context) {
    auto* seen = static_cast<Seen*>(context);
    ++seen->messages;
    // What reaches the callback was decoded: bounded, terminated fields.
    fuzz_phone::Check(strnlen(record->addressDigits, kAddressDigitsSize) < kAddressDigitsSize);
    fuzz_phone::Check(strnlen(record->scaDigits, kScaDigitsSize) < kScaDigitsSize);
    fuzz_phone::Check(record->userDataLength <= kUserDataSize);
    fuzz_phone::Check(record->headerLength <= kHeaderSize);
    fuzz_phone::Check(record->tpduLength != 0);  // a zero announcement expects no PDU line
    return seen->cancelAtThird && seen->messages == 3 ? kErrCancelled : kErrNone;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 8192) return 0;
    PhoneChannel* channel = nullptr;
    PhoneSession* session = fuzz_phone::Start(data + 1, size - 1, 1 + (data[0] & 0x0F), &channel);
    if (session == nullptr) return 0;
    Seen seen;
    seen.cancelAtThird = (data[0] & 0x80) != 0;
    TransferError result = ListMessages(session, kListAllMessages, &OnMessage, &seen);
    fuzz_phone::Check(fuzz_phone::IsExchangeResult(result));
    fuzz_phone::Check(result != kErrCancelled || seen.messages == 3);
    fuzz_phone::Stop(session, channel);
    return 0;
}
