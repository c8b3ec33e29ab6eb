// SPDX-License-Identifier: GPL-3.0-or-later
// The program's texts in the user's language: the translations of translations/*.ts, built into
// the programs, chosen from the environment the way other desktop programs choose theirs.
//
// Both programs call LoadUserTranslation() once at start, before any other thread runs. From
// then on the string table (FindResourceString, TextBuffer::LoadResourceString) answers in the
// loaded language, and so does Translate(); the desktop program also installs
// LoadedTranslator() into its QApplication so that the windows' tr() calls answer too. Without
// a translation for the user's languages everything stays English, the texts' source language.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>

class QTranslator;

// The languages the environment asks for, most wanted first: LANGUAGE (a colon-separated list)
// when it is set and not empty, otherwise the first of LC_ALL, LC_MESSAGES and LANG that is set.
// Each locale name gives its language with and without the country ("de_AT.UTF-8" gives "de_AT",
// then "de"). The list ends at English (the source language) and at the "C" and "POSIX" locales.
QStringList UserLanguages(const std::function<const char*(const char*)>& getenv);

// The first of `languages` that the program has a translation for becomes the language of its
// texts. Returns that language ("de", "fr"), or an empty text when the texts stay English.
QString LoadTranslation(const QStringList& languages);

// LoadTranslation(UserLanguages()) with the process's own environment.
QString LoadUserTranslation();

// LoadUserTranslation(), and the translation installed into the running QCoreApplication so
// that tr() answers in the same language, together with Qt's own texts (the buttons of message
// boxes) when Qt's translations for the language are installed. Returns the language.
QString InstallUserTranslation();

// The translation loaded by LoadTranslation; null while the texts are English.
QTranslator* LoadedTranslator();

// `english` in the loaded language (itself when it has no translation), for texts that are
// not in the string table: the `velkan` command's messages use the context "velkan".
// scripts/update_translations.sh finds these calls the way it finds tr().
QString Translate(const char* context, const char* english, const char* disambiguation = nullptr);

// The languages the program has translations for ("de", "fr").
QStringList AvailableTranslations();
