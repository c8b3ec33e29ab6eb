// SPDX-License-Identifier: GPL-3.0-or-later
// The verbs of the `velkan` command. Each verb lives in its own file and is listed once in
// the table of main.cpp. A verb returns the process exit status; usage errors return 2.
#pragma once

#include <QString>

struct Verb {
    const char* name;
    const char* synopsis;               // one or more lines, shown by `velkan --help`
    int (*run)(int argc, char** argv);  // argv[0] is the verb itself
};

// Defined in main.cpp.
extern const Verb kVerbs[];
extern const int kVerbCount;

// Prints "velkan: MESSAGE" and the verb's synopsis on stderr; returns 2.
int UsageError(const char* verb, const char* message);
int UsageError(const char* verb, const QString& message);

// Prints "velkan: MESSAGE" and a line break on stderr. The messages are written in English as
// Translate("velkan", ...) (resources/translations.h), which gives them in the user's language.
void Say(const QString& message);

// "1 message" or "N messages": `one` when n is 1, else `many` with n for its %1.
QString Count(unsigned long long n, const QString& one, const QString& many);
