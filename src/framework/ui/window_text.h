// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a control as a TextBuffer: what an edit field holds, a label or a button shows,
// the current entry of a combo box, or a window's title. Empty when the control has none.
#pragma once

#include "framework/text_buffer.h"

class QWidget;

TextBuffer GetWindowText(const QWidget* window);
