// SPDX-License-Identifier: GPL-3.0-or-later
// The serial ports that the connection dialog offers.
//
// The ports come from a driver source: one record per active driver, with the facts the system
// reports about it (device name, device prefix, friendly name). EnumerateComPorts keeps the
// serial ones (prefix "COM", in any letter case) and turns each into a pair of the device name,
// which is what the settings store keeps, and the display name that the user picks from.
//
// The real source asks QSerialPortInfo, which lists serial devices only: each port becomes a
// driver with the prefix "COM", its device path ("/dev/ttyUSB0") as device name, and its
// description (or, without one, its manufacturer) as friendly name. Tests and tools replace it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One active driver. A field that the system does not report is left empty (nullopt).
struct ActiveDriver {
    std::optional<std::u16string> name;          // device name: "COM3:", "/dev/ttyUSB0"
    std::optional<std::u16string> prefix;        // device prefix of its driver: "COM" for serial
    std::optional<std::u16string> friendlyName;  // "Infrared Port", "FT232R USB UART"
};

// Appends the active drivers in the order the system reports them; false when the list could
// not be read to its end.
using ActiveDriverSource = std::function<bool(std::vector<ActiveDriver>& drivers)>;

// Replaces the source (an empty function restores the real one); returns the previous one
// (empty while the real one is in use).
ActiveDriverSource SetActiveDriverSource(ActiveDriverSource source);

// The real source: the serial ports QSerialPortInfo reports.
bool ListSerialPortDrivers(std::vector<ActiveDriver>& drivers);

// Two parallel lists, in the order of the driver source.
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

// Empties `ports`, then fills it with the serial ports of the driver source. Drivers without a
// device name, without a prefix or with a prefix other than "COM" are left out; duplicates stay.
// True when the source could be read to its end (also when it held no serial port).
bool EnumerateComPorts(PortList& ports);

// True when the saved CommPort value names the port with device name `deviceName`: the same
// name regardless of letter case, or a "COMn:" name for the device it stands for on this system
// ("COM3:" is /dev/ttyS2).
bool PortNamesMatch(std::u16string_view saved, std::u16string_view deviceName);
