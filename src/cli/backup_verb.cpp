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
            return UsageError(kVerb, ("unknown option '" + arg + "'").c_str());
        } else if (path != nullptr) {
            return UsageError(kVerb, "backup takes one FILE");
        } else {
            path = argv[i];
        }
    }
    if (path == nullptr) return UsageError(kVerb, "which file? give the copy's name");
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
        std::fprintf(
            stderr, "velkan: %s%s\n", error.c_str(),
            !force && error.find("exists") != std::string::npos ? " (--force replaces it)" : "");
        return 1;
    }
    std::fprintf(stderr, "velkan: the message store was copied to %s\n", path);
    return 0;
}
