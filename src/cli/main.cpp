// SPDX-License-Identifier: GPL-3.0-or-later
// `velkan`: the command-line face of Velkan Tessiver, for scripts and for the tests.
#include <cstdio>
#include <cstring>

#include "cli/verbs.h"
#include "release_version.h"

int RunPduVerb(int argc, char** argv);
int RunSmsToVerb(int argc, char** argv);
int RunComposeVerb(int argc, char** argv);
int RunListVerb(int argc, char** argv);
int RunDeleteVerb(int argc, char** argv);
int RunRecoverVerb(int argc, char** argv);
int RunRecentVerb(int argc, char** argv);
int RunConfigVerb(int argc, char** argv);
int RunSendGetVerb(int argc, char** argv);
int RunSendVerb(int argc, char** argv);
int RunResendVerb(int argc, char** argv);
int RunSearchVerb(int argc, char** argv);
int RunExportVerb(int argc, char** argv);
int RunImportVerb(int argc, char** argv);
int RunBackupVerb(int argc, char** argv);
int RunRestoreVerb(int argc, char** argv);
int RunWatchVerb(int argc, char** argv);

const Verb kVerbs[] = {
    {"pdu",
     "velkan pdu decode HEX [--tpdu-length N]\n"
     "velkan pdu encode --to NUMBER [--text TEXT] [--flash] [--status-report] [--smsc NUMBER]",
     &RunPduVerb},
    {"send-get", "velkan send-get", &RunSendGetVerb},
    {"watch", "velkan watch [--interval SECONDS] [--exec COMMAND] [--once]", &RunWatchVerb},
    {"send", "velkan send --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash]",
     &RunSendVerb},
    {"resend", "velkan resend ID", &RunResendVerb},
    {"compose",
     "velkan compose --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash] [--draft]",
     &RunComposeVerb},
    {"list", "velkan list inbox|outbox|draft|sent|log [--json]", &RunListVerb},
    {"delete", "velkan delete ID...", &RunDeleteVerb},
    {"search", "velkan search WORDS... [--folder inbox|outbox|draft|sent|log] [--json]",
     &RunSearchVerb},
    {"recover", "velkan recover FILE", &RunRecoverVerb},
    {"export",
     "velkan export --format csv|json|xml|mbox [--folder inbox|outbox|draft|sent|log]"
     " [--output FILE]",
     &RunExportVerb},
    {"import", "velkan import FILE [--format xml|csv|json]", &RunImportVerb},
    {"backup", "velkan backup FILE [--force]", &RunBackupVerb},
    {"restore", "velkan restore FILE", &RunRestoreVerb},
    {"recent", "velkan recent [--json]", &RunRecentVerb},
    {"config", "velkan config list | get NAME | set NAME VALUE", &RunConfigVerb},
    {"smsto",
     "velkan smsto parse CMDLINE\n"
     "velkan smsto build --number N [--name NAME]",
     &RunSmsToVerb},
};
const int kVerbCount = static_cast<int>(sizeof kVerbs / sizeof kVerbs[0]);

namespace {

void PrintHelp(std::FILE* out) {
    std::fputs(
        "Usage: velkan VERB [ARGUMENTS]\n"
        "Velkan Tessiver, the SMS manager, without its windows.\n\n"
        "Verbs:\n",
        out);
    for (int i = 0; i < kVerbCount; ++i) {
        const char* s = kVerbs[i].synopsis;
        std::fputs("  ", out);
        for (; *s; ++s) {
            std::fputc(*s, out);
            if (*s == '\n') std::fputs("  ", out);
        }
        std::fputc('\n', out);
    }
    std::fputs(
        "\n`velkan VERB --help` describes one verb; `velkan --version` prints the release.\n", out);
}

}  // namespace

int UsageError(const char* verb, const char* message) {
    std::fprintf(stderr, "velkan: %s\n", message);
    for (int i = 0; i < kVerbCount; ++i) {
        if (std::strcmp(kVerbs[i].name, verb) == 0) {
            std::fprintf(stderr, "usage:\n%s\n", kVerbs[i].synopsis);
            return 2;
        }
    }
    std::fputs("Try `velkan --help`.\n", stderr);
    return 2;
}

int main(int argc, char** argv) {
    if (argc < 2) {
        PrintHelp(stderr);
        return 2;
    }
    if (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0 ||
        std::strcmp(argv[1], "help") == 0) {
        PrintHelp(stdout);
        return 0;
    }
    if (std::strcmp(argv[1], "--version") == 0) {
        std::printf("velkan (Velkan Tessiver) %s\n", kReleaseVersion);
        return 0;
    }
    for (int i = 0; i < kVerbCount; ++i) {
        if (std::strcmp(kVerbs[i].name, argv[1]) == 0) {
            // --help anywhere among a verb's arguments ("velkan pdu decode --help") asks for
            // its usage, as with most commands.
            for (int a = 2; a < argc; ++a) {
                if (std::strcmp(argv[a], "--help") == 0 || std::strcmp(argv[a], "-h") == 0) {
                    std::printf("usage:\n%s\n", kVerbs[i].synopsis);
                    return 0;
                }
            }
            return kVerbs[i].run(argc - 1, argv + 1);
        }
    }
    std::fprintf(stderr, "velkan: unknown verb '%s'\n", argv[1]);
    PrintHelp(stderr);
    return 2;
}
