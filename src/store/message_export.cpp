// SPDX-License-Identifier: GPL-3.0-or-later
// Writing the store's messages in the exchange formats (store/message_exchange.h).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "common/json_escape.h"
#include "common/text_convert.h"
#include "store/exchange_time.h"
#include "store/message_exchange.h"

namespace {

constexpr std::uint32_t kChunk = 256;

bool IsHigh(char16_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLow(char16_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

// Walks the UTF-16 text: `plain(cp)` for every character, `lone(unit)` for every unpaired
// surrogate.
template <typename Plain, typename Lone>
void ForEachCharacter(std::u16string_view text, Plain plain, Lone lone) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (IsHigh(c) && i + 1 < text.size() && IsLow(text[i + 1])) {
            plain(0x10000 + ((static_cast<std::uint32_t>(c) - 0xD800) << 10) +
                  (static_cast<std::uint32_t>(text[i + 1]) - 0xDC00));
            ++i;
        } else if (IsHigh(c) || IsLow(c)) {
            lone(c);
        } else {
            plain(c);
        }
    }
}

// --- CSV -------------------------------------------------------------------------------------

std::string CsvField(const std::string& utf8) {
    if (utf8.find_first_of(",\"\r\n") == std::string::npos) return utf8;
    std::string out = "\"";
    for (char ch : utf8) {
        if (ch == '"') out += '"';
        out += ch;
    }
    return out + "\"";
}

const char* FolderWord(FolderId folder) {
    switch (folder) {
        case kFolderInbox:
            return "inbox";
        case kFolderOutbox:
            return "outbox";
        case kFolderDraft:
            return "draft";
        case kFolderSent:
            return "sent";
        default:
            return "";
    }
}

std::string CsvRow(const SmsMessage& m) {
    return std::to_string(m.oid) + "," + (m.time != 0 ? IsoLocalTime(m.time, ' ') : "") + "," +
           std::to_string(m.flags) + "," + FolderWord(m.folder) + "," +
           CsvField(Utf16ToUtf8(m.name)) + "," + CsvField(Utf16ToUtf8(m.number)) + "," +
           CsvField(Utf16ToUtf8(m.text)) + "\r\n";
}

// --- JSON lines ------------------------------------------------------------------------------

// A JSON string of UTF-16 text; an unpaired surrogate is written as its \u escape, so that the
// text comes back as it was.
std::string JsonText(std::u16string_view text) {
    std::string out = "\"";
    char escape[8];
    ForEachCharacter(
        text, [&](std::uint32_t cp) { AppendJsonCharacter(&out, cp); },
        [&](char16_t unit) {
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(unit));
            out += escape;
        });
    return out + "\"";
}

std::string JsonRow(const SmsMessage& m) {
    std::string out = "{\"id\":" + std::to_string(m.oid) + ",\"folder\":\"" + FolderWord(m.folder) +
                      "\",\"flags\":" + std::to_string(m.flags) + ",\"name\":" + JsonText(m.name) +
                      ",\"number\":" + JsonText(m.number) + ",\"text\":" + JsonText(m.text) +
                      ",\"time\":";
    out += m.time != 0 ? "\"" + IsoLocalTime(m.time, 'T') + "\"" : std::string("null");
    out += std::string(",\"mayHaveBeenSent\":") +
           ((m.flags & kFlagMayHaveBeenSent) != 0 ? "true" : "false") +
           ",\"notEncodable\":" + ((m.flags & kFlagNotEncodable) != 0 ? "true" : "false") + "}\n";
    return out;
}

// --- XML of SMS Backup & Restore -------------------------------------------------------------

std::string XmlAttribute(std::u16string_view text) {
    std::string out;
    auto reference = [&](std::uint32_t cp) { out += "&#" + std::to_string(cp) + ";"; };
    ForEachCharacter(
        text,
        [&](std::uint32_t cp) {
            switch (cp) {
                case '&':
                    out += "&amp;";
                    break;
                case '<':
                    out += "&lt;";
                    break;
                case '>':
                    out += "&gt;";
                    break;
                case '"':
                    out += "&quot;";
                    break;
                default:
                    // Line breaks and tabs as references, so that a reader keeps them; the
                    // characters XML has no place for as the backup app writes them.
                    if (cp < 0x20 || cp == 0xFFFE || cp == 0xFFFF) {
                        reference(cp);
                    } else {
                        AppendUtf8(&out, cp);
                    }
            }
        },
        [&](char16_t unit) { reference(unit); });
    return out;
}

int XmlType(FolderId folder) {
    switch (folder) {
        case kFolderInbox:
            return 1;
        case kFolderSent:
            return 2;
        case kFolderDraft:
            return 3;
        case kFolderOutbox:
            return 4;
        default:
            return 0;
    }
}

std::string XmlRow(const SmsMessage& m) {
    std::int64_t ms = 0;
    if (m.time == 0 || !LocalFileTimeToUnixMs(m.time, &ms)) ms = 0;
    const bool inbox = m.folder == kFolderInbox;
    const bool read = !(inbox && (m.flags & kFlagUnread) != 0);
    const std::string date = std::to_string(ms);
    return "  <sms protocol=\"0\" address=\"" + XmlAttribute(m.number) + "\" date=\"" + date +
           "\" type=\"" + std::to_string(XmlType(m.folder)) + "\" subject=\"null\" body=\"" +
           XmlAttribute(m.text) +
           "\" toa=\"null\" sc_toa=\"null\" service_center=\"null\" read=\"" + (read ? "1" : "0") +
           "\" status=\"-1\" locked=\"0\" date_sent=\"" + (inbox ? date : std::string("0")) +
           "\" readable_date=\"" +
           (m.time != 0 ? IsoLocalTime(m.time - m.time % 10'000'000, ' ') : std::string()) +
           "\" contact_name=\"" +
           (m.name.empty() ? std::string("(Unknown)") : XmlAttribute(m.name)) + "\" />\n";
}

// --- mbox ------------------------------------------------------------------------------------

// A display name for a mail header: a quoted string, or RFC 2047 encoded words when it is not
// plain ASCII.
std::string EncodedWords(const std::string& utf8) {
    static const char kBase64[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t at = 0;
    while (at < utf8.size()) {
        // At most 45 bytes a word (60 in Base64, 72 with its frame), cut between characters.
        std::size_t end = std::min(utf8.size(), at + 45);
        while (end < utf8.size() && (static_cast<unsigned char>(utf8[end]) & 0xC0) == 0x80) --end;
        if (!out.empty()) out += "\n ";
        out += "=?UTF-8?B?";
        for (std::size_t i = at; i < end; i += 3) {
            const std::size_t n = std::min<std::size_t>(3, end - i);
            std::uint32_t v = 0;
            for (std::size_t k = 0; k < 3; ++k) {
                v = v << 8 | (k < n ? static_cast<unsigned char>(utf8[i + k]) : 0u);
            }
            out += kBase64[(v >> 18) & 63];
            out += kBase64[(v >> 12) & 63];
            out += n > 1 ? kBase64[(v >> 6) & 63] : '=';
            out += n > 2 ? kBase64[v & 63] : '=';
        }
        out += "?=";
        at = end;
    }
    return out;
}

std::string HeaderText(const std::string& utf8, bool quoted) {
    bool plain = true;
    for (unsigned char ch : utf8) plain = plain && ch >= 0x20 && ch < 0x7F;
    if (!plain) return EncodedWords(utf8);
    if (!quoted) return utf8;
    std::string out = "\"";
    for (char ch : utf8) {
        if (ch == '"' || ch == '\\') out += '\\';
        out += ch;
    }
    return out + "\"";
}

// The number as the local part of an address that cannot be reached (RFC 2606's .invalid).
std::string Address(const std::u16string& number) {
    std::string local;
    for (char16_t c : number) {
        if ((c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') ||
            c == u'+' || c == u'-' || c == u'_' || c == u'.') {
            local.push_back(static_cast<char>(c));
        }
    }
    while (!local.empty() && local.front() == '.') local.erase(0, 1);
    while (!local.empty() && local.back() == '.') local.pop_back();
    if (local.empty()) local = "unknown";
    return local + "@sms.invalid";
}

std::string Mailbox(const std::u16string& name, const std::u16string& number) {
    const std::u16string& shown = name.empty() ? number : name;
    const std::string address = "<" + Address(number) + ">";
    if (shown.empty()) return address;
    return HeaderText(Utf16ToUtf8(shown), true) + " " + address;
}

std::string Subject(const std::u16string& text) {
    std::u16string line;
    for (char16_t c : text) {
        if (c == u'\r' || c == u'\n') {
            if (!line.empty()) break;
            continue;
        }
        line.push_back(c == u'\t' ? u' ' : c);
        if (line.size() >= 60) {
            line += u"...";
            break;
        }
    }
    return HeaderText(Utf16ToUtf8(line), false);
}

std::string MboxRow(const SmsMessage& m) {
    const bool inbox = m.folder == kFolderInbox;
    const std::string me = "Me <me@sms.invalid>";
    const std::string them = Mailbox(m.name, m.number);
    const std::string fromDate = m.time != 0 ? MboxFromLineDate(m.time) : std::string();
    std::string out = "From " + (inbox ? Address(m.number) : std::string("me@sms.invalid")) + " " +
                      (fromDate.empty() ? std::string("Thu Jan  1 00:00:00 1970") : fromDate) +
                      "\n";
    out += "From: " + (inbox ? them : me) + "\n";
    out += "To: " + (inbox ? me : them) + "\n";
    if (m.time != 0) {
        const std::string date = MailDate(m.time);
        if (!date.empty()) out += "Date: " + date + "\n";
    }
    out += "Subject: " + Subject(m.text) + "\n";
    out += "Message-ID: <sms." + std::to_string(m.oid) + "." + std::to_string(m.time) +
           "@velkan-tessiver.invalid>\n";
    out +=
        "MIME-Version: 1.0\nContent-Type: text/plain; charset=UTF-8\n"
        "Content-Transfer-Encoding: 8bit\n";
    out += std::string("X-SMS-Folder: ") + FolderWord(m.folder) + "\n";
    if (inbox) out += (m.flags & kFlagUnread) != 0 ? "Status: O\n" : "Status: RO\n";
    out += "\n";
    // The body line by line; a line that would read as a message's start ("From ", also after
    // quoting marks) gets one more ">" (mboxrd), which readers take away again.
    std::string body = Utf16ToUtf8(m.text);
    std::string line;
    auto flush = [&]() {
        std::size_t quotes = 0;
        while (quotes < line.size() && line[quotes] == '>') ++quotes;
        if (line.compare(quotes, 5, "From ") == 0) out += '>';
        out += line;
        out += '\n';
        line.clear();
    };
    for (std::size_t i = 0; i < body.size(); ++i) {
        const char ch = body[i];
        if (ch == '\r' || ch == '\n') {
            if (ch == '\r' && i + 1 < body.size() && body[i + 1] == '\n') ++i;
            flush();
        } else {
            line.push_back(ch);
        }
    }
    flush();
    out += "\n";
    return out;
}

// --- writing ---------------------------------------------------------------------------------

class Output {
  public:
    explicit Output(std::FILE* file) : file_(file) {}
    bool Write(const std::string& text) {
        if (failed_) return false;
        if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) {
            failed_ = true;
            error_ = std::strerror(errno);
        }
        return !failed_;
    }
    bool Flush() {
        if (!failed_ && std::fflush(file_) != 0) {
            failed_ = true;
            error_ = std::strerror(errno);
        }
        return !failed_;
    }
    const std::string& Error() const { return error_; }

  private:
    std::FILE* file_;
    bool failed_ = false;
    std::string error_;
};

}  // namespace

bool ParseExchangeFormat(std::string_view name, ExchangeFormat* format) {
    std::string lower(name);
    for (char& ch : lower) {
        if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
    }
    for (ExchangeFormat f : {ExchangeFormat::kCsv, ExchangeFormat::kJson, ExchangeFormat::kXml,
                             ExchangeFormat::kMbox}) {
        if (lower == ExchangeFormatName(f)) {
            *format = f;
            return true;
        }
    }
    return false;
}

const char* ExchangeFormatName(ExchangeFormat format) {
    switch (format) {
        case ExchangeFormat::kCsv:
            return "csv";
        case ExchangeFormat::kJson:
            return "json";
        case ExchangeFormat::kXml:
            return "xml";
        case ExchangeFormat::kMbox:
            return "mbox";
    }
    return "";
}

bool ExportMessages(MessageDatabase& db, ExchangeFormat format, FolderId folder, std::FILE* out,
                    const ExchangeProgress& progress, ExportSummary* summary) {
    *summary = ExportSummary{};
    auto failed = [&](const std::string& why) {
        summary->error = why;
        return false;
    };
    if (!db.IsOpen()) return failed("the store is not open");
    // The count written first and the messages after it come from one view of the store.
    MessageReadSnapshot snapshot(db);
    if (!snapshot.Started()) return failed("the store cannot be read: " + db.LastErrorText());
    std::uint64_t total = 0;
    const std::vector<FolderId> counted =
        folder == kEveryFolder
            ? std::vector<FolderId>{kFolderInbox, kFolderOutbox, kFolderDraft, kFolderSent}
            : std::vector<FolderId>{folder};
    for (FolderId f : counted) {
        std::uint32_t n = 0;
        if (!db.CountFolder(f, &n))
            return failed("the store cannot be read: " + db.LastErrorText());
        total += n;
    }

    Output output(out);
    switch (format) {
        case ExchangeFormat::kCsv:
            output.Write("id,time,flags,folder,name,number,text\r\n");
            break;
        case ExchangeFormat::kXml:
            output.Write(
                "<?xml version='1.0' encoding='UTF-8' standalone='yes' ?>\n<smses count=\"" +
                std::to_string(total) + "\">\n");
            break;
        case ExchangeFormat::kJson:
        case ExchangeFormat::kMbox:
            break;
    }
    if (progress && !progress(0, total)) return failed("the export was stopped");
    MessageDatabase::TimePosition at;
    std::vector<SmsMessage> chunk;
    while (!at.done) {
        if (!db.ReadInTimeOrder(folder, false, &at, kChunk, &chunk)) {
            return failed("the store cannot be read: " + db.LastErrorText());
        }
        for (const SmsMessage& m : chunk) {
            if (XmlType(m.folder) == 0) {
                ++summary->skipped;
                continue;
            }
            switch (format) {
                case ExchangeFormat::kCsv:
                    output.Write(CsvRow(m));
                    break;
                case ExchangeFormat::kJson:
                    output.Write(JsonRow(m));
                    break;
                case ExchangeFormat::kXml:
                    output.Write(XmlRow(m));
                    break;
                case ExchangeFormat::kMbox:
                    output.Write(MboxRow(m));
                    break;
            }
            ++summary->written;
        }
        if (!output.Flush()) return failed("the messages could not be written: " + output.Error());
        if (progress && !progress(std::min(summary->written, total), total)) {
            return failed("the export was stopped");
        }
    }
    if (format == ExchangeFormat::kXml) output.Write("</smses>\n");
    if (!output.Flush()) return failed("the messages could not be written: " + output.Error());
    return true;
}

bool ExportMessagesToFile(MessageDatabase& db, ExchangeFormat format, FolderId folder,
                          const std::string& path, const ExchangeProgress& progress,
                          ExportSummary* summary) {
    *summary = ExportSummary{};
    // Written beside its place and put there whole, so that a failed export leaves neither a
    // part of a file nor a damaged earlier one.
    std::string temporary = path + ".partial-XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0) {
        summary->error = path + " cannot be written: " + std::strerror(errno);
        return false;
    }
    fchmod(fd, 0600);
    std::FILE* file = fdopen(fd, "w");
    if (file == nullptr) {
        summary->error = path + " cannot be written: " + std::strerror(errno);
        close(fd);
        unlink(temporary.c_str());
        return false;
    }
    bool ok = ExportMessages(db, format, folder, file, progress, summary);
    if (ok && fsync(fileno(file)) != 0) {
        summary->error = path + " cannot be written: " + std::strerror(errno);
        ok = false;
    }
    if (std::fclose(file) != 0 && ok) {
        summary->error = path + " cannot be written: " + std::strerror(errno);
        ok = false;
    }
    if (ok && std::rename(temporary.c_str(), path.c_str()) != 0) {
        summary->error = path + " cannot be written: " + std::strerror(errno);
        ok = false;
    }
    if (!ok) unlink(temporary.c_str());
    return ok;
}
