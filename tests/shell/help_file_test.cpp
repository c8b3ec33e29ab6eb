// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/help_file.h"

#include <gtest/gtest.h>

#include "temp_dir.h"

namespace {

TEST(FindManual, InstalledManualBesideTheProgram) {
    TempDir root;
    WriteTextFile(root / "usr/bin/velkan-tessiver", "program");
    WriteTextFile(root / "usr/share/doc/velkan-tessiver/help/index.html", "<html></html>");
    EXPECT_EQ(FindManual(root / "usr/bin/velkan-tessiver"),
              root / "usr/bin/../share/doc/velkan-tessiver/help/index.html");
}

TEST(FindManual, ProgramInTheBuildTreeUsesTheSourceTree) {
    TempDir root;
    WriteTextFile(root / "build/velkan-tessiver", "program");
    const std::string source = std::string(VELKAN_SOURCE_DIR) + "/docs/help/index.html";
    ASSERT_TRUE(PathExists(source)) << "the manual belongs in the source tree";
    EXPECT_EQ(FindManual(root / "build/velkan-tessiver"), source);
    EXPECT_EQ(FindManual(""), source);
}

}  // namespace
