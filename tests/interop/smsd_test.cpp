// SPDX-License-Identifier: GPL-3.0-or-later
// smsd of smstools, an independent GSM 07.07/07.05 client, against the simulated phone on a
// pseudo-terminal: it sends a file from its outgoing spool and stores the phone's messages in
// its incoming folder, out of the box (no fault knob); a status report it asks for comes back.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "interop_support.h"
#include "phone_sim_process.h"
#include "temp_dir.h"

namespace {

// How long smsd may take for all of a test's work (it needs a few seconds).
constexpr std::chrono::seconds kLimit{60};

// An smsd message file: its headers, then the text after the first blank line.
struct SpoolFile {
    std::map<std::string, std::string> headers;
    std::string text;
};

SpoolFile ReadSpoolFile(const std::string& path) {
    SpoolFile file;
    const std::string all = ReadTextFile(path);
    const std::size_t blank = all.find("\n\n");
    for (const std::string& line : Lines(all.substr(0, blank))) {
        const std::size_t colon = line.find(": ");
        if (colon != std::string::npos)
            file.headers[line.substr(0, colon)] = line.substr(colon + 2);
    }
    if (blank != std::string::npos) file.text = all.substr(blank + 2);
    return file;
}

class Smsd : public ::testing::Test {
  protected:
    void SetUp() override {
        smsd_ = FindTool("smsd");
        if (smsd_.empty()) {
            GTEST_SKIP() << "smsd (smstools) is not installed (scripts/setup.sh installs it)";
        }
        ASSERT_FALSE(dir_.Path().empty());
        for (const char* folder : {"outgoing", "checked", "incoming", "failed", "sent"}) {
            std::filesystem::create_directories(dir_ / folder);
        }
    }

    // Starts the phone and then smsd in the foreground (-t) with a configuration of its own:
    // every folder in the test's temporary folder, one modem on the phone's device that receives
    // too, a check every second, and `init` as the modem's initialisation command.
    void Start(std::vector<std::string> simArgs, const std::string& init) {
        sim_ = std::make_unique<PhoneSimProcess>(PhoneSimProcess::kPty, std::move(simArgs),
                                                 dir_.Path());
        ASSERT_TRUE(sim_->Ok());
        std::string config = "devices = GSM1\nloglevel = 7\ndelaytime = 1\n";
        for (const char* folder : {"outgoing", "checked", "incoming", "failed", "sent"}) {
            config += std::string(folder) + " = " + (dir_ / folder) + "\n";
        }
        config += "logfile = " + (dir_ / "smsd.log") + "\n";
        config += "infofile = " + (dir_ / "smsd.working") + "\n";
        config += "pidfile = " + (dir_ / "smsd.pid") + "\n";
        config += "\n[GSM1]\ndevice = " + sim_->Address() + "\nincoming = yes\n";
        config += "init = " + init + "\n";
        WriteTextFile(dir_ / "smsd.conf", config);
        daemon_ = std::make_unique<DaemonGroup>(
            smsd_, std::vector<std::string>{"-t", "-c" + (dir_ / "smsd.conf")}, dir_ / "smsd.err");
        ASSERT_TRUE(daemon_->Started());
    }

    // Puts a message into the outgoing spool in one step, so smsd never sees half of it.
    void Spool(const std::string& name, const std::string& content) {
        WriteTextFile(dir_ / ("spooling." + name), content);
        std::filesystem::rename(dir_ / ("spooling." + name), dir_ / ("outgoing/" + name));
    }

    // Stops smsd; its files are complete after this.
    void StopSmsd() { daemon_->Stop(); }

    std::string Diagnosis() {
        return "-- smsd log --\n" + ReadTextFile(dir_ / "smsd.log") + "-- smsd stderr --\n" +
               ReadTextFile(dir_ / "smsd.err") + "-- phone log --\n" +
               ReadTextFile(sim_->LogPath());
    }

    std::vector<SpoolFile> Incoming() {
        std::vector<SpoolFile> files;
        for (const std::string& name : FilesIn(dir_ / "incoming", "GSM1.")) {
            files.push_back(ReadSpoolFile(dir_ / ("incoming/" + name)));
        }
        return files;
    }

    std::string smsd_;
    TempDir dir_;
    std::unique_ptr<PhoneSimProcess> sim_;
    std::unique_ptr<DaemonGroup> daemon_;
};

TEST_F(Smsd, SendsItsSpoolAndStoresThePhonesMessages) {
    // The phone's messages are on the SIM, and what arrives goes there too: smsd reads the
    // first memory.
    Spool("out1", "To: 4930777666\n\nFrom the spool\n");
    Start({"--sms", "SM:+4930123456:Hello from the phone", "--sms", "SM:0301234567:Second one"},
          "AT+CPMS=\"SM\",\"SM\",\"SM\"");
    const auto end = std::chrono::steady_clock::now() + kLimit;
    const bool sent = WaitForFiles(dir_ / "sent", "out1", 1, end);
    // Two stored messages, and the sent one that came back.
    const bool received = WaitForFiles(dir_ / "incoming", "GSM1.", 3, end);
    StopSmsd();
    ASSERT_TRUE(sent) << Diagnosis();
    ASSERT_TRUE(received) << Diagnosis();

    EXPECT_TRUE(FilesIn(dir_ / "failed", "").empty()) << Diagnosis();
    SpoolFile out = ReadSpoolFile(dir_ / "sent/out1");
    EXPECT_EQ(out.headers["To"], "4930777666");
    EXPECT_EQ(out.text, "From the spool\n");
    // The phone was given exactly that.
    bool given = false;
    for (const std::string& line : sim_->State()) {
        given = given || (line.rfind("SENT|1|+4930777666|", 0) == 0 &&
                          line.find("|From the spool") != std::string::npos);
    }
    EXPECT_TRUE(given) << ReadTextFile(sim_->StatePath());

    std::map<std::string, std::string> byNumber;
    for (SpoolFile& in : Incoming()) byNumber[in.headers["From"]] = in.text;
    const std::map<std::string, std::string> expected = {
        {"4930123456", "Hello from the phone"},
        {"0301234567", "Second one"},
        {"4930777666", "From the spool"},
    };
    EXPECT_EQ(byNumber, expected) << Diagnosis();
    // Read and deleted from the phone.
    EXPECT_EQ(sim_->StoredIn("SM"), 0);
}

TEST_F(Smsd, GetsTheStatusReportItAskedFor) {
    Spool("out1", "To: 4930777666\nReport: yes\n\nWith a report\n");
    // New message indications as smsd's users set them: "+CMTI" for messages, status reports
    // stored and announced with "+CDSI".
    Start({}, "AT+CPMS=\"SM\",\"SM\",\"SM\";+CNMI=2,1,0,2,0");
    const bool received =
        WaitForFiles(dir_ / "incoming", "GSM1.", 2, std::chrono::steady_clock::now() + kLimit);
    StopSmsd();
    ASSERT_TRUE(received) << Diagnosis();

    int reports = 0;
    int messages = 0;
    for (SpoolFile& in : Incoming()) {
        EXPECT_EQ(in.headers["From"], "4930777666");
        if (in.text.rfind("SMS STATUS REPORT", 0) == 0) {
            ++reports;
            EXPECT_NE(in.text.find("Message_id: 1\n"), std::string::npos) << in.text;
            EXPECT_NE(in.text.find("Status: 0,Ok"), std::string::npos) << in.text;
        } else {
            ++messages;
            EXPECT_EQ(in.text, "With a report");
        }
    }
    EXPECT_EQ(reports, 1) << Diagnosis();
    EXPECT_EQ(messages, 1) << Diagnosis();
    // The phone was asked for the report (TP-SRR) and said where it put it.
    EXPECT_NE(ReadTextFile(dir_ / "smsd.log").find("+CDSI: \"SM\","), std::string::npos)
        << Diagnosis();
}

}  // namespace
