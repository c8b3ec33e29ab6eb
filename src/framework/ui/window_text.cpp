// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/window_text.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace {
TextBuffer FromQString(const QString& s) {
    TextBuffer t;
    if (!s.isEmpty()) t.Assign(reinterpret_cast<const char16_t*>(s.utf16()), s.size());
    return t;
}
}  // namespace

TextBuffer GetWindowText(const QWidget* w) {
    if (w == nullptr) return TextBuffer();
    if (auto* e = qobject_cast<const QLineEdit*>(w)) return FromQString(e->text());
    if (auto* e = qobject_cast<const QPlainTextEdit*>(w)) return FromQString(e->toPlainText());
    if (auto* e = qobject_cast<const QTextEdit*>(w)) return FromQString(e->toPlainText());
    if (auto* c = qobject_cast<const QComboBox*>(w)) return FromQString(c->currentText());
    if (auto* l = qobject_cast<const QLabel*>(w)) return FromQString(l->text());
    if (auto* b = qobject_cast<const QAbstractButton*>(w)) return FromQString(b->text());
    return FromQString(w->windowTitle());
}
