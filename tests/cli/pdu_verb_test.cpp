// SPDX-License-Identifier: GPL-3.0-or-later
// `velkan pdu decode|encode`, run as a user or a script would run it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run_process.h"

namespace {

// The output of a message of one part: the part's fields at the top and again as the only entry
// of "parts".
std::string OnePart(const std::string& pdu, int tpduLength, int encodedLength) {
    const std::string fields = "\"pdu\":\"" + pdu +
                               "\",\"tpduLength\":" + std::to_string(tpduLength) +
                               ",\"encodedLength\":" + std::to_string(encodedLength);
    return "{\"result\":0," + fields + ",\"parts\":[{" + fields + "}]}\n";
}

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
    EXPECT_EQ(r.out, OnePart("0001000A919403214365000005C8329BFD06", 17, 18));
    EXPECT_EQ(r.err, "");
}

TEST(PduVerb, EncodesFlashWithStatusReport) {
    const ProcessResult r = Velkan(
        {"pdu", "encode", "--flash", "--to", "+4930123456", "--status-report", "--text", "Hello"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, OnePart("0021000A91940321436500F005C8329BFD06", 17, 18));
}

TEST(PduVerb, EncodesWithCustomServiceCentre) {
    const ProcessResult r = Velkan(
        {"pdu", "encode", "--to", "+4930123456", "--text", "Hello", "--smsc", "+491234567890"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, OnePart("079194214365870901000A919403214365000005C8329BFD06", 17, 25));
}

TEST(PduVerb, EncodeTakesUtf8Text) {
    // The euro sign has no septet and is sent as 0x5F.
    const ProcessResult r = Velkan({"pdu", "encode", "--to", "112", "--text",
                                    "\xE2\x82\xAC"
                                    "uro"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, OnePart("000100038111F2000004DFBAFC0D", 13, 14));
}

TEST(PduVerb, EncodeWithoutTextSendsAnEmptyMessage) {
    const ProcessResult r = Velkan({"pdu", "encode", "--to", "0301234567"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, OnePart("0001000A813010325476000000", 12, 13));
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

// ---- --unicode, --long, --reference ----

TEST(PduVerb, UnicodeDecodeReadsUcs2AndNamesTheConcatenation) {
    // gammu's SMS-DELIVER of the second of two UCS2 parts, reference 208.
    const char* part =
        "0791947101670000400A91940321436500084250607080900010050003D00202043504420020D83DDE00";
    ProcessResult r = Velkan({"pdu", "decode", part, "--unicode"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_NE(r.out.find("\"text\":\"ет 😀\""), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("\"concatenation\":{\"reference\":208,\"total\":2,\"sequence\":2,"
                         "\"wideReference\":false}}"),
              std::string::npos)
        << r.out;
    // Without --unicode: the text as the codec always read it, and no new key.
    r = Velkan({"pdu", "decode", part});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_NE(r.out.find("\"text\":\"\""), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("concatenation"), std::string::npos) << r.out;
    r = Velkan({"pdu", "decode", kHelloDeliver, "--unicode"});
    EXPECT_NE(r.out.find("\"concatenation\":null}"), std::string::npos) << r.out;
}

TEST(PduVerb, UnicodeEncodeGivesItsParts) {
    ProcessResult r =
        Velkan({"pdu", "encode", "--to", "+4930123456", "--text", "Привет мир 😀", "--unicode"});
    EXPECT_EQ(r.exitStatus, 0);
    const std::string pdu =
        "0001000A91940321436500081A041F044004380432043504420020043C043804400020D83DDE00";
    EXPECT_EQ(r.out, "{\"result\":0,\"pdu\":\"" + pdu +
                         "\",\"tpduLength\":38,\"encodedLength\":39,\"parts\":[{\"pdu\":\"" + pdu +
                         "\",\"tpduLength\":38,\"encodedLength\":39}]}\n");
    // 200 characters: two parts with reference 42, the first part's PDU at the top.
    r = Velkan({"pdu", "encode", "--to", "+4930123456", "--text", std::string(200, 'a'), "--long",
                "--reference", "42"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_NE(r.out.find("\"pdu\":\"0041000A9194032143650000A00500032A0201"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("{\"pdu\":\"0041000A9194032143650000360500032A0202"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("\"tpduLength\":152,\"encodedLength\":153,\"parts\":[{"),
              std::string::npos)
        << r.out;
}

TEST(PduVerb, TextsBeyondTheirPartsAreRefusedWith4) {
    // Two parts needed without --long.
    std::string seventyOne;
    for (int k = 0; k < 71; ++k) seventyOne += "Ж";
    ProcessResult r = Velkan({"pdu", "encode", "--to", "1", "--text", seventyOne, "--unicode"});
    EXPECT_EQ(r.exitStatus, 4);
    r = Velkan({"pdu", "encode", "--to", "1", "--text", "Ж" + std::string(70, 'a'), "--unicode"});
    EXPECT_EQ(r.exitStatus, 4);
    EXPECT_NE(r.err.find("71 UCS2 characters"), std::string::npos) << r.err;
    r = Velkan({"pdu", "encode", "--to", "1", "--text", std::string(1531, 'a'), "--long"});
    EXPECT_EQ(r.exitStatus, 4);
    EXPECT_NE(r.err.find("11 messages"), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "{\"result\":4}\n");
    r = Velkan({"pdu", "encode", "--to", "1", "--text", std::string(1530, 'a'), "--long"});
    EXPECT_EQ(r.exitStatus, 0);
    ExpectUsageError({"pdu", "encode", "--to", "1", "--long", "--reference", "256"},
                     "--reference needs a number from 0 to 255");
    ExpectUsageError({"pdu", "encode", "--to", "1", "--reference"}, "--reference needs a value");
}
