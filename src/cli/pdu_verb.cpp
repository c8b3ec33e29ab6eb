// SPDX-License-Identifier: GPL-3.0-or-later
// velkan pdu decode HEX [--tpdu-length N] [--unicode]
// velkan pdu encode --to NUMBER [--text TEXT] [--flash] [--status-report] [--smsc NUMBER]
//                   [--unicode] [--long] [--reference R]
//
// The codec as a command: decoding runs the same steps as a message taken from the phone
// (hex text, DecodePdu, ApplyPduRecord); encoding runs the same steps as a send (PrepareSubmit,
// the sender's options, EncodePdu). One JSON object goes to stdout; the exit status is the
// codec's result (0, or 4 for a malformed PDU, number or length), 2 for bad arguments. A number,
// text or service centre that the encoder refuses is also named on stderr, with the reason.
// --unicode and --long read and write as the settings `Unicode` and `LongSms` do; with either,
// decoding also gives "concatenation" and encoding "parts" (every part's PDU; the top-level keys
// stay the first part's). Without them the output is the codec's original, key for key.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli/json.h"
#include "cli/verbs.h"
#include "common/text_convert.h"
#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit.h"
#include "pdu/submit_check.h"
#include "pdu/submit_parts.h"
#include "resources/translations.h"

namespace {

constexpr const char* kVerb = "pdu";

// A decimal number that fits 32 bits; false for anything else (sign, blanks, overflow).
bool ParseLength(const char* text, std::uint32_t* value) {
    if (*text == 0) return false;
    std::uint64_t v = 0;
    for (const char* p = text; *p; ++p) {
        if (*p < '0' || *p > '9') return false;
        v = v * 10 + static_cast<std::uint64_t>(*p - '0');
        if (v > 0xFFFFFFFFu) return false;
    }
    *value = static_cast<std::uint32_t>(v);
    return true;
}

int PrintResult(TransferError result) {
    std::printf("%s\n",
                JsonObject().Add("result", static_cast<std::int64_t>(result)).Str().c_str());
    return static_cast<int>(result);
}

std::string HexOf(const std::uint8_t* bytes, std::size_t count) {
    std::vector<char> text(2 * count + 1);
    BytesToHex(bytes, count, text.data());
    return std::string(text.data());
}

// "YYYY-MM-DD HH:MM:SS", or JSON null for a message without time.
std::string TimeJson(FileTime time) {
    SystemTime st;
    if (time == 0 || !FileTimeToSystemTime(time, &st)) return "null";
    char text[64];  // room for any 16-bit field values
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", unsigned{st.year},
                  unsigned{st.month}, unsigned{st.day}, unsigned{st.hour}, unsigned{st.minute},
                  unsigned{st.second});
    return JsonString(text);
}

int Decode(int argc, char** argv) {
    const char* hex = nullptr;
    bool haveLength = false;
    std::uint32_t tpduLength = 0;
    CodecOptions options;
    for (int i = 0; i < argc; ++i) {
        const char* arg = argv[i];
        if (std::strcmp(arg, "--unicode") == 0) {
            options.unicode = true;
        } else if (std::strcmp(arg, "--tpdu-length") == 0) {
            if (i + 1 >= argc)
                return UsageError(kVerb, Translate("velkan", "--tpdu-length needs a number"));
            if (!ParseLength(argv[++i], &tpduLength)) {
                return UsageError(kVerb, Translate("velkan", "--tpdu-length needs a number"));
            }
            haveLength = true;
        } else if (arg[0] == '-' && arg[1] != 0) {
            return UsageError(
                kVerb, Translate("velkan", "unknown option '%1'").arg(QString::fromLocal8Bit(arg)));
        } else if (hex == nullptr) {
            hex = arg;
        } else {
            return UsageError(kVerb, Translate("velkan", "decode takes one HEX argument"));
        }
    }
    if (hex == nullptr)
        return UsageError(kVerb, Translate("velkan", "decode needs the PDU as HEX"));

    std::vector<std::uint8_t> bytes;
    if (HexTextToBuffer(hex, &bytes) != kErrNone) return PrintResult(kErrInvalidParameter);
    if (!haveLength) {
        // As for a stored message: the TPDU is what follows the service-centre part.
        if (bytes.empty() || bytes.size() < 1u + bytes[0]) return PrintResult(kErrInvalidParameter);
        tpduLength = static_cast<std::uint32_t>(bytes.size() - 1 - bytes[0]);
    }
    if (bytes.size() > 0xFFFFFFFFu) return PrintResult(kErrInvalidParameter);

    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    if (!message.pduRecord) return PrintResult(kErrOutOfMemory);
    const PduRecord& r = *message.pduRecord;
    const TransferError result =
        DecodePdu(message.pduRecord.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                  tpduLength, options);
    if (result != kErrNone) return PrintResult(result);
    ApplyPduRecord(&message);

    JsonObject stamp;
    stamp.Add("year", unsigned{r.timeStamp.year})
        .Add("month", unsigned{r.timeStamp.month})
        .Add("day", unsigned{r.timeStamp.day})
        .Add("hour", unsigned{r.timeStamp.hour})
        .Add("minute", unsigned{r.timeStamp.minute})
        .Add("second", unsigned{r.timeStamp.second})
        .Add("zone", int{r.timeStamp.zone});
    JsonObject out;
    out.Add("result", 0)
        .Add("firstOctet", unsigned{r.firstOctet})
        .Add("mti", r.firstOctet & 3)
        .Add("scaType", unsigned{r.scaType})
        .Add("scaDigits", r.scaDigits)
        .Add("addressType", unsigned{r.addressType})
        .Add("addressDigits", r.addressDigits)
        .Add("messageReference", unsigned{r.messageReference})
        .Add("protocolId", unsigned{r.protocolId})
        .Add("dcs", unsigned{r.dcs})
        .Add("udl", r.udl)
        .Add("userDataLength", r.userDataLength)
        .Add("headerLength", r.headerLength)
        .Add("header", HexOf(r.header, r.headerLength))
        .AddRaw("timeStamp", stamp.Str())
        .Add("number", message.number)
        .Add("text", message.text)
        .AddRaw("time", TimeJson(message.time));
    if (options.unicode) {
        ConcatenationInfo info;
        if (ReadConcatenation(&r, &info)) {
            JsonObject concatenation;
            concatenation.Add("reference", unsigned{info.reference})
                .Add("total", unsigned{info.total})
                .Add("sequence", unsigned{info.sequence})
                .Add("wideReference", info.wideReference);
            out.AddRaw("concatenation", concatenation.Str());
        } else {
            out.AddRaw("concatenation", "null");
        }
    }
    std::printf("%s\n", out.Str().c_str());
    return 0;
}

int Encode(int argc, char** argv) {
    const char* to = nullptr;
    const char* text = "";
    const char* smsc = "";
    const char* referenceText = nullptr;
    bool flash = false;
    bool statusReport = false;
    CodecOptions options;
    for (int i = 0; i < argc; ++i) {
        const char* arg = argv[i];
        const char** value = nullptr;
        if (std::strcmp(arg, "--unicode") == 0) {
            options.unicode = true;
            continue;
        } else if (std::strcmp(arg, "--long") == 0) {
            options.longSms = true;
            continue;
        } else if (std::strcmp(arg, "--reference") == 0) {
            value = &referenceText;
        } else if (std::strcmp(arg, "--to") == 0) {
            value = &to;
        } else if (std::strcmp(arg, "--text") == 0) {
            value = &text;
        } else if (std::strcmp(arg, "--smsc") == 0) {
            value = &smsc;
        } else if (std::strcmp(arg, "--flash") == 0) {
            flash = true;
            continue;
        } else if (std::strcmp(arg, "--status-report") == 0) {
            statusReport = true;
            continue;
        } else if (arg[0] == '-') {
            return UsageError(
                kVerb, Translate("velkan", "unknown option '%1'").arg(QString::fromLocal8Bit(arg)));
        } else {
            return UsageError(
                kVerb,
                Translate("velkan", "unexpected argument '%1'").arg(QString::fromLocal8Bit(arg)));
        }
        if (i + 1 >= argc) {
            return UsageError(
                kVerb, Translate("velkan", "%1 needs a value").arg(QString::fromLocal8Bit(arg)));
        }
        *value = argv[++i];
    }
    if (to == nullptr) return UsageError(kVerb, Translate("velkan", "encode needs --to NUMBER"));
    std::uint32_t reference = 0;
    if (referenceText != nullptr && (!ParseLength(referenceText, &reference) || reference > 255)) {
        return UsageError(kVerb, Translate("velkan", "--reference needs a number from 0 to 255"));
    }

    SmsMessage message;
    message.number = Utf8ToUtf16(to);
    message.text = Utf8ToUtf16(text);
    message.flags = flash ? kFlagFlash : 0;
    const std::u16string centre = Utf8ToUtf16(smsc);
    // What the encoder refuses is said in words as well as with its result.
    std::string reason;
    if (ValidateRecipient(message.number, &reason) != kErrNone ||
        ValidateMessageText(message.text, options, &reason) != kErrNone ||
        ValidateServiceCentre(centre, &reason) != kErrNone) {
        Say(QString::fromStdString(reason));
    }
    if (!options.unicode && !options.longSms) {
        if (PrepareSubmit(&message) != 1) return PrintResult(message.codecResult);
        PduRecord* record = message.pduRecord.get();
        ApplySubmitOptions(record, centre, statusReport);
        const TransferError result = EncodePdu(record);
        if (result != kErrNone) return PrintResult(result);

        // A message of one part still lists it, so that a script reads "parts" whatever the
        // options were.
        JsonObject part;
        part.Add("pdu", HexOf(record->encoded, record->encodedLength))
            .Add("tpduLength", record->tpduLength)
            .Add("encodedLength", record->encodedLength);
        JsonObject out;
        out.Add("result", 0)
            .Add("pdu", HexOf(record->encoded, record->encodedLength))
            .Add("tpduLength", record->tpduLength)
            .Add("encodedLength", record->encodedLength)
            .AddRaw("parts", "[" + part.Str() + "]");
        std::printf("%s\n", out.Str().c_str());
        return 0;
    }

    std::vector<PartPdu> parts;
    const TransferError result = EncodeSubmitParts(
        message, options, static_cast<std::uint8_t>(reference), centre, statusReport, &parts);
    if (result != kErrNone) return PrintResult(result);
    std::string list = "[";
    for (std::size_t k = 0; k < parts.size(); ++k) {
        JsonObject part;
        part.Add("pdu", HexOf(parts[k].pdu.data(), parts[k].pdu.size()))
            .Add("tpduLength", parts[k].tpduLength)
            .Add("encodedLength", parts[k].encodedLength);
        if (k > 0) list += ",";
        list += part.Str();
    }
    list += "]";
    JsonObject out;
    out.Add("result", 0)
        .Add("pdu", HexOf(parts[0].pdu.data(), parts[0].pdu.size()))
        .Add("tpduLength", parts[0].tpduLength)
        .Add("encodedLength", parts[0].encodedLength)
        .AddRaw("parts", list);
    std::printf("%s\n", out.Str().c_str());
    return 0;
}

}  // namespace

int RunPduVerb(int argc, char** argv) {
    if (argc < 2) return UsageError(kVerb, Translate("velkan", "decode or encode?"));
    if (std::strcmp(argv[1], "decode") == 0) return Decode(argc - 2, argv + 2);
    if (std::strcmp(argv[1], "encode") == 0) return Encode(argc - 2, argv + 2);
    return UsageError(
        kVerb,
        Translate("velkan", "unknown pdu command '%1'").arg(QString::fromLocal8Bit(argv[1])));
}
