// SPDX-License-Identifier: GPL-3.0-or-later
// A string resource as Qt text, for the labels, menus and boxes of the dialogs.
#pragma once

#include <QString>

// The text of string resource `id`; empty when the table has no such string.
QString ResourceText(unsigned id);

// The label text of a control as the screen shows it: "&&" stands for one "&", and a single
// "&" (a keyboard mnemonic marker) is not shown.
QString StaticLabelText(const QString& resourceText);
