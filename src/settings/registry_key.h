// SPDX-License-Identifier: GPL-3.0-or-later
// RegistryKey: one open settings key, read and written value by value.
//
// A key path "Software\<Organisation>\<Application>[\<Group>...]" maps to the QSettings of that
// organisation and application, inside the group made of the remaining parts; the key belongs to
// the current user. Outside Windows the values live in an INI file,
// "<config home>/<Organisation>/<Application>.ini" (config home: $XDG_CONFIG_HOME, else
// ~/.config), created with mode 0600 in a folder created with mode 0700. On Windows they are the
// registry key itself.
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

class QSettings;

// Results of the writes, in the platform's numbering.
constexpr std::uint32_t kRegSuccess = 0;
constexpr std::uint32_t kRegAccessDenied = 5;   // the file could not be written
constexpr std::uint32_t kRegInvalidHandle = 6;  // the key is not open

class RegistryKey {
  public:
    RegistryKey();
    ~RegistryKey();
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    // Closes any open key, then opens `path`; when it does not exist and `create` is set,
    // creates it. False when both fail (or when it does not exist and `create` is clear). An
    // open key is readable and writable.
    bool Open(std::u16string_view path, bool create);
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
