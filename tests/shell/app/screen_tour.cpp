// SPDX-License-Identifier: GPL-3.0-or-later
// Renders the program's start-up screens into PNG files for the manual and the README:
//   screen_tour OUT_DIR
// writes about.png (the About page in a 360 x 560 frame) and about-wide.png (the same page after
// the frame was widened, to show the layout following the size). Used by scripts/screenshots.sh.
#include <QApplication>
#include <QDir>
#include <QTimer>
#include <cstdio>

#include "shell/ui/about_page.h"
#include "shell/ui/main_window.h"

namespace {

bool Save(QWidget& widget, const QString& path) {
    if (widget.grab().save(path)) {
        std::printf("%s\n", qPrintable(path));
        return true;
    }
    std::fprintf(stderr, "screen_tour: cannot write %s\n", qPrintable(path));
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fputs("usage: screen_tour OUT_DIR\n", stderr);
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(out);
    MainWindow frame;
    frame.show();
    bool ok = true;
    AboutPage about;
    QTimer::singleShot(100, &about, [&] {
        ok = Save(frame, out + "/about.png") && ok;
        frame.resize(560, 360);
        QTimer::singleShot(100, &about, [&] {
            ok = Save(frame, out + "/about-wide.png") && ok;
            about.EndDialog(IDCANCEL);
        });
    });
    about.RunPage(nullptr);
    return ok ? 0 : 1;
}
