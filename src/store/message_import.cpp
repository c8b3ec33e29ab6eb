// SPDX-License-Identifier: GPL-3.0-or-later
// Reading messages from the exchange formats into the store (store/message_exchange.h).
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "common/text_convert.h"
#include "store/csv_reader.h"
#include "store/exchange_time.h"
#include "store/import_input.h"
#include "store/json_line_reader.h"
#include "store/message_exchange.h"
#include "store/xml_element_reader.h"

namespace {

constexpr std::uint64_t kProgressEvery = 256;

std::u16string Lower(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& c : out) {
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
    }
    return out;
}

// An unsigned decimal number of at most `max`.
bool ParseNumber(std::u16string_view text, std::uint64_t max, std::uint64_t* value) {
    if (text.empty() || text.size() > 20) return false;
    std::uint64_t v = 0;
    for (char16_t c : text) {
        if (c < u'0' || c > u'9') return false;
        const std::uint64_t digit = static_cast<std::uint64_t>(c - u'0');
        if (v > (max - digit) / 10) return false;
        v = v * 10 + digit;
    }
    *value = v;
    return true;
}

bool ParseSignedNumber(std::u16string_view text, std::int64_t* value) {
    const bool negative = !text.empty() && text[0] == u'-';
    std::uint64_t magnitude = 0;
    if (!ParseNumber(negative ? text.substr(1) : text, static_cast<std::uint64_t>(INT64_MAX),
                     &magnitude)) {
        return false;
    }
    *value =
        negative ? -static_cast<std::int64_t>(magnitude) : static_cast<std::int64_t>(magnitude);
    return true;
}

// "inbox", "outbox", "draft", "sent" in any case, or 1 to 4.
bool ParseFolder(std::u16string_view text, FolderId* folder) {
    const std::u16string word = Lower(text);
    const std::pair<const char16_t*, FolderId> names[] = {
        {u"inbox", kFolderInbox}, {u"outbox", kFolderOutbox}, {u"draft", kFolderDraft},
        {u"sent", kFolderSent},   {u"1", kFolderInbox},       {u"2", kFolderOutbox},
        {u"3", kFolderDraft},     {u"4", kFolderSent}};
    for (const auto& [name, id] : names) {
        if (word == name) {
            *folder = id;
            return true;
        }
    }
    return false;
}

std::string Quoted(std::u16string_view text) {
    std::string shown = Utf16ToUtf8(text);
    if (shown.size() > 40) shown = shown.substr(0, 40) + "...";
    return "'" + shown + "'";
}

// What every format does with a message it read: the duplicate check, the write, the counts
// and the progress.
class Importer {
  public:
    Importer(MessageDatabase& db, ImportInput& in, std::uint64_t size,
             const ExchangeProgress& progress, ImportSummary* summary)
        : db_(db), in_(in), size_(size), progress_(progress), summary_(summary) {}

    // False: the store failed or the import was stopped (summary->error says so).
    bool Take(SmsMessage message) {
        ++summary_->read;
        message.oid = 0;
        bool found = false;
        if (!db_.HasDuplicate(message, &found)) return StoreFailed();
        if (found) {
            ++summary_->duplicates;
        } else {
            if (!WriteMessageKeepingTime(db_, message)) return StoreFailed();
            ++summary_->added;
            if (message.folder == kFolderOutbox) ++summary_->toOutbox;
        }
        if (summary_->read % kProgressEvery == 0 && !Progress()) return false;
        return true;
    }

    bool Progress() {
        if (progress_ && !progress_(in_.Consumed(), std::max(size_, in_.Consumed()))) {
            summary_->error = "the import was stopped";
            return false;
        }
        return true;
    }

    // The file is at fault.
    bool Damaged(const std::string& what) {
        summary_->error = what;
        summary_->fileDamaged = true;
        return false;
    }

  private:
    bool StoreFailed() {
        summary_->error = "the store could not take the messages: " + db_.LastErrorText();
        return false;
    }

    MessageDatabase& db_;
    ImportInput& in_;
    std::uint64_t size_;
    const ExchangeProgress& progress_;
    ImportSummary* summary_;
};

// --- XML of SMS Backup & Restore -------------------------------------------------------------

bool SmsFromElement(const XmlElementReader& xml, SmsMessage* m, std::string* error) {
    const std::string where = "line " + std::to_string(xml.Line()) + ": <sms>";
    const std::u16string* date = xml.Attribute("date");
    const std::u16string* type = xml.Attribute("type");
    if (date == nullptr) {
        *error = where + " has no date";
        return false;
    }
    if (type == nullptr) {
        *error = where + " has no type";
        return false;
    }
    std::int64_t ms = 0;
    if (!ParseSignedNumber(*date, &ms)) {
        *error = where + " has the date " + Quoted(*date) + ", not milliseconds since 1970";
        return false;
    }
    m->time = 0;  // 0: no time
    if (ms != 0 && !UnixMsToLocalFileTime(ms, &m->time)) {
        *error = where + " has the date " + Quoted(*date) + ", which is out of range";
        return false;
    }
    // Received, sent, draft, outbox; failed (5) becomes a draft, so that nothing the phone
    // gave up on goes out by itself; queued (6) waits in the Outbox as it did on the phone.
    std::uint64_t kind = 0;
    ParseNumber(*type, 6, &kind);
    switch (kind) {
        case 1:
            m->folder = kFolderInbox;
            break;
        case 2:
            m->folder = kFolderSent;
            break;
        case 3:
            m->folder = kFolderDraft;
            break;
        case 4:
            m->folder = kFolderOutbox;
            break;
        case 5:
            m->folder = kFolderDraft;
            break;
        case 6:
            m->folder = kFolderOutbox;
            break;
        default:
            *error = where + " has the type " + Quoted(*type) + " (1 to 6 are known)";
            return false;
    }
    const std::u16string* address = xml.Attribute("address");
    const std::u16string* body = xml.Attribute("body");
    const std::u16string* name = xml.Attribute("contact_name");
    const std::u16string* read = xml.Attribute("read");
    m->number = address != nullptr && *address != u"null" ? *address : u"";
    m->text = body != nullptr ? *body : u"";
    m->name = name != nullptr && *name != u"(Unknown)" && *name != u"null" ? *name : u"";
    m->flags = m->folder == kFolderInbox && read != nullptr && *read == u"0" ? kFlagUnread : 0;
    return true;
}

bool ImportXml(Importer& importer, ImportInput& in, ImportSummary* summary) {
    XmlElementReader xml(in);
    for (;;) {
        switch (xml.Next()) {
            case XmlElementReader::Event::kError:
                return importer.Damaged(xml.Error());
            case XmlElementReader::Event::kEndOfDocument:
                return true;
            case XmlElementReader::Event::kEnd:
                continue;
            case XmlElementReader::Event::kStart:
                break;
        }
        const std::string where = "line " + std::to_string(xml.Line()) + ": ";
        if (xml.Depth() == 1) {
            if (xml.Name() != "smses") {
                return importer.Damaged(where + "the file is <" + xml.Name() +
                                        ">, not an SMS backup (<smses>)");
            }
            continue;
        }
        if (xml.Depth() > 2) continue;  // the parts and addresses of an MMS
        if (xml.Name() == "mms") {
            ++summary->mmsSkipped;
        } else if (xml.Name() == "sms") {
            SmsMessage m;
            std::string error;
            if (!SmsFromElement(xml, &m, &error)) return importer.Damaged(error);
            if (!importer.Take(std::move(m))) return false;
        } else {
            return importer.Damaged(where + "<" + xml.Name() + "> where <sms> or <mms> belongs");
        }
    }
}

// --- CSV -------------------------------------------------------------------------------------

bool ImportCsv(Importer& importer, ImportInput& in) {
    CsvReader csv(in);
    std::vector<std::u16string> fields;
    if (!csv.Next(&fields)) {
        return importer.Damaged(csv.Error().empty() ? "the file is empty: a header row is needed"
                                                    : csv.Error());
    }
    enum Column { kId, kTime, kFlags, kFolder, kName, kNumber, kText, kColumns };
    const char16_t* names[kColumns] = {u"id",   u"time",   u"flags", u"folder",
                                       u"name", u"number", u"text"};
    int at[kColumns];
    std::fill(at, at + kColumns, -1);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        int found = -1;
        for (int c = 0; c < kColumns; ++c) {
            if (Lower(fields[i]) == names[c]) found = c;
        }
        if (found < 0) {
            return importer.Damaged("line 1: the column " + Quoted(fields[i]) +
                                    " is unknown (id, time, flags, folder, name, number, text)");
        }
        if (at[found] >= 0) {
            return importer.Damaged("line 1: the column " + Quoted(fields[i]) + " is there twice");
        }
        at[found] = static_cast<int>(i);
    }
    for (int c : {kTime, kFolder, kNumber, kText}) {
        if (at[c] < 0) {
            return importer.Damaged("line 1: the header has no column " + Utf16ToUtf8(names[c]));
        }
    }
    const std::size_t columns = fields.size();
    while (csv.Next(&fields)) {
        const std::string where = "line " + std::to_string(csv.Line()) + ": ";
        if (fields.size() != columns) {
            return importer.Damaged(where + std::to_string(fields.size()) +
                                    " fields, where the header has " + std::to_string(columns));
        }
        SmsMessage m;
        if (!ParseFolder(fields[static_cast<std::size_t>(at[kFolder])], &m.folder)) {
            return importer.Damaged(where + "the folder " +
                                    Quoted(fields[static_cast<std::size_t>(at[kFolder])]) +
                                    " is none of inbox, outbox, draft, sent");
        }
        const std::u16string& time = fields[static_cast<std::size_t>(at[kTime])];
        std::string error;
        if (!time.empty() && !ParseIsoLocalTime(Utf16ToUtf8(time), &m.time, &error)) {
            return importer.Damaged(where + error);
        }
        if (at[kFlags] >= 0) {
            const std::u16string& flags = fields[static_cast<std::size_t>(at[kFlags])];
            std::uint64_t v = 0;
            if (!flags.empty() && !ParseNumber(flags, 0xFFFFFFFFull, &v)) {
                return importer.Damaged(where + "the flags " + Quoted(flags) + " are not a number");
            }
            m.flags = static_cast<std::uint32_t>(v);
        }
        if (at[kName] >= 0) m.name = fields[static_cast<std::size_t>(at[kName])];
        m.number = fields[static_cast<std::size_t>(at[kNumber])];
        m.text = fields[static_cast<std::size_t>(at[kText])];
        if (!importer.Take(std::move(m))) return false;
    }
    if (!csv.Error().empty()) return importer.Damaged(csv.Error());
    return true;
}

// --- JSON lines ------------------------------------------------------------------------------

bool ImportJson(Importer& importer, ImportInput& in) {
    JsonLineReader json(in);
    std::vector<JsonField> fields;
    while (json.Next(&fields)) {
        const std::string where = "line " + std::to_string(json.Line()) + ": ";
        SmsMessage m;
        bool folder = false, text = false;
        for (const JsonField& f : fields) {
            const bool isString = f.kind == JsonField::Kind::kString;
            if (f.key == "folder") {
                const std::u16string value =
                    f.kind == JsonField::Kind::kNumber ? Utf8ToUtf16(f.number) : f.text;
                if ((!isString && f.kind != JsonField::Kind::kNumber) ||
                    !ParseFolder(value, &m.folder)) {
                    return importer.Damaged(where +
                                            "\"folder\" is none of inbox, outbox, draft, sent");
                }
                folder = true;
            } else if (f.key == "time") {
                std::string error;
                if (f.kind == JsonField::Kind::kNull) {
                    m.time = 0;
                } else if (!isString || !ParseIsoLocalTime(Utf16ToUtf8(f.text), &m.time, &error)) {
                    return importer.Damaged(
                        where +
                        "\"time\": " + (error.empty() ? "a string or null is expected" : error));
                }
            } else if (f.key == "flags") {
                std::uint64_t v = 0;
                if (f.kind != JsonField::Kind::kNumber ||
                    !ParseNumber(Utf8ToUtf16(f.number), 0xFFFFFFFFull, &v)) {
                    return importer.Damaged(where +
                                            "\"flags\" is not a number from 0 to 4294967295");
                }
                m.flags = static_cast<std::uint32_t>(v);
            } else if (f.key == "name" || f.key == "number" || f.key == "text") {
                if (!isString && f.kind != JsonField::Kind::kNull) {
                    return importer.Damaged(where + "\"" + f.key + "\" is not a string");
                }
                std::u16string& target = f.key == "name"     ? m.name
                                         : f.key == "number" ? m.number
                                                             : m.text;
                target = f.text;
                text = text || f.key == "text";
            }
            // Other fields (id, mayHaveBeenSent, notEncodable, ...) say nothing new.
        }
        if (!folder) return importer.Damaged(where + "the object has no \"folder\"");
        if (!text) return importer.Damaged(where + "the object has no \"text\"");
        if (!importer.Take(std::move(m))) return false;
    }
    if (!json.Error().empty()) return importer.Damaged(json.Error());
    return true;
}

bool EndsWith(const std::string& text, const std::string& end) {
    if (text.size() < end.size()) return false;
    for (std::size_t i = 0; i < end.size(); ++i) {
        char c = text[text.size() - end.size() + i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != end[i]) return false;
    }
    return true;
}

}  // namespace

bool ImportMessages(MessageDatabase& db, ExchangeFormat format, std::FILE* in, std::uint64_t size,
                    const ExchangeProgress& progress, ImportSummary* summary) {
    *summary = ImportSummary{};
    if (format == ExchangeFormat::kMbox) {
        summary->error = "mbox files are written, not read";
        return false;
    }
    if (!db.IsOpen()) {
        summary->error = "the store is not open";
        return false;
    }
    // Everything in one transaction: all the file's messages, or none.
    if (!db.BeginTransaction()) {
        summary->error = "the store could not take the messages: " + db.LastErrorText();
        return false;
    }
    ImportInput input(in);
    Importer importer(db, input, size, progress, summary);
    bool ok = importer.Progress();
    if (ok) {
        switch (format) {
            case ExchangeFormat::kXml:
                ok = ImportXml(importer, input, summary);
                break;
            case ExchangeFormat::kCsv:
                ok = ImportCsv(importer, input);
                break;
            case ExchangeFormat::kJson:
                ok = ImportJson(importer, input);
                break;
            case ExchangeFormat::kMbox:
                ok = false;
                break;
        }
    }
    if (ok) ok = importer.Progress();
    if (ok && !db.CommitTransaction()) {
        summary->error = "the store could not take the messages: " + db.LastErrorText();
        ok = false;
    }
    if (!ok) {
        db.RollbackTransaction();
        const ImportSummary failed = *summary;
        *summary = ImportSummary{};
        summary->error = failed.error;
        summary->fileDamaged = failed.fileDamaged;
        summary->read = failed.read;
    }
    return ok;
}

bool ImportMessagesFromFile(MessageDatabase& db, const std::string& path,
                            const ExchangeFormat* format, const ExchangeProgress& progress,
                            ImportSummary* summary) {
    *summary = ImportSummary{};
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        summary->error = path + " cannot be read: " + std::strerror(errno);
        summary->fileDamaged = true;
        return false;
    }
    struct stat st;
    const std::uint64_t size = fstat(fileno(file), &st) == 0 && S_ISREG(st.st_mode)
                                   ? static_cast<std::uint64_t>(st.st_size)
                                   : 0;
    ExchangeFormat chosen;
    if (format != nullptr) {
        chosen = *format;
    } else {
        int first = std::getc(file);
        while (first == ' ' || first == '\t' || first == '\r' || first == '\n') {
            first = std::getc(file);
        }
        chosen = GuessImportFormat(path, first);
        std::rewind(file);
    }
    const bool ok = ImportMessages(db, chosen, file, size, progress, summary);
    std::fclose(file);
    return ok;
}

ExchangeFormat GuessImportFormat(const std::string& path, int firstByte) {
    if (EndsWith(path, ".xml")) return ExchangeFormat::kXml;
    if (EndsWith(path, ".csv")) return ExchangeFormat::kCsv;
    if (EndsWith(path, ".json") || EndsWith(path, ".jsonl") || EndsWith(path, ".ndjson")) {
        return ExchangeFormat::kJson;
    }
    if (firstByte == '<') return ExchangeFormat::kXml;
    if (firstByte == '{') return ExchangeFormat::kJson;
    return ExchangeFormat::kCsv;
}
