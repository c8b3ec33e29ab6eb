// SPDX-License-Identifier: GPL-3.0-or-later
#include "resources/string_table.h"

#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <string>

#include "framework/text_buffer.h"

namespace {

struct Expected {
    unsigned id;
    const char16_t* text;
};

// Every numbered text the screens, the progress dialog, the error boxes and the Contacts add-in
// use, with its exact wording.
const Expected kExpected[] = {
    {2, u"Velkan Tessiver"},
    {1111, u"Send SMS..."},
    {2051, u"Inbox"},
    {2052, u"Outbox"},
    {2053, u"Draft"},
    {2054, u"Sent"},
    {2099, u"Log"},
    {2100, u"(none)"},
    {2112, u"Message(s) will be permanently deleted. Continue?"},
    {3001, u"Sent"},
    {3002, u"Received"},
    {3003, u"Received (%d)"},
    {3102, u"Sending Message %d/%d"},
    {3103, u"Receiving Inbox Messages..."},
    {3104, u"Connecting Phone..."},
    {3105, u"Send SMS"},
    {3106, u"Send && Get SMS"},
    {3108, u"Cancelling..."},
    {3109, u"Success"},
    {3110, u"Operation Failed (%d)"},
    {3111, u"No new messages"},
    {3112, u"%d new message(s)"},
    {3113, u"%d message(s) sent"},
    {3114, u"Connected"},
    {3115, u"Initializing..."},
    {3150, u"A timeout occurred during connection/operation.\nOperation failed."},
    {3151, u"Connection failed.\nCheck your Connection settings."},
    {3152, u"Operation failed.\nError related to network or mobile (CMS)."},
    {3153, u"Operation failed.\nError related to network or mobile (CME)."},
    {3154, u"Error during AT interpretation.\nOperation failed."},
    {3155, u"Operation failed.\nInvalid Parameter."},
    {3156, u"The message store cannot be used.\n%s"},
    {3157, u"Another transfer is using the message store.\nTry again when it has ended."},
    {3158, u"%d message(s) could not be stored: %s"},
    {3159, u"%d message(s) in the SIM could not be read"},
    {3160, u"%d message(s) in the phone memory could not be read"},
    {3161, u"Not sent, it may have been sent already: %s"},
    {3162, u"Not sent, the number cannot be used: %s"},
    {3163, u"The message to %s was sent, but it could not be moved to Sent: %s"},
    {3170, u"The message store cannot be used, so no messages can be shown.\n%s"},
    {3171, u"The message store %s cannot be used: %s."},
    {3172, u"The message could not be stored in %s.\n%s"},
    {3173, u"The message was sent but could not be stored in Sent.\n%s"},
    {3174, u"The message was not sent, because it could not be recorded in Sent.\n%s"},
    {3175, u"Retry"},
    {3176, u"may have been sent"},
    {3177, u"cannot be sent"},
    {3178, u"Send again"},
    {3179, u"Discard this message?"},
    {3180, u"The service center number has %d digits; it can have at most 20."},
    {3181, u"Message(s) could not be deleted.\n%s"},
    {3182, u"The message could not be marked as read.\n%s"},
    {3200, u"Find"},
    {3201, u"All folders"},
    {3202, u"Words to find"},
    {3203, u"Export..."},
    {3204, u"Import..."},
    {3205, u"Export"},
    {3206, u"Format:"},
    {3207, u"Messages:"},
    {3208, u"%s (the folder shown)"},
    {3209, u"%s message(s) written to %s"},
    {3210, u"Nothing was exported.\n%s"},
    {3211, u"Importing %s"},
    {3212, u"%s message(s) imported, %s duplicate(s) skipped, %s MMS skipped"},
    {3213, u"Nothing was imported.\n%s"},
    {3214, u"%s of them are in the Outbox and will be sent by the next Send & Get."},
    {3215, u"A transfer is running. Import when it has ended."},
    {3216, u"The import was cancelled."},
    {3217, u"Export messages to"},
    {3218, u"Import messages from"},
    {3219, u"Exporting to %s"},
    {3220, u"The export was cancelled."},
    {3240, u"Unicode messages"},
    {3241, u"Long messages"},
    {3242, u"%u/%u (%u SMS)"},
    {40008, u"Sms"},
    {40010, u"Options"},
    {40013, u"New"},
};

TEST(StringTable, HoldsEveryNumberedText) {
    for (const Expected& e : kExpected) {
        std::size_t length = 12345;
        const char16_t* text = FindResourceString(e.id, &length);
        ASSERT_NE(text, nullptr) << "string " << e.id;
        EXPECT_EQ(std::u16string(text), std::u16string(e.text)) << "string " << e.id;
        EXPECT_EQ(length, std::char_traits<char16_t>::length(e.text)) << "string " << e.id;
    }
}

TEST(StringTable, HoldsNothingElse) {
    std::size_t count = 0;
    ResourceStringTable(&count);
    EXPECT_EQ(count, std::size(kExpected));
}

TEST(StringTable, IdsAreUniqueAndAscending) {
    std::size_t count = 0;
    const ResourceString* table = ResourceStringTable(&count);
    ASSERT_GT(count, 0u);
    std::set<unsigned> ids;
    for (std::size_t i = 0; i < count; ++i) {
        EXPECT_TRUE(ids.insert(table[i].id).second) << "duplicate " << table[i].id;
        if (i > 0) {
            EXPECT_LT(table[i - 1].id, table[i].id);
        }
        EXPECT_FALSE(table[i].text.empty()) << "string " << table[i].id;
        // Every entry is zero-terminated where its length says it ends.
        EXPECT_EQ(table[i].text.data()[table[i].text.size()], u'\0');
    }
}

TEST(StringTable, MissingIdIsNull) {
    std::size_t length = 99;
    EXPECT_EQ(FindResourceString(0, &length), nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(FindResourceString(3107, nullptr), nullptr);
    EXPECT_EQ(FindResourceString(4000000000u, &length), nullptr);
    EXPECT_NE(FindResourceString(40013, nullptr), nullptr);
}

TEST(StringTable, MissingIdLoadsAsEmptyWithLengthZero) {
    TextBuffer text(u"previous");
    EXPECT_EQ(text.LoadResourceString(3107), 0u);
    EXPECT_EQ(text.Text(), TextBuffer::EmptyText());
    EXPECT_EQ(text.Length(), 0u);
}

TEST(StringTable, LoadedTextsFormatAsTheScreensUseThem) {
    TextBuffer format;
    ASSERT_GT(format.LoadResourceString(3102), 0u);
    TextBuffer status;
    status.Format(80, format.Text(), 1, 2);
    EXPECT_EQ(status.ToU16(), u"Sending Message 1/2");
    format.LoadResourceString(3110);
    status.Format(80, format.Text(), 99);
    EXPECT_EQ(status.ToU16(), u"Operation Failed (99)");
}

}  // namespace
