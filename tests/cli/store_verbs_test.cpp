// SPDX-License-Identifier: GPL-3.0-or-later
// The store verbs of `velkan` (compose, list, delete, recent) and `velkan config`, run as a
// separate process on a fresh home folder.
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sqlite3.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "run_process.h"
#include "store/message_store.h"
#include "store/object_store.h"

namespace fs = std::filesystem;

namespace {

FileTime At(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour,
            std::uint16_t minute, std::uint16_t second) {
    FileTime ft = 0;
    SystemTimeToFileTime({year, month, 0, day, hour, minute, second, 0}, &ft);
    return ft;
}

// Every test gets a home of its own; the child processes inherit it through the environment.
class CliStoreTest : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const char* name : kVars) {
            const char* v = std::getenv(name);
            saved_.push_back(v != nullptr ? std::optional<std::string>(v) : std::nullopt);
        }
        std::string pattern = (fs::temp_directory_path() / "velkan-cli-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home_ = pattern;
        setenv("HOME", home_.c_str(), 1);
        setenv("XDG_DATA_HOME", (home_ + "/data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home_ + "/config").c_str(), 1);
        unsetenv("VELKAN_DATA_DIR");
    }
    void TearDown() override {
        SetStoreDataDirectory("");
        for (std::size_t i = 0; i < saved_.size(); ++i) {
            if (saved_[i]) {
                setenv(kVars[i], saved_[i]->c_str(), 1);
            } else {
                unsetenv(kVars[i]);
            }
        }
        std::error_code ec;
        for (const auto& entry : fs::recursive_directory_iterator(home_, ec)) {
            fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ec);
        }
        fs::remove_all(home_, ec);
    }

    ProcessResult Velkan(const std::vector<std::string>& args) {
        return RunProcess(VELKAN_BIN, args);
    }

    std::string DataDir() const { return home_ + "/data/velkan-tessiver"; }
    std::string StoreFile() const { return DataDir() + "/velkan.sqlite3"; }
    std::string ConfigFile() const { return home_ + "/config/Orvane Systems/Velkan Tessiver.ini"; }

    // Puts messages into the store directly, as the transfer session would.
    Oid Put(FolderId folder, FileTime time, const std::u16string& text,
            const std::u16string& number, std::uint32_t flags = 0) {
        SetStoreDataDirectory(DataDir());
        MessageDatabase db;
        EXPECT_TRUE(OpenMessageStore(db));
        SmsMessage m;
        m.folder = folder;
        m.time = time;
        m.text = text;
        m.number = number;
        m.flags = flags;
        EXPECT_TRUE(WriteMessage(db, m));
        SetStoreDataDirectory("");
        return m.oid;
    }

    // Runs `velkan` without the right to override file permissions, even as root; the child's
    // stderr comes back in `err`.
    int VelkanUnprivileged(const std::vector<std::string>& args, std::string* err) {
        const std::string errFile = home_ + "/unprivileged.err";
        const pid_t pid = fork();
        if (pid == 0) {
            for (int cap : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER})
                prctl(PR_CAPBSET_DROP, cap, 0, 0, 0);
            const ProcessResult r = RunProcess(VELKAN_BIN, args);
            std::ofstream(errFile) << r.err;
            _exit(r.exitStatus);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        *err = ReadAll(errFile);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    static constexpr const char* kVars[] = {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME",
                                            "VELKAN_DATA_DIR"};
    std::vector<std::optional<std::string>> saved_;
    std::string home_;
};

TEST_F(CliStoreTest, ComposeStoresInTheOutboxAndPrintsTheId) {
    const ProcessResult r =
        Velkan({"compose", "--to", "+44 (0) 20-7946", "--text", "Hello", "--name", "Anna"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "1\n");
    const ProcessResult list = Velkan({"list", "outbox", "--json"});
    ASSERT_EQ(list.exitStatus, 0) << list.err;
    const auto lines = Lines(list.out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(
        lines[0].find(
            R"("id":1,"folder":"outbox","flags":0,"name":"Anna","number":"+440207946","text":"Hello","time":")"),
        std::string::npos)
        << lines[0];
    EXPECT_TRUE(std::regex_search(lines[0],
                                  std::regex(R"("time":"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d",)"
                                             R"("mayHaveBeenSent":false,"notEncodable":false\}$)")))
        << lines[0];
    EXPECT_EQ(ReadAll(StoreFile()).empty(), false);
}

TEST_F(CliStoreTest, ComposeAsDraftNeedsNeitherNumberNorText) {
    ProcessResult r = Velkan({"compose", "--name", "Only a name", "--draft"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    const ProcessResult list = Velkan({"list", "draft", "--json"});
    EXPECT_NE(
        list.out.find(R"("folder":"draft","flags":0,"name":"Only a name","number":"","text":"")"),
        std::string::npos)
        << list.out;
}

TEST_F(CliStoreTest, ComposeForTheOutboxWithoutNumberOrTextStoresNothing) {
    ProcessResult r = Velkan({"compose", "--name", "Only a name"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("needs a number"), std::string::npos) << r.err;
    r = Velkan({"compose", "--to", "555"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("needs a text"), std::string::npos) << r.err;
    r = Velkan({"compose", "--to", "no digits", "--text", "hi"});
    EXPECT_EQ(r.exitStatus, 2);
    r = Velkan({"compose", "--draft"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("nothing to store"), std::string::npos) << r.err;
    for (const char* folder : {"outbox", "draft"}) {
        const ProcessResult list = Velkan({"list", folder, "--json"});
        EXPECT_EQ(list.exitStatus, 0);
        EXPECT_EQ(list.out, "") << folder;
    }
    // The recipient of a message that was not stored is not remembered either.
    EXPECT_EQ(Velkan({"recent", "--json"}).out, "");
}

TEST_F(CliStoreTest, ComposeKeepsTheFirst160CharactersWithoutCarriageReturns) {
    ProcessResult r = Velkan({"compose", "--to", "1", "--text", std::string(300, 'a')});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_NE(r.err.find("cut to 160"), std::string::npos);
    // 150 characters with five line breaks count 155 and are kept whole (as a draft: with
    // their carriage returns they are 165 characters, more than one message can carry).
    std::string lines;
    for (int i = 0; i < 5; ++i) lines += std::string(30, 'b') + "\r\n";
    r = Velkan({"compose", "--to", "2", "--text", lines, "--draft"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err.find("cut"), std::string::npos);
    // 160 characters, a carriage return and one more: cut before the carriage return.
    r = Velkan({"compose", "--to", "3", "--text", std::string(160, 'c') + "\rX"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    const ProcessResult list = Velkan({"list", "outbox", "--json"});
    const auto out = Lines(list.out);
    ASSERT_EQ(out.size(), 2u);
    std::string bs;
    for (int i = 0; i < 5; ++i) bs += std::string(30, 'b') + "\\r\\n";
    EXPECT_NE(out[0].find(R"("text":")" + std::string(160, 'c') + "\""), std::string::npos)
        << out[0];
    EXPECT_NE(out[1].find(R"("text":")" + std::string(160, 'a') + "\""), std::string::npos)
        << out[1];
    const auto drafts = Lines(Velkan({"list", "draft", "--json"}).out);
    ASSERT_EQ(drafts.size(), 1u);
    EXPECT_NE(drafts[0].find(R"("text":")" + bs + "\""), std::string::npos) << drafts[0];
}

// What the encoder would refuse never reaches the Outbox: it is refused with the reason, and
// nothing is stored or remembered.
TEST_F(CliStoreTest, ComposeRefusesWhatTheEncoderWouldRefuse) {
    ProcessResult r = Velkan({"compose", "--to", std::string(5000, '9'), "--text", "hi"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.err,
              "velkan: the number has 5000 digits; at most 20 can be sent; nothing was stored\n");
    r = Velkan({"compose", "--to", "+" + std::string(21, '1'), "--text", "hi", "--draft"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("the number has 21 digits; at most 20"), std::string::npos) << r.err;
    r = Velkan({"compose", "--to", "+", "--text", "hi"});
    EXPECT_EQ(r.exitStatus, 2);
    // Line breaks take two characters when sent: 145 characters and eight of them are 161.
    std::string lines = std::string(145, 'x');
    for (int i = 0; i < 8; ++i) lines += "\r\n";
    r = Velkan({"compose", "--to", "1", "--text", lines});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("the text has 161 characters"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("nothing was stored"), std::string::npos) << r.err;
    for (const char* folder : {"outbox", "draft"}) {
        EXPECT_EQ(Velkan({"list", folder, "--json"}).out, "") << folder;
    }
    EXPECT_EQ(Velkan({"recent", "--json"}).out, "");
    // The limits themselves are accepted.
    r = Velkan({"compose", "--to", "+" + std::string(20, '1'), "--text", std::string(160, 'a')});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
}

TEST_F(CliStoreTest, ComposeTakesTheFlashPresetUnlessToldOtherwise) {
    ASSERT_EQ(Velkan({"compose", "--to", "1", "--text", "plain"}).exitStatus, 0);
    ASSERT_EQ(Velkan({"compose", "--to", "1", "--text", "asked", "--flash"}).exitStatus, 0);
    ASSERT_EQ(Velkan({"config", "set", "Flash", "1"}).exitStatus, 0);
    ASSERT_EQ(Velkan({"compose", "--to", "1", "--text", "preset"}).exitStatus, 0);
    ASSERT_EQ(Velkan({"compose", "--to", "1", "--text", "refused", "--no-flash"}).exitStatus, 0);
    const auto out = Lines(Velkan({"list", "outbox", "--json"}).out);
    ASSERT_EQ(out.size(), 4u);
    EXPECT_NE(out[0].find(R"("flags":0,)"), std::string::npos) << out[0];  // refused
    EXPECT_NE(out[1].find(R"("flags":2,)"), std::string::npos) << out[1];  // preset
    EXPECT_NE(out[2].find(R"("flags":2,)"), std::string::npos) << out[2];  // asked
    EXPECT_NE(out[3].find(R"("flags":0,)"), std::string::npos) << out[3];  // plain
}

TEST_F(CliStoreTest, ComposeRemembersRecipientsAndRecentListsThemByName) {
    ASSERT_EQ(Velkan({"compose", "--to", "+49 30 1", "--text", "a", "--name", "Zoe"}).exitStatus,
              0);
    ASSERT_EQ(Velkan({"compose", "--to", "+49 30 2", "--text", "b", "--name", "Anna"}).exitStatus,
              0);
    ASSERT_EQ(Velkan({"compose", "--to", "+49302", "--text", "c"}).exitStatus,
              0);  // Anna's number, no name
    ASSERT_EQ(Velkan({"compose", "--name", "Draftee", "--draft"}).exitStatus,
              0);  // no number: not kept
    ProcessResult r = Velkan({"recent", "--json"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(
        r.out,
        "{\"name\":\"Anna\",\"number\":\"+49302\"}\n{\"name\":\"Zoe\",\"number\":\"+49301\"}\n");
    r = Velkan({"recent"});
    const auto table = Lines(r.out);
    ASSERT_EQ(table.size(), 3u);
    EXPECT_EQ(table[0].rfind("NAME", 0), 0u);
    EXPECT_EQ(table[1].rfind("Anna", 0), 0u);
    EXPECT_NE(table[1].find("+49302"), std::string::npos);
}

TEST_F(CliStoreTest, ListShowsAFolderNewestFirstAndTheLogShowsInboxAndSent) {
    const Oid in1 = Put(kFolderInbox, At(2003, 4, 1, 10, 0, 0), u"first in", u"+111", 1);
    const Oid sent = Put(kFolderSent, At(2003, 4, 2, 11, 30, 5), u"sent one", u"+222", 2);
    Put(kFolderOutbox, At(2003, 4, 3, 12, 0, 0), u"waiting", u"+333");
    const Oid in2 =
        Put(kFolderInbox, At(2003, 4, 4, 9, 8, 7), u"second\r\nin \u00e9\u20ac", u"+444");
    ProcessResult r = Velkan({"list", "log", "--json"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    const auto out = Lines(r.out);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[0], "{\"id\":" + std::to_string(in2) +
                          ",\"folder\":\"inbox\",\"flags\":0,\"name\":\"\",\"number\":\"+444\","
                          "\"text\":\"second\\r\\nin "
                          "\xC3\xA9\xE2\x82\xAC\",\"time\":\"2003-04-04 09:08:07\","
                          "\"mayHaveBeenSent\":false,\"notEncodable\":false}");
    EXPECT_NE(out[1].find("\"id\":" + std::to_string(sent) + ",\"folder\":\"sent\",\"flags\":2"),
              std::string::npos);
    EXPECT_NE(out[1].find("\"time\":\"2003-04-02 11:30:05\""), std::string::npos);
    EXPECT_NE(out[2].find("\"id\":" + std::to_string(in1) + ",\"folder\":\"inbox\",\"flags\":1"),
              std::string::npos);
    // The table: a header, one line per message, line breaks flattened.
    r = Velkan({"list", "Inbox"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    const auto table = Lines(r.out);
    ASSERT_EQ(table.size(), 3u);
    EXPECT_EQ(table[0].rfind("ID", 0), 0u);
    EXPECT_NE(table[1].find("2003-04-04 09:08:07"), std::string::npos);
    EXPECT_NE(table[1].find("second in \xC3\xA9"), std::string::npos) << table[1];
    EXPECT_NE(table[2].find("new"), std::string::npos);
}

// The marks of an Outbox message that may have reached the phone, or that cannot be encoded,
// are keys of their own in JSON and words in the table.
TEST_F(CliStoreTest, ListShowsTheMarksOfMessagesThatMayHaveBeenSentOrCannotBeSent) {
    const Oid plain = Put(kFolderOutbox, At(2003, 5, 1, 8, 0, 0), u"plain", u"+111");
    const Oid maybe =
        Put(kFolderOutbox, At(2003, 5, 2, 8, 0, 0), u"maybe", u"+222", kFlagMayHaveBeenSent);
    const Oid bad = Put(kFolderOutbox, At(2003, 5, 3, 8, 0, 0), u"bad", u"+333",
                        kFlagNotEncodable | kFlagFlash);
    ProcessResult r = Velkan({"list", "outbox", "--json"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    const auto out = Lines(r.out);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_NE(out[0].find("\"id\":" + std::to_string(bad) + ",\"folder\":\"outbox\",\"flags\":10,"),
              std::string::npos)
        << out[0];
    EXPECT_NE(out[0].find("\"mayHaveBeenSent\":false,\"notEncodable\":true}"), std::string::npos)
        << out[0];
    EXPECT_NE(
        out[1].find("\"id\":" + std::to_string(maybe) + ",\"folder\":\"outbox\",\"flags\":4,"),
        std::string::npos)
        << out[1];
    EXPECT_NE(out[1].find("\"mayHaveBeenSent\":true,\"notEncodable\":false}"), std::string::npos)
        << out[1];
    EXPECT_NE(out[2].find("\"id\":" + std::to_string(plain) + ","), std::string::npos);
    EXPECT_NE(out[2].find("\"mayHaveBeenSent\":false,\"notEncodable\":false}"), std::string::npos)
        << out[2];

    r = Velkan({"list", "outbox"});
    const auto table = Lines(r.out);
    ASSERT_EQ(table.size(), 4u);
    EXPECT_TRUE(
        std::regex_search(table[1], std::regex(R"(^ +\d+  \S+ \S+  flash\+unsendable  outbox)")))
        << table[1];
    EXPECT_TRUE(std::regex_search(table[2], std::regex(R"(^ +\d+  \S+ \S+  sent\?      outbox)")))
        << table[2];
    EXPECT_TRUE(std::regex_search(table[3], std::regex(R"(^ +\d+  \S+ \S+  -          outbox)")))
        << table[3];
}

TEST_F(CliStoreTest, ListRejectsAnUnknownFolder) {
    const ProcessResult r = Velkan({"list", "trash"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("unknown folder 'trash'"), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(Velkan({"list"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"list", "inbox", "sent"}).exitStatus, 2);
}

TEST_F(CliStoreTest, DeleteRemovesEveryIdOrNone) {
    const Oid a = Put(kFolderInbox, At(2003, 1, 1, 0, 0, 0), u"a", u"1");
    const Oid b = Put(kFolderInbox, At(2003, 1, 2, 0, 0, 0), u"b", u"1");
    const Oid c = Put(kFolderInbox, At(2003, 1, 3, 0, 0, 0), u"c", u"1");
    ProcessResult r = Velkan({"delete", std::to_string(a), "4242", std::to_string(c)});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("no message 4242"), std::string::npos) << r.err;
    EXPECT_EQ(Lines(Velkan({"list", "inbox", "--json"}).out).size(), 3u);
    r = Velkan({"delete", std::to_string(a), std::to_string(c)});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    const auto left = Lines(Velkan({"list", "inbox", "--json"}).out);
    ASSERT_EQ(left.size(), 1u);
    EXPECT_NE(left[0].find("\"id\":" + std::to_string(b) + ","), std::string::npos);
    for (const char* bad : {"abc", "0", "-1", "99999999999", ""}) {
        EXPECT_EQ(Velkan({"delete", bad}).exitStatus, 2) << bad;
    }
    EXPECT_EQ(Velkan({"delete"}).exitStatus, 2);
    EXPECT_EQ(Lines(Velkan({"list", "inbox", "--json"}).out).size(), 1u);
}

TEST_F(CliStoreTest, DeleteCountsAnIdListedTwiceOnce) {
    const Oid a = Put(kFolderInbox, At(2003, 1, 1, 0, 0, 0), u"a", u"1");
    const Oid b = Put(kFolderInbox, At(2003, 1, 2, 0, 0, 0), u"b", u"1");
    Put(kFolderInbox, At(2003, 1, 3, 0, 0, 0), u"c", u"1");
    const std::string id = std::to_string(a);
    ProcessResult r = Velkan({"delete", id, id, id});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err, "velkan: deleted 1 message\n");
    r = Velkan({"delete", std::to_string(b), std::to_string(b)});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err, "velkan: deleted 1 message\n");
    EXPECT_EQ(Lines(Velkan({"list", "inbox", "--json"}).out).size(), 1u);
}

TEST_F(CliStoreTest, ADamagedStoreIsSetAsideAndReported) {
    fs::create_directories(DataDir());
    std::ofstream(StoreFile(), std::ios::binary) << std::string(5000, '\x7f');
    ProcessResult r = Velkan({"list", "inbox"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("damaged"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("set aside as " + StoreFile() + ".damaged-"), std::string::npos) << r.err;
    int setAside = 0;
    for (const auto& entry : fs::directory_iterator(DataDir())) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("velkan.sqlite3.damaged-", 0) == 0) {
            ++setAside;
            EXPECT_EQ(ReadAll(entry.path().string()), std::string(5000, '\x7f'));
        }
    }
    EXPECT_EQ(setAside, 1);
    // The next run works on the new store.
    r = Velkan({"compose", "--to", "1", "--text", "fresh"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "1\n");
}

// A store damaged in the middle of its messages is set aside when it is opened; `velkan recover`
// brings back every message that can still be read, as it was, and a second run adds nothing.
TEST_F(CliStoreTest, RecoverBringsBackTheReadableMessagesOfAStoreSetAsideAsDamaged) {
    constexpr int kCount = 300;
    // The capital M tells the message's row from the search index's copy of its text, which
    // is folded to lower case.
    auto marker = [](int i) {
        char text[32];
        std::snprintf(text, sizeof text, "Message %04d ", i);
        return std::string(text);
    };
    auto textOf = [&](int i) { return marker(i) + std::string(140, 'x'); };
    {
        SetStoreDataDirectory(DataDir());
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
        MessageStoreBatch batch(db);
        for (int i = 0; i < kCount; ++i) {
            SmsMessage m;
            m.folder = static_cast<FolderId>(kFolderInbox + i % 4);
            m.time = At(2003, 1, 1, 0, 0, 0) + static_cast<FileTime>(i) * 10000000;  // i seconds
            const std::string text = textOf(i);
            m.text = std::u16string(text.begin(), text.end());
            m.number = u"+4930" + std::u16string(1, static_cast<char16_t>(u'0' + i % 10));
            m.flags = m.folder == kFolderOutbox ? kFlagMayHaveBeenSent : (i % 3 == 0 ? 1u : 0u);
            ASSERT_TRUE(WriteMessage(db, m));
        }
        ASSERT_TRUE(batch.Commit());
        SetStoreDataDirectory("");
    }
    ASSERT_FALSE(fs::exists(StoreFile() + "-wal") && fs::file_size(StoreFile() + "-wal") > 0);

    // Overwrite the pages that hold messages 100 and 200, and find out which messages shared
    // them. The messages between the two pages can be reached from neither end of the table.
    std::string bytes = ReadAll(StoreFile());
    ASSERT_GT(bytes.size(), 100u);
    const std::size_t pageSize =
        (static_cast<unsigned char>(bytes[16]) << 8) | static_cast<unsigned char>(bytes[17]);
    auto offsetOf = [&](int i) {
        return bytes.find(marker(i));  // texts are kept as UTF-8
    };
    ASSERT_NE(offsetOf(100), std::string::npos);
    ASSERT_NE(offsetOf(200), std::string::npos);
    const std::size_t pages[] = {offsetOf(100) / pageSize, offsetOf(200) / pageSize};
    ASSERT_NE(pages[0], pages[1]);
    std::vector<int> lost;
    for (int i = 0; i < kCount; ++i) {
        ASSERT_NE(offsetOf(i), std::string::npos) << i;
        const std::size_t page = offsetOf(i) / pageSize;
        if (page == pages[0] || page == pages[1]) lost.push_back(i);
    }
    ASSERT_LT(lost.size(), 100u);
    for (std::size_t page : pages) {
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(page * pageSize),
                  bytes.begin() + static_cast<std::ptrdiff_t>((page + 1) * pageSize), '\xFF');
    }
    std::ofstream(StoreFile(), std::ios::binary | std::ios::trunc) << bytes;

    // Opening it sets it aside.
    ProcessResult r = Velkan({"list", "inbox"});
    ASSERT_EQ(r.exitStatus, 1) << r.err;
    std::string aside;
    for (const auto& entry : fs::directory_iterator(DataDir())) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("velkan.sqlite3.damaged-", 0) == 0 &&
            name.find("-wal") == std::string::npos && name.find("-shm") == std::string::npos) {
            aside = entry.path().string();
        }
    }
    ASSERT_FALSE(aside.empty());
    EXPECT_NE(r.err.find("`velkan recover " + aside + "` brings back the messages"),
              std::string::npos)
        << r.err;
    const std::string asideBytes = ReadAll(aside);

    const std::size_t kept = kCount - lost.size();
    r = Velkan({"recover", aside});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err, "velkan: recovered " + std::to_string(kept) +
                         " messages, 0 duplicates "
                         "skipped, " +
                         std::to_string(lost.size()) + " unreadable\n");

    std::vector<std::string> all;
    for (const char* folder : {"inbox", "outbox", "draft", "sent"}) {
        for (const std::string& line : Lines(Velkan({"list", folder, "--json"}).out)) {
            all.push_back(line);
        }
    }
    ASSERT_EQ(all.size(), kept);
    for (int i = 0; i < kCount; ++i) {
        const bool gone = std::find(lost.begin(), lost.end(), i) != lost.end();
        const auto line = std::find_if(all.begin(), all.end(), [&](const std::string& l) {
            return l.find("\"text\":\"" + textOf(i) + "\"") != std::string::npos;
        });
        EXPECT_EQ(line == all.end(), gone) << i;
        if (line == all.end()) continue;
        // Each comes back into its folder with its flags, number and time.
        const char* folders[] = {"inbox", "outbox", "draft", "sent"};
        const std::uint32_t flags = i % 4 == 1 ? kFlagMayHaveBeenSent : (i % 3 == 0 ? 1u : 0u);
        EXPECT_NE(line->find(std::string("\"folder\":\"") + folders[i % 4] +
                             "\",\"flags\":" + std::to_string(flags) +
                             ",\"name\":\"\",\"number\":\"+4930" + std::to_string(i % 10) + "\""),
                  std::string::npos)
            << *line;
        char time[64];
        std::snprintf(time, sizeof time, "\"time\":\"2003-01-01 00:%02d:%02d\"", i / 60, i % 60);
        EXPECT_NE(line->find(time), std::string::npos) << *line;
    }

    // Again: everything is there already. The file set aside is as it was.
    r = Velkan({"recover", aside});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err, "velkan: recovered 0 messages, " + std::to_string(kept) +
                         " duplicates skipped, " + std::to_string(lost.size()) + " unreadable\n");
    EXPECT_EQ(ReadAll(aside), asideBytes);
    std::size_t count = 0;
    for (const char* folder : {"inbox", "outbox", "draft", "sent"}) {
        count += Lines(Velkan({"list", folder, "--json"}).out).size();
    }
    EXPECT_EQ(count, kept);
}

TEST_F(CliStoreTest, RecoverRefusesWhatIsNotAStoreAndWritesNothing) {
    fs::create_directories(home_ + "/other");
    const std::string garbage = home_ + "/other/garbage";
    std::ofstream(garbage, std::ios::binary) << std::string(5000, '\x7f');
    ProcessResult r = Velkan({"recover", garbage});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find(garbage + " cannot be read"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("nothing was recovered"), std::string::npos) << r.err;

    // An SQLite database of some other program.
    const std::string other = home_ + "/other/notes.sqlite3";
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(other.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE notes(text); INSERT INTO notes VALUES('hi');", nullptr,
                           nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    r = Velkan({"recover", other});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find(other + " is not a message store of Velkan Tessiver"), std::string::npos)
        << r.err;

    r = Velkan({"recover", home_ + "/other/missing"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("cannot be read"), std::string::npos) << r.err;

    EXPECT_EQ(Velkan({"recover"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"recover", garbage, other}).exitStatus, 2);
    // The store in use is not a copy to recover from.
    ASSERT_EQ(Velkan({"compose", "--to", "1", "--text", "kept"}).exitStatus, 0);
    r = Velkan({"recover", StoreFile()});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("is the message store in use"), std::string::npos) << r.err;

    const auto outbox = Lines(Velkan({"list", "outbox", "--json"}).out);
    EXPECT_EQ(outbox.size(), 1u);
    for (const char* folder : {"inbox", "draft", "sent"}) {
        EXPECT_EQ(Velkan({"list", folder, "--json"}).out, "") << folder;
    }
}

TEST_F(CliStoreTest, HelpListsRecoverAndResend) {
    const ProcessResult r = Velkan({"--help"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_NE(r.out.find("  velkan recover FILE\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  velkan resend ID\n"), std::string::npos) << r.out;
}

TEST_F(CliStoreTest, AnUnusableDataFolderIsReported) {
    std::ofstream(home_ + "/data") << "a file where the folder should be";
    const ProcessResult r = Velkan({"compose", "--to", "1", "--text", "x"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("cannot be used"), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "");
}

TEST_F(CliStoreTest, AReadOnlyDataFolderIsReported) {
    fs::create_directories(DataDir());
    fs::permissions(DataDir(), fs::perms::owner_read | fs::perms::owner_exec);
    std::string err;
    EXPECT_EQ(VelkanUnprivileged({"compose", "--to", "1", "--text", "x"}, &err), 1);
    EXPECT_NE(err.find("not writable"), std::string::npos) << err;
    EXPECT_EQ(VelkanUnprivileged({"list", "inbox"}, &err), 1);
    fs::permissions(DataDir(), fs::perms::owner_all);
    EXPECT_FALSE(fs::exists(StoreFile()));
}

TEST_F(CliStoreTest, ConfigListsGetsAndSetsValues) {
    ProcessResult r = Velkan({"config", "list"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out,
              "CommPort=COM3:\nTCP=localhost:4000\nSMSC=\nSMSCCustom=0\nStatusReq=0\nFlash="
              "0\nDelMsg=0\nUnicode=0\nLongSms=0\nExe=\n");
    ASSERT_EQ(Velkan({"config", "set", "CommPort", "TCP"}).exitStatus, 0);
    ASSERT_EQ(Velkan({"config", "set", "tcp", "local"}).exitStatus, 0);  // names in any case
    ASSERT_EQ(Velkan({"config", "set", "DelMsg", "1"}).exitStatus, 0);
    EXPECT_EQ(Velkan({"config", "get", "CommPort"}).out, "TCP\n");
    EXPECT_EQ(Velkan({"config", "get", "TCP"}).out, "local\n");
    EXPECT_EQ(Velkan({"config", "get", "delmsg"}).out, "1\n");
    const std::string ini = ReadAll(ConfigFile());
    EXPECT_NE(ini.find("DelMsg=1"), std::string::npos) << ini;
    EXPECT_NE(ini.find("[1.0]"), std::string::npos) << ini;
}

TEST_F(CliStoreTest, ConfigSetsUnicodeAndLongMessages) {
    EXPECT_EQ(Velkan({"config", "get", "Unicode"}).out, "0\n");
    EXPECT_EQ(Velkan({"config", "get", "LongSms"}).out, "0\n");
    ASSERT_EQ(Velkan({"config", "set", "unicode", "1"}).exitStatus, 0);
    ASSERT_EQ(Velkan({"config", "set", "LongSms", "1"}).exitStatus, 0);
    EXPECT_EQ(Velkan({"config", "get", "Unicode"}).out, "1\n");
    EXPECT_EQ(Velkan({"config", "get", "longsms"}).out, "1\n");
    EXPECT_EQ(Velkan({"config", "set", "LongSms", "yes"}).exitStatus, 2);
    const std::string ini = ReadAll(ConfigFile());
    EXPECT_NE(ini.find("Unicode=1"), std::string::npos) << ini;
    EXPECT_NE(ini.find("LongSms=1"), std::string::npos) << ini;
}

TEST_F(CliStoreTest, ConfigReportsADamagedSettingsFileAndKeepsItsGoodValues) {
    fs::create_directories(fs::path(ConfigFile()).parent_path());
    {
        std::ofstream out(ConfigFile(), std::ios::binary | std::ios::trunc);
        out << "[1.0]\nTCP=phone:4000\n[[[ broken\n";
    }
    ProcessResult r = Velkan({"config", "get", "TCP"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "phone:4000\n");
    EXPECT_NE(r.err.find("could not be read"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find(ConfigFile() + ".damaged"), std::string::npos) << r.err;
    EXPECT_EQ(ReadAll(ConfigFile() + ".damaged"), "[1.0]\nTCP=phone:4000\n[[[ broken\n");
    // Said once: the file is clean afterwards.
    r = Velkan({"config", "get", "TCP"});
    EXPECT_EQ(r.out, "phone:4000\n");
    EXPECT_EQ(r.err, "");
}

TEST_F(CliStoreTest, ConfigNormalisesTheServiceCentre) {
    ASSERT_EQ(Velkan({"config", "set", "SMSC", "+49 (171) 076-0000"}).exitStatus, 0);
    EXPECT_EQ(Velkan({"config", "get", "SMSC"}).out, "+491710760000\n");
    ASSERT_EQ(Velkan({"config", "set", "SMSC", "+"}).exitStatus, 0);
    EXPECT_EQ(Velkan({"config", "get", "SMSC"}).out, "\n");
    EXPECT_NE(ReadAll(ConfigFile()).find("SMSC="), std::string::npos);
}

TEST_F(CliStoreTest, ConfigRefusesAServiceCentreNoMessageCouldBeSentThrough) {
    ASSERT_EQ(Velkan({"config", "set", "SMSC", "+" + std::string(20, '1')}).exitStatus, 0);
    const ProcessResult r = Velkan({"config", "set", "SMSC", "+49 " + std::string(19, '2')});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("SMSC is not set: the service centre has 21 digits; at most 20 can be "
                         "used"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(Velkan({"config", "get", "SMSC"}).out, "+" + std::string(20, '1') + "\n");
}

TEST_F(CliStoreTest, ConfigRefusesUnknownNamesAndNonNumbers) {
    ProcessResult r = Velkan({"config", "get", "Colour"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("unknown setting 'Colour'"), std::string::npos) << r.err;
    EXPECT_EQ(Velkan({"config", "set", "Colour", "red"}).exitStatus, 2);
    r = Velkan({"config", "set", "Flash", "yes"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(Velkan({"config", "set", "Flash", "-1"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"config", "get", "Flash"}).out, "0\n");
    EXPECT_EQ(Velkan({"config"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"config", "remove", "Flash"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"config", "get"}).exitStatus, 2);
}

TEST_F(CliStoreTest, ConfigReadsValuesAsTheProgramDoes) {
    fs::create_directories(home_ + "/config/Orvane Systems");
    std::ofstream(ConfigFile()) << "[1.0]\nFlash=on\nStatusReq=2\nCommPort=COM7:\n";
    EXPECT_EQ(Velkan({"config", "get", "Flash"}).out, "0\n");  // text where a number belongs
    EXPECT_EQ(Velkan({"config", "get", "StatusReq"}).out, "2\n");
    EXPECT_EQ(Velkan({"config", "get", "CommPort"}).out, "COM7:\n");
    EXPECT_EQ(Velkan({"config", "get", "TCP"}).out, "localhost:4000\n");
}

TEST_F(CliStoreTest, ConfigSetFailsClearlyWhenTheSettingsCannotBeWritten) {
    fs::create_directories(home_ + "/config");
    fs::permissions(home_ + "/config", fs::perms::owner_read | fs::perms::owner_exec);
    std::string err;
    EXPECT_EQ(VelkanUnprivileged({"config", "set", "Flash", "1"}, &err), 1);
    EXPECT_NE(err.find("cannot be opened for writing"), std::string::npos) << err;
    fs::permissions(home_ + "/config", fs::perms::owner_all);
    EXPECT_FALSE(fs::exists(ConfigFile()));
}

}  // namespace
