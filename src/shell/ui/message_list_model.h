// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the message list: the record ids of one folder, newest first, with the records
// themselves read from the store only when a row is drawn and kept in a small cache of recently
// drawn rows. A folder of 100,000 messages costs one id query and a few hundred reads at most.
//
// While the list is filtered by a search, the rows are the search's matches, newest first,
// fetched a screen at a time as the view scrolls towards the end (canFetchMore, fetchMore), so
// that a search among a million messages shows its first rows without waiting for the rest.
#pragma once

#include <QAbstractListModel>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "common/sms_message.h"

class MessageDatabase;
class MessageSearch;

class MessageListModel : public QAbstractListModel {
    Q_OBJECT
  public:
    // data() with this role gives the row's record id.
    static constexpr int kOidRole = Qt::UserRole + 1;
    static constexpr std::size_t kDefaultCacheCapacity = 512;

    // Matches fetched at a time while the list is filtered by a search.
    static constexpr std::uint32_t kSearchScreen = 100;

    explicit MessageListModel(QObject* parent = nullptr);
    ~MessageListModel() override;

    // The store the rows are read from (not owned); null empties the list.
    void SetDatabase(MessageDatabase* db);
    MessageDatabase* Database() const { return db_; }

    // Rebuilds the rows from the store for `folder` (kFolderLog: Inbox and Sent), newest first,
    // and forgets every cached record. False when the store could not be read (no rows then).
    bool Load(FolderId folder);
    FolderId Folder() const { return folder_; }

    // Rebuilds the rows from the messages of `folder` (one folder, kFolderLog or kEveryFolder)
    // that match `query` (MessageSearch: every word in the text, name or number), newest first;
    // the first screen is fetched now, the rest as the view asks for it. False when the store
    // could not be read (the rows fetched so far stay).
    bool LoadSearch(std::u16string_view query, FolderId folder);
    // True while the rows are a search's matches (until the next Load).
    bool Searching() const { return search_ != nullptr; }
    // The row of a record id, fetching further matches of a search until it is found or the
    // search is at its end; -1 when it is not among the rows. A message the search does not
    // match fetches nothing.
    int FetchRowOf(Oid oid);

    // The record id of a row, 0 for a row that does not exist.
    Oid OidAt(int row) const;
    // The row of a record id, -1 when it is not listed.
    int RowOf(Oid oid) const;
    // The record of a row, read on first use; null when it cannot be read (the row is then
    // drawn empty) or the row does not exist. Valid until the next call that reads a record.
    const SmsMessage* MessageAt(int row) const;

    // Removes the given rows (any order, duplicates allowed) without touching the store.
    void RemoveRows(std::vector<int> rows);

    // The cache: how many records it holds at most, how many it holds now, and how many records
    // were read from the store since the last Load.
    void SetCacheCapacity(std::size_t capacity);
    std::size_t CachedCount() const { return cache_.size(); }
    std::size_t ReadsSinceLoad() const { return reads_; }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

  private:
    struct Entry {
        Oid oid;
        bool readable;
        SmsMessage message;
    };
    void Forget();
    // Appends the search's next screen of matches; false when the store could not be read.
    bool FetchSearch();

    MessageDatabase* db_ = nullptr;
    FolderId folder_ = 0;
    std::vector<Oid> oids_;
    std::unique_ptr<MessageSearch> search_;
    std::vector<std::u16string> searchWords_;
    // Least recently used entries at the back.
    mutable std::list<Entry> lru_;
    mutable std::unordered_map<Oid, std::list<Entry>::iterator> cache_;
    mutable std::size_t reads_ = 0;
    std::size_t capacity_ = kDefaultCacheCapacity;
};
