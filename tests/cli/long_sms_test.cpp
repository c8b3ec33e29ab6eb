// SPDX-License-Identifier: GPL-3.0-or-later
// Long messages through `velkan send-get`, `send` and `resend` against the simulated phone, as
// separate processes: parts listed out of order from both memories become one Inbox message; a
// message whose parts have not all arrived is shown with a gap and completed in place by a
// later transfer; a phone that keeps its parts gets nothing stored twice; a send that fails at
// part 2 of 3 leaves the message in the Outbox and the next run sends only parts 2 and 3, with
// the same reference; kill -9 between parts loses nothing and sends nothing twice; with both
// options off every part is a message of its own, as it always was.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "phone_sim_process.h"
#include "run_process.h"
#include "wait_for_file.h"

namespace fs = std::filesystem;

namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

const std::string kGap = "[\xE2\x80\xA6]";  // "[…]" in UTF-8

// An SMS-DELIVER from +4930123456 in the GSM alphabet (plain ASCII letters, digits, blanks,
// '.' and ','), stamped 2024-05-10 09:05:00, with the header 05 00 03 ref total seq: the hex
// of its stored form (no centre part) and its TPDU length.
struct ListedPdu {
    std::string hex;
    unsigned tpduLength;
};
ListedPdu DeliverPart(unsigned reference, unsigned total, unsigned sequence,
                      const std::string& text) {
    std::vector<std::uint8_t> tpdu = {0x44,  // SMS-DELIVER, more messages to send, UDHI
                                      0x0A, 0x91, 0x94, 0x03, 0x21, 0x43, 0x65,  // +4930123456
                                      0x00, 0x00,  // PID, DCS: the GSM alphabet
                                      0x42, 0x50, 0x01, 0x90, 0x50, 0x00, 0x00};
    const std::uint8_t header[] = {0x05,
                                   0x00,
                                   0x03,
                                   static_cast<std::uint8_t>(reference),
                                   static_cast<std::uint8_t>(total),
                                   static_cast<std::uint8_t>(sequence)};
    // The header fills 48 bits; one fill bit brings the text to a septet boundary.
    const unsigned septets = 7 + static_cast<unsigned>(text.size());
    tpdu.push_back(static_cast<std::uint8_t>(septets));
    std::vector<std::uint8_t> ud((septets * 7 + 7) / 8, 0);
    for (unsigned i = 0; i < sizeof header; ++i) ud[i] = header[i];
    for (std::size_t k = 0; k < text.size(); ++k) {
        const unsigned septet = static_cast<unsigned char>(text[k]) & 0x7F;
        const unsigned bit = 49 + 7 * static_cast<unsigned>(k);
        for (unsigned b = 0; b < 7; ++b) {
            if ((septet >> b) & 1u)
                ud[(bit + b) / 8] |= static_cast<std::uint8_t>(1u << ((bit + b) % 8));
        }
    }
    tpdu.insert(tpdu.end(), ud.begin(), ud.end());
    std::string hex = "00";
    static const char* digits = "0123456789ABCDEF";
    for (std::uint8_t o : tpdu) {
        hex.push_back(digits[o >> 4]);
        hex.push_back(digits[o & 15]);
    }
    return {hex, static_cast<unsigned>(tpdu.size())};
}

// The same in UCS2 (DCS 0x08), the text as UTF-16 code units; total 0 for a message without
// the concatenation header.
ListedPdu DeliverUcs2(unsigned reference, unsigned total, unsigned sequence,
                      const std::u16string& text) {
    std::vector<std::uint8_t> tpdu = {static_cast<std::uint8_t>(total != 0 ? 0x44 : 0x04),
                                      0x0A,
                                      0x91,
                                      0x94,
                                      0x03,
                                      0x21,
                                      0x43,
                                      0x65,
                                      0x00,
                                      0x08,
                                      0x42,
                                      0x50,
                                      0x01,
                                      0x90,
                                      0x50,
                                      0x00,
                                      0x00};
    std::vector<std::uint8_t> ud;
    if (total != 0) {
        ud = {0x05,
              0x00,
              0x03,
              static_cast<std::uint8_t>(reference),
              static_cast<std::uint8_t>(total),
              static_cast<std::uint8_t>(sequence)};
    }
    for (char16_t c : text) {
        ud.push_back(static_cast<std::uint8_t>(c >> 8));
        ud.push_back(static_cast<std::uint8_t>(c & 0xFF));
    }
    tpdu.push_back(static_cast<std::uint8_t>(ud.size()));
    tpdu.insert(tpdu.end(), ud.begin(), ud.end());
    std::string hex = "00";
    static const char* digits = "0123456789ABCDEF";
    for (std::uint8_t o : tpdu) {
        hex.push_back(digits[o >> 4]);
        hex.push_back(digits[o & 15]);
    }
    return {hex, static_cast<unsigned>(tpdu.size())};
}

std::string Listed(const std::string& memory, const ListedPdu& pdu) {
    return memory + "|0|PDU:" + pdu.hex + "|" + std::to_string(pdu.tpduLength);
}

// The text of each SENT line of the phone's state, in the order sent.
std::vector<std::string> SentTexts(const std::vector<std::string>& state) {
    std::vector<std::string> out;
    for (const std::string& l : state) {
        if (l.rfind("SENT|", 0) != 0) continue;
        out.push_back(l.substr(l.rfind('|') + 1));
    }
    return out;
}

// The reference and sequence of each part the phone was given: the header 05 00 03 ref total
// seq of the SENT lines' PDUs, as "ref/total/seq".
std::vector<std::string> SentHeaders(const std::vector<std::string>& state) {
    std::vector<std::string> out;
    for (const std::string& l : state) {
        if (l.rfind("SENT|", 0) != 0) continue;
        const std::size_t at = l.find("050003");
        if (at == std::string::npos || at + 12 > l.size()) {
            out.push_back("none");
            continue;
        }
        auto octet = [&](std::size_t i) {
            return std::stoi(l.substr(at + 6 + 2 * i, 2), nullptr, 16);
        };
        out.push_back(std::to_string(octet(0)) + "/" + std::to_string(octet(1)) + "/" +
                      std::to_string(octet(2)));
    }
    return out;
}

// 400 characters of the GSM alphabet: three parts of 153, 153 and 94.
std::string LongText() {
    std::string text;
    for (int i = 0; text.size() < 400; ++i)
        text += "Line " + std::to_string(i) + " of a long notice. ";
    return text.substr(0, 400);
}

class LongSmsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "velkan-long-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home_ = pattern;
        setenv("HOME", home_.c_str(), 1);
        setenv("XDG_DATA_HOME", (home_ + "/data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home_ + "/config").c_str(), 1);
        unsetenv("VELKAN_DATA_DIR");
        unsetenv("VELKAN_CLOCK_STEP_MS");
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(home_, ec);
    }

    ProcessResult Velkan(const std::vector<std::string>& args) {
        return RunProcess(VELKAN_BIN, args);
    }
    void Set(const std::string& name, const std::string& value) {
        const ProcessResult r = Velkan({"config", "set", name, value});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
    }
    void Use(const PhoneSimProcess& sim, bool delMsg, bool longSms, bool unicode = false) {
        Set("CommPort", "TCP");
        Set("TCP", sim.Address());
        Set("DelMsg", delMsg ? "1" : "0");
        Set("LongSms", longSms ? "1" : "0");
        Set("Unicode", unicode ? "1" : "0");
    }
    // A stored messages file for the phone.
    std::string MessagesFile(const std::vector<std::string>& lines) {
        const std::string path = home_ + "/phone" + std::to_string(++files_) + ".txt";
        std::ofstream out(path);
        for (const auto& l : lines) out << l << "\n";
        return path;
    }
    std::vector<std::string> Folder(const std::string& folder) {
        const ProcessResult r = Velkan({"list", folder, "--json"});
        EXPECT_EQ(r.exitStatus, 0) << r.err;
        return Lines(r.out);
    }
    static std::string Field(const std::string& line, const std::string& key) {
        const std::string k = "\"" + key + "\":";
        std::size_t at = line.find(k);
        if (at == std::string::npos) return {};
        at += k.size();
        if (line[at] == '"') {
            std::string out;
            for (std::size_t i = at + 1; i < line.size() && line[i] != '"'; ++i) {
                if (line[i] == '\\') ++i;
                out.push_back(line[i]);
            }
            return out;
        }
        return line.substr(at, line.find_first_of(",}", at) - at);
    }
    void MarkAllRead() {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(StoreFile().c_str(), &db), SQLITE_OK);
        ASSERT_EQ(
            sqlite3_exec(db, "UPDATE messages SET flags = flags & ~1", nullptr, nullptr, nullptr),
            SQLITE_OK);
        sqlite3_close(db);
    }
    std::string StoreFile() const { return home_ + "/data/velkan-tessiver/velkan.sqlite3"; }

    std::string home_;
    int files_ = 0;
};

}  // namespace

TEST_F(LongSmsTest, PartsOutOfOrderInBothMemoriesBecomeOneMessageStoredOnce) {
    const std::string file = MessagesFile({
        Listed("SM", DeliverPart(7, 3, 3, " the third.")),
        Listed("ME", DeliverPart(7, 3, 1, "The first,")),
        "SM|0|+4930999999|2024-05-10 09:00:00|+04|A short one",
        Listed("SM", DeliverPart(7, 3, 2, " the second,")),
    });
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--messages", file});
    ASSERT_TRUE(sim.Ok());
    Use(sim, /*delMsg=*/false, /*longSms=*/true);

    ProcessResult r = Velkan({"send-get"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    auto inbox = Folder("inbox");
    ASSERT_EQ(inbox.size(), 2u);
    int joined = 0;
    for (const auto& l : inbox) {
        if (Field(l, "text") == "The first, the second, the third.") {
            ++joined;
            EXPECT_EQ(Field(l, "number"), "+4930123456");
            EXPECT_EQ(Field(l, "flags"), "1");
        } else {
            EXPECT_EQ(Field(l, "text"), "A short one");
        }
    }
    EXPECT_EQ(joined, 1);

    // The phone keeps them (DelMsg off): listed again, nothing is stored twice.
    r = Velkan({"send-get"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Folder("inbox"), inbox);
    EXPECT_EQ(sim.StoredIn("SM"), 3);
    EXPECT_EQ(sim.StoredIn("ME"), 1);
}

TEST_F(LongSmsTest, AnIncompleteMessageIsShownWithAGapAndCompletedInPlaceByALaterTransfer) {
    std::string id;
    {
        const std::string file = MessagesFile({Listed("ME", DeliverPart(9, 3, 3, "end.")),
                                               Listed("SM", DeliverPart(9, 3, 1, "Start "))});
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--messages", file});
        ASSERT_TRUE(sim.Ok());
        Use(sim, /*delMsg=*/true, /*longSms=*/true);
        const ProcessResult r = Velkan({"send-get"});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
        const auto inbox = Folder("inbox");
        ASSERT_EQ(inbox.size(), 1u);
        EXPECT_EQ(Field(inbox[0], "text"), "Start " + kGap + "end.");
        id = Field(inbox[0], "id");
        // Every part was stored, so the phone gives them up.
        EXPECT_EQ(sim.StoredIn("SM"), 0);
        EXPECT_EQ(sim.StoredIn("ME"), 0);
    }
    MarkAllRead();
    {
        const std::string file = MessagesFile({Listed("SM", DeliverPart(9, 3, 2, "middle "))});
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--messages", file});
        ASSERT_TRUE(sim.Ok());
        Use(sim, /*delMsg=*/true, /*longSms=*/true);
        const ProcessResult r = Velkan({"send-get"});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
        const auto inbox = Folder("inbox");
        ASSERT_EQ(inbox.size(), 1u);
        EXPECT_EQ(Field(inbox[0], "text"), "Start middle end.");
        EXPECT_EQ(Field(inbox[0], "id"), id) << "the same message, completed";
        EXPECT_EQ(Field(inbox[0], "flags"), "1") << "unread again";
        EXPECT_EQ(sim.StoredIn("SM"), 0);
    }
}

TEST_F(LongSmsTest, KillNineBetweenTheMemoriesLosesNoPartAndStoresNoneTwice) {
    const std::string gate = home_ + "/gate";
    const std::string file = MessagesFile({Listed("SM", DeliverPart(11, 2, 1, "Killed ")),
                                           Listed("ME", DeliverPart(11, 2, 2, "in between."))});
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--no-deliver-sent", "--messages", file, "--hold-on", "AT+CPMS=\"ME\"",
                         "--hold-gate", gate});
    ASSERT_TRUE(sim.Ok());
    Use(sim, /*delMsg=*/true, /*longSms=*/true);
    {
        RunningProcess run(VELKAN_BIN, {"send-get"}, home_ + "/kill.err");
        // The SIM's part is stored by now; the phone memory's part is not.
        ASSERT_TRUE(WaitForFile(gate + ".held"));
        const auto inbox = Folder("inbox");
        ASSERT_EQ(inbox.size(), 1u);
        EXPECT_EQ(Field(inbox[0], "text"), "Killed " + kGap);
        run.Signal(SIGKILL);
        EXPECT_EQ(run.Wait(), 128 + SIGKILL);
    }
    std::ofstream(gate).put('\n');
    const ProcessResult clean = Velkan({"send-get"});
    ASSERT_EQ(clean.exitStatus, 0) << clean.err;
    const auto inbox = Folder("inbox");
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_EQ(Field(inbox[0], "text"), "Killed in between.");
    EXPECT_EQ(sim.StoredIn("SM"), 0);
    EXPECT_EQ(sim.StoredIn("ME"), 0);
}

TEST_F(LongSmsTest, AFailureAtPart2Of3LeavesTheRestForTheNextRunWithTheSameReference) {
    const std::string text = LongText();
    ASSERT_EQ(Velkan({"config", "set", "LongSms", "1"}).exitStatus, 0);
    ProcessResult r = Velkan({"compose", "--to", "+4930123456", "--text", text});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    r = Velkan({"compose", "--to", "+4930123456", "--text", "Another " + text});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    {
        PhoneSimProcess sim(PhoneSimProcess::kTcp,
                            {"--no-deliver-sent", "--error-on", "PDU#2:CMS:500"});
        ASSERT_TRUE(sim.Ok());
        Use(sim, /*delMsg=*/false, /*longSms=*/true);
        r = Velkan({"send-get"});
        EXPECT_EQ(r.exitStatus, 15) << r.err;
        EXPECT_TRUE(Contains(r.err, "1 of 3 parts of the message to +4930123456 were sent"))
            << r.err;
        // Part 1 went; part 2 was refused; nothing more.
        EXPECT_EQ(SentTexts(sim.State()), (std::vector<std::string>{text.substr(0, 153)}));
        EXPECT_EQ(SentHeaders(sim.State()), (std::vector<std::string>{"0/3/1"}));
    }
    auto outbox = Folder("outbox");
    ASSERT_EQ(outbox.size(), 2u);
    for (const auto& l : outbox) EXPECT_EQ(Field(l, "mayHaveBeenSent"), "false") << l;
    EXPECT_TRUE(Folder("sent").empty());
    {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
        ASSERT_TRUE(sim.Ok());
        Use(sim, /*delMsg=*/false, /*longSms=*/true);
        r = Velkan({"send-get"});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
        // Only parts 2 and 3, with the reference of part 1; then the next message, all three
        // parts with a reference of its own.
        const std::string other = "Another " + text;
        EXPECT_EQ(
            SentTexts(sim.State()),
            (std::vector<std::string>{text.substr(153, 153), text.substr(306), other.substr(0, 153),
                                      other.substr(153, 153), other.substr(306)}));
        EXPECT_EQ(SentHeaders(sim.State()),
                  (std::vector<std::string>{"0/3/2", "0/3/3", "1/3/1", "1/3/2", "1/3/3"}));
    }
    EXPECT_TRUE(Folder("outbox").empty());
    const auto sent = Folder("sent");
    ASSERT_EQ(sent.size(), 2u);
    for (const auto& l : sent) EXPECT_EQ(Field(l, "flags"), "0") << l;
}

TEST_F(LongSmsTest, KillNineBetweenPartsSendsNoPartTwice) {
    const std::string text = LongText();
    const std::string gate = home_ + "/gate";
    Set("LongSms", "1");
    // Where the second part's AT+CMGS comes in a run's conversation: a send of the same text
    // (its reference is 0, so the message below gets 1).
    std::string secondSend;
    {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
        ASSERT_TRUE(sim.Ok());
        Use(sim, /*delMsg=*/false, /*longSms=*/true);
        const ProcessResult r = Velkan({"send", "--to", "+4930123456", "--text", text});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
        const auto log = sim.Log();
        int sends = 0;
        for (std::size_t i = 0; i < log.size() && secondSend.empty(); ++i) {
            if (log[i].rfind("AT+CMGS=", 0) == 0 && ++sends == 2) {
                secondSend = "#" + std::to_string(i + 1);
            }
        }
        ASSERT_FALSE(secondSend.empty());
    }
    ProcessResult r = Velkan({"compose", "--to", "+4930123456", "--text", text});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    const std::string id = Field(Folder("outbox").at(0), "id");
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--no-deliver-sent", "--hold-on", secondSend, "--hold-gate", gate});
    ASSERT_TRUE(sim.Ok());
    Use(sim, /*delMsg=*/false, /*longSms=*/true);
    {
        RunningProcess run(VELKAN_BIN, {"send-get"}, home_ + "/kill.err");
        // Part 1 is accepted; part 2's AT+CMGS waits for its answer.
        ASSERT_TRUE(WaitForFile(gate + ".held"));
        run.Signal(SIGKILL);
        EXPECT_EQ(run.Wait(), 128 + SIGKILL);
    }
    std::ofstream(gate).put('\n');
    // Killed while part 2 was being handed over: the message waits for the person's word, and
    // the run sends nothing of it.
    r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_TRUE(Contains(r.err, "Not sent, it may have been sent already: +4930123456")) << r.err;
    EXPECT_EQ(SentHeaders(sim.State()), (std::vector<std::string>{"1/3/1"}));
    auto outbox = Folder("outbox");
    ASSERT_EQ(outbox.size(), 1u);
    EXPECT_EQ(Field(outbox[0], "mayHaveBeenSent"), "true");
    // The person's word: the parts after those known to be sent go, with the same reference.
    r = Velkan({"resend", id});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(SentHeaders(sim.State()), (std::vector<std::string>{"1/3/1", "1/3/2", "1/3/3"}));
    EXPECT_EQ(
        SentTexts(sim.State()),
        (std::vector<std::string>{text.substr(0, 153), text.substr(153, 153), text.substr(306)}));
    EXPECT_TRUE(Folder("outbox").empty());
    int inSent = 0;
    for (const auto& l : Folder("sent")) inSent += Field(l, "id") == id;
    EXPECT_EQ(inSent, 1);
}

TEST_F(LongSmsTest, SendGoesInPartsAndKeepsOneMessageInSent) {
    const std::string text = LongText();
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
    ASSERT_TRUE(sim.Ok());
    Use(sim, /*delMsg=*/false, /*longSms=*/false);
    // Without LongSms the 160 rule holds: the text is cut.
    ProcessResult r = Velkan({"send", "--to", "+4930123456", "--text", text});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(SentTexts(sim.State()), (std::vector<std::string>{text.substr(0, 160)}));
    Set("LongSms", "1");
    r = Velkan({"send", "--to", "+4930123456", "--text", text});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(SentHeaders(sim.State()),
              (std::vector<std::string>{"none", "0/3/1", "0/3/2", "0/3/3"}));
    const auto sent = Folder("sent");
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(Field(sent[0], "text"), text);
    EXPECT_EQ(Field(sent[0], "flags"), "0");
    EXPECT_TRUE(Folder("outbox").empty());
}

TEST_F(LongSmsTest, WithUnicodeOnUcs2PartsWithAnEmojiAreReadAndJoined) {
    const std::string file = MessagesFile({
        Listed("ME", DeliverUcs2(3, 2, 2, u" \xD83D\xDE00 \x0434\x0430")),
        Listed("SM", DeliverUcs2(3, 2, 1, u"Privet \x043C\x0438\x0440")),
        Listed("SM", DeliverUcs2(0, 0, 0, u"\x03B1\x03B2\x03B3")),
    });
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--messages", file});
    ASSERT_TRUE(sim.Ok());
    Use(sim, /*delMsg=*/false, /*longSms=*/true, /*unicode=*/true);
    ProcessResult r = Velkan({"send-get"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    std::vector<std::string> texts;
    for (const auto& l : Folder("inbox")) texts.push_back(Field(l, "text"));
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "Privet \xD0\xBC\xD0\xB8\xD1\x80 \xF0\x9F\x98\x80 \xD0\xB4\xD0\xB0",
                         "\xCE\xB1\xCE\xB2\xCE\xB3"}));
    // An emoji goes out in UCS2.
    r = Velkan({"send", "--to", "+4930123456", "--text", "Smile \xF0\x9F\x98\x80"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    const auto state = sim.State();
    const auto sent = std::find_if(state.begin(), state.end(),
                                   [](const std::string& l) { return l.rfind("SENT|", 0) == 0; });
    ASSERT_NE(sent, state.end());
    EXPECT_TRUE(Contains(*sent, "D83DDE00")) << *sent;
}

TEST_F(LongSmsTest, WithBothOptionsOffEveryPartIsAMessageOfItsOwnAsBefore) {
    const std::string file = MessagesFile({Listed("SM", DeliverPart(7, 2, 2, "second")),
                                           Listed("ME", DeliverPart(7, 2, 1, "first"))});
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--messages", file});
    ASSERT_TRUE(sim.Ok());
    Use(sim, /*delMsg=*/false, /*longSms=*/false);
    ProcessResult r = Velkan({"send-get"});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    auto inbox = Folder("inbox");
    ASSERT_EQ(inbox.size(), 2u);
    std::vector<std::string> texts;
    for (const auto& l : inbox) texts.push_back(Field(l, "text"));
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts, (std::vector<std::string>{"first", "second"}));
    // A text beyond 160 characters is refused as it always was.
    r = Velkan({"compose", "--to", "+4930123456", "--text", LongText()});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_TRUE(Contains(r.err, "cut to 160 characters")) << r.err;
    EXPECT_EQ(Field(Folder("outbox").at(0), "text"), LongText().substr(0, 160));
}
