// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/port_list.h"

#include <QCoreApplication>
#include <QtTest>

namespace {

ActiveDriver Driver(std::optional<std::u16string> name, std::optional<std::u16string> prefix,
                    std::optional<std::u16string> friendly = std::nullopt) {
    return ActiveDriver{std::move(name), std::move(prefix), std::move(friendly)};
}

// Installs a source that reports `drivers` and `complete`, for as long as it lives.
class FakeDrivers {
  public:
    FakeDrivers(std::vector<ActiveDriver> drivers, bool complete = true) {
        previous_ = SetActiveDriverSource([drivers, complete](std::vector<ActiveDriver>& out) {
            out.insert(out.end(), drivers.begin(), drivers.end());
            return complete;
        });
    }
    ~FakeDrivers() { SetActiveDriverSource(previous_); }

  private:
    ActiveDriverSource previous_;
};

QString Q(const std::u16string& s) {
    return QString::fromStdU16String(s);
}

QStringList Q(const std::vector<std::u16string>& list) {
    QStringList out;
    for (const auto& s : list) out << Q(s);
    return out;
}

}  // namespace

class PortListTest : public QObject {
    Q_OBJECT
  private slots:
    void aFriendlyNameThatHoldsTheDeviceNameIsShownAlone() {
        QCOMPARE(Q(PortDisplayName(u"COM1:", u"Serial Cable on COM1:")),
                 QString("Serial Cable on COM1:"));
    }

    void anotherFriendlyNameIsFollowedByTheDeviceInParentheses() {
        QCOMPARE(Q(PortDisplayName(u"COM3:", u"Infrared Port")), QString("Infrared Port (COM3:)"));
        QCOMPARE(Q(PortDisplayName(u"/dev/ttyUSB0", u"FT232R USB UART")),
                 QString("FT232R USB UART (/dev/ttyUSB0)"));
    }

    void theDeviceNameIsSearchedWithItsLetterCase() {
        QCOMPARE(Q(PortDisplayName(u"COM4:", u"Modem on com4:")),
                 QString("Modem on com4: (COM4:)"));
    }

    void withoutAFriendlyNameTheDeviceNameIsShown() {
        QCOMPARE(Q(PortDisplayName(u"COM7:", std::nullopt)), QString("COM7:"));
    }

    void serialDriversAreListedInTheSourcesOrder() {
        FakeDrivers fake({
            Driver(u"COM1:", u"COM", u"Serial Cable on COM1:"),
            Driver(u"COM3:", u"COM", u"Infrared Port"),
            Driver(u"COM7:", u"COM"),
        });
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(Q(ports.deviceNames), QStringList({"COM1:", "COM3:", "COM7:"}));
        QCOMPARE(Q(ports.displayNames),
                 QStringList({"Serial Cable on COM1:", "Infrared Port (COM3:)", "COM7:"}));
    }

    void aPrefixInLowerCaseIsListed() {
        FakeDrivers fake({Driver(u"COM5:", u"com", u"Bluetooth Serial"), Driver(u"COM6:", u"cOm")});
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(Q(ports.deviceNames), QStringList({"COM5:", "COM6:"}));
        QCOMPARE(Q(ports.displayNames), QStringList({"Bluetooth Serial (COM5:)", "COM6:"}));
    }

    void driversWithoutNameOrPrefixOrWithAnotherPrefixAreLeftOut() {
        FakeDrivers fake({
            Driver(std::nullopt, u"COM", u"Nameless"),
            Driver(u"COM9:", std::nullopt, u"No prefix"),
            Driver(u"USB1:", u"USB", u"USB Function"),
            Driver(u"CO2:", u"CO"),
            Driver(u"DSK1:", u"DSK"),
            Driver(u"COM2:", u"COMX", u"Longer prefix"),
        });
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        // Only the first three characters of the prefix count.
        QCOMPARE(Q(ports.deviceNames), QStringList({"COM2:"}));
        QCOMPARE(Q(ports.displayNames), QStringList({"Longer prefix (COM2:)"}));
    }

    void duplicatesStay() {
        FakeDrivers fake({Driver(u"COM3:", u"COM", u"Beta"), Driver(u"COM3:", u"COM", u"Beta")});
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(ports.Size(), std::size_t{2});
        QCOMPARE(Q(ports.displayNames), QStringList({"Beta (COM3:)", "Beta (COM3:)"}));
    }

    void anEmptySourceIsCompleteAndEmptiesTheLists() {
        FakeDrivers fake({});
        PortList ports;
        ports.Append(u"COM1:", u"left over");
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(ports.Size(), std::size_t{0});
        QVERIFY(ports.displayNames.empty());
    }

    void anIncompleteSourceFailsWithBothListsEmpty() {
        FakeDrivers fake({Driver(u"COM3:", u"COM", u"Infrared Port")}, false);
        PortList ports;
        ports.Append(u"COM1:", u"left over");
        QVERIFY(!EnumerateComPorts(ports));
        QVERIFY(ports.deviceNames.empty());
        QVERIFY(ports.displayNames.empty());
    }

    void theRealSourceListsDevicePaths() {
        // Whatever ports this machine has, each one is a device path with a display name that
        // shows it or a description.
        QVERIFY(!SetActiveDriverSource({}));
        std::vector<ActiveDriver> drivers;
        QVERIFY(ListSerialPortDrivers(drivers));
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(ports.Size(), drivers.size());
        for (std::size_t i = 0; i < ports.Size(); ++i) {
            QVERIFY(Q(ports.deviceNames[i]).startsWith("/dev/"));
            QVERIFY(!ports.displayNames[i].empty());
        }
    }

    void savedNamesMatchWithoutRegardToCase() {
        QVERIFY(PortNamesMatch(u"com3:", u"COM3:"));
        QVERIFY(PortNamesMatch(u"COM3:", u"com3:"));
        QVERIFY(PortNamesMatch(u"/dev/ttyusb0", u"/dev/ttyUSB0"));
        QVERIFY(!PortNamesMatch(u"COM3:", u"COM13:"));
        QVERIFY(!PortNamesMatch(u"local", u"COM3:"));
        QVERIFY(!PortNamesMatch(u"", u"COM3:"));
        QVERIFY(PortNamesMatch(u"TCP", u"tcp"));
    }

    void aComNameMatchesTheDeviceItStandsFor() {
        QVERIFY(PortNamesMatch(u"COM3:", u"/dev/ttyS2"));
        QVERIFY(PortNamesMatch(u"com1", u"/dev/ttyS0"));
        QVERIFY(!PortNamesMatch(u"COM3:", u"/dev/ttyS3"));
        QVERIFY(!PortNamesMatch(u"COM3:", u"/dev/ttyUSB2"));
        QVERIFY(!PortNamesMatch(u"COM0:", u"/dev/ttyS0"));
    }
};

QTEST_GUILESS_MAIN(PortListTest)
#include "port_list_test.moc"
