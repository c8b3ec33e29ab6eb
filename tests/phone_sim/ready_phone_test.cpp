// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated phone answers the start-up questions of a GSM 07.07/07.05 client the way a
// ready phone does, reports failures in the form AT+CMEE asks for, and writes the service
// centre in the character set of AT+CSCS.
#include <gtest/gtest.h>

#include <string>

#include "phone_model.h"

namespace phone_sim {
namespace {

std::string Send(PhoneModel& phone, std::string_view bytes) {
    phone.Feed(bytes);
    return phone.TakeOutput();
}

std::string Answer(const std::string& info) {
    return "\r\n" + info + "\r\n\r\nOK\r\n";
}

constexpr char kOk[] = "\r\nOK\r\n";
constexpr char kError[] = "\r\nERROR\r\n";

TEST(ReadyPhone, IsSwitchedOnUnlockedAndRegistered) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CFUN?\r"), Answer("+CFUN: 1"));
    EXPECT_EQ(Send(phone, "AT+CFUN=?\r"), Answer("+CFUN: (1),(0-1)"));
    EXPECT_EQ(Send(phone, "AT+CFUN=1\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CFUN=1,1\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CPIN?\r"), Answer("+CPIN: READY"));
    EXPECT_EQ(Send(phone, "AT+CPIN=?\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CSQ\r"), Answer("+CSQ: 24,99"));
    EXPECT_EQ(Send(phone, "AT+CSQ=?\r"), Answer("+CSQ: (0-31,99),(0-7,99)"));
    EXPECT_EQ(Send(phone, "AT+CREG?\r"), Answer("+CREG: 0,1"));
    EXPECT_EQ(Send(phone, "AT+CREG=?\r"), Answer("+CREG: (0-2)"));
}

TEST(ReadyPhone, RegistrationReportFollowsCreg) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CREG=2\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CREG?\r"), Answer("+CREG: 2,1,\"00C3\",\"1A2B\""));
    EXPECT_EQ(Send(phone, "AT+CREG=1\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CREG?\r"), Answer("+CREG: 1,1"));
    EXPECT_EQ(Send(phone, "AT+CREG=3\r"), kError);
    EXPECT_EQ(Send(phone, "AT+CREG?\r"), Answer("+CREG: 1,1"));
    // Chained the way a client switches several things on in one line.
    EXPECT_EQ(Send(phone, "AT+CMEE=1;+CREG=0\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CREG?\r"), Answer("+CREG: 0,1"));
}

TEST(ReadyPhone, NamesItselfAndItsSim) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CGMI\r"), Answer("Velkan"));
    EXPECT_EQ(Send(phone, "AT+CGMM\r"), Answer("Phone simulator"));
    EXPECT_EQ(Send(phone, "AT+CGMR\r"), Answer("1.0"));
    EXPECT_EQ(Send(phone, "AT+CGSN\r"), Answer("490154203237518"));
    EXPECT_EQ(Send(phone, "AT+GMI\r"), Answer("Velkan"));
    EXPECT_EQ(Send(phone, "AT+GSN\r"), Answer("490154203237518"));
    EXPECT_EQ(Send(phone, "AT+CIMI\r"), Answer("262019876543210"));
    EXPECT_EQ(Send(phone, "AT+GCAP\r"), Answer("+GCAP: +CGSM"));
    EXPECT_EQ(Send(phone, "AT+CGMI=?\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CIMI=?\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CIMI?\r"), kError);
}

TEST(ReadyPhone, MessageServiceOffersEverything) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CSMS?\r"), Answer("+CSMS: 0,1,1,1"));
    EXPECT_EQ(Send(phone, "AT+CSMS=?\r"), Answer("+CSMS: (0,1)"));
    EXPECT_EQ(Send(phone, "AT+CSMS=1\r"), Answer("+CSMS: 1,1,1"));
    EXPECT_EQ(Send(phone, "AT+CSMS?\r"), Answer("+CSMS: 1,1,1,1"));
    EXPECT_EQ(Send(phone, "AT+CSMS=2\r"), kError);
    EXPECT_EQ(Send(phone, "AT+CSMS\r"), kError);
}

TEST(ReadyPhone, FailuresArePlainErrorUntilCmeeAsksForCodes) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CMEE?\r"), Answer("+CMEE: 0"));
    EXPECT_EQ(Send(phone, "AT+CMEE=?\r"), Answer("+CMEE: (0-2)"));
    EXPECT_EQ(Send(phone, "AT+CFUN=0\r"), kError);
    EXPECT_EQ(Send(phone, "AT+CPIN=\"1234\"\r"), kError);

    EXPECT_EQ(Send(phone, "AT+CMEE=1\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CMEE?\r"), Answer("+CMEE: 1"));
    EXPECT_EQ(Send(phone, "AT+CFUN=0\r"), "\r\n+CME ERROR: 4\r\n");
    EXPECT_EQ(Send(phone, "AT+CPIN=\"1234\"\r"), "\r\n+CME ERROR: 3\r\n");
    EXPECT_EQ(Send(phone, "AT+CREG=7\r"), "\r\n+CME ERROR: 50\r\n");
    EXPECT_EQ(Send(phone, "AT+CSCS=\"KOI8\"\r"), "\r\n+CME ERROR: 50\r\n");

    EXPECT_EQ(Send(phone, "AT+CMEE=2\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CFUN=0\r"), "\r\n+CME ERROR: operation not supported\r\n");
    EXPECT_EQ(Send(phone, "AT+CPIN=\"1234\"\r"), "\r\n+CME ERROR: operation not allowed\r\n");
    EXPECT_EQ(Send(phone, "AT+CMEE=3\r"), "\r\n+CME ERROR: incorrect parameters\r\n");
    EXPECT_EQ(Send(phone, "AT+CMEE\r"), kOk);  // back to the default, 0
    EXPECT_EQ(Send(phone, "AT+CFUN=0\r"), kError);
}

TEST(ReadyPhone, UnknownCommandsAndMessageCommandsKeepTheirAnswersUnderCmee) {
    PhoneModel phone;
    Send(phone, "AT+CMEE=1\r");
    EXPECT_EQ(Send(phone, "AT+FOO\r"), kError);
    EXPECT_EQ(Send(phone, "AT+CPROT=?\r"), kError);
    EXPECT_EQ(Send(phone, "AT+CMGF=1\r"), kError);
    EXPECT_EQ(Send(phone, "AT+CMGD=9\r"), "\r\n+CMS ERROR: 321\r\n");
    EXPECT_EQ(Send(phone, "AT+CPMS=\"XX\"\r"), "\r\n+CMS ERROR: 302\r\n");
}

TEST(ReadyPhone, FaultKnobsKeepTheirFormWhateverCmeeSays) {
    Knobs k;
    k.errorOn = {{"AT+CPIN", {FaultKind::kError, 0}}, {"AT+CSQ", {FaultKind::kCme, 10}}};
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT+CSQ\r"), "\r\n+CME ERROR: 10\r\n");
    Send(phone, "AT+CMEE=2\r");
    EXPECT_EQ(Send(phone, "AT+CPIN?\r"), kError);
    EXPECT_EQ(Send(phone, "AT+CSQ\r"), "\r\n+CME ERROR: 10\r\n");
}

TEST(ReadyPhone, ResetAndANewConnectionForgetTheReportingSettings) {
    PhoneModel phone;
    Send(phone, "AT+CMEE=1;+CREG=2;+CSMS=1;+CNMI=2,1,0,1,0\r");
    EXPECT_EQ(Send(phone, "ATZ\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CMEE?;+CREG?;+CSMS?;+CNMI?\r"),
              "\r\n+CMEE: 0\r\n+CREG: 0,1\r\n+CSMS: 0,1,1,1\r\n+CNMI: 0,0,0,0,0\r\n\r\nOK\r\n");
    Send(phone, "AT+CMEE=2;+CNMI=1,1\r");
    phone.Connect();
    EXPECT_EQ(Send(phone, "AT+CMEE?;+CNMI?\r"), "\r\n+CMEE: 0\r\n+CNMI: 0,0,0,0,0\r\n\r\nOK\r\n");
}

TEST(ReadyPhone, ServiceCentreIsWrittenInTheChosenCharacterSet) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CSCS=\"HEX\"\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CSCA?\r"), Answer("+CSCA: \"2B343931373130373630303030\",145"));
    EXPECT_EQ(Send(phone, "AT+CSCS=\"UCS2\"\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CSCA?\r"),
              Answer("+CSCA: \"002B003400390031003700310030003700360030003000300030\",145"));
    // Set in UCS2 too: "+4930" (lower-case hex digits are hex digits as well).
    EXPECT_EQ(Send(phone, "AT+CSCA=\"002b0034003900330030\"\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CSCA=\"+4930\"\r"), kError);  // not UCS2
    EXPECT_EQ(Send(phone, "AT+CSCS=\"HEX\"\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CSCA?\r"), Answer("+CSCA: \"2B34393330\",145"));
    EXPECT_EQ(Send(phone, "AT+CSCA=\"303330\",129\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CSCA=\"3033F\"\r"), kError);
    EXPECT_EQ(Send(phone, "AT+CSCS=\"IRA\"\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CSCA?\r"), Answer("+CSCA: \"030\",129"));
    EXPECT_EQ(Send(phone, "AT+CSCS=\"GSM\"\r"), kOk);
    EXPECT_EQ(Send(phone, "AT+CSCA?\r"), Answer("+CSCA: \"030\",129"));
}

}  // namespace
}  // namespace phone_sim
