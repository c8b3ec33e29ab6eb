// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/message_box.h"

#include <QMessageBox>

#include "framework/ui/dialog_base.h"
#include "framework/ui/resource_text.h"

namespace {

MessageBoxPresenter& Presenter() {
    static MessageBoxPresenter presenter;
    return presenter;
}

QString Caption() {
    return ResourceText(2);
}

}  // namespace

int ShowMessageBox(QWidget* owner, const QString& text, BoxKind kind) {
    const QString caption = Caption();
    if (Presenter()) return Presenter()(owner, caption, text, kind);
    if (kind == BoxKind::Question) {
        const auto answer =
            QMessageBox::question(owner, caption, text, QMessageBox::Yes | QMessageBox::No);
        return answer == QMessageBox::Yes ? IDYES : IDNO;
    }
    if (kind == BoxKind::Warning) {
        QMessageBox::warning(owner, caption, text);
    } else if (kind == BoxKind::Information) {
        QMessageBox::information(owner, caption, text);
    } else {
        QMessageBox::critical(owner, caption, text);
    }
    return IDOK;
}

MessageBoxPresenter SetMessageBoxPresenter(MessageBoxPresenter presenter) {
    MessageBoxPresenter previous = Presenter();
    Presenter() = std::move(presenter);
    return previous;
}
