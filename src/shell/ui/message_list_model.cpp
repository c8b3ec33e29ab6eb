// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/message_list_model.h"

#include <algorithm>

#include "store/message_search.h"
#include "store/message_store.h"
#include "store/search_fold.h"

MessageListModel::MessageListModel(QObject* parent) : QAbstractListModel(parent) {}

MessageListModel::~MessageListModel() = default;

void MessageListModel::SetDatabase(MessageDatabase* db) {
    beginResetModel();
    db_ = db;
    oids_.clear();
    search_.reset();
    Forget();
    endResetModel();
}

void MessageListModel::Forget() {
    lru_.clear();
    cache_.clear();
    reads_ = 0;
}

bool MessageListModel::Load(FolderId folder) {
    beginResetModel();
    folder_ = folder;
    Forget();
    search_.reset();
    bool ok = db_ != nullptr && db_->FolderOidsNewestFirst(folder, &oids_);
    if (!ok) oids_.clear();
    endResetModel();
    return ok;
}

bool MessageListModel::LoadSearch(std::u16string_view query, FolderId folder) {
    beginResetModel();
    folder_ = folder;
    Forget();
    oids_.clear();
    search_.reset();
    searchWords_ = SearchWords(query);
    if (db_ != nullptr) search_ = std::make_unique<MessageSearch>(*db_, query, folder);
    endResetModel();
    return search_ != nullptr && FetchSearch();
}

bool MessageListModel::FetchSearch() {
    if (search_ == nullptr || search_->AtEnd()) return true;
    std::vector<SmsMessage> matches;
    const bool ok = search_->Next(kSearchScreen, &matches);
    if (!ok) {
        // Nothing more is asked of a store that cannot be read; the rows found so far stay.
        search_.reset();
        return false;
    }
    if (matches.empty()) return true;
    const int first = static_cast<int>(oids_.size());
    beginInsertRows(QModelIndex(), first, first + static_cast<int>(matches.size()) - 1);
    for (const SmsMessage& m : matches) oids_.push_back(m.oid);
    endInsertRows();
    return true;
}

int MessageListModel::FetchRowOf(Oid oid) {
    int row = RowOf(oid);
    if (row >= 0 || oid == 0 || search_ == nullptr || search_->AtEnd()) return row;
    // Only a message the search will find is worth the reading of further screens: the
    // matches of a common word may run to the store's end.
    SmsMessage message;
    message.oid = oid;
    if (!ReadById(*db_, message) || !MatchesSearch(message, searchWords_)) return -1;
    const bool inFolder = folder_ == kEveryFolder || message.folder == folder_ ||
                          (folder_ == kFolderLog &&
                           (message.folder == kFolderInbox || message.folder == kFolderSent));
    if (!inFolder) return -1;
    while (row < 0 && !search_->AtEnd()) {
        const std::size_t before = oids_.size();
        if (!FetchSearch() || oids_.size() == before) break;
        const auto it =
            std::find(oids_.begin() + static_cast<std::ptrdiff_t>(before), oids_.end(), oid);
        if (it != oids_.end()) row = static_cast<int>(it - oids_.begin());
    }
    return row;
}

bool MessageListModel::canFetchMore(const QModelIndex& parent) const {
    return !parent.isValid() && search_ != nullptr && !search_->AtEnd();
}

void MessageListModel::fetchMore(const QModelIndex& parent) {
    if (parent.isValid()) return;
    FetchSearch();
}

Oid MessageListModel::OidAt(int row) const {
    if (row < 0 || static_cast<std::size_t>(row) >= oids_.size()) return 0;
    return oids_[static_cast<std::size_t>(row)];
}

int MessageListModel::RowOf(Oid oid) const {
    if (oid == 0) return -1;
    // Asked once per reload (to find the remembered selection): one pass over the ids costs
    // tens of microseconds on 100,000 rows, where a map of rows would cost milliseconds to
    // build and megabytes to keep.
    const auto it = std::find(oids_.begin(), oids_.end(), oid);
    return it == oids_.end() ? -1 : static_cast<int>(it - oids_.begin());
}

const SmsMessage* MessageListModel::MessageAt(int row) const {
    const Oid oid = OidAt(row);
    if (oid == 0) return nullptr;
    if (auto it = cache_.find(oid); it != cache_.end()) {
        lru_.splice(lru_.begin(), lru_, it->second);
        return it->second->readable ? &it->second->message : nullptr;
    }
    Entry entry{oid, false, SmsMessage{}};
    entry.message.oid = oid;
    if (db_ != nullptr) entry.readable = ReadById(*db_, entry.message);
    ++reads_;
    lru_.push_front(std::move(entry));
    cache_[oid] = lru_.begin();
    while (lru_.size() > capacity_ && lru_.size() > 1) {
        cache_.erase(lru_.back().oid);
        lru_.pop_back();
    }
    return lru_.front().readable ? &lru_.front().message : nullptr;
}

void MessageListModel::RemoveRows(std::vector<int> rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    rows.erase(std::remove_if(
                   rows.begin(), rows.end(),
                   [this](int r) { return r < 0 || static_cast<std::size_t>(r) >= oids_.size(); }),
               rows.end());
    // Contiguous runs are removed together, from the bottom up so that the rows above keep
    // their positions.
    std::size_t end = rows.size();
    while (end > 0) {
        std::size_t begin = end - 1;
        while (begin > 0 && rows[begin - 1] == rows[begin] - 1) --begin;
        const int first = rows[begin];
        const int last = rows[end - 1];
        beginRemoveRows(QModelIndex(), first, last);
        for (int r = first; r <= last; ++r) {
            const Oid oid = oids_[static_cast<std::size_t>(r)];
            if (auto it = cache_.find(oid); it != cache_.end()) {
                lru_.erase(it->second);
                cache_.erase(it);
            }
        }
        oids_.erase(oids_.begin() + first, oids_.begin() + last + 1);
        endRemoveRows();
        end = begin;
    }
}

void MessageListModel::SetCacheCapacity(std::size_t capacity) {
    capacity_ = std::max<std::size_t>(1, capacity);
    while (lru_.size() > capacity_) {
        cache_.erase(lru_.back().oid);
        lru_.pop_back();
    }
}

int MessageListModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid()) return 0;
    return static_cast<int>(std::min<std::size_t>(oids_.size(), INT32_MAX));
}

QVariant MessageListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return QVariant();
    if (role == kOidRole) return QVariant::fromValue<quint32>(OidAt(index.row()));
    // Rows have no text of their own: everything is drawn by the row delegate. The accessible
    // text says who the message is from.
    if (role == Qt::AccessibleTextRole) {
        const SmsMessage* m = MessageAt(index.row());
        if (m == nullptr) return QString();
        const std::u16string& who = !m->name.empty() ? m->name : m->number;
        return QString::fromStdU16String(who);
    }
    return QVariant();
}

Qt::ItemFlags MessageListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}
