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
    // 25 octets announced as 23: the service-centre length octet does not match; skipped.
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(3, 23) + kHelloPdu + "00\r\n" + Header(4, 23) +
                                     kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, 4, &Collect, &collected), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].storageIndex, 4u);
}

TEST_F(AtTest, AnnouncedLengthZeroLeavesNoPduExpected) {
    Collector collected;
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 0) + kHelloPdu + "\r\n" + Header(2, 23) +
                                     kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, 4, &Collect, &collected), 0u);
    ASSERT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(collected.messages[0].storageIndex, 2u);
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

TEST_F(AtTest, OddOrBadHexEndsTheListingWith4) {
    Collector collected;
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu.substr(1) + "\r\n" +
                                     Header(2, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, 4, &Collect, &collected), kErrInvalidParameter);
    EXPECT_TRUE(collected.messages.empty());
    phone_.Expect("AT+CMGL=4\r",
                  "\r\n" + Header(1, 23) + "00-4" + kHelloPdu.substr(4) + "\r\n" + kOk);
    EXPECT_EQ(ListMessages(session_, 4, &Collect, &collected), kErrInvalidParameter);
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

// ---- retrieval ----

TEST_F(AtTest, EmptySimIsNotListedEmptyPhoneMemoryIs) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(0, 20));
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(0, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(9, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), 0u);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CPMS=\"SM\"\r", "AT+CPMS=\"ME\"\r", "AT+CMGL=4\r"}));
    EXPECT_EQ(collected.memories, (std::vector<std::u16string>{u"SM", u"ME"}));
    ASSERT_EQ(collected.messages.size(), 1u);  // the "empty" phone memory held one
}

TEST_F(AtTest, PhoneWithoutMeMemorySucceedsWhenTheSimWasRead) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(1, 20));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(1, 23) + kHelloPdu + "\r\n" + kOk);
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), 0u);
    EXPECT_EQ(collected.memories, (std::vector<std::u16string>{u"SM"}));
    EXPECT_EQ(collected.messages.size(), 1u);
    EXPECT_EQ(phone_.PendingExpectations(), 0u);
}

TEST_F(AtTest, FailedSimListingWithoutMeMemoryIsAnError) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(2, 20));
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMS ERROR: 321\r\n");
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), kErrPhoneError);
}

TEST_F(AtTest, PhoneMemoryFailureIsNotReportedWhenTheSimWasRead) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(0, 20));
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(3, 100));
    phone_.Expect("AT+CMGL=4\r", kError);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), 0u);
}

TEST_F(AtTest, WithoutSimThePhoneMemoryDecides) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", "\r\n+CME ERROR: 10\r\n");
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(1, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(4, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), 0u);
    EXPECT_EQ(collected.memories, (std::vector<std::u16string>{u"ME"}));
    EXPECT_EQ(collected.messages.size(), 1u);

    phone_.Expect("AT+CPMS=\"SM\"\r", kError);
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(1, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMS ERROR: 500\r\n");
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), kErrCmsError);
}

// Neither memory can be selected: nothing was read, and the phone memory's answer says why; a
// phone that has gone away times out.
TEST_F(AtTest, NeitherMemorySelectableGivesThePhoneMemorysError) {
    Collector collected;
    phone_.Expect("AT+CPMS=\"SM\"\r", kError);
    phone_.Expect("AT+CPMS=\"ME\"\r", kError);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), kErrPhoneError);
    EXPECT_EQ(phone_.Writes().size(), 2u);
    EXPECT_TRUE(collected.memories.empty());

    phone_.Expect("AT+CPMS=\"SM\"\r", "\r\n+CME ERROR: 10\r\n");
    phone_.Expect("AT+CPMS=\"ME\"\r", "\r\n+CMS ERROR: 302\r\n");
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), kErrCmsError);

    phone_.Expect("AT+CPMS=\"SM\"\r", "");
    phone_.Expect("AT+CPMS=\"ME\"\r", "");
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), kErrTimeout);
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
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), kErrCancelled);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CPMS=\"SM\"\r", "AT+CMGL=4\r"}));
}

TEST_F(AtTest, CancelDuringThePhoneMemoryListingIsReportedEvenAfterAGoodSim) {
    Collector collected;
    collected.failAt = 1;
    collected.failWith = kErrCancelled;
    phone_.Expect("AT+CPMS=\"SM\"\r", Cpms(0, 20));
    phone_.Expect("AT+CPMS=\"ME\"\r", Cpms(1, 100));
    phone_.Expect("AT+CMGL=4\r", "\r\n" + Header(4, 23) + kHelloPdu + "\r\n" + kOk);
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), kErrCancelled);
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
    EXPECT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), kErrCancelled);
    EXPECT_EQ(phone_.Writes(), (Commands{"AT+CPMS=\"SM\"\r", "AT+CMGL=4\r"}));
    EXPECT_LT(SinceWrite(1), 1000u);  // not the 20 s of the listing
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
    ASSERT_EQ(RetrieveAll(session_, &NoteMemory, &Collect, &collected), 0u);
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
