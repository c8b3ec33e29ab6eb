// SPDX-License-Identifier: GPL-3.0-or-later
// What the connection and preferences dialogs share: a full-screen page in the template font,
// with the blue caption 1019 along the top and the OK (1) and Cancel (2) image buttons at its
// right end (the framework's drawn controls), and the ordered writes that OK applies to the
// settings key.
#pragma once

#include <QString>
#include <cstdint>
#include <string>
#include <vector>

#include "framework/ui/dialog_base.h"
#include "framework/ui/dialog_units.h"
#include "settings/registry_key.h"

class QLabel;
class QPushButton;

// One value that OK writes: a string, or a number (REG_DWORD).
struct SettingWrite {
    std::u16string name;
    bool isNumber = false;
    std::u16string text;
    std::uint32_t number = 0;

    bool operator==(const SettingWrite&) const = default;
};

// Applies `writes` in order through `key`. Write failures are ignored: a dialog's OK never
// reports them.
void ApplySettingWrites(RegistryKey& key, const std::vector<SettingWrite>& writes);

class CaptionDialog : public DialogBase {
    Q_OBJECT
  public:
    // The caption; the OK and Cancel buttons are IDOK and IDCANCEL.
    static constexpr int kIdCaption = 1019;

    CaptionDialog(int templateId, const QString& title, QWidget* parent = nullptr);

    const DialogUnits& Units() const { return units_; }
    QSize sizeHint() const override;

  protected:
    // Creates the caption 1019 at (x, y, w, h) dialog units, and the OK and Cancel buttons,
    // which trigger the commands IDOK and IDCANCEL (Accept and Reject).
    void CreateCaption(int x, int y, int w, int h);
    // Moves the caption buttons to the right end of the caption line of a dialog `w` wide.
    void PlaceCaptionButtons(int w, int h);
    // A child control with identifier `id` at (x, y, w, h) dialog units.
    template <typename T>
    T* AddControl(int id, int x, int y, int w, int h) {
        auto* control = new T(this);
        PlaceControl(control, id, x, y, w, h);
        return control;
    }
    void PlaceControl(QWidget* control, int id, int x, int y, int w, int h);
    // Widens (and heightens) a label or check box whose text needs more room than its template
    // gives, as happens when the system substitutes a wider face for the template font. Its
    // position stays.
    static void FitToText(QWidget* control);

    QLabel* Caption() const { return caption_; }
    QPushButton* OkButton() const { return ok_; }
    QPushButton* CancelButton() const { return cancel_; }

  private:
    DialogUnits units_;
    QLabel* caption_ = nullptr;
    QPushButton* ok_ = nullptr;
    QPushButton* cancel_ = nullptr;
};
