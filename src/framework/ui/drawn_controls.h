// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own look for ordinary controls: rounded coloured push buttons with bold centred
// text, a blue caption line at the top of a full-screen dialog, and small image buttons (OK and
// Cancel) at the right end of that caption.
//
// The controls are plain Qt widgets created by the dialogs; a drawn control takes one over
// after it exists ("subclassing"): it attaches itself as a child object and event filter of
// the widget, paints the widget itself and passes every other event on. Each paint goes
// through an off-screen pixmap that is copied to the widget in one blit, so nothing flickers.
// A drawn control lives exactly as long as its widget.
#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QLabel>
#include <QObject>
#include <QPixmap>
#include <QPointer>
#include <QRgb>
#include <QSize>
#include <QWidget>
#include <vector>

class QPainter;

// The colours of the rounded push buttons, shared by all of them.
enum ButtonColour {
    kFaceNormal = 0,    // RGB(192,0,0)
    kFacePressed = 1,   // RGB(255,255,128)
    kFaceDisabled = 2,  // RGB(153,153,153): face and border of a disabled button
    kTextNormal = 3,    // RGB(255,255,255)
    kTextPressed = 4,   // RGB(0,0,0)
    kBorderFocus = 5,   // RGB(192,0,0): the same red as the face, on purpose
    kTextDisabled = 6,  // RGB(255,255,255)
};
constexpr int kButtonPaletteSize = 7;
QRgb ButtonPaletteColour(int index);

// Blue of a caption's text, RGB(0,0,201), and the mask colour of image lists, RGB(0,128,128).
constexpr QRgb kCaptionTextColour = 0xFF0000C9;
constexpr QRgb kImageMaskColour = 0xFF008080;

// Bitmaps of the caption's image buttons, and the width of one image in them.
constexpr int kBitmapCancel = 128;
constexpr int kBitmapOk = 129;
constexpr int kCaptionImageWidth = 17;

// A control taken over by the program. Derived kinds paint it.
class SubclassedControl : public QObject {
    Q_OBJECT
  public:
    ~SubclassedControl() override;

    // Takes over `control`: becomes its child and event filter, then calls Attached(). False
    // for a null control or one that a drawn control of the same kind already owns.
    bool Subclass(QWidget* control);
    QWidget* Window() const { return window_.data(); }

    // Renders the control as it would appear now into a new image (what the next paint
    // copies to the screen); used by the paint itself and handy for inspection.
    QPixmap RenderOffscreen() const;

  protected:
    // Called once the control has been taken over.
    virtual void Attached() {}
    // Sees every event of the control first; true when handled (the control never sees it).
    // The default paints on Paint events (when Painted() agrees) and passes the rest on.
    virtual bool WindowProc(QEvent* event);
    // Whether the program paints the control now; when false the control paints itself.
    virtual bool Painted() const { return true; }
    // Draws the whole control into `painter` (an off-screen pixmap of the control's size).
    virtual void Paint(QPainter& painter) const = 0;
    // The colour the off-screen pixmap starts with.
    virtual QColor Background() const { return Qt::white; }

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QPointer<QWidget> window_;
};

// The rounded push button: a rounded rectangle with a 16 x 16 corner ellipse in the palette
// above, and the button's text centred on one line in the application's bold font.
class RoundedButton : public SubclassedControl {
    Q_OBJECT
  public:
    QAbstractButton* Button() const;

    // The palette indices used for the button's current state.
    struct Colours {
        int face;
        int border;
        int text;
    };
    Colours CurrentColours() const;

  protected:
    void Attached() override;
    void Paint(QPainter& painter) const override;
};

// A list of equally wide images cut from one bitmap, the mask colour made transparent.
class ImageList {
  public:
    ImageList() = default;
    // Cuts `bitmap` into images `imageWidth` pixels wide (a rest narrower than that is
    // dropped); pixels of the mask colour become transparent.
    ImageList(const QPixmap& bitmap, int imageWidth);
    // Loads bitmap resource `bitmapId` (128 or 129); an empty list when there is none.
    static ImageList Load(int bitmapId, int imageWidth);

    int Count() const { return static_cast<int>(images_.size()); }
    QSize ImageSize() const { return size_; }
    const QPixmap& Image(int index) const { return images_.at(static_cast<std::size_t>(index)); }

  private:
    std::vector<QPixmap> images_;
    QSize size_;
};

// Which image an image button shows: 1 when pressed; otherwise, with more than 2 images, 2
// when focused; otherwise, with more than 3 images, 3 when disabled; else 0.
int ImageIndexForState(int imageCount, bool pressed, bool focused, bool disabled);

// A button drawn as one image of its image list, chosen by its state.
class ImageButton : public SubclassedControl {
    Q_OBJECT
  public:
    QAbstractButton* Button() const;
    // Gives the button its images and makes it exactly as large as one image (its position
    // stays where it was).
    void SetImageList(ImageList images);
    const ImageList& Images() const { return images_; }
    // The image the button shows in its current state; -1 without images.
    int CurrentImage() const;

  protected:
    void Paint(QPainter& painter) const override;
    QColor Background() const override { return Qt::transparent; }

  private:
    ImageList images_;
};

// The caption line of a full-screen dialog: bold blue text on white, at the top left. A
// caption without text is left to paint itself.
class CaptionLabel : public SubclassedControl {
    Q_OBJECT
  public:
    QLabel* Label() const;

  protected:
    bool Painted() const override;
    void Paint(QPainter& painter) const override;
};

// The caption of a dialog with its image buttons: the right-hand button 4 pixels from the
// dialog's right edge and 4 from the top, the left-hand one 2 pixels to its left; both keep
// their size.
class DrawnCaption : public QObject {
    Q_OBJECT
  public:
    explicit DrawnCaption(QWidget* dialog);

    // Takes over the caption and the buttons; `left` may be null. False when a control is
    // missing or could not be taken over.
    bool Setup(QLabel* caption, QAbstractButton* right, int rightBitmap, int rightImageWidth,
               QAbstractButton* left = nullptr, int leftBitmap = 0, int leftImageWidth = 0);
    // Places the buttons for a dialog client area of w x h (call it on every resize).
    void Layout(int w, int h);

    QLabel* Caption() const { return caption_.data(); }
    QAbstractButton* RightButton() const { return right_.data(); }
    QAbstractButton* LeftButton() const { return left_.data(); }

  private:
    QPointer<QLabel> caption_;
    QPointer<QAbstractButton> right_;
    QPointer<QAbstractButton> left_;
};

// Gives a push button the rounded look; null when it cannot be taken over.
RoundedButton* MakeRoundedButton(QAbstractButton* button);
// Gives a button an image list from bitmap `bitmapId`; null when it cannot be taken over.
ImageButton* MakeImageButton(QAbstractButton* button, int bitmapId, int imageWidth);
// Gives a label the caption look; null when it cannot be taken over.
CaptionLabel* MakeCaptionLabel(QLabel* label);

// The dialogs' usual caption: `caption` (static 1019) drawn blue, Cancel on the right with
// bitmap 128 and OK to its left with bitmap 129, both 17 pixels wide. `ok` may be null. The
// caption object is a child of `dialog`; null when a control is missing.
DrawnCaption* SetupCaption(QWidget* dialog, QLabel* caption, QAbstractButton* ok,
                           QAbstractButton* cancel);
// Lays out the caption set up on `dialog` (nothing when it has none). Call from Layout(w, h).
void LayoutCaption(QWidget* dialog, int w, int h);
