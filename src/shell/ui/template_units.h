// SPDX-License-Identifier: GPL-3.0-or-later
// Dialog templates are drawn in dialog units, which scale with the dialog font: a horizontal
// unit is a quarter of the font's average character width, a vertical unit an eighth of its
// height. These helpers turn template positions into pixels for the list and progress screens.
#pragma once

#include <QFont>
#include <QRect>

// The dialog font of the templates: Tahoma at 9 points (12 pixels), or the closest sans-serif
// face the system offers.
const QFont& TemplateFont();

// Template units to pixels for the template font.
int TemplateX(int units);
int TemplateY(int units);
QRect TemplateRect(int x, int y, int width, int height);

// The label text of a control as the screen shows it: "&&" stands for one "&", and a single
// "&" (a keyboard mnemonic marker) is not shown.
QString StaticLabelText(const QString& resourceText);
