// SPDX-License-Identifier: GPL-3.0-or-later
// Message boxes with the product name as caption. Tests replace the presenter so that a box
// is answered without a person.
#pragma once

#include <QString>
#include <functional>

class QWidget;

// Warning: the work was done but not all of it (shown with the warning icon). Information:
// what a finished piece of work did.
enum class BoxKind { Error, Question, Warning, Information };

// Shows `text`; for a Question returns IDYES or IDNO, otherwise IDOK.
int ShowMessageBox(QWidget* owner, const QString& text, BoxKind kind);

using MessageBoxPresenter =
    std::function<int(QWidget* owner, const QString& caption, const QString& text, BoxKind kind)>;
// Replaces how boxes are shown (null restores the real one); returns the previous presenter.
MessageBoxPresenter SetMessageBoxPresenter(MessageBoxPresenter presenter);
