// SPDX-License-Identifier: GPL-3.0-or-later
// `velkan`: the command-line face of Velkan Tessiver, for scripts and for the tests.
#include <cstdio>
#include <cstring>

#include "cli/verbs.h"
#include "release_version.h"
#include "resources/translations.h"

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

// The synopses are translated when shown (their placeholders, such as NUMBER, are words of the
// user's language; the verbs and options are not).
const Verb kVerbs[] = {
    {"pdu",
     QT_TRANSLATE_NOOP("velkan",
                       "velkan pdu decode HEX [--tpdu-length N] [--unicode]\n"
                       "velkan pdu encode --to NUMBER [--text TEXT] [--flash] [--status-report]"
                       " [--smsc NUMBER] [--unicode] [--long] [--reference R]"),
     &RunPduVerb},
    {"send-get", QT_TRANSLATE_NOOP("velkan", "velkan send-get"), &RunSendGetVerb},
    {"watch",
     QT_TRANSLATE_NOOP("velkan", "velkan watch [--interval SECONDS] [--exec COMMAND] [--once]"),
     &RunWatchVerb},
    {"send",
     QT_TRANSLATE_NOOP("velkan",
                       "velkan send --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash]"),
     &RunSendVerb},
    {"resend", QT_TRANSLATE_NOOP("velkan", "velkan resend ID"), &RunResendVerb},
    {"compose",
     QT_TRANSLATE_NOOP(
         "velkan",
         "velkan compose --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash] [--draft]"),
     &RunComposeVerb},
    {"list", QT_TRANSLATE_NOOP("velkan", "velkan list inbox|outbox|draft|sent|log [--json]"),
     &RunListVerb},
    {"delete", QT_TRANSLATE_NOOP("velkan", "velkan delete ID..."), &RunDeleteVerb},
    {"search",
     QT_TRANSLATE_NOOP("velkan",
                       "velkan search WORDS... [--folder inbox|outbox|draft|sent|log] [--json]"),
     &RunSearchVerb},
    {"recover", QT_TRANSLATE_NOOP("velkan", "velkan recover FILE"), &RunRecoverVerb},
    {"export",
     QT_TRANSLATE_NOOP(
         "velkan",
         "velkan export --format csv|json|xml|mbox [--folder inbox|outbox|draft|sent|log]"
         " [--output FILE]"),
     &RunExportVerb},
    {"import", QT_TRANSLATE_NOOP("velkan", "velkan import FILE [--format xml|csv|json]"),
     &RunImportVerb},
    {"backup", QT_TRANSLATE_NOOP("velkan", "velkan backup FILE [--force]"), &RunBackupVerb},
    {"restore", QT_TRANSLATE_NOOP("velkan", "velkan restore FILE"), &RunRestoreVerb},
    {"recent", QT_TRANSLATE_NOOP("velkan", "velkan recent [--json]"), &RunRecentVerb},
    {"config", QT_TRANSLATE_NOOP("velkan", "velkan config list | get NAME | set NAME VALUE"),
     &RunConfigVerb},
    {"smsto",
     QT_TRANSLATE_NOOP("velkan",
                       "velkan smsto parse CMDLINE\n"
                       "velkan smsto build --number N [--name NAME]"),
     &RunSmsToVerb},
};
const int kVerbCount = static_cast<int>(sizeof kVerbs / sizeof kVerbs[0]);

namespace {

QByteArray Synopsis(const Verb& verb) {
    return Translate("velkan", verb.synopsis).toUtf8();
}

void PrintHelp(std::FILE* out) {
    std::fputs(qUtf8Printable(Translate("velkan",
                                        "Usage: velkan VERB [ARGUMENTS]\n"
                                        "Velkan Tessiver, the SMS manager, without its windows.\n\n"
                                        "Verbs:\n")),
               out);
    for (int i = 0; i < kVerbCount; ++i) {
        const QByteArray synopsis = Synopsis(kVerbs[i]);
        const char* s = synopsis.constData();
        std::fputs("  ", out);
        for (; *s; ++s) {
            std::fputc(*s, out);
            if (*s == '\n') std::fputs("  ", out);
        }
        std::fputc('\n', out);
    }
    std::fputs(qUtf8Printable(Translate("velkan",
                                        "\n`velkan VERB --help` describes one verb; "
                                        "`velkan --version` prints the release.\n")),
               out);
}

}  // namespace

void Say(const QString& message) {
    std::fprintf(stderr, "velkan: %s\n", qUtf8Printable(message));
}

QString Count(unsigned long long n, const QString& one, const QString& many) {
    return n == 1 ? one : many.arg(n);
}

int UsageError(const char* verb, const char* message) {
    return UsageError(verb, QString::fromUtf8(message));
}

int UsageError(const char* verb, const QString& message) {
    Say(message);
    for (int i = 0; i < kVerbCount; ++i) {
        if (std::strcmp(kVerbs[i].name, verb) == 0) {
            std::fprintf(stderr, "%s\n%s\n", qUtf8Printable(Translate("velkan", "usage:")),
                         Synopsis(kVerbs[i]).constData());
            return 2;
        }
    }
    std::fputs(qUtf8Printable(Translate("velkan", "Try `velkan --help`.\n")), stderr);
    return 2;
}

int main(int argc, char** argv) {
    // Messages in the user's language (LANGUAGE, LC_ALL, LC_MESSAGES, LANG); what scripts read
    // (JSON, lists, numbers) stays as it is.
    LoadUserTranslation();
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
                    std::printf("%s\n%s\n", qUtf8Printable(Translate("velkan", "usage:")),
                                Synopsis(kVerbs[i]).constData());
                    return 0;
                }
            }
            return kVerbs[i].run(argc - 1, argv + 1);
        }
    }
    Say(Translate("velkan", "unknown verb '%1'").arg(QString::fromLocal8Bit(argv[1])));
    PrintHelp(stderr);
    return 2;
}
