// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/template_units.h"

#include <QFontMetrics>
#include <QString>

namespace {

struct BaseUnits {
    int x;
    int y;
};

const BaseUnits& Units() {
    static const BaseUnits units = [] {
        const QFontMetrics fm(TemplateFont());
        // The average width of the Latin letters, rounded the way dialog managers do it.
        const QString letters =
            QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
        const int width = fm.horizontalAdvance(letters);
        return BaseUnits{qMax(1, (width / 26 + 1) / 2), qMax(1, fm.height())};
    }();
    return units;
}

int MulDivRounded(int value, int numerator, int denominator) {
    const long long product = static_cast<long long>(value) * numerator;
    const long long half = denominator / 2;
    return static_cast<int>(product >= 0 ? (product + half) / denominator
                                         : -((-product + half) / denominator));
}

}  // namespace

const QFont& TemplateFont() {
    static const QFont font = [] {
        QFont f(QStringLiteral("Tahoma"));
        f.setStyleHint(QFont::SansSerif);
        f.setPixelSize(12);
        return f;
    }();
    return font;
}

int TemplateX(int units) {
    return MulDivRounded(units, Units().x, 4);
}
int TemplateY(int units) {
    return MulDivRounded(units, Units().y, 8);
}

QRect TemplateRect(int x, int y, int width, int height) {
    return QRect(TemplateX(x), TemplateY(y), TemplateX(width), TemplateY(height));
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
