#include "settings/ui/dialog_units.h"

#include <QFontMetrics>

namespace {

// Rounds a * b / c to the nearest integer, as the template loader of the original platform did.
int MulDivRound(int a, int b, int c) {
    const long long product = static_cast<long long>(a) * b;
    const long long half = c / 2;
    return static_cast<int>(product >= 0 ? (product + half) / c : (product - half) / c);
}

}  // namespace

DialogUnits::DialogUnits(const QFont& font) {
    const QFontMetrics metrics(font);
    // The average width over the 52 letters, rounded.
    static const QString kLetters =
        QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    const int letters = metrics.horizontalAdvance(kLetters);
    baseX_ = (letters / 26 + 1) / 2;
    baseY_ = metrics.height();
    // A font without metrics (no face at all) still lays the template out.
    if (baseX_ <= 0) baseX_ = 6;
    if (baseY_ <= 0) baseY_ = 13;
}

int DialogUnits::X(int units) const { return MulDivRound(units, baseX_, 4); }

int DialogUnits::Y(int units) const { return MulDivRound(units, baseY_, 8); }

QRect DialogUnits::Rect(int x, int y, int width, int height) const {
    return QRect(X(x), Y(y), X(width), Y(height));
}

QFont DialogUnits::TemplateFont() {
    QFont font(QStringLiteral("Tahoma"));
    font.setStyleHint(QFont::SansSerif);
    font.setPointSize(9);
    return font;
}
