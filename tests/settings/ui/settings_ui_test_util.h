// SPDX-License-Identifier: GPL-3.0-or-later
// Shared by the settings dialog tests: a private settings home per test, and a way to run a
// dialog, act on it while it runs, and end it with a command.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFontMetrics>
#include <QLabel>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "framework/ui/ui_fonts.h"
#include "settings/registry_key.h"
#include "settings/settings_key.h"
#include "settings/ui/caption_dialog.h"

// Points XDG_CONFIG_HOME at a fresh folder for as long as it lives.
class TempSettingsHome {
  public:
    TempSettingsHome()
        : old_(qgetenv("XDG_CONFIG_HOME")), hadOld_(qEnvironmentVariableIsSet("XDG_CONFIG_HOME")) {
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

// Whether `widget`, as it paints itself now, shows a pixel of `colour` (and how many).
inline int CountPixels(QWidget* widget, QRgb colour) {
    const QImage image = widget->grab().toImage().convertToFormat(QImage::Format_RGB32);
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if ((image.pixel(x, y) & 0xFFFFFF) == (colour & 0xFFFFFF)) ++count;
        }
    }
    return count;
}

// The caption 1019 is blue bold text on white, and the OK (1) and Cancel (2) buttons are image
// buttons of one 17-pixel-wide image each, Cancel 4 pixels from the right edge and OK 2 to its
// left, both 4 from the top.
inline void VerifyCaption(CaptionDialog& dialog) {
    QWidget* caption = dialog.Control(CaptionDialog::kIdCaption);
    QVERIFY(caption != nullptr);
    QVERIFY(CountPixels(caption, qRgb(0, 0, 201)) > 10);
    QCOMPARE(caption->grab().toImage().pixelColor(caption->width() - 1, caption->height() - 1),
             QColor(Qt::white));
    QWidget* ok = dialog.Control(IDOK);
    QWidget* cancel = dialog.Control(IDCANCEL);
    QVERIFY(ok != nullptr && cancel != nullptr);
    QCOMPARE(ok->width(), 17);
    QCOMPARE(cancel->width(), 17);
    QCOMPARE(cancel->geometry().right(), dialog.width() - 1 - 4);
    QCOMPARE(ok->geometry().right(), cancel->geometry().left() - 1 - 2);
    QCOMPARE(cancel->y(), 4);
    QCOMPARE(ok->y(), 4);
    // The whole text fits in the bold face it is drawn in, and stops before the buttons.
    auto* label = qobject_cast<QLabel*>(caption);
    QVERIFY(label != nullptr);
    const QFontMetrics bold(GetUiFont(UiFont::SmallBold));
    QVERIFY2(caption->width() >= bold.horizontalAdvance(label->text()),
             qPrintable(QString("caption %1 px for %2 px of text")
                            .arg(caption->width())
                            .arg(bold.horizontalAdvance(label->text()))));
    QVERIFY(caption->geometry().right() < ok->geometry().left());
}

// Runs `dialog` modally; once it shows, calls `during`, then ends it with `command` (as if the
// user pressed that button). With `command` 0, `during` must end the dialog itself; a watchdog
// ends it with -1 if it does not. Returns the runner's result.
inline int RunDialog(CaptionDialog& dialog, const std::function<void()>& during, int command) {
    QTimer::singleShot(0, &dialog, [&dialog, during, command] {
        if (during) during();
        if (command != 0) dialog.SendCommand(command);
    });
    if (command == 0) {
        QTimer::singleShot(10000, &dialog, [&dialog] {
            if (dialog.IsRunning()) dialog.EndDialog(-1);
        });
    }
    return dialog.RunModal(nullptr);
}
