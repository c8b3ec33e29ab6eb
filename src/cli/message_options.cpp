// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/message_options.h"

#include <cstring>
#include <string>

#include "cli/verbs.h"
#include "resources/translations.h"
#include "settings/settings_key.h"

OptionTaken TakeMessageOption(const char* verb, int argc, char** argv, int* i,
                              MessageOptions* options) {
    const char* a = argv[*i];
    if (std::strcmp(a, "--flash") == 0) {
        options->flash = 1;
        return OptionTaken::kYes;
    }
    if (std::strcmp(a, "--no-flash") == 0) {
        options->flash = 0;
        return OptionTaken::kYes;
    }
    const char** value = std::strcmp(a, "--to") == 0     ? &options->to
                         : std::strcmp(a, "--text") == 0 ? &options->text
                         : std::strcmp(a, "--name") == 0 ? &options->name
                                                         : nullptr;
    if (value == nullptr) return OptionTaken::kNo;
    if (*i + 1 >= argc) {
        UsageError(verb, Translate("velkan", "%1 needs a value").arg(QString::fromLocal8Bit(a)));
        return OptionTaken::kUsageError;
    }
    *value = argv[++*i];
    return OptionTaken::kYes;
}

bool FlashOf(const MessageOptions& options) {
    if (options.flash >= 0) return options.flash != 0;
    RegistryKey key;
    return OpenSettings(key) && ReadSettingFlag(key, kValueFlash);
}
