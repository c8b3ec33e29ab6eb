// Shared by the settings dialog tests: a private settings home per test, and a way to run a
// dialog, act on it while it runs, and end it with a command.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "settings/registry_key.h"
#include "settings/settings_key.h"
#include "settings/ui/caption_dialog.h"

// Points XDG_CONFIG_HOME at a fresh folder for as long as it lives.
class TempSettingsHome {
public:
    TempSettingsHome() : old_(qgetenv("XDG_CONFIG_HOME")), hadOld_(qEnvironmentVariableIsSet("XDG_CONFIG_HOME")) {
        qputenv("XDG_CONFIG_HOME", dir_.path().toLocal8Bit());
    }
    ~TempSettingsHome() {
        if (hadOld_) {
            qputenv("XDG_CONFIG_HOME", old_);
        } else {
            qunsetenv("XDG_CONFIG_HOME");
        }
    }
    bool IsValid() const { return dir_.isValid(); }
    QString Path() const { return dir_.path(); }
    QString SettingsFile() const { return dir_.path() + "/Orvane Systems/Velkan Tessiver.ini"; }

private:
    QTemporaryDir dir_;
    QByteArray old_;
    bool hadOld_;
};

// Reads a stored string; nullopt when the value is absent.
inline std::optional<std::u16string> StoredString(const char16_t* name) {
    RegistryKey key;
    if (!OpenSettings(key)) return std::nullopt;
    std::u16string text;
    if (key.ReadString(name, text, nullptr) == nullptr) return std::nullopt;
    return text;
}

// Reads a stored number; nullopt when the value is absent or not a number.
inline std::optional<std::uint32_t> StoredNumber(const char16_t* name) {
    RegistryKey key;
    if (!OpenSettings(key)) return std::nullopt;
    const std::uint32_t a = key.ReadDword(name, 0);
    const std::uint32_t b = key.ReadDword(name, 1);
    if (a != b) return std::nullopt;
    return a;
}

inline void StoreString(const char16_t* name, std::u16string_view text) {
    RegistryKey key;
    QVERIFY(OpenSettings(key));
    QCOMPARE(key.WriteString(name, text), kRegSuccess);
}

inline void StoreNumber(const char16_t* name, std::uint32_t value) {
    RegistryKey key;
    QVERIFY(OpenSettings(key));
    QCOMPARE(key.WriteDword(name, value), kRegSuccess);
}

// Runs `dialog` modally; once it shows, calls `during`, then ends it with `command` (as if the
// user pressed that button) unless `during` ended it already. Returns the runner's result.
inline int RunDialog(CaptionDialog& dialog, const std::function<void()>& during, int command) {
    QTimer::singleShot(0, &dialog, [&dialog, during, command] {
        if (during) during();
        if (dialog.IsRunning()) dialog.SendCommand(command);
    });
    return dialog.RunModal(nullptr);
}
