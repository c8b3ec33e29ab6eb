// The recent recipients: the last ten names and numbers the user sent or saved a message to,
// in the database "Velkan Recent FriendDb" (sorted by last use and by name). They feed the two
// drop-down lists of the compose dialog. User-interface thread only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/file_time.h"
#include "store/ce_database.h"

inline constexpr char16_t kRecentDatabaseName[] = u"Velkan Recent FriendDb";
constexpr unsigned kMaxRecentRecipients = 10;

constexpr CePropId kPropRecentLastUsed = MakePropId(0x000B, kCevtFiletime);
constexpr CePropId kPropRecentName = MakePropId(0x000D, kCevtLpwstr);
constexpr CePropId kPropRecentNumber = MakePropId(0x000F, kCevtLpwstr);

struct RecentRecipient {
    std::u16string name;  // may be empty
    std::u16string number;
    FileTime lastUsed = 0;  // local time of the last use
    CeOid oid = 0;          // 0 while not stored
};

class RecentDatabase : public CeDatabase {};

// Opens the recent recipients sorted by kPropRecentLastUsed (least recently used first) or by
// kPropRecentName, creating the database when needed. An object open in the other order is
// reopened in the one asked for.
bool OpenRecentStore(RecentDatabase& db, CePropId sortProperty);

// Reads the current record into `entry`; properties the record lacks keep their value.
bool ReadCurrent(RecentDatabase& db, RecentRecipient& entry);

// Records a use of (entry.name, entry.number) now: the entry with the same name is reused,
// else the one with the same number (but a nameless use of a number that has an entry changes
// nothing); then the least recently used entries go until ten are left. Opens the store in
// time order when it is not. True when written or deliberately skipped.
bool AddRecent(RecentDatabase& db, RecentRecipient& entry);

// Every readable entry, sorted by name (as the compose dialog's name list shows them).
bool ListRecentByName(RecentDatabase& db, std::vector<RecentRecipient>* entries);

// "first (second)", or `first` alone when `second` is empty.
std::u16string FormatRecentItem(std::u16string_view first, std::u16string_view second);
// "name (number)" back into name and number; a name may itself hold parentheses.
void ParseNameItem(RecentRecipient& entry, std::u16string_view itemText);
// "number (name)" back into number and name.
void ParseNumberItem(RecentRecipient& entry, std::u16string_view itemText);
