// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated phone itself, without any I/O: bytes received from the line go in through Feed(),
// the bytes the phone answers come out of TakeOutput(). It keeps a SIM ("SM") and a phone memory
// ("ME") of stored PDUs, answers the AT commands of a GSM phone in PDU mode and records what it
// was asked to send. Fault knobs make it misbehave the way real phones do, so that the program's
// error paths can be exercised without hardware.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "common/pdu_record.h"

namespace phone_sim {

// The two message memories. Their AT names are "SM" and "ME".
enum class Storage { kSim, kPhone };
const char* StorageName(Storage storage);
// "SM" or "ME" (upper case only); false for anything else.
bool ParseStorageName(std::string_view name, Storage* storage);

// Message status as AT+CMGL/AT+CMGR report it in PDU mode.
constexpr int kRecUnread = 0;
constexpr int kRecRead = 1;
constexpr int kStoUnsent = 2;
constexpr int kStoSent = 3;

// A failure answer that a fault knob forces.
enum class FaultKind { kError, kCms, kCme };
struct FaultReply {
    FaultKind kind = FaultKind::kError;
    int code = 0;  // the number after "+CMS ERROR:" or "+CME ERROR:"
};
struct ErrorRule {
    std::string command;  // a command prefix ("AT+CMGL"), or "PDU" for the PDU stage of AT+CMGS
    FaultReply reply;
};

// A bad line that the phone puts into its listings, at the first message of each (or at the
// message with a given index), as a damaged line or a careless phone would.
enum class ListingNoiseKind {
    kNul,       // a NUL byte in place of the middle character of the PDU line: unreadable
    kCmti,      // an unsolicited "+CMTI:" line between the header and the PDU line
    kLongLine,  // a line of `length` letters before the header
};
struct ListingNoise {
    ListingNoiseKind kind = ListingNoiseKind::kNul;
    unsigned length = 0;  // kLongLine only
    unsigned index = 0;   // the storage index of the message it goes with; 0: the first listed
};

// Everything that shapes the phone's behaviour. Defaults make a well-behaved phone.
struct Knobs {
    bool echo = false;                  // echo state at connection start and after ATZ
    bool rejectV1 = false;              // "ERROR" to any command line that asks for V1
    bool noMe = false;                  // the phone has no "ME" memory
    std::vector<ErrorRule> errorOn;     // forced failure answers
    std::vector<std::string> silentOn;  // commands that get no answer at all
    std::vector<std::string> dropOn;    // commands on which the connection is closed
    std::vector<std::string> floodOn;   // commands answered with bytes that never end a line
    // Commands whose answer waits until the file holdGate exists; the phone announces the wait
    // by creating holdGate + ".held". Tests change the world around the program at an exact
    // point of its conversation this way.
    std::vector<std::string> holdOn;
    std::string holdGate;
    unsigned dropAfter = 0;                  // close the connection after this many commands
    std::string unsolicited;                 // an unsolicited line sent before every response
    std::vector<ListingNoise> listingNoise;  // bad lines in every listing
    unsigned garbage = 0;                    // random printable bytes sent before every response
    bool promptWithoutBlank = false;         // ">" instead of "> " after AT+CMGS
    bool deliverSent = true;                 // every sent message arrives back in the phone memory
    std::string serviceCentre = "+491710760000";  // the centre named in stored PDUs ("" = none)
    unsigned simCapacity = 30;
    unsigned phoneCapacity = 100;
    std::uint32_t garbageStart = 0x2545F491u;  // starting value of the garbage generator
};

// "+CME ERROR:" numbers of GSM 07.07 that the phone gives after AT+CMEE=1 or 2.
constexpr int kCmeNotAllowed = 3;
constexpr int kCmeNotSupported = 4;
constexpr int kCmeBadParameters = 50;

// Indications a phone keeps while AT+CNMI mode 0 buffers them; the oldest go first.
constexpr std::size_t kIndicationBuffer = 16;
// Bytes of the flood answer.
constexpr std::size_t kFloodLength = 2000;
// Longest command line kept; longer ones are answered "ERROR" once their CR arrives.
constexpr std::size_t kMaxCommandLength = 1024;
// Longest hexadecimal PDU text kept in the PDU stage (a full SMS-SUBMIT with a 20-digit centre
// needs 2 * (1 + 11 + 164) characters).
constexpr std::size_t kMaxPduText = 400;
// The lengths AT+CMGS accepts: an SMS-SUBMIT TPDU has at most 164 octets.
constexpr unsigned kMaxTpduLength = 164;

struct StoredMessage {
    unsigned index = 0;  // storage index, 1-based
    int status = kRecUnread;
    std::string pduHex;       // as listed: service-centre part and TPDU, hexadecimal
    unsigned tpduLength = 0;  // the length announced in "+CMGL:" (TPDU without the centre part)
};

// One message memory: at most `capacity` messages at indices 1..capacity.
class MessageMemory {
  public:
    MessageMemory(Storage storage, unsigned capacity) : storage_(storage), capacity_(capacity) {}

    Storage storage() const { return storage_; }
    unsigned capacity() const { return capacity_; }
    void set_capacity(unsigned capacity) { capacity_ = capacity; }
    unsigned used() const { return static_cast<unsigned>(messages_.size()); }

    // Stores at the lowest free index and returns it; 0 when the memory is full.
    unsigned Add(int status, std::string pduHex, unsigned tpduLength);
    // Stores at `index`; false when it is out of range or taken.
    bool AddAt(unsigned index, int status, std::string pduHex, unsigned tpduLength);
    StoredMessage* Find(unsigned index);
    const StoredMessage* Find(unsigned index) const;
    bool Remove(unsigned index);
    // Ordered by index.
    const std::map<unsigned, StoredMessage>& messages() const { return messages_; }
    std::map<unsigned, StoredMessage>& messages() { return messages_; }

  private:
    Storage storage_;
    unsigned capacity_;
    std::map<unsigned, StoredMessage> messages_;
};

// A message handed to the phone with AT+CMGS.
struct SentMessage {
    unsigned reference = 0;  // the "+CMGS:" reference
    std::string number;      // destination, "+" first for an international number
    std::string text;        // UTF-8; 8-bit data as Latin-1 characters; empty when undecodable
    std::uint8_t dcs = 0;
    bool flash = false;           // class 0
    bool statusReport = false;    // TP-SRR
    std::string pduHex;           // exactly as received
    unsigned tpduLength = 0;      // the length given to AT+CMGS
    unsigned deliveredIndex = 0;  // where the round trip stored it (0: not delivered)
    Storage deliveredTo = Storage::kPhone;
};

// Decodes an SMS-SUBMIT PDU (centre part first) as AT+CMGS received it into `out`: number,
// text, alphabet and options. False when it does not decode, is no SMS-SUBMIT, or its TPDU is
// not `tpduLength` octets long. `record` receives the decoded fields.
bool DecodeSubmit(const std::vector<std::uint8_t>& bytes, unsigned tpduLength, PduRecord* record,
                  SentMessage* out);

class PhoneModel {
  public:
    explicit PhoneModel(Knobs knobs = {});

    const Knobs& knobs() const { return knobs_; }
    MessageMemory& memory(Storage storage) { return storage == Storage::kSim ? sim_ : phone_; }
    const MessageMemory& memory(Storage storage) const {
        return storage == Storage::kSim ? sim_ : phone_;
    }
    const std::vector<SentMessage>& sent() const { return sent_; }
    // Restores a sent message (from a state file); later references continue after it.
    void AddSent(SentMessage message);

    // A new connection: echo, result format, selected memories, the half-received command and
    // the command count start over. Stored and sent messages stay.
    void Connect();

    // Bytes from the line. Returns how many were taken: fewer than given once a drop knob has
    // fired (the rest is never looked at).
    std::size_t Feed(std::string_view bytes);
    // Everything answered since the last call.
    std::string TakeOutput();
    bool HasOutput() const { return !output_.empty(); }
    // A drop knob fired: the connection is to be closed once the pending output is written.
    bool drop_requested() const { return dropRequested_; }
    bool in_pdu_stage() const { return stage_ == Stage::kPdu; }
    std::uint64_t command_count() const { return commandCount_; }

    // Receives every command line as it came in (without its CR), and each PDU stage as its
    // hexadecimal text followed by "<ctrl-z>" or "<esc>".
    void SetLogSink(std::function<void(std::string_view)> sink) { logSink_ = std::move(sink); }
    // Called after every change of the stored or sent messages.
    void SetChangeSink(std::function<void()> sink) { changeSink_ = std::move(sink); }

    // A message from the network: stored as unread in the receiving memory (the third memory
    // of AT+CPMS) and announced with "+CMTI" when the client asked for that with AT+CNMI.
    // Returns its index; 0 when the memory is full and the message is lost.
    unsigned Receive(std::string pduHex, unsigned tpduLength);
    // The memory that Receive() fills.
    Storage receiving_memory() const { return receiveMemory_; }
    // The reference of the next long message that arrives in parts (1, 2, ... 255, 0, 1, ...).
    std::uint8_t TakeConcatenationReference() { return concatenationReference_++; }

    // How a command ends: a final result code, or (kNone) the "> " prompt of AT+CMGS.
    enum class Final { kOk, kError, kCms, kCme, kNone };
    struct Result {
        Final final = Final::kOk;
        int code = 0;
        const char* text = nullptr;  // the verbose form of a "+CME ERROR:" (AT+CMEE=2)
    };

  private:
    enum class Stage { kCommand, kPdu };

    void FinishCommand();
    void FinishPdu(bool cancelled);
    void Execute(const std::string& upper);
    Result ExecuteBasic(const std::string& upper, std::size_t* pos, std::vector<std::string>* info);
    Result ExecuteExtended(std::string_view command, bool last, std::vector<std::string>* info);
    Result Cpms(std::string_view args, bool query, bool test, std::vector<std::string>* info);
    Result Cmgl(std::string_view args, bool bare, bool test, std::vector<std::string>* info);
    Result Cmgr(std::string_view args, std::vector<std::string>* info);
    Result Cmgd(std::string_view args, bool test, std::vector<std::string>* info);
    Result Cmgs(std::string_view args, bool last, bool test);
    Result Csca(std::string_view args, bool query, bool test, std::vector<std::string>* info);
    Result Submit(const std::string& hex, std::vector<std::string>* info);
    bool DeliverBack(const std::vector<std::uint8_t>& bytes, const PduRecord& submitted,
                     SentMessage* sent);

    // The general commands of a ready phone (phone_status.cpp): functionality, PIN, signal,
    // registration, identity, error reporting. False when `name` is none of them.
    bool ExecuteStatus(std::string_view name, std::string_view rest, std::vector<std::string>* info,
                       Result* result);
    // A failure of one of those: plain ERROR, or "+CME ERROR:" after AT+CMEE=1 or 2.
    Result MeError(int code) const;
    void ResetReporting();

    // New message indications (indications.cpp).
    Result Cnmi(std::string_view args, bool query, bool test, std::vector<std::string>* info);
    Result Csms(std::string_view args, bool query, bool test, std::vector<std::string>* info);
    // Stores an arriving PDU in the receiving memory and announces it as AT+CNMI asks.
    unsigned Arrive(std::string pduHex, unsigned tpduLength);
    // The status report of a sent message that asked for one, as AT+CNMI's <ds> asks.
    void ReportStatus(const SentMessage& sent);
    // An unsolicited result code (one or more lines): written at once, held while a command
    // is being answered or a PDU is awaited, or kept in the buffer of AT+CNMI mode 0.
    void Indicate(std::vector<std::string> lines);
    // After a command's answer: writes what was held back during it.
    void ReleaseIndications();
    void WriteIndication(const std::vector<std::string>& lines);

    bool IsCurrentNumber(std::string_view target) const;
    bool Targets(std::string_view target, std::string_view command) const;
    bool Matches(const std::vector<std::string>& prefixes, std::string_view command) const;
    const ErrorRule* MatchError(std::string_view command) const;
    void Respond(const std::vector<std::string>& info, Result result);
    void SendPrompt();
    void SendFlood();
    void Preamble();
    void CountCommand();
    // Waits at a held command (see Knobs::holdOn).
    void HoldIfAsked(bool pduStage, std::string_view command);
    void Log(std::string_view line);
    void Changed();

    Knobs knobs_;
    MessageMemory sim_;
    MessageMemory phone_;
    std::vector<SentMessage> sent_;
    unsigned nextReference_ = 1;
    std::uint8_t concatenationReference_ = 1;

    // Per connection.
    Stage stage_ = Stage::kCommand;
    bool echo_ = false;
    bool verbose_ = true;
    Storage readMemory_ = Storage::kSim;       // AT+CPMS first memory: listing, reading, deleting
    Storage writeMemory_ = Storage::kSim;      // second memory
    Storage receiveMemory_ = Storage::kPhone;  // third memory: where arriving messages go
    std::string characterSet_ = "GSM";
    unsigned errorMode_ = 0;         // AT+CMEE: 0 ERROR, 1 numeric, 2 verbose "+CME ERROR:"
    unsigned registrationMode_ = 0;  // AT+CREG <n>
    unsigned smsService_ = 0;        // AT+CSMS <service>
    struct Indications {
        unsigned mode = 0;  // 0 buffer, 1-3 forward (held while the line waits for a PDU)
        unsigned mt = 0;    // 1: "+CMTI" for a stored message
        unsigned bm = 0;
        unsigned ds = 0;   // 1: "+CDS" with the status report, 2: stored and "+CDSI"
        unsigned bfr = 0;  // 0: the buffer is flushed when mode 1-3 is entered, 1: cleared
    } indications_;
    bool answering_ = false;  // a command is being answered: indications wait until after it
    std::vector<std::vector<std::string>> heldIndications_;      // until the answer is out
    std::vector<std::vector<std::string>> bufferedIndications_;  // mode 0
    std::string line_;
    bool lineOverflow_ = false;
    std::string pduText_;
    bool pduOverflow_ = false;
    unsigned expectedTpduLength_ = 0;
    std::uint64_t commandCount_ = 0;
    bool dropRequested_ = false;

    std::string output_;
    std::uint32_t garbageState_;
    std::function<void(std::string_view)> logSink_;
    std::function<void()> changeSink_;
};

}  // namespace phone_sim
