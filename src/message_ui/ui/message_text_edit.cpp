// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/ui/message_text_edit.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextBlock>
#include <QTextCursor>

namespace {

// Line breaks of any kind become the field's own (one paragraph break each).
QString ToFieldText(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QChar(u'\r'), QChar(u'\n'));
    text.replace(QChar::LineSeparator, QChar(u'\n'));
    text.replace(QChar::ParagraphSeparator, QChar(u'\n'));
    return text;
}

// Length in field characters: a line break counts two.
int FieldLength(const QString& text) {
    return static_cast<int>(text.size() + text.count(QChar(u'\n')));
}

// The longest head of `text` that fits into `room` field characters.
QString FitInto(const QString& text, int room) {
    int used = 0;
    qsizetype n = 0;
    for (; n < text.size(); ++n) {
        const int cost = text.at(n) == QChar(u'\n') ? 2 : 1;
        if (used + cost > room) break;
        used += cost;
    }
    return text.left(n);
}

}  // namespace

MessageTextEdit::MessageTextEdit(QWidget* parent) : QPlainTextEdit(parent) {
    setTabChangesFocus(true);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
}

TextBuffer MessageTextEdit::WindowText() const {
    QString text = toPlainText();
    text.replace(QChar(u'\n'), QStringLiteral("\r\n"));
    TextBuffer out;
    if (!text.isEmpty()) {
        out.Assign(reinterpret_cast<const char16_t*>(text.utf16()),
                   static_cast<std::size_t>(text.size()));
    }
    return out;
}

void MessageTextEdit::SetWindowText(const char16_t* text) {
    setPlainText(ToFieldText(text != nullptr ? QString::fromUtf16(text) : QString()));
}

int MessageTextEdit::WindowTextLength() const {
    return FieldLength(toPlainText());
}

int MessageTextEdit::Room() const {
    const QTextCursor cursor = textCursor();
    const int selected = FieldLength(ToFieldText(cursor.selectedText()));
    return qMax(0, limit_ - (WindowTextLength() - selected));
}

int MessageTextEdit::InsertLimited(const QString& text) {
    const QString fitting = FitInto(ToFieldText(text), Room());
    if (fitting.isEmpty() && !text.isEmpty()) return 0;
    textCursor().insertText(fitting);
    ensureCursorVisible();
    return FieldLength(fitting);
}

void MessageTextEdit::keyPressEvent(QKeyEvent* event) {
    if (!isReadOnly()) {
        const bool lineBreak = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
        const QString typed = lineBreak ? QStringLiteral("\n") : event->text();
        const bool printable = lineBreak || (!typed.isEmpty() && typed.at(0).isPrint());
        const bool command = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier);
        if (printable && !command) {
            // What does not fit is refused, as a full field refuses a keystroke.
            if (FieldLength(typed) > Room()) {
                event->accept();
                return;
            }
        }
    }
    QPlainTextEdit::keyPressEvent(event);
}

void MessageTextEdit::inputMethodEvent(QInputMethodEvent* event) {
    if (!isReadOnly() && !event->commitString().isEmpty()) {
        const QString fitting = FitInto(ToFieldText(event->commitString()), Room());
        if (fitting.size() != event->commitString().size()) {
            QInputMethodEvent cut(event->preeditString(), event->attributes());
            cut.setCommitString(fitting, event->replacementStart(), event->replacementLength());
            QPlainTextEdit::inputMethodEvent(&cut);
            return;
        }
    }
    QPlainTextEdit::inputMethodEvent(event);
}

void MessageTextEdit::insertFromMimeData(const QMimeData* source) {
    if (isReadOnly() || source == nullptr || !source->hasText()) return;
    InsertLimited(source->text());
}
