// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/contacts_addin.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "common/text_convert.h"
#include "settings/settings_key.h"
#include "temp_dir.h"

namespace {

class ContactsAddInTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(root.Path().empty());
        previousConfig = Save("XDG_CONFIG_HOME");
        setenv("XDG_CONFIG_HOME", (root / "config").c_str(), 1);
        dataHome = root / "data";
        handler = dataHome + "/applications/velkan-tessiver-smsto.desktop";
    }
    void TearDown() override {
        if (previousConfig.first) {
            setenv("XDG_CONFIG_HOME", previousConfig.second.c_str(), 1);
        } else {
            unsetenv("XDG_CONFIG_HOME");
        }
    }
    static std::pair<bool, std::string> Save(const char* name) {
        const char* value = std::getenv(name);
        return {value != nullptr, value != nullptr ? value : ""};
    }
    // An installed program: "<prefix>/bin/velkan-tessiver" and its desktop entry in
    // "<prefix>/share/applications".
    std::string Install(const std::string& prefix) {
        WriteTextFile(prefix + "/bin/velkan-tessiver", "program");
        WriteTextFile(prefix + "/share/applications/velkan-tessiver.desktop", "[Desktop Entry]\n");
        return prefix + "/bin/velkan-tessiver";
    }
    std::u16string StoredExe() {
        RegistryKey key;
        if (!OpenSettings(key)) return u"(no settings)";
        std::u16string value;
        key.ReadString(kValueExe, value, nullptr);
        return value;
    }

    TempDir root;
    std::pair<bool, std::string> previousConfig;
    std::string dataHome;
    std::string handler;
};

TEST_F(ContactsAddInTest, InstalledProgramIsRegisteredAsLinkHandler) {
    const std::string exe = Install(root / "usr");
    RegisterContactsAddIn(exe, dataHome);
    ASSERT_TRUE(PathExists(handler));
    const std::string text = ReadTextFile(handler);
    EXPECT_EQ(text, HandlerEntryText(exe));
    EXPECT_NE(text.find("[Desktop Entry]\n"), std::string::npos);
    EXPECT_NE(text.find("\nName=Send SMS...\n"), std::string::npos);
    EXPECT_NE(text.find("\nExec=\"" + exe + "\" %u\n"), std::string::npos);
    EXPECT_NE(text.find("\nMimeType=x-scheme-handler/sms;x-scheme-handler/smsto;\n"),
              std::string::npos);
    EXPECT_EQ(StoredExe(), Utf8ToUtf16(exe));
}

TEST_F(ContactsAddInTest, RegistrationIsRemovedWhenTheProgramEntryIsGone) {
    const std::string exe = Install(root / "usr");
    RegisterContactsAddIn(exe, dataHome);
    ASSERT_TRUE(PathExists(handler));
    ASSERT_EQ(std::remove((root / "usr/share/applications/velkan-tessiver.desktop").c_str()), 0);
    RegisterContactsAddIn(exe, dataHome);
    EXPECT_FALSE(PathExists(handler));
    EXPECT_EQ(StoredExe(), Utf8ToUtf16(exe));  // the path is still recorded
}

TEST_F(ContactsAddInTest, MovingTheProgramUpdatesExeAndTheHandler) {
    const std::string first = Install(root / "old");
    RegisterContactsAddIn(first, dataHome);
    const std::string second = Install(root / "new place");
    RegisterContactsAddIn(second, dataHome);
    EXPECT_EQ(StoredExe(), Utf8ToUtf16(second));
    EXPECT_NE(ReadTextFile(handler).find("Exec=\"" + second + "\" %u"), std::string::npos);
    EXPECT_EQ(ReadTextFile(handler).find(first), std::string::npos);
}

TEST_F(ContactsAddInTest, ProgramEntryBesideTheProgramCountsToo) {
    WriteTextFile(root / "portable/velkan-tessiver", "program");
    WriteTextFile(root / "portable/velkan-tessiver.desktop", "[Desktop Entry]\n");
    EXPECT_EQ(FindProgramEntry(root / "portable/velkan-tessiver"),
              root / "portable/velkan-tessiver.desktop");
    RegisterContactsAddIn(root / "portable/velkan-tessiver", dataHome);
    EXPECT_TRUE(PathExists(handler));
}

TEST_F(ContactsAddInTest, ProgramWithoutEntryWritesExeOnly) {
    WriteTextFile(root / "build/velkan-tessiver", "program");
    EXPECT_EQ(FindProgramEntry(root / "build/velkan-tessiver"), "");
    RegisterContactsAddIn(root / "build/velkan-tessiver", dataHome);
    EXPECT_FALSE(PathExists(handler));
    EXPECT_FALSE(PathExists(dataHome));  // nothing created for nothing
    EXPECT_EQ(StoredExe(), Utf8ToUtf16(root / "build/velkan-tessiver"));
}

TEST_F(ContactsAddInTest, UnchangedRegistrationIsNotRewritten) {
    const std::string exe = Install(root / "usr");
    RegisterContactsAddIn(exe, dataHome);
    struct stat before {};
    ASSERT_EQ(stat(handler.c_str(), &before), 0);
    RegisterContactsAddIn(exe, dataHome);
    struct stat after {};
    ASSERT_EQ(stat(handler.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);  // a rewrite goes through a new file
}

TEST_F(ContactsAddInTest, ExecQuotesAndEscapesSpecialCharacters) {
    const std::string text = HandlerEntryText("/opt/a b/$x`y\"z\\w%q/velkan");
    // Inside the quotes: \" \` \$ \\ are escaped, % doubled; then every backslash doubled
    // for the entry's string value.
    EXPECT_NE(text.find("\nExec=\"/opt/a b/\\\\$x\\\\`y\\\\\"z\\\\\\\\w%%q/velkan\" %u\n"),
              std::string::npos)
        << text;
}

TEST_F(ContactsAddInTest, UnusablePathsGiveNoRegistration) {
    EXPECT_EQ(HandlerEntryText(""), "");
    EXPECT_EQ(HandlerEntryText("relative/velkan"), "");
    EXPECT_EQ(HandlerEntryText("/opt/line\nbreak/velkan"), "");
    // A stale registration is removed when the program path is not usable.
    WriteTextFile(handler, "stale");
    WriteTextFile(root / "velkan-tessiver.desktop", "[Desktop Entry]\n");
    RegisterContactsAddIn("", dataHome);
    EXPECT_FALSE(PathExists(handler));
}

TEST_F(ContactsAddInTest, NoDataHomeStillWritesExe) {
    const std::string exe = Install(root / "usr");
    RegisterContactsAddIn(exe, "");
    EXPECT_EQ(StoredExe(), Utf8ToUtf16(exe));
    EXPECT_EQ(HandlerEntryPath(""), "");
}

TEST_F(ContactsAddInTest, UnwritableDataHomeIsSilent) {
    const std::string exe = Install(root / "usr");
    WriteTextFile(dataHome, "a file where the folder should be");
    RegisterContactsAddIn(exe, dataHome);
    EXPECT_EQ(ReadTextFile(dataHome), "a file where the folder should be");
    EXPECT_EQ(StoredExe(), Utf8ToUtf16(exe));
}

TEST(ContactsAddInPaths, ProgramFileIsTheRunningTest) {
    const std::string exe = ProgramFilePath();
    ASSERT_FALSE(exe.empty());
    EXPECT_EQ(exe[0], '/');
    EXPECT_NE(exe.find("shell_tests"), std::string::npos);
}

TEST(ContactsAddInPaths, DataHomeFromTheEnvironment) {
    const char* saved = std::getenv("XDG_DATA_HOME");
    const std::string keep = saved != nullptr ? saved : "";
    setenv("XDG_DATA_HOME", "/x/data", 1);
    EXPECT_EQ(XdgDataHome(), "/x/data");
    setenv("XDG_DATA_HOME", "relative", 1);  // not absolute: ignored
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/') {
        EXPECT_EQ(XdgDataHome(), std::string(home) + "/.local/share");
    }
    if (saved != nullptr) {
        setenv("XDG_DATA_HOME", keep.c_str(), 1);
    } else {
        unsetenv("XDG_DATA_HOME");
    }
    EXPECT_EQ(HandlerEntryPath("/x/data"), "/x/data/applications/velkan-tessiver-smsto.desktop");
    EXPECT_EQ(HandlerEntryPath("/x/data/"), "/x/data/applications/velkan-tessiver-smsto.desktop");
}

}  // namespace
