// SPDX-License-Identifier: GPL-3.0-or-later
// The fonts of the whole user interface, all built here. The face is Tahoma where installed;
// otherwise the closest sans-serif face the system offers.
//
// The frame window publishes four of them (created once, heights in pixels). The dialog
// templates are drawn in Tahoma 9; DialogFont is that size in points, and DialogPixelFont the
// same size in pixels, 12, which the message list and the progress dialog are laid out in.
// Both are the same on a standard 96-dpi screen; only the point size follows a desktop that
// scales its text.
#pragma once

#include <QFont>

enum class UiFont { SmallBold, MediumBold, MediumItalic, LargeBold };

// Creates the fonts (idempotent). Must run after the QApplication exists.
void CreateUiFonts();
const QFont& GetUiFont(UiFont which);

// Tahoma 9 points: the compose and read dialog, the contact picker, the settings dialogs and
// the About page.
const QFont& DialogFont();
// Tahoma 12 pixels: the message list and the progress dialog.
const QFont& DialogPixelFont();
