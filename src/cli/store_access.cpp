// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/store_access.h"

#include <cstdint>
#include <cstdio>

#include "store/object_store.h"

bool ReportNotices() {
    bool stop = false;
    for (const StoreNotice& notice : TakeStoreNotices()) {
        std::fprintf(stderr, "velkan: %s\n", notice.message.c_str());
        if (notice.problem == StoreProblem::kDamagedSetAside) {
            std::fprintf(stderr,
                         "velkan: `velkan recover %s` brings back the messages that can still be "
                         "read from it\n",
                         notice.movedTo.c_str());
            stop = true;
        }
    }
    if (stop)
        std::fputs("velkan: nothing was done; run the command again to use the new store\n",
                   stderr);
    return stop;
}

bool OpenStore(MessageDatabase& db) {
    const bool opened = OpenMessageStore(db);
    const bool stop = ReportNotices();
    if (!opened) {
        std::fprintf(stderr, "velkan: the message store %s cannot be used\n",
                     StoreFilePath().c_str());
        return false;
    }
    return !stop;
}

bool OpenRecent(RecentDatabase& db, RecentOrder order) {
    const bool opened = OpenRecentStore(db, order);
    const bool stop = ReportNotices();
    if (!opened) {
        std::fprintf(stderr, "velkan: the recent recipients in %s cannot be used\n",
                     StoreFilePath().c_str());
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
