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
    std::vector<BuiltPdu> parts;
    if (!BuildDeliverParts(message, model->knobs().serviceCentre,
                           model->TakeConcatenationReference(), &parts, error)) {
        return false;
    }
    // A long message arrives as its parts, one after the other; *index is the first part's.
    *index = 0;
    for (const BuiltPdu& built : parts) {
        const unsigned stored = model->Receive(ToHex(built.bytes), built.tpduLength);
        if (stored == 0) {
            *error = std::string(StorageName(model->receiving_memory())) +
                     " is full: the message is lost";
            return false;
        }
        if (*index == 0) *index = stored;
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
