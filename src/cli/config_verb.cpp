// SPDX-License-Identifier: GPL-3.0-or-later
// velkan config list | get NAME | set NAME VALUE
//
// The settings from the command line. `list` prints every value as NAME=VALUE, `get` prints
// one value as the program reads it (its default when it is absent or of the wrong type), and
// `set` writes one: SMSCCustom, StatusReq, Flash, DelMsg, Unicode and LongSms as numbers, the
// others as text (the service centre normalised, as the preferences dialog stores it, and
// refused when no message could be sent through it, e.g. more than 20 digits). Names are matched
// without regard to case. Exit status: 0 done, 1 the settings could not be written, 2 bad arguments
// (an unknown name among them).
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/verbs.h"
#include "common/text_convert.h"
#include "message_ui/text_helpers.h"
#include "pdu/submit_check.h"
#include "resources/translations.h"
#include "settings/settings_key.h"

namespace {

constexpr const char* kVerb = "config";

const SettingInfo* Lookup(const char* name) {
    const std::u16string wanted = Utf8ToUtf16(name);
    for (std::size_t i = 0; i < kSettingCount; ++i) {
        const std::u16string known = kSettings[i].name;
        if (known.size() != wanted.size()) continue;
        bool same = true;
        for (std::size_t k = 0; k < known.size() && same; ++k) {
            char16_t a = known[k], b = wanted[k];
            if (a >= u'A' && a <= u'Z') a = static_cast<char16_t>(a - u'A' + u'a');
            if (b >= u'A' && b <= u'Z') b = static_cast<char16_t>(b - u'A' + u'a');
            same = a == b;
        }
        if (same) return &kSettings[i];
    }
    return nullptr;
}

int UnknownName(const char* name) {
    std::string known;
    for (std::size_t i = 0; i < kSettingCount; ++i) {
        if (!known.empty()) known += ", ";
        known += Utf16ToUtf8(kSettings[i].name);
    }
    return UsageError(kVerb, Translate("velkan", "unknown setting '%1' (known: %2)")
                                 .arg(QString::fromUtf8(name), QString::fromStdString(known)));
}

std::string ValueText(RegistryKey& key, const SettingInfo& setting) {
    if (setting.type == SettingType::kDword) return std::to_string(ReadSettingDword(key, setting));
    return Utf16ToUtf8(ReadSettingString(key, setting));
}

// Says so when opening the settings found lines it could not read and kept the file aside.
void ReportDamagedCopy(const RegistryKey& key) {
    if (key.DamagedCopy().empty()) return;
    Say(Translate("velkan",
                  "the settings file had lines that could not be read; they were left out, and "
                  "the file as it was is kept as %1")
            .arg(QString::fromStdString(key.DamagedCopy())));
}

// Opens the settings for reading; without them every value reads as its default.
void OpenForReading(RegistryKey& key) {
    if (!OpenSettings(key)) {
        Say(Translate("velkan", "the settings cannot be opened; showing the defaults"));
    }
    ReportDamagedCopy(key);
}

bool ParseDword(const char* text, std::uint32_t* value) {
    if (*text == 0) return false;
    std::uint64_t v = 0;
    for (const char* p = text; *p; ++p) {
        if (*p < '0' || *p > '9') return false;
        v = v * 10 + static_cast<std::uint64_t>(*p - '0');
        if (v > 0xFFFFFFFFu) return false;
    }
    *value = static_cast<std::uint32_t>(v);
    return true;
}

int Set(const SettingInfo& setting, const char* valueText) {
    std::uint32_t number = 0;
    std::u16string text = Utf8ToUtf16(valueText);
    const std::string name = Utf16ToUtf8(setting.name);
    if (setting.type == SettingType::kDword && !ParseDword(valueText, &number)) {
        return UsageError(kVerb, Translate("velkan", "%1 takes a number (0 = off, 1 = on)")
                                     .arg(QString::fromStdString(name)));
    }
    if (std::u16string_view(setting.name) == kValueSmsc) {
        // Normalised as the preferences dialog stores it, and kept only if a message can be
        // sent through it: a centre that the encoder refuses would fail every send.
        NormalizePhoneNumber(text);
        std::string reason;
        if (ValidateServiceCentre(text, &reason) != kErrNone) {
            return UsageError(
                kVerb, Translate("velkan", "%1 is not set: %2")
                           .arg(QString::fromStdString(name), QString::fromStdString(reason)));
        }
    }
    RegistryKey key;
    if (!OpenSettings(key)) {
        Say(Translate("velkan", "the settings cannot be opened for writing"));
        return 1;
    }
    ReportDamagedCopy(key);
    std::uint32_t result;
    const std::u16string n = setting.name;
    if (setting.type == SettingType::kDword) {
        result = key.WriteDword(n, number);
    } else if (n == kValueSmsc) {
        result = SetSmsc(key, text);
    } else if (n == kValueCommPort) {
        result = SetCommPort(key, text);
    } else if (n == kValueTcp) {
        result = SetTcpAddress(key, text);
    } else if (n == kValueExe) {
        result = SetExePath(key, text);
    } else {
        result = key.WriteString(n, text);
    }
    if (result != kRegSuccess) {
        Say(Translate("velkan", "%1 could not be written to %2")
                .arg(QString::fromStdString(name), QString::fromStdString(key.Location())));
        return 1;
    }
    return 0;
}

}  // namespace

int RunConfigVerb(int argc, char** argv) {
    if (argc < 2)
        return UsageError(kVerb, Translate("velkan", "list, get NAME or set NAME VALUE?"));
    const char* action = argv[1];
    if (std::strcmp(action, "list") == 0) {
        if (argc != 2) return UsageError(kVerb, Translate("velkan", "list takes no arguments"));
        RegistryKey key;
        OpenForReading(key);
        for (std::size_t i = 0; i < kSettingCount; ++i) {
            std::printf("%s=%s\n", Utf16ToUtf8(kSettings[i].name).c_str(),
                        ValueText(key, kSettings[i]).c_str());
        }
        return 0;
    }
    if (std::strcmp(action, "get") == 0) {
        if (argc != 3) return UsageError(kVerb, Translate("velkan", "get takes one NAME"));
        const SettingInfo* setting = Lookup(argv[2]);
        if (setting == nullptr) return UnknownName(argv[2]);
        RegistryKey key;
        OpenForReading(key);
        std::printf("%s\n", ValueText(key, *setting).c_str());
        return 0;
    }
    if (std::strcmp(action, "set") == 0) {
        if (argc != 4)
            return UsageError(kVerb, Translate("velkan", "set takes a NAME and a VALUE"));
        const SettingInfo* setting = Lookup(argv[2]);
        if (setting == nullptr) return UnknownName(argv[2]);
        return Set(*setting, argv[3]);
    }
    return UsageError(kVerb, Translate("velkan", "unknown action '%1': list, get or set")
                                 .arg(QString::fromUtf8(action)));
}
