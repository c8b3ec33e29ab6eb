// SPDX-License-Identifier: GPL-3.0-or-later
// The four fonts shared by the whole user interface, created once by the frame window.
// The face is Tahoma where installed; otherwise the closest sans-serif face the system offers.
#pragma once

#include <QFont>

enum class UiFont { SmallBold, MediumBold, MediumItalic, LargeBold };

// Creates the fonts (idempotent). Must run after the QApplication exists.
void CreateUiFonts();
const QFont& GetUiFont(UiFont which);
