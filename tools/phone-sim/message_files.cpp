// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_files.h"

#include <charconv>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "common/file_time.h"
#include "common/text_convert.h"
#include "pdu/deliver.h"
#include "pdu_builder.h"

namespace phone_sim {
namespace {

std::vector<std::string_view> SplitFields(std::string_view line, std::size_t maxFields) {
    std::vector<std::string_view> fields;
    while (fields.size() + 1 < maxFields) {
        std::size_t bar = line.find('|');
        if (bar == std::string_view::npos) break;
        fields.push_back(line.substr(0, bar));
        line.remove_prefix(bar + 1);
    }
    fields.push_back(line);
    return fields;
}

bool ParseUnsigned(std::string_view text, unsigned* value) {
    if (text.empty() || text.size() > 9) return false;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *value);
    return ec == std::errc() && end == text.data() + text.size();
}

// "SM", "ME", "SM@5".
bool ParseMemoryField(std::string_view text, Storage* storage, unsigned* index) {
    *index = 0;
    std::size_t at = text.find('@');
    if (at != std::string_view::npos) {
        if (!ParseUnsigned(text.substr(at + 1), index) || *index == 0) return false;
        text = text.substr(0, at);
    }
    return ParseStorageName(text, storage);
}

bool ParseDateTime(std::string_view text, SystemTime* time) {
    // YYYY-MM-DD HH:MM:SS
    if (text.size() != 19 || text[4] != '-' || text[7] != '-' || text[10] != ' ' ||
        text[13] != ':' || text[16] != ':') {
        return false;
    }
    unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!ParseUnsigned(text.substr(0, 4), &year) || !ParseUnsigned(text.substr(5, 2), &month) ||
        !ParseUnsigned(text.substr(8, 2), &day) || !ParseUnsigned(text.substr(11, 2), &hour) ||
        !ParseUnsigned(text.substr(14, 2), &minute) ||
        !ParseUnsigned(text.substr(17, 2), &second)) {
        return false;
    }
    SystemTime t;
    t.year = static_cast<std::uint16_t>(year);
    t.month = static_cast<std::uint16_t>(month);
    t.day = static_cast<std::uint16_t>(day);
    t.hour = static_cast<std::uint16_t>(hour);
    t.minute = static_cast<std::uint16_t>(minute);
    t.second = static_cast<std::uint16_t>(second);
    FileTime check = 0;
    if (!SystemTimeToFileTime(t, &check)) return false;
    *time = t;
    return true;
}

// "+04", "-08", "0": quarter hours.
bool ParseZone(std::string_view text, int* quarters) {
    int sign = 1;
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
        sign = text[0] == '-' ? -1 : 1;
        text.remove_prefix(1);
    }
    unsigned value = 0;
    if (text.size() > 2 || !ParseUnsigned(text, &value) || value > 79) return false;
    *quarters = sign * static_cast<int>(value);
    return true;
}

bool IsRawHexText(std::string_view text) {
    if (text.empty()) return false;
    for (char c : text) {
        if (c <= ' ' || c > '~') return false;
    }
    return true;
}

bool Store(PhoneModel* model, Storage storage, unsigned index, int status, std::string hex,
           unsigned tpduLength, std::string* error) {
    MessageMemory& memory = model->memory(storage);
    if (index == 0) {
        if (memory.Add(status, std::move(hex), tpduLength) == 0) {
            *error = std::string("memory ") + StorageName(storage) + " is full";
            return false;
        }
        return true;
    }
    if (!memory.AddAt(index, status, std::move(hex), tpduLength)) {
        *error = "index " + std::to_string(index) + " of " + StorageName(storage) +
                 " is taken or beyond its capacity";
        return false;
    }
    return true;
}

bool LoadSentLine(const std::vector<std::string_view>& f, PhoneModel* model, std::string* error) {
    // SENT|REF|NUMBER|FLAGS|DELIVERED|PDU:<hex>|<length>|TEXT
    if (f.size() != 8) {
        *error = "a SENT line has 8 fields";
        return false;
    }
    SentMessage sent;
    if (!ParseUnsigned(f[1], &sent.reference) || sent.reference > 255) {
        *error = "bad message reference";
        return false;
    }
    if (f[4] != "-") {
        if (!ParseMemoryField(f[4], &sent.deliveredTo, &sent.deliveredIndex) ||
            sent.deliveredIndex == 0) {
            *error = "bad DELIVERED field (MEM@INDEX or -)";
            return false;
        }
    }
    std::vector<std::uint8_t> bytes;
    PduRecordPtr record(NewPduRecord());
    if (f[5].substr(0, 4) != "PDU:" || !ParseUnsigned(f[6], &sent.tpduLength) || !record ||
        !FromHex(f[5].substr(4), &bytes) ||
        !DecodeSubmit(bytes, sent.tpduLength, record.get(), &sent)) {
        *error = "the sent PDU does not decode as an SMS-SUBMIT of the given length";
        return false;
    }
    sent.pduHex.assign(f[5].substr(4));
    model->AddSent(std::move(sent));
    return true;
}

}  // namespace

std::string EscapeText(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else {
            out.push_back(c);
        }
    }
    return out;
}

std::string UnescapeText(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            char next = text[i + 1];
            if (next == 'n' || next == 'r' || next == '\\') {
                out.push_back(next == 'n' ? '\n' : next == 'r' ? '\r' : '\\');
                ++i;
                continue;
            }
        }
        out.push_back(text[i]);
    }
    return out;
}

bool LoadMessageLine(std::string_view line, PhoneModel* model, std::string* error) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string_view::npos || line[first] == '#') return true;

    std::vector<std::string_view> f = SplitFields(line, 8);
    if (f[0] == "SENT") return LoadSentLine(f, model, error);

    Storage storage = Storage::kSim;
    unsigned index = 0;
    unsigned status = 0;
    if (f.size() < 3 || !ParseMemoryField(f[0], &storage, &index)) {
        *error = "expected MEM|STATUS|... with MEM \"SM\" or \"ME\" (optionally @INDEX)";
        return false;
    }
    if (!ParseUnsigned(f[1], &status) || status > 3) {
        *error = "STATUS must be 0, 1, 2 or 3";
        return false;
    }

    if (f[2].substr(0, 4) == "PDU:") {
        std::string_view hex = f[2].substr(4);
        if (f.size() > 4 || !IsRawHexText(hex)) {
            *error = "expected MEM|STATUS|PDU:<hex>|<tpdu length>";
            return false;
        }
        unsigned length = 0;
        if (f.size() == 4) {
            if (!ParseUnsigned(f[3], &length)) {
                *error = "bad TPDU length";
                return false;
            }
        } else {
            std::vector<std::uint8_t> bytes;
            if (!FromHex(hex, &bytes) || !TpduLengthOf(bytes, &length)) {
                *error = "the TPDU length can only be left out for a well-formed PDU";
                return false;
            }
        }
        return Store(model, storage, index, static_cast<int>(status), std::string(hex), length,
                     error);
    }

    // MEM|STATUS|NUMBER|YYYY-MM-DD HH:MM:SS|+ZZ|TEXT, the text taking everything after.
    f = SplitFields(line, 6);
    if (f.size() != 6) {
        *error = "expected MEM|STATUS|NUMBER|YYYY-MM-DD HH:MM:SS|+ZZ|TEXT";
        return false;
    }
    TextMessage message;
    message.number.assign(f[2]);
    message.submit = status >= kStoUnsent;
    if (!ParseDateTime(f[3], &message.time)) {
        *error = "bad time (YYYY-MM-DD HH:MM:SS)";
        return false;
    }
    if (!ParseZone(f[4], &message.zoneQuarters)) {
        *error = "bad zone (quarter hours, e.g. +04 or -08)";
        return false;
    }
    message.text = Utf8ToUtf16(UnescapeText(f[5]));
    BuiltPdu built;
    if (!BuildTextPdu(message, model->knobs().serviceCentre, &built, error)) return false;
    return Store(model, storage, index, static_cast<int>(status), ToHex(built.bytes),
                 built.tpduLength, error);
}

bool LoadMessagesText(std::string_view text, std::string_view name, PhoneModel* model,
                      std::string* error) {
    unsigned number = 0;
    while (!text.empty()) {
        ++number;
        std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        std::string why;
        if (!LoadMessageLine(line, model, &why)) {
            *error = std::string(name) + ":" + std::to_string(number) + ": " + why;
            return false;
        }
    }
    return true;
}

bool LoadMessagesFile(const std::string& path, PhoneModel* model, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        *error = path + ": cannot be read";
        return false;
    }
    std::ostringstream content;
    content << in.rdbuf();
    return LoadMessagesText(content.str(), path, model, error);
}

bool AddQuickMessage(std::string_view quick, PhoneModel* model, std::string* error) {
    std::size_t first = quick.find(':');
    std::size_t second = first == std::string_view::npos ? first : quick.find(':', first + 1);
    Storage storage = Storage::kSim;
    if (second == std::string_view::npos || !ParseStorageName(quick.substr(0, first), &storage)) {
        *error = "expected MEM:NUMBER:TEXT with MEM \"SM\" or \"ME\"";
        return false;
    }
    TextMessage message;
    message.number.assign(quick.substr(first + 1, second - first - 1));
    message.text = Utf8ToUtf16(UnescapeText(quick.substr(second + 1)));
    message.time = GetLocalTime();
    message.zoneQuarters = LocalZoneQuarters();
    // Any Unicode text: UCS2 when it must be, in parts when long.
    std::vector<BuiltPdu> parts;
    if (!BuildDeliverParts(message, model->knobs().serviceCentre,
                           model->TakeConcatenationReference(), &parts, error)) {
        return false;
    }
    for (const BuiltPdu& built : parts) {
        if (!Store(model, storage, 0, kRecUnread, ToHex(built.bytes), built.tpduLength, error)) {
            return false;
        }
    }
    return true;
}

bool GenerateMessages(unsigned count, PhoneModel* model, std::string* error) {
    MessageMemory& memory = model->memory(Storage::kPhone);
    if (memory.used() + count > memory.capacity()) memory.set_capacity(memory.used() + count);
    SystemTime start;
    start.year = 2024;
    start.month = 1;
    start.day = 1;
    start.hour = 8;
    FileTime base = 0;
    SystemTimeToFileTime(start, &base);
    for (unsigned i = 1; i <= count; ++i) {
        TextMessage message;
        char number[24];
        std::snprintf(number, sizeof number, "+49151%08u", i % 100000000u);
        message.number = number;
        message.text = Utf8ToUtf16("Load test message " + std::to_string(i));
        FileTimeToSystemTime(base + FileTime{i} * 60u * 10000000u, &message.time);
        message.zoneQuarters = 4;
        BuiltPdu built;
        if (!BuildTextPdu(message, model->knobs().serviceCentre, &built, error)) return false;
        if (!Store(model, Storage::kPhone, 0, kRecUnread, ToHex(built.bytes), built.tpduLength,
                   error)) {
            return false;
        }
    }
    return true;
}

std::string FormatState(const PhoneModel& model) {
    std::string out = "# velkan-phone-sim state (a stored messages file: --messages reloads it)\n";
    for (Storage storage : {Storage::kSim, Storage::kPhone}) {
        const MessageMemory& memory = model.memory(storage);
        out += "# " + std::string(StorageName(storage)) + " " + std::to_string(memory.used()) +
               "/" + std::to_string(memory.capacity()) + "\n";
        for (const auto& [index, m] : memory.messages()) {
            out += std::string(StorageName(storage)) + "@" + std::to_string(index) + "|" +
                   std::to_string(m.status) + "|PDU:" + m.pduHex + "|" +
                   std::to_string(m.tpduLength) + "\n";
        }
    }
    out += "# sent " + std::to_string(model.sent().size()) + "\n";
    for (const SentMessage& s : model.sent()) {
        std::string flags;
        if (s.flash) flags = "flash";
        if (s.statusReport) flags += flags.empty() ? "report" : ",report";
        if (flags.empty()) flags = "-";
        std::string delivered = "-";
        if (s.deliveredIndex != 0) {
            delivered =
                std::string(StorageName(s.deliveredTo)) + "@" + std::to_string(s.deliveredIndex);
        }
        out += "SENT|" + std::to_string(s.reference) + "|" + s.number + "|" + flags + "|" +
               delivered + "|PDU:" + s.pduHex + "|" + std::to_string(s.tpduLength) + "|" +
               EscapeText(s.text) + "\n";
    }
    return out;
}

}  // namespace phone_sim
