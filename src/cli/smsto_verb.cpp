// SPDX-License-Identifier: GPL-3.0-or-later
// velkan smsto: the "/smsto:" command line that other programs use to hand a recipient to
// Velkan Tessiver, read and written exactly as the program does.
//
//   velkan smsto parse CMDLINE...            {"ok":true,"number":"0123","name":"Anna"}
//   velkan smsto build --number N [--name NAME]   "/smsto:0123?Anna"
//
// parse takes its arguments as the program takes its own (joined with blanks; sms: and smsto:
// links converted first) and exits 0 when the line has a number part, 1 when it has none.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli/json.h"
#include "cli/verbs.h"
#include "common/text_convert.h"
#include "resources/translations.h"
#include "shell/smsto.h"

namespace {

int Parse(int argc, char** argv) {
    if (argc < 3) return UsageError("smsto", Translate("velkan", "parse needs a command line"));
    std::vector<std::u16string> arguments;
    for (int i = 2; i < argc; ++i) arguments.push_back(Utf8ToUtf16(argv[i]));
    TextBuffer commandLine;
    CommandLineFromArguments(arguments, commandLine);
    TextBuffer number, name;
    const bool ok = ParseSmsTo(commandLine, number, name);
    JsonObject out;
    out.Add("ok", ok);
    out.Add("number", ok ? number.ToU16() : std::u16string());
    out.Add("name", ok ? name.ToU16() : std::u16string());
    std::printf("%s\n", out.Str().c_str());
    return ok ? 0 : 1;
}

int Build(int argc, char** argv) {
    const char* number = nullptr;
    const char* name = "";
    for (int i = 2; i < argc; ++i) {
        const bool isNumber = std::strcmp(argv[i], "--number") == 0;
        const bool isName = std::strcmp(argv[i], "--name") == 0;
        if (!isNumber && !isName)
            return UsageError("smsto", Translate("velkan", "unknown argument to build"));
        if (i + 1 >= argc)
            return UsageError("smsto", Translate("velkan", "an option needs a value"));
        (isNumber ? number : name) = argv[++i];
    }
    if (number == nullptr) return UsageError("smsto", Translate("velkan", "build needs --number"));
    TextBuffer commandLine;
    BuildSmsTo(commandLine, TextBuffer::FromU16(Utf8ToUtf16(name)),
               TextBuffer::FromU16(Utf8ToUtf16(number)));
    std::printf("%s\n", Utf16ToUtf8(commandLine.ToU16()).c_str());
    return 0;
}

}  // namespace

int RunSmsToVerb(int argc, char** argv) {
    if (argc >= 2 && std::strcmp(argv[1], "parse") == 0) return Parse(argc, argv);
    if (argc >= 2 && std::strcmp(argv[1], "build") == 0) return Build(argc, argv);
    return UsageError("smsto", Translate("velkan", "expected parse or build"));
}
