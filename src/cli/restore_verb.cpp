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
#include "resources/translations.h"
#include "store/store_backup.h"

namespace {

constexpr const char* kVerb = "restore";

}  // namespace

int RunRestoreVerb(int argc, char** argv) {
    if (argc < 2)
        return UsageError(kVerb, Translate("velkan", "which file? give a copy of the store"));
    if (argc > 2) return UsageError(kVerb, Translate("velkan", "restore takes one FILE"));
    const std::string path = argv[1];
    if (path.size() > 1 && path[0] == '-') {
        return UsageError(
            kVerb, Translate("velkan", "unknown option '%1'").arg(QString::fromStdString(path)));
    }
    std::string error;
    const bool ok = RestoreStore(path, &error);
    // A store in use found damaged on the way was set aside; the restore went into its place.
    ReportNotices();
    if (!ok) {
        Say(Translate("velkan", "%1; the store was not changed")
                .arg(QString::fromStdString(error)));
        return 1;
    }
    Say(Translate("velkan", "%1 was restored; the previous store is kept as %2")
            .arg(QString::fromStdString(path), QString::fromStdString(StoreBackupKeptPath())));
    return 0;
}
