// SPDX-License-Identifier: GPL-3.0-or-later
// The preferences dialog (template 120): deleting retrieved messages from the phone, the custom
// service centre, status reports and the Flash default. It keeps the settings key open while it
// runs; OK writes every value through it, in a fixed order; Cancel writes nothing. A service
// centre of more than 20 digits is refused on OK: a box says why, the dialog stays open and
// nothing is written.
#pragma once

#include <string>
#include <vector>

#include "settings/registry_key.h"
#include "settings/ui/caption_dialog.h"

class QCheckBox;
class QLabel;
class QLineEdit;

// Commands of the Edit menu (menu bar 121), acting on the field that has the focus.
constexpr int kMenuEdit = 40001;
constexpr int kCmdEditClear = 57632;
constexpr int kCmdEditCopy = 57634;
constexpr int kCmdEditCut = 57635;
constexpr int kCmdEditPaste = 57637;
constexpr int kCmdEditSelectAll = 57642;

class PreferencesDialog : public CaptionDialog {
    Q_OBJECT
  public:
    static constexpr int kTemplateId = 120;
    // Controls (and the caption, kIdCaption).
    static constexpr int kIdPhoneHeading = 1036;
    static constexpr int kIdDeleteAfterRetrieve = 1035;
    static constexpr int kIdMessageHeading = 1028;
    static constexpr int kIdCustomSmsc = 1009;
    static constexpr int kIdSmscNumber = 1034;
    static constexpr int kIdRequestStatus = 1008;
    static constexpr int kIdFlash = 1007;
    static constexpr int kIdUnicode = 1050;
    static constexpr int kIdLongSms = 1051;

    explicit PreferencesDialog(QWidget* parent = nullptr);

    // What OK writes, in order: DelMsg, SMSC (normalised), SMSCCustom, StatusReq, Flash,
    // Unicode, LongSms.
    std::vector<SettingWrite> PendingWrites() const;
    // Whether the key could be opened when the dialog opened.
    bool SettingsOpen() const { return settingsOpen_; }

  protected:
    bool OnInitDialog() override;
    MenuBarDef MenuBarDefinition() const override;
    void Layout(int w, int h) override;
    // OK writes every value and ends with IDOK, unless the service centre is too long.
    void Accept() override;
    void OnEnd(int result) override;

  private:
    void EnableNumberField();
    // False, after a message box that says why, when the service centre has more digits than
    // an address can hold.
    bool ServiceCentreFits();
    // The field the Edit commands act on: the focused one, else the number field.
    QLineEdit* EditTarget() const;
    void EditCommand(int id);

    RegistryKey key_;
    bool settingsOpen_ = false;
    QLabel* phoneHeading_ = nullptr;
    QCheckBox* deleteAfterRetrieve_ = nullptr;
    QLabel* messageHeading_ = nullptr;
    QCheckBox* customSmsc_ = nullptr;
    QLineEdit* smsc_ = nullptr;
    QCheckBox* requestStatus_ = nullptr;
    QCheckBox* flash_ = nullptr;
    QCheckBox* unicode_ = nullptr;
    QCheckBox* longSms_ = nullptr;
};
