// SPDX-License-Identifier: GPL-3.0-or-later
// `velkan` speaks the user's language (LANGUAGE, then LC_ALL, LC_MESSAGES, LANG) in its
// messages, while what scripts read (JSON, lists, exit statuses) stays the same; without a
// translation for the user's language, and in the C locale, it speaks English as it always did.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "run_process.h"

namespace {

const char* const kLocaleVariables[] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};

// Runs velkan with the locale variables set as given (the others unset) and puts the test's
// own environment back afterwards.
ProcessResult VelkanIn(const std::map<std::string, std::string>& locale,
                       const std::vector<std::string>& args) {
    std::map<std::string, std::optional<std::string>> saved;
    for (const char* name : kLocaleVariables) {
        const char* value = std::getenv(name);
        saved[name] = value != nullptr ? std::optional<std::string>(value) : std::nullopt;
        const auto it = locale.find(name);
        if (it != locale.end()) {
            setenv(name, it->second.c_str(), 1);
        } else {
            unsetenv(name);
        }
    }
    ProcessResult r = RunProcess(VELKAN_BIN, args);
    for (const auto& [name, value] : saved) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }
    return r;
}

const std::map<std::string, std::string> kFrench = {{"LANGUAGE", "fr"}, {"LANG", "C.UTF-8"}};
const std::map<std::string, std::string> kCLocale = {{"LANG", "C"}};

const char* kHelloDeliver = "00040A91940321436500003011519003504005C8329BFD06";

TEST(VelkanLanguage, UsageErrorInFrench) {
    const ProcessResult r = VelkanIn(kFrench, {"list", "nonsense"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.err,
              "velkan: dossier inconnu «\u00a0nonsense\u00a0»\u00a0: inbox, outbox, draft, sent "
              "ou log\nutilisation\u00a0:\nvelkan list inbox|outbox|draft|sent|log [--json]\n");
}

TEST(VelkanLanguage, UnknownVerbAndHelpInFrench) {
    const ProcessResult r = VelkanIn(kFrench, {"frobnicate"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.err.rfind("velkan: verbe inconnu «\u00a0frobnicate\u00a0»\nUtilisation\u00a0: "
                          "velkan VERBE [ARGUMENTS]\n",
                          0),
              0u)
        << r.err;
    // The verbs' usage lines are commands and stay as they are.
    EXPECT_NE(r.err.find("\n  velkan list inbox|outbox|draft|sent|log [--json]\n"),
              std::string::npos);
}

TEST(VelkanLanguage, LangAloneChoosesGerman) {
    const ProcessResult r = VelkanIn({{"LANG", "de_DE.UTF-8"}}, {"resend"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.err.rfind("velkan: welche Nachricht? Geben Sie ihre ID an\nAufruf:\n", 0), 0u)
        << r.err;
}

// A verb's usage names its arguments in the user's language; its verbs and options stay.
TEST(VelkanLanguage, UsageOfAVerbInGerman) {
    const ProcessResult r = VelkanIn({{"LANGUAGE", "de"}}, {"backup", "--help"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "Aufruf:\nvelkan backup DATEI [--force]\n");
    const ProcessResult help = VelkanIn({{"LANGUAGE", "de"}}, {"--help"});
    EXPECT_NE(help.out.find("\n  velkan send --to NUMMER --text TEXT [--name NAME] [--flash | "
                            "--no-flash]\n"),
              std::string::npos)
        << help.out;
}

TEST(VelkanLanguage, JsonStaysTheSameInEveryLanguage) {
    const ProcessResult english = VelkanIn(kCLocale, {"pdu", "decode", kHelloDeliver});
    ASSERT_EQ(english.exitStatus, 0);
    ASSERT_NE(english.out.find("\"text\":\"Hello\""), std::string::npos) << english.out;
    for (const auto& locale : {kFrench, std::map<std::string, std::string>{{"LANGUAGE", "de"}}}) {
        const ProcessResult r = VelkanIn(locale, {"pdu", "decode", kHelloDeliver});
        EXPECT_EQ(r.exitStatus, 0);
        EXPECT_EQ(r.out, english.out);
        EXPECT_EQ(r.err, english.err);
    }
    const ProcessResult parsed = VelkanIn(kFrench, {"smsto", "parse", "/smsto:0123?Anna"});
    EXPECT_EQ(parsed.out, VelkanIn(kCLocale, {"smsto", "parse", "/smsto:0123?Anna"}).out);
}

TEST(VelkanLanguage, EnglishWithoutALanguageOrInTheCLocale) {
    const std::string expected =
        "velkan: unknown folder 'nonsense': inbox, outbox, draft, sent or log\nusage:\n"
        "velkan list inbox|outbox|draft|sent|log [--json]\n";
    EXPECT_EQ(VelkanIn({}, {"list", "nonsense"}).err, expected);
    EXPECT_EQ(VelkanIn(kCLocale, {"list", "nonsense"}).err, expected);
    // The C locale wins over a LANG that comes after it; English asked for first wins too.
    EXPECT_EQ(VelkanIn({{"LC_ALL", "C"}, {"LANG", "fr_FR.UTF-8"}}, {"list", "nonsense"}).err,
              expected);
    EXPECT_EQ(VelkanIn({{"LANGUAGE", "en:fr"}}, {"list", "nonsense"}).err, expected);
    // A language without a translation leaves the messages English.
    EXPECT_EQ(VelkanIn({{"LANGUAGE", "es"}}, {"list", "nonsense"}).err, expected);
}

// A long import's progress lines and its summary are French too; the numbers are those of the
// English run.
TEST(VelkanLanguage, ProgressOfALongImportInFrench) {
    namespace fs = std::filesystem;
    std::string pattern = (fs::temp_directory_path() / "velkan-language-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    const fs::path root = pattern;
    // A little over a megabyte, so that a log (not a terminal) gets a line at every tenth.
    const std::string file = (root / "messages.csv").string();
    {
        std::ofstream out(file);
        out << "id,time,flags,folder,name,number,text\n";
        for (int i = 0; i < 7300; ++i) {
            out << i + 1 << ",2024-05-01 10:00:00.000,0,inbox,Anna,+4930123456,"
                << std::string(100, static_cast<char>('a' + i % 26)) << i << "\n";
        }
    }
    ASSERT_GT(fs::file_size(file), 1024u * 1024u);
    setenv("VELKAN_DATA_DIR", (root / "data").string().c_str(), 1);
    const ProcessResult r = VelkanIn(kFrench, {"import", file});
    unsetenv("VELKAN_DATA_DIR");
    fs::remove_all(root);
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_NE(r.err.find("velkan: import de " + file + ": 50% ("), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("\u00a0Ko sur 1."), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("100% (1.1\u00a0Mo sur 1.1\u00a0Mo)\n"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("velkan: 7300 messages importé(s) depuis " + file + " au format csv\n"),
              std::string::npos)
        << r.err;
}

}  // namespace
