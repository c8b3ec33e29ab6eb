// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "settings/registry_key.h"
#include "settings/settings_key.h"
#include "settings/transfer_settings_reader.h"
#include "store_test_util.h"  // RunWithoutPrivileges

namespace fs = std::filesystem;

namespace {

unsigned ModeOf(const std::string& path) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) return 0xFFFF;
    return st.st_mode & 0777;
}

std::string ReadAll(const std::string& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// A private config home for each test.
class SettingsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* old = std::getenv("XDG_CONFIG_HOME");
        hadOld_ = old != nullptr;
        if (hadOld_) old_ = old;
        std::string pattern = (fs::temp_directory_path() / "velkan-settings-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home_ = pattern;
        setenv("XDG_CONFIG_HOME", home_.c_str(), 1);
    }
    void TearDown() override {
        if (hadOld_) {
            setenv("XDG_CONFIG_HOME", old_.c_str(), 1);
        } else {
            unsetenv("XDG_CONFIG_HOME");
        }
        std::error_code ec;
        fs::permissions(home_, fs::perms::owner_all, ec);
        fs::remove_all(home_, ec);
    }
    std::string Folder() const { return home_ + "/Orvane Systems"; }
    std::string File() const { return Folder() + "/Velkan Tessiver.ini"; }

    std::string home_;
    std::string old_;
    bool hadOld_ = false;
};

TEST_F(SettingsTest, OpeningCreatesAPrivateKeyWhereNoneExisted) {
    ASSERT_FALSE(fs::exists(File()));
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    EXPECT_TRUE(key.IsOpen());
    EXPECT_EQ(key.Location(), File());
    EXPECT_EQ(ModeOf(Folder()), 0700u);
    EXPECT_EQ(ModeOf(File()), 0600u);
    ASSERT_EQ(SetCommPort(key, u"COM5:"), kRegSuccess);
    ASSERT_EQ(key.WriteDword(kValueFlash, 1), kRegSuccess);
    // Written out by replacing the file: still private.
    EXPECT_EQ(ModeOf(File()), 0600u);
}

TEST_F(SettingsTest, AbsentValuesReadAsTheirDefaults) {
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    EXPECT_EQ(ReadSettingString(key, kValueCommPort), u"COM3:");
    EXPECT_EQ(ReadSettingString(key, kValueTcp), u"localhost:4000");
    EXPECT_EQ(ReadSettingString(key, kValueSmsc), u"");
    EXPECT_EQ(ReadSettingString(key, kValueExe), u"");
    for (const char16_t* name : {kValueSmscCustom, kValueStatusReq, kValueFlash, kValueDelMsg}) {
        EXPECT_EQ(ReadSettingDword(key, name), 0u);
    }
    std::u16string dest = u"old";
    EXPECT_EQ(key.ReadString(kValueExe, dest, nullptr), nullptr);
    EXPECT_EQ(dest, u"");
    EXPECT_EQ(key.ReadDword(kValueFlash, 42), 42u);
    EXPECT_EQ(ReadConnectionString(key), u"COM3:");
}

TEST_F(SettingsTest, StringsAndNumbersComeBack) {
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    ASSERT_EQ(SetTcpAddress(key, u"gateway.example:4001"), kRegSuccess);
    ASSERT_EQ(SetSmsc(key, u"+491710760000"), kRegSuccess);
    ASSERT_EQ(key.WriteDword(kValueStatusReq, 1), kRegSuccess);
    ASSERT_EQ(key.WriteDword(kValueDelMsg, 0xFFFFFFFFu), kRegSuccess);
    ASSERT_EQ(key.WriteString(u"Odd", u"J\xF6rg, \"quoted\" ; [x] = y \\ z"), kRegSuccess);
    RegistryKey other;
    ASSERT_TRUE(OpenSettings(other));
    EXPECT_EQ(ReadSettingString(other, kValueTcp), u"gateway.example:4001");
    EXPECT_EQ(ReadSettingString(other, kValueSmsc), u"+491710760000");
    EXPECT_EQ(ReadSettingDword(other, kValueStatusReq), 1u);
    EXPECT_EQ(ReadSettingDword(other, kValueDelMsg), 0xFFFFFFFFu);
    std::u16string dest;
    const char16_t* got = other.ReadString(u"Odd", dest, nullptr);
    EXPECT_EQ(got, dest.c_str());
    EXPECT_EQ(dest, u"J\xF6rg, \"quoted\" ; [x] = y \\ z");
    // The file keeps the values under the key's group, the numbers as plain numbers.
    const std::string text = ReadAll(File());
    EXPECT_NE(text.find("[1.0]"), std::string::npos);
    EXPECT_NE(text.find("StatusReq=1\n"), std::string::npos);
}

TEST_F(SettingsTest, AnEmptyServiceCentreIsStoredAsPresentAndEmpty) {
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    ASSERT_EQ(SetSmsc(key, u""), kRegSuccess);
    std::u16string dest = u"x";
    const char16_t* result = key.ReadString(kValueSmsc, dest, nullptr);
    ASSERT_NE(result, nullptr);  // present, not defaulted
    EXPECT_EQ(dest, u"");
}

TEST_F(SettingsTest, AValueOfTheWrongTypeReadsAsTheDefault) {
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    for (const char16_t* text : {u"abc", u"-1", u"1.5", u" 1", u"0x10", u"4294967296", u""}) {
        ASSERT_EQ(key.WriteString(kValueFlash, text), kRegSuccess);
        EXPECT_EQ(ReadSettingDword(key, kValueFlash), 0u);
        EXPECT_EQ(key.ReadDword(kValueFlash, 7), 7u);
        EXPECT_FALSE(ReadSettingFlag(key, kValueFlash));
    }
    ASSERT_EQ(key.WriteString(kValueFlash, u"4294967295"), kRegSuccess);
    EXPECT_EQ(ReadSettingDword(key, kValueFlash), 0xFFFFFFFFu);
    // A list where text belongs (an unquoted comma in a hand-edited file).
    {
        std::ofstream out(File(), std::ios::trunc);
        out << "[1.0]\nCommPort=COM1:, COM2:\nTCP=host:1\n";
    }
    EXPECT_EQ(ReadSettingString(key, kValueCommPort), u"COM3:");
    EXPECT_EQ(ReadSettingString(key, kValueTcp), u"host:1");
}

TEST_F(SettingsTest, AFlashValueOfTwoCountsAsSet) {
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    ASSERT_EQ(key.WriteDword(kValueFlash, 2), kRegSuccess);
    EXPECT_TRUE(ReadSettingFlag(key, kValueFlash));
    ASSERT_EQ(WriteSettingFlag(key, kValueFlash, ReadSettingFlag(key, kValueFlash)), kRegSuccess);
    EXPECT_EQ(ReadSettingDword(key, kValueFlash), 1u);
}

TEST_F(SettingsTest, NothingIsCached) {
    RegistryKey reader;
    ASSERT_TRUE(OpenSettings(reader));
    EXPECT_EQ(ReadSettingDword(reader, kValueDelMsg), 0u);
    {
        RegistryKey writer;
        ASSERT_TRUE(OpenSettings(writer));
        ASSERT_EQ(writer.WriteDword(kValueDelMsg, 1), kRegSuccess);
    }
    EXPECT_EQ(ReadSettingDword(reader, kValueDelMsg), 1u);
    // A change made to the file by someone else is seen too.
    {
        std::ofstream out(File(), std::ios::trunc);
        out << "[1.0]\nDelMsg=0\nCommPort=TCP\nTCP=10.0.0.2:4000\n";
    }
    EXPECT_EQ(ReadSettingDword(reader, kValueDelMsg), 0u);
    EXPECT_EQ(ReadConnectionString(reader), u"TCP:10.0.0.2:4000");
}

TEST_F(SettingsTest, TheConnectionCombinesCommPortAndTcp) {
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    ASSERT_EQ(SetCommPort(key, u"TCP"), kRegSuccess);
    EXPECT_EQ(ReadConnectionString(key), u"TCP:localhost:4000");
    EXPECT_FALSE(IsNoCommunication(ReadConnectionString(key)));
    ASSERT_EQ(SetTcpAddress(key, u"local"), kRegSuccess);
    EXPECT_EQ(ReadConnectionString(key), u"TCP:local");
    EXPECT_TRUE(IsNoCommunication(ReadConnectionString(key)));
    ASSERT_EQ(SetCommPort(key, u"local"), kRegSuccess);
    EXPECT_EQ(ReadConnectionString(key), u"local");
    EXPECT_TRUE(IsNoCommunication(ReadConnectionString(key)));
    // Written in lower case, "tcp" is not the TCP selection: it stays as it is.
    ASSERT_EQ(SetCommPort(key, u"tcp"), kRegSuccess);
    EXPECT_EQ(ReadConnectionString(key), u"tcp");
    EXPECT_FALSE(IsNoCommunication(u"tcp"));
    EXPECT_FALSE(IsNoCommunication(u"Local"));
    EXPECT_FALSE(IsNoCommunication(u"TCP:Local"));
    ASSERT_EQ(SetCommPort(key, u"COM1:"), kRegSuccess);
    EXPECT_EQ(ReadConnectionString(key), u"COM1:");
    // The address is written even when it is empty.
    ASSERT_EQ(SetTcpAddress(key, u""), kRegSuccess);
    ASSERT_EQ(SetCommPort(key, u"TCP"), kRegSuccess);
    EXPECT_EQ(ReadConnectionString(key), u"TCP:");
}

TEST_F(SettingsTest, OpeningWithoutCreateNeedsAnExistingKey) {
    RegistryKey key;
    EXPECT_FALSE(key.Open(kSettingsKeyPath, false));
    EXPECT_FALSE(key.IsOpen());
    ASSERT_TRUE(OpenSettings(key));
    ASSERT_EQ(SetCommPort(key, u"COM1:"), kRegSuccess);
    RegistryKey again;
    EXPECT_TRUE(again.Open(kSettingsKeyPath, false));
    EXPECT_FALSE(again.Open(u"Software\\Orvane Systems\\Velkan Tessiver\\2.0", false));
    EXPECT_FALSE(again.Open(u"System\\Elsewhere\\x", true));
    EXPECT_FALSE(again.Open(u"Software\\OnlyOne", true));
    EXPECT_FALSE(again.IsOpen());
    EXPECT_EQ(again.Close(), kRegSuccess);
    EXPECT_EQ(again.WriteString(kValueTcp, u"x"), kRegInvalidHandle);
    EXPECT_EQ(again.ReadDword(kValueFlash, 5), 5u);
}

TEST_F(SettingsTest, TheProgramPathIsKeptToItsLimit) {
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    ASSERT_EQ(SetExePath(key, std::u16string(300, u'p')), kRegSuccess);
    EXPECT_EQ(ReadSettingString(key, kValueExe).size(), kMaxExePath);
}

TEST_F(SettingsTest, TheTableNamesEveryValue) {
    ASSERT_EQ(kSettingCount, 10u);
    EXPECT_EQ(FindSetting(u"CommPort")->type, SettingType::kString);
    EXPECT_EQ(FindSetting(u"DelMsg")->type, SettingType::kDword);
    EXPECT_EQ(FindSetting(u"SMSCCustom")->defaultNumber, 0u);
    EXPECT_EQ(FindSetting(u"Exe")->defaultText, nullptr);
    EXPECT_EQ(FindSetting(u"commport"), nullptr);
    EXPECT_EQ(FindSetting(u"Nope"), nullptr);
}

TEST_F(SettingsTest, AnUnwritableConfigHomeFailsCleanly) {
    fs::permissions(home_, fs::perms::owner_read | fs::perms::owner_exec);
    const int result = RunWithoutPrivileges([]() {
        RegistryKey key;
        if (OpenSettings(key)) return 1;
        // Reading without a key gives the defaults.
        if (ReadSettingString(key, kValueCommPort) != u"COM3:") return 2;
        if (key.WriteDword(kValueFlash, 1) == kRegSuccess) return 3;
        return 0;
    });
    fs::permissions(home_, fs::perms::owner_all);
    EXPECT_EQ(result, 0);
}

TEST_F(SettingsTest, AReadOnlySettingsFileReportsFailedWrites) {
    {
        RegistryKey key;
        ASSERT_TRUE(OpenSettings(key));
        ASSERT_EQ(SetCommPort(key, u"COM1:"), kRegSuccess);
    }
    fs::permissions(File(), fs::perms::owner_read);
    fs::permissions(Folder(), fs::perms::owner_read | fs::perms::owner_exec);
    const int result = RunWithoutPrivileges([]() {
        RegistryKey key;
        if (!OpenSettings(key)) return 1;
        if (ReadSettingString(key, kValueCommPort) != u"COM1:") return 2;
        if (SetCommPort(key, u"COM2:") == kRegSuccess) return 3;
        return 0;
    });
    fs::permissions(Folder(), fs::perms::owner_all);
    fs::permissions(File(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(result, 0);
}

}  // namespace

namespace {

// A settings file of binary garbage (a disk error, another program's file under this name):
// the values read as their defaults, nothing crashes, and merely reading does not rewrite it.
TEST_F(SettingsTest, AFileOfGarbageReadsAsDefaultsAndIsLeftAsItWas) {
    fs::create_directories(Folder());
    std::string garbage;
    std::uint32_t state = 12345;
    for (int i = 0; i < 8192; ++i) {
        state = state * 1103515245u + 12345u;
        garbage.push_back(static_cast<char>(state >> 24));
    }
    garbage.insert(100, std::string("\0\0[1.0]\nCommPort=\0", 18));
    {
        std::ofstream out(File(), std::ios::binary | std::ios::trunc);
        out.write(garbage.data(), static_cast<std::streamsize>(garbage.size()));
    }
    RegistryKey key;
    EXPECT_TRUE(OpenSettings(key));
    EXPECT_EQ(ReadSettingString(key, kValueCommPort), u"COM3:");
    EXPECT_EQ(ReadSettingDword(key, kValueFlash), 0u);
    EXPECT_FALSE(ReadSettingFlag(key, kValueDelMsg));
    key.Close();
    EXPECT_EQ(ReadAll(File()), garbage);
}

// Lines that cannot be read among good ones (a hand edit gone wrong) are skipped: the good
// values read back and can be written, and the file as it was is kept beside it.
TEST_F(SettingsTest, UnreadableLinesAreSkippedAndTheFileAsItWasIsKept) {
    fs::create_directories(Folder());
    const std::string damaged =
        "\x01\x02\xff\xfe junk\n[1.0]\nCommPort=COM2:\n=\n\x7f\x80=\x81\nTCP=phone:4000\n"
        "[[[\nStatusReq=1\n" +
        std::string(3000, 'x') + "\n";
    {
        std::ofstream out(File(), std::ios::binary | std::ios::trunc);
        out << damaged;
    }
    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    EXPECT_EQ(ReadSettingString(key, kValueCommPort), u"COM2:");
    EXPECT_EQ(ReadSettingString(key, kValueTcp), u"phone:4000");
    ASSERT_EQ(key.DamagedCopy(), File() + ".damaged");
    EXPECT_EQ(ReadAll(key.DamagedCopy()), damaged);
    EXPECT_EQ(ModeOf(key.DamagedCopy()), 0600u);
    ASSERT_EQ(WriteSettingFlag(key, kValueDelMsg, true), kRegSuccess);

    RegistryKey again;
    ASSERT_TRUE(OpenSettings(again));
    EXPECT_EQ(again.DamagedCopy(), "");  // the file is clean now
    EXPECT_EQ(ReadSettingString(again, kValueCommPort), u"COM2:");
    EXPECT_EQ(ReadSettingString(again, kValueTcp), u"phone:4000");
    EXPECT_TRUE(ReadSettingFlag(again, kValueDelMsg));

    // A second damaged file does not replace the first copy.
    {
        std::ofstream out(File(), std::ios::binary | std::ios::trunc);
        out << "[1.0]\nCommPort=COM4:\n[[[\n";
    }
    RegistryKey third;
    ASSERT_TRUE(OpenSettings(third));
    EXPECT_EQ(third.DamagedCopy(), File() + ".damaged-2");
    EXPECT_EQ(ReadAll(File() + ".damaged"), damaged);
    EXPECT_EQ(ReadSettingString(third, kValueCommPort), u"COM4:");
}

// Where no copy can be kept, the damaged file is not touched and the key does not open.
TEST_F(SettingsTest, ADamagedFileThatCannotBeCopiedIsLeftAlone) {
    fs::create_directories(Folder());
    const std::string damaged = "[1.0]\nCommPort=COM2:\n[[[\n";
    {
        std::ofstream out(File(), std::ios::binary | std::ios::trunc);
        out << damaged;
    }
    fs::permissions(Folder(), fs::perms::owner_read | fs::perms::owner_exec);
    const int result = RunWithoutPrivileges([]() {
        RegistryKey key;
        if (OpenSettings(key)) return 1;
        if (ReadSettingString(key, kValueCommPort) != u"COM3:") return 2;
        return 0;
    });
    fs::permissions(Folder(), fs::perms::owner_all);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ReadAll(File()), damaged);
    EXPECT_FALSE(fs::exists(File() + ".damaged"));
}

// ---- the settings a transfer starts with ----

TEST_F(SettingsTest, ATransferGetsItsSettingsInOneReading) {
    TransferSettings settings;
    ASSERT_TRUE(ReadTransferSettings(&settings));
    EXPECT_EQ(settings.portName, u"COM3:");
    EXPECT_FALSE(settings.noCommunication);
    EXPECT_FALSE(settings.deleteAfterRetrieve);
    EXPECT_EQ(settings.serviceCentre, u"");
    EXPECT_FALSE(settings.statusReport);

    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    ASSERT_EQ(SetCommPort(key, u"TCP"), kRegSuccess);
    ASSERT_EQ(SetTcpAddress(key, u"10.0.0.2:4000"), kRegSuccess);
    ASSERT_EQ(SetSmsc(key, u"+491710760000"), kRegSuccess);
    ASSERT_EQ(key.WriteDword(kValueDelMsg, 2), kRegSuccess);  // any non-zero value is set
    ASSERT_EQ(key.WriteDword(kValueStatusReq, 1), kRegSuccess);
    // The centre counts only while the custom centre is on.
    ASSERT_TRUE(ReadTransferSettings(&settings));
    EXPECT_EQ(settings.portName, u"TCP:10.0.0.2:4000");
    EXPECT_FALSE(settings.noCommunication);
    EXPECT_TRUE(settings.deleteAfterRetrieve);
    EXPECT_EQ(settings.serviceCentre, u"");
    EXPECT_TRUE(settings.statusReport);
    ASSERT_EQ(key.WriteDword(kValueSmscCustom, 1), kRegSuccess);
    ASSERT_TRUE(ReadTransferSettings(&settings));
    EXPECT_EQ(settings.serviceCentre, u"+491710760000");

    ASSERT_EQ(SetTcpAddress(key, u"local"), kRegSuccess);
    ASSERT_TRUE(ReadTransferSettings(&settings));
    EXPECT_EQ(settings.portName, u"TCP:local");
    EXPECT_TRUE(settings.noCommunication);
    ASSERT_EQ(SetCommPort(key, u"local"), kRegSuccess);
    ASSERT_TRUE(ReadTransferSettings(&settings));
    EXPECT_TRUE(settings.noCommunication);
}

TEST_F(SettingsTest, UnicodeAndLongMessagesAreOffUntilSet) {
    EXPECT_EQ(FindSetting(u"Unicode")->type, SettingType::kDword);
    EXPECT_EQ(FindSetting(u"LongSms")->type, SettingType::kDword);
    TransferSettings settings;
    ASSERT_TRUE(ReadTransferSettings(&settings));
    EXPECT_FALSE(settings.unicode);
    EXPECT_FALSE(settings.longSms);

    RegistryKey key;
    ASSERT_TRUE(OpenSettings(key));
    ASSERT_EQ(key.WriteDword(kValueUnicode, 2), kRegSuccess);  // any non-zero value is set
    ASSERT_TRUE(ReadTransferSettings(&settings));
    EXPECT_TRUE(settings.unicode);
    EXPECT_FALSE(settings.longSms);
    ASSERT_EQ(WriteSettingFlag(key, kValueLongSms, true), kRegSuccess);
    ASSERT_EQ(WriteSettingFlag(key, kValueUnicode, false), kRegSuccess);
    ASSERT_TRUE(ReadTransferSettings(&settings));
    EXPECT_FALSE(settings.unicode);
    EXPECT_TRUE(settings.longSms);
}

TEST_F(SettingsTest, ATransferWhoseSettingsCannotBeOpenedGetsNone) {
    fs::permissions(home_, fs::perms::owner_read | fs::perms::owner_exec);
    const int result = RunWithoutPrivileges([]() {
        TransferSettings settings;
        return ReadTransferSettings(&settings) ? 1 : 0;
    });
    fs::permissions(home_, fs::perms::owner_all);
    EXPECT_EQ(result, 0);
}

}  // namespace
