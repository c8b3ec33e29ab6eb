// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/store_access.h"

#include <cstdint>
#include <cstdio>

#include "cli/verbs.h"
#include "resources/translations.h"
#include "store/object_store.h"

bool ReportNotices() {
    bool stop = false;
    for (const StoreNotice& notice : TakeStoreNotices()) {
        Say(QString::fromStdString(notice.message));
        if (notice.problem == StoreProblem::kDamagedSetAside) {
            Say(Translate("velkan",
                          "`velkan recover %1` brings back the messages that can still be read "
                          "from it")
                    .arg(QString::fromStdString(notice.movedTo)));
            stop = true;
        }
    }
    if (stop)
        Say(Translate("velkan", "nothing was done; run the command again to use the new store"));
    return stop;
}

bool OpenStore(MessageDatabase& db) {
    const bool opened = OpenMessageStore(db);
    const bool stop = ReportNotices();
    if (!opened) {
        Say(Translate("velkan", "the message store %1 cannot be used")
                .arg(QString::fromStdString(StoreFilePath())));
        return false;
    }
    return !stop;
}

bool OpenRecent(RecentDatabase& db, RecentOrder order) {
    const bool opened = OpenRecentStore(db, order);
    const bool stop = ReportNotices();
    if (!opened) {
        Say(Translate("velkan", "the recent recipients in %1 cannot be used")
                .arg(QString::fromStdString(StoreFilePath())));
        return false;
    }
    return !stop;
}

bool ParseId(const char* text, Oid* id) {
    if (*text == 0) return false;
    std::uint64_t v = 0;
    for (const char* p = text; *p; ++p) {
        if (*p < '0' || *p > '9') return false;
        v = v * 10 + static_cast<std::uint64_t>(*p - '0');
        if (v > 0xFFFFFFFFu) return false;
    }
    if (v == 0) return false;
    *id = static_cast<Oid>(v);
    return true;
}
