// SPDX-License-Identifier: GPL-3.0-or-later
// Draws the program's images: the About logo (bitmap 113, 96 x 96) and the program icon
// (64 x 64 for the window, 128 x 128 and 256 x 256 for desktops). The PNG files are committed;
// run this again after changing the drawing:
//   g++ -std=c++20 -fPIC draw_images.cpp $(pkg-config --cflags --libs Qt6Gui) -o /tmp/draw_images
//   QT_QPA_PLATFORM=offscreen /tmp/draw_images src/resources/images packaging
//
// The logo: a speech bubble carrying a "V", on a tile that runs from sky blue to teal.
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <cstdio>

namespace {

const QColor kSky(0x2f, 0x8f, 0xd8);
const QColor kTeal(0x13, 0x7a, 0x6e);

// Drawn on a 96 x 96 grid, scaled to `size`.
QImage Draw(int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 96.0, size / 96.0);

    QLinearGradient tile(0, 4, 0, 92);
    tile.setColorAt(0, kSky);
    tile.setColorAt(1, kTeal);
    p.setPen(Qt::NoPen);
    p.setBrush(tile);
    p.drawRoundedRect(QRectF(4, 4, 88, 88), 18, 18);

    QPainterPath bubble;
    bubble.addRoundedRect(QRectF(12, 22, 72, 46), 8, 8);
    QPainterPath tail;
    tail.moveTo(30, 66);
    tail.lineTo(46, 66);
    tail.lineTo(26, 80);
    tail.closeSubpath();
    p.setBrush(Qt::white);
    p.drawPath(bubble.united(tail));

    QPainterPath vee;
    vee.moveTo(30, 32);
    vee.lineTo(40, 32);
    vee.lineTo(48, 51);
    vee.lineTo(56, 32);
    vee.lineTo(66, 32);
    vee.lineTo(52, 61);
    vee.lineTo(44, 61);
    vee.closeSubpath();
    p.setBrush(kTeal);
    p.drawPath(vee);

    p.setBrush(kSky);
    p.drawEllipse(QPointF(24, 56), 3.5, 3.5);
    p.drawEllipse(QPointF(72, 56), 3.5, 3.5);
    return image;
}

bool Save(const QImage& image, const QString& path) {
    if (image.save(path, "PNG")) return true;
    std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (argc != 3) {
        std::fputs("usage: draw_images IMAGES_DIR PACKAGING_DIR\n", stderr);
        return 2;
    }
    const QString images = QString::fromLocal8Bit(argv[1]);
    const QString packaging = QString::fromLocal8Bit(argv[2]);
    bool ok = Save(Draw(96), images + "/logo113.png");
    ok = Save(Draw(64), images + "/velkan-tessiver.png") && ok;
    ok = Save(Draw(128), packaging + "/icons/128x128/velkan-tessiver.png") && ok;
    ok = Save(Draw(256), packaging + "/icons/256x256/velkan-tessiver.png") && ok;
    return ok ? 0 : 1;
}
