// SPDX-License-Identifier: GPL-3.0-or-later
// The "Edit" drop-down of the dialogs with text fields ("Cut", "Copy", "Paste", "Clear", a
// separator and "Select All"), and its commands applied to a text field.
#pragma once

#include <QPointer>
#include <QWidget>

#include "framework/ui/menu_bar.h"

constexpr int kIdEditMenu = 40020;
constexpr int kIdEditClear = 57632;
constexpr int kIdEditCopy = 57634;
constexpr int kIdEditCut = 57635;
constexpr int kIdEditPaste = 57637;
constexpr int kIdEditSelectAll = 57642;

// The menu-bar entry "Edit" with its items.
MenuBarEntryDef EditMenuEntry();

// True for the five commands of the Edit menu.
bool IsEditCommand(int id);

// Applies an Edit command to `field` (a line edit, the edit of an editable combo box or a
// multi-line text field). "Clear" deletes the selection only. Returns true when `id` is an
// Edit command, whether or not there was a field to apply it to.
bool ApplyEditCommand(QWidget* field, int id);

// Remembers the text field inside `dialog` that last had the focus, so that a command from
// the menu bar (which may take the focus while its menu is open) reaches it.
class EditTarget : public QObject {
    Q_OBJECT
  public:
    explicit EditTarget(QWidget* dialog);
    QWidget* Field() const { return field_.data(); }

  private:
    QWidget* dialog_;
    QPointer<QWidget> field_;
};
