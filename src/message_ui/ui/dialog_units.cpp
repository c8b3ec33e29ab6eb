// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/ui/dialog_units.h"

#include <QFontMetrics>
#include <cmath>

#include "framework/ui/dialog_base.h"

QFont DialogFont() {
    QFont font(QStringLiteral("Tahoma"));
    font.setStyleHint(QFont::SansSerif);
    font.setPointSize(9);
    return font;
}

DialogUnits::DialogUnits(const QFont& font) {
    const QFontMetrics metrics(font);
    // The average width is taken over the 52 letters, the way dialog managers measure it, so
    // that a font with wide digits or punctuation does not stretch the whole dialog.
    static const QString kLetters =
        QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    const int total = metrics.horizontalAdvance(kLetters);
    baseX_ = qMax(1, (total / 26 + 1) / 2);
    baseY_ = qMax(1, metrics.height());
}

int DialogUnits::X(int dlu) const {
    return static_cast<int>(std::lround(static_cast<double>(dlu) * baseX_ / 4.0));
}

int DialogUnits::Y(int dlu) const {
    return static_cast<int>(std::lround(static_cast<double>(dlu) * baseY_ / 8.0));
}

QRect DialogUnits::Rect(int x, int y, int w, int h) const {
    // Both edges are mapped, as a dialog manager does, so that neighbouring controls that
    // share an edge in the template still share it in pixels.
    return QRect(X(x), Y(y), X(x + w) - X(x), Y(y + h) - Y(y));
}

QSize FullScreenSize(const QSize& templatePixels) {
    if (const FrameWindowBase* frame = FrameWindowBase::Instance()) return frame->size();
    return templatePixels.expandedTo(QSize(240, 320));
}
