// SPDX-License-Identifier: GPL-3.0-or-later
// velkan backup FILE [--force]
//
// Writes a consistent copy of the message store to FILE while the program may be running
// (SQLite's online backup): one file, checked before it is put in place. An existing FILE is
// replaced only with --force.
//
// Exit status: 0 done, 1 the copy could not be made (FILE is then as it was), 2 bad arguments.
#include <cstdio>
#include <string>

#include "cli/store_access.h"
#include "cli/verbs.h"
#include "resources/translations.h"
#include "store/store_backup.h"

namespace {

constexpr const char* kVerb = "backup";

}  // namespace

int RunBackupVerb(int argc, char** argv) {
    const char* path = nullptr;
    bool force = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--force") {
            force = true;
        } else if (arg.size() > 1 && arg[0] == '-') {
            return UsageError(
                kVerb, Translate("velkan", "unknown option '%1'").arg(QString::fromStdString(arg)));
        } else if (path != nullptr) {
            return UsageError(kVerb, Translate("velkan", "backup takes one FILE"));
        } else {
            path = argv[i];
        }
    }
    if (path == nullptr)
        return UsageError(kVerb, Translate("velkan", "which file? give the copy's name"));
    {
        // A store found damaged now is set aside: a copy of the new, empty one would be of no
        // use.
        MessageDatabase db;
        if (!OpenStore(db)) return 1;
    }
    std::string error;
    const bool ok = BackupStore(path, force, &error);
    ReportNotices();
    if (!ok) {
        QString message = QString::fromStdString(error);
        if (!force && error.find("exists") != std::string::npos) {
            message += Translate("velkan", " (--force replaces it)");
        }
        Say(message);
        return 1;
    }
    Say(Translate("velkan", "the message store was copied to %1")
            .arg(QString::fromLocal8Bit(path)));
    return 0;
}
