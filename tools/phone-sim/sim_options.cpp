// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim_options.h"

#include <charconv>
#include <string_view>

namespace phone_sim {
namespace {

bool ParseCount(std::string_view text, unsigned max, unsigned* value) {
    if (text.empty() || text.size() > 9) return false;
    unsigned v = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size() || v > max) return false;
    *value = v;
    return true;
}

// Seconds with up to three decimals ("2", "0.25"), as milliseconds from 1 to `maxMs`.
bool ParseSeconds(std::string_view text, unsigned maxMs, unsigned* ms) {
    std::size_t dot = text.find('.');
    std::string_view whole = text.substr(0, dot);
    std::string_view fraction = dot == std::string_view::npos ? "" : text.substr(dot + 1);
    if (dot != std::string_view::npos && fraction.empty()) return false;
    if (whole.empty() && fraction.empty()) return false;
    if (whole.size() > 6 || fraction.size() > 3) return false;
    unsigned value = 0;
    for (char c : whole) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    unsigned thousandths = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        char c = i < fraction.size() ? fraction[i] : '0';
        if (c < '0' || c > '9') return false;
        thousandths = thousandths * 10 + static_cast<unsigned>(c - '0');
    }
    unsigned long long total = value * 1000ull + thousandths;
    if (total < 1 || total > maxMs) return false;
    *ms = static_cast<unsigned>(total);
    return true;
}

// "CMD", "CMD:ERROR", "CMD:CMS:n", "CMD:CME:n".
bool ParseErrorRule(std::string_view text, ErrorRule* rule) {
    std::size_t colon = text.find(':');
    rule->command.assign(text.substr(0, colon));
    if (rule->command.empty()) return false;
    rule->reply = {};
    if (colon == std::string_view::npos) return true;
    std::string_view kind = text.substr(colon + 1);
    if (kind == "ERROR") return true;
    unsigned code = 0;
    if (kind.substr(0, 4) == "CMS:" && ParseCount(kind.substr(4), 999, &code)) {
        rule->reply = {FaultKind::kCms, static_cast<int>(code)};
        return true;
    }
    if (kind.substr(0, 4) == "CME:" && ParseCount(kind.substr(4), 999, &code)) {
        rule->reply = {FaultKind::kCme, static_cast<int>(code)};
        return true;
    }
    return false;
}

// "nul", "cmti", "long:N", each optionally followed by "@INDEX".
bool ParseListingNoise(std::string_view text, ListingNoise* noise) {
    *noise = {};
    const std::size_t at = text.find('@');
    if (at != std::string_view::npos) {
        if (!ParseCount(text.substr(at + 1), 100000, &noise->index) || noise->index == 0) {
            return false;
        }
        text = text.substr(0, at);
    }
    if (text == "nul") return true;
    if (text == "cmti") {
        noise->kind = ListingNoiseKind::kCmti;
        return true;
    }
    noise->kind = ListingNoiseKind::kLongLine;
    return text.substr(0, 5) == "long:" && ParseCount(text.substr(5), 100000, &noise->length) &&
           noise->length > 0;
}

}  // namespace

bool ParseOptions(int argc, const char* const* argv, SimOptions* options, std::string* error) {
    bool listenGiven = false;
    for (int i = 1; i < argc; ++i) {
        std::string_view arg = argv[i];
        std::string_view value;
        bool inlineValue = false;
        if (arg.substr(0, 2) == "--") {
            std::size_t eq = arg.find('=');
            if (eq != std::string_view::npos) {
                value = arg.substr(eq + 1);
                arg = arg.substr(0, eq);
                inlineValue = true;
            }
        }
        // Fetches the option's value, from "--opt=value" or the next argument.
        auto next = [&](std::string_view* out) {
            if (inlineValue) {
                *out = value;
                return true;
            }
            if (i + 1 >= argc) {
                *error = "option " + std::string(arg) + " needs a value";
                return false;
            }
            *out = argv[++i];
            return true;
        };
        auto flag = [&](bool* target) {
            if (inlineValue) {
                *error = "option " + std::string(arg) + " takes no value";
                return false;
            }
            *target = true;
            return true;
        };
        auto count = [&](unsigned max, unsigned* target) {
            std::string_view v;
            if (!next(&v)) return false;
            if (!ParseCount(v, max, target)) {
                *error = "option " + std::string(arg) + ": '" + std::string(v) +
                         "' is not a number from 0 to " + std::to_string(max);
                return false;
            }
            return true;
        };
        auto text = [&](std::string* target) {
            std::string_view v;
            if (!next(&v)) return false;
            target->assign(v);
            return true;
        };
        auto command = [&](std::vector<std::string>* list) {
            std::string_view v;
            if (!next(&v)) return false;
            if (v.empty()) {
                *error = "option " + std::string(arg) + " needs a command";
                return false;
            }
            list->emplace_back(v);
            return true;
        };
        Knobs& k = options->knobs;
        bool ok = true;
        if (arg == "--help" || arg == "-h") {
            ok = flag(&options->help);
        } else if (arg == "--listen") {
            std::string_view v;
            ok = next(&v);
            if (ok) {
                std::size_t colon = v.rfind(':');
                std::string_view host = colon == std::string_view::npos ? "" : v.substr(0, colon);
                if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
                    host = host.substr(1, host.size() - 2);
                }
                if (host.empty() || !ParseCount(v.substr(colon + 1), 65535, &options->port)) {
                    *error = "option --listen: expected HOST:PORT, got '" + std::string(v) + "'";
                    ok = false;
                } else {
                    options->host.assign(host);
                    listenGiven = true;
                }
            }
        } else if (arg == "--pty") {
            ok = flag(&options->pty);
        } else if (arg == "--messages") {
            options->messageFiles.emplace_back();
            ok = text(&options->messageFiles.back());
        } else if (arg == "--sms") {
            options->quickMessages.emplace_back();
            ok = text(&options->quickMessages.back());
        } else if (arg == "--generate") {
            ok = count(100000, &options->generate);
        } else if (arg == "--state") {
            ok = text(&options->statePath);
        } else if (arg == "--log") {
            ok = text(&options->logPath);
        } else if (arg == "--smsc") {
            ok = text(&k.serviceCentre);
        } else if (arg == "--sm-capacity") {
            ok = count(1000, &k.simCapacity);
        } else if (arg == "--me-capacity") {
            ok = count(100000, &k.phoneCapacity);
        } else if (arg == "--deliver-sent") {
            ok = flag(&k.deliverSent);
        } else if (arg == "--no-deliver-sent") {
            bool off = false;
            ok = flag(&off);
            k.deliverSent = false;
        } else if (arg == "--echo") {
            ok = flag(&k.echo);
        } else if (arg == "--reject-v1") {
            ok = flag(&k.rejectV1);
        } else if (arg == "--no-me") {
            ok = flag(&k.noMe);
        } else if (arg == "--error-on") {
            std::string_view v;
            ok = next(&v);
            ErrorRule rule;
            if (ok && !ParseErrorRule(v, &rule)) {
                *error = "option --error-on: expected CMD[:ERROR|:CMS:n|:CME:n], got '" +
                         std::string(v) + "'";
                ok = false;
            }
            if (ok) k.errorOn.push_back(rule);
        } else if (arg == "--silent-on") {
            ok = command(&k.silentOn);
        } else if (arg == "--drop-on") {
            ok = command(&k.dropOn);
        } else if (arg == "--no-line-end-flood") {
            ok = command(&k.floodOn);
        } else if (arg == "--hold-on") {
            ok = command(&k.holdOn);
        } else if (arg == "--hold-gate") {
            ok = text(&k.holdGate);
        } else if (arg == "--drop-after") {
            ok = count(1000000, &k.dropAfter);
        } else if (arg == "--byte-at-a-time") {
            ok = flag(&options->byteAtATime);
        } else if (arg == "--prompt-without-blank") {
            ok = flag(&k.promptWithoutBlank);
        } else if (arg == "--unsolicited") {
            ok = text(&k.unsolicited);
        } else if (arg == "--listing-noise") {
            std::string_view v;
            ok = next(&v);
            ListingNoise noise;
            if (ok && !ParseListingNoise(v, &noise)) {
                *error =
                    "option --listing-noise: expected nul, cmti or long:N (1 to 100000), "
                    "optionally @INDEX, got '" +
                    std::string(v) + "'";
                ok = false;
            }
            if (ok) k.listingNoise.push_back(noise);
        } else if (arg == "--baud") {
            ok = count(10000000, &options->baud);
            if (ok && options->baud != 0 && options->baud < 10) {
                *error = "option --baud: at least 10 (one byte a second)";
                ok = false;
            }
        } else if (arg == "--inject-every") {
            std::string_view v;
            ok = next(&v);
            if (ok && !ParseSeconds(v, 86400000, &options->injectEveryMs)) {
                *error = "option --inject-every: '" + std::string(v) +
                         "' is not a number of seconds from 0.001 to 86400";
                ok = false;
            }
        } else if (arg == "--control") {
            ok = text(&options->controlPath);
            if (ok && options->controlPath.empty()) {
                *error = "option --control needs a path";
                ok = false;
            }
        } else if (arg == "--garbage") {
            ok = count(100000, &k.garbage);
        } else {
            *error = "unknown option '" + std::string(argv[i]) + "'";
            ok = false;
        }
        if (!ok) return false;
    }
    if (options->pty && listenGiven) {
        *error = "--listen and --pty exclude each other";
        return false;
    }
    return true;
}

const char* HelpText() {
    return R"(Usage: velkan-phone-sim [--listen HOST:PORT | --pty] [--messages FILE] [options]

A simulated GSM phone in PDU mode, for tests, demos and users without a phone. It keeps a SIM
memory "SM" and a phone memory "ME" of stored messages and answers as a ready phone (switched
on, no PIN asked, registered to its home network) to these AT commands:
  AT, ATZ, AT&F, ATE0/ATE1, ATV0/ATV1, ATQ0, ATI, ATH, ATD
  AT+CGMI, AT+CGMM, AT+CGMR, AT+CGSN, AT+GMI, AT+GMM, AT+GMR, AT+GSN, AT+CIMI, AT+GCAP
  AT+CFUN? and =1, AT+CPIN? (+CPIN: READY), AT+CSQ, AT+CREG? and =0..2
  AT+CMEE=0..2 (0: failures answer ERROR; 1, 2: "+CME ERROR:" with a number or a text)
  AT+CSCS (GSM, IRA, UCS2, 8859-1, PCCP437, HEX), AT+CSCA (in the AT+CSCS character set)
  AT+CMGF=0, AT+CSMS, AT+CPMS, AT+CNMI, AT+CMGL, AT+CMGR, AT+CMGD, AT+CMGS
with their "?" and "=?" forms. Anything else answers ERROR. Nothing is ever said unasked unless
the client asks with AT+CNMI: mode 1-3 (0 keeps them until 1-3), mt 1 for "+CMTI: MEM,INDEX"
when a message arrives, ds 1 for "+CDS: LENGTH" and the PDU of a status report, ds 2 for a
stored report and "+CDSI: MEM,INDEX" (a status report follows every AT+CMGS asking for one).

The first line on standard output is always machine-readable: "listening HOST:PORT" (the real
port) or, with --pty, the path of the pseudo-terminal's device. The simulator runs until
SIGTERM or SIGINT and then ends with status 0. Bad options end it with status 2.

Connection:
  --listen HOST:PORT   TCP address to listen on (default 127.0.0.1:4000; port 0 picks a free
                       port). One connection at a time; the next is accepted when it closes.
                       Stored messages last for the life of the process.
  --pty                a pseudo-terminal in raw mode instead of TCP
  --baud N             pace output and input at N/10 bytes a second (19200: 1920 B/s)
  --byte-at-a-time     write every response byte on its own

Messages:
  --messages FILE      stored messages to start with (repeatable; format below)
  --sms MEM:NUMBER:TEXT
                       an unread message received now (repeatable), e.g. SM:+4930123456:Hi;
                       any Unicode text (UCS2 when it must be, in up to 10 parts when long)
  --generate N         N unread messages in ME for load tests (ME grows to fit)
  --sm-capacity N      capacity of SM (default 30)
  --me-capacity N      capacity of ME (default 100)
  --smsc NUMBER        service centre written into stored PDUs and reported by AT+CSCA?
                       (default +491710760000; "" for none, i.e. the "00" centre part)
  --deliver-sent       every message sent with AT+CMGS arrives back as an unread SMS-DELIVER
                       from its recipient in the receiving memory (ME unless changed with
                       AT+CPMS; SM with --no-me) (default on)
  --no-deliver-sent    keep sent messages only in the list of sent messages
  --state FILE         after every change, write what the phone holds to FILE (a stored
                       messages file, with SENT lines for the sent messages)
  --log FILE           append every command received to FILE, one per line, exactly as
                       received without its CR; the PDU stage of AT+CMGS as the hex text
                       followed by "<ctrl-z>" (or "<esc>" when cancelled); "-" for stderr

Messages arriving while it runs (unread SMS-DELIVERs stamped now, stored in the receiving
memory and announced as AT+CNMI asks; a full memory loses them):
  --inject-every SECONDS
                       a message "Injected message N" from +4930555000 every SECONDS
                       (decimals allowed, e.g. 0.5)
  --control PATH       a Unix socket at PATH; every line "NUMBER:TEXT" written to it is a
                       message that arrives (TEXT escapes as in --sms); each line is answered
                       "stored MEM INDEX" or "error: REASON"

Faults (CMD is a command prefix such as AT+CMGL, case-insensitive, PDU for the PDU stage of
AT+CMGS, or #N for the N-th command of the connection, the PDU stage counted as one, as in the
log; options naming CMD are repeatable):
  --echo               echo commands (the state after ATZ and at every connection)
  --reject-v1          answer ERROR to ATE0V1 (any command asking for V1)
  --no-me              no phone memory: AT+CPMS="ME" answers ERROR
  --error-on CMD[:KIND]
                       answer CMD with KIND: ERROR (default), CMS:n or CME:n
  --silent-on CMD      never answer CMD
  --drop-on CMD        close the connection when CMD arrives (with --pty: close the master)
  --drop-after N       close the connection after answering N commands
  --no-line-end-flood CMD
                       answer CMD with 2000 bytes and no line end
  --hold-on CMD        before answering CMD, create FILE.held and wait until FILE exists
  --hold-gate FILE     the file that --hold-on waits for (tests: a change made at an exact
                       moment of the conversation)
  --unsolicited TEXT   send TEXT as an unsolicited line (e.g. RING) before every response
  --listing-noise KIND[@INDEX]
                       put a bad line into every AT+CMGL listing, at its first message or at
                       the message stored at INDEX (repeatable): nul (a NUL byte in the middle
                       of its PDU line, which makes that message unreadable), cmti (a "+CMTI:"
                       line between its header and its PDU line), long:N (a line of N letters
                       before its header)
  --garbage N          send N random printable bytes (never '>') before every response
  --prompt-without-blank
                       prompt with ">" instead of "> " after AT+CMGS

Stored messages file: one message per line; blank lines and lines starting with '#' are
skipped.
  MEM|STATUS|NUMBER|YYYY-MM-DD HH:MM:SS|+ZZ|TEXT
      e.g. SM|0|+4930123456|2003-11-15 09:30:05|+04|Hello
  MEM|STATUS|PDU:<hex>|<tpdu length>
      a hand-made PDU (centre part first), listed exactly as given; the length may be left out
      when the hex holds a well-formed centre part
  SENT|REF|NUMBER|FLAGS|DELIVERED|PDU:<hex>|<tpdu length>|TEXT
      a sent message, as the state file writes it
MEM is SM or ME, optionally with a fixed index (SM@5); otherwise the lowest free index is
taken. STATUS: 0 REC UNREAD, 1 REC READ, 2 STO UNSENT, 3 STO SENT. Statuses 0 and 1 store an
SMS-DELIVER stamped with the time and zone (+ZZ in quarter hours, +04 = GMT+1); 2 and 3 store
an SMS-SUBMIT to NUMBER. NUMBER: digits with an optional leading +. TEXT is the rest of the line
(up to 160 characters of the GSM alphabet; others become "§"); \n, \r and \\ stand for a line
feed, a carriage return and a backslash.
)";
}

}  // namespace phone_sim
