// SPDX-License-Identifier: GPL-3.0-or-later
// Messages arriving while the simulator runs: a line of the control socket or --inject-every.
#include "arrivals.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/pdu_record.h"
#include "common/text_convert.h"
#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu_builder.h"

namespace phone_sim {
namespace {

struct Arrived {
    int status = -1;
    std::uint8_t mti = 0xFF;
    std::string number;
    std::string text;
};

Arrived Read(const PhoneModel& phone, Storage storage, unsigned index) {
    Arrived out;
    const StoredMessage* message = phone.memory(storage).Find(index);
    if (message == nullptr) return out;
    out.status = message->status;
    std::vector<std::uint8_t> bytes;
    EXPECT_TRUE(FromHex(message->pduHex, &bytes));
    PduRecordPtr record(NewPduRecord());
    EXPECT_EQ(DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                        message->tpduLength),
              0u);
    out.mti = record->firstOctet & 3;
    if (((record->addressType >> 4) & 7) == 1) out.number = "+";
    out.number += record->addressDigits;
    char16_t text[kUserDataSize + 1];
    std::size_t count = 0;
    SeptetsToText(record->userData, record->userDataLength, text, &count);
    out.text = Utf16ToUtf8(std::u16string_view(text, count));
    return out;
}

TEST(Arrivals, AControlLineIsAnUnreadMessageInTheReceivingMemory) {
    PhoneModel phone;
    int changes = 0;
    phone.SetChangeSink([&] { ++changes; });
    EXPECT_EQ(ControlLine("+4930111222:Hi: there\\nsecond line\r", &phone), "stored ME 1");
    EXPECT_EQ(changes, 1);
    Arrived a = Read(phone, Storage::kPhone, 1);
    EXPECT_EQ(a.status, kRecUnread);
    EXPECT_EQ(a.mti, kMtiDeliver);
    EXPECT_EQ(a.number, "+4930111222");
    EXPECT_EQ(a.text, "Hi: there\nsecond line");

    phone.Feed("AT+CPMS=\"SM\",\"SM\",\"SM\"\r");
    EXPECT_EQ(ControlLine("0301234567:To the SIM", &phone), "stored SM 1");
    EXPECT_EQ(Read(phone, Storage::kSim, 1).number, "0301234567");
}

TEST(Arrivals, ABadControlLineSaysWhyAndStoresNothing) {
    PhoneModel phone;
    EXPECT_EQ(ControlLine("no colon here", &phone), "error: expected NUMBER:TEXT");
    EXPECT_EQ(ControlLine("12a:Hi", &phone).rfind("error: bad number", 0), 0u);
    EXPECT_EQ(ControlLine(":Hi", &phone).rfind("error: bad number", 0), 0u);
    EXPECT_EQ(ControlLine("+49:" + std::string(1531, 'x'), &phone),
              "error: text too long for 10 messages");
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 0u);
}

TEST(Arrivals, AFullMemoryLosesTheMessageAndSaysSo) {
    Knobs k;
    k.phoneCapacity = 1;
    PhoneModel phone(k);
    EXPECT_EQ(ControlLine("+49:one", &phone), "stored ME 1");
    EXPECT_EQ(ControlLine("+49:two", &phone), "error: ME is full: the message is lost");
    EXPECT_EQ(Read(phone, Storage::kPhone, 1).text, "one");
}

TEST(Arrivals, InjectedMessagesAreNumbered) {
    PhoneModel phone;
    std::string error;
    ASSERT_TRUE(ReceiveInjected(1, &phone, &error)) << error;
    ASSERT_TRUE(ReceiveInjected(2, &phone, &error)) << error;
    EXPECT_EQ(Read(phone, Storage::kPhone, 2).number, kInjectedSender);
    EXPECT_EQ(Read(phone, Storage::kPhone, 1).text, "Injected message 1");
    EXPECT_EQ(Read(phone, Storage::kPhone, 2).text, "Injected message 2");
}

TEST(Arrivals, AnnouncedToAClientThatAskedOnly) {
    PhoneModel phone;
    EXPECT_EQ(ControlLine("+49:quiet", &phone), "stored ME 1");
    EXPECT_EQ(phone.TakeOutput(), "");
    phone.Feed("AT+CNMI=2,1\r");
    phone.TakeOutput();
    EXPECT_EQ(ControlLine("+49:told", &phone), "stored ME 2");
    EXPECT_EQ(phone.TakeOutput(), "\r\n+CMTI: \"ME\",2\r\n");
}

}  // namespace
}  // namespace phone_sim
