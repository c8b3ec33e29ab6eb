// SPDX-License-Identifier: GPL-3.0-or-later
// The verbs that find and carry messages: search, export, import, backup and restore, run as
// a separate process on a store of their own.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "run_process.h"
#include "store/message_store.h"
#include "store/object_store.h"

namespace fs = std::filesystem;

namespace {

FileTime At(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour,
            std::uint16_t minute) {
    FileTime ft = 0;
    SystemTimeToFileTime({year, month, 0, day, hour, minute, 0, 0}, &ft);
    return ft;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) out.push_back(line);
    return out;
}

class CliExchangeTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "velkan-cli-exchange-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root_ = pattern;
        const char* old = std::getenv("VELKAN_DATA_DIR");
        saved_ = old != nullptr ? old : "";
        hadSaved_ = old != nullptr;
        UseStore("data");
        const char* tz = std::getenv("TZ");
        savedTz_ = tz != nullptr ? tz : "";
        hadTz_ = tz != nullptr;
        setenv("TZ", "Europe/Berlin", 1);
    }
    void TearDown() override {
        if (hadSaved_) {
            setenv("VELKAN_DATA_DIR", saved_.c_str(), 1);
        } else {
            unsetenv("VELKAN_DATA_DIR");
        }
        if (hadTz_) {
            setenv("TZ", savedTz_.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        std::error_code ec;
        fs::remove_all(root_, ec);
    }

    // The store of the following runs: a folder of its own under the test's root.
    void UseStore(const std::string& name) {
        data_ = root_ + "/" + name;
        setenv("VELKAN_DATA_DIR", data_.c_str(), 1);
    }
    std::string File(const std::string& name) const { return root_ + "/" + name; }

    Oid Put(FolderId folder, FileTime time, const std::u16string& text,
            const std::u16string& number, const std::u16string& name = u"",
            std::uint32_t flags = 0) {
        SetStoreDataDirectory(data_);
        MessageDatabase db;
        EXPECT_TRUE(OpenMessageStore(db));
        SmsMessage m;
        m.folder = folder;
        m.time = time;
        m.text = text;
        m.number = number;
        m.name = name;
        m.flags = flags;
        EXPECT_TRUE(WriteMessage(db, m));
        SetStoreDataDirectory("");
        return m.oid;
    }

    ProcessResult Velkan(const std::vector<std::string>& args) {
        return RunProcess(VELKAN_BIN, args);
    }

    std::string root_, data_;
    std::string saved_, savedTz_;
    bool hadSaved_ = false, hadTz_ = false;
};

TEST_F(CliExchangeTest, SearchPrintsTheMatchesNewestFirst) {
    Put(kFolderInbox, At(2024, 1, 1, 9, 0), u"Grüße aus Köln", u"+4930123456", u"Änne");
    Put(kFolderSent, At(2024, 1, 2, 9, 0), u"Danke, bis bald in KOELN?", u"+4930123456", u"Änne");
    Put(kFolderDraft, At(2024, 1, 3, 9, 0), u"nothing", u"+1555");

    ProcessResult r = Velkan({"search", "köln"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    auto lines = Lines(r.out);
    ASSERT_EQ(lines.size(), 2u) << r.out;
    EXPECT_EQ(lines[0].rfind("ID      TIME", 0), 0u);
    EXPECT_NE(lines[1].find("Grüße aus Köln"), std::string::npos);

    r = Velkan({"search", "ANNE", "3012", "--json"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    lines = Lines(r.out);
    ASSERT_EQ(lines.size(), 2u) << r.out;
    EXPECT_NE(lines[0].find("\"id\":2,\"folder\":\"sent\""), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find("\"id\":1,\"folder\":\"inbox\""), std::string::npos) << lines[1];

    r = Velkan({"search", "--folder", "inbox", "anne", "--json"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.out).size(), 1u);

    r = Velkan({"search", "nowhere"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_NE(r.err.find("no message matches"), std::string::npos) << r.err;

    // Words that look like options follow "--".
    Put(kFolderInbox, At(2024, 1, 4, 9, 0), u"Minus -5 degrees", u"+1");
    r = Velkan({"search", "--json", "--", "-5"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.out).size(), 1u);
}

TEST_F(CliExchangeTest, SearchRefusesWhatItCannotUse) {
    EXPECT_EQ(Velkan({"search"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"search", "  "}).exitStatus, 2);
    EXPECT_EQ(Velkan({"search", "x", "--folder"}).exitStatus, 2);
    const ProcessResult r = Velkan({"search", "x", "--folder", "trash"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("unknown folder 'trash'"), std::string::npos) << r.err;
    EXPECT_EQ(Velkan({"search", "-x"}).exitStatus, 2);
}

// Everything exported comes back in an empty store; the second import adds nothing.
TEST_F(CliExchangeTest, ExportThenImportIntoAnEmptyStoreGivesTheSameMessages) {
    Put(kFolderInbox, At(2024, 1, 1, 9, 0), u"Line one\nline \"two\", with comma", u"+4930123456",
        u"Änne", kFlagUnread);
    Put(kFolderSent, At(2024, 7, 2, 9, 0), u"Emoji \xD83D\xDE00", u"+4930123456", u"Änne");
    Put(kFolderOutbox, At(2024, 7, 3, 9, 0), u"waiting", u"+1555");
    const ProcessResult reference = Velkan({"export", "--format", "json"});
    ASSERT_EQ(reference.exitStatus, 0) << reference.err;
    ASSERT_EQ(Lines(reference.out).size(), 3u);

    for (const std::string format : {"csv", "json", "xml"}) {
        SCOPED_TRACE(format);
        UseStore("data");
        const std::string file = File("export." + format);
        ProcessResult r = Velkan({"export", "--format", format, "--output", file});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
        EXPECT_NE(r.err.find("exported 3 messages to " + file), std::string::npos) << r.err;
        UseStore("empty-" + format);
        r = Velkan({"import", file});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
        EXPECT_NE(r.err.find("imported 3 messages from " + file + " as " + format),
                  std::string::npos)
            << r.err;
        EXPECT_NE(r.err.find("1 of them is in the Outbox and will be sent by the next send-get"),
                  std::string::npos)
            << r.err;
        EXPECT_EQ(Velkan({"export", "--format", "json"}).out, reference.out);
        r = Velkan({"import", file});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
        EXPECT_NE(r.err.find("imported 0 messages from " + file + " as " + format +
                             ", 3 already in the store"),
                  std::string::npos)
            << r.err;
    }
}

TEST_F(CliExchangeTest, ExportWritesToStandardOutputOneFolderAndRefusesBadArguments) {
    Put(kFolderInbox, At(2024, 1, 1, 9, 0), u"in", u"+1");
    Put(kFolderSent, At(2024, 1, 2, 9, 0), u"out", u"+1");
    ProcessResult r = Velkan({"export", "--format", "CSV", "--folder", "sent"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out,
              "id,time,flags,folder,name,number,text\r\n"
              "2,2024-01-02 09:00:00,0,sent,,+1,out\r\n");
    r = Velkan({"export", "--format", "mbox", "--folder", "log"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_NE(r.out.find("Date: Tue, 02 Jan 2024 09:00:00 +0100\n"), std::string::npos) << r.out;
    EXPECT_EQ(Velkan({"export"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"export", "--format", "pdf"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"export", "--format", "csv", "--folder", "trash"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"export", "--format", "csv", "extra"}).exitStatus, 2);
    r = Velkan({"export", "--format", "csv", "--output", File("no/such/folder/x.csv")});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("no file was written"), std::string::npos) << r.err;
}

TEST_F(CliExchangeTest, ADamagedFileImportsNothingAndStderrSaysWhere) {
    Put(kFolderInbox, At(2024, 1, 1, 9, 0), u"kept", u"+1");
    const std::string file = File("sms-backup.xml");
    std::ofstream(file) << "<?xml version='1.0' encoding='UTF-8' standalone='yes' ?>\n"
                           "<smses count=\"2\">\n"
                           "  <sms protocol=\"0\" address=\"+49\" date=\"1700000000000\" type=\"1\""
                           " body=\"fine\" read=\"1\" />\n"
                           "  <sms protocol=\"0\" address=\"+49\" date=\"soon\" type=\"1\""
                           " body=\"bad\" read=\"1\" />\n"
                           "</smses>\n";
    const ProcessResult r = Velkan({"import", file});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find(file + ": line 4: <sms> has the date 'soon'"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("nothing was imported"), std::string::npos) << r.err;
    EXPECT_EQ(Lines(Velkan({"export", "--format", "json"}).out).size(), 1u);
}

TEST_F(CliExchangeTest, ImportTakesStandardInputAndAFormatAndRefusesBadArguments) {
    const std::string line =
        "{\"folder\":\"inbox\",\"time\":\"2024-01-02 "
        "03:04:05\",\"number\":\"+49\",\"text\":\"hi\"}\n";
    const ProcessResult r = RunProcess(VELKAN_BIN, {"import", "-", "--format", "json"}, line);
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_NE(r.err.find("imported 1 message from standard input as json"), std::string::npos)
        << r.err;
    // Without --format the first character tells JSON from CSV.
    const std::string file = File("messages");
    std::ofstream(file) << line;
    EXPECT_NE(Velkan({"import", file}).err.find("1 already in the store"), std::string::npos);
    EXPECT_EQ(Velkan({"import"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"import", file, "--format", "mbox"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"import", file, file}).exitStatus, 2);
    const ProcessResult missing = Velkan({"import", File("missing.xml")});
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_NE(missing.err.find("cannot be read"), std::string::npos) << missing.err;
}

TEST_F(CliExchangeTest, BackupAndRestoreKeepThePreviousStore) {
    Put(kFolderInbox, At(2024, 1, 1, 9, 0), u"before the copy", u"+1");
    const std::string copy = File("copy.sqlite3");
    ProcessResult r = Velkan({"backup", copy});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_NE(r.err.find("copied to " + copy), std::string::npos) << r.err;
    r = Velkan({"backup", copy});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("exists already (--force replaces it)"), std::string::npos) << r.err;
    EXPECT_EQ(Velkan({"backup", copy, "--force"}).exitStatus, 0);

    Put(kFolderInbox, At(2024, 1, 2, 9, 0), u"after the copy", u"+1");
    r = Velkan({"restore", copy});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_NE(r.err.find("the previous store is kept as " + data_ + "/velkan.sqlite3.bak"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(Lines(Velkan({"list", "inbox"}).out).size(), 2u);  // the header and one message
    EXPECT_TRUE(fs::exists(data_ + "/velkan.sqlite3.bak"));

    const std::string notAStore = File("notes.txt");
    std::ofstream(notAStore) << "not a store";
    r = Velkan({"restore", notAStore});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("the store was not changed"), std::string::npos) << r.err;
    EXPECT_EQ(Velkan({"restore"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"backup"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"restore", copy, copy}).exitStatus, 2);
}

}  // namespace
