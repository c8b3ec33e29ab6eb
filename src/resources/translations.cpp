// SPDX-License-Identifier: GPL-3.0-or-later
#include "resources/translations.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QRegularExpression>
#include <QTranslator>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "resources/string_table.h"

namespace {

// Where the build puts the compiled translations: velkan-tessiver_de.qm and so on.
constexpr char kTranslationFolder[] = ":/i18n";
constexpr char kTranslationPrefix[] = "velkan-tessiver_";
// The string table's entries are translated in this context, each with its ID as the
// disambiguation, so that two IDs with the same English text can be translated differently.
constexpr char kStringTableContext[] = "strings";

std::unique_ptr<QTranslator> loaded;
std::unique_ptr<QTranslator> qtTexts;
// The translated string table, one text per entry in the table's order (empty: no translation).
std::vector<std::u16string> translatedTable;

void AddLanguage(QStringList& languages, const QString& locale) {
    // "de_DE.UTF-8@euro": the language and country come before the character set and the
    // modifier.
    const QString name = locale.left(locale.indexOf(QRegularExpression(QStringLiteral("[.@]"))));
    if (name.isEmpty()) return;
    if (!languages.contains(name)) languages.append(name);
    const qsizetype underscore = name.indexOf(QLatin1Char('_'));
    if (underscore > 0 && !languages.contains(name.left(underscore))) {
        languages.append(name.left(underscore));
    }
}

bool IsSourceLanguage(const QString& locale) {
    return locale == QLatin1String("C") || locale.startsWith(QLatin1String("C.")) ||
           locale == QLatin1String("POSIX") || locale == QLatin1String("en") ||
           locale.startsWith(QLatin1String("en_")) || locale.startsWith(QLatin1String("en."));
}

void TranslateStringTable() {
    std::size_t count = 0;
    const ResourceString* table = ResourceStringTable(&count);
    translatedTable.assign(count, std::u16string());
    for (std::size_t i = 0; i < count; ++i) {
        const QByteArray english =
            QString::fromUtf16(table[i].text.data(), static_cast<qsizetype>(table[i].text.size()))
                .toUtf8();
        const QByteArray id = QByteArray::number(table[i].id);
        const QString text =
            loaded->translate(kStringTableContext, english.constData(), id.constData());
        if (!text.isEmpty()) translatedTable[i] = text.toStdU16String();
    }
    SetResourceStringTranslations(translatedTable.data());
}

}  // namespace

QStringList UserLanguages(const std::function<const char*(const char*)>& getenv) {
    QStringList languages;
    const auto value = [&](const char* name) {
        const char* v = getenv(name);
        return v != nullptr ? QString::fromLocal8Bit(v) : QString();
    };
    // A LANGUAGE list, when there is one, is the whole choice, as with other programs.
    const QStringList list = value("LANGUAGE").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString& entry : list) {
        if (IsSourceLanguage(entry)) return languages;
        AddLanguage(languages, entry);
    }
    if (!list.isEmpty()) return languages;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QString locale = value(name);
        if (locale.isEmpty()) continue;
        if (!IsSourceLanguage(locale)) AddLanguage(languages, locale);
        break;
    }
    return languages;
}

QString LoadTranslation(const QStringList& languages) {
    SetResourceStringTranslations(nullptr);
    loaded.reset();
    for (const QString& language : languages) {
        auto translator = std::make_unique<QTranslator>();
        if (!translator->load(QLatin1String(kTranslationPrefix) + language,
                              QLatin1String(kTranslationFolder))) {
            continue;
        }
        loaded = std::move(translator);
        TranslateStringTable();
        return language;
    }
    return QString();
}

QString LoadUserTranslation() {
    return LoadTranslation(UserLanguages([](const char* name) { return std::getenv(name); }));
}

QString InstallUserTranslation() {
    const QString language = LoadUserTranslation();
    if (language.isEmpty() || QCoreApplication::instance() == nullptr) return language;
    auto qt = std::make_unique<QTranslator>();
    if (qt->load(QLatin1String("qtbase_") + language,
                 QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        qtTexts = std::move(qt);
        QCoreApplication::installTranslator(qtTexts.get());
    }
    // Installed last, so it is asked first.
    QCoreApplication::installTranslator(loaded.get());
    return language;
}

QTranslator* LoadedTranslator() {
    return loaded.get();
}

QString Translate(const char* context, const char* english, const char* disambiguation) {
    if (loaded != nullptr) {
        const QString text = loaded->translate(context, english, disambiguation);
        if (!text.isEmpty()) return text;
    }
    return QString::fromUtf8(english);
}

QStringList AvailableTranslations() {
    QStringList languages;
    const QStringList files =
        QDir(QLatin1String(kTranslationFolder))
            .entryList({QLatin1String(kTranslationPrefix) + QLatin1String("*.qm")}, QDir::Files);
    for (QString file : files) {
        file.remove(0, static_cast<qsizetype>(sizeof kTranslationPrefix - 1));
        file.chop(3);
        languages.append(file);
    }
    return languages;
}
