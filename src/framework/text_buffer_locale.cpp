// SPDX-License-Identifier: GPL-3.0-or-later
// Date and time display of TextBuffer in the user's locale.
#include <QDate>
#include <QLocale>
#include <QString>
#include <QTime>

#include "framework/text_buffer.h"

namespace {

// Letters that stand for time fields in a Qt time pattern.
bool IsTimeField(QChar c) {
    switch (c.unicode()) {
        case 'h':
        case 'H':
        case 'm':
        case 's':
        case 'z':
        case 'a':
        case 'A':
        case 'p':
        case 'P':
        case 't':
            return true;
        default:
            return false;
    }
}

// Removes from a Qt time pattern every field written with one of the letters in `drop`,
// together with the separator text just before it (":ss", ".zzz", " t"), the way a time
// without seconds keeps "h:mm AP" from "h:mm:ss AP". Quoted text is copied as it is.
QString DropTimeFields(const QString& pattern, const QString& drop) {
    struct Token {
        QString text;
        bool field;
        bool removable;
    };
    QList<Token> tokens;
    for (qsizetype i = 0; i < pattern.size();) {
        const QChar c = pattern[i];
        if (c == u'\'') {
            // A quoted literal, with '' standing for one quote.
            qsizetype j = i + 1;
            while (j < pattern.size()) {
                if (pattern[j] == u'\'') {
                    if (j + 1 < pattern.size() && pattern[j + 1] == u'\'') {
                        j += 2;
                        continue;
                    }
                    ++j;
                    break;
                }
                ++j;
            }
            tokens.append({pattern.mid(i, j - i), false, false});
            i = j;
        } else if (IsTimeField(c)) {
            qsizetype j = i;
            while (j < pattern.size() && pattern[j] == c) ++j;
            tokens.append({pattern.mid(i, j - i), true, drop.contains(c)});
            i = j;
        } else {
            qsizetype j = i;
            while (j < pattern.size() && pattern[j] != u'\'' && !IsTimeField(pattern[j])) ++j;
            tokens.append({pattern.mid(i, j - i), false, false});
            i = j;
        }
    }
    QString result;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        if (tokens[i].removable) continue;
        // Separator text that only leads into a dropped field goes with it.
        const bool separatorOfDropped = !tokens[i].field && !tokens[i].text.startsWith(u'\'') &&
                                        i + 1 < tokens.size() && tokens[i + 1].removable;
        if (separatorOfDropped) continue;
        result += tokens[i].text;
    }
    return result.trimmed();
}

bool ToDate(FileTime time, QDate* date, QTime* clock) {
    SystemTime st;
    if (!FileTimeToSystemTime(time, &st)) return false;
    *date = QDate(st.year, st.month, st.day);
    *clock = QTime(st.hour, st.minute, st.second, st.milliseconds);
    return date->isValid() && clock->isValid();
}

}  // namespace

const char16_t* TextBuffer::FormatDate(FileTime time, unsigned flags) noexcept {
    try {
        QLocale::FormatType type;
        if (flags == 0 || flags == DATE_SHORTDATE) {
            type = QLocale::ShortFormat;
        } else if (flags == DATE_LONGDATE) {
            type = QLocale::LongFormat;
        } else {
            return text_;
        }
        QDate date;
        QTime clock;
        if (!ToDate(time, &date, &clock)) return text_;
        const QLocale locale;
        const QString text = locale.toString(date, locale.dateFormat(type));
        if (text.isEmpty()) return text_;
        TextBuffer result;
        result.Assign(reinterpret_cast<const char16_t*>(text.utf16()),
                      static_cast<std::size_t>(text.size()));
        if (result.IsShared()) return text_;  // allocation failed: keep the old text
        MoveFrom(result);
    } catch (...) {
        // Qt reports allocation failures by throwing; the old text stays.
    }
    return text_;
}

const char16_t* TextBuffer::FormatTime(FileTime time, unsigned flags) noexcept {
    try {
        if ((flags & ~TIME_NOSECONDS) != 0) return text_;
        QDate date;
        QTime clock;
        if (!ToDate(time, &date, &clock)) return text_;
        const QLocale locale;
        // The long pattern is the one with seconds; a stored local time has no zone to show.
        QString pattern =
            DropTimeFields(locale.timeFormat(QLocale::LongFormat), QStringLiteral("t"));
        if ((flags & TIME_NOSECONDS) != 0) {
            // The locale's own short pattern reads most naturally; some (the C locale) still
            // carry seconds there, so those are removed as well.
            pattern =
                DropTimeFields(locale.timeFormat(QLocale::ShortFormat), QStringLiteral("szt"));
        }
        const QString text = locale.toString(clock, pattern);
        if (text.isEmpty()) return text_;
        TextBuffer result;
        result.Assign(reinterpret_cast<const char16_t*>(text.utf16()),
                      static_cast<std::size_t>(text.size()));
        if (result.IsShared()) return text_;
        MoveFrom(result);
    } catch (...) {
    }
    return text_;
}
