// SPDX-License-Identifier: GPL-3.0-or-later
// Every verb explains itself: `velkan VERB --help`, with --help anywhere among its arguments,
// prints its usage and exits 0; the manual page describes every verb `velkan --help` lists;
// `velkan --version` prints the release of the build.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "run_process.h"

namespace {

ProcessResult Velkan(const std::vector<std::string>& args) {
    return RunProcess(VELKAN_BIN, args);
}

// The verb names `velkan --help` lists (the first word after "velkan " on each usage line).
std::vector<std::string> ListedVerbs() {
    std::vector<std::string> verbs;
    std::istringstream in(Velkan({"--help"}).out);
    std::string line;
    while (std::getline(in, line)) {
        const std::string prefix = "  velkan ";
        if (line.rfind(prefix, 0) != 0) continue;
        const std::string verb =
            line.substr(prefix.size(), line.find(' ', prefix.size()) - prefix.size());
        if (verbs.empty() || verbs.back() != verb) verbs.push_back(verb);
    }
    return verbs;
}

TEST(VelkanHelp, EveryVerbAnswersHelpWithItsUsage) {
    const auto verbs = ListedVerbs();
    ASSERT_GE(verbs.size(), 11u);
    for (const std::string& verb : verbs) {
        SCOPED_TRACE(verb);
        const ProcessResult r = Velkan({verb, "--help"});
        EXPECT_EQ(r.exitStatus, 0) << r.err;
        EXPECT_EQ(r.out.rfind("usage:\nvelkan " + verb, 0), 0u) << r.out;
        EXPECT_TRUE(r.err.empty()) << r.err;
    }
}

TEST(VelkanHelp, HelpAfterASubcommandOrOptionsStillAnswers) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"pdu", "decode", "--help"},
          {"pdu", "encode", "--to", "+4930123456", "--help"},
          {"config", "set", "-h"},
          {"smsto", "build", "--help"},
          {"send", "--to", "+4930123456", "--help"}}) {
        SCOPED_TRACE(args[0] + " " + args[1]);
        const ProcessResult r = Velkan(args);
        EXPECT_EQ(r.exitStatus, 0) << r.err;
        EXPECT_EQ(r.out.rfind("usage:\nvelkan " + args[0], 0), 0u) << r.out;
    }
}

TEST(VelkanHelp, TheManualPageDescribesEveryVerb) {
    std::ifstream in(std::string(VELKAN_SOURCE_DIR) + "/docs/man/velkan.1");
    std::stringstream page;
    page << in.rdbuf();
    const std::string text = page.str();
    ASSERT_FALSE(text.empty());
    for (const std::string& verb : ListedVerbs()) {
        // Each verb is a tagged paragraph: ".TP" followed by a line that starts with it (in
        // bold, possibly with roff's escaped hyphens).
        std::string roff;
        for (char c : verb) roff += c == '-' ? std::string("\\-") : std::string(1, c);
        bool described = false;
        for (const char* macro : {".B ", ".BI ", ".BR "}) {
            for (const char* quote : {"", "\""}) {
                const std::string start = std::string(".TP\n") + macro + quote + roff;
                for (const char* after : {" ", "\n", "\""}) {
                    described = described || text.find(start + after) != std::string::npos;
                }
            }
        }
        EXPECT_TRUE(described) << verb;
    }
}

// The bash completion offers every verb, and the folders and formats where they belong.
TEST(VelkanHelp, TheCompletionOffersEveryVerb) {
    const std::string script = std::string(VELKAN_SOURCE_DIR) + "/packaging/completion/velkan";
    auto complete = [&](const std::string& words) {
        const ProcessResult r = RunProcess(
            "/bin/bash", {"-c",
                          "source \"$1\"; read -ra COMP_WORDS <<< \"$2\"; COMP_WORDS+=(\"\");"
                          " COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _velkan;"
                          " echo \" ${COMPREPLY[*]} \"",
                          "bash", script, words});
        EXPECT_EQ(r.exitStatus, 0) << r.err;
        return r.out;
    };
    const std::string verbs = complete("velkan");
    for (const std::string& verb : ListedVerbs()) {
        EXPECT_NE(verbs.find(" " + verb + " "), std::string::npos) << verb << ": " << verbs;
    }
    EXPECT_EQ(complete("velkan export --format"), " csv json xml mbox \n");
    EXPECT_EQ(complete("velkan import x.xml --format"), " xml csv json \n");
    EXPECT_EQ(complete("velkan search anna --folder"), " inbox outbox draft sent log \n");
    EXPECT_EQ(complete("velkan pdu decode 00 --"), " --tpdu-length --unicode \n");
    EXPECT_NE(complete("velkan pdu encode --").find(" --unicode --long --reference "),
              std::string::npos);
    EXPECT_EQ(complete("velkan pdu encode --reference"), "  \n");  // a number of the user's
}

TEST(VelkanHelp, VersionPrintsTheRelease) {
    const ProcessResult r = Velkan({"--version"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, std::string("velkan (Velkan Tessiver) ") + VELKAN_RELEASE + "\n");
}

}  // namespace
