// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/dialog_units.h"

#include <QFontMetrics>
#include <QString>

#include "framework/ui/dialog_base.h"
#include "framework/ui/ui_fonts.h"

DialogUnits::DialogUnits() : DialogUnits(DialogFont()) {}

DialogUnits::DialogUnits(const QFont& font, BaseWidth base, Rounding rounding)
    : rounding_(rounding) {
    const QFontMetrics metrics(font);
    if (base == BaseWidth::kFontAverage) {
        baseX_ = qMax(1, metrics.averageCharWidth());
    } else {
        // The average over the 52 letters, so that a font with wide digits or punctuation
        // does not stretch the whole dialog.
        static const QString kLetters =
            QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
        const int total = metrics.horizontalAdvance(kLetters);
        baseX_ = qMax(1, (total / 26 + 1) / 2);
    }
    baseY_ = qMax(1, metrics.height());
}

int DialogUnits::Scale(int units, int base, int denominator) const {
    const long long product = static_cast<long long>(units) * base;
    if (rounding_ == Rounding::kDown) return static_cast<int>(product / denominator);
    // Halves round away from zero.
    const long long half = denominator / 2;
    return static_cast<int>(product >= 0 ? (product + half) / denominator
                                         : -((-product + half) / denominator));
}

int DialogUnits::X(int units) const {
    return Scale(units, baseX_, 4);
}

int DialogUnits::Y(int units) const {
    return Scale(units, baseY_, 8);
}

QRect DialogUnits::Rect(int x, int y, int w, int h) const {
    return QRect(X(x), Y(y), X(x + w) - X(x), Y(y + h) - Y(y));
}

QRect DialogUnits::SizedRect(int x, int y, int w, int h) const {
    return QRect(X(x), Y(y), X(w), Y(h));
}

QSize FullScreenSize(const QSize& templatePixels) {
    if (const FrameWindowBase* frame = FrameWindowBase::Instance()) return frame->size();
    return templatePixels.expandedTo(QSize(240, 320));
}
