// SPDX-License-Identifier: GPL-3.0-or-later
// velkan restore FILE
//
// Makes FILE, a copy made by `velkan backup` (or any message store of this program), the
// message store: FILE is checked first (PRAGMA integrity_check, a layout this version reads),
// the store in use is kept as velkan.sqlite3.bak, and FILE's messages are written into the
// store through SQLite, so that a running desktop program sees them at its next read. FILE is
// never changed. Refused while a transfer runs.
//
// Exit status: 0 done, 1 FILE was refused or the store could not take it (nothing was changed
// then), 2 bad arguments.
#include <cstdio>
#include <string>

#include "cli/store_access.h"
#include "cli/verbs.h"
#include "store/store_backup.h"

namespace {

constexpr const char* kVerb = "restore";

}  // namespace

int RunRestoreVerb(int argc, char** argv) {
    if (argc < 2) return UsageError(kVerb, "which file? give a copy of the store");
    if (argc > 2) return UsageError(kVerb, "restore takes one FILE");
    const std::string path = argv[1];
    if (path.size() > 1 && path[0] == '-') {
        return UsageError(kVerb, ("unknown option '" + path + "'").c_str());
    }
    std::string error;
    const bool ok = RestoreStore(path, &error);
    // A store in use found damaged on the way was set aside; the restore went into its place.
    ReportNotices();
    if (!ok) {
        std::fprintf(stderr, "velkan: %s; the store was not changed\n", error.c_str());
        return 1;
    }
    std::fprintf(stderr, "velkan: %s was restored; the previous store is kept as %s\n",
                 path.c_str(), StoreBackupKeptPath().c_str());
    return 0;
}
