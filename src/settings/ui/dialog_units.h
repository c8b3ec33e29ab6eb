// Dialog units: the positions of the dialog templates are given in units of the dialog font
// (a quarter of its average character width across, an eighth of its height down), so that a
// template keeps its proportions whatever face and size the system substitutes.
#pragma once

#include <QFont>
#include <QRect>

class DialogUnits {
public:
    // Base units of `font`: its average character width and its line height, in pixels.
    explicit DialogUnits(const QFont& font);

    int BaseX() const { return baseX_; }
    int BaseY() const { return baseY_; }

    int X(int units) const;
    int Y(int units) const;
    QRect Rect(int x, int y, int width, int height) const;

    // The font of the dialog templates: Tahoma 9, or the closest sans-serif face installed.
    static QFont TemplateFont();

private:
    int baseX_;
    int baseY_;
};
