// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/port_list.h"

#include <QSerialPortInfo>
#include <QString>

#include "phonelink/serial_transport.h"

namespace {

SerialPortSource& Source() {
    static SerialPortSource source;
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

SerialPortSource SetSerialPortSource(SerialPortSource source) {
    SerialPortSource previous = std::move(Source());
    Source() = std::move(source);
    return previous;
}

bool ListSystemSerialPorts(std::vector<SerialPort>& ports) {
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
        const QString location = info.systemLocation();
        if (location.isEmpty()) continue;
        SerialPort port;
        port.deviceName = location.toStdU16String();
        QString friendly = info.description();
        if (friendly.isEmpty()) friendly = info.manufacturer();
        if (!friendly.isEmpty()) port.friendlyName = friendly.toStdU16String();
        ports.push_back(std::move(port));
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
    std::vector<SerialPort> found;
    const bool complete = Source() ? Source()(found) : ListSystemSerialPorts(found);
    if (!complete) return false;
    for (const SerialPort& port : found) {
        ports.Append(port.deviceName, PortDisplayName(port.deviceName, port.friendlyName));
    }
    return true;
}

bool PortNamesMatch(std::u16string_view saved, std::u16string_view deviceName) {
    if (EqualIgnoringCase(saved, deviceName)) return true;
    // A port saved by its old name still finds the device that name stands for.
    const std::string savedPath = DevicePath(saved);
    return !savedPath.empty() && savedPath == DevicePath(deviceName);
}
