// SPDX-License-Identifier: GPL-3.0-or-later
// The recent recipients: the last ten names and numbers the user sent or saved a message to,
// in the table "recent_recipients" of the store file (walked by last use or by name). They
// feed the two drop-down lists of the compose dialog. User-interface thread only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/file_time.h"
#include "store/database.h"

constexpr unsigned kMaxRecentRecipients = 10;

// The two orders the recent recipients are walked in.
enum class RecentOrder { kByLastUse, kByName };
constexpr RecentOrder kPropRecentLastUsed = RecentOrder::kByLastUse;  // least recently used first
constexpr RecentOrder kPropRecentName = RecentOrder::kByName;

struct RecentRecipient {
    std::u16string name;  // may be empty
    std::u16string number;
    FileTime lastUsed = 0;  // local time of the last use
    std::uint32_t oid = 0;  // 0 while not stored
};

class RecentDatabase : public CeDatabase {
  public:
    RecentOrder SortProperty() const { return order_; }
    // The count of stored entries.
    bool GetRecordCount(std::uint32_t* count);

  private:
    friend bool OpenRecentStore(RecentDatabase& db, RecentOrder order);
    friend bool AddRecent(RecentDatabase& db, RecentRecipient& entry);
    friend bool ListRecentByName(RecentDatabase& db, std::vector<RecentRecipient>* entries);
    // Every entry in the object's order.
    bool ReadAll(std::vector<RecentRecipient>* entries);

    RecentOrder order_ = RecentOrder::kByLastUse;
};

// Opens the recent recipients for walks by last use (least recently used first) or by name.
bool OpenRecentStore(RecentDatabase& db, RecentOrder order);

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
