// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/message_search.h"

#include <sqlite3.h>

#include <algorithm>
#include <mutex>

#include "common/text_convert.h"
#include "store/search_fold.h"

namespace {

// Rows read at a time when walking newest first.
constexpr std::uint32_t kWalkChunk = 256;
// Rows walked before the search would rather use the index's list: this many, and 64 more for
// every match found (a word found in fewer than one row in 64 is cheaper to look up).
constexpr std::uint64_t kWalkAllowance = kSearchCollectLimit;
constexpr std::uint64_t kRowsPerMatch = 64;

bool Contains(const std::u16string& folded, const std::u16string& word) {
    return folded.find(word) != std::u16string::npos;
}

// The full-text query of the words the index can find: each as a quoted string (quotes
// doubled), all of them required.
std::string MatchExpression(const std::vector<std::u16string>& words) {
    std::string out;
    for (const std::u16string& word : words) {
        if (CodePoints(word) < 3) continue;
        if (!out.empty()) out += " AND ";
        out += '"';
        for (char ch : Utf16ToUtf8(word)) {
            if (ch == '"') out += '"';
            out += ch;
        }
        out += '"';
    }
    return out;
}

}  // namespace

bool MatchesSearch(const SmsMessage& message, const std::vector<std::u16string>& words) {
    if (words.empty()) return false;
    const std::u16string name = FoldForSearch(message.name);
    const std::u16string number = FoldForSearch(message.number);
    const std::u16string text = FoldForSearch(message.text);
    for (const std::u16string& word : words) {
        if (!Contains(text, word) && !Contains(name, word) && !Contains(number, word)) {
            return false;
        }
    }
    return true;
}

MessageSearch::MessageSearch(MessageDatabase& db, std::u16string_view query, FolderId folder)
    : db_(db), folder_(folder), words_(SearchWords(query)), match_(MatchExpression(words_)) {
    end_ = words_.empty();
}

bool MessageSearch::InFolder(FolderId folder) const {
    if (folder_ == kEveryFolder) return true;
    if (folder_ == kFolderLog) return folder == kFolderInbox || folder == kFolderSent;
    return folder == folder_;
}

bool MessageSearch::CollectHits(std::int64_t limit, std::vector<Hit>* hits, bool* more) {
    hits->clear();
    *more = false;
    sqlite3_stmt* stmt = db_.Statement(
        "SELECT m.id, m.time, m.folder FROM messages_fts JOIN messages AS m"
        " ON m.id = messages_fts.rowid WHERE messages_fts MATCH ?1 LIMIT ?2");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    sqlite3_bind_text(stmt, 1, match_.data(), static_cast<int>(match_.size()), SQLITE_STATIC);
    sqlite3_bind_int64(stmt, 2, limit < 0 ? -1 : limit + 1);
    std::int64_t seen = 0;
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        if (limit >= 0 && ++seen > limit) {
            *more = true;
            break;
        }
        const std::int64_t folder = sqlite3_column_int64(stmt, 2);
        if (folder < 0 || folder > 0xFFFFFFFFll || !InFolder(static_cast<FolderId>(folder))) {
            continue;
        }
        const bool timed = sqlite3_column_type(stmt, 1) != SQLITE_NULL;
        hits->push_back(
            Hit{timed, timed ? sqlite3_column_int64(stmt, 1) : 0, sqlite3_column_int64(stmt, 0)});
    }
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
        db_.Fail(rc);
        return false;
    }
    // Newest first, as the lists show them: by time, then id, those without a time last.
    std::sort(hits->begin(), hits->end(), [](const Hit& a, const Hit& b) {
        if (a.timed != b.timed) return a.timed;
        if (a.timed && a.time != b.time) return a.time > b.time;
        return a.id > b.id;
    });
    return true;
}

bool MessageSearch::Start() {
    if (!db_.IsOpen()) {
        db_.SetError(StoreError::kFailed, "the store is not open");
        return false;
    }
    if (match_.empty()) {
        // Only short words: nothing for the index to find them by.
        way_ = Way::kNewestFirst;
        return true;
    }
    bool more = false;
    if (!CollectHits(kSearchCollectLimit, &hits_, &more)) return false;
    if (more) {
        hits_.clear();
        way_ = Way::kNewestFirst;
    } else {
        way_ = Way::kIndexList;
    }
    return true;
}

bool MessageSearch::Next(std::uint32_t count, std::vector<SmsMessage>* matches) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    matches->clear();
    if (end_) return true;
    if (way_ == Way::kNotStarted && !Start()) return false;
    while (matches->size() < count && !end_) {
        if (way_ == Way::kIndexList) {
            if (nextHit_ >= hits_.size()) {
                end_ = true;
                break;
            }
            SmsMessage message;
            bool found = false;
            if (!db_.ReadRow(static_cast<Oid>(hits_[nextHit_].id), &message, &found)) {
                return false;
            }
            ++nextHit_;
            // Changed or deleted since the index was asked, or the index is out of step.
            if (found && InFolder(message.folder) && MatchesSearch(message, words_)) {
                matches->push_back(std::move(message));
            }
            continue;
        }
        if (nextInBuffer_ < buffer_.size()) {
            SmsMessage& message = buffer_[nextInBuffer_++];
            ++examined_;
            if (MatchesSearch(message, words_)) {
                ++found_;
                matches->push_back(std::move(message));
            }
            continue;
        }
        if (walked_.done) {
            end_ = true;
            break;
        }
        if (!match_.empty() && examined_ > kWalkAllowance + kRowsPerMatch * found_) {
            // The matches are rare among the messages walked so far: the index's list, from
            // the last message walked on, costs less.
            bool more = false;
            std::vector<Hit> hits;
            if (!CollectHits(-1, &hits, &more)) return false;
            const MessageDatabase::TimePosition at = walked_;
            auto notWalked = [&at](const Hit& h) {
                if (at.timed) {
                    return !at.started || !h.timed || h.time < at.time ||
                           (h.time == at.time && h.id < at.id);
                }
                return !h.timed && (!at.started || h.id < at.id);
            };
            hits_.clear();
            for (const Hit& h : hits) {
                if (notWalked(h)) hits_.push_back(h);
            }
            nextHit_ = 0;
            buffer_.clear();
            way_ = Way::kIndexList;
            continue;
        }
        buffer_.clear();
        nextInBuffer_ = 0;
        if (!db_.ReadInTimeOrder(folder_, true, &walked_, kWalkChunk, &buffer_)) return false;
    }
    return true;
}
