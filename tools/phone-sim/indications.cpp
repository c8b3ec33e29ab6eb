// SPDX-License-Identifier: GPL-3.0-or-later
// How the phone tells its client about what arrives: a new message stored ("+CMTI"), a status
// report of a sent message ("+CDS" with the report, or "+CDSI" once it is stored). Nothing is
// said unless the client asked for it with AT+CNMI, so a client that never sends AT+CNMI sees
// no line it did not ask for.
#include "at_syntax.h"
#include "common/file_time.h"
#include "pdu_builder.h"
#include "phone_model.h"

namespace phone_sim {
namespace {

// GSM 07.05 error number for a setting the phone does not offer.
constexpr int kCmsNotSupported = 303;

}  // namespace

PhoneModel::Result PhoneModel::Csms(std::string_view args, bool query, bool test,
                                    std::vector<std::string>* info) {
    // Every service: receiving, sending and cell broadcast (the last never used).
    if (query) {
        info->push_back("+CSMS: " + std::to_string(smsService_) + ",1,1,1");
        return {};
    }
    if (test) {
        info->push_back("+CSMS: (0,1)");
        return {};
    }
    unsigned service = 0;
    if (!ParseNumber(args, &service) || service > 1) return {Final::kError, 0};
    smsService_ = service;
    info->push_back("+CSMS: 1,1,1");
    return {};
}

PhoneModel::Result PhoneModel::Cnmi(std::string_view args, bool query, bool test,
                                    std::vector<std::string>* info) {
    Indications& now = indications_;
    if (query) {
        info->push_back("+CNMI: " + std::to_string(now.mode) + "," + std::to_string(now.mt) + "," +
                        std::to_string(now.bm) + "," + std::to_string(now.ds) + "," +
                        std::to_string(now.bfr));
        return {};
    }
    if (test) {
        info->push_back("+CNMI: (0-3),(0,1),(0),(0-2),(0,1)");
        return {};
    }
    // Values left out keep their setting.
    std::vector<std::string_view> parts = SplitOutsideQuotes(args, ',');
    if (args.empty() || parts.size() > 5) return {Final::kError, 0};
    Indications wanted = now;
    unsigned* fields[] = {&wanted.mode, &wanted.mt, &wanted.bm, &wanted.ds, &wanted.bfr};
    const unsigned limits[] = {3, 3, 3, 2, 1};  // what GSM 07.05 defines
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (Trim(parts[i]).empty()) continue;
        if (!ParseNumber(parts[i], fields[i]) || *fields[i] > limits[i]) {
            return {Final::kError, 0};
        }
    }
    // Messages routed to the client directly (mt 2 and 3) and cell broadcasts are not offered.
    if (wanted.mt > 1 || wanted.bm != 0) return {Final::kCms, kCmsNotSupported};
    now = wanted;
    if (now.mode != 0) {
        // Entering mode 1-3 hands over what mode 0 kept (after this command's OK), or drops it.
        if (now.bfr == 0) {
            for (auto& lines : bufferedIndications_) heldIndications_.push_back(std::move(lines));
        }
        bufferedIndications_.clear();
    }
    return {};
}

unsigned PhoneModel::Receive(std::string pduHex, unsigned tpduLength) {
    unsigned index = Arrive(std::move(pduHex), tpduLength);
    if (index != 0) Changed();
    return index;
}

unsigned PhoneModel::Arrive(std::string pduHex, unsigned tpduLength) {
    unsigned index = memory(receiveMemory_).Add(kRecUnread, std::move(pduHex), tpduLength);
    if (index != 0 && indications_.mt == 1) {
        Indicate({"+CMTI: \"" + std::string(StorageName(receiveMemory_)) + "\"," +
                  std::to_string(index)});
    }
    return index;
}

void PhoneModel::ReportStatus(const SentMessage& sent) {
    if (indications_.ds == 0) return;  // not asked for: the network's report is not kept
    const SystemTime now = GetLocalTime();
    BuiltPdu report;
    if (!BuildStatusReport(knobs_.serviceCentre, sent.reference, sent.number, now, now,
                           LocalZoneQuarters(), &report)) {
        return;
    }
    if (indications_.ds == 1) {
        Indicate({"+CDS: " + std::to_string(report.tpduLength), ToHex(report.bytes)});
        return;
    }
    unsigned index = memory(receiveMemory_).Add(kRecUnread, ToHex(report.bytes), report.tpduLength);
    if (index != 0) {
        Indicate({"+CDSI: \"" + std::string(StorageName(receiveMemory_)) + "\"," +
                  std::to_string(index)});
    }
}

void PhoneModel::Indicate(std::vector<std::string> lines) {
    if (indications_.mode == 0) {
        if (bufferedIndications_.size() >= kIndicationBuffer) {
            bufferedIndications_.erase(bufferedIndications_.begin());
        }
        bufferedIndications_.push_back(std::move(lines));
        return;
    }
    if (stage_ == Stage::kPdu && indications_.mode == 1) return;  // the line is reserved
    if (answering_ || stage_ == Stage::kPdu) {
        heldIndications_.push_back(std::move(lines));
        return;
    }
    WriteIndication(lines);
}

void PhoneModel::ReleaseIndications() {
    std::vector<std::vector<std::string>> held;
    held.swap(heldIndications_);
    for (auto& lines : held) Indicate(std::move(lines));
}

void PhoneModel::WriteIndication(const std::vector<std::string>& lines) {
    if (verbose_) output_ += "\r\n";
    for (const std::string& line : lines) {
        output_ += line;
        output_ += "\r\n";
    }
}

}  // namespace phone_sim
