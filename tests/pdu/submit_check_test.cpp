// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/submit_check.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pdu/submit.h"

namespace {

// What the sender makes of a message to `number` with `text` through `centre`: 0 or 4.
TransferError EncoderVerdict(const std::u16string& number, const std::u16string& text,
                             const std::u16string& centre) {
    SmsMessage m;
    m.number = number;
    m.text = text;
    if (PrepareSubmit(&m) != 1) return m.codecResult;
    ApplySubmitOptions(m.pduRecord.get(), centre, false);
    return EncodePdu(m.pduRecord.get());
}

const std::vector<std::u16string> kAddresses = {
    u"",
    u"+",
    u"1",
    u"+4930123456",
    u"0301234567",
    std::u16string(20, u'9'),
    u"+" + std::u16string(20, u'9'),
    std::u16string(21, u'9'),
    u"+" + std::u16string(21, u'9'),
    u"+" + std::u16string(39, u'1'),
    std::u16string(5000, u'9'),
    u"++4930",
    u"+49 30",
    u"#31#",
    u"\u0661\u0662",
    {u'1', u'\0', u'2'},
};

}  // namespace

TEST(SubmitCheck, RecipientRulesAreTheEncodersRules) {
    for (const std::u16string& number : kAddresses) {
        SCOPED_TRACE(number.size());
        EXPECT_EQ(ValidateRecipient(number, nullptr), EncoderVerdict(number, u"Hi", u""));
    }
}

TEST(SubmitCheck, ServiceCentreRulesAreTheEncodersRules) {
    for (const std::u16string& centre : kAddresses) {
        SCOPED_TRACE(centre.size());
        EXPECT_EQ(ValidateServiceCentre(centre, nullptr),
                  EncoderVerdict(u"+4930123456", u"Hi", centre));
    }
}

TEST(SubmitCheck, TextRulesAreTheEncodersRules) {
    std::u16string lines;
    for (int i = 0; i < 5; ++i) lines += std::u16string(30, u'b') + u"\r\n";  // 160 as sent
    for (const std::u16string& text :
         {std::u16string(), std::u16string(160, u'a'), std::u16string(161, u'a'), lines,
          lines + u"x", std::u16string(100000, u'a')}) {
        SCOPED_TRACE(text.size());
        EXPECT_EQ(ValidateMessageText(text, nullptr), EncoderVerdict(u"+4930123456", text, u""));
    }
}

TEST(SubmitCheck, TheReasonSaysWhatIsWrong) {
    std::string reason;
    EXPECT_EQ(ValidateRecipient(std::u16string(5000, u'9'), &reason), kErrInvalidParameter);
    EXPECT_EQ(reason, "the number has 5000 digits; at most 20 can be sent");
    EXPECT_EQ(ValidateRecipient(u"+", &reason), kErrInvalidParameter);
    EXPECT_EQ(reason, "the number is a lone \"+\" without digits");
    EXPECT_EQ(ValidateRecipient(u"", &reason), kErrInvalidParameter);
    EXPECT_EQ(reason, "the number is empty");
    EXPECT_EQ(ValidateRecipient(u"+49#30", &reason), kErrInvalidParameter);
    EXPECT_EQ(reason,
              "the number holds \"#\"; only the digits 0 to 9, after one leading \"+\", can be "
              "sent");
    EXPECT_EQ(ValidateServiceCentre(u"+" + std::u16string(25, u'1'), &reason),
              kErrInvalidParameter);
    EXPECT_EQ(reason, "the service centre has 25 digits; at most 20 can be used");
    EXPECT_EQ(ValidateMessageText(std::u16string(165, u'a'), &reason), kErrInvalidParameter);
    EXPECT_NE(reason.find("the text has 165 characters"), std::string::npos) << reason;
    EXPECT_NE(reason.find("at most 160"), std::string::npos) << reason;
}

TEST(SubmitCheck, AcceptedValuesLeaveTheReasonAlone) {
    std::string reason = "untouched";
    EXPECT_EQ(ValidateRecipient(u"+" + std::u16string(20, u'9'), &reason), kErrNone);
    EXPECT_EQ(ValidateServiceCentre(u"", &reason), kErrNone);  // the phone's own centre
    EXPECT_EQ(ValidateServiceCentre(u"+491710760000", &reason), kErrNone);
    EXPECT_EQ(ValidateMessageText(std::u16string(160, u'a'), &reason), kErrNone);
    EXPECT_EQ(reason, "untouched");
}
