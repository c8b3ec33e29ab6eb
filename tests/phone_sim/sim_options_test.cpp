// SPDX-License-Identifier: GPL-3.0-or-later
// Command-line options of the simulator.
#include "sim_options.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace phone_sim {
namespace {

bool Parse(std::vector<const char*> args, SimOptions* options, std::string* error) {
    args.insert(args.begin(), "velkan-phone-sim");
    return ParseOptions(static_cast<int>(args.size()), args.data(), options, error);
}

TEST(SimOptions, Defaults) {
    SimOptions o;
    std::string error;
    ASSERT_TRUE(Parse({}, &o, &error)) << error;
    EXPECT_EQ(o.host, "127.0.0.1");
    EXPECT_EQ(o.port, 4000u);
    EXPECT_FALSE(o.pty);
    EXPECT_TRUE(o.knobs.deliverSent);
    EXPECT_EQ(o.knobs.simCapacity, 30u);
    EXPECT_EQ(o.knobs.phoneCapacity, 100u);
    EXPECT_EQ(o.baud, 0u);
}

TEST(SimOptions, EveryOptionIsTaken) {
    SimOptions o;
    std::string error;
    ASSERT_TRUE(Parse({"--listen",
                       "localhost:0",
                       "--messages",
                       "a.txt",
                       "--messages=b.txt",
                       "--sms",
                       "SM:+49:Hi",
                       "--generate",
                       "12",
                       "--state",
                       "s.txt",
                       "--log",
                       "-",
                       "--smsc",
                       "",
                       "--sm-capacity",
                       "5",
                       "--me-capacity",
                       "7",
                       "--no-deliver-sent",
                       "--echo",
                       "--reject-v1",
                       "--no-me",
                       "--error-on",
                       "AT+CMGL",
                       "--error-on",
                       "AT+CMGD:CMS:321",
                       "--error-on",
                       "PDU:CME:10",
                       "--silent-on",
                       "AT+CPMS",
                       "--drop-on",
                       "PDU",
                       "--drop-after",
                       "3",
                       "--byte-at-a-time",
                       "--prompt-without-blank",
                       "--unsolicited",
                       "RING",
                       "--baud",
                       "19200",
                       "--garbage",
                       "8",
                       "--no-line-end-flood",
                       "AT+CMGL",
                       "--listing-noise",
                       "nul",
                       "--listing-noise",
                       "cmti",
                       "--listing-noise=long:1999@7"},
                      &o, &error))
        << error;
    EXPECT_EQ(o.host, "localhost");
    EXPECT_EQ(o.port, 0u);
    EXPECT_EQ(o.messageFiles, (std::vector<std::string>{"a.txt", "b.txt"}));
    EXPECT_EQ(o.quickMessages, (std::vector<std::string>{"SM:+49:Hi"}));
    EXPECT_EQ(o.generate, 12u);
    EXPECT_EQ(o.statePath, "s.txt");
    EXPECT_EQ(o.logPath, "-");
    EXPECT_EQ(o.knobs.serviceCentre, "");
    EXPECT_EQ(o.knobs.simCapacity, 5u);
    EXPECT_EQ(o.knobs.phoneCapacity, 7u);
    EXPECT_FALSE(o.knobs.deliverSent);
    EXPECT_TRUE(o.knobs.echo);
    EXPECT_TRUE(o.knobs.rejectV1);
    EXPECT_TRUE(o.knobs.noMe);
    ASSERT_EQ(o.knobs.errorOn.size(), 3u);
    EXPECT_EQ(o.knobs.errorOn[0].command, "AT+CMGL");
    EXPECT_EQ(o.knobs.errorOn[0].reply.kind, FaultKind::kError);
    EXPECT_EQ(o.knobs.errorOn[1].command, "AT+CMGD");
    EXPECT_EQ(o.knobs.errorOn[1].reply.kind, FaultKind::kCms);
    EXPECT_EQ(o.knobs.errorOn[1].reply.code, 321);
    EXPECT_EQ(o.knobs.errorOn[2].command, "PDU");
    EXPECT_EQ(o.knobs.errorOn[2].reply.kind, FaultKind::kCme);
    EXPECT_EQ(o.knobs.errorOn[2].reply.code, 10);
    EXPECT_EQ(o.knobs.silentOn, (std::vector<std::string>{"AT+CPMS"}));
    EXPECT_EQ(o.knobs.dropOn, (std::vector<std::string>{"PDU"}));
    EXPECT_EQ(o.knobs.dropAfter, 3u);
    EXPECT_TRUE(o.byteAtATime);
    EXPECT_TRUE(o.knobs.promptWithoutBlank);
    EXPECT_EQ(o.knobs.unsolicited, "RING");
    EXPECT_EQ(o.baud, 19200u);
    EXPECT_EQ(o.knobs.garbage, 8u);
    EXPECT_EQ(o.knobs.floodOn, (std::vector<std::string>{"AT+CMGL"}));
    ASSERT_EQ(o.knobs.listingNoise.size(), 3u);
    EXPECT_EQ(o.knobs.listingNoise[0].kind, ListingNoiseKind::kNul);
    EXPECT_EQ(o.knobs.listingNoise[1].kind, ListingNoiseKind::kCmti);
    EXPECT_EQ(o.knobs.listingNoise[2].kind, ListingNoiseKind::kLongLine);
    EXPECT_EQ(o.knobs.listingNoise[2].length, 1999u);
    EXPECT_EQ(o.knobs.listingNoise[0].index, 0u);
    EXPECT_EQ(o.knobs.listingNoise[2].index, 7u);
}

TEST(SimOptions, PtyAndIpv6Listen) {
    SimOptions o;
    std::string error;
    ASSERT_TRUE(Parse({"--pty"}, &o, &error)) << error;
    EXPECT_TRUE(o.pty);
    SimOptions six;
    ASSERT_TRUE(Parse({"--listen=[::1]:4001"}, &six, &error)) << error;
    EXPECT_EQ(six.host, "::1");
    EXPECT_EQ(six.port, 4001u);
}

TEST(SimOptions, ArrivalsWhileRunning) {
    SimOptions o;
    std::string error;
    ASSERT_TRUE(Parse({}, &o, &error)) << error;
    EXPECT_EQ(o.injectEveryMs, 0u);
    EXPECT_EQ(o.controlPath, "");
    ASSERT_TRUE(Parse({"--inject-every", "2", "--control", "/tmp/x.sock"}, &o, &error)) << error;
    EXPECT_EQ(o.injectEveryMs, 2000u);
    EXPECT_EQ(o.controlPath, "/tmp/x.sock");
    for (auto [text, ms] : {std::pair{"0.5", 500u},
                            {"0.001", 1u},
                            {".25", 250u},
                            {"1.05", 1050u},
                            {"86400", 86400000u}}) {
        SimOptions seconds;
        ASSERT_TRUE(Parse({"--inject-every", text}, &seconds, &error)) << text << ": " << error;
        EXPECT_EQ(seconds.injectEveryMs, ms) << text;
    }
}

TEST(SimOptions, BadOptionsAreRefusedWithAReason) {
    const std::vector<std::vector<const char*>> bad = {
        {"--bogus"},
        {"-x"},
        {"extra"},
        {"--listen"},
        {"--listen", "4000"},
        {"--listen", ":4000"},
        {"--listen", "localhost:65536"},
        {"--listen", "localhost:port"},
        {"--pty", "--listen", "127.0.0.1:0"},
        {"--generate", "-1"},
        {"--generate", "many"},
        {"--baud", "5"},
        {"--error-on", "AT+CMGL:WHATEVER"},
        {"--error-on", "AT+CMGL:CMS:"},
        {"--error-on", ":CMS:1"},
        {"--silent-on", ""},
        {"--echo=yes"},
        {"--drop-after"},
        {"--listing-noise"},
        {"--listing-noise", "NUL"},
        {"--listing-noise", "long"},
        {"--listing-noise", "long:0"},
        {"--listing-noise", "long:100001"},
        {"--listing-noise", "nul@"},
        {"--listing-noise", "nul@0"},
        {"--listing-noise", "cmti@x"},
        {"--inject-every", "0"},
        {"--inject-every", "0.0001"},
        {"--inject-every", "-1"},
        {"--inject-every", "1."},
        {"--inject-every", "."},
        {"--inject-every", "1s"},
        {"--inject-every", "86400.001"},
        {"--inject-every"},
        {"--control", ""},
    };
    for (const auto& args : bad) {
        SimOptions o;
        std::string error;
        EXPECT_FALSE(Parse(args, &o, &error)) << args[0];
        EXPECT_FALSE(error.empty()) << args[0];
    }
}

TEST(SimOptions, HelpNamesEveryOptionAndTheFileFormat) {
    SimOptions o;
    std::string error;
    ASSERT_TRUE(Parse({"--help"}, &o, &error));
    EXPECT_TRUE(o.help);
    const std::string help = HelpText();
    for (const char* name : {"--listen",
                             "--pty",
                             "--messages",
                             "--sms",
                             "--generate",
                             "--state",
                             "--log",
                             "--smsc",
                             "--sm-capacity",
                             "--me-capacity",
                             "--deliver-sent",
                             "--no-deliver-sent",
                             "--echo",
                             "--reject-v1",
                             "--no-me",
                             "--error-on",
                             "--silent-on",
                             "--drop-on",
                             "--drop-after",
                             "--byte-at-a-time",
                             "--prompt-without-blank",
                             "--unsolicited",
                             "--baud",
                             "--garbage",
                             "--no-line-end-flood",
                             "--listing-noise",
                             "--hold-on",
                             "--hold-gate",
                             "--inject-every SECONDS",
                             "--control PATH",
                             "MEM|STATUS|NUMBER|YYYY-MM-DD HH:MM:SS|+ZZ|TEXT",
                             "MEM|STATUS|PDU:<hex>|<tpdu length>"}) {
        EXPECT_NE(help.find(name), std::string::npos) << name;
    }
}

// The commands a client meets are named in --help and answered (not with ERROR).
TEST(SimOptions, HelpNamesEveryCommandItAnswers) {
    const std::string help = HelpText();
    const char* const commands[] = {
        "ATZ",     "AT&F",    "ATE0",    "ATV1",    "ATQ0",    "ATI",     "ATH",
        "ATD",     "AT+CGMI", "AT+CGMM", "AT+CGMR", "AT+CGSN", "AT+GMI",  "AT+GMM",
        "AT+GMR",  "AT+GSN",  "AT+CIMI", "AT+GCAP", "AT+CFUN", "AT+CPIN", "AT+CSQ",
        "AT+CREG", "AT+CMEE", "AT+CSCS", "AT+CSCA", "AT+CMGF", "AT+CSMS", "AT+CPMS",
        "AT+CNMI", "AT+CMGL", "AT+CMGR", "AT+CMGD", "AT+CMGS"};
    for (const char* command : commands) {
        EXPECT_NE(help.find(command), std::string::npos) << command;
        // Its test form (or, for the basic commands, the command itself) is not ERROR.
        PhoneModel phone;
        std::string line = command;
        if (line.rfind("AT+", 0) == 0) line += "=?";
        if (line == "ATD") line += "123;";
        phone.Feed(line + "\r");
        EXPECT_EQ(phone.TakeOutput().find("ERROR"), std::string::npos) << line;
    }
}

}  // namespace
}  // namespace phone_sim
