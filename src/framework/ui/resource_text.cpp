// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/resource_text.h"

#include "framework/text_buffer.h"

QString ResourceText(unsigned id) {
    TextBuffer text;
    text.LoadResourceString(id);
    return QString::fromUtf16(text.Text());
}

QString StaticLabelText(const QString& resourceText) {
    QString shown;
    shown.reserve(resourceText.size());
    for (qsizetype i = 0; i < resourceText.size(); ++i) {
        const QChar c = resourceText[i];
        if (c == u'&') {
            if (i + 1 < resourceText.size() && resourceText[i + 1] == u'&') {
                shown += u'&';
                ++i;
            }
            continue;
        }
        shown += c;
    }
    return shown;
}
