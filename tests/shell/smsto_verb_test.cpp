// SPDX-License-Identifier: GPL-3.0-or-later
// velkan smsto parse / build, run as the command a script would run.
#include <gtest/gtest.h>

#include "run_process.h"

namespace {

ProcessResult Velkan(const std::vector<std::string>& args) {
    return RunProcess(VELKAN_BIN, args);
}

TEST(SmsToVerb, ParsePrintsNumberAndName) {
    const ProcessResult r = Velkan({"smsto", "parse", "/smsto:0123?Anna"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "{\"ok\":true,\"number\":\"0123\",\"name\":\"Anna\"}\n");
}

TEST(SmsToVerb, ParseOfTheQuotedFormNormalisesTheNumber) {
    const ProcessResult r = Velkan({"smsto", "parse", "\"/smsto:+49 (172) 12-34?D\u00f6marfle\""});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "{\"ok\":true,\"number\":\"+491721234\",\"name\":\"D\u00f6marfle\"}\n");
}

TEST(SmsToVerb, ParseRejectsALineWithoutNumberPartWithStatus1) {
    ProcessResult r = Velkan({"smsto", "parse", "/smsto:?Anna"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_EQ(r.out, "{\"ok\":false,\"number\":\"\",\"name\":\"\"}\n");
    r = Velkan({"smsto", "parse", "no colon"});
    EXPECT_EQ(r.exitStatus, 1);
    r = Velkan({"smsto", "parse", ""});
    EXPECT_EQ(r.exitStatus, 1);
}

TEST(SmsToVerb, ParseAcceptsAnEmptyNumber) {
    const ProcessResult r = Velkan({"smsto", "parse", "/smsto:"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "{\"ok\":true,\"number\":\"\",\"name\":\"\"}\n");
}

TEST(SmsToVerb, ParseJoinsArgumentsAndConvertsLinks) {
    ProcessResult r = Velkan({"smsto", "parse", "/smsto:+49", "172?Anna", "Maria"});
    EXPECT_EQ(r.out, "{\"ok\":true,\"number\":\"+49172\",\"name\":\"Anna Maria\"}\n");
    r = Velkan({"smsto", "parse", "sms:+1,+2?body=hello"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "{\"ok\":true,\"number\":\"+1\",\"name\":\"\"}\n");
    r = Velkan({"smsto", "parse", "SMSTO:0123?Anna%20B"});
    EXPECT_EQ(r.out, "{\"ok\":true,\"number\":\"0123\",\"name\":\"Anna B\"}\n");
}

TEST(SmsToVerb, ParseEscapesTheNameForJson) {
    const ProcessResult r = Velkan({"smsto", "parse", "/smsto:1?a\\b\"c"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "{\"ok\":true,\"number\":\"1\",\"name\":\"a\\\\b\\\"c\"}\n");
}

TEST(SmsToVerb, BuildWritesTheQuotedForm) {
    ProcessResult r = Velkan({"smsto", "build", "--number", "0123", "--name", "Anna"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "\"/smsto:0123?Anna\"\n");
    r = Velkan({"smsto", "build", "--name", "Dr. \"Who?\" <x>", "--number", "+49 172-1"});
    EXPECT_EQ(r.out, "\"/smsto:+491721?Dr. Who x\"\n");
    r = Velkan({"smsto", "build", "--number", "5"});
    EXPECT_EQ(r.out, "\"/smsto:5\"\n");
}

TEST(SmsToVerb, WhatBuildWritesParseReads) {
    const ProcessResult built =
        Velkan({"smsto", "build", "--number", "+44 20", "--name", "J\u00fcrgen"});
    ASSERT_EQ(built.exitStatus, 0);
    const std::string line = built.out.substr(0, built.out.size() - 1);
    const ProcessResult parsed = Velkan({"smsto", "parse", line});
    EXPECT_EQ(parsed.out, "{\"ok\":true,\"number\":\"+4420\",\"name\":\"J\u00fcrgen\"}\n");
}

TEST(SmsToVerb, UsageErrorsExitWith2) {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"smsto"},
             {"smsto", "frobnicate"},
             {"smsto", "parse"},
             {"smsto", "build"},
             {"smsto", "build", "--name", "Anna"},
             {"smsto", "build", "--number"},
             {"smsto", "build", "--number", "1", "--colour", "red"},
         }) {
        const ProcessResult r = Velkan(args);
        EXPECT_EQ(r.exitStatus, 2) << args.size();
        EXPECT_TRUE(r.out.empty());
        EXPECT_NE(r.err.find("velkan smsto"), std::string::npos) << r.err;
    }
}

TEST(SmsToVerb, ListedInTheHelp) {
    const ProcessResult r = Velkan({"--help"});
    EXPECT_NE(r.out.find("velkan smsto parse CMDLINE"), std::string::npos);
    EXPECT_NE(r.out.find("velkan smsto build --number N [--name NAME]"), std::string::npos);
}

}  // namespace
