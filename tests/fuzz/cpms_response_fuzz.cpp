// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the "+CPMS:" response of SelectMemory, against an in-memory phone.
//
// Input: one control octet (low four bits + 1: bytes per read), then the phone's answer to
// "AT+CPMS=\"SM\"\r".
#include <cstdint>
#include <cstring>
#include <string_view>

#include "at/phone_commands.h"
#include "fuzz_phone.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 8192) return 0;
    PhoneChannel* channel = nullptr;
    PhoneSession* session = fuzz_phone::Start(data + 1, size - 1, 1 + (data[0] & 0x0F), &channel);
    if (session == nullptr) return 0;
    std::int32_t used = 12345;
    std::int32_t total = 12345;
    TransferError result = SelectMemory(session, "SM", &used, &total);
    fuzz_phone::Check(fuzz_phone::IsExchangeResult(result) && result != kErrCancelled);
    // Both counts are always written: -1 unless a "+CPMS:" line was read.
    fuzz_phone::Check(used != 12345 && total != 12345);
    std::string_view answer(reinterpret_cast<const char*>(data + 1), size - 1);
    if (used != -1 || total != -1) {
        fuzz_phone::Check(answer.find("+CPMS:") != std::string_view::npos);
    }
    fuzz_phone::Stop(session, channel);
    return 0;
}
