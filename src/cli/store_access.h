// SPDX-License-Identifier: GPL-3.0-or-later
// The message store as the verbs open it: every notice of the store goes to stderr, and a store
// just set aside as damaged stops the command (the new, empty store is used by the next one).
#pragma once

#include "store/message_store.h"
#include "store/recent_store.h"

// Prints every notice of the store on stderr; true when one of them means that the command
// must not go on (a damaged file was just set aside).
bool ReportNotices();

// Opens the message store, or reports why not. False: the command ends with status 1.
bool OpenStore(MessageDatabase& db);

// Opens the recent recipients in `order`, or reports why not. False: the command ends with 1.
bool OpenRecent(RecentDatabase& db, RecentOrder order);

// A message id as `velkan list` prints it: a decimal number from 1 to 4294967295.
bool ParseId(const char* text, Oid* id);
