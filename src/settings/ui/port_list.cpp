// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/port_list.h"

#include <QSerialPortInfo>
#include <QString>

#include "phonelink/serial_transport.h"

namespace {

ActiveDriverSource& Source() {
    static ActiveDriverSource source;
    return source;
}

char16_t Upper(char16_t c) {
    return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
}

bool EqualIgnoringCase(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (Upper(a[i]) != Upper(b[i])) return false;
    }
    return true;
}

bool IsSerialPrefix(const std::optional<std::u16string>& prefix) {
    return prefix.has_value() && prefix->size() >= 3 &&
           EqualIgnoringCase(std::u16string_view(*prefix).substr(0, 3), u"COM");
}

// The device path a port name stands for, or empty when it names no serial device.
std::string DevicePath(std::u16string_view name) {
    std::string narrow;
    narrow.reserve(name.size());
    for (char16_t c : name) {
        if (c == 0 || c > 0x7E) return {};
        narrow.push_back(static_cast<char>(c));
    }
    char path[64];
    if (!SerialDevicePath(narrow.c_str(), path, sizeof path)) return {};
    return path;
}

}  // namespace

ActiveDriverSource SetActiveDriverSource(ActiveDriverSource source) {
    ActiveDriverSource previous = std::move(Source());
    Source() = std::move(source);
    return previous;
}

bool ListSerialPortDrivers(std::vector<ActiveDriver>& drivers) {
    const QList<QSerialPortInfo> ports = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo& port : ports) {
        ActiveDriver driver;
        const QString location = port.systemLocation();
        if (!location.isEmpty()) driver.name = location.toStdU16String();
        // Every port the system lists here is a serial device.
        driver.prefix = u"COM";
        QString friendly = port.description();
        if (friendly.isEmpty()) friendly = port.manufacturer();
        if (!friendly.isEmpty()) driver.friendlyName = friendly.toStdU16String();
        drivers.push_back(std::move(driver));
    }
    return true;
}

void PortList::Clear() {
    deviceNames.clear();
    displayNames.clear();
}

void PortList::Append(std::u16string_view deviceName, std::u16string_view displayName) {
    deviceNames.emplace_back(deviceName);
    displayNames.emplace_back(displayName);
}

std::u16string PortDisplayName(std::u16string_view deviceName,
                               const std::optional<std::u16string>& friendlyName) {
    if (!friendlyName.has_value()) return std::u16string(deviceName);
    if (friendlyName->find(deviceName) != std::u16string::npos) return *friendlyName;
    std::u16string display = *friendlyName;
    display += u" (";
    display += deviceName;
    display += u')';
    return display;
}

bool EnumerateComPorts(PortList& ports) {
    ports.Clear();
    std::vector<ActiveDriver> drivers;
    const bool complete = Source() ? Source()(drivers) : ListSerialPortDrivers(drivers);
    if (!complete) return false;
    for (const ActiveDriver& driver : drivers) {
        if (!driver.name.has_value() || !IsSerialPrefix(driver.prefix)) continue;
        ports.Append(*driver.name, PortDisplayName(*driver.name, driver.friendlyName));
    }
    return true;
}

bool PortNamesMatch(std::u16string_view saved, std::u16string_view deviceName) {
    if (EqualIgnoringCase(saved, deviceName)) return true;
    // A port saved by its old name still finds the device that name stands for.
    const std::string savedPath = DevicePath(saved);
    return !savedPath.empty() && savedPath == DevicePath(deviceName);
}
