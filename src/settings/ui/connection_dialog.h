// SPDX-License-Identifier: GPL-3.0-or-later
// The connection dialog (template 119): picks the serial port the phone is on, or, in a hidden
// variant opened with Ctrl held, the TCP gateway or no communication at all. OK writes CommPort
// (when an entry is selected) and TCP (always); Cancel writes nothing.
#pragma once

#include <QGuiApplication>
#include <functional>
#include <string>
#include <vector>

#include "settings/registry_key.h"
#include "settings/ui/caption_dialog.h"
#include "settings/ui/port_list.h"

class QComboBox;
class QLabel;
class QLineEdit;

// How the dialog learns whether Ctrl is held as it opens. Replaceable so that tests can open
// it both ways; an empty function restores QGuiApplication::queryKeyboardModifiers. Returns
// the previous query (empty while the real one is in use).
using KeyboardModifierQuery = std::function<Qt::KeyboardModifiers()>;
KeyboardModifierQuery SetKeyboardModifierQuery(KeyboardModifierQuery query);

class ConnectionDialog : public CaptionDialog {
    Q_OBJECT
  public:
    static constexpr int kTemplateId = 119;
    // Controls (and the caption, kIdCaption).
    static constexpr int kIdConnectionLabel = 1027;
    static constexpr int kIdPortCombo = 1026;
    static constexpr int kIdAddressLabel = 1038;
    static constexpr int kIdAddressEdit = 1039;
    // Where the label "Connection:" sits after every size change, and the gap to the combo box.
    static constexpr int kLabelLeft = 8;
    static constexpr int kLabelTop = 33;
    static constexpr int kComboGap = 8;

    // The hidden entries.
    static constexpr char16_t kTcpDevice[] = u"TCP";
    static constexpr char16_t kTcpDisplay[] = u"TCP";
    static constexpr char16_t kLocalDevice[] = u"local";
    static constexpr char16_t kLocalDisplay[] = u"(no communication)";

    explicit ConnectionDialog(QWidget* parent = nullptr);

    // What the dialog offers: the serial ports, then the hidden entries when Ctrl was held.
    const PortList& Ports() const { return ports_; }
    bool CtrlWasDown() const { return ctrlDown_; }
    // The PortList index of the selected entry, or -1 when nothing is selected.
    int SelectedPort() const;
    // What OK writes, in order.
    std::vector<SettingWrite> PendingWrites() const;

  protected:
    bool OnInitDialog() override;
    MenuBarDef MenuBarDefinition() const override { return {}; }  // menu bar 127: empty
    void Layout(int w, int h) override;
    // OK writes the settings and ends with IDOK.
    void Accept() override;

  private:
    void FillPortCombo();
    void ShowAddressField();

    RegistryKey key_;
    PortList ports_;
    bool ctrlDown_ = false;
    QLabel* connectionLabel_ = nullptr;
    QComboBox* combo_ = nullptr;
    QLabel* addressLabel_ = nullptr;
    QLineEdit* address_ = nullptr;
};
