// SPDX-License-Identifier: GPL-3.0-or-later
// `velkan pdu decode|encode`, run as a user or a script would run it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run_process.h"

namespace {

ProcessResult Velkan(const std::vector<std::string>& args) {
    return RunProcess(VELKAN_BIN, args);
}

const char* kHelloDeliver = "00040A91940321436500003011519003504005C8329BFD06";

const char* kHelloDecoded =
    "{\"result\":0,\"firstOctet\":4,\"mti\":0,\"scaType\":0,\"scaDigits\":\"\",\"addressType\":145,"
    "\"addressDigits\":\"4930123456\",\"messageReference\":0,\"protocolId\":0,\"dcs\":0,\"udl\":5,"
    "\"userDataLength\":5,\"headerLength\":0,\"header\":\"\",\"timeStamp\":{\"year\":2003,"
    "\"month\":11,\"day\":15,\"hour\":9,\"minute\":30,\"second\":5,\"zone\":60},"
    "\"number\":\"+4930123456\",\"text\":\"Hello\",\"time\":\"2003-11-15 09:30:05\"}\n";

void ExpectUsageError(const std::vector<std::string>& args, const std::string& message) {
    const ProcessResult r = Velkan(args);
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.out, "") << "nothing on stdout for a usage error";
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("velkan pdu decode HEX [--tpdu-length N]"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("velkan pdu encode --to NUMBER"), std::string::npos) << r.err;
}

}  // namespace

TEST(PduVerb, DecodesHelloWithDerivedTpduLength) {
    const ProcessResult r = Velkan({"pdu", "decode", kHelloDeliver});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, kHelloDecoded);
    EXPECT_EQ(r.err, "");
}

TEST(PduVerb, DecodesHelloWithGivenTpduLength) {
    const ProcessResult r = Velkan({"pdu", "decode", kHelloDeliver, "--tpdu-length", "23"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, kHelloDecoded);
    // The option may come first, too.
    EXPECT_EQ(Velkan({"pdu", "decode", "--tpdu-length", "23", kHelloDeliver}).out, kHelloDecoded);
}

TEST(PduVerb, WrongTpduLengthGivesResultFour) {
    const ProcessResult r = Velkan({"pdu", "decode", kHelloDeliver, "--tpdu-length", "24"});
    EXPECT_EQ(r.exitStatus, 4);
    EXPECT_EQ(r.out, "{\"result\":4}\n");
    EXPECT_EQ(r.err, "");
}

TEST(PduVerb, BadHexGivesResultFour) {
    for (const char* hex : {"0A1", "0-", "00 04", ""}) {
        const ProcessResult r = Velkan({"pdu", "decode", hex});
        EXPECT_EQ(r.exitStatus, 4) << hex;
        EXPECT_EQ(r.out, "{\"result\":4}\n") << hex;
    }
}

TEST(PduVerb, DecodesServiceCentreHeaderAndEightBitText) {
    const ProcessResult r = Velkan(
        {"pdu", "decode", "0791942143658709440A919403214365000430115190035040060300010741FF"});
    EXPECT_EQ(r.exitStatus, 0) << r.out;
    EXPECT_NE(r.out.find("\"scaType\":145,\"scaDigits\":\"491234567890\""), std::string::npos)
        << r.out;
    EXPECT_NE(
        r.out.find(
            "\"dcs\":4,\"udl\":6,\"userDataLength\":2,\"headerLength\":3,\"header\":\"000107\""),
        std::string::npos)
        << r.out;
    // 0xFF becomes U+FFFF by sign extension, which is EF BF BF in UTF-8.
    EXPECT_NE(r.out.find("\"text\":\"A\xEF\xBF\xBF\""), std::string::npos) << r.out;
}

TEST(PduVerb, DecodedSubmitHasNoTime) {
    const ProcessResult r = Velkan({"pdu", "decode", "0011070A9194032143650000AA05C8329BFD06"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_NE(r.out.find("\"mti\":1,"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("\"messageReference\":7,"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("\"time\":null}"), std::string::npos) << r.out;
}

TEST(PduVerb, EncodesHello) {
    const ProcessResult r = Velkan({"pdu", "encode", "--to", "+4930123456", "--text", "Hello"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out,
              "{\"result\":0,\"pdu\":\"0001000A9194032143650000"
              "05C8329BFD06\",\"tpduLength\":17,"
              "\"encodedLength\":18}\n");
    EXPECT_EQ(r.err, "");
}

TEST(PduVerb, EncodesFlashWithStatusReport) {
    const ProcessResult r = Velkan(
        {"pdu", "encode", "--flash", "--to", "+4930123456", "--status-report", "--text", "Hello"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out,
              "{\"result\":0,\"pdu\":\"0021000A91940321436500F0"
              "05C8329BFD06\",\"tpduLength\":17,"
              "\"encodedLength\":18}\n");
}

TEST(PduVerb, EncodesWithCustomServiceCentre) {
    const ProcessResult r = Velkan(
        {"pdu", "encode", "--to", "+4930123456", "--text", "Hello", "--smsc", "+491234567890"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out,
              "{\"result\":0,\"pdu\":\"0791942143658709"
              "01000A9194032143650000"
              "05C8329BFD06\","
              "\"tpduLength\":17,\"encodedLength\":25}\n");
}

TEST(PduVerb, EncodeTakesUtf8Text) {
    // The euro sign has no septet and is sent as 0x5F.
    const ProcessResult r = Velkan({"pdu", "encode", "--to", "112", "--text",
                                    "\xE2\x82\xAC"
                                    "uro"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out,
              "{\"result\":0,\"pdu\":\"000100038111F20000"
              "04DFBAFC0D\",\"tpduLength\":13,"
              "\"encodedLength\":14}\n");
}

TEST(PduVerb, EncodeWithoutTextSendsAnEmptyMessage) {
    const ProcessResult r = Velkan({"pdu", "encode", "--to", "0301234567"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out,
              "{\"result\":0,\"pdu\":\"0001000A813010325476000000\",\"tpduLength\":12,"
              "\"encodedLength\":13}\n");
}

TEST(PduVerb, EncodeFailuresGiveResultFour) {
    const std::string longText(161, 'a');
    const std::vector<std::vector<std::string>> cases = {
        {"pdu", "encode", "--to", "+49 30 123456", "--text", "Hi"},
        {"pdu", "encode", "--to", "123456789012345678901", "--text", "Hi"},
        {"pdu", "encode", "--to", "+4930123456", "--text", longText},
        {"pdu", "encode", "--to", "+4930123456", "--smsc", "+49#1"},
    };
    for (const auto& args : cases) {
        const ProcessResult r = Velkan(args);
        EXPECT_EQ(r.exitStatus, 4) << args[3];
        EXPECT_EQ(r.out, "{\"result\":4}\n") << args[3];
    }
}

TEST(PduVerb, EncodeRefusesANumberWithoutDigitsAndALongCentreWithTheReason) {
    ProcessResult r = Velkan({"pdu", "encode", "--to", "+", "--text", "Hi"});
    EXPECT_EQ(r.exitStatus, 4);
    EXPECT_EQ(r.out, "{\"result\":4}\n");
    EXPECT_EQ(r.err, "velkan: the number is a lone \"+\" without digits\n");
    r = Velkan({"pdu", "encode", "--to", "1", "--smsc", "+" + std::string(21, '1')});
    EXPECT_EQ(r.exitStatus, 4);
    EXPECT_EQ(r.out, "{\"result\":4}\n");
    EXPECT_EQ(r.err, "velkan: the service centre has 21 digits; at most 20 can be used\n");
    r = Velkan({"pdu", "encode", "--to", std::string(5000, '9')});
    EXPECT_EQ(r.exitStatus, 4);
    EXPECT_EQ(r.err, "velkan: the number has 5000 digits; at most 20 can be sent\n");
    r = Velkan({"pdu", "encode", "--to", "1", "--smsc", "+" + std::string(20, '1')});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err, "");
}

TEST(PduVerb, UsageErrors) {
    ExpectUsageError({"pdu"}, "decode or encode");
    ExpectUsageError({"pdu", "transcode"}, "unknown pdu command");
    ExpectUsageError({"pdu", "decode"}, "needs the PDU as HEX");
    ExpectUsageError({"pdu", "decode", kHelloDeliver, "--bogus"}, "unknown option '--bogus'");
    ExpectUsageError({"pdu", "decode", kHelloDeliver, "00"}, "one HEX argument");
    ExpectUsageError({"pdu", "decode", kHelloDeliver, "--tpdu-length", "twenty"},
                     "--tpdu-length needs a number");
    ExpectUsageError({"pdu", "decode", kHelloDeliver, "--tpdu-length", "-1"},
                     "--tpdu-length needs a number");
    ExpectUsageError({"pdu", "decode", kHelloDeliver, "--tpdu-length", "99999999999"},
                     "--tpdu-length needs a number");
    ExpectUsageError({"pdu", "decode", kHelloDeliver, "--tpdu-length"},
                     "--tpdu-length needs a number");
    ExpectUsageError({"pdu", "encode"}, "needs --to NUMBER");
    ExpectUsageError({"pdu", "encode", "--text", "Hello"}, "needs --to NUMBER");
    ExpectUsageError({"pdu", "encode", "--to"}, "--to needs a value");
    ExpectUsageError({"pdu", "encode", "--to", "112", "--smsc"}, "--smsc needs a value");
    ExpectUsageError({"pdu", "encode", "--to", "112", "--bogus"}, "unknown option '--bogus'");
    ExpectUsageError({"pdu", "encode", "--to", "112", "extra"}, "unexpected argument 'extra'");
}

TEST(PduVerb, HelpListsTheVerb) {
    const ProcessResult r = Velkan({"--help"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_NE(r.out.find("velkan pdu encode --to NUMBER [--text TEXT] [--flash] [--status-report] "
                         "[--smsc NUMBER]"),
              std::string::npos);
}
