// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/caption_dialog.h"

#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>

#include "framework/ui/drawn_controls.h"
#include "framework/ui/ui_fonts.h"

CaptionDialog::CaptionDialog(int templateId, const QString& title, QWidget* parent)
    : DialogBase(templateId, parent), units_(DialogFont()) {
    setFont(DialogFont());
    setWindowTitle(title);
}

QSize CaptionDialog::sizeHint() const {
    // Full screen: the frame's size when there is one, else a handheld's portrait screen.
    if (FrameWindowBase* frame = FrameWindowBase::Instance()) return frame->size();
    return QSize(360, 560);
}

void CaptionDialog::PlaceControl(QWidget* control, int id, int x, int y, int w, int h) {
    control->setObjectName(QString::number(id));
    control->setGeometry(units_.Rect(x, y, w, h));
}

void CaptionDialog::FitToText(QWidget* control) {
    const QSize hint = control->sizeHint();
    control->resize(qMax(control->width(), hint.width()), qMax(control->height(), hint.height()));
}

void CaptionDialog::CreateCaption(int x, int y, int w, int h) {
    caption_ = AddControl<QLabel>(kIdCaption, x, y, w, h);
    caption_->setText(windowTitle());
    // The caption is drawn in the bold face, which needs its own line height, and, where the
    // system substitutes a wider face for the template's, more width than the template gives.
    const QFontMetrics bold(GetUiFont(UiFont::SmallBold));
    caption_->resize(qMax(caption_->width(), bold.horizontalAdvance(caption_->text()) + 2),
                     qMax(caption_->height(), bold.height()));
    ok_ = AddControl<QPushButton>(IDOK, 0, 0, 16, 12);
    ok_->setText(tr("OK"));
    cancel_ = AddControl<QPushButton>(IDCANCEL, 0, 0, 16, 12);
    cancel_->setText(tr("Cancel"));
    ConnectButton(ok_, IDOK);
    ConnectButton(cancel_, IDCANCEL);
    // Blue caption text; the buttons become image buttons of their bitmaps' size.
    SetupCaption(this, caption_, ok_, cancel_);
}

void CaptionDialog::PlaceCaptionButtons(int w, int h) {
    LayoutCaption(this, w, h);
}

void ApplySettingWrites(RegistryKey& key, const std::vector<SettingWrite>& writes) {
    for (const SettingWrite& write : writes) {
        if (write.isNumber) {
            key.WriteDword(write.name, write.number);
        } else {
            key.WriteString(write.name, write.text);
        }
    }
}
