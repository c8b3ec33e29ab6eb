// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/connection_dialog.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>

#include "settings/settings_key.h"

namespace {

KeyboardModifierQuery& ModifierQuery() {
    static KeyboardModifierQuery query;
    return query;
}

Qt::KeyboardModifiers CurrentModifiers() {
    if (ModifierQuery()) return ModifierQuery()();
    return QGuiApplication::queryKeyboardModifiers();
}

QString ToQ(const std::u16string& text) {
    return QString::fromStdU16String(text);
}

}  // namespace

KeyboardModifierQuery SetKeyboardModifierQuery(KeyboardModifierQuery query) {
    KeyboardModifierQuery previous = std::move(ModifierQuery());
    ModifierQuery() = std::move(query);
    return previous;
}

ConnectionDialog::ConnectionDialog(QWidget* parent)
    : CaptionDialog(kTemplateId, tr("Select the active connection"), parent) {}

bool ConnectionDialog::OnInitDialog() {
    // Read at once: the user lets go of Ctrl as soon as the dialog shows.
    ctrlDown_ = CurrentModifiers().testFlag(Qt::ControlModifier);

    CreateCaption(6, 7, 106, 8);
    // Here as well as on activation: the modal runner does not activate the dialog.
    CreateMenuBar(MenuBarDefinition());
    connectionLabel_ = AddControl<QLabel>(kIdConnectionLabel, 6, 25, 39, 8);
    connectionLabel_->setText(tr("Connection:"));
    combo_ = AddControl<QComboBox>(kIdPortCombo, 6, 37, 110, 51);
    // The template's height includes the drop-down list; the closed box is one line high.
    combo_->resize(combo_->width(), combo_->sizeHint().height());
    combo_->setEditable(false);
    addressLabel_ = AddControl<QLabel>(kIdAddressLabel, 6, 55, 109, 16);
    addressLabel_->setText(tr("TCP Address\n(i.e. localhost:port):"));
    addressLabel_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    FitToText(connectionLabel_);
    FitToText(addressLabel_);
    addressLabel_->hide();
    address_ = AddControl<QLineEdit>(kIdAddressEdit, 6, 74, 92, 12);
    address_->hide();
    // A choice made shows or hides the address field.
    connect(combo_, &QComboBox::activated, this, [this](int) { ShowAddressField(); });

    // Opening creates the key where there was none; the dialog then shows the defaults.
    OpenSettings(key_);
    const std::u16string port = ReadSettingString(key_, kValueCommPort);
    address_->setText(ToQ(ReadSettingString(key_, kValueTcp)));

    if (EnumerateComPorts(ports_)) {
        if (ctrlDown_) {
            ports_.Append(kTcpDevice, kTcpDisplay);
            ports_.Append(kLocalDevice, kLocalDisplay);
        }
        FillPortCombo();
        // Every matching entry is selected in list order, so the last one stays selected.
        for (std::size_t index = 0; index < ports_.Size(); ++index) {
            if (!PortNamesMatch(port, ports_.deviceNames[index])) continue;
            const int row = combo_->findData(QVariant::fromValue<qulonglong>(index));
            if (row >= 0) combo_->setCurrentIndex(row);
        }
    }
    ShowAddressField();
    return true;
}

void ConnectionDialog::FillPortCombo() {
    combo_->clear();
    // The ports in alphabetical order (ignoring case, equal names in list order); the hidden
    // entries stay after them, in their own order.
    const std::size_t ports = ports_.Size() - (ctrlDown_ ? 2 : 0);
    for (std::size_t index = 0; index < ports_.Size(); ++index) {
        const QString display = ToQ(ports_.displayNames[index]);
        int row = combo_->count();
        if (index < ports) {
            row = 0;
            while (row < combo_->count() &&
                   combo_->itemText(row).compare(display, Qt::CaseInsensitive) <= 0) {
                ++row;
            }
        }
        combo_->insertItem(row, display, QVariant::fromValue<qulonglong>(index));
    }
    combo_->setCurrentIndex(-1);
}

int ConnectionDialog::SelectedPort() const {
    if (combo_ == nullptr || combo_->currentIndex() < 0) return -1;
    bool ok = false;
    const qulonglong index = combo_->currentData().toULongLong(&ok);
    if (!ok || index >= ports_.Size()) return -1;
    return static_cast<int>(index);
}

void ConnectionDialog::ShowAddressField() {
    const int selected = SelectedPort();
    const bool tcp = selected >= 0 && ports_.deviceNames[selected] == kTcpDevice;
    addressLabel_->setVisible(tcp);
    address_->setVisible(tcp);
}

std::vector<SettingWrite> ConnectionDialog::PendingWrites() const {
    std::vector<SettingWrite> writes;
    const int selected = SelectedPort();
    if (selected >= 0) {
        writes.push_back({kValueCommPort, false, ports_.deviceNames[selected], 0});
    }
    // Always, even when the field is hidden or empty.
    writes.push_back({kValueTcp, false, address_->text().toStdU16String(), 0});
    return writes;
}

void ConnectionDialog::Accept() {
    ApplySettingWrites(key_, PendingWrites());
    EndDialog(IDOK);
}

void ConnectionDialog::Layout(int w, int h) {
    PlaceCaptionButtons(w, h);
    if (connectionLabel_ == nullptr) return;
    connectionLabel_->move(kLabelLeft, kLabelTop);
    combo_->move(kLabelLeft, connectionLabel_->geometry().bottom() + 1 + kComboGap);
}
