// SPDX-License-Identifier: GPL-3.0-or-later
// The codec's hot paths allocate nothing: the low layer works on the caller's buffers, and
// DecodePdu / EncodePdu work inside a record the caller allocated once. Every heap allocation of
// this thread is counted across the call (allocation_counter.h); the first tests show that the
// counter does see allocations, so that a 0 below means something.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "allocation_counter.h"
#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit.h"
#include "pdu_test_util.h"

using pdutest::NewRecord;
using pdutest::Octets;

namespace {

class NoAllocation : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!allocations::CountingAvailable()) GTEST_SKIP() << allocations::WhyNotAvailable();
    }
};

std::u16string Text(std::size_t length) {
    static const char16_t kWords[] = u"Meet you at the station at 7, the train is late again! ";
    std::u16string text;
    while (text.size() < length) text.push_back(kWords[text.size() % (sizeof kWords / 2 - 1)]);
    return text;
}

// The octets of an SMS-DELIVER from +4930123456 made by the encoder, as the phone lists them.
std::vector<std::uint8_t> Listed(const PduRecord& record) {
    return std::vector<std::uint8_t>(record.encoded, record.encoded + record.encodedLength);
}

std::uint32_t TpduLength(const std::vector<std::uint8_t>& bytes) {
    return static_cast<std::uint32_t>(bytes.size() - 1 - bytes[0]);
}

void FillDeliver(PduRecord* r, std::uint8_t dcs) {
    r->firstOctet = 0x04;  // SMS-DELIVER, no more messages to send
    r->addressType = 0x91;
    std::strcpy(r->addressDigits, "4930123456");
    r->dcs = dcs;
    r->timeStamp = {2003, 11, 15, 9, 30, 5, 60};
}

// The text as septets in the record's user data, as the encoder takes them.
void PutSeptets(PduRecord* r, const std::u16string& text) {
    std::uint8_t septets[161];
    std::size_t count = 0;
    TextToSeptets(text.data(), text.size(), septets, &count);
    std::memcpy(r->userData, septets, count);
    r->userDataLength = static_cast<std::uint32_t>(count);
}

// 160 characters in the default alphabet, with a service-centre part.
std::vector<std::uint8_t> SevenBitDeliver() {
    auto r = NewRecord();
    FillDeliver(r.get(), 0x00);
    r->scaType = 0x91;
    std::strcpy(r->scaDigits, "491720000000");
    PutSeptets(r.get(), Text(160));
    EXPECT_EQ(EncodePdu(r.get()), kErrNone);
    return Listed(*r);
}

// The second of two pieces of a concatenated message: a 6-octet header, then 153 septets.
std::vector<std::uint8_t> SevenBitWithHeader() {
    auto r = NewRecord();
    FillDeliver(r.get(), 0x00);
    r->firstOctet |= 0x40;
    const std::uint8_t header[] = {0x00, 0x03, 0x2A, 0x02, 0x02};
    std::memcpy(r->header, header, sizeof header);
    r->headerLength = sizeof header;
    PutSeptets(r.get(), Text(153));
    EXPECT_EQ(EncodePdu(r.get()), kErrNone);
    return Listed(*r);
}

// 140 octets of 8-bit data.
std::vector<std::uint8_t> EightBitDeliver() {
    auto r = NewRecord();
    FillDeliver(r.get(), 0x04);
    for (std::uint32_t k = 0; k < 140; ++k) r->userData[k] = static_cast<std::uint8_t>(k * 7);
    r->userDataLength = 140;
    EXPECT_EQ(EncodePdu(r.get()), kErrNone);
    return Listed(*r);
}

// 70 UCS2 characters (140 octets), written out by hand: the encoder does not send UCS2.
std::vector<std::uint8_t> Ucs2Deliver() {
    std::string hex = "00 04 0A 91 94 03 21 43 65 00 08 30 11 51 90 03 50 40 8C";
    for (int k = 0; k < 70; ++k) hex += k % 2 == 0 ? " 04 1F" : " 04 40";  // Cyrillic letters
    return Octets(hex);
}

// ---- the counter itself ----

TEST_F(NoAllocation, CounterSeesAStringOnTheHeap) {
    std::uint64_t count = allocations::During([] {
        std::string text(100, 'x');
        allocations::KeepAlive(text.data());
    });
    EXPECT_GE(count, 1u);
}

TEST_F(NoAllocation, CounterSeesMallocCalledInsideTheCLibrary) {
    char* copy = nullptr;
    std::uint64_t count = allocations::During([&] { copy = strdup("counted"); });
    ASSERT_NE(copy, nullptr);
    std::free(copy);
    EXPECT_EQ(count, 1u);
}

TEST_F(NoAllocation, CounterSeesEveryAllocationOnce) {
    std::vector<std::uint8_t> buffer;
    std::uint64_t count = allocations::During([&] {
        for (int k = 0; k < 3; ++k) {
            auto* block = static_cast<std::uint8_t*>(std::malloc(64));
            allocations::KeepAlive(block);
            std::free(block);
        }
        buffer.reserve(1000);
    });
    EXPECT_EQ(count, 4u);
}

// The one routine of the low layer that sizes a container of its own.
TEST_F(NoAllocation, CounterSeesHexTextToBufferSizeItsVector) {
    std::vector<std::uint8_t> bytes;
    std::uint64_t count = allocations::During(
        [&] { EXPECT_EQ(HexTextToBuffer("00040A9194032143650000", &bytes), kErrNone); });
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(bytes.size(), 11u);
}

// ---- the low layer ----

TEST_F(NoAllocation, AlphabetPackingAndHexWorkInTheCallersBuffers) {
    const std::u16string text = Text(160);
    std::uint8_t septets[161];
    std::uint8_t packed[140];
    std::uint8_t unpacked[160];
    char16_t back[161];
    char hex[2 * 140 + 1];
    std::uint8_t octets[140];
    std::size_t count = 0;
    std::size_t textCount = 0;
    std::size_t packedLength = 0;
    TransferError hexResult = 1;

    std::uint64_t allocationsMade = allocations::During([&] {
        TextToSeptets(text.data(), text.size(), septets, &count);
        PackSeptets(septets, count, packed, &packedLength);
        UnpackSeptets(packed, count, unpacked);
        SeptetsToText(unpacked, count, back, &textCount);
        BytesToHex(packed, packedLength, hex);
        hexResult = HexToBytes(hex, 2 * packedLength, octets);
    });

    EXPECT_EQ(allocationsMade, 0u);
    EXPECT_EQ(packedLength, 140u);
    EXPECT_EQ(std::u16string(back, textCount), text);
    EXPECT_EQ(hexResult, kErrNone);
    EXPECT_EQ(std::memcmp(octets, packed, packedLength), 0);
}

TEST_F(NoAllocation, NumbersAndTimeFieldsWorkInTheCallersBuffers) {
    std::uint8_t out[16];
    std::size_t index = 0;
    char digits[kAddressDigitsSize];
    std::uint8_t type = 0;
    TransferError encoded = 1;
    TransferError decoded = 1;
    unsigned minutes = 0;

    std::uint64_t allocationsMade = allocations::During([&] {
        encoded = EncodeAddressDigits(out, &index, 0x91, "4930123456789");
        decoded = DecodeAddressDigits(out, index, digits, sizeof digits, &type);
        minutes = FromSwappedBcd(ToSwappedBcd(59));
    });

    EXPECT_EQ(allocationsMade, 0u);
    EXPECT_EQ(encoded, kErrNone);
    EXPECT_EQ(decoded, kErrNone);
    EXPECT_STREQ(digits, "4930123456789");
    EXPECT_EQ(type, 0x91);
    EXPECT_EQ(minutes, 59u);
}

// ---- DecodePdu into a record allocated beforehand ----

TEST_F(NoAllocation, DecodingSevenBitEightBitAndUcs2IntoOneRecord) {
    const auto sevenBit = SevenBitDeliver();
    const auto withHeader = SevenBitWithHeader();
    const auto eightBit = EightBitDeliver();
    const auto ucs2 = Ucs2Deliver();
    auto record = NewRecord();
    ASSERT_NE(record, nullptr);
    PduRecord* r = record.get();

    struct Result {
        TransferError code = 1;
        std::uint32_t length = 0;
        std::uint64_t allocations = 0;
    };
    auto decode = [r](const std::vector<std::uint8_t>& bytes) {
        Result result;
        result.allocations = allocations::During([&] {
            result.code = DecodePdu(r, bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                                    TpduLength(bytes));
        });
        result.length = r->userDataLength;
        return result;
    };

    const Result seven = decode(sevenBit);
    EXPECT_EQ(seven.code, kErrNone);
    EXPECT_EQ(seven.length, 160u);
    EXPECT_STREQ(r->scaDigits, "491720000000");
    EXPECT_EQ(seven.allocations, 0u) << "160 characters, 7-bit";

    const Result header = decode(withHeader);
    EXPECT_EQ(header.code, kErrNone);
    EXPECT_EQ(header.length, 153u);
    EXPECT_EQ(r->headerLength, 5u);
    EXPECT_EQ(header.allocations, 0u) << "7-bit with a user-data header";

    const Result eight = decode(eightBit);
    EXPECT_EQ(eight.code, kErrNone);
    EXPECT_EQ(eight.length, 140u);
    EXPECT_EQ(r->userData[139], static_cast<std::uint8_t>(139 * 7));
    EXPECT_EQ(eight.allocations, 0u) << "140 octets, 8-bit";

    const Result wide = decode(ucs2);
    EXPECT_EQ(wide.code, kErrNone);
    EXPECT_EQ(wide.length, 140u);
    EXPECT_EQ(r->dcs, 0x08);
    EXPECT_EQ(wide.allocations, 0u) << "70 characters, UCS2";
}

// The Unicode reading decodes into the same record without allocating either.
TEST_F(NoAllocation, DecodingWithTheUnicodeReading) {
    const auto ucs2 = Ucs2Deliver();
    const auto withHeader = SevenBitWithHeader();
    auto record = NewRecord();
    ASSERT_NE(record, nullptr);
    TransferError code = 1;
    std::uint64_t count = allocations::During([&] {
        code = DecodePdu(record.get(), ucs2.data(), static_cast<std::uint32_t>(ucs2.size()),
                         TpduLength(ucs2), CodecOptions{true, true});
    });
    EXPECT_EQ(code, kErrNone);
    EXPECT_EQ(record->userDataLength, 140u);  // the UCS2 octets are kept
    EXPECT_EQ(count, 0u) << "70 characters, UCS2";
    ConcatenationInfo info;
    count = allocations::During([&] {
        code = DecodePdu(record.get(), withHeader.data(),
                         static_cast<std::uint32_t>(withHeader.size()), TpduLength(withHeader),
                         CodecOptions{true, true});
        ReadConcatenation(record.get(), &info);
    });
    EXPECT_EQ(code, kErrNone);
    EXPECT_EQ(count, 0u) << "7-bit with a header, and its concatenation read";
}

// A PDU the decoder refuses costs nothing either (the listing skips such messages).
TEST_F(NoAllocation, RefusingABrokenPdu) {
    auto bytes = SevenBitDeliver();
    bytes.resize(bytes.size() - 20);
    auto record = NewRecord();
    TransferError code = 0;
    std::uint64_t count = allocations::During([&] {
        code = DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                         TpduLength(bytes));
    });
    EXPECT_EQ(code, kErrInvalidParameter);
    EXPECT_EQ(count, 0u);
}

// ---- encoding ----

TEST_F(NoAllocation, EncodePduWritesIntoItsRecord) {
    auto record = NewRecord();
    PduRecord* r = record.get();

    // An SMS-SUBMIT of 160 characters with a custom centre and a relative validity period.
    r->firstOctet = 0x11;
    r->messageReference = 7;
    r->addressType = 0x91;
    std::strcpy(r->addressDigits, "4930123456");
    r->scaType = 0x91;
    std::strcpy(r->scaDigits, "491720000000");
    r->validityPeriod[0] = 0xA7;
    PutSeptets(r, Text(160));

    TransferError submit = 1;
    std::uint64_t submitAllocations = allocations::During([&] { submit = EncodePdu(r); });
    EXPECT_EQ(submit, kErrNone);
    EXPECT_EQ(r->udl, 160u);
    EXPECT_EQ(submitAllocations, 0u) << "SMS-SUBMIT, 160 characters";

    // The same record as 8-bit data with a user-data header.
    r->firstOctet |= 0x40;
    r->dcs = 0x04;
    const std::uint8_t header[] = {0x00, 0x03, 0x2A, 0x02, 0x01};
    std::memcpy(r->header, header, sizeof header);
    r->headerLength = sizeof header;
    r->userDataLength = 134;
    TransferError eight = 1;
    std::uint64_t eightAllocations = allocations::During([&] { eight = EncodePdu(r); });
    EXPECT_EQ(eight, kErrNone);
    EXPECT_EQ(r->udl, 140u);
    EXPECT_EQ(eightAllocations, 0u) << "SMS-SUBMIT, 8-bit with a header";
}

// PrepareSubmit gives the message a fresh record (the one allocation a message is allowed) and
// copies the PDU into the message's own `pdu` vector, which allocates only while that vector
// has no room yet. The encoding between the two, EncodeMessage on a message that already has its
// record and PDU room, allocates nothing, whatever the text's length.
TEST_F(NoAllocation, SendSidePreparationAllocatesOnlyTheRecordAndThePduCopy) {
    SmsMessage message;
    message.number = u"+4930123456";
    message.text = Text(160);

    int prepared = 0;
    std::uint64_t first = allocations::During([&] { prepared = PrepareSubmit(&message); });
    ASSERT_EQ(prepared, 1);
    EXPECT_EQ(first, 2u) << "the record and the first copy into message.pdu";

    std::uint64_t again = allocations::During([&] { prepared = PrepareSubmit(&message); });
    ASSERT_EQ(prepared, 1);
    EXPECT_EQ(again, 1u) << "a fresh record; the PDU copy fits the vector it had";

    for (std::size_t length : {160u, 1u, 80u}) {
        message.text = Text(length);
        int encoded = 0;
        std::uint64_t count = allocations::During([&] { encoded = EncodeMessage(&message); });
        ASSERT_EQ(encoded, 1);
        EXPECT_EQ(message.pduRecord->userDataLength, length);
        EXPECT_EQ(count, 0u) << length << " characters";
    }
}

}  // namespace
