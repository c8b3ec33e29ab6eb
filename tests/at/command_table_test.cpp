// SPDX-License-Identifier: GPL-3.0-or-later
// The table of commands: each command's exact text around its parameter, and its time-out.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "at/at_commands.h"

namespace {

std::string Fixed(AtCommand command) {
    char out[64];
    const std::uint32_t length = FormatAtCommand(command, out, sizeof out);
    return std::string(out, length);
}

std::string WithNumber(AtCommand command, std::uint32_t number) {
    char out[64];
    const std::uint32_t length = FormatAtCommand(command, number, out, sizeof out);
    return std::string(out, length);
}

std::string WithText(AtCommand command, const std::string& text) {
    char out[64];
    const std::uint32_t length = FormatAtCommand(
        command, text.data(), static_cast<std::uint32_t>(text.size()), out, sizeof out);
    return std::string(out, length);
}

TEST(CommandTable, TheTextOfEveryCommand) {
    EXPECT_EQ(Fixed(AtCommand::kAttention), "AT\r");
    EXPECT_EQ(Fixed(AtCommand::kReset), "ATZ\r");
    EXPECT_EQ(Fixed(AtCommand::kEchoOffVerbose), "ATE0V1\r");
    EXPECT_EQ(Fixed(AtCommand::kEchoOff), "ATE0\r");
    EXPECT_EQ(Fixed(AtCommand::kPduMode), "AT+CMGF=0\r");
    EXPECT_EQ(Fixed(AtCommand::kGsmCharacterSet), "AT+CSCS=\"GSM\"\r");
    EXPECT_EQ(Fixed(AtCommand::kEndPrompt), "\x1A");
    EXPECT_EQ(WithText(AtCommand::kSelectMemory, "SM"), "AT+CPMS=\"SM\"\r");
    EXPECT_EQ(WithNumber(AtCommand::kListMessages, 4), "AT+CMGL=4\r");
    EXPECT_EQ(WithNumber(AtCommand::kDeleteMessage, 0), "AT+CMGD=0\r");
    EXPECT_EQ(WithNumber(AtCommand::kDeleteMessage, 4294967295u), "AT+CMGD=4294967295\r");
    EXPECT_EQ(WithNumber(AtCommand::kSubmitLength, 17), "AT+CMGS=17\r");
    // A NUL among the number's bytes is sent as it is.
    const std::string number = std::string("+49") + '\0' + "30";
    EXPECT_EQ(WithText(AtCommand::kDialVoice, number), "ATD" + number + ";\r");
    const std::uint8_t pdu[] = {0x00, 0x01, 0xAB, 0x1A};
    char out[16];
    ASSERT_EQ(FormatAtCommand(AtCommand::kSubmitPdu, pdu, 4, out, sizeof out), 9u);
    EXPECT_STREQ(out, "0001AB1A\x1A");
}

TEST(CommandTable, TimeOutsFromTheWrite) {
    EXPECT_EQ(AtCommandInfoOf(AtCommand::kAttention).timeoutMs, 3000u);
    EXPECT_EQ(AtCommandInfoOf(AtCommand::kSelectMemory).timeoutMs, 3000u);
    EXPECT_EQ(AtCommandInfoOf(AtCommand::kDeleteMessage).timeoutMs, 3000u);
    EXPECT_EQ(AtCommandInfoOf(AtCommand::kListMessages).timeoutMs, 20000u);
    EXPECT_EQ(AtCommandInfoOf(AtCommand::kSubmitLength).timeoutMs, 20000u);
    EXPECT_EQ(AtCommandInfoOf(AtCommand::kSubmitPdu).timeoutMs, 30000u);
    EXPECT_FALSE(AtCommandInfoOf(AtCommand::kEndPrompt).answered);
    EXPECT_TRUE(AtCommandInfoOf(AtCommand::kAttention).answered);
}

TEST(CommandTable, ACommandThatDoesNotFitOrTakesAnotherParameterIsNotWritten) {
    char out[11];
    std::memset(out, '#', sizeof out);
    ASSERT_EQ(FormatAtCommand(AtCommand::kListMessages, 4, out, 11), 10u);
    EXPECT_STREQ(out, "AT+CMGL=4\r");
    EXPECT_EQ(FormatAtCommand(AtCommand::kListMessages, 4, out, 10), 0u);  // no room for the NUL
    EXPECT_EQ(FormatAtCommand(AtCommand::kListMessages, 12345, out, 11), 0u);
    EXPECT_EQ(FormatAtCommand(AtCommand::kListMessages, out, sizeof out), 0u);
    EXPECT_EQ(FormatAtCommand(AtCommand::kAttention, 4, out, sizeof out), 0u);
    EXPECT_EQ(FormatAtCommand(AtCommand::kSelectMemory, 4, out, sizeof out), 0u);
    EXPECT_EQ(FormatAtCommand(AtCommand::kAttention, out, 0), 0u);
}

}  // namespace
