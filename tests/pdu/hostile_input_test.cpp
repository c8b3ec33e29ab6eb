// SPDX-License-Identifier: GPL-3.0-or-later
// Input that no phone should send, and records that no caller should build: the codec must answer
// 0 or 4 and never touch memory outside its buffers (the sanitizer build checks the latter).
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit.h"
#include "pdu_test_util.h"

using pdutest::DecodeExact;
using pdutest::kHelloDeliver;
using pdutest::NewRecord;
using pdutest::Octets;

namespace {

constexpr std::uint32_t kSentinel = 0xDEADBEEF;
constexpr std::uint8_t kHeaderPattern = 0xA5;

// A record with recognisable bytes in the places a runaway write would reach first.
PduRecordPtr GuardedRecord() {
    auto r = NewRecord();
    std::memset(r->header, kHeaderPattern, sizeof r->header);
    r->storageIndex = kSentinel;
    return r;
}

bool HeaderUntouched(const PduRecord& r) {
    for (std::uint8_t b : r.header) {
        if (b != kHeaderPattern) return false;
    }
    return true;
}

// Decodes, and checks everything a successful decode promises to its callers.
void DecodeAndCheck(const std::vector<std::uint8_t>& bytes, std::uint32_t tpdu) {
    auto r = GuardedRecord();
    const TransferError err = DecodeExact(r.get(), bytes, tpdu);
    ASSERT_TRUE(err == kErrNone || err == kErrInvalidParameter) << err;
    EXPECT_EQ(r->storageIndex, kSentinel);
    EXPECT_LT(strnlen(r->scaDigits, kScaDigitsSize), kScaDigitsSize);
    EXPECT_LT(strnlen(r->addressDigits, kAddressDigitsSize), kAddressDigitsSize);
    if (err != kErrNone) return;
    EXPECT_LE(r->udl, kUserDataSize);
    EXPECT_LE(r->userDataLength, kUserDataSize);
    EXPECT_LE(r->headerLength, 255u);
    if ((r->firstOctet & 0x40) == 0) {
        EXPECT_TRUE(HeaderUntouched(*r)) << "user data spilled";
    }

    SmsMessage m;
    m.pduRecord = std::move(r);
    EXPECT_EQ(ApplyPduRecord(&m), 1);
    EXPECT_LE(m.text.size(), kUserDataSize);
    EXPECT_LE(m.number.size(), 21u);

    const TransferError again = EncodePdu(m.pduRecord.get());
    ASSERT_TRUE(again == kErrNone || again == kErrInvalidParameter) << again;
    if (again == kErrNone) {
        EXPECT_LE(m.pduRecord->encodedLength, kEncodedSize);
    }
    EXPECT_EQ(m.pduRecord->storageIndex, kSentinel);
}

std::vector<std::vector<std::uint8_t>> ValidPdus() {
    return {
        Octets(kHelloDeliver),
        Octets(std::string("07 91 94 21 43 65 87 09") + (kHelloDeliver + 2)),
        Octets("00 44 0A 91 94 03 21 43 65 00 00 30 11 51 90 03 50 40 09 05 00 03 2A 02 01 90 69"),
        Octets("00 04 0A 91 94 03 21 43 65 00 04 30 11 51 90 03 50 40 03 41 80 FF"),
        Octets("00 44 0A 91 94 03 21 43 65 00 04 30 11 51 90 03 50 40 06 03 00 01 07 41 42"),
        Octets("00 11 07 0A 91 94 03 21 43 65 00 00 AA 05 C8 32 9B FD 06"),
        Octets("00 19 07 0A 91 94 03 21 43 65 00 00 30 11 51 90 03 50 40 05 C8 32 9B FD 06"),
        Octets("00 06 2A 0A 91 94 03 21 43 65 30 11 51 90 03 50 40 30 11 51 90 03 50 40 00"),
    };
}

}  // namespace

TEST(HostileInput, EveryTruncationOfAValidPdu) {
    for (const auto& pdu : ValidPdus()) {
        const std::uint32_t fullTpdu = static_cast<std::uint32_t>(pdu.size() - 1 - pdu[0]);
        {
            auto r = NewRecord();
            ASSERT_EQ(DecodeExact(r.get(), pdu, fullTpdu), kErrNone);
        }
        for (std::size_t n = 0; n < pdu.size(); ++n) {
            const std::vector<std::uint8_t> cut(pdu.begin(),
                                                pdu.begin() + static_cast<std::ptrdiff_t>(n));
            DecodeAndCheck(cut, fullTpdu);
            DecodeAndCheck(cut, static_cast<std::uint32_t>(n));
            if (n > 0) DecodeAndCheck(cut, static_cast<std::uint32_t>(n - 1 - cut[0]));
        }
    }
}

TEST(HostileInput, TruncatedDeliverIsAlwaysRefused) {
    // Cut anywhere, with the length derived as for a stored message, Hello never decodes.
    const auto pdu = Octets(kHelloDeliver);
    for (std::size_t n = 0; n < pdu.size(); ++n) {
        auto r = NewRecord();
        const std::vector<std::uint8_t> cut(pdu.begin(),
                                            pdu.begin() + static_cast<std::ptrdiff_t>(n));
        const std::uint32_t tpdu = n == 0 ? 0 : static_cast<std::uint32_t>(n - 1 - cut[0]);
        EXPECT_EQ(DecodeExact(r.get(), cut, tpdu), kErrInvalidParameter) << n;
    }
}

TEST(HostileInput, HugeUserDataLength) {
    // Seven-bit: TP-UDL 255 septets with all 224 octets present.
    std::string seven = "00 04 0A 91 94 03 21 43 65 00 00 30 11 51 90 03 50 40 FF";
    for (int k = 0; k < 224; ++k) seven += " 41";
    auto bytes = Octets(seven);
    auto r = GuardedRecord();
    EXPECT_EQ(DecodeExact(r.get(), bytes, static_cast<std::uint32_t>(bytes.size() - 1)),
              kErrInvalidParameter);
    EXPECT_TRUE(HeaderUntouched(*r));

    // Eight-bit: TP-UDL 255 octets, all present.
    std::string eight = "00 04 0A 91 94 03 21 43 65 00 04 30 11 51 90 03 50 40 FF";
    for (int k = 0; k < 255; ++k) eight += " 41";
    bytes = Octets(eight);
    r = GuardedRecord();
    EXPECT_EQ(DecodeExact(r.get(), bytes, static_cast<std::uint32_t>(bytes.size() - 1)),
              kErrInvalidParameter);
    EXPECT_TRUE(HeaderUntouched(*r));

    // Eight-bit with a header of 255 octets in a TP-UDL of 160.
    std::string header = "00 44 0A 91 94 03 21 43 65 00 04 30 11 51 90 03 50 40 A0 FF";
    for (int k = 0; k < 300; ++k) header += " 41";
    bytes = Octets(header);
    r = GuardedRecord();
    EXPECT_EQ(DecodeExact(r.get(), bytes, static_cast<std::uint32_t>(bytes.size() - 1)),
              kErrInvalidParameter);
}

TEST(HostileInput, HugeServiceCentreLength) {
    // 0xFF octets of centre: the digits cannot fit the 40-byte field.
    std::vector<std::uint8_t> bytes(1 + 255, 0x11);
    bytes[0] = 0xFF;
    bytes[1] = 0x91;
    const auto tpdu = Octets(kHelloDeliver + 3);
    bytes.insert(bytes.end(), tpdu.begin(), tpdu.end());
    auto r = GuardedRecord();
    EXPECT_EQ(DecodeExact(r.get(), bytes, static_cast<std::uint32_t>(tpdu.size())),
              kErrInvalidParameter);
    EXPECT_LT(strnlen(r->scaDigits, kScaDigitsSize), kScaDigitsSize);

    // 20 octets of centre (38 digits) fit; 21 (40 digits) do not.
    for (int octets : {20, 21}) {
        std::vector<std::uint8_t> pdu(1 + static_cast<std::size_t>(octets), 0x21);
        pdu[0] = static_cast<std::uint8_t>(octets);
        pdu[1] = 0x91;
        pdu.insert(pdu.end(), tpdu.begin(), tpdu.end());
        auto rec = GuardedRecord();
        const TransferError err =
            DecodeExact(rec.get(), pdu, static_cast<std::uint32_t>(tpdu.size()));
        EXPECT_EQ(err, octets == 20 ? kErrNone : kErrInvalidParameter) << octets;
        if (octets == 20) {
            EXPECT_EQ(std::strlen(rec->scaDigits), 38u);
        }
    }
}

TEST(HostileInput, RandomBytes) {
    std::mt19937 random(20031115u);  // fixed starting value: the same inputs on every run
    std::uniform_int_distribution<int> octet(0, 255);
    std::uniform_int_distribution<int> length(0, 320);
    for (int round = 0; round < 20000; ++round) {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length(random)));
        for (auto& b : bytes) b = static_cast<std::uint8_t>(octet(random));
        const auto n = static_cast<std::uint32_t>(bytes.size());
        std::uint32_t tpdu;
        switch (round % 4) {
            case 0:
                tpdu = n;
                break;
            case 1:
                tpdu = n == 0 ? 0 : n - 1 - bytes[0];
                break;
            case 2:
                tpdu = static_cast<std::uint32_t>(octet(random));
                break;
            default:
                tpdu = static_cast<std::uint32_t>(random());
                break;
        }
        DecodeAndCheck(bytes, tpdu);
        if (HasFatalFailure()) return;
    }
}

TEST(HostileInput, RandomBytesBehindAValidStart) {
    // Mostly well-formed heads reach the deeper steps far more often than pure noise does.
    std::mt19937 random(4930123u);
    std::uniform_int_distribution<int> octet(0, 255);
    const auto head = Octets("00 44 0A 91 94 03 21 43 65 00");
    for (int round = 0; round < 20000; ++round) {
        std::vector<std::uint8_t> bytes = head;
        bytes[1] = static_cast<std::uint8_t>(octet(random) & 0x7F);
        const int tail = octet(random) % 180;
        for (int k = 0; k < tail; ++k) bytes.push_back(static_cast<std::uint8_t>(octet(random)));
        DecodeAndCheck(bytes, static_cast<std::uint32_t>(bytes.size() - 1));
        if (HasFatalFailure()) return;
    }
}

TEST(HostileInput, RandomRecordsNeverOverrunTheEncoder) {
    std::mt19937 random(17u);
    std::uniform_int_distribution<int> octet(0, 255);
    for (int round = 0; round < 20000; ++round) {
        auto r = NewRecord();
        auto* raw = reinterpret_cast<std::uint8_t*>(r.get());
        for (std::size_t k = 0; k < sizeof(PduRecord); ++k) {
            raw[k] = static_cast<std::uint8_t>(octet(random));
        }
        // Make the interesting paths likely: short lengths, terminated numbers.
        if (round % 2 == 0) {
            r->userDataLength %= 200;
            r->headerLength %= 40;
            r->scaDigits[octet(random) % kScaDigitsSize] = 0;
            r->addressDigits[octet(random) % kAddressDigitsSize] = 0;
            for (char& c : r->scaDigits) c = c ? static_cast<char>('0' + octet(random) % 10) : 0;
            for (char& c : r->addressDigits) {
                c = c ? static_cast<char>('0' + octet(random) % 10) : 0;
            }
        }
        r->storageIndex = kSentinel;
        const TransferError err = EncodePdu(r.get());
        ASSERT_TRUE(err == kErrNone || err == kErrInvalidParameter) << err;
        EXPECT_EQ(r->storageIndex, kSentinel);
        if (err == kErrNone) {
            ASSERT_LE(r->encodedLength, kEncodedSize);
            ASSERT_LE(r->tpduLength, r->encodedLength);
        }
        SmsMessage m;
        m.pduRecord = std::move(r);
        EXPECT_EQ(ApplyPduRecord(&m), 1);
        EXPECT_LE(m.text.size(), kUserDataSize);
    }
}

TEST(HostileInput, RandomHexText) {
    std::mt19937 random(99u);
    std::uniform_int_distribution<int> ch(0, 255);
    std::uniform_int_distribution<int> length(0, 64);
    for (int round = 0; round < 20000; ++round) {
        std::string text(static_cast<std::size_t>(length(random)), ' ');
        for (auto& c : text) {
            c = static_cast<char>(ch(random) % 2 ? "0123456789ABCDEFabcdefGZz"[ch(random) % 25]
                                                 : ch(random));
        }
        std::unique_ptr<char[]> exact(new char[text.size() + 1]);
        std::memcpy(exact.get(), text.c_str(), text.size() + 1);
        std::vector<std::uint8_t> buffer;
        const TransferError err = HexTextToBuffer(exact.get(), &buffer);
        ASSERT_TRUE(err == kErrNone || err == kErrInvalidParameter);
        EXPECT_EQ(buffer.size(), std::strlen(exact.get()) / 2);
    }
}

TEST(HostileInput, HostileMessagesForTheEncoder) {
    SmsMessage m;
    m.number = std::u16string(100000, u'1');
    m.text = std::u16string(100000, u'a');
    EXPECT_EQ(PrepareSubmit(&m), 0);
    EXPECT_EQ(m.codecResult, kErrInvalidParameter);
    m.number = std::u16string(1, u'+');  // only the plus: a number without digits
    m.text = std::u16string(160, u'\uFFFF');
    EXPECT_EQ(PrepareSubmit(&m), 0);
    EXPECT_EQ(m.codecResult, kErrInvalidParameter);
    m.number = u"+1";
    ASSERT_EQ(PrepareSubmit(&m), 1);
    EXPECT_EQ(m.pduRecord->userData[159], 0x5F);
    ApplySubmitOptions(m.pduRecord.get(), std::u16string(100000, u'+'), true);
    EXPECT_EQ(EncodePdu(m.pduRecord.get()), kErrInvalidParameter);
    ApplySubmitOptions(nullptr, u"+1", true);  // nothing to do, and no crash
}
