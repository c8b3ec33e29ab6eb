// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/port_list.h"

#include <QCoreApplication>
#include <QSerialPortInfo>
#include <QtTest>

namespace {

SerialPort Port(std::u16string name, std::optional<std::u16string> friendly = std::nullopt) {
    return SerialPort{std::move(name), std::move(friendly)};
}

// Installs a source that reports `ports` and `complete`, for as long as it lives.
class FakePorts {
  public:
    FakePorts(std::vector<SerialPort> ports, bool complete = true) {
        previous_ = SetSerialPortSource([ports, complete](std::vector<SerialPort>& out) {
            out.insert(out.end(), ports.begin(), ports.end());
            return complete;
        });
    }
    ~FakePorts() { SetSerialPortSource(previous_); }

  private:
    SerialPortSource previous_;
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

    void serialPortsAreListedInTheSourcesOrder() {
        FakePorts fake({
            Port(u"COM1:", u"Serial Cable on COM1:"),
            Port(u"COM3:", u"Infrared Port"),
            Port(u"COM7:"),
        });
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(Q(ports.deviceNames), QStringList({"COM1:", "COM3:", "COM7:"}));
        QCOMPARE(Q(ports.displayNames),
                 QStringList({"Serial Cable on COM1:", "Infrared Port (COM3:)", "COM7:"}));
    }

    void duplicatesStay() {
        FakePorts fake({Port(u"COM3:", u"Beta"), Port(u"COM3:", u"Beta")});
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(ports.Size(), std::size_t{2});
        QCOMPARE(Q(ports.displayNames), QStringList({"Beta (COM3:)", "Beta (COM3:)"}));
    }

    void anEmptySourceIsCompleteAndEmptiesTheLists() {
        FakePorts fake({});
        PortList ports;
        ports.Append(u"COM1:", u"left over");
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(ports.Size(), std::size_t{0});
        QVERIFY(ports.displayNames.empty());
    }

    void anIncompleteSourceFailsWithBothListsEmpty() {
        FakePorts fake({Port(u"COM3:", u"Infrared Port")}, false);
        PortList ports;
        ports.Append(u"COM1:", u"left over");
        QVERIFY(!EnumerateComPorts(ports));
        QVERIFY(ports.deviceNames.empty());
        QVERIFY(ports.displayNames.empty());
    }

    void theRealSourceListsDevicePaths() {
        // Whatever ports this machine has, each one is a device path with a display name that
        // shows it or a description.
        QVERIFY(!SetSerialPortSource({}));
        std::vector<SerialPort> system;
        QVERIFY(ListSystemSerialPorts(system));
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(ports.Size(), system.size());
        for (std::size_t i = 0; i < ports.Size(); ++i) {
            QVERIFY(Q(ports.deviceNames[i]).startsWith("/dev/"));
            QVERIFY(!ports.displayNames[i].empty());
        }
    }

    void theSystemListIsQSerialPortInfosInItsOrder() {
        QVERIFY(!SetSerialPortSource({}));
        QStringList devices, displays;
        for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
            const QString device = info.systemLocation();
            if (device.isEmpty()) continue;
            const QString friendly =
                info.description().isEmpty() ? info.manufacturer() : info.description();
            devices << device;
            if (friendly.isEmpty()) {
                displays << device;
            } else if (friendly.contains(device)) {
                displays << friendly;
            } else {
                displays << friendly + " (" + device + ")";
            }
        }
        PortList ports;
        QVERIFY(EnumerateComPorts(ports));
        QCOMPARE(Q(ports.deviceNames), devices);
        QCOMPARE(Q(ports.displayNames), displays);
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
