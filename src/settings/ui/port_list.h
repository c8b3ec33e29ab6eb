// SPDX-License-Identifier: GPL-3.0-or-later
// The serial ports that the connection dialog offers.
//
// The ports are the serial devices the system reports (QSerialPortInfo), in its order: each one
// becomes a pair of its device path ("/dev/ttyUSB0"), which is what the settings store keeps,
// and a display name that the user picks from, made of its description (or, without one, its
// manufacturer) and the device path. Tests replace the system's list with one of their own.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One serial port as the system reports it.
struct SerialPort {
    std::u16string deviceName;                   // "/dev/ttyUSB0", "COM3:"
    std::optional<std::u16string> friendlyName;  // "FT232R USB UART", "Infrared Port"
};

// Appends the serial ports in the order the system reports them; false when the list could not
// be read to its end.
using SerialPortSource = std::function<bool(std::vector<SerialPort>& ports)>;

// Replaces the source (an empty function restores the system's list); returns the previous one
// (empty while the system's list is in use).
SerialPortSource SetSerialPortSource(SerialPortSource source);

// The system's list: QSerialPortInfo::availablePorts(), each port by its system location and
// its description or manufacturer. A port without a location is left out. Always complete.
bool ListSystemSerialPorts(std::vector<SerialPort>& ports);

// Two parallel lists, in the order of the source.
struct PortList {
    std::vector<std::u16string> deviceNames;   // stored as CommPort when chosen
    std::vector<std::u16string> displayNames;  // shown in the combo box

    std::size_t Size() const { return deviceNames.size(); }
    void Clear();
    void Append(std::u16string_view deviceName, std::u16string_view displayName);
};

// The display name of a port: the device name when there is no friendly name; the friendly name
// as it is when it already contains the device name (case-sensitive); otherwise the friendly
// name, " (", the device name and ")".
std::u16string PortDisplayName(std::u16string_view deviceName,
                               const std::optional<std::u16string>& friendlyName);

// Empties `ports`, then fills it with the serial ports of the source; duplicates stay. True when
// the source could be read to its end (also when it held no port).
bool EnumerateComPorts(PortList& ports);

// True when the saved CommPort value names the port with device name `deviceName`: the same
// name regardless of letter case, or a "COMn:" name for the device it stands for on this system
// ("COM3:" is /dev/ttyS2).
bool PortNamesMatch(std::u16string_view saved, std::u16string_view deviceName);
