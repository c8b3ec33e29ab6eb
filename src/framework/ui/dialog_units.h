// SPDX-License-Identifier: GPL-3.0-or-later
// Dialog units: the templates of the program's dialogs place their controls in units of the
// template font, a quarter of its average character width across and an eighth of its height
// down, so that a dialog keeps its proportions whatever size the font has on the screen.
//
// Every template is converted here, rounded to the nearest pixel. Two layouts measure a little
// differently, and keep doing so because their pixels are what the screens have always shown:
// the message list and the progress dialog map a control's position and size each on its own
// (SizedRect) where the other dialogs map both edges (Rect), and the About page counts in the
// font's own average character width, rounded down.
#pragma once

#include <QFont>
#include <QRect>
#include <QSize>

class DialogUnits {
  public:
    // How the horizontal base unit is measured: as the average width of the 52 Latin letters
    // (as dialog managers do it), or as the average character width the font declares.
    enum class BaseWidth { kLetters, kFontAverage };
    // How units become pixels.
    enum class Rounding { kNearest, kDown };

    // The base units of `font` (DialogFont when none is given).
    explicit DialogUnits(const QFont& font, BaseWidth base = BaseWidth::kLetters,
                         Rounding rounding = Rounding::kNearest);
    DialogUnits();

    // The base units: the average character width and the height of the font, in pixels.
    int BaseX() const { return baseX_; }
    int BaseY() const { return baseY_; }
    // Dialog units to pixels.
    int X(int units) const;
    int Y(int units) const;
    // A control at (x, y) of size w x h units with both edges mapped, so that neighbouring
    // controls that share an edge in the template still share it in pixels.
    QRect Rect(int x, int y, int w, int h) const;
    // The same with the position and the size each mapped on their own.
    QRect SizedRect(int x, int y, int w, int h) const;

  private:
    int Scale(int units, int base, int denominator) const;

    int baseX_;
    int baseY_;
    Rounding rounding_;
};

// The size of a full-screen dialog: the frame window's when the program has one, else the
// template's own size in pixels (at least a handheld screen of 240 x 320).
QSize FullScreenSize(const QSize& templatePixels);
