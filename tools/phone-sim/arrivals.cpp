// SPDX-License-Identifier: GPL-3.0-or-later
#include "arrivals.h"

#include "common/file_time.h"
#include "common/text_convert.h"
#include "message_files.h"
#include "pdu_builder.h"

namespace phone_sim {

bool ReceiveText(std::string_view number, std::string_view text, PhoneModel* model, unsigned* index,
                 std::string* error) {
    TextMessage message;
    message.number.assign(number);
    message.text = Utf8ToUtf16(UnescapeText(text));
    message.time = GetLocalTime();
    message.zoneQuarters = LocalZoneQuarters();
    BuiltPdu built;
    if (!BuildTextPdu(message, model->knobs().serviceCentre, &built, error)) return false;
    *index = model->Receive(ToHex(built.bytes), built.tpduLength);
    if (*index == 0) {
        *error =
            std::string(StorageName(model->receiving_memory())) + " is full: the message is lost";
        return false;
    }
    return true;
}

bool ReceiveInjected(unsigned n, PhoneModel* model, std::string* error) {
    unsigned index = 0;
    return ReceiveText(kInjectedSender, "Injected message " + std::to_string(n), model, &index,
                       error);
}

std::string ControlLine(std::string_view line, PhoneModel* model) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return "error: expected NUMBER:TEXT";
    const Storage memory = model->receiving_memory();
    std::string error;
    unsigned index = 0;
    if (!ReceiveText(line.substr(0, colon), line.substr(colon + 1), model, &index, &error)) {
        return "error: " + error;
    }
    return "stored " + std::string(StorageName(memory)) + " " + std::to_string(index);
}

}  // namespace phone_sim
