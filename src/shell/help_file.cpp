// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/help_file.h"

#include <sys/stat.h>

namespace {

bool FileExists(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

}  // namespace

std::string FindManual(const std::string& exePath) {
    const std::size_t slash = exePath.find_last_of('/');
    if (slash != std::string::npos) {
        const std::string installed =
            exePath.substr(0, slash + 1) + "../share/doc/velkan-tessiver/help/index.html";
        if (FileExists(installed)) return installed;
    }
#ifdef VELKAN_SOURCE_DIR
    const std::string source = std::string(VELKAN_SOURCE_DIR) + "/docs/help/index.html";
    if (FileExists(source)) return source;
#endif
    return {};
}
