// SPDX-License-Identifier: GPL-3.0-or-later
#include "phone_model.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "at_syntax.h"
#include "common/file_time.h"
#include "common/text_convert.h"
#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu_builder.h"

namespace phone_sim {
namespace {

constexpr char kCtrlZ = 0x1A;
constexpr char kEscape = 0x1B;

// CMS error numbers of GSM 07.05.
constexpr int kCmsNotAllowed = 302;
constexpr int kCmsBadPdu = 304;
constexpr int kCmsBadIndex = 321;

std::string Utf16ToUtf8Text(const char16_t* text, std::size_t length) {
    return Utf16ToUtf8(std::u16string_view(text, length));
}

}  // namespace

const char* StorageName(Storage storage) {
    return storage == Storage::kSim ? "SM" : "ME";
}

bool ParseStorageName(std::string_view name, Storage* storage) {
    if (name == "SM") {
        *storage = Storage::kSim;
        return true;
    }
    if (name == "ME") {
        *storage = Storage::kPhone;
        return true;
    }
    return false;
}

// ---------------------------------------------------------------------------------------------
// MessageMemory

unsigned MessageMemory::Add(int status, std::string pduHex, unsigned tpduLength) {
    unsigned index = 1;
    for (const auto& [taken, message] : messages_) {
        if (taken != index) break;
        ++index;
    }
    if (index > capacity_) return 0;
    AddAt(index, status, std::move(pduHex), tpduLength);
    return index;
}

bool MessageMemory::AddAt(unsigned index, int status, std::string pduHex, unsigned tpduLength) {
    if (index < 1 || index > capacity_ || messages_.count(index) != 0) return false;
    StoredMessage& m = messages_[index];
    m.index = index;
    m.status = status;
    m.pduHex = std::move(pduHex);
    m.tpduLength = tpduLength;
    return true;
}

StoredMessage* MessageMemory::Find(unsigned index) {
    auto it = messages_.find(index);
    return it == messages_.end() ? nullptr : &it->second;
}

const StoredMessage* MessageMemory::Find(unsigned index) const {
    auto it = messages_.find(index);
    return it == messages_.end() ? nullptr : &it->second;
}

bool MessageMemory::Remove(unsigned index) {
    return messages_.erase(index) != 0;
}

// ---------------------------------------------------------------------------------------------
// Decoding what was sent

bool DecodeSubmit(const std::vector<std::uint8_t>& bytes, unsigned tpduLength, PduRecord* record,
                  SentMessage* out) {
    unsigned actual = 0;
    if (!TpduLengthOf(bytes, &actual) || actual != tpduLength) return false;
    if (DecodePdu(record, bytes.data(), static_cast<std::uint32_t>(bytes.size()), tpduLength) !=
        0) {
        return false;
    }
    if ((record->firstOctet & 3) != kMtiSubmit) return false;

    out->number.clear();
    if (((record->addressType >> 4) & 7) == 1) out->number = "+";
    out->number.append(record->addressDigits,
                       strnlen(record->addressDigits, kAddressDigitsSize - 1));
    out->dcs = record->dcs;
    out->statusReport = (record->firstOctet & 0x20) != 0;
    // Class 0: coding group 1111 with class bits 00, or a general coding group with the class
    // flag (bit 4) set and class bits 00.
    if ((record->dcs & 0xF0) == 0xF0) {
        out->flash = (record->dcs & 0x03) == 0;
    } else {
        out->flash =
            (record->dcs & 0xC0) == 0 && (record->dcs & 0x10) != 0 && (record->dcs & 0x03) == 0;
    }

    std::size_t units = std::min<std::size_t>(record->userDataLength, kUserDataSize);
    out->text.clear();
    switch ((record->dcs >> 2) & 3) {
        case 0: {
            char16_t text[kUserDataSize + 1];
            std::size_t count = 0;
            SeptetsToText(record->userData, units, text, &count);
            out->text = Utf16ToUtf8Text(text, count);
            break;
        }
        case 1: {
            std::u16string text;
            for (std::size_t i = 0; i < units; ++i) text.push_back(record->userData[i]);
            out->text = Utf16ToUtf8(text);
            break;
        }
        case 2: {
            // The codec leaves UCS2 text alone; it is the last TP-UDL octets of the TPDU.
            std::size_t udl = record->udl;
            if (udl > tpduLength) break;
            const std::uint8_t* ud = bytes.data() + bytes.size() - udl;
            std::size_t skip = 0;
            if ((record->firstOctet & 0x40) != 0 && udl > 0) skip = std::size_t{ud[0]} + 1;
            if (skip > udl) break;
            std::u16string text;
            for (std::size_t i = skip; i + 1 < udl; i += 2) {
                text.push_back(static_cast<char16_t>(ud[i] << 8 | ud[i + 1]));
            }
            out->text = Utf16ToUtf8(text);
            break;
        }
        default:
            out->text =
                ToHex(std::vector<std::uint8_t>(record->userData, record->userData + units));
            break;
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// PhoneModel

PhoneModel::PhoneModel(Knobs knobs)
    : knobs_(std::move(knobs)),
      sim_(Storage::kSim, knobs_.simCapacity),
      phone_(Storage::kPhone, knobs_.phoneCapacity),
      garbageState_(knobs_.garbageStart == 0 ? 1 : knobs_.garbageStart) {
    for (auto* list : {&knobs_.silentOn, &knobs_.dropOn, &knobs_.floodOn, &knobs_.holdOn}) {
        for (std::string& prefix : *list) prefix = UpperOutsideQuotes(prefix);
    }
    for (ErrorRule& rule : knobs_.errorOn) rule.command = UpperOutsideQuotes(rule.command);
    Connect();
}

void PhoneModel::AddSent(SentMessage message) {
    nextReference_ = (message.reference + 1) & 0xFF;
    sent_.push_back(std::move(message));
}

void PhoneModel::Connect() {
    stage_ = Stage::kCommand;
    echo_ = knobs_.echo;
    verbose_ = true;
    readMemory_ = Storage::kSim;
    writeMemory_ = Storage::kSim;
    receiveMemory_ = knobs_.noMe ? Storage::kSim : Storage::kPhone;
    characterSet_ = "GSM";
    ResetReporting();
    answering_ = false;
    heldIndications_.clear();
    line_.clear();
    lineOverflow_ = false;
    pduText_.clear();
    pduOverflow_ = false;
    expectedTpduLength_ = 0;
    commandCount_ = 0;
    pduCount_ = 0;
    dropRequested_ = false;
    output_.clear();
}

std::size_t PhoneModel::Feed(std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (dropRequested_) return i;
        char c = bytes[i];
        if (stage_ == Stage::kPdu) {
            if (c == kCtrlZ) {
                FinishPdu(false);
            } else if (c == kEscape) {
                FinishPdu(true);
            } else if (c == '\r' || c == '\n') {
                // Line ends inside the PDU are not part of it.
            } else if (pduText_.size() < kMaxPduText) {
                pduText_.push_back(c);
            } else {
                pduOverflow_ = true;
            }
        } else if (c == kCtrlZ || c == kEscape) {
            // Outside a message prompt these end nothing; a modem ignores them.
        } else if (c == '\r') {
            FinishCommand();
        } else if (c == '\n') {
            // A stray LF (a terminal sending CR LF) is not part of any command.
        } else if (line_.size() < kMaxCommandLength) {
            line_.push_back(c);
        } else {
            lineOverflow_ = true;
        }
    }
    return bytes.size();
}

std::string PhoneModel::TakeOutput() {
    std::string out;
    out.swap(output_);
    return out;
}

void PhoneModel::Log(std::string_view line) {
    if (logSink_) logSink_(line);
}

void PhoneModel::Changed() {
    if (changeSink_) changeSink_();
}

void PhoneModel::CountCommand() {
    ++commandCount_;
}

// "#N" names the N-th command of the connection (the PDU stage counts as a command of its own),
// so that a fault hits one command of a run and not every command sharing its prefix: the
// second "AT" of the wake-up, the deletion's AT+CPMS but not the listing's.
bool PhoneModel::IsCurrentNumber(std::string_view target) const {
    if (target.size() < 2 || target[0] != '#') return false;
    std::uint64_t number = 0;
    const char* end = target.data() + target.size();
    auto [last, ec] = std::from_chars(target.data() + 1, end, number);
    return ec == std::errc() && last == end && number == commandCount_;
}

// "PDU#N" names the PDU stage of the N-th AT+CMGS of the connection: the second part of a long
// message, whatever the wake-up before it took.
bool PhoneModel::IsCurrentPdu(std::string_view target) const {
    if (target == "PDU") return true;
    if (target.substr(0, 4) != "PDU#" || target.size() < 5) return false;
    std::uint64_t number = 0;
    const char* end = target.data() + target.size();
    auto [last, ec] = std::from_chars(target.data() + 4, end, number);
    return ec == std::errc() && last == end && number == pduCount_;
}

bool PhoneModel::Targets(std::string_view target, std::string_view command) const {
    if (target.empty()) return false;
    if (target[0] == '#') return IsCurrentNumber(target);
    return command.substr(0, target.size()) == target;
}

bool PhoneModel::Matches(const std::vector<std::string>& prefixes, std::string_view command) const {
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&](const std::string& prefix) { return Targets(prefix, command); });
}

const ErrorRule* PhoneModel::MatchError(std::string_view command) const {
    for (const ErrorRule& rule : knobs_.errorOn) {
        if (Targets(rule.command, command)) return &rule;
    }
    return nullptr;
}

namespace {

PhoneModel::Result ResultOf(const FaultReply& reply) {
    switch (reply.kind) {
        case FaultKind::kCms:
            return {PhoneModel::Final::kCms, reply.code};
        case FaultKind::kCme:
            return {PhoneModel::Final::kCme, reply.code};
        case FaultKind::kError:
            break;
    }
    return {PhoneModel::Final::kError, 0};
}

}  // namespace

void PhoneModel::HoldIfAsked(bool pduStage, std::string_view command) {
    if (knobs_.holdGate.empty()) return;
    const bool held = pduStage ? std::any_of(knobs_.holdOn.begin(), knobs_.holdOn.end(),
                                             [this](const std::string& name) {
                                                 return IsCurrentPdu(name) || IsCurrentNumber(name);
                                             })
                               : Matches(knobs_.holdOn, command);
    if (!held) return;
    const std::string announce = knobs_.holdGate + ".held";
    if (FILE* f = std::fopen(announce.c_str(), "w")) std::fclose(f);
    // A test tool: a plain poll is all the waiting this needs.
    while (access(knobs_.holdGate.c_str(), F_OK) != 0) usleep(2000);
}

void PhoneModel::FinishCommand() {
    std::string raw;
    raw.swap(line_);
    bool overflow = lineOverflow_;
    lineOverflow_ = false;
    if (raw.empty() && !overflow) return;  // an empty line is no command

    Log(raw);
    CountCommand();
    std::string upper = UpperOutsideQuotes(raw);
    std::string_view command = upper;
    while (!command.empty() && command.front() == ' ') command.remove_prefix(1);
    HoldIfAsked(false, command);

    if (Matches(knobs_.dropOn, command)) {
        dropRequested_ = true;
        return;
    }
    answering_ = true;
    if (!Matches(knobs_.silentOn, command)) {
        if (echo_) {
            output_ += raw;
            output_ += '\r';
        }
        if (Matches(knobs_.floodOn, command)) {
            SendFlood();
        } else if (const ErrorRule* rule = MatchError(command)) {
            Respond({}, ResultOf(rule->reply));
        } else if (overflow) {
            Respond({}, {Final::kError, 0});
        } else {
            Execute(std::string(command));
        }
    }
    answering_ = false;
    // After AT+CMGS the line waits for the PDU: what arrived meanwhile is told after its answer.
    if (stage_ == Stage::kCommand) ReleaseIndications();
    if (knobs_.dropAfter != 0 && commandCount_ >= knobs_.dropAfter) dropRequested_ = true;
}

void PhoneModel::FinishPdu(bool cancelled) {
    std::string hex;
    hex.swap(pduText_);
    bool overflow = pduOverflow_;
    pduOverflow_ = false;
    stage_ = Stage::kCommand;

    Log(hex + (cancelled ? "<esc>" : "<ctrl-z>"));
    CountCommand();
    ++pduCount_;
    HoldIfAsked(true, {});
    auto isPdu = [this](const std::string& name) {
        return IsCurrentPdu(name) || IsCurrentNumber(name);
    };
    if (std::any_of(knobs_.dropOn.begin(), knobs_.dropOn.end(), isPdu)) {
        dropRequested_ = true;
        return;
    }
    answering_ = true;
    if (!std::any_of(knobs_.silentOn.begin(), knobs_.silentOn.end(), isPdu)) {
        if (echo_) output_ += hex;
        const ErrorRule* rule = nullptr;
        for (const ErrorRule& r : knobs_.errorOn) {
            if (IsCurrentPdu(r.command) || IsCurrentNumber(r.command)) rule = &r;
        }
        if (cancelled) {
            Respond({}, {Final::kOk, 0});
        } else if (std::any_of(knobs_.floodOn.begin(), knobs_.floodOn.end(), isPdu)) {
            SendFlood();
        } else if (rule != nullptr) {
            Respond({}, ResultOf(rule->reply));
        } else if (overflow) {
            Respond({}, {Final::kCms, kCmsBadPdu});
        } else {
            std::vector<std::string> info;
            Result result = Submit(hex, &info);
            Respond(info, result);
        }
    }
    answering_ = false;
    ReleaseIndications();
    if (knobs_.dropAfter != 0 && commandCount_ >= knobs_.dropAfter) dropRequested_ = true;
}

// ---------------------------------------------------------------------------------------------
// Responses

void PhoneModel::Preamble() {
    if (!knobs_.unsolicited.empty()) {
        output_ += "\r\n";
        output_ += knobs_.unsolicited;
        output_ += "\r\n";
    }
    // Printable characters only, and never '>': stray bytes must not look like a prompt.
    static const char kAlphabet[] =
        "!\"#$%&'()*+,-./"
        "0123456789:;<=?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz"
        "{|}~";
    for (unsigned i = 0; i < knobs_.garbage; ++i) {
        garbageState_ ^= garbageState_ << 13;
        garbageState_ ^= garbageState_ >> 17;
        garbageState_ ^= garbageState_ << 5;
        output_.push_back(kAlphabet[garbageState_ % (sizeof(kAlphabet) - 1)]);
    }
}

void PhoneModel::Respond(const std::vector<std::string>& info, Result result) {
    Preamble();
    if (verbose_) {
        if (!info.empty()) {
            output_ += "\r\n";
            for (const std::string& line : info) {
                output_ += line;
                output_ += "\r\n";
            }
        }
    } else {
        for (const std::string& line : info) {
            output_ += line;
            output_ += "\r\n";
        }
    }
    switch (result.final) {
        case Final::kOk:
            output_ += verbose_ ? "\r\nOK\r\n" : "0\r";
            break;
        case Final::kError:
            output_ += verbose_ ? "\r\nERROR\r\n" : "4\r";
            break;
        case Final::kCms:
            output_ += verbose_ ? "\r\n" : "";
            output_ += "+CMS ERROR: " + std::to_string(result.code) + "\r\n";
            break;
        case Final::kCme:
            output_ += verbose_ ? "\r\n" : "";
            output_ +=
                "+CME ERROR: " +
                (result.text != nullptr ? std::string(result.text) : std::to_string(result.code)) +
                "\r\n";
            break;
        case Final::kNone:
            output_ += knobs_.promptWithoutBlank ? "\r\n>" : "\r\n> ";
            break;
    }
}

void PhoneModel::SendFlood() {
    Preamble();
    for (std::size_t i = 0; i < kFloodLength; ++i) {
        output_.push_back(static_cast<char>('A' + i % 26));
    }
}

// ---------------------------------------------------------------------------------------------
// Commands

void PhoneModel::Execute(const std::string& upper) {
    std::vector<std::string> info;
    if (upper.size() < 2 || upper[0] != 'A' || upper[1] != 'T') {
        Respond(info, {Final::kError, 0});
        return;
    }
    std::size_t pos = 2;
    Result result = ExecuteBasic(upper, &pos, &info);
    if (result.final == Final::kOk && pos < upper.size()) {
        std::vector<std::string_view> commands =
            SplitOutsideQuotes(std::string_view(upper).substr(pos), ';');
        for (std::size_t i = 0; i < commands.size() && result.final == Final::kOk; ++i) {
            std::string_view command = Trim(commands[i]);
            bool last = i + 1 == commands.size();
            if (command.empty() && last && i > 0) break;  // a trailing ';'
            result = ExecuteExtended(command, last, &info);
        }
    }
    Respond(info, result);
}

PhoneModel::Result PhoneModel::ExecuteBasic(const std::string& upper, std::size_t* pos,
                                            std::vector<std::string>* info) {
    const Result error{Final::kError, 0};
    std::size_t& i = *pos;
    auto number = [&](unsigned* value) {
        *value = 0;
        bool any = false;
        while (i < upper.size() && upper[i] >= '0' && upper[i] <= '9' && *value < 1000) {
            *value = *value * 10 + static_cast<unsigned>(upper[i] - '0');
            ++i;
            any = true;
        }
        return any;
    };
    while (i < upper.size() && upper[i] != '+') {
        char c = upper[i++];
        unsigned value = 0;
        switch (c) {
            case ' ':
                break;
            case 'E':
                number(&value);
                if (value > 1) return error;
                echo_ = value == 1;
                break;
            case 'V':
                number(&value);
                if (value > 1 || (value == 1 && knobs_.rejectV1)) return error;
                verbose_ = value == 1;
                break;
            case 'Q':
                number(&value);
                if (value != 0) return error;
                break;
            case 'Z':
                number(&value);
                if (value != 0) return error;
                echo_ = knobs_.echo;
                verbose_ = true;
                ResetReporting();
                break;
            case '&':
                if (i >= upper.size() || upper[i] != 'F') return error;
                ++i;
                number(&value);
                echo_ = knobs_.echo;
                verbose_ = true;
                ResetReporting();
                break;
            case 'I':
                number(&value);
                info->push_back("Velkan phone simulator");
                break;
            case 'H':
                number(&value);
                break;
            case 'D':
                // A voice call: the rest of the line is the number; nothing is dialled.
                if (i >= upper.size()) return error;
                i = upper.size();
                break;
            default:
                return error;
        }
    }
    return {};
}

PhoneModel::Result PhoneModel::ExecuteExtended(std::string_view command, bool last,
                                               std::vector<std::string>* info) {
    const Result error{Final::kError, 0};
    if (command.size() < 2 || command[0] != '+') return error;
    std::size_t end = 1;
    while (end < command.size() && command[end] >= 'A' && command[end] <= 'Z') ++end;
    std::string_view name = command.substr(0, end);
    std::string_view rest = command.substr(end);
    bool bare = rest.empty();
    bool query = rest == "?";
    bool test = rest == "=?";
    bool set = !bare && !query && !test && rest[0] == '=';
    if (!bare && !query && !test && !set) return error;
    std::string_view args = set ? rest.substr(1) : std::string_view();

    if (name == "+CMGF") {
        if (query) {
            info->push_back("+CMGF: 0");
            return {};
        }
        if (test) {
            info->push_back("+CMGF: (0)");
            return {};
        }
        unsigned mode = 0;
        if (!set || !ParseNumber(args, &mode) || mode != 0) return error;  // PDU mode only
        return {};
    }
    if (name == "+CSCS") {
        static const char* const kSets[] = {"GSM", "IRA", "UCS2", "8859-1", "PCCP437", "HEX"};
        if (query) {
            info->push_back("+CSCS: \"" + characterSet_ + "\"");
            return {};
        }
        if (test) {
            info->push_back("+CSCS: (\"GSM\",\"IRA\",\"UCS2\",\"8859-1\",\"PCCP437\",\"HEX\")");
            return {};
        }
        std::string value;
        if (!set || !Unquote(args, &value)) return MeError(kCmeBadParameters);
        for (char& c : value) c = Upper(c);
        for (const char* known : kSets) {
            if (value == known) {
                characterSet_ = value;
                return {};
            }
        }
        return MeError(kCmeBadParameters);
    }
    if (name == "+CPMS") return Cpms(args, query, test, info);
    if (name == "+CMGL") return Cmgl(args, bare, test, info);
    if (name == "+CMGR") {
        if (test) return {};
        if (!set) return error;
        return Cmgr(args, info);
    }
    if (name == "+CMGD") return Cmgd(args, test, info);
    if (name == "+CMGS") return Cmgs(args, last, test);
    if (name == "+CSCA") return Csca(args, query, test, info);
    if (name == "+CNMI") return Cnmi(args, query, test, info);
    if (name == "+CSMS") return Csms(args, query, test, info);
    Result result;
    if (ExecuteStatus(name, rest, info, &result)) return result;
    return error;
}

// The centre's number is a string, so it is written in the character set of AT+CSCS.
PhoneModel::Result PhoneModel::Csca(std::string_view args, bool query, bool test,
                                    std::vector<std::string>* info) {
    if (query) {
        const std::string& centre = knobs_.serviceCentre;
        info->push_back("+CSCA: \"" + ToCharacterSet(centre, characterSet_) + "\"," +
                        (!centre.empty() && centre[0] == '+' ? "145" : "129"));
        return {};
    }
    if (test) return {};
    std::vector<std::string_view> parts = SplitOutsideQuotes(args, ',');
    std::string text;
    std::string number;
    if (args.empty() || parts.size() > 2 || !Unquote(parts[0], &text) ||
        !FromCharacterSet(text, characterSet_, &number)) {
        return {Final::kError, 0};
    }
    PduRecordPtr probe(NewPduRecord());
    if (!probe || !SetServiceCentre(probe.get(), number)) return {Final::kError, 0};
    knobs_.serviceCentre = number;
    return {};
}

PhoneModel::Result PhoneModel::Cpms(std::string_view args, bool query, bool test,
                                    std::vector<std::string>* info) {
    auto counts = [&](Storage s) {
        return std::to_string(memory(s).used()) + "," + std::to_string(memory(s).capacity());
    };
    if (test) {
        info->push_back(knobs_.noMe ? "+CPMS: (\"SM\"),(\"SM\"),(\"SM\")"
                                    : "+CPMS: (\"SM\",\"ME\"),(\"SM\",\"ME\"),(\"SM\",\"ME\")");
        return {};
    }
    if (query) {
        std::string line = "+CPMS: ";
        for (Storage s : {readMemory_, writeMemory_, receiveMemory_}) {
            if (s != readMemory_ || line.size() > 7) line += ",";
            line += "\"" + std::string(StorageName(s)) + "\"," + counts(s);
        }
        info->push_back(line);
        return {};
    }
    std::vector<std::string_view> parts = SplitOutsideQuotes(args, ',');
    if (args.empty() || parts.size() > 3) return {Final::kError, 0};
    Storage chosen[3] = {readMemory_, writeMemory_, receiveMemory_};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        std::string name;
        if (!Unquote(parts[i], &name)) return {Final::kError, 0};
        for (char& c : name) c = Upper(c);
        if (!ParseStorageName(name, &chosen[i])) return {Final::kCms, kCmsNotAllowed};
        if (chosen[i] == Storage::kPhone && knobs_.noMe) return {Final::kError, 0};
    }
    readMemory_ = chosen[0];
    writeMemory_ = chosen[1];
    receiveMemory_ = chosen[2];
    info->push_back("+CPMS: " + counts(readMemory_) + "," + counts(writeMemory_) + "," +
                    counts(receiveMemory_));
    return {};
}

PhoneModel::Result PhoneModel::Cmgl(std::string_view args, bool bare, bool test,
                                    std::vector<std::string>* info) {
    if (test) {
        info->push_back("+CMGL: (0-4)");
        return {};
    }
    unsigned status = 0;  // without a parameter: the unread messages
    if (!bare && !ParseNumber(args, &status)) return {Final::kError, 0};
    if (status > 4) return {Final::kError, 0};
    bool changed = false;
    bool first = true;
    for (auto& [index, message] : memory(readMemory_).messages()) {
        if (status != 4 && static_cast<unsigned>(message.status) != status) continue;
        std::string header = "+CMGL: " + std::to_string(index) + "," +
                             std::to_string(message.status) + ",," +
                             std::to_string(message.tpduLength);
        std::string pdu = message.pduHex;
        std::vector<std::string> between;  // lines between the header and the PDU line
        for (const ListingNoise& noise : knobs_.listingNoise) {
            if (noise.index != 0 ? noise.index != index : !first) continue;
            switch (noise.kind) {
                case ListingNoiseKind::kNul:
                    if (!pdu.empty()) pdu[pdu.size() / 2] = '\0';
                    break;
                case ListingNoiseKind::kCmti:
                    between.push_back("+CMTI: \"" + std::string(StorageName(readMemory_)) + "\"," +
                                      std::to_string(index));
                    break;
                case ListingNoiseKind::kLongLine:
                    info->push_back(std::string(noise.length, 'x'));
                    break;
            }
        }
        first = false;
        info->push_back(std::move(header));
        info->insert(info->end(), between.begin(), between.end());
        info->push_back(std::move(pdu));
        // A phone marks what it has shown as read.
        if (message.status == kRecUnread) {
            message.status = kRecRead;
            changed = true;
        }
    }
    if (changed) Changed();
    return {};
}

PhoneModel::Result PhoneModel::Cmgr(std::string_view args, std::vector<std::string>* info) {
    unsigned index = 0;
    if (!ParseNumber(args, &index)) return {Final::kError, 0};
    StoredMessage* message = memory(readMemory_).Find(index);
    if (message == nullptr) return {Final::kCms, kCmsBadIndex};
    info->push_back("+CMGR: " + std::to_string(message->status) + ",," +
                    std::to_string(message->tpduLength));
    info->push_back(message->pduHex);
    if (message->status == kRecUnread) {
        message->status = kRecRead;
        Changed();
    }
    return {};
}

PhoneModel::Result PhoneModel::Cmgd(std::string_view args, bool test,
                                    std::vector<std::string>* info) {
    MessageMemory& mem = memory(readMemory_);
    if (test) {
        std::string line = "+CMGD: (";
        bool first = true;
        for (const auto& entry : mem.messages()) {
            if (!first) line += ",";
            line += std::to_string(entry.first);
            first = false;
        }
        info->push_back(line + "),(0-4)");
        return {};
    }
    std::vector<std::string_view> parts = SplitOutsideQuotes(args, ',');
    unsigned index = 0;
    unsigned flag = 0;
    if (args.empty() || parts.size() > 2 || !ParseNumber(parts[0], &index)) {
        return {Final::kError, 0};
    }
    if (parts.size() == 2 && (!ParseNumber(parts[1], &flag) || flag > 4)) {
        return {Final::kError, 0};
    }
    if (flag == 0) {
        if (!mem.Remove(index)) return {Final::kCms, kCmsBadIndex};
        Changed();
        return {};
    }
    // 1: all read; 2: read and sent; 3: read, sent and unsent; 4: everything.
    bool changed = false;
    for (auto it = mem.messages().begin(); it != mem.messages().end();) {
        int s = it->second.status;
        bool remove = flag == 4 || s == kRecRead || (flag >= 2 && s == kStoSent) ||
                      (flag >= 3 && s == kStoUnsent);
        if (remove) {
            it = mem.messages().erase(it);
            changed = true;
        } else {
            ++it;
        }
    }
    if (changed) Changed();
    return {};
}

PhoneModel::Result PhoneModel::Cmgs(std::string_view args, bool last, bool test) {
    if (test) return {};
    unsigned length = 0;
    if (!last || args.empty() || !ParseNumber(args, &length)) return {Final::kError, 0};
    if (length < 1 || length > kMaxTpduLength) return {Final::kCms, kCmsBadPdu};
    stage_ = Stage::kPdu;
    expectedTpduLength_ = length;
    pduText_.clear();
    pduOverflow_ = false;
    return {Final::kNone, 0};
}

PhoneModel::Result PhoneModel::Submit(const std::string& hex, std::vector<std::string>* info) {
    std::vector<std::uint8_t> bytes;
    PduRecordPtr record(NewPduRecord());
    SentMessage sent;
    if (!record) return {Final::kCms, 500};  // unknown error
    if (!FromHex(hex, &bytes) || bytes.size() > kEncodedSize ||
        !DecodeSubmit(bytes, expectedTpduLength_, record.get(), &sent)) {
        return {Final::kCms, kCmsBadPdu};
    }
    sent.reference = nextReference_;
    nextReference_ = (nextReference_ + 1) & 0xFF;
    sent.pduHex = hex;
    sent.tpduLength = expectedTpduLength_;
    if (knobs_.deliverSent) DeliverBack(bytes, *record, &sent);
    if (sent.statusReport) ReportStatus(sent);
    sent_.push_back(sent);
    Changed();
    info->push_back("+CMGS: " + std::to_string(sent.reference));
    return {};
}

bool PhoneModel::DeliverBack(const std::vector<std::uint8_t>& bytes, const PduRecord& submitted,
                             SentMessage* sent) {
    PduRecordPtr record(NewPduRecord());
    if (!record) return false;
    if (!SetServiceCentre(record.get(), knobs_.serviceCentre)) {
        SetServiceCentre(record.get(), "");
    }
    record->firstOctet = static_cast<std::uint8_t>(0x04 | (submitted.firstOctet & 0x40));
    std::memcpy(record->addressDigits, submitted.addressDigits, kAddressDigitsSize);
    record->addressDigits[kAddressDigitsSize - 1] = '\0';
    record->addressType = static_cast<std::uint8_t>(submitted.addressType | 0x80);
    record->protocolId = submitted.protocolId;
    record->dcs = submitted.dcs;
    SystemTime now = GetLocalTime();
    record->timeStamp.year = now.year;
    record->timeStamp.month = static_cast<std::uint8_t>(now.month);
    record->timeStamp.day = static_cast<std::uint8_t>(now.day);
    record->timeStamp.hour = static_cast<std::uint8_t>(now.hour);
    record->timeStamp.minute = static_cast<std::uint8_t>(now.minute);
    record->timeStamp.second = static_cast<std::uint8_t>(now.second);
    record->timeStamp.zone = static_cast<std::int16_t>(LocalZoneQuarters() * 15);
    record->userDataLength = std::min<std::uint32_t>(submitted.userDataLength, kUserDataSize);
    std::memcpy(record->userData, submitted.userData, kUserDataSize);
    record->headerLength = std::min<std::uint32_t>(submitted.headerLength, kHeaderSize);
    std::memcpy(record->header, submitted.header, kHeaderSize);
    record->udl = submitted.udl;

    BuiltPdu built;
    if (!EncodeRecord(record.get(), &built)) return false;
    if (((record->dcs >> 2) & 3) == 2) {
        // The encoder writes no UCS2 user data; it is carried over from what was sent.
        std::size_t udl = submitted.udl;
        if (udl > bytes.size() || built.bytes.size() + udl > kEncodedSize) return false;
        built.bytes.insert(built.bytes.end(), bytes.end() - static_cast<std::ptrdiff_t>(udl),
                           bytes.end());
        built.tpduLength += static_cast<unsigned>(udl);
    }
    Storage target = receiveMemory_;
    unsigned index = Arrive(ToHex(built.bytes), built.tpduLength);
    if (index == 0) return false;  // memory full: the message is lost, as on a real phone
    sent->deliveredIndex = index;
    sent->deliveredTo = target;
    return true;
}

}  // namespace phone_sim
