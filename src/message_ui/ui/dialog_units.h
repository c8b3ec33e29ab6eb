// SPDX-License-Identifier: GPL-3.0-or-later
// Dialog units: the templates of the program's dialogs place their controls in units of the
// dialog font, a quarter of its average character width across and an eighth of its height
// down, so that a dialog keeps its proportions whatever font size the system gives it.
#pragma once

#include <QFont>
#include <QRect>
#include <QSize>

// The template font of every dialog: Tahoma 9 where installed, else the system's sans face.
QFont DialogFont();

class DialogUnits {
  public:
    // Base units of `font`: its average character width and its height, in pixels.
    explicit DialogUnits(const QFont& font = DialogFont());

    int BaseX() const { return baseX_; }
    int BaseY() const { return baseY_; }
    // Dialog units to pixels, rounded to the nearest pixel.
    int X(int dlu) const;
    int Y(int dlu) const;
    QRect Rect(int x, int y, int w, int h) const;

  private:
    int baseX_;
    int baseY_;
};

// The size of a full-screen dialog: the frame window's when the program has one, else the
// template's own size in pixels (at least a handheld screen of 240 x 320).
QSize FullScreenSize(const QSize& templatePixels);
