// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/resource_text.h"

#include "framework/text_buffer.h"

QString ResourceText(unsigned id) {
    TextBuffer text;
    text.LoadResourceString(id);
    return QString::fromUtf16(text.Text());
}
