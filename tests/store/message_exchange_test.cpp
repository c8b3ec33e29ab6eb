// SPDX-License-Identifier: GPL-3.0-or-later
// Messages out of the store and back: CSV, JSON lines and the XML of "SMS Backup & Restore"
// give the same messages after an export and an import into an empty store; a backup file as
// the app writes it imports with its entities, emoji and MMS entries; a damaged file imports
// nothing and says where it is damaged; importing twice adds nothing.
#include "store/message_exchange.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "store/exchange_time.h"
#include "store_test_util.h"

namespace fs = std::filesystem;

namespace {

FileTime At(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour,
            std::uint16_t minute, std::uint16_t second, std::uint16_t ms = 0) {
    FileTime ft = 0;
    SystemTimeToFileTime({year, month, 0, day, hour, minute, second, ms}, &ft);
    return ft;
}

// The process's time zone for one test.
class TimeZone {
  public:
    explicit TimeZone(const char* zone) {
        const char* old = std::getenv("TZ");
        if (old != nullptr) saved_ = old;
        had_ = old != nullptr;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        if (had_) {
            setenv("TZ", saved_.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

  private:
    std::string saved_;
    bool had_ = false;
};

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// Every message of the store, oldest first, without ids.
std::vector<SmsMessage> All(MessageDatabase& db) {
    std::vector<SmsMessage> out, chunk;
    MessageDatabase::TimePosition at;
    while (!at.done) {
        EXPECT_TRUE(db.ReadInTimeOrder(kEveryFolder, false, &at, 100, &chunk));
        for (SmsMessage& m : chunk) out.push_back(std::move(m));
    }
    return out;
}

struct Fields {
    FolderId folder;
    FileTime time;
    std::u16string name, number, text;
    std::uint32_t flags;
    bool operator==(const Fields&) const = default;
};

void PrintTo(const Fields& f, std::ostream* os) {
    *os << "{folder " << f.folder << ", time " << f.time << ", flags " << f.flags << ", name "
        << ::testing::PrintToString(f.name) << ", number " << ::testing::PrintToString(f.number)
        << ", text " << ::testing::PrintToString(f.text) << "}";
}

std::vector<Fields> FieldsOf(const std::vector<SmsMessage>& messages) {
    std::vector<Fields> out;
    for (const SmsMessage& m : messages) {
        out.push_back({m.folder, m.time, m.name, m.number, m.text, m.flags});
    }
    return out;
}

// A store of its own in a folder of its own; the data folder follows the store last opened.
class Store {
  public:
    Store() {
        std::string pattern = (fs::temp_directory_path() / "velkan-exchange-XXXXXX").string();
        root_ = mkdtemp(pattern.data());
        SetStoreDataDirectory(root_ + "/data");
        EXPECT_TRUE(OpenMessageStore(db));
    }
    ~Store() {
        SetStoreDataDirectory("");
        std::error_code ec;
        fs::remove_all(root_, ec);
    }
    std::string File(const std::string& name) const { return root_ + "/" + name; }

    MessageDatabase db;

  private:
    std::string root_;
};

bool Export(MessageDatabase& db, ExchangeFormat format, const std::string& path,
            FolderId folder = kEveryFolder, ExportSummary* summary = nullptr) {
    ExportSummary local;
    const bool ok = ExportMessagesToFile(db, format, folder, path, nullptr,
                                         summary != nullptr ? summary : &local);
    EXPECT_TRUE(ok) << (summary != nullptr ? summary->error : local.error);
    return ok;
}

ImportSummary Import(MessageDatabase& db, ExchangeFormat format, const std::string& path,
                     const ExchangeProgress& progress = nullptr) {
    ImportSummary summary;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    EXPECT_NE(file, nullptr) << path;
    if (file == nullptr) return summary;
    ImportMessages(db, format, file, fs::file_size(path), progress, &summary);
    std::fclose(file);
    return summary;
}

// Messages with everything a file format can trip over.
std::vector<SmsMessage> Awkward() {
    std::vector<SmsMessage> out;
    auto add = [&](FolderId folder, FileTime time, std::u16string name, std::u16string number,
                   std::u16string text, std::uint32_t flags = 0) {
        SmsMessage m;
        m.folder = folder;
        m.time = time;
        m.name = std::move(name);
        m.number = std::move(number);
        m.text = std::move(text);
        m.flags = flags;
        out.push_back(std::move(m));
    };
    add(kFolderInbox, At(2024, 1, 15, 12, 0, 0), u"Änne \"Ann\" Müller, Jr.", u"+4930123456",
        u"Grüße, 5 € & <tags> 'quotes' \"double\"", kFlagUnread);
    add(kFolderInbox, At(2024, 7, 1, 12, 0, 0, 250), u"", u"+4930123456",
        u"Two\r\nlines\nand\ttab; From here", kFlagUnread | kFlagFlash);
    add(kFolderSent, At(2024, 7, 1, 12, 0, 0, 250), u"Bob", u"0301234567",
        u"Emoji \xD83D\xDE00 and \xD83C\xDF89, same time as the one before");
    add(kFolderOutbox, At(2024, 7, 2, 8, 30, 0), u"Łukasz", u"+48601234567", u"Łódź o ósmej",
        kFlagMayHaveBeenSent);
    add(kFolderDraft, At(2024, 7, 3, 9, 0, 0), u"", u"", u"");
    add(kFolderDraft, At(2024, 7, 3, 9, 0, 1), u"Esc", u"+1",
        std::u16string(u"esc \x1B bell \x07"));
    add(kFolderSent, At(1999, 12, 31, 23, 59, 59, 999), u"Y2K", u"+1555", u"From the past");
    add(kFolderInbox, 0, u"No time", u"+1", u"A message without a time");
    return out;
}

SmsMessage Clone(const SmsMessage& m) {
    SmsMessage c;
    c.folder = m.folder;
    c.time = m.time;
    c.name = m.name;
    c.number = m.number;
    c.text = m.text;
    c.flags = m.flags;
    return c;
}

void Fill(MessageDatabase& db, const std::vector<SmsMessage>& messages) {
    MessageStoreBatch batch(db);
    for (const SmsMessage& m : messages) {
        SmsMessage c = Clone(m);
        ASSERT_TRUE(WriteMessageKeepingTime(db, c));
    }
    ASSERT_TRUE(batch.Commit());
}

void Fill(MessageDatabase& db, const SmsMessage& m) {
    std::vector<SmsMessage> one;
    one.push_back(Clone(m));
    Fill(db, one);
}

// What an XML round trip keeps: no flag but an Inbox message's new mark.
std::vector<Fields> AsXmlKeepsThem(std::vector<Fields> fields) {
    for (Fields& f : fields) f.flags = f.folder == kFolderInbox ? f.flags & kFlagUnread : 0;
    return fields;
}

class ExchangeTest : public ::testing::Test {
  protected:
    TimeZone zone_{"Europe/Berlin"};
};

TEST_F(ExchangeTest, CsvJsonAndXmlGiveTheSameMessagesBackInAnEmptyStore) {
    Store from;
    Fill(from.db, Awkward());
    const std::vector<Fields> expected = FieldsOf(All(from.db));
    ASSERT_EQ(expected.size(), Awkward().size());
    for (ExchangeFormat format :
         {ExchangeFormat::kCsv, ExchangeFormat::kJson, ExchangeFormat::kXml}) {
        SCOPED_TRACE(ExchangeFormatName(format));
        const std::string file = from.File(std::string("export.") + ExchangeFormatName(format));
        ExportSummary exported;
        ASSERT_TRUE(Export(from.db, format, file, kEveryFolder, &exported));
        EXPECT_EQ(exported.written, expected.size());
        Store to;
        const ImportSummary imported = Import(to.db, format, file);
        EXPECT_TRUE(imported.error.empty()) << imported.error;
        EXPECT_EQ(imported.added, expected.size());
        EXPECT_EQ(imported.toOutbox, 1u);
        EXPECT_EQ(FieldsOf(All(to.db)),
                  format == ExchangeFormat::kXml ? AsXmlKeepsThem(expected) : expected);
        // The same file again adds nothing.
        const ImportSummary again = Import(to.db, format, file);
        EXPECT_EQ(again.added, 0u);
        EXPECT_EQ(again.duplicates, expected.size());
        EXPECT_EQ(All(to.db).size(), expected.size());
    }
}

// A string that UTF-8 cannot carry (an unpaired surrogate) comes back from JSON and XML as it
// was; CSV, plain UTF-8, carries the replacement character.
TEST_F(ExchangeTest, AnUnpairedSurrogateSurvivesJsonAndXml) {
    Store from;
    SmsMessage m;
    m.folder = kFolderInbox;
    m.time = At(2024, 3, 1, 10, 0, 0);
    m.number = u"+49";
    m.text = std::u16string(u"lone \xD800 here");
    Fill(from.db, m);
    for (ExchangeFormat format :
         {ExchangeFormat::kJson, ExchangeFormat::kXml, ExchangeFormat::kCsv}) {
        SCOPED_TRACE(ExchangeFormatName(format));
        const std::string file = from.File(std::string("lone.") + ExchangeFormatName(format));
        ASSERT_TRUE(Export(from.db, format, file));
        Store to;
        EXPECT_EQ(Import(to.db, format, file).added, 1u);
        const std::vector<SmsMessage> back = All(to.db);
        ASSERT_EQ(back.size(), 1u);
        EXPECT_EQ(back[0].text,
                  format == ExchangeFormat::kCsv ? std::u16string(u"lone \xFFFD here") : m.text);
    }
}

// The store's local times become instants through the time zone of that date.
TEST_F(ExchangeTest, TimesAreWrittenInEachFormatsConvention) {
    Store store;
    std::vector<SmsMessage> messages = Awkward();
    messages.resize(2);  // 2024-01-15 12:00 (CET) and 2024-07-01 12:00:00.250 (CEST)
    Fill(store.db, messages);
    const std::string xml = store.File("t.xml"), csv = store.File("t.csv"),
                      json = store.File("t.json"), mbox = store.File("t.mbox");
    ASSERT_TRUE(Export(store.db, ExchangeFormat::kXml, xml));
    ASSERT_TRUE(Export(store.db, ExchangeFormat::kCsv, csv));
    ASSERT_TRUE(Export(store.db, ExchangeFormat::kJson, json));
    ASSERT_TRUE(Export(store.db, ExchangeFormat::kMbox, mbox));
    EXPECT_NE(ReadFile(xml).find("date=\"1705316400000\""), std::string::npos);  // 11:00 UTC
    EXPECT_NE(ReadFile(xml).find("date=\"1719828000250\""), std::string::npos);  // 10:00:00.25
    EXPECT_NE(ReadFile(csv).find(",2024-01-15 12:00:00,"), std::string::npos);
    EXPECT_NE(ReadFile(csv).find(",2024-07-01 12:00:00.25,"), std::string::npos);
    EXPECT_NE(ReadFile(json).find("\"time\":\"2024-07-01T12:00:00.25\""), std::string::npos);
    EXPECT_NE(ReadFile(mbox).find("Date: Mon, 15 Jan 2024 12:00:00 +0100\n"), std::string::npos);
    EXPECT_NE(ReadFile(mbox).find("Date: Mon, 01 Jul 2024 12:00:00 +0200\n"), std::string::npos);
    EXPECT_NE(ReadFile(mbox).find("From +4930123456@sms.invalid Mon Jan 15 11:00:00 2024\n"),
              std::string::npos)
        << ReadFile(mbox);

    std::int64_t ms = 0;
    ASSERT_TRUE(LocalFileTimeToUnixMs(At(2024, 7, 1, 12, 0, 0, 250), &ms));
    EXPECT_EQ(ms, 1719828000250);
    FileTime back = 0;
    ASSERT_TRUE(UnixMsToLocalFileTime(ms, &back));
    EXPECT_EQ(back, At(2024, 7, 1, 12, 0, 0, 250));
    std::string error;
    EXPECT_FALSE(ParseIsoLocalTime("2024-07-01T12:00:00Z", &back, &error));
    EXPECT_FALSE(ParseIsoLocalTime("2024-02-30 12:00:00", &back, &error));
    EXPECT_FALSE(ParseIsoLocalTime("2024-07-01 12:00:00.12345678", &back, &error));
    ASSERT_TRUE(ParseIsoLocalTime("2024-07-01 12:00:00.1234567", &back, &error)) << error;
    EXPECT_EQ(back, At(2024, 7, 1, 12, 0, 0) + 1234567);
    ASSERT_TRUE(ParseIsoLocalTime("2024-07-01 12:00", &back, &error)) << error;
    EXPECT_EQ(back, At(2024, 7, 1, 12, 0, 0));
}

TEST_F(ExchangeTest, OneFolderOrTheLogAlone) {
    Store store;
    Fill(store.db, Awkward());
    const std::string file = store.File("sent.json");
    ExportSummary summary;
    ASSERT_TRUE(Export(store.db, ExchangeFormat::kJson, file, kFolderSent, &summary));
    EXPECT_EQ(summary.written, 2u);
    ASSERT_TRUE(Export(store.db, ExchangeFormat::kJson, file, kFolderLog, &summary));
    EXPECT_EQ(summary.written, 5u);
    ASSERT_TRUE(Export(store.db, ExchangeFormat::kXml, file, kFolderOutbox, &summary));
    EXPECT_NE(ReadFile(file).find("<smses count=\"1\">"), std::string::npos);
}

// An export that is stopped, or cannot be written, leaves no file, and an earlier file as it was.
TEST_F(ExchangeTest, AStoppedExportLeavesTheEarlierFileAlone) {
    Store store;
    Fill(store.db, Awkward());
    const std::string file = store.File("export.csv");
    WriteFile(file, "earlier");
    ExportSummary summary;
    EXPECT_FALSE(ExportMessagesToFile(
        store.db, ExchangeFormat::kCsv, kEveryFolder, file,
        [](std::uint64_t done, std::uint64_t) { return done == 0; }, &summary));
    EXPECT_FALSE(summary.error.empty());
    EXPECT_EQ(ReadFile(file), "earlier");
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(fs::path(file).parent_path())) {
        files += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(files, 1u) << "no part of a file was left behind";
    EXPECT_FALSE(ExportMessagesToFile(store.db, ExchangeFormat::kCsv, kEveryFolder,
                                      store.File("no/such/folder.csv"), nullptr, &summary));
}

// --- a backup as the app writes it -----------------------------------------------------------

constexpr int kBackupMessages = 1000;
constexpr int kBackupMms = 10;
constexpr std::int64_t kFirstMs = 1700000000000;  // 2023-11-14 22:13:20 UTC

// The body of message i, as the app writes it (its character references included), and what
// the program must read from it.
struct Body {
    std::string written;
    std::u16string read;
};

Body BodyOf(int i) {
    const std::string n = std::to_string(i);
    const std::u16string u(n.begin(), n.end());
    switch (i % 6) {
        case 0:
            return {"Plain " + n, u"Plain " + u};
        case 1:
            return {"Fish &amp; chips &lt;3 &quot;now&quot; &apos;" + n + "&apos; &gt;",
                    u"Fish & chips <3 \"now\" '" + u + u"' >"};
        case 2:
            return {"Line one&#10;line two " + n + "&#13;&#10;end",
                    u"Line one\nline two " + u + u"\r\nend"};
        case 3:
            return {"Emoji &#55357;&#56832; as the app writes it " + n,
                    u"Emoji \xD83D\xDE00 as the app writes it " + u};
        case 4:
            return {"Grüße \xF0\x9F\x8E\x89 in UTF-8 " + n, u"Grüße \xD83C\xDF89 in UTF-8 " + u};
        default:
            return {"Hex &#x41;&#x42; and escape &#27; " + n, u"Hex AB and escape \x1B " + u};
    }
}

// Types 1 to 6 in turn; read is 0 for every seventh message.
std::string BackupFile(int messages, int mms) {
    std::string xml =
        "<?xml version='1.0' encoding='UTF-8' standalone='yes' ?>\n"
        "<!--File Created By SMS Backup & Restore v10.20.002 on 24/11/2026 10:15:00-->\n"
        "<?xml-stylesheet type=\"text/xsl\" href=\"sms.xsl\"?>\n"
        "<smses count=\"" +
        std::to_string(messages + mms) +
        "\" backup_set=\"a1b2c3\" backup_date=\"1795500000000\" type=\"full\">\n";
    for (int i = 0; i < messages; ++i) {
        const std::string date = std::to_string(kFirstMs + static_cast<std::int64_t>(i) * 60'000);
        const int type = 1 + i % 6;
        xml += "  <sms protocol=\"0\" address=\"+49151" + std::to_string(1000000 + i % 50) +
               "\" date=\"" + date + "\" type=\"" + std::to_string(type) +
               "\" subject=\"null\" body=\"" + BodyOf(i).written +
               "\" toa=\"null\" sc_toa=\"null\" service_center=\"+491770610000\" read=\"" +
               (i % 7 == 0 ? "0" : "1") + "\" status=\"-1\" locked=\"0\" date_sent=\"" + date +
               "\" sub_id=\"1\" readable_date=\"14.11.2023 23:13:20\" contact_name=\"" +
               (i % 3 == 0 ? std::string("(Unknown)") : "Zoë " + std::to_string(i % 50)) +
               "\" />\n";
        if (i % (messages / mms) == 5) {
            xml += "  <mms date=\"" + date +
                   "\" ct_t=\"application/vnd.wap.multipart.related\" msg_box=\"1\" rr=\"null\""
                   " sub=\"null\" read=\"1\" address=\"+4915112345\" m_type=\"132\">\n"
                   "    <parts>\n"
                   "      <part seq=\"-1\" ct=\"application/smil\" name=\"null\" "
                   "text=\"&lt;smil&gt;\" />\n"
                   "      <part seq=\"0\" ct=\"image/jpeg\" name=\"IMG.jpg\" "
                   "data=\"/9j/4AAQSkZJRg==\" />\n"
                   "    </parts>\n"
                   "    <addrs>\n"
                   "      <addr address=\"+4915112345\" type=\"137\" charset=\"106\" />\n"
                   "    </addrs>\n"
                   "  </mms>\n";
        }
    }
    return xml + "</smses>\n";
}

TEST_F(ExchangeTest, APhoneBackupImportsWithItsEntitiesEmojiAndMmsEntries) {
    Store store;
    const std::string file = store.File("sms-20261124101500.xml");
    WriteFile(file, BackupFile(kBackupMessages, kBackupMms));
    std::vector<std::uint64_t> progress;
    const ImportSummary summary =
        Import(store.db, ExchangeFormat::kXml, file, [&](std::uint64_t done, std::uint64_t total) {
            EXPECT_EQ(total, fs::file_size(file));
            progress.push_back(done);
            return true;
        });
    ASSERT_TRUE(summary.error.empty()) << summary.error;
    EXPECT_EQ(summary.read, static_cast<std::uint64_t>(kBackupMessages));
    EXPECT_EQ(summary.added, static_cast<std::uint64_t>(kBackupMessages));
    EXPECT_EQ(summary.mmsSkipped, static_cast<std::uint64_t>(kBackupMms));
    EXPECT_EQ(summary.toOutbox, static_cast<std::uint64_t>(2 * kBackupMessages / 6));
    ASSERT_GE(progress.size(), 3u);
    EXPECT_EQ(progress.front(), 0u);
    EXPECT_EQ(progress.back(), fs::file_size(file));
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));

    const std::vector<SmsMessage> all = All(store.db);
    ASSERT_EQ(all.size(), static_cast<std::size_t>(kBackupMessages));
    const FolderId folders[] = {kFolderInbox,  kFolderSent,  kFolderDraft,
                                kFolderOutbox, kFolderDraft, kFolderOutbox};
    for (int i = 0; i < kBackupMessages; ++i) {
        SCOPED_TRACE(i);
        const SmsMessage& m = all[static_cast<std::size_t>(i)];  // oldest first: file order
        FileTime time = 0;
        ASSERT_TRUE(UnixMsToLocalFileTime(kFirstMs + static_cast<std::int64_t>(i) * 60'000, &time));
        EXPECT_EQ(m.time, time);
        EXPECT_EQ(m.folder, folders[i % 6]);
        EXPECT_EQ(m.text, BodyOf(i).read);
        const std::string number = "+49151" + std::to_string(1000000 + i % 50);
        EXPECT_EQ(m.number, std::u16string(number.begin(), number.end()));
        const std::string name = i % 3 == 0 ? "" : "Zo\xC3\xAB " + std::to_string(i % 50);
        EXPECT_EQ(m.name,
                  i % 3 == 0 ? u"" : u"Zoë " + std::u16string(name.begin() + 5, name.end()));
        EXPECT_EQ(m.flags, m.folder == kFolderInbox && i % 7 == 0 ? kFlagUnread : 0u);
    }
    // 2023-11-14 22:13:20 UTC is 23:13:20 in Berlin.
    EXPECT_EQ(all[0].time, At(2023, 11, 14, 23, 13, 20));

    const ImportSummary again = Import(store.db, ExchangeFormat::kXml, file);
    EXPECT_EQ(again.added, 0u);
    EXPECT_EQ(again.duplicates, static_cast<std::uint64_t>(kBackupMessages));
    EXPECT_EQ(All(store.db).size(), static_cast<std::size_t>(kBackupMessages));
}

// Every kind of damage leaves the store as it was and names the line.
TEST_F(ExchangeTest, ADamagedBackupImportsNothingAndSaysWhere) {
    const std::string good = BackupFile(40, 2);
    // The line of the 21st <sms>: the declaration, the comment, the stylesheet, <smses>, then
    // one line per message and six per MMS (the first MMS after the 6th message).
    const int line21 = 4 + 21 + 6;
    auto lineOf = [&](int n) {
        std::size_t at = 0;
        for (int i = 1; i < n; ++i) at = good.find('\n', at) + 1;
        return at;
    };
    const std::size_t at21 = lineOf(line21);
    ASSERT_EQ(good.compare(at21, 6, "  <sms"), 0) << good.substr(at21, 40);
    auto replaced = [&](const std::string& from, const std::string& to) {
        std::string bad = good;
        const std::size_t where = bad.find(from, at21);
        EXPECT_NE(where, std::string::npos) << from;
        return bad.replace(where, from.size(), to);
    };
    struct Case {
        const char* what;
        std::string file;
        std::string says;
    };
    const std::vector<Case> cases = {
        {"cut short", good.substr(0, at21 + 30),
         "line " + std::to_string(line21) + ", column 3: the file ends inside the tag <sms>"},
        {"cut after an element", good.substr(0, at21), "the file ends inside <smses>"},
        {"unknown entity", replaced("body=\"", "body=\"&nbsp;"), "line " + std::to_string(line21)},
        {"date not a number", replaced("date=\"", "date=\"yesterday"),
         "line " + std::to_string(line21) + ": <sms> has the date"},
        {"no date", replaced(" date=\"", " dated=\""),
         "line " + std::to_string(line21) + ": <sms> has no date"},
        {"unknown type", replaced("type=\"", "type=\"9"),
         "line " + std::to_string(line21) + ": <sms> has the type"},
        {"unclosed tag", replaced("\" />", "\" >"), "does not close <sms>"},
        {"attribute twice", replaced(" locked=", " read=\"1\" locked="), "is given twice"},
        {"raw ampersand", replaced("body=\"", "body=\"A & B"), "line " + std::to_string(line21)},
        {"not UTF-8", replaced("body=\"", "body=\"\xFF"), "not UTF-8"},
        {"another element", replaced("<sms ", "<call "), "<call> where <sms> or <mms> belongs"},
        {"not a backup", "<html><body/></html>", "not an SMS backup"},
        {"empty", "", "holds no element"},
        {"a document type", "<!DOCTYPE smses [<!ENTITY x \"y\">]><smses/>", "document type"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Store store;
        SmsMessage kept;
        kept.folder = kFolderInbox;
        kept.time = At(2020, 1, 1, 0, 0, 0);
        kept.text = u"kept";
        Fill(store.db, kept);
        const std::string file = store.File("bad.xml");
        WriteFile(file, c.file);
        const ImportSummary summary = Import(store.db, ExchangeFormat::kXml, file);
        EXPECT_TRUE(summary.fileDamaged);
        EXPECT_NE(summary.error.find(c.says), std::string::npos) << summary.error;
        EXPECT_EQ(summary.added, 0u);
        EXPECT_EQ(All(store.db).size(), 1u) << "the store is as it was";
    }
}

TEST_F(ExchangeTest, ADamagedCsvOrJsonFileImportsNothingAndSaysWhichLine) {
    const std::string header = "id,time,flags,folder,name,number,text\r\n";
    const std::string row = "1,2024-01-02 03:04:05,0,inbox,Anna,+49,Hello\r\n";
    const std::string json =
        "{\"folder\":\"inbox\",\"time\":\"2024-01-02T03:04:05\",\"number\":\"+49\",\"text\":\"Hi\"}"
        "\n";
    struct Case {
        ExchangeFormat format;
        std::string file;
        std::string says;
    };
    const std::vector<Case> cases = {
        {ExchangeFormat::kCsv, header + row + "2,2024-01-02 03:04:06,0,inbox,Anna,+49\r\n",
         "line 3: 6 fields"},
        {ExchangeFormat::kCsv, header + row + row + "3,2024-13-02 03:04:06,0,inbox,A,+49,x\r\n",
         "line 4: '2024-13-02"},
        {ExchangeFormat::kCsv, header + "4,2024-01-02 03:04:06,0,trash,A,+49,x\r\n",
         "line 2: the folder 'trash'"},
        {ExchangeFormat::kCsv, header + row + "5,,0,inbox,A,+49,\"never closed\r\n",
         "quoted field begun on line 3"},
        {ExchangeFormat::kCsv, "time,folder,number\r\n" + row,
         "line 1: the header has no column text"},
        {ExchangeFormat::kCsv, header + "6,,x,inbox,A,+49,y\r\n", "line 2: the flags 'x'"},
        {ExchangeFormat::kJson, json + json.substr(0, 30) + "\n", "line 2"},
        {ExchangeFormat::kJson, json + "{\"folder\":\"inbox\",\"number\":\"+49\"}\n",
         "line 2: the object has no \"text\""},
        {ExchangeFormat::kJson, json + json + "[1,2]\n", "line 3"},
        {ExchangeFormat::kJson,
         json + "{\"folder\":\"inbox\",\"text\":\"x\",\"time\":\"2024-01-02 03:04:05+01:00\"}\n",
         "line 2: \"time\": '2024-01-02 03:04:05+01:00' is not a time"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        Store store;
        const std::string file = store.File("bad");
        WriteFile(file, c.file);
        const ImportSummary summary = Import(store.db, c.format, file);
        EXPECT_TRUE(summary.fileDamaged);
        EXPECT_NE(summary.error.find(c.says), std::string::npos) << summary.error;
        EXPECT_TRUE(All(store.db).empty());
    }
}

// The program's own list output is a JSON lines file too, and the same message twice in one
// file is taken once.
TEST_F(ExchangeTest, ListOutputImportsAndAMessageTwiceInAFileIsTakenOnce) {
    Store store;
    const std::string line =
        "{\"id\":7,\"folder\":\"sent\",\"flags\":0,\"name\":\"Anna\",\"number\":\"+4930\","
        "\"text\":\"Hi \\ud83d\\ude00 \\\"x\\\"\",\"time\":\"2024-01-02 03:04:05\","
        "\"mayHaveBeenSent\":false,\"notEncodable\":false}\n";
    const std::string file = store.File("list.json");
    WriteFile(file, line + "\n" + line);
    const ImportSummary summary = Import(store.db, ExchangeFormat::kJson, file);
    EXPECT_TRUE(summary.error.empty()) << summary.error;
    EXPECT_EQ(summary.added, 1u);
    EXPECT_EQ(summary.duplicates, 1u);
    const std::vector<SmsMessage> all = All(store.db);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].text, u"Hi \xD83D\xDE00 \"x\"");
    EXPECT_EQ(all[0].folder, kFolderSent);
    EXPECT_EQ(all[0].time, At(2024, 1, 2, 3, 4, 5));
}

// An import that is stopped through its progress is rolled back whole.
TEST_F(ExchangeTest, AStoppedImportAddsNothing) {
    Store store;
    const std::string file = store.File("backup.xml");
    WriteFile(file, BackupFile(kBackupMessages, kBackupMms));
    const ImportSummary summary =
        Import(store.db, ExchangeFormat::kXml, file,
               [](std::uint64_t done, std::uint64_t total) { return done < total / 2; });
    EXPECT_FALSE(summary.error.empty());
    EXPECT_FALSE(summary.fileDamaged);
    EXPECT_TRUE(All(store.db).empty());
}

// The desktop program's way in: a file's name, and the format guessed unless given.
TEST_F(ExchangeTest, AFileByItsNameWithItsFormatGuessed) {
    Store store;
    const std::string file = store.File("messages.txt");
    WriteFile(file, "\n  {\"folder\":\"draft\",\"time\":\"2024-01-02T03:04:05\",\"text\":\"a\"}\n");
    ImportSummary summary;
    ASSERT_TRUE(ImportMessagesFromFile(store.db, file, nullptr, nullptr, &summary))
        << summary.error;
    EXPECT_EQ(summary.added, 1u);
    const ExchangeFormat csv = ExchangeFormat::kCsv;
    EXPECT_FALSE(ImportMessagesFromFile(store.db, file, &csv, nullptr, &summary));
    EXPECT_TRUE(summary.fileDamaged);
    EXPECT_FALSE(
        ImportMessagesFromFile(store.db, store.File("missing.xml"), nullptr, nullptr, &summary));
    EXPECT_NE(summary.error.find("cannot be read"), std::string::npos) << summary.error;
    EXPECT_EQ(All(store.db).size(), 1u);
}

TEST(GuessImportFormat, ByTheNameElseByTheFirstCharacter) {
    EXPECT_EQ(GuessImportFormat("sms-2024.XML", 'x'), ExchangeFormat::kXml);
    EXPECT_EQ(GuessImportFormat("a.csv", '<'), ExchangeFormat::kCsv);
    EXPECT_EQ(GuessImportFormat("a.jsonl", '<'), ExchangeFormat::kJson);
    EXPECT_EQ(GuessImportFormat("backup", '<'), ExchangeFormat::kXml);
    EXPECT_EQ(GuessImportFormat("backup", '{'), ExchangeFormat::kJson);
    EXPECT_EQ(GuessImportFormat("backup", 'i'), ExchangeFormat::kCsv);
}

}  // namespace
