// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/transfer_settings_reader.h"

#include "settings/settings_key.h"

bool ReadTransferSettings(TransferSettings* settings) {
    RegistryKey key;
    if (!OpenSettings(key)) return false;
    settings->portName = ReadConnectionString(key);
    settings->noCommunication = IsNoCommunication(settings->portName);
    settings->deleteAfterRetrieve = ReadSettingFlag(key, kValueDelMsg);
    settings->serviceCentre.clear();
    if (ReadSettingFlag(key, kValueSmscCustom)) {
        settings->serviceCentre = ReadSettingString(key, kValueSmsc);
    }
    settings->statusReport = ReadSettingFlag(key, kValueStatusReq);
    settings->unicode = ReadSettingFlag(key, kValueUnicode);
    settings->longSms = ReadSettingFlag(key, kValueLongSms);
    return true;
}
