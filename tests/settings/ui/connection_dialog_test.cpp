// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/connection_dialog.h"

#include <QApplication>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include "framework/ui/menu_bar.h"
#include "settings_ui_test_util.h"

namespace {

SerialPort Port(std::u16string name, std::optional<std::u16string> friendly = std::nullopt) {
    return SerialPort{std::move(name), std::move(friendly)};
}

// The serial ports of a handheld with a cable, an infrared and a Bluetooth port.
std::vector<SerialPort> HandheldPorts() {
    return {
        Port(u"COM1:", u"Serial Cable on COM1:"),
        Port(u"COM3:", u"Infrared Port"),
        Port(u"COM5:", u"Bluetooth Serial"),
    };
}

QComboBox* Combo(ConnectionDialog& d) {
    return d.ControlAs<QComboBox>(ConnectionDialog::kIdPortCombo);
}
QLineEdit* Address(ConnectionDialog& d) {
    return d.ControlAs<QLineEdit>(ConnectionDialog::kIdAddressEdit);
}
QLabel* AddressLabel(ConnectionDialog& d) {
    return d.ControlAs<QLabel>(ConnectionDialog::kIdAddressLabel);
}

QStringList Items(QComboBox* combo) {
    QStringList items;
    for (int i = 0; i < combo->count(); ++i) items << combo->itemText(i);
    return items;
}

// The device name behind the combo box's selection, or "" with nothing selected.
QString SelectedDevice(ConnectionDialog& d) {
    const int index = d.SelectedPort();
    return index < 0 ? QString() : QString::fromStdU16String(d.Ports().deviceNames[index]);
}

}  // namespace

class ConnectionDialogTest : public QObject {
    Q_OBJECT
  private slots:
    void init() {
        home_ = std::make_unique<TempSettingsHome>();
        QVERIFY(home_->IsValid());
        ports_ = HandheldPorts();
        portsComplete_ = true;
        ctrl_ = false;
        previousSource_ = SetSerialPortSource([this](std::vector<SerialPort>& out) {
            out.insert(out.end(), ports_.begin(), ports_.end());
            return portsComplete_;
        });
        previousQuery_ = SetKeyboardModifierQuery(
            [this] { return ctrl_ ? Qt::KeyboardModifiers(Qt::ControlModifier) : Qt::NoModifier; });
    }
    void cleanup() {
        SetSerialPortSource(previousSource_);
        SetKeyboardModifierQuery(previousQuery_);
        home_.reset();
    }

    void aFreshSettingsFileShowsTheDefaultsAndPreselectsCom3() {
        QVERIFY(!QFileInfo::exists(home_->SettingsFile()));
        ports_ = {Port(u"COM1:", u"Serial Cable on COM1:"), Port(u"com3:", u"Infrared Port")};
        ConnectionDialog dialog;
        QCOMPARE(RunDialog(dialog, nullptr, IDCANCEL), IDCANCEL);
        // Opening created the key.
        QVERIFY(QFileInfo::exists(home_->SettingsFile()));
        QCOMPARE(Address(dialog)->text(), QString("localhost:4000"));
        // The saved "COM3:" finds the port whatever its letter case.
        QCOMPARE(SelectedDevice(dialog), QString("com3:"));
        QCOMPARE(Combo(dialog)->currentText(), QString("Infrared Port (com3:)"));
        QVERIFY(Address(dialog)->isHidden());
        QVERIFY(AddressLabel(dialog)->isHidden());
        // Cancel wrote nothing.
        QVERIFY(!StoredString(kValueCommPort).has_value());
        QVERIFY(!StoredString(kValueTcp).has_value());
    }

    void aFriendlyNameHoldingTheDeviceIsShownAloneOthersWithTheDevice() {
        ConnectionDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        QVERIFY(Items(Combo(dialog)).contains("Serial Cable on COM1:"));
        QVERIFY(Items(Combo(dialog)).contains("Infrared Port (COM3:)"));
    }

    void theListIsSortedAndLeadsBackToThePortList() {
        ConnectionDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        QCOMPARE(Items(Combo(dialog)),
                 QStringList({"Bluetooth Serial (COM5:)", "Infrared Port (COM3:)",
                              "Serial Cable on COM1:"}));
        // The item data leads back to the entry of the port list, which keeps the source's
        // order.
        QCOMPARE(Combo(dialog)->itemData(0).toULongLong(), 2ull);
        QCOMPARE(Combo(dialog)->itemData(2).toULongLong(), 0ull);
        QCOMPARE(dialog.Ports().Size(), std::size_t{3});
    }

    void localSavedAndOpenedWithoutCtrlSelectsNothingAndOkKeepsIt() {
        StoreString(kValueCommPort, u"local");
        ConnectionDialog dialog;
        QCOMPARE(RunDialog(dialog, nullptr, IDOK), IDOK);
        QVERIFY(!dialog.CtrlWasDown());
        QCOMPARE(Combo(dialog)->currentIndex(), -1);
        QCOMPARE(dialog.SelectedPort(), -1);
        QVERIFY(!Items(Combo(dialog)).contains("(no communication)"));
        QVERIFY(Address(dialog)->isHidden());
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"local"));
        // TCP is written in any case.
        QCOMPARE(StoredString(kValueTcp), std::optional<std::u16string>(u"localhost:4000"));
    }

    void ctrlHeldShowsTheHiddenEntriesAtTheEnd() {
        ctrl_ = true;
        ConnectionDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        QVERIFY(dialog.CtrlWasDown());
        QCOMPARE(Items(Combo(dialog)),
                 QStringList({"Bluetooth Serial (COM5:)", "Infrared Port (COM3:)",
                              "Serial Cable on COM1:", "TCP", "(no communication)"}));
        const PortList& ports = dialog.Ports();
        QCOMPARE(ports.Size(), std::size_t{5});
        QVERIFY(ports.deviceNames[3] == u"TCP" && ports.displayNames[3] == u"TCP");
        QVERIFY(ports.deviceNames[4] == u"local" && ports.displayNames[4] == u"(no communication)");
    }

    void choosingTcpShowsTheFieldWithTheSavedAddress() {
        ctrl_ = true;
        StoreString(kValueCommPort, u"COM1:");
        StoreString(kValueTcp, u"gateway.example:5000");
        ConnectionDialog dialog;
        bool hiddenAtFirst = false, shownForTcp = false, hiddenAgain = false;
        QString addressShown;
        const int result = RunDialog(
            dialog,
            [&] {
                QComboBox* combo = Combo(dialog);
                hiddenAtFirst = !Address(dialog)->isVisible() && !AddressLabel(dialog)->isVisible();
                combo->setFocus();
                // The last entry is "(no communication)", the one above it "TCP".
                QTest::keyClick(combo, Qt::Key_End);
                QTest::keyClick(combo, Qt::Key_Up);
                shownForTcp = combo->currentText() == "TCP" && Address(dialog)->isVisible() &&
                              AddressLabel(dialog)->isVisible();
                addressShown = Address(dialog)->text();
                QTest::keyClick(combo, Qt::Key_Home);
                hiddenAgain = !Address(dialog)->isVisible();
                QTest::keyClick(combo, Qt::Key_End);
                QTest::keyClick(combo, Qt::Key_Up);
            },
            IDOK);
        QCOMPARE(result, IDOK);
        QVERIFY(hiddenAtFirst);
        QVERIFY(shownForTcp);
        QCOMPARE(addressShown, QString("gateway.example:5000"));
        QVERIFY(hiddenAgain);
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"TCP"));
        QCOMPARE(StoredString(kValueTcp), std::optional<std::u16string>(u"gateway.example:5000"));
    }

    void tcpSavedOpensWithTheFieldOnlyWhenCtrlIsHeld() {
        StoreString(kValueCommPort, u"TCP");
        StoreString(kValueTcp, u"10.0.0.2:4000");
        {
            ctrl_ = true;
            ConnectionDialog dialog;
            RunDialog(dialog, nullptr, IDCANCEL);
            QCOMPARE(SelectedDevice(dialog), QString("TCP"));
            QVERIFY(!Address(dialog)->isHidden());
            QVERIFY(!AddressLabel(dialog)->isHidden());
            QCOMPARE(Address(dialog)->text(), QString("10.0.0.2:4000"));
        }
        {
            ctrl_ = false;
            ConnectionDialog dialog;
            RunDialog(dialog, nullptr, IDCANCEL);
            QCOMPARE(dialog.SelectedPort(), -1);
            QVERIFY(Address(dialog)->isHidden());
        }
    }

    void choosingNoCommunicationStoresLocal() {
        ctrl_ = true;
        ConnectionDialog dialog;
        RunDialog(
            dialog,
            [&] {
                Combo(dialog)->setFocus();
                QTest::keyClick(Combo(dialog), Qt::Key_End);
            },
            IDOK);
        QCOMPARE(Combo(dialog)->currentText(), QString("(no communication)"));
        QVERIFY(Address(dialog)->isHidden());
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"local"));
    }

    void okWritesTheAddressEvenHiddenAndEmpty() {
        StoreString(kValueTcp, u"old:1");
        ConnectionDialog dialog;
        RunDialog(
            dialog, [&] { Address(dialog)->clear(); }, IDOK);
        QVERIFY(Address(dialog)->isHidden());
        QCOMPARE(StoredString(kValueTcp), std::optional<std::u16string>(u""));
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"COM3:"));
    }

    void okWritesThePortBeforeTheAddress() {
        ConnectionDialog dialog;
        std::vector<SettingWrite> writes;
        RunDialog(
            dialog, [&] { writes = dialog.PendingWrites(); }, IDCANCEL);
        QCOMPARE(writes.size(), std::size_t{2});
        QVERIFY(writes[0] == (SettingWrite{kValueCommPort, false, u"COM3:", 0}));
        QVERIFY(writes[1] == (SettingWrite{kValueTcp, false, u"localhost:4000", 0}));
    }

    void cancelWritesNothing() {
        ctrl_ = true;
        StoreString(kValueCommPort, u"COM1:");
        ConnectionDialog dialog;
        const int result = RunDialog(
            dialog,
            [&] {
                Combo(dialog)->setFocus();
                QTest::keyClick(Combo(dialog), Qt::Key_End);
                Address(dialog)->setText("changed:1");
            },
            IDCANCEL);
        QCOMPARE(result, IDCANCEL);
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"COM1:"));
        QVERIFY(!StoredString(kValueTcp).has_value());
    }

    void theCancelButtonCancelsAndTheOkButtonConfirms() {
        {
            ConnectionDialog dialog;
            QCOMPARE(RunDialog(
                         dialog,
                         [&] {
                             QTest::mouseClick(dialog.ControlAs<QPushButton>(IDCANCEL),
                                               Qt::LeftButton);
                         },
                         0),
                     IDCANCEL);
            QVERIFY(!StoredString(kValueTcp).has_value());
        }
        {
            ConnectionDialog dialog;
            QCOMPARE(
                RunDialog(
                    dialog,
                    [&] { QTest::mouseClick(dialog.ControlAs<QPushButton>(IDOK), Qt::LeftButton); },
                    0),
                IDOK);
            QVERIFY(StoredString(kValueTcp).has_value());
        }
    }

    void aFailedEnumerationLeavesTheListEmptyAndOkWritesOnlyTheAddress() {
        ctrl_ = true;
        portsComplete_ = false;
        StoreString(kValueCommPort, u"COM9:");
        ConnectionDialog dialog;
        QCOMPARE(RunDialog(dialog, nullptr, IDOK), IDOK);
        QCOMPARE(Combo(dialog)->count(), 0);  // the hidden entries are not offered either
        QCOMPARE(dialog.PendingWrites().size(), std::size_t{1});
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"COM9:"));
        QCOMPARE(StoredString(kValueTcp), std::optional<std::u16string>(u"localhost:4000"));
    }

    void noPortsAtAllStillOffersTheHiddenEntries() {
        ctrl_ = true;
        ports_.clear();
        ConnectionDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        QCOMPARE(Items(Combo(dialog)), QStringList({"TCP", "(no communication)"}));
    }

    void whenSeveralEntriesMatchTheLastOneStaysSelected() {
        ports_ = {Port(u"COM3:", u"Zeta"), Port(u"com3:", u"Alpha"), Port(u"COM1:")};
        ConnectionDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        // The last matching entry of the list, wherever sorting put it.
        QCOMPARE(dialog.SelectedPort(), 1);
        QCOMPARE(Combo(dialog)->currentText(), QString("Alpha (com3:)"));
    }

    void aComNameFindsTheDeviceItStandsFor() {
        ports_ = {Port(u"/dev/ttyS0", u"16550A"), Port(u"/dev/ttyS2")};
        ConnectionDialog dialog;
        QCOMPARE(RunDialog(dialog, nullptr, IDOK), IDOK);
        QCOMPARE(SelectedDevice(dialog), QString("/dev/ttyS2"));
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"/dev/ttyS2"));
    }

    void anUnlistedSavedPortSelectsNothingAndOkKeepsIt() {
        StoreString(kValueCommPort, u"/dev/pts/7");
        ConnectionDialog dialog;
        QCOMPARE(RunDialog(dialog, nullptr, IDOK), IDOK);
        QCOMPARE(dialog.SelectedPort(), -1);
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"/dev/pts/7"));
    }

    void captionLabelsAndEmptyMenuBar() {
        ConnectionDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        QCOMPARE(dialog.windowTitle(), QString("Select the active connection"));
        QCOMPARE(dialog.ControlAs<QLabel>(ConnectionDialog::kIdCaption)->text(),
                 QString("Select the active connection"));
        QCOMPARE(dialog.ControlAs<QLabel>(ConnectionDialog::kIdConnectionLabel)->text(),
                 QString("Connection:"));
        QCOMPARE(AddressLabel(dialog)->text(), QString("TCP Address\n(i.e. localhost:port):"));
        QVERIFY(dialog.Bar() != nullptr);
        QVERIFY(dialog.Bar()->findChildren<QWidget*>().isEmpty());
        QVERIFY(!Combo(dialog)->isEditable());
        VerifyCaption(dialog);
    }

    void resizingMovesTheLabelTheComboAndTheCaptionButtons() {
        ConnectionDialog dialog;
        QSize comboSize, labelSize;
        QRect label, combo, ok, cancel;
        const int result = RunDialog(
            dialog,
            [&] {
                comboSize = Combo(dialog)->size();
                labelSize = dialog.Control(ConnectionDialog::kIdConnectionLabel)->size();
                for (const QSize size : {QSize(480, 320), QSize(300, 500)}) {
                    dialog.resize(size);
                    label = dialog.Control(ConnectionDialog::kIdConnectionLabel)->geometry();
                    combo = Combo(dialog)->geometry();
                    ok = dialog.Control(IDOK)->geometry();
                    cancel = dialog.Control(IDCANCEL)->geometry();
                    QCOMPARE(cancel.right(), size.width() - 1 - 4);
                }
            },
            IDCANCEL);
        QCOMPARE(result, IDCANCEL);
        QCOMPARE(label.topLeft(), QPoint(8, 33));
        QCOMPARE(label.size(), labelSize);
        QCOMPARE(combo.topLeft(), QPoint(8, 33 + labelSize.height() + 8));
        QCOMPARE(combo.size(), comboSize);
        QCOMPARE(cancel.top(), 4);
        QCOMPARE(ok.top(), 4);
        QCOMPARE(ok.right(), cancel.left() - 1 - 2);
    }

    void runsAsAPageFillingTheFrame() {
        FrameWindowBase frame;
        frame.resize(360, 560);
        frame.show();
        FrameWindowBase::SetInstance(&frame);
        ConnectionDialog dialog;
        QRect geometry;
        QTimer::singleShot(0, &dialog, [&] {
            geometry = dialog.geometry();
            dialog.SendCommand(IDOK);
        });
        QCOMPARE(dialog.RunPage(nullptr), IDOK);
        FrameWindowBase::SetInstance(nullptr);
        QCOMPARE(geometry, frame.rect());
        QVERIFY(dialog.Bar() != nullptr);
        QCOMPARE(StoredString(kValueCommPort), std::optional<std::u16string>(u"COM3:"));
    }

  private:
    std::unique_ptr<TempSettingsHome> home_;
    std::vector<SerialPort> ports_;
    bool portsComplete_ = true;
    bool ctrl_ = false;
    SerialPortSource previousSource_;
    KeyboardModifierQuery previousQuery_;
};

QTEST_MAIN(ConnectionDialogTest)
#include "connection_dialog_test.moc"
