// SPDX-License-Identifier: GPL-3.0-or-later
// Searching the message store: the messages whose text, name or number contain every word of
// a query, Latin letters compared without regard to case or accents (store/search_fold.h),
// newest first (as the lists show them: by time, messages without a time last).
//
// The store keeps a full-text index of every message's folded fields (messages_fts, a trigram
// index: store/schema.h). A word of three or more characters is looked up in it; a shorter
// word cannot be (a trigram index holds runs of three), so it is checked on the messages the
// longer words found, or, when every word is shorter, on every message newest first until the
// screen is full. Every message the index offers is checked against the message itself
// before it is shown.
//
// The first screen of a search does not wait for every match: when the index finds few
// messages (up to kSearchCollectLimit), they are put in time order and read a screen at a
// time; when it finds more, the messages are read newest first and checked one by one, which
// fills a screen after a few rows when a word is that common. Should the matches be rare
// among the newest messages after all, the search goes over to the index's list for the rest.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "store/message_store.h"

// More matches in the index than this: the search reads the messages newest first instead.
constexpr std::uint32_t kSearchCollectLimit = 8192;

// True when every word (folded, as SearchWords gives them) is part of the message's folded
// name, number or text. No words: false.
bool MatchesSearch(const SmsMessage& message, const std::vector<std::u16string>& words);

class MessageSearch {
  public:
    // `folder`: one folder, kFolderLog (Inbox and Sent) or kEveryFolder. A query without words
    // finds nothing.
    MessageSearch(MessageDatabase& db, std::u16string_view query, FolderId folder = kEveryFolder);

    // The next matches, newest first, read completely: up to `count`, fewer only at the end.
    // False when the store cannot be read (db.LastErrorText() says why); the same call can be
    // made again. Messages written or deleted between calls may be missed or left out.
    bool Next(std::uint32_t count, std::vector<SmsMessage>* matches);
    bool AtEnd() const { return end_; }

    // How the search went about it, for tests and measurements.
    enum class Way { kNotStarted, kIndexList, kNewestFirst };
    Way CurrentWay() const { return way_; }

  private:
    struct Hit {
        bool timed;
        std::int64_t time;
        std::int64_t id;
    };
    bool Start();
    // Every message the index finds (up to `limit`, -1: all) in the folder, newest first.
    bool CollectHits(std::int64_t limit, std::vector<Hit>* hits, bool* more);
    bool InFolder(FolderId folder) const;

    MessageDatabase& db_;
    FolderId folder_;
    std::vector<std::u16string> words_;
    std::string match_;  // the full-text query of the words of three or more characters
    Way way_ = Way::kNotStarted;
    bool end_ = false;

    // kIndexList
    std::vector<Hit> hits_;
    std::size_t nextHit_ = 0;

    // kNewestFirst
    MessageDatabase::TimePosition walked_;
    std::vector<SmsMessage> buffer_;
    std::size_t nextInBuffer_ = 0;
    std::uint64_t examined_ = 0;
    std::uint64_t found_ = 0;
};
