// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/preferences_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>

#include "framework/text_buffer.h"
#include "framework/ui/message_box.h"
#include "framework/ui/resource_text.h"
#include "framework/ui/ui_fonts.h"
#include "framework/ui/window_text.h"
#include "message_ui/text_helpers.h"
#include "settings/settings_key.h"

namespace {

constexpr unsigned kStringServiceCentreTooLong = 3180;
constexpr unsigned kStringUnicodeMessages = 3240;
constexpr unsigned kStringLongMessages = 3241;
// A service centre address holds at most ten octets of digits, two digits an octet.
constexpr std::size_t kMaxServiceCentreDigits = 20;

// The state OK stores for a box: exactly 1 for a checked one, 0 otherwise.
std::uint32_t CheckValue(const QCheckBox* box) {
    return box->checkState() == Qt::Checked ? 1 : 0;
}

}  // namespace

PreferencesDialog::PreferencesDialog(QWidget* parent)
    : CaptionDialog(kTemplateId, tr("Preferences"), parent) {
    for (int id : {kCmdEditCut, kCmdEditCopy, kCmdEditPaste, kCmdEditClear, kCmdEditSelectAll}) {
        AddCommand(id, [this, id] { EditCommand(id); });
    }
}

MenuBarDef PreferencesDialog::MenuBarDefinition() const {
    return {{kMenuEdit,
             tr("Edit"),
             {{kCmdEditCut, tr("Cut")},
              {kCmdEditCopy, tr("Copy")},
              {kCmdEditPaste, tr("Paste")},
              {kCmdEditClear, tr("Clear")},
              {0, {}},
              {kCmdEditSelectAll, tr("Select All")}}}};
}

bool PreferencesDialog::OnInitDialog() {
    CreateCaption(5, 7, 79, 8);
    // Here as well as on activation: the modal runner does not activate the dialog.
    CreateMenuBar(MenuBarDefinition());
    phoneHeading_ = AddControl<QLabel>(kIdPhoneHeading, 5, 22, 25, 8);
    phoneHeading_->setText(tr("Phone"));
    deleteAfterRetrieve_ = AddControl<QCheckBox>(kIdDeleteAfterRetrieve, 13, 34, 113, 10);
    deleteAfterRetrieve_->setText(tr("Delete Messages after Retrieve"));
    messageHeading_ = AddControl<QLabel>(kIdMessageHeading, 5, 47, 57, 8);
    messageHeading_->setText(tr("Message Options"));
    customSmsc_ = AddControl<QCheckBox>(kIdCustomSmsc, 13, 59, 96, 10);
    customSmsc_->setText(tr("Custom Service Center:"));
    smsc_ = AddControl<QLineEdit>(kIdSmscNumber, 23, 70, 92, 14);
    requestStatus_ = AddControl<QCheckBox>(kIdRequestStatus, 13, 88, 62, 10);
    requestStatus_->setText(tr("Request Status"));
    flash_ = AddControl<QCheckBox>(kIdFlash, 13, 99, 62, 10);
    flash_->setText(tr("Flash SMS"));
    unicode_ = AddControl<QCheckBox>(kIdUnicode, 13, 110, 80, 10);
    unicode_->setText(ResourceText(kStringUnicodeMessages));
    longSms_ = AddControl<QCheckBox>(kIdLongSms, 13, 121, 80, 10);
    longSms_->setText(ResourceText(kStringLongMessages));
    phoneHeading_->setFont(GetUiFont(UiFont::SmallBold));
    messageHeading_->setFont(GetUiFont(UiFont::SmallBold));
    for (QWidget* control :
         std::initializer_list<QWidget*>{phoneHeading_, messageHeading_, deleteAfterRetrieve_,
                                         customSmsc_, requestStatus_, flash_, unicode_, longSms_}) {
        FitToText(control);
    }
    // Any change of the box enables or disables the number at once.
    connect(customSmsc_, &QCheckBox::toggled, this, [this](bool) { EnableNumberField(); });

    // Kept open until the dialog ends; OK writes through it.
    settingsOpen_ = OpenSettings(key_);
    smsc_->setText(QString::fromStdU16String(ReadSettingString(key_, kValueSmsc)));
    customSmsc_->setChecked(ReadSettingFlag(key_, kValueSmscCustom));
    EnableNumberField();
    requestStatus_->setChecked(ReadSettingFlag(key_, kValueStatusReq));
    flash_->setChecked(ReadSettingFlag(key_, kValueFlash));
    deleteAfterRetrieve_->setChecked(ReadSettingFlag(key_, kValueDelMsg));
    unicode_->setChecked(ReadSettingFlag(key_, kValueUnicode));
    longSms_->setChecked(ReadSettingFlag(key_, kValueLongSms));
    return true;
}

void PreferencesDialog::EnableNumberField() {
    smsc_->setEnabled(customSmsc_->checkState() == Qt::Checked);
}

std::vector<SettingWrite> PreferencesDialog::PendingWrites() const {
    TextBuffer number = GetWindowText(smsc_);
    NormalizePhoneNumber(number);
    // The number is kept even when the box is clear, for the next time it is checked.
    return {
        {kValueDelMsg, true, {}, CheckValue(deleteAfterRetrieve_)},
        {kValueSmsc, false, number.ToU16(), 0},
        {kValueSmscCustom, true, {}, CheckValue(customSmsc_)},
        {kValueStatusReq, true, {}, CheckValue(requestStatus_)},
        {kValueFlash, true, {}, CheckValue(flash_)},
        {kValueUnicode, true, {}, CheckValue(unicode_)},
        {kValueLongSms, true, {}, CheckValue(longSms_)},
    };
}

void PreferencesDialog::Accept() {
    // A number no phone would take is refused here, before anything is written.
    if (!ServiceCentreFits()) return;
    ApplySettingWrites(key_, PendingWrites());
    EndDialog(IDOK);
}

bool PreferencesDialog::ServiceCentreFits() {
    TextBuffer number = GetWindowText(smsc_);
    NormalizePhoneNumber(number);
    const std::u16string digits = number.ToU16();
    const std::size_t count = digits.size() - (!digits.empty() && digits[0] == u'+' ? 1 : 0);
    if (count <= kMaxServiceCentreDigits) return true;
    TextBuffer format;
    format.LoadResourceString(kStringServiceCentreTooLong);
    TextBuffer text;
    text.Format(80, format.Text(), static_cast<int>(count));
    ShowMessageBox(this, QString::fromUtf16(text.Text()), BoxKind::Error);
    if (smsc_->isEnabled()) smsc_->setFocus(Qt::OtherFocusReason);
    return false;
}

QLineEdit* PreferencesDialog::EditTarget() const {
    auto* focused = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    if (focused != nullptr && isAncestorOf(focused)) return focused;
    // The menu may hold the focus while it is open; the number is the only field there is.
    return smsc_;
}

void PreferencesDialog::EditCommand(int id) {
    QLineEdit* edit = EditTarget();
    // A disabled field takes no commands, as it could not have the focus either.
    if (edit == nullptr || !edit->isEnabled()) return;
    switch (id) {
        case kCmdEditCut:
            edit->cut();
            break;
        case kCmdEditCopy:
            edit->copy();
            break;
        case kCmdEditPaste:
            edit->paste();
            break;
        case kCmdEditClear:
            // Removes the selected text and nothing else.
            if (edit->hasSelectedText() && !edit->isReadOnly()) edit->insert(QString());
            break;
        case kCmdEditSelectAll:
            edit->selectAll();
            break;
        default:
            break;
    }
}

void PreferencesDialog::OnEnd(int) {
    key_.Close();
}

void PreferencesDialog::Layout(int w, int h) {
    PlaceCaptionButtons(w, h);
}
