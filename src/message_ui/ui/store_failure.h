// SPDX-License-Identifier: GPL-3.0-or-later
// What a person is told when the message store fails: which file, and why, in the program's
// words. The list and the compose dialog show these in message boxes; nothing the person wrote
// is dropped because of them.
#pragma once

#include <QString>

class CeDatabase;

// The notices the store collected since they were last taken, one per line (each names the
// file and what happened); empty when there are none. They are taken.
QString TakeStoreNoticeText();

// Why the store failed just now. The notices the store collected since they were last taken
// each name the file and what went wrong; they are taken and joined, one per line. Without a
// notice the reason is the store file and `db`'s own account of its last failure (`db` may be
// null).
QString StoreFailureReason(const CeDatabase* db);

// The string resource `id` formatted with one or two texts for its %s conversions.
QString FormatResourceText(unsigned id, const QString& first);
QString FormatResourceText(unsigned id, const QString& first, const QString& second);

// The name of folder `folder` as the folder list shows it ("Inbox", "Outbox", "Draft", "Sent").
QString FolderName(unsigned folder);
