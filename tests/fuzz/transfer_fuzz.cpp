// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for a whole transfer's conversation with a phone whose every answer comes
// from the fuzz input: wake-up, set-up, sending the Outbox, selecting and listing the SIM and the
// phone memory, decoding what is listed, and deleting what was taken.
//
// The transfer session runs on a worker thread with a serial or TCP transport and the SQLite
// store, none of which a fuzzer can afford per input. This entry point therefore runs the
// engine's own parts of TransferSession::Run (WakePhone, sending, RetrieveAll and
// DeleteRetrieved) against the in-memory phone of fuzz_phone.h, with a store that is a list in
// memory.
//
// Input: two control octets, then the phone's answers, one per write, separated by 0xFF.
//   octet 0: bits 0-3 + 1: bytes per read; bit 4: delete after retrieval; bit 5: a custom
//            service centre and status reports; bits 6-7: messages in the Outbox (0-3)
//   octet 1: bits 0-3: cancel at poll 4 * k * k (0: never); bit 4: the store refuses to write;
//            bits 5-6: the first kind of Outbox message
//
// Beyond "no crash, no hang": every result is one the engine documents; the wake-up tells
// "connected" at most twice and "initializing" once, last, exactly when it succeeds; every PDU
// written after "AT+CMGS=<n>" is hex of a SMS-SUBMIT to the message's number whose TPDU has n
// octets; only messages that were stored are deleted, each with its own memory selected, from
// the last taken to the first; received records hold bounded, terminated fields.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "at/at_commands.h"
#include "at/command_sequences.h"
#include "at/phone_commands.h"
#include "at/send_message.h"
#include "common/hex.h"
#include "fuzz_phone.h"
#include "pdu/deliver.h"

namespace {

using fuzz_phone::Check;

constexpr char16_t kServiceCentre[] = u"+491710760000";

struct OutboxKind {
    const char16_t* number;
    const char16_t* text;
    std::uint32_t flags;
};

// The last one has a number longer than a PDU holds: its send fails in the codec and ends the
// run, as a refused send does.
constexpr OutboxKind kOutboxKinds[] = {
    {u"+4930123456", u"See you at eight", 0},
    {u"0171234567", u"Gruesse aus K\u00f6ln {[]} \u20ac", 0},
    {u"+4930123456", u"Flash: call me", kFlagFlash},
    {u"+49301234567890123456789", u"Too long a number", 0},
};

struct Run {
    bool deleteAfterRetrieve = false;
    bool storeRefuses = false;
    std::uint32_t cancelAtPoll = 0;  // 0: never
    std::uint32_t polls = 0;
    std::vector<std::u16string> sentNumbers;  // numbers of the messages handed to SendMessage
    std::vector<std::u16string> inbox;        // numbers of the messages stored
    DeletionLists deletions{};
    // What was collected, memory by memory, independently of the engine's lists.
    std::vector<std::uint32_t> takenSim;
    std::vector<std::uint32_t> takenPhone;
    bool listingPhone = false;
    std::vector<WakeEvent> wakeEvents;
};

TransferError CancelCheck(PhoneChannel*, void* context) {
    auto* run = static_cast<Run*>(context);
    ++run->polls;
    return run->cancelAtPoll != 0 && run->polls >= run->cancelAtPoll ? kErrCancelled : kErrNone;
}

void NoteWake(WakeEvent event, void* context) {
    static_cast<Run*>(context)->wakeEvents.push_back(event);
}

void NoteMemory(const char16_t* memory, void* context) {
    auto* run = static_cast<Run*>(context);
    Check(memory[0] == u'S' || memory[0] == u'M');
    run->listingPhone = memory[0] == u'M';
    if (run->deleteAfterRetrieve) NoteListedMemory(&run->deletions, memory);
}

// The session's StoreRetrieved with a store in memory.
TransferError StoreRetrieved(PduRecord* record, void* context) {
    auto* run = static_cast<Run*>(context);
    Check(strnlen(record->addressDigits, kAddressDigitsSize) < kAddressDigitsSize);
    Check(strnlen(record->scaDigits, kScaDigitsSize) < kScaDigitsSize);
    Check(record->userDataLength <= kUserDataSize && record->headerLength <= kHeaderSize);
    if ((record->firstOctet & 3) != kMtiDeliver) return kErrNone;

    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    if (!message.pduRecord) return kErrNone;
    std::memcpy(message.pduRecord.get(), record, sizeof *record);
    message.folder = kFolderInbox;
    Check(ApplyPduRecord(&message) == 1);
    Check(message.text.size() <= kUserDataSize);
    if (run->storeRefuses) return kErrNone;  // stays on the phone
    run->inbox.push_back(message.number);
    if (run->deleteAfterRetrieve) {
        (void)CollectForDeletion(&run->deletions, record->storageIndex);
        (run->listingPhone ? run->takenPhone : run->takenSim).push_back(record->storageIndex);
    }
    return kErrNone;
}

bool IsDocumented(TransferError result) {
    return fuzz_phone::IsExchangeResult(result) || result == kErrOutOfMemory;
}

// The wake-up told "connected" only before "initializing", at most twice, and "initializing"
// once, last, exactly when it succeeded.
void CheckWakeEvents(const Run& run, TransferError woke) {
    std::size_t connected = 0;
    for (std::size_t i = 0; i < run.wakeEvents.size(); ++i) {
        const WakeEvent event = run.wakeEvents[i];
        Check(event == WakeEvent::kConnected || event == WakeEvent::kInitializing);
        if (event == WakeEvent::kConnected) ++connected;
        if (event == WakeEvent::kInitializing) Check(i + 1 == run.wakeEvents.size());
    }
    Check(connected <= 2);
    const bool initializing =
        !run.wakeEvents.empty() && run.wakeEvents.back() == WakeEvent::kInitializing;
    Check(initializing == (woke == kErrNone));
}

// TransferSession::Run for a serial or TCP phone, from the open channel on.
void Transfer(PhoneSession* phone, Run* run, std::uint32_t outbox, std::uint32_t firstKind) {
    const TransferError woke = WakePhone(phone, &NoteWake, run);
    Check(IsDocumented(woke) && phone->lastError == woke);
    CheckWakeEvents(*run, woke);
    if (woke != kErrNone) return;

    for (std::uint32_t i = 0; i < outbox; ++i) {
        const OutboxKind& kind = kOutboxKinds[(firstKind + i) % 4];
        SmsMessage message;
        message.number = kind.number;
        message.text = kind.text;
        message.flags = kind.flags | kFlagUnread;
        message.folder = kFolderOutbox;
        run->sentNumbers.push_back(message.number);
        const bool sent = SendMessage(phone, &message);
        Check(sent == (phone->lastError == kErrNone));
        Check(IsDocumented(phone->lastError));
        if (!sent) return;
        if (run->cancelAtPoll != 0 && run->polls >= run->cancelAtPoll) return;
    }

    RetrieveCounts counts{};
    const TransferError listed = RetrieveAll(phone, &NoteMemory, &StoreRetrieved, run, &counts);
    Check(IsDocumented(listed));
    if (run->deleteAfterRetrieve) DeleteRetrieved(phone, &run->deletions, listed, counts);
}

bool IsHex(const std::string& text) {
    for (char c : text) {
        if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))) return false;
    }
    return true;
}

std::string Digits(const std::u16string& number) {
    std::string out;
    for (char16_t c : number) {
        if (c != u'+') out.push_back(static_cast<char>(c));
    }
    return out;
}

// Every PDU written follows its "AT+CMGS=<n>" and is a SMS-SUBMIT of n TPDU octets to the number
// of the message being sent, with the service centre and status-report request asked for.
void CheckSends(const Run& run, bool customCentre) {
    const std::vector<std::string>& writes = fuzz_phone::g_script.writes;
    std::size_t pdus = 0;
    for (std::size_t i = 0; i < writes.size(); ++i) {
        const std::string& w = writes[i];
        Check(!w.empty());
        if (w.back() != kCtrlZ || w.size() == 1) continue;
        const std::string hex = w.substr(0, w.size() - 1);
        Check(i > 0 && hex.size() % 2 == 0 && IsHex(hex));
        unsigned announced = 0;
        Check(std::sscanf(writes[i - 1].c_str(), "AT+CMGS=%u\r", &announced) == 1);
        std::vector<std::uint8_t> octets(hex.size() / 2);
        Check(HexToBytes(hex.data(), hex.size(), octets.data()) == kErrNone);
        Check(!octets.empty() && announced + 1u + octets[0] == octets.size());
        PduRecord* record = NewPduRecord();
        if (record == nullptr) return;
        Check(DecodePdu(record, octets.data(), static_cast<std::uint32_t>(octets.size()),
                        announced) == kErrNone);
        Check((record->firstOctet & 3) == kMtiSubmit);
        Check(pdus < run.sentNumbers.size());
        Check(Digits(run.sentNumbers[pdus]) == record->addressDigits);
        Check(((record->firstOctet & 0x20) != 0) == customCentre);
        Check(std::string(record->scaDigits) == (customCentre ? "491710760000" : ""));
        FreePduRecord(record);
        ++pdus;
    }
    Check(pdus <= run.sentNumbers.size());
}

// Deletions only with the option on, only of what was stored, each with its own memory selected
// last, and per memory from the last taken to the first (a cancel may end them early).
void CheckDeletions(const Run& run, bool cancelled) {
    const std::vector<std::string>& writes = fuzz_phone::g_script.writes;
    std::vector<std::uint32_t> deletedSim;
    std::vector<std::uint32_t> deletedPhone;
    char memory = 0;
    for (const std::string& w : writes) {
        if (w == "AT+CPMS=\"SM\"\r") memory = 'S';
        if (w == "AT+CPMS=\"ME\"\r") memory = 'M';
        unsigned index = 0;
        if (std::sscanf(w.c_str(), "AT+CMGD=%u\r", &index) != 1) continue;
        Check(run.deleteAfterRetrieve);
        Check(memory == 'S' || memory == 'M');
        (memory == 'S' ? deletedSim : deletedPhone).push_back(index);
    }
    auto lastToFirst = [cancelled](const std::vector<std::uint32_t>& deleted,
                                   const std::vector<std::uint32_t>& taken) {
        if (deleted.empty()) return true;
        if (deleted.size() > taken.size()) return false;
        if (!cancelled && deleted.size() != taken.size()) return false;
        return std::equal(deleted.begin(), deleted.end(), taken.rbegin());
    };
    Check(lastToFirst(deletedSim, run.takenSim));
    Check(lastToFirst(deletedPhone, run.takenPhone));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size > 16384) return 0;
    const std::uint8_t c0 = data[0];
    const std::uint8_t c1 = data[1];
    PhoneChannel* channel = nullptr;
    PhoneSession* phone =
        fuzz_phone::StartConversation(data + 2, size - 2, 1 + (c0 & 0x0F), &channel);
    if (phone == nullptr) return 0;

    Run run;
    run.deleteAfterRetrieve = (c0 & 0x10) != 0;
    const bool customCentre = (c0 & 0x20) != 0;
    run.cancelAtPoll = 4u * (c1 & 0x0F) * (c1 & 0x0F);
    run.storeRefuses = (c1 & 0x10) != 0;
    if (run.deleteAfterRetrieve) {
        run.deletions.sim.growthStep = kIndexListGrowthStep;
        run.deletions.phone.growthStep = kIndexListGrowthStep;
    }
    if (customCentre) phone->serviceCentre = kServiceCentre;
    phone->statusReport = customCentre;
    SetPollCallback(channel, &CancelCheck, 100, &run);

    Transfer(phone, &run, c0 >> 6, (c1 >> 5) & 3);

    // Once cancelled, the channel is never used again.
    const bool cancelled = run.cancelAtPoll != 0 && run.polls >= run.cancelAtPoll;
    if (cancelled) Check(channel->stickyError == kErrCancelled);
    CheckSends(run, customCentre);
    CheckDeletions(run, cancelled);
    FreeDeletionLists(&run.deletions);
    fuzz_phone::Stop(phone, channel);
    return 0;
}
