// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/ui_fonts.h"

#include <array>

namespace {

std::array<QFont, 4>& Fonts() {
    static std::array<QFont, 4> fonts;
    return fonts;
}
bool g_created = false;

QFont Make(int pixelHeight, bool bold, bool italic) {
    QFont f(QStringLiteral("Tahoma"));
    f.setStyleHint(QFont::SansSerif);
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
    f[0] = Make(13, true, false);
    f[1] = Make(15, true, false);
    f[2] = Make(15, false, true);
    f[3] = Make(17, true, false);
    g_created = true;
}

const QFont& GetUiFont(UiFont which) {
    CreateUiFonts();
    return Fonts()[static_cast<int>(which)];
}
