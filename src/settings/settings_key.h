// SPDX-License-Identifier: GPL-3.0-or-later
// The settings key and its values.
//
// Every user opens the key when it needs a value (OpenSettings), reads it, and lets the
// RegistryKey go; nothing is kept in memory between uses, so a change is seen by the next
// reader without any notification.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "settings/registry_key.h"

inline constexpr char16_t kSettingsKeyPath[] = u"Software\\Orvane Systems\\Velkan Tessiver\\1.0";

// Value names.
inline constexpr char16_t kValueCommPort[] = u"CommPort";
inline constexpr char16_t kValueTcp[] = u"TCP";
inline constexpr char16_t kValueSmsc[] = u"SMSC";
inline constexpr char16_t kValueSmscCustom[] = u"SMSCCustom";
inline constexpr char16_t kValueStatusReq[] = u"StatusReq";
inline constexpr char16_t kValueFlash[] = u"Flash";
inline constexpr char16_t kValueDelMsg[] = u"DelMsg";
inline constexpr char16_t kValueUnicode[] = u"Unicode";
inline constexpr char16_t kValueLongSms[] = u"LongSms";
inline constexpr char16_t kValueExe[] = u"Exe";

inline constexpr char16_t kDefaultCommPort[] = u"COM3:";
inline constexpr char16_t kDefaultTcpAddress[] = u"localhost:4000";
// CommPort value that selects the TCP address, and the prefix of a TCP connection string.
inline constexpr char16_t kCommPortTcp[] = u"TCP";
inline constexpr char16_t kTcpPrefix[] = u"TCP:";
// "No communication": as CommPort, or as the whole TCP address.
inline constexpr char16_t kLocalConnection[] = u"local";

constexpr std::size_t kMaxExePath = 260;

enum class SettingType { kString, kDword };

struct SettingInfo {
    const char16_t* name;
    SettingType type;
    const char16_t* defaultText;  // kString: null when the value has no default
    std::uint32_t defaultNumber;  // kDword
};

// Every value of the key, in the order of the settings table.
extern const SettingInfo kSettings[];
extern const std::size_t kSettingCount;

// The value of that exact name, or null.
const SettingInfo* FindSetting(std::u16string_view name);

// Opens (creating when needed) the settings key; true when it is open.
bool OpenSettings(RegistryKey& key);

// The value as the program reads it: the stored one, or its default when it is absent or of
// the wrong type. For a value without default the text is empty.
std::u16string ReadSettingString(RegistryKey& key, const SettingInfo& setting);
std::uint32_t ReadSettingDword(RegistryKey& key, const SettingInfo& setting);
// By name, for values of the table (a name outside it reads as empty, or 0).
std::u16string ReadSettingString(RegistryKey& key, std::u16string_view name);
std::uint32_t ReadSettingDword(RegistryKey& key, std::u16string_view name);
// Boolean values: any non-zero number is set.
bool ReadSettingFlag(RegistryKey& key, std::u16string_view name);

std::uint32_t SetCommPort(RegistryKey& key, std::u16string_view text);
std::uint32_t SetTcpAddress(RegistryKey& key, std::u16string_view text);
// The service centre is stored as given; callers normalise it first.
std::uint32_t SetSmsc(RegistryKey& key, std::u16string_view text);
std::uint32_t SetExePath(RegistryKey& key, std::u16string_view text);
// Boolean values are always written as exactly 0 or 1.
std::uint32_t WriteSettingFlag(RegistryKey& key, std::u16string_view name, bool set);

// The connection a transfer uses: CommPort, except that a CommPort of exactly "TCP" becomes
// "TCP:" followed by the TCP address (defaults "COM3:" and "localhost:4000").
std::u16string ReadConnectionString(RegistryKey& key);
// "local" and "TCP:local" (case-sensitive) mean that no phone is contacted.
bool IsNoCommunication(std::u16string_view connection);
