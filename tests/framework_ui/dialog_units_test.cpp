// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/dialog_units.h"

#include <QApplication>
#include <QFontMetrics>
#include <QtTest>
#include <cmath>

#include "framework/ui/ui_fonts.h"

class DialogUnitsTest : public QObject {
    Q_OBJECT
  private slots:
    void dialogUnitsFollowTheFont() {
        const DialogUnits units;
        QVERIFY(units.BaseX() > 0);
        QVERIFY(units.BaseY() > 0);
        QCOMPARE(units.X(4), units.BaseX());
        QCOMPARE(units.Y(8), units.BaseY());
        const QRect r = units.Rect(33, 2, 103, 89);
        QCOMPARE(r.x(), units.X(33));
        QCOMPARE(r.right() + 1, units.X(136));  // both edges are mapped
        QFont big = DialogFont();
        big.setPointSize(18);
        const DialogUnits larger(big);
        QVERIFY(larger.BaseX() > units.BaseX());
        QVERIFY(larger.BaseY() > units.BaseY());
    }

    void theTemplateFontIsTahomaNineInPointsAndInPixels() {
        QCOMPARE(DialogFont().family(), QStringLiteral("Tahoma"));
        QCOMPARE(DialogFont().pointSize(), 9);
        QVERIFY(!DialogFont().bold());
        QCOMPARE(DialogPixelFont().family(), QStringLiteral("Tahoma"));
        QCOMPARE(DialogPixelFont().pixelSize(), 12);
        QVERIFY(!DialogPixelFont().bold());
        // On a standard screen both are the same size, and so are their units.
        const DialogUnits points(DialogFont());
        const DialogUnits pixels(DialogPixelFont());
        QCOMPARE(pixels.BaseX(), points.BaseX());
        QCOMPARE(pixels.BaseY(), points.BaseY());
    }

    void unitsRoundToTheNearestPixelHalvesUp() {
        const DialogUnits units;
        for (int n = -50; n <= 200; ++n) {
            const double x = n * units.BaseX() / 4.0;
            const double y = n * units.BaseY() / 8.0;
            QCOMPARE(units.X(n), static_cast<int>(std::lround(x)));
            QCOMPARE(units.Y(n), static_cast<int>(std::lround(y)));
        }
    }

    void aSizedRectMapsPositionAndSizeEachOnItsOwn() {
        const DialogUnits units;
        for (int x = 0; x < 40; ++x) {
            for (int w = 1; w < 40; ++w) {
                const QRect sized = units.SizedRect(x, x, w, w);
                QCOMPARE(sized, QRect(units.X(x), units.Y(x), units.X(w), units.Y(w)));
                const QRect edges = units.Rect(x, x, w, w);
                QCOMPARE(edges.topLeft(), sized.topLeft());
                QCOMPARE(edges.width(), units.X(x + w) - units.X(x));
                QCOMPARE(edges.height(), units.Y(x + w) - units.Y(x));
            }
        }
    }

    void theFontAverageMeasureCountsTheDeclaredWidthRoundedDown() {
        const DialogUnits units(DialogFont(), DialogUnits::BaseWidth::kFontAverage,
                                DialogUnits::Rounding::kDown);
        const QFontMetrics metrics(DialogFont());
        QCOMPARE(units.BaseX(), qMax(1, metrics.averageCharWidth()));
        QCOMPARE(units.BaseY(), metrics.height());
        for (int n = 0; n <= 200; ++n) {
            QCOMPARE(units.X(n), n * units.BaseX() / 4);
            QCOMPARE(units.Y(n), n * units.BaseY() / 8);
        }
    }

    void aFullScreenDialogIsAtLeastAHandheldScreen() {
        QCOMPARE(FullScreenSize(QSize(100, 100)), QSize(240, 320));
        QCOMPARE(FullScreenSize(QSize(300, 400)), QSize(300, 400));
    }
};

QTEST_MAIN(DialogUnitsTest)
#include "dialog_units_test.moc"
