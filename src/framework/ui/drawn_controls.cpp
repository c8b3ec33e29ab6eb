// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/drawn_controls.h"

#include <QAbstractButton>
#include <QEvent>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QPen>
#include <array>

#include "framework/ui/ui_fonts.h"

// The bitmaps are compiled into this static library; registering them explicitly keeps the
// linker from dropping them from a program that never names them otherwise.
static void RegisterBitmaps() {
    static const bool registered = [] {
        Q_INIT_RESOURCE(drawn_control_bitmaps);
        return true;
    }();
    (void)registered;
}

namespace {

constexpr std::array<QRgb, kButtonPaletteSize> kPalette = {
    qRgb(192, 0, 0),      // face, normal
    qRgb(255, 255, 128),  // face, pressed
    qRgb(153, 153, 153),  // face and border, disabled
    qRgb(255, 255, 255),  // text, normal
    qRgb(0, 0, 0),        // text, pressed
    qRgb(192, 0, 0),      // border with the focus
    qRgb(255, 255, 255),  // text, disabled
};

// The corner ellipse of a rounded button is 16 x 16 pixels, i.e. a radius of 8.
constexpr qreal kCornerRadius = 8.0;

// The bold face the drawn controls use for their text.
const QFont& BoldFont() {
    return GetUiFont(UiFont::SmallBold);
}

}  // namespace

QRgb ButtonPaletteColour(int index) {
    if (index < 0 || index >= kButtonPaletteSize) return kPalette[kFaceNormal];
    return kPalette[static_cast<std::size_t>(index)];
}

// --- SubclassedControl ---------------------------------------------------------------------

SubclassedControl::~SubclassedControl() {
    if (QWidget* w = window_.data()) {
        w->removeEventFilter(this);
        w->update();
    }
}

bool SubclassedControl::Subclass(QWidget* control) {
    if (control == nullptr || window_ != nullptr) return false;
    for (QObject* child : control->children()) {
        if (child != this &&
            qstrcmp(child->metaObject()->className(), metaObject()->className()) == 0) {
            return false;
        }
    }
    setParent(control);
    window_ = control;
    control->installEventFilter(this);
    Attached();
    control->update();
    return true;
}

QPixmap SubclassedControl::RenderOffscreen() const {
    QWidget* w = window_.data();
    if (w == nullptr || w->width() <= 0 || w->height() <= 0) return QPixmap();
    const qreal ratio = w->devicePixelRatioF();
    QPixmap pixmap(w->size() * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Background());
    QPainter painter(&pixmap);
    Paint(painter);
    return pixmap;
}

bool SubclassedControl::WindowProc(QEvent* event) {
    if (event->type() != QEvent::Paint || !Painted()) return false;
    const QPixmap pixmap = RenderOffscreen();
    if (!pixmap.isNull()) {
        QPainter painter(window_.data());
        painter.drawPixmap(0, 0, pixmap);
    }
    return true;
}

bool SubclassedControl::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_.data() && WindowProc(event)) return true;
    return QObject::eventFilter(watched, event);
}

// --- RoundedButton -------------------------------------------------------------------------

QAbstractButton* RoundedButton::Button() const {
    return qobject_cast<QAbstractButton*>(Window());
}

void RoundedButton::Attached() {
    // The off-screen pixmap covers every pixel of the control (white outside the rounded
    // corners), so Qt need not paint the parent underneath first.
    Window()->setAttribute(Qt::WA_OpaquePaintEvent, true);
}

RoundedButton::Colours RoundedButton::CurrentColours() const {
    const QAbstractButton* b = Button();
    if (b == nullptr || !b->isEnabled()) return {kFaceDisabled, kFaceDisabled, kTextDisabled};
    if (b->isDown()) return {kFacePressed, kFacePressed, kTextPressed};
    return {kFaceNormal, b->hasFocus() ? kBorderFocus : kFaceNormal, kTextNormal};
}

void RoundedButton::Paint(QPainter& painter) const {
    const QAbstractButton* b = Button();
    if (b == nullptr) return;
    const Colours c = CurrentColours();
    const QRect r(QPoint(0, 0), b->size());

    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(QPen(QColor(ButtonPaletteColour(c.border)), 1.0));
    painter.setBrush(QColor(ButtonPaletteColour(c.face)));
    painter.drawRoundedRect(QRectF(r).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius, kCornerRadius);

    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setFont(BoldFont());
    painter.setPen(QColor(ButtonPaletteColour(c.text)));
    // One pixel less at the bottom centres the text optically in the rounded face.
    painter.drawText(r.adjusted(0, 0, 0, -1),
                     Qt::AlignCenter | Qt::TextShowMnemonic | Qt::TextSingleLine, b->text());
}

// --- ImageList -----------------------------------------------------------------------------

ImageList::ImageList(const QPixmap& bitmap, int imageWidth) {
    if (bitmap.isNull() || imageWidth <= 0 || bitmap.width() < imageWidth) return;
    QImage image = bitmap.toImage().convertToFormat(QImage::Format_ARGB32);
    const QRgb mask = kImageMaskColour & 0x00FFFFFF;
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if ((line[x] & 0x00FFFFFF) == mask) line[x] = qRgba(0, 0, 0, 0);
        }
    }
    const int count = image.width() / imageWidth;
    size_ = QSize(imageWidth, image.height());
    images_.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        images_.push_back(
            QPixmap::fromImage(image.copy(i * imageWidth, 0, imageWidth, image.height())));
    }
}

ImageList ImageList::Load(int bitmapId, int imageWidth) {
    RegisterBitmaps();
    const QPixmap bitmap(QStringLiteral(":/bitmaps/%1").arg(bitmapId));
    return ImageList(bitmap, imageWidth);
}

int ImageIndexForState(int imageCount, bool pressed, bool focused, bool disabled) {
    if (pressed) return 1;
    if (imageCount > 2 && focused) return 2;
    if (imageCount > 3 && disabled) return 3;
    return 0;
}

// --- ImageButton ---------------------------------------------------------------------------

QAbstractButton* ImageButton::Button() const {
    return qobject_cast<QAbstractButton*>(Window());
}

void ImageButton::SetImageList(ImageList images) {
    images_ = std::move(images);
    if (QAbstractButton* b = Button()) {
        if (images_.Count() > 0) b->setFixedSize(images_.ImageSize());
        if (b->toolTip().isEmpty()) b->setToolTip(b->text());
        b->update();
    }
}

int ImageButton::CurrentImage() const {
    const QAbstractButton* b = Button();
    if (b == nullptr || images_.Count() == 0) return -1;
    const int index =
        ImageIndexForState(images_.Count(), b->isDown(), b->hasFocus(), !b->isEnabled());
    // A list too short for the index (a pressed look in a one-image list) shows its first.
    return index < images_.Count() ? index : 0;
}

void ImageButton::Paint(QPainter& painter) const {
    const int index = CurrentImage();
    if (index < 0) return;
    painter.drawPixmap(0, 0, images_.Image(index));
}

// --- CaptionLabel --------------------------------------------------------------------------

QLabel* CaptionLabel::Label() const {
    return qobject_cast<QLabel*>(Window());
}

bool CaptionLabel::Painted() const {
    const QLabel* l = Label();
    return l != nullptr && !l->text().isEmpty();
}

void CaptionLabel::Paint(QPainter& painter) const {
    const QLabel* l = Label();
    if (l == nullptr) return;
    const QRect r(QPoint(0, 0), l->size());
    painter.fillRect(r, Qt::white);
    painter.setFont(BoldFont());
    painter.setPen(QColor(kCaptionTextColour));
    painter.drawText(r, Qt::AlignLeft | Qt::AlignTop | Qt::TextShowMnemonic, l->text());
}

// --- DrawnCaption --------------------------------------------------------------------------

DrawnCaption::DrawnCaption(QWidget* dialog) : QObject(dialog) {}

bool DrawnCaption::Setup(QLabel* caption, QAbstractButton* right, int rightBitmap,
                         int rightImageWidth, QAbstractButton* left, int leftBitmap,
                         int leftImageWidth) {
    if (caption == nullptr || right == nullptr) return false;
    if (MakeCaptionLabel(caption) == nullptr) return false;
    if (MakeImageButton(right, rightBitmap, rightImageWidth) == nullptr) return false;
    if (left != nullptr && MakeImageButton(left, leftBitmap, leftImageWidth) == nullptr) {
        return false;
    }
    caption_ = caption;
    right_ = right;
    left_ = left;
    return true;
}

void DrawnCaption::Layout(int w, int h) {
    (void)h;
    constexpr int kEdge = 4;
    constexpr int kGap = 2;
    QAbstractButton* right = right_.data();
    if (right == nullptr) return;
    right->move(w - kEdge - right->width(), kEdge);
    if (QAbstractButton* left = left_.data()) {
        left->move(right->x() - kGap - left->width(), kEdge);
    }
}

// --- Helpers -------------------------------------------------------------------------------

namespace {

template <typename T>
T* TakeOver(QWidget* control) {
    if (control == nullptr) return nullptr;
    auto* drawn = new T;
    if (!drawn->Subclass(control)) {
        delete drawn;
        return nullptr;
    }
    return drawn;
}

}  // namespace

RoundedButton* MakeRoundedButton(QAbstractButton* button) {
    return TakeOver<RoundedButton>(button);
}

ImageButton* MakeImageButton(QAbstractButton* button, int bitmapId, int imageWidth) {
    ImageButton* drawn = TakeOver<ImageButton>(button);
    if (drawn != nullptr) drawn->SetImageList(ImageList::Load(bitmapId, imageWidth));
    return drawn;
}

CaptionLabel* MakeCaptionLabel(QLabel* label) {
    return TakeOver<CaptionLabel>(label);
}

DrawnCaption* SetupCaption(QWidget* dialog, QLabel* caption, QAbstractButton* ok,
                           QAbstractButton* cancel) {
    if (dialog == nullptr) return nullptr;
    auto* drawn = new DrawnCaption(dialog);
    if (!drawn->Setup(caption, cancel, kBitmapCancel, kCaptionImageWidth, ok, kBitmapOk,
                      kCaptionImageWidth)) {
        delete drawn;
        return nullptr;
    }
    drawn->Layout(dialog->width(), dialog->height());
    return drawn;
}

void LayoutCaption(QWidget* dialog, int w, int h) {
    if (dialog == nullptr) return;
    if (auto* drawn = dialog->findChild<DrawnCaption*>(QString(), Qt::FindDirectChildrenOnly)) {
        drawn->Layout(w, h);
    }
}
