// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/ui/edit_menu.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextCursor>

namespace {

bool IsTextField(const QWidget* w) {
    return qobject_cast<const QLineEdit*>(w) != nullptr ||
           qobject_cast<const QPlainTextEdit*>(w) != nullptr;
}

}  // namespace

MenuBarEntryDef EditMenuEntry() {
    return {kIdEditMenu,
            QCoreApplication::translate("EditMenu", "Edit"),
            {{kIdEditCut, QCoreApplication::translate("EditMenu", "Cut")},
             {kIdEditCopy, QCoreApplication::translate("EditMenu", "Copy")},
             {kIdEditPaste, QCoreApplication::translate("EditMenu", "Paste")},
             {kIdEditClear, QCoreApplication::translate("EditMenu", "Clear")},
             {0, QString()},
             {kIdEditSelectAll, QCoreApplication::translate("EditMenu", "Select All")}}};
}

bool IsEditCommand(int id) {
    return id == kIdEditCut || id == kIdEditCopy || id == kIdEditPaste || id == kIdEditClear ||
           id == kIdEditSelectAll;
}

bool ApplyEditCommand(QWidget* field, int id) {
    if (!IsEditCommand(id)) return false;
    if (auto* combo = qobject_cast<QComboBox*>(field)) field = combo->lineEdit();
    if (auto* line = qobject_cast<QLineEdit*>(field)) {
        // A read-only field lets its text be copied and nothing else: QLineEdit's own cut and
        // paste do not ask whether it is read-only.
        const bool writable = !line->isReadOnly();
        switch (id) {
            case kIdEditCut:
                if (writable) line->cut();
                break;
            case kIdEditCopy:
                line->copy();
                break;
            case kIdEditPaste:
                if (writable) line->paste();
                break;
            case kIdEditClear:
                if (line->hasSelectedText() && writable) line->del();
                break;
            case kIdEditSelectAll:
                line->selectAll();
                break;
            default:
                break;
        }
    } else if (auto* edit = qobject_cast<QPlainTextEdit*>(field)) {
        switch (id) {
            case kIdEditCut:
                edit->cut();
                break;
            case kIdEditCopy:
                edit->copy();
                break;
            case kIdEditPaste:
                edit->paste();
                break;
            case kIdEditClear:
                if (!edit->isReadOnly()) {
                    QTextCursor cursor = edit->textCursor();
                    cursor.removeSelectedText();
                    edit->setTextCursor(cursor);
                }
                break;
            case kIdEditSelectAll:
                edit->selectAll();
                break;
            default:
                break;
        }
    }
    return true;
}

EditTarget::EditTarget(QWidget* dialog) : QObject(dialog), dialog_(dialog) {
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (now != nullptr && IsTextField(now) && dialog_->isAncestorOf(now)) field_ = now;
    });
}
