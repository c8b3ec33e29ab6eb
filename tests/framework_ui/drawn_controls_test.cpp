// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/drawn_controls.h"

#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QtTest>

#include "framework/ui/ui_fonts.h"

namespace {

QColor Rgb(int r, int g, int b) {
    return QColor(r, g, b);
}

// How many pixels of `image` have exactly `colour`.
int CountPixels(const QImage& image, const QColor& colour) {
    int n = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).rgb() == colour.rgb()) ++n;
        }
    }
    return n;
}

// The control as it is drawn on the screen.
QImage Grab(QWidget* w) {
    return w->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

// A two-image or four-image list of solid colours: red, green, blue, yellow.
ImageList SolidList(int count, int width = 17, int height = 16) {
    const QColor colours[] = {Qt::red, Qt::green, Qt::blue, Qt::yellow};
    QPixmap strip(width * count, height);
    QPainter p(&strip);
    for (int i = 0; i < count; ++i) p.fillRect(i * width, 0, width, height, colours[i]);
    p.end();
    return ImageList(strip, width);
}

}  // namespace

class DrawnControlsTest : public QObject {
    Q_OBJECT
  private slots:
    void init() {
        window = new QWidget;
        window->resize(300, 200);
    }
    void cleanup() { delete window; }

    void paletteHasTheSevenColours() {
        QCOMPARE(QColor(ButtonPaletteColour(kFaceNormal)), Rgb(192, 0, 0));
        QCOMPARE(QColor(ButtonPaletteColour(kFacePressed)), Rgb(255, 255, 128));
        QCOMPARE(QColor(ButtonPaletteColour(kFaceDisabled)), Rgb(153, 153, 153));
        QCOMPARE(QColor(ButtonPaletteColour(kTextNormal)), Rgb(255, 255, 255));
        QCOMPARE(QColor(ButtonPaletteColour(kTextPressed)), Rgb(0, 0, 0));
        QCOMPARE(QColor(ButtonPaletteColour(kBorderFocus)), Rgb(192, 0, 0));
        QCOMPARE(QColor(ButtonPaletteColour(kTextDisabled)), Rgb(255, 255, 255));
    }

    void normalButtonIsRedWithWhiteTextAndWhiteCorners() {
        auto* button = new QPushButton(QStringLiteral("Send"), window);
        button->setGeometry(10, 10, 80, 24);
        QVERIFY(MakeRoundedButton(button) != nullptr);
        const QImage img = Grab(button);
        QCOMPARE(img.pixelColor(4, 12), Rgb(192, 0, 0));         // face at the left middle
        QCOMPARE(img.pixelColor(40, 1), Rgb(192, 0, 0));         // border at the top middle
        QCOMPARE(img.pixelColor(0, 0), Rgb(255, 255, 255));      // outside the rounded corner
        QCOMPARE(img.pixelColor(79, 23), Rgb(255, 255, 255));    // the opposite corner
        QVERIFY(CountPixels(img, Rgb(255, 255, 255)) > 4 + 10);  // corners and the text
        QCOMPARE(CountPixels(img, Rgb(0, 0, 0)), 0);
    }

    void disabledButtonIsGreyWithWhiteText() {
        auto* button = new QPushButton(QStringLiteral("Draft"), window);
        button->setGeometry(10, 10, 80, 24);
        MakeRoundedButton(button);
        button->setEnabled(false);
        const QImage img = Grab(button);
        QCOMPARE(img.pixelColor(4, 12), Rgb(153, 153, 153));
        QCOMPARE(img.pixelColor(40, 0), Rgb(153, 153, 153));  // the border is grey too
        QCOMPARE(CountPixels(img, Rgb(192, 0, 0)), 0);
        // White text inside the face: some white pixels in the middle band of the button.
        int whiteInside = 0;
        for (int y = 6; y < 18; ++y) {
            for (int x = 10; x < 70; ++x) {
                if (img.pixelColor(x, y) == Rgb(255, 255, 255)) ++whiteInside;
            }
        }
        QVERIFY2(whiteInside > 10, qPrintable(QString::number(whiteInside)));
    }

    void pressedButtonIsPaleYellowWithBlackText() {
        auto* button = new QPushButton(QStringLiteral("Outbox"), window);
        button->setGeometry(10, 10, 80, 24);
        MakeRoundedButton(button);
        button->setDown(true);
        const QImage img = Grab(button);
        QCOMPARE(img.pixelColor(4, 12), Rgb(255, 255, 128));
        QCOMPARE(img.pixelColor(40, 0), Rgb(255, 255, 128));
        QVERIFY(CountPixels(img, Rgb(0, 0, 0)) > 10);
        QCOMPARE(CountPixels(img, Rgb(192, 0, 0)), 0);
        button->setDown(false);
        QCOMPARE(Grab(button).pixelColor(4, 12), Rgb(192, 0, 0));
    }

    void focusedButtonLooksLikeTheOthers() {
        auto* button = new QPushButton(QStringLiteral("OK"), window);
        button->setGeometry(10, 10, 80, 24);
        auto* other = new QPushButton(QStringLiteral("OK"), window);
        other->setGeometry(10, 50, 80, 24);
        RoundedButton* drawn = MakeRoundedButton(button);
        MakeRoundedButton(other);
        window->show();
        window->activateWindow();
        button->setFocus();
        QTRY_VERIFY(button->hasFocus());
        const RoundedButton::Colours c = drawn->CurrentColours();
        QCOMPARE(c.border, int(kBorderFocus));
        QCOMPARE(c.face, int(kFaceNormal));
        QCOMPARE(Grab(button), Grab(other));
    }

    void textIsCentredInTheBoldFont() {
        auto* button = new QPushButton(QStringLiteral("Forward"), window);
        button->setGeometry(0, 0, 120, 30);
        MakeRoundedButton(button);
        const QImage img = Grab(button);
        int left = img.width(), right = -1, top = img.height(), bottom = -1;
        for (int y = 3; y < img.height() - 3; ++y) {
            for (int x = 3; x < img.width() - 3; ++x) {
                if (img.pixelColor(x, y) != Rgb(192, 0, 0)) {
                    left = std::min(left, x);
                    right = std::max(right, x);
                    top = std::min(top, y);
                    bottom = std::max(bottom, y);
                }
            }
        }
        QVERIFY(right > left);
        // Horizontally centred within a pixel or two, vertically within the one-pixel shortening.
        QVERIFY(std::abs((left + right) - (img.width() - 1)) <= 3);
        QVERIFY(std::abs((top + bottom) - (img.height() - 2)) <= 4);
        QFontMetrics bold(GetUiFont(UiFont::SmallBold));
        QVERIFY(std::abs((right - left + 1) - bold.horizontalAdvance(QStringLiteral("Forward"))) <=
                3);
    }

    void aButtonIsTakenOverOnlyOnce() {
        auto* button = new QPushButton(QStringLiteral("Name"), window);
        QVERIFY(MakeRoundedButton(button) != nullptr);
        QVERIFY(MakeRoundedButton(button) == nullptr);
        QVERIFY(MakeRoundedButton(nullptr) == nullptr);
    }

    void theDrawnControlGoesWithItsButton() {
        auto* button = new QPushButton(QStringLiteral("Name"), window);
        QPointer<RoundedButton> drawn = MakeRoundedButton(button);
        QVERIFY(drawn != nullptr);
        delete button;
        QVERIFY(drawn.isNull());
    }

    void imageIndexFollowsTheStateRules() {
        // Pressed always shows image 1.
        QCOMPARE(ImageIndexForState(4, true, true, false), 1);
        QCOMPARE(ImageIndexForState(2, true, false, false), 1);
        // Focused shows 2 only with more than two images.
        QCOMPARE(ImageIndexForState(3, false, true, false), 2);
        QCOMPARE(ImageIndexForState(2, false, true, false), 0);
        // Disabled shows 3 only with more than three images.
        QCOMPARE(ImageIndexForState(4, false, false, true), 3);
        QCOMPARE(ImageIndexForState(3, false, false, true), 0);
        QCOMPARE(ImageIndexForState(2, false, false, true), 0);
        QCOMPARE(ImageIndexForState(4, false, false, false), 0);
    }

    void twoImageListShowsImageZeroWhenFocusedOrDisabled() {
        auto* button = new QPushButton(QStringLiteral("OK"), window);
        button->move(20, 30);
        ImageButton* drawn = MakeImageButton(button, 0, 17);  // no bitmap 0: no images yet
        QVERIFY(drawn != nullptr);
        QCOMPARE(drawn->CurrentImage(), -1);
        drawn->SetImageList(SolidList(2));
        QCOMPARE(button->size(), QSize(17, 16));
        QCOMPARE(button->pos(), QPoint(20, 30));  // resized in place

        window->show();
        window->activateWindow();
        button->setFocus();
        QTRY_VERIFY(button->hasFocus());
        QCOMPARE(drawn->CurrentImage(), 0);
        QCOMPARE(Grab(button).pixelColor(8, 8), QColor(Qt::red));

        button->setEnabled(false);
        QCOMPARE(drawn->CurrentImage(), 0);
        QCOMPARE(Grab(button).pixelColor(8, 8), QColor(Qt::red));

        button->setEnabled(true);
        button->setDown(true);
        QCOMPARE(drawn->CurrentImage(), 1);
        QCOMPARE(Grab(button).pixelColor(8, 8), QColor(Qt::green));
    }

    void fourImageListShowsFocusedAndDisabledImages() {
        auto* button = new QPushButton(QStringLiteral("OK"), window);
        auto* other = new QPushButton(QStringLiteral("X"), window);
        other->move(100, 100);
        ImageButton* drawn = MakeImageButton(button, 0, 17);
        drawn->SetImageList(SolidList(4));
        QCOMPARE(Grab(button).pixelColor(8, 8), QColor(Qt::red));
        window->show();
        window->activateWindow();
        button->setFocus();
        QTRY_VERIFY(button->hasFocus());
        QCOMPARE(Grab(button).pixelColor(8, 8), QColor(Qt::blue));
        other->setFocus();
        QTRY_VERIFY(!button->hasFocus());
        button->setEnabled(false);
        QCOMPARE(Grab(button).pixelColor(8, 8), QColor(Qt::yellow));
    }

    void bitmapsHoldFourImagesWithTheMaskColourTransparent() {
        for (int id : {kBitmapCancel, kBitmapOk}) {
            const ImageList list = ImageList::Load(id, kCaptionImageWidth);
            QCOMPARE(list.Count(), 4);
            QCOMPARE(list.ImageSize().width(), 17);
            QVERIFY(list.ImageSize().height() > 0);
            for (int i = 0; i < list.Count(); ++i) {
                const QImage img = list.Image(i).toImage();
                QCOMPARE(img.pixelColor(0, 0).alpha(), 0);  // the mask colour is the corner
                QCOMPARE(img.pixelColor(8, 8).alpha(), 255);
                // No pixel keeps the mask colour.
                for (int y = 0; y < img.height(); ++y) {
                    for (int x = 0; x < img.width(); ++x) {
                        const QColor c = img.pixelColor(x, y);
                        QVERIFY(c.alpha() == 0 || c.rgb() != QColor(0, 128, 128).rgb());
                    }
                }
            }
            // The images differ: each state has its own look.
            QVERIFY(list.Image(0).toImage() != list.Image(1).toImage());
            QVERIFY(list.Image(0).toImage() != list.Image(2).toImage());
            QVERIFY(list.Image(0).toImage() != list.Image(3).toImage());
        }
        QCOMPARE(ImageList::Load(127, 17).Count(), 0);
    }

    void imageListCutsOnlyWholeImages() {
        QPixmap strip(40, 10);
        strip.fill(QColor(0, 128, 128));
        const ImageList list(strip, 17);
        QCOMPARE(list.Count(), 2);
        QCOMPARE(list.Image(1).toImage().pixelColor(3, 3).alpha(), 0);
        QCOMPARE(ImageList(strip, 0).Count(), 0);
        QCOMPARE(ImageList(strip, 41).Count(), 0);
        QCOMPARE(ImageList(QPixmap(), 17).Count(), 0);
    }

    void captionIsBlueBoldTextOnWhite() {
        window->setAutoFillBackground(true);
        QPalette pal = window->palette();
        pal.setColor(QPalette::Window, QColor(200, 200, 200));
        window->setPalette(pal);
        auto* label = new QLabel(QStringLiteral("Select a contact"), window);
        label->setGeometry(5, 5, 150, 20);
        QVERIFY(MakeCaptionLabel(label) != nullptr);
        const QImage img = Grab(label);
        QCOMPARE(img.pixelColor(149, 19), Rgb(255, 255, 255));  // white, not the grey parent
        QVERIFY(CountPixels(img, Rgb(0, 0, 201)) > 10);
        // Top left: the text starts within the first few pixels of the label.
        int first = img.width();
        for (int y = 0; y < img.height(); ++y) {
            for (int x = 0; x < img.width(); ++x) {
                if (img.pixelColor(x, y) != Rgb(255, 255, 255)) first = std::min(first, x);
            }
        }
        QVERIFY(first <= 3);
    }

    void captionWithoutTextIsLeftToItself() {
        window->setAutoFillBackground(true);
        QPalette pal = window->palette();
        pal.setColor(QPalette::Window, QColor(200, 200, 200));
        window->setPalette(pal);
        auto* label = new QLabel(window);
        label->setGeometry(5, 5, 150, 20);
        MakeCaptionLabel(label);
        const QImage img = window->grab(QRect(5, 5, 150, 20)).toImage();
        QCOMPARE(CountPixels(img.convertToFormat(QImage::Format_RGB32), Rgb(255, 255, 255)), 0);
    }

    void captionLayoutPutsTheButtonsAtTheTopRight() {
        auto* caption = new QLabel(QStringLiteral("Preferences"), window);
        auto* ok = new QPushButton(QStringLiteral("OK"), window);
        auto* cancel = new QPushButton(QStringLiteral("Cancel"), window);
        DrawnCaption* drawn = SetupCaption(window, caption, ok, cancel);
        QVERIFY(drawn != nullptr);
        QCOMPARE(drawn->RightButton(), static_cast<QAbstractButton*>(cancel));
        QCOMPARE(drawn->LeftButton(), static_cast<QAbstractButton*>(ok));
        QCOMPARE(cancel->size(), QSize(17, 16));
        QCOMPARE(ok->size(), QSize(17, 16));

        LayoutCaption(window, 240, 300);
        QCOMPARE(cancel->geometry().right() + 1, 240 - 4);  // right edge 4 from the dialog's
        QCOMPARE(cancel->y(), 4);
        QCOMPARE(ok->geometry().right() + 1, cancel->x() - 2);
        QCOMPARE(ok->y(), 4);

        LayoutCaption(window, 360, 500);
        QCOMPARE(cancel->x(), 360 - 4 - 17);
        QCOMPARE(ok->x(), 360 - 4 - 17 - 2 - 17);
        QCOMPARE(cancel->size(), QSize(17, 16));

        // The bitmaps are the X (Cancel) and the check mark (OK): they differ.
        QVERIFY(Grab(ok) != Grab(cancel));
    }

    void captionWithoutLeftButton() {
        auto* caption = new QLabel(QStringLiteral("Connection"), window);
        auto* cancel = new QPushButton(QStringLiteral("Cancel"), window);
        DrawnCaption drawn(window);
        QVERIFY(drawn.Setup(caption, cancel, kBitmapCancel, 17));
        drawn.Layout(200, 100);
        QCOMPARE(cancel->pos(), QPoint(200 - 4 - 17, 4));
        QVERIFY(SetupCaption(window, nullptr, nullptr, cancel) == nullptr);
        QVERIFY(SetupCaption(nullptr, caption, nullptr, cancel) == nullptr);
    }

  private:
    QWidget* window = nullptr;
};

QTEST_MAIN(DrawnControlsTest)
#include "drawn_controls_test.moc"
