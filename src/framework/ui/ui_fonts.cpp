// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/ui_fonts.h"

#include <array>

namespace {

// The published fonts, then the two dialog fonts.
constexpr std::size_t kDialog = 4;
constexpr std::size_t kDialogPixels = 5;

std::array<QFont, 6>& Fonts() {
    static std::array<QFont, 6> fonts;
    return fonts;
}
bool g_created = false;

QFont Tahoma() {
    QFont f(QStringLiteral("Tahoma"));
    f.setStyleHint(QFont::SansSerif);
    return f;
}

QFont Published(int pixelHeight, bool bold, bool italic) {
    QFont f = Tahoma();
    f.setPixelSize(pixelHeight);
    // Weight 800 on a 100-900 scale.
    f.setWeight(bold ? QFont::ExtraBold : QFont::Normal);
    f.setItalic(italic);
    return f;
}

}  // namespace

void CreateUiFonts() {
    if (g_created) return;
    auto& f = Fonts();
    f[0] = Published(13, true, false);
    f[1] = Published(15, true, false);
    f[2] = Published(15, false, true);
    f[3] = Published(17, true, false);
    f[kDialog] = Tahoma();
    f[kDialog].setPointSize(9);
    f[kDialogPixels] = Tahoma();
    f[kDialogPixels].setPixelSize(12);
    g_created = true;
}

const QFont& GetUiFont(UiFont which) {
    CreateUiFonts();
    return Fonts()[static_cast<std::size_t>(which)];
}

const QFont& DialogFont() {
    CreateUiFonts();
    return Fonts()[kDialog];
}

const QFont& DialogPixelFont() {
    CreateUiFonts();
    return Fonts()[kDialogPixels];
}
