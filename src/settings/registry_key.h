// SPDX-License-Identifier: GPL-3.0-or-later
// RegistryKey: one open settings key, read and written value by value.
//
// A key path "Software\<Organisation>\<Application>[\<Group>...]" maps to the QSettings of that
// organisation and application, inside the group made of the remaining parts. Outside Windows
// the values live in an INI file, "<config home>/<Organisation>/<Application>.ini" (config
// home: $XDG_CONFIG_HOME, else ~/.config; /etc/xdg for the machine root), created with mode
// 0600 in a folder created with mode 0700. On Windows they are the registry key itself.
//
// Nothing is cached: every read first takes the file's current contents, every write is
// written out before the call returns. An INI file keeps no value types, so a DWORD is read
// from a plain decimal number; anything else where a number belongs reads as the default.
// Lines of the file that cannot be read are skipped; the file as it was is then kept as
// "<file>.damaged" (DamagedCopy) and the good values are written back.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QSettings;

enum class RegistryRoot { kCurrentUser, kLocalMachine };

// Results, in the platform's numbering.
constexpr std::uint32_t kRegSuccess = 0;
constexpr std::uint32_t kRegFileNotFound = 2;   // no such value
constexpr std::uint32_t kRegAccessDenied = 5;   // the file could not be written
constexpr std::uint32_t kRegInvalidHandle = 6;  // the key is not open
constexpr std::uint32_t kRegMoreData = 234;     // the value is larger than the buffer
constexpr std::uint32_t kRegNoMoreItems = 259;
constexpr std::uint32_t kRegBadKey = 1010;    // the value has another type
constexpr std::uint32_t kRegWriteFault = 29;  // the settings file is unusable

constexpr std::uint32_t kKeyAllAccess = 0xF003F;

class RegistryKey {
  public:
    RegistryKey();
    ~RegistryKey();
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    // Closes any open key, then opens `path` under `root`; when it does not exist and `create`
    // is set, creates it. False when both fail (or when it does not exist and `create` is
    // clear). `access` is accepted for the callers' sake; every open key is readable and
    // writable.
    bool Open(RegistryRoot root, std::u16string_view path, std::uint32_t access, bool create);
    bool IsOpen() const { return settings_ != nullptr; }
    // 0, also when nothing is open.
    std::uint32_t Close();

    // On success `dest` holds the text and the result points to it; on any failure (no such
    // value, another type) `dest` holds `defaultValue` (empty when null) and the result is
    // `defaultValue`, so a null default tells an absent value from a present one.
    const char16_t* ReadString(std::u16string_view name, std::u16string& dest,
                               const char16_t* defaultValue);
    // The stored number, or `defaultValue` when absent or not a 32-bit number.
    std::uint32_t ReadDword(std::u16string_view name, std::uint32_t defaultValue);
    // Binary data of at most `size` bytes into `buffer`; 0 or an error code.
    std::uint32_t ReadBinary(std::u16string_view name, void* buffer, std::uint32_t size);
    // Appends the names of the key's sub-keys; 0 when it ran to the end, else the error that
    // stopped it (a name of 64 characters or more stops it with kRegMoreData).
    std::uint32_t EnumerateSubkeys(std::vector<std::u16string>& names);

    std::uint32_t WriteString(std::u16string_view name, std::u16string_view text);
    std::uint32_t WriteDword(std::u16string_view name, std::uint32_t value);

    // Where the values are kept (the INI file, or the registry path on Windows).
    std::string Location() const;
    // When the last Open found lines it could not read in the INI file: the copy of the file
    // as it was, kept beside it before the good values were written back; else empty.
    const std::string& DamagedCopy() const { return damagedCopy_; }

  private:
    std::unique_ptr<QSettings> settings_;
    std::string damagedCopy_;
};
