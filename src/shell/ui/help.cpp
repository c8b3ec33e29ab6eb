// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/help.h"

#include <QDesktopServices>
#include <QString>

#include "shell/contacts_addin.h"
#include "shell/help_file.h"

namespace {

UrlOpener& Opener() {
    static UrlOpener opener;
    return opener;
}

}  // namespace

UrlOpener SetUrlOpener(UrlOpener opener) {
    UrlOpener previous = std::move(Opener());
    Opener() = std::move(opener);
    return previous;
}

bool OpenManual() {
    const std::string manual = FindManual(ProgramFilePath());
    if (manual.empty()) return false;
    const QUrl url = QUrl::fromLocalFile(QString::fromStdString(manual));
    // The desktop's opener starts the viewer as a detached process with the URL as its one
    // argument: nothing waits for it and no shell sees the path.
    if (Opener()) return Opener()(url);
    return QDesktopServices::openUrl(url);
}
