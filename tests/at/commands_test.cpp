// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "at/phone_commands.h"
#include "at_test_fixture.h"

namespace {

// An SMS-DELIVER from +4930123456, "Hello", as the phone lists it: no service-centre address
// (length octet 00), then a 23-octet TPDU.
const std::string kHelloPdu = "00040A91940321436500003011519003504005C8329BFD06";
// From 12345 (national), "Hi": 18-octet TPDU.
const std::string kHiPdu =
    "000405812143F5000030115190035040"
    "02C834";

struct Listed {
    std::uint32_t storageIndex;
    std::uint32_t tpduLength;
    std::string number;
    std::string septets;
};

struct Collector {
    std::vector<std::u16string> memories;
    std::vector<Listed> messages;
    DeletionLists* lists = nullptr;
    std::size_t failAt = 0;  // 1-based message number whose callback returns `failWith`
    TransferError failWith = 0;
};

TransferError Collect(PduRecord* record, void* context) {
    auto* c = static_cast<Collector*>(context);
    std::string septets(reinterpret_cast<const char*>(record->userData), record->userDataLength);
    c->messages.push_back(
        {record->storageIndex, record->tpduLength, record->addressDigits, septets});
    if (c->lists != nullptr) CollectForDeletion(c->lists, record->storageIndex);
    if (c->failAt != 0 && c->messages.size() == c->failAt) return c->failWith;
    return 0;
}

void NoteMemory(const char16_t* memory, void* context) {
    auto* c = static_cast<Collector*>(context);
    c->memories.emplace_back(memory);
    if (c->lists != nullptr) NoteListedMemory(c->lists, memory);
}

std::string Cpms(int used, int total) {
    return "\r\n+CPMS: " + std::to_string(used) + "," + std::to_string(total) + "," +
           std::to_string(used) + "," + std::to_string(total) + ",0,30\r\n" + kOk;
}

std::string Header(int index, int length, const std::string& alpha = "") {
    return "+CMGL: " + std::to_string(index) + ",1," + alpha + "," + std::to_string(length) +
           "\r\n";
}

using Commands = std::vector<std::string>;

// ---- set-up ----

TEST_F(AtTest, InitFallsBackToAte0WhenV1IsRefused) {
    phone_.Expect("ATE0V1\r", kError);
    phone_.Expect("ATE0\r", kOk);
    phone_.Expect("AT+CMGF=0\r", kOk);
    phone_.Expect("AT+CSCS=\"GSM\"\r", kOk);
    phone_.Expect("AT\r", kOk);
    EXPECT_EQ(AtInit(session_), 0u);
    EXPECT_EQ(phone_.Writes(),
              (Commands{"ATE0V1\r", "ATE0\r", "AT+CMGF=0\r", "AT+CSCS=\"GSM\"\r", "AT\r"}));
}

TEST_F(AtTest, InitReturnsOnlyTheResultOfTheFinalAt) {
    phone_.Expect("ATE0V1\r", kOk);
    phone_.Expect("AT+CMGF=0\r", kError);                         // ignored
    phone_.Expect("AT+CSCS=\"GSM\"\r", "\r\n+CME ERROR: 4\r\n");  // ignored
    phone_.Expect("AT\r", kError);
    EXPECT_EQ(AtInit(session_), kErrPhoneError);
    EXPECT_EQ(phone_.Writes(), (Commands{"ATE0V1\r", "AT+CMGF=0\r", "AT+CSCS=\"GSM\"\r", "AT\r"}));
}

TEST_F(AtTest, PingAndResetKeepTheirResultAsLastError) {
    phone_.Expect("AT\r", kOk);
    EXPECT_TRUE(AtPing(session_));
    EXPECT_EQ(session_->lastError, 0u);
    phone_.Expect("AT\r", "");
    EXPECT_FALSE(AtPing(session_));
    EXPECT_EQ(session_->lastError, kErrTimeout);
    phone_.Expect("ATZ\r", kError);
    EXPECT_FALSE(AtReset(session_));
    EXPECT_EQ(session_->lastError, kErrPhoneError);
    phone_.Expect("ATZ\r", kOk);
    EXPECT_TRUE(AtReset(session_));
    EXPECT_EQ(session_->lastError, 0u);
}

// ---- memories ----

TEST_F(AtTest, SelectMemoryTakesTheFirstPair) {
    std::int32_t used = 0;
    std::int32_t total = 0;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(3, 20));
    EXPECT_EQ(SelectMemory(session_, "SM", &used, &total), 0u);
    EXPECT_EQ(used, 3);
    EXPECT_EQ(total, 20);
}

TEST_F(AtTest, SelectMemoryLeavesCountsUnsetWhenTheLineDoesNotParse) {
    std::int32_t used = 0;
    std::int32_t total = 0;
    for (const std::string& line : {std::string("+CPMS: \"SM\",3,20"), std::string("+CPMS: 3"),
                                    std::string("+CPMS: 3;20"), std::string("CPMS: 3,20")}) {
        phone_.Expect("AT+CPMS=\"ME\"\r", "\r\n" + line + "\r\n" + kOk);
        EXPECT_EQ(SelectMemory(session_, "ME", &used, &total), 0u) << line;
        EXPECT_EQ(used, -1) << line;
        EXPECT_EQ(total, -1) << line;
    }
    phone_.Expect("AT+CPMS=\"ME\"\r", kOk);  // no information line at all
    EXPECT_EQ(SelectMemory(session_, "ME", &used, &total), 0u);
    EXPECT_EQ(used, -1);
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    EXPECT_EQ(SelectMemory(session_, "ME", &used, &total), kErrPhoneError);
}

TEST_F(AtTest, SelectMemoryOnlyDoesNotParse) {
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(1, 10));
    EXPECT_EQ(SelectMemoryOnly(session_, "SM"), 0u);
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    EXPECT_EQ(SelectMemoryOnly(session_, "ME"), kErrPhoneError);
    EXPECT_EQ(SelectMemoryOnly(session_, "AVERYLONGMEMORYNAME"), kErrInvalidParameter);
    EXPECT_EQ(phone_.Writes().size(), 2u);
}

// ---- listing ----

TEST_F(AtTest, ListingDeliversEachMessageWithItsStorageIndex) {
    Collector collected;
    phone_.SetSplit(ScriptPhone::Split::kRandom, 11);
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n" +
                                     Header(7, 18, "\"Bob, Jr\"") + kHiPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, kListAllMessages, &Collect, &collected), 0u);
    ASSERT_EQ(collected.messages.size(), 2u);
    EXPECT_EQ(collected.messages[0].storageIndex, 1u);
    EXPECT_EQ(collected.messages[0].tpduLength, 23u);
    EXPECT_EQ(collected.messages[0].number, "4930123456");
    EXPECT_EQ(collected.messages[0].septets, "Hello");
    EXPECT_EQ(collected.messages[1].storageIndex, 7u);
    EXPECT_EQ(collected.messages[1].number, "12345");
    EXPECT_EQ(collected.messages[1].septets, "Hi");
}

TEST_F(AtTest, HeaderWithEmptyAlphaFieldParsesAndTheLengthIsTheLastNumber) {
    Collector collected;
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMGL: 12,0,,23\r\n" + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, 4, &Collect, &collected), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].storageIndex, 12u);
    EXPECT_EQ(collected.messages[0].tpduLength, 23u);
}

TEST_F(AtTest, PduLineLongerThanAnnouncedIsDecodedWithTheAnnouncedLength) {
    Collector collected;
    // One spare octet at the end: 25 octets, the phone announces a 24-octet TPDU. The decoder
    // gets all 25 octets and 24; the 7-bit user data allows the trailing octet.
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(3, 24) + kHelloPdu + "00\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, 4, &Collect, &collected), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].tpduLength, 24u);
    EXPECT_EQ(collected.messages[0].septets, "Hello");
}

TEST_F(AtTest, UndecodablePduIsSkippedAndTheListingGoesOn) {
    Collector collected;
    ListingOutcome outcome{};
    // 25 octets announced as 23: the service-centre length octet does not match; skipped, and
    // counted as not read.
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(3, 23) + kHelloPdu + "00\r\n" + Header(4, 23) +
                                     kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMemory(session_, 4, 2, &Collect, &collected, &outcome), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].storageIndex, 4u);
    EXPECT_EQ(outcome.notRead, 1u);
}

TEST_F(AtTest, AnnouncedLengthZeroLeavesNoPduExpected) {
    Collector collected;
    ListingOutcome outcome{};
    // The PDU line that follows is no header and is passed over: a message not read.
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 0) + kHelloPdu + "\r\n" + Header(2, 23) +
                                     kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMemory(session_, 4, 2, &Collect, &collected, &outcome), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].storageIndex, 2u);
    EXPECT_EQ(outcome.notRead, 1u);
}

TEST_F(AtTest, EchoesBlankAndUnknownLinesPassTheListing) {
    Collector collected;
    phone_.Expect("AT+CMGL=4\r", "AT+CMGL=4\r\r\n\r\nRING\r\n+CMGL: x,1,,23\r\n+CMGL: 5,1,23\r\n" +
                                     Header(6, 23) + " " + kHelloPdu + " \r\n\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, 4, &Collect, &collected), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);  // blanks around the hex are tolerated
    EXPECT_EQ(collected.messages[0].storageIndex, 6u);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CMGL=4\r"}));
}

// A PDU line that cannot be read costs that message, never the rest of the listing.
TEST_F(AtTest, UnreadablePduLinesAreCountedAndTheListingGoesOn) {
    Collector collected;
    ListingOutcome outcome{};
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu.substr(1) + "\r\n" +  // odd
                                     Header(2, 23) + "00-4" + kHelloPdu.substr(4) + "\r\n" +
                                     Header(3, 23) + kHelloPdu.substr(0, 20) +
                                     std::string(1, '\0') + kHelloPdu.substr(21) +
                                     "\r\n" +  // a NUL byte
                                     Header(4, 18) + kHiPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMemory(session_, 4, 4, &Collect, &collected, &outcome), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].storageIndex, 4u);
    EXPECT_EQ(outcome.announced, 4u);
    EXPECT_EQ(outcome.notRead, 3u);
    EXPECT_FALSE(outcome.outOfStep);
}

TEST_F(AtTest, CallbackResultEndsTheListing) {
    Collector collected;
    collected.failAt = 1;
    collected.failWith = kErrCancelled;
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n" + Header(2, 23) +
                                     kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, 4, &Collect, &collected), kErrCancelled);
    EXPECT_EQ(collected.messages.size(), 1u);
}

TEST_F(AtTest, ListingWaitsTwentySeconds) {
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23));
    EXPECT_EQ(ListMessages(session_, 4, nullptr, nullptr), kErrTimeout);
    EXPECT_GE(SinceWrite(0), kAtListTimeoutMs);
    EXPECT_LE(SinceWrite(0), kAtListTimeoutMs + 5);
    phone_.Expect("AT+CMGL=4\r", kOk, 19000);  // late for 3 s, in time for 20 s
    EXPECT_EQ(ListMessages(session_, 4, nullptr, nullptr), 0u);
}

// ---- lines a listing cannot read ----

TEST_F(AtTest, UnsolicitedAndBlankLinesBetweenAHeaderAndItsPduArePassedOver) {
    Collector collected;
    ListingOutcome outcome{};
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + "+CMTI: \"SM\",5\r\n" + kHelloPdu +
                                     "\r\n" + Header(2, 18) + "RING\r\n\r\n" + kHiPdu + "\r\n" +
                                     kOk);
    EXPECT_EQ(ListMemory(session_, 4, 2, &Collect, &collected, &outcome), 0u);
    ASSERT_EQ(collected.messages.size(), 2u);
    EXPECT_EQ(collected.messages[0].septets, "Hello");
    EXPECT_EQ(collected.messages[1].storageIndex, 2u);
    EXPECT_EQ(collected.messages[1].septets, "Hi");
    EXPECT_EQ(outcome.announced, 2u);
    EXPECT_EQ(outcome.notRead, 0u);
}

// A NUL byte that spoils a header leaves its PDU line without one: that message is not read,
// and counted; a NUL line of its own is noise.
TEST_F(AtTest, ANulByteInAHeaderCostsOnlyThatMessage) {
    Collector collected;
    ListingOutcome outcome{};
    phone_.Expect("AT+CMGL=4\r", "\r\n" + std::string("+CMGL: 1\0,1,,23\r\n", 17) + kHelloPdu +
                                     "\r\n" + std::string("\0\r\n", 3) + Header(2, 18) + kHiPdu +
                                     "\r\n" + kOk);
    EXPECT_EQ(ListMemory(session_, 4, 2, &Collect, &collected, &outcome), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].storageIndex, 2u);
    EXPECT_EQ(outcome.announced, 2u);
    EXPECT_EQ(outcome.notRead, 1u);
}

// Lines longer than the response buffer (2000 bytes): in place of a PDU that message is not
// read; between messages they are noise. Either way the listing goes on.
TEST_F(AtTest, OverlongLinesInAListingArePassedOver) {
    Collector collected;
    ListingOutcome outcome{};
    phone_.Expect("AT+CMGL=4\r",
                  "\r\n" + Header(1, 23) + std::string(1999, 'Z') + "\r\n" +  // overlong PDU
                      Header(2, 23) + kHelloPdu + "\r\n" +                    //
                      std::string(1999, 'x') + "\r\n" +                       // overlong noise
                      Header(3, 18) + kHiPdu + "\r\n" +                       //
                      Header(4, 23) + std::string(2500, '0') + "\r\n" +       // over 2000, hex
                      Header(5, 23) + std::string(1998, 'G') + "\r\n" +       // fits, not hex
                      Header(6, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMemory(session_, 4, 6, &Collect, &collected, &outcome), 0u);
    ASSERT_EQ(collected.messages.size(), 3u);
    EXPECT_EQ(collected.messages[0].storageIndex, 2u);
    EXPECT_EQ(collected.messages[1].storageIndex, 3u);
    EXPECT_EQ(collected.messages[2].storageIndex, 6u);
    EXPECT_EQ(outcome.announced, 6u);
    EXPECT_EQ(outcome.notRead, 3u);  // 1, 4 and 5
}

TEST_F(AtTest, AHeaderWhosePduNeverComesIsCounted) {
    Collector collected;
    ListingOutcome outcome{};
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + Header(2, 23) + kHelloPdu + "\r\n" +
                                     Header(3, 23) + kOk);
    EXPECT_EQ(ListMemory(session_, 4, 3, &Collect, &collected, &outcome), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].storageIndex, 2u);
    EXPECT_EQ(outcome.announced, 3u);
    EXPECT_EQ(outcome.notRead, 2u);
}

// Only received messages are missed: a sent copy or a status report that does not decode is
// passed over as one that does.
TEST_F(AtTest, SentCopiesAndReportsThatDoNotDecodeAreNotCounted) {
    Collector collected;
    ListingOutcome outcome{};
    phone_.Expect("AT+CMGL=4\r",
                  "\r\n" + Header(1, 7) + "0001000A91940321\r\n" +  // an SMS-SUBMIT, cut short
                      Header(2, 24) + "0006010A919403214365301151900350403011519003514000\r\n" +
                      // A header that announces no PDU, then a sent copy's PDU line of its own.
                      Header(4, 0) + "0001000A919403214365000005C8329BFD06\r\n" + Header(3, 23) +
                      kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMemory(session_, 4, 4, &Collect, &collected, &outcome), 0u);
    EXPECT_EQ(outcome.announced, 4u);
    EXPECT_EQ(outcome.notRead, 0u);
    ASSERT_FALSE(collected.messages.empty());
    EXPECT_EQ(collected.messages.back().storageIndex, 3u);
}

// ---- retrieval ----

TEST_F(AtTest, EmptySimIsNotListedEmptyPhoneMemoryIs) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(0, 20));
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(0, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(9, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), 0u);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CPMS=\"SM\"\r", "AT+CPMS=\"ME\"\r", "AT+CMGL=4\r"}));
    EXPECT_EQ(collected.memories, (std::vector<std::u16string>{u"SM", u"ME"}));
    ASSERT_EQ(collected.messages.size(), 1u);  // the "empty" phone memory held one
}

TEST_F(AtTest, PhoneWithoutMeMemorySucceedsWhenTheSimWasRead) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(1, 20));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n" + kOk);
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), 0u);
    EXPECT_EQ(collected.memories, (std::vector<std::u16string>{u"SM"}));
    EXPECT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(phone_.PendingExpectations(), 0u);
}

TEST_F(AtTest, FailedSimListingWithoutMeMemoryIsAnError) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(2, 20));
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMS ERROR: 321\r\n");
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), kErrPhoneError);
}

TEST_F(AtTest, PhoneMemoryFailureIsNotReportedWhenTheSimWasRead) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(0, 20));
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(3, 100));
    phone_.Expect("AT+CMGL=4\r", kError);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), 0u);
}

TEST_F(AtTest, WithoutSimThePhoneMemoryDecides) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", "\r\n+CME ERROR: 10\r\n");
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(1, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(4, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), 0u);
    EXPECT_EQ(collected.memories, (std::vector<std::u16string>{u"ME"}));
    EXPECT_EQ(collected.messages.size(), 1u);

    phone_.Expect("AT+CPMS=\"SM\"\r", kError);
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(1, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMS ERROR: 500\r\n");
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), kErrCmsError);
}

// Neither memory can be selected: nothing was read, and the phone memory's answer says why; a
// phone that has gone away times out.
TEST_F(AtTest, NeitherMemorySelectableGivesThePhoneMemorysError) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", kError);
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), kErrPhoneError);
    EXPECT_EQ(phone_.Writes().size(), 2u);
    EXPECT_TRUE(collected.memories.empty());

    phone_.Expect("AT+CPMS=\"SM\"\r", "\r\n+CME ERROR: 10\r\n");
    phone_.Expect("AT+CPMS=\"ME\"\r", "\r\n+CMS ERROR: 302\r\n");
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), kErrCmsError);

    phone_.Expect("AT+CPMS=\"SM\"\r", "");
    phone_.Expect("AT+CPMS=\"ME\"\r", "");
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), kErrTimeout);
    EXPECT_EQ(phone_.Writes().size(), 6u);
    EXPECT_TRUE(collected.memories.empty());
}

TEST_F(AtTest, CancelFromTheCallbackStopsRetrievalAtOnce) {
    Collector collected;
    collected.failAt = 1;
    collected.failWith = kErrCancelled;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(2, 20));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n" + Header(2, 23) +
                                     kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), kErrCancelled);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CPMS=\"SM\"\r", "AT+CMGL=4\r"}));
}

TEST_F(AtTest, CancelDuringThePhoneMemoryListingIsReportedEvenAfterAGoodSim) {
    Collector collected;
    collected.failAt = 1;
    collected.failWith = kErrCancelled;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(0, 20));
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(1, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(4, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), kErrCancelled);
}

TEST_F(AtTest, CancelWhileListingStopsRetrievalBeforeTheNextCommand) {
    Collector collected;
    CancelFlag cancel;
    SetPollCallback(channel_, &CheckCancel, 100, &cancel);
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(2, 20));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23));  // then the phone is slow
    phone_.OnWrite([&cancel](const std::string& command) {
        if (command == "AT+CMGL=4\r") cancel.raised = true;
    });
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), kErrCancelled);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CPMS=\"SM\"\r", "AT+CMGL=4\r"}));
    EXPECT_LT(SinceWrite(1), 1000u);  // not the 20 s of the listing
}

// ---- listings that end early ----

// A listing that ends without its "OK" misses what the memory's count said it holds and never
// came, besides what it could not read.
TEST_F(AtTest, MessagesNotReadAreCountedPerMemory) {
    Collector collected;
    RetrieveCounts counts{};
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(5, 30));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n" + Header(2, 18) +
                                     kHiPdu + "\r\n\r\n+CMS ERROR: 500\r\n");
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(3, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(4, 23) + kHelloPdu + "\r\n");  // then silence
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, &counts), kErrTimeout);
    EXPECT_EQ(collected.messages.size(), 3u);
    EXPECT_EQ(counts.simNotRead, 3u);
    EXPECT_EQ(counts.phoneNotRead, 2u);
    EXPECT_FALSE(counts.outOfStep);

    // A listing that ends with its "OK" is not held to the count; what it could not read is.
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(0, 30));
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(4, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(4, 23) + kHelloPdu + "\r\n" + Header(5, 23) +
                                     kHelloPdu.substr(1) + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, &counts), 0u);
    EXPECT_EQ(counts.simNotRead, 0u);
    EXPECT_EQ(counts.phoneNotRead, 1u);
}

// A listing cut by its 20 s deadline while the phone still sends: the rest is passed over up to
// its "OK", and only then is the phone memory selected, so that its answer is its own.
TEST_F(AtTest, ACutListingIsFollowedByTheNextCommandInStep) {
    Collector collected;
    RetrieveCounts counts{};
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(4, 30));
    phone_.Expect("AT+CMGL=4\r",
                  "\r\n" + Header(1, 23) + kHelloPdu + "\r\n" + Header(2, 18) + kHiPdu + "\r\n");
    phone_.ExpectMore(Header(3, 23) + kHelloPdu + "\r\n", 19000);
    phone_.ExpectMore(Header(4, 23) + kHelloPdu + "\r\n", 21000);  // after the deadline
    phone_.ExpectMore("RING\r\n", 23000);
    phone_.ExpectMore(kOk, 25000);
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(1, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(7, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, &counts), 0u);
    EXPECT_EQ(phone_.Writes(),
              (Commands{"AT+CPMS=\"SM\"\r", "AT+CMGL=4\r", "AT+CPMS=\"ME\"\r", "AT+CMGL=4\r"}));
    EXPECT_GE(phone_.WriteTicks().at(2) - phone_.WriteTicks().at(1), 25000u);
    std::vector<std::uint32_t> indices;
    for (const Listed& m : collected.messages) indices.push_back(m.storageIndex);
    EXPECT_EQ(indices, (std::vector<std::uint32_t>{1, 2, 3, 7}));
    EXPECT_EQ(counts.simNotRead, 1u);  // message 4 came after the deadline
    EXPECT_EQ(counts.phoneNotRead, 0u);
    EXPECT_FALSE(counts.outOfStep);
}

// A phone that keeps sending after the deadline, more than its memory can hold: it is out of
// step, so nothing more is asked of it.
TEST_F(AtTest, APhoneThatKeepsSendingAfterACutListingIsOutOfStep) {
    Collector collected;
    RetrieveCounts counts{};
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(3, 30));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n");
    phone_.OnWrite([this](const std::string& command) {
        if (command == "AT+CMGL=4\r") phone_.SetChatter("RING\r\n");
    });
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, &counts), kErrTimeout);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CPMS=\"SM\"\r", "AT+CMGL=4\r"}));
    EXPECT_TRUE(counts.outOfStep);
    EXPECT_EQ(counts.simNotRead, 2u);
    EXPECT_EQ(collected.messages.size(), 1u);
    EXPECT_LT(SinceWrite(1), kAtListTimeoutMs + 3000);
}

struct CancelAt {
    FakeClock* clock;
    std::uint32_t at = 0;  // 0: not yet
};

TransferError CancelOnceDue(PhoneChannel*, void* context) {
    auto* c = static_cast<CancelAt*>(context);
    return c->at != 0 && TickPassed(c->clock->Now(), c->at) ? kErrCancelled : kErrNone;
}

TEST_F(AtTest, CancelWhileWaitingForTheRestOfACutListingStopsAtOnce) {
    Collector collected;
    RetrieveCounts counts{};
    CancelAt cancel{&clock_};
    SetPollCallback(channel_, &CancelOnceDue, 100, &cancel);
    // A count that would let the wait for the rest run on for long.
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(200, 250));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n");
    phone_.OnWrite([this, &cancel](const std::string& command) {
        if (command != "AT+CMGL=4\r") return;
        phone_.SetChatter("RING\r\n");
        cancel.at = clock_.Now() + kAtListTimeoutMs + 200;
    });
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, &counts), kErrCancelled);
    EXPECT_EQ(phone_.Writes().size(), 2u);
    EXPECT_LT(SinceWrite(1), kAtListTimeoutMs + 500);
}

// ---- deletion ----

DeletionLists MakeLists(std::vector<std::uint32_t> sim, std::vector<std::uint32_t> phone,
                        const char16_t* memory) {
    DeletionLists lists{};
    for (std::uint32_t index : sim) AppendIndex(&lists.sim, index);
    for (std::uint32_t index : phone) AppendIndex(&lists.phone, index);
    NoteListedMemory(&lists, memory);
    return lists;
}

TEST_F(AtTest, DeletionRunsLastToFirstWithTheMemorySelectedAgain) {
    DeletionLists lists = MakeLists({1, 3, 5}, {2, 7}, u"ME");
    phone_.SetResponder([](const std::string&) { return kOk; });
    DeleteCollected(session_, &lists);
    EXPECT_EQ(phone_.Writes(),
              (Commands{"AT+CPMS=\"SM\"\r", "AT+CMGD=5\r", "AT+CMGD=3\r", "AT+CMGD=1\r",
                        "AT+CPMS=\"ME\"\r", "AT+CMGD=7\r", "AT+CMGD=2\r"}));
    FreeDeletionLists(&lists);
}

TEST_F(AtTest, DeletionSkipsAMemoryThatCannotBeSelectedAndIgnoresFailedDeletes) {
    DeletionLists lists = MakeLists({1, 2}, {4, 6}, u"ME");
    phone_.Expect("AT+CPMS=\"SM\"\r", kError);
    phone_.Expect("AT+CPMS=\"ME\"\r", kOk);
    phone_.Expect("AT+CMGD=6\r", "\r\n+CMS ERROR: 321\r\n");
    phone_.Expect("AT+CMGD=4\r", kOk);
    DeleteCollected(session_, &lists);
    EXPECT_EQ(phone_.Writes(),
              (Commands{"AT+CPMS=\"SM\"\r", "AT+CPMS=\"ME\"\r", "AT+CMGD=6\r", "AT+CMGD=4\r"}));
    FreeDeletionLists(&lists);

    DeletionLists phoneOnly = MakeLists({}, {9}, u"ME");
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    DeleteCollected(session_, &phoneOnly);
    EXPECT_EQ(phone_.Writes().size(), 5u);  // no AT+CMGD=9
    FreeDeletionLists(&phoneOnly);
}

TEST_F(AtTest, DeletionWithoutAnySelectedMemoryDoesNotSelectTheSim) {
    DeletionLists lists = MakeLists({8}, {}, u"");
    phone_.Expect("AT+CMGD=8\r", kOk);
    DeleteCollected(session_, &lists);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CMGD=8\r"}));
    FreeDeletionLists(&lists);
}

TEST_F(AtTest, RetrievedMessagesAreDeletedFromTheMemoryTheyCameFrom) {
    DeletionLists lists{};
    Collector collected;
    collected.lists = &lists;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(2, 20));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n" + Header(2, 18) +
                                     kHiPdu + "\r\n" + kOk);
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(1, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(4, 23) + kHelloPdu + "\r\n" + kOk);
    ASSERT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected, nullptr), 0u);
    phone_.SetResponder([](const std::string&) { return kOk; });
    DeleteCollected(session_, &lists);
    Commands deletion(phone_.Writes().begin() + 4, phone_.Writes().end());
    EXPECT_EQ(deletion, (Commands{"AT+CPMS=\"SM\"\r", "AT+CMGD=2\r", "AT+CMGD=1\r",
                                  "AT+CPMS=\"ME\"\r", "AT+CMGD=4\r"}));
    FreeDeletionLists(&lists);
}

TEST(IndexList, GrowsInStepsAndKeepsOrder) {
    IndexList list{};
    for (std::uint32_t i = 0; i < 25; ++i) ASSERT_EQ(AppendIndex(&list, i * 3), 0u);
    EXPECT_EQ(list.count, 25u);
    EXPECT_EQ(list.capacity, 30u);  // three steps of 10
    for (std::uint32_t i = 0; i < 25; ++i) EXPECT_EQ(list.items[i], i * 3);
    FreeIndexList(&list);
    EXPECT_EQ(list.items, nullptr);
    EXPECT_EQ(list.count, 0u);
    IndexList small{};
    small.growthStep = 4;
    for (std::uint32_t i = 0; i < 5; ++i) AppendIndex(&small, i);
    EXPECT_EQ(small.capacity, 8u);
    FreeIndexList(&small);
    EXPECT_EQ(AppendIndex(nullptr, 1), kErrInvalidParameter);
}

TEST(DeletionLists, CollectedIndexGoesToTheMemoryBeingListed) {
    DeletionLists lists{};
    CollectForDeletion(&lists, 1);  // nothing noted yet: the SIM list
    NoteListedMemory(&lists, u"SM");
    CollectForDeletion(&lists, 2);
    NoteListedMemory(&lists, u"ME");
    CollectForDeletion(&lists, 3);
    ASSERT_EQ(lists.sim.count, 2u);
    ASSERT_EQ(lists.phone.count, 1u);
    EXPECT_EQ(lists.phone.items[0], 3u);
    EXPECT_EQ(std::u16string(lists.currentMemory), u"ME");
    FreeDeletionLists(&lists);
}

// ---- dialling ----

TEST_F(AtTest, DialVoiceSendsTheNumberAndIgnoresTheAnswer) {
    phone_.Expect("ATD+4930123456;\r", kError);
    EXPECT_EQ(DialVoice(session_, u"+4930123456"), 0u);
    std::u16string longest(90, u'1');
    phone_.Expect("ATD" + std::string(90, '1') + ";\r", kOk);
    EXPECT_EQ(DialVoice(session_, longest.c_str()), 0u);
    std::u16string tooLong(91, u'1');
    EXPECT_EQ(DialVoice(session_, tooLong.c_str()), kErrInvalidParameter);
    EXPECT_EQ(phone_.Writes().size(), 2u);
}

}  // namespace
