// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/settings_key.h"

const SettingInfo kSettings[] = {
    {kValueCommPort, SettingType::kString, kDefaultCommPort, 0},
    {kValueTcp, SettingType::kString, kDefaultTcpAddress, 0},
    {kValueSmsc, SettingType::kString, u"", 0},
    {kValueSmscCustom, SettingType::kDword, nullptr, 0},
    {kValueStatusReq, SettingType::kDword, nullptr, 0},
    {kValueFlash, SettingType::kDword, nullptr, 0},
    {kValueDelMsg, SettingType::kDword, nullptr, 0},
    {kValueUnicode, SettingType::kDword, nullptr, 0},
    {kValueLongSms, SettingType::kDword, nullptr, 0},
    {kValueExe, SettingType::kString, nullptr, 0},
};
const std::size_t kSettingCount = sizeof kSettings / sizeof kSettings[0];

const SettingInfo* FindSetting(std::u16string_view name) {
    for (std::size_t i = 0; i < kSettingCount; ++i) {
        if (name == kSettings[i].name) return &kSettings[i];
    }
    return nullptr;
}

bool OpenSettings(RegistryKey& key) {
    return key.Open(kSettingsKeyPath, true);
}

std::u16string ReadSettingString(RegistryKey& key, const SettingInfo& setting) {
    std::u16string text;
    key.ReadString(setting.name, text, setting.defaultText);
    return text;
}

std::uint32_t ReadSettingDword(RegistryKey& key, const SettingInfo& setting) {
    return key.ReadDword(setting.name, setting.defaultNumber);
}

std::u16string ReadSettingString(RegistryKey& key, std::u16string_view name) {
    const SettingInfo* setting = FindSetting(name);
    return setting != nullptr ? ReadSettingString(key, *setting) : std::u16string();
}

std::uint32_t ReadSettingDword(RegistryKey& key, std::u16string_view name) {
    const SettingInfo* setting = FindSetting(name);
    return setting != nullptr ? ReadSettingDword(key, *setting) : 0;
}

bool ReadSettingFlag(RegistryKey& key, std::u16string_view name) {
    return ReadSettingDword(key, name) != 0;
}

std::uint32_t SetCommPort(RegistryKey& key, std::u16string_view text) {
    return key.WriteString(kValueCommPort, text);
}

std::uint32_t SetTcpAddress(RegistryKey& key, std::u16string_view text) {
    return key.WriteString(kValueTcp, text);
}

std::uint32_t SetSmsc(RegistryKey& key, std::u16string_view text) {
    return key.WriteString(kValueSmsc, text);
}

std::uint32_t SetExePath(RegistryKey& key, std::u16string_view text) {
    return key.WriteString(kValueExe, text.substr(0, kMaxExePath));
}

std::uint32_t WriteSettingFlag(RegistryKey& key, std::u16string_view name, bool set) {
    return key.WriteDword(name, set ? 1 : 0);
}

std::u16string ReadConnectionString(RegistryKey& key) {
    std::u16string port = ReadSettingString(key, kValueCommPort);
    if (port == kCommPortTcp) port = kTcpPrefix + ReadSettingString(key, kValueTcp);
    return port;
}

bool IsNoCommunication(std::u16string_view connection) {
    return connection == kLocalConnection ||
           connection == std::u16string(kTcpPrefix) + kLocalConnection;
}
