// SPDX-License-Identifier: GPL-3.0-or-later
// gammu, an independent GSM 07.07/07.05 client, against the simulated phone on a
// pseudo-terminal: it identifies the phone, reads every stored message, sends one and deletes
// one, out of the box (a plain AT connection, no fault knob).
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "interop_support.h"
#include "phone_sim_process.h"
#include "temp_dir.h"

namespace {

using Message = std::pair<std::string, std::string>;  // number, text

class Gammu : public ::testing::Test {
  protected:
    void SetUp() override {
        gammu_ = FindTool("gammu");
        if (gammu_.empty()) {
            GTEST_SKIP() << "gammu is not installed (scripts/setup.sh installs it)";
        }
        ASSERT_FALSE(dir_.Path().empty());
    }

    // Starts the simulated phone and writes gammu's configuration for its device.
    void StartPhone(std::vector<std::string> args) {
        sim_ =
            std::make_unique<PhoneSimProcess>(PhoneSimProcess::kPty, std::move(args), dir_.Path());
        ASSERT_TRUE(sim_->Ok());
        WriteTextFile(dir_ / "gammurc", "[gammu]\ndevice = " + sim_->Address() +
                                            "\nconnection = at\nlogfile = " + (dir_ / "gammu.log") +
                                            "\nlogformat = textall\n");
    }

    // gammu -c CONFIG ARGS...; on failure the test's output shows gammu's own log.
    ProcessResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"-c", dir_ / "gammurc"});
        ProcessResult r = RunTool(gammu_, args);
        if (r.exitStatus != 0) {
            ADD_FAILURE() << "gammu " << args[2] << " ended with " << r.exitStatus << "\n"
                          << r.out << r.err << "\n-- gammu log --\n"
                          << ReadTextFile(dir_ / "gammu.log");
        }
        return r;
    }

    // gammu getallsms, read back as (number, text) pairs.
    std::multiset<Message> AllMessages(std::string* raw = nullptr) {
        ProcessResult r = Run({"getallsms"});
        if (raw != nullptr) *raw = r.out;
        std::multiset<Message> messages;
        std::vector<std::string> lines = Lines(r.out);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].rfind("Location ", 0) != 0) continue;
            std::string number;
            std::size_t j = i + 1;
            for (; j < lines.size() && !lines[j].empty(); ++j) {
                if (lines[j].rfind("Remote number", 0) == 0) {
                    const std::size_t open = lines[j].find('"');
                    number = lines[j].substr(open + 1, lines[j].rfind('"') - open - 1);
                }
            }
            // The text follows the header after one blank line.
            const std::string text = j + 1 < lines.size() ? lines[j + 1] : "";
            messages.emplace(number, text);
            i = j + 1;
        }
        return messages;
    }

    std::string gammu_;
    TempDir dir_;
    std::unique_ptr<PhoneSimProcess> sim_;
};

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST_F(Gammu, IdentifiesThePhone) {
    StartPhone({});
    ProcessResult r = Run({"identify"});
    ASSERT_EQ(r.exitStatus, 0);
    EXPECT_TRUE(Has(r.out, "Manufacturer         : Velkan")) << r.out;
    EXPECT_TRUE(Has(r.out, "Phone simulator")) << r.out;
    EXPECT_TRUE(Has(r.out, "Firmware             : 1.0")) << r.out;
    EXPECT_TRUE(Has(r.out, "IMEI                 : 490154203237518")) << r.out;
    EXPECT_TRUE(Has(r.out, "SIM IMSI             : 262019876543210")) << r.out;
    // What it took: the start-up that used to stop at the power check.
    const std::vector<std::string> log = sim_->Log();
    EXPECT_NE(std::find(log.begin(), log.end(), "AT+CFUN=1"), log.end());
    EXPECT_NE(std::find(log.begin(), log.end(), "AT+CIMI"), log.end());
}

TEST_F(Gammu, ReadsEveryStoredMessage) {
    WriteTextFile(dir_ / "messages.txt",
                  "SM|1|+4930999888|2003-11-15 09:30:05|+04|Read long ago\n"
                  "ME@7|0|+447700900123|2024-02-29 23:59:59|+00|Leap day: @ and \xC3\xA9\n");
    StartPhone({"--messages", dir_ / "messages.txt", "--sms", "SM:+4930123456:Hello from the SIM",
                "--sms", "ME:0301234567:Hello from the phone memory"});
    std::string raw;
    const std::multiset<Message> expected = {
        {"+4930999888", "Read long ago"},
        {"+4930123456", "Hello from the SIM"},
        {"0301234567", "Hello from the phone memory"},
        {"+447700900123", "Leap day: @ and \xC3\xA9"},
    };
    EXPECT_EQ(AllMessages(&raw), expected) << raw;
    EXPECT_TRUE(Has(raw, "4 SMS parts in 4 SMS sequences")) << raw;
    EXPECT_TRUE(Has(raw, "Sent                 : Sat Nov 15 09:30:05 2003 +0100")) << raw;
}

TEST_F(Gammu, SendsAMessageThatArrives) {
    StartPhone({});
    ProcessResult r = Run({"sendsms", "TEXT", "+4930777666", "-text", "Sent by gammu"});
    ASSERT_EQ(r.exitStatus, 0);
    EXPECT_TRUE(Has(r.out + r.err, "OK, message reference=1")) << r.out << r.err;
    // The phone took it as it was meant...
    bool sent = false;
    for (const std::string& line : sim_->State()) {
        sent = sent || (line.rfind("SENT|1|+4930777666|", 0) == 0 && line.size() > 14 &&
                        line.substr(line.size() - 14) == "|Sent by gammu");
    }
    EXPECT_TRUE(sent) << ReadTextFile(sim_->StatePath());
    // ...and it came back to the phone, where gammu reads it.
    EXPECT_EQ(AllMessages(), (std::multiset<Message>{{"+4930777666", "Sent by gammu"}}));
}

TEST_F(Gammu, DeletesAMessage) {
    StartPhone({"--sms", "SM:+4930111111:First", "--sms", "SM:+4930222222:Second"});
    ProcessResult r = Run({"deletesms", "1", "1"});  // folder 1 (SIM inbox), location 1
    ASSERT_EQ(r.exitStatus, 0);
    EXPECT_TRUE(sim_->WaitForLog("AT+CMGD=1"));
    EXPECT_EQ(sim_->StoredIn("SM"), 1);
    EXPECT_EQ(AllMessages(), (std::multiset<Message>{{"+4930222222", "Second"}}));
}

}  // namespace
