// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the message list: the record ids of one folder, newest first, with the records
// themselves read from the store only when a row is drawn and kept in a small cache of recently
// drawn rows. A folder of 100,000 messages costs one id query and a few hundred reads at most.
#pragma once

#include <QAbstractListModel>
#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>
#include <vector>

#include "common/sms_message.h"

class MessageDatabase;

class MessageListModel : public QAbstractListModel {
    Q_OBJECT
  public:
    // data() with this role gives the row's record id.
    static constexpr int kOidRole = Qt::UserRole + 1;
    static constexpr std::size_t kDefaultCacheCapacity = 512;

    explicit MessageListModel(QObject* parent = nullptr);

    // The store the rows are read from (not owned); null empties the list.
    void SetDatabase(MessageDatabase* db);
    MessageDatabase* Database() const { return db_; }

    // Rebuilds the rows from the store for `folder` (kFolderLog: Inbox and Sent), newest first,
    // and forgets every cached record. False when the store could not be read (no rows then).
    bool Load(FolderId folder);
    FolderId Folder() const { return folder_; }

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

  private:
    struct Entry {
        Oid oid;
        bool readable;
        SmsMessage message;
    };
    void Forget();

    MessageDatabase* db_ = nullptr;
    FolderId folder_ = 0;
    std::vector<Oid> oids_;
    // Least recently used entries at the back.
    mutable std::list<Entry> lru_;
    mutable std::unordered_map<Oid, std::list<Entry>::iterator> cache_;
    mutable std::size_t reads_ = 0;
    std::size_t capacity_ = kDefaultCacheCapacity;
};
